// SPDX-License-Identifier: MIT
#include "Failure.h"

#include "ErrorTable.h"
#include "Text.h"

#include <Tolvane_SystemApi.h>

#include <algorithm>
#include <filesystem>
#include <string>
#include <system_error>

namespace
{
/// The texts of all symbols, each once.
template <typename TextOf>
std::string Joined(const std::vector<ERROR_SYMBOL>& Symbols, TextOf pfnText)
{
    std::string Text;
    for (const ERROR_SYMBOL& st_Symbol : Symbols)
        Text += (Text.empty() ? "" : " or ") + std::string(pfnText(st_Symbol));
    return Text;
}

FAILURE Describe(const char* lpszOperation, std::string_view Subject)
{
    int nErrno = 0;
    const unsigned long dwCode = SystemApi_GetLastError(&nErrno); // first of all: errno is this call's to spoil
    const auto Symbols = SymbolsOf(dwCode, lpszOperation);
    FAILURE st_Failure;
    st_Failure.lpszKind = "operation";
    st_Failure.Subject = Subject;
    st_Failure.Code = CodeText(dwCode);
    st_Failure.Symbol = Joined(Symbols, [](const ERROR_SYMBOL& st_Symbol) { return st_Symbol.Name; });
    const std::string Condition = Joined(Symbols, ConditionOf);
    if (std::any_of(Symbols.begin(), Symbols.end(), SetsErrno))
        st_Failure.nErrno = nErrno;

    std::string& Line = st_Failure.Message;
    Line = Subject.empty() ? std::string() : Harmless(Subject) + ": ";
    Line += st_Failure.Symbol.empty() ? std::string("unknown error of ") + lpszOperation : st_Failure.Symbol;
    Line += " (" + st_Failure.Code + ")";
    if (!Condition.empty())
        Line += ": " + Condition;
    if (st_Failure.nErrno.value_or(0) != 0)
        Line += ": " + std::generic_category().message(*st_Failure.nErrno);
    return st_Failure;
}
} // namespace

COperationFailed::COperationFailed(const char* lpszOperation, std::string_view Subject)
    : COperationFailed(Describe(lpszOperation, Subject))
{}

COperationFailed::COperationFailed(FAILURE st_Failure)
    : std::runtime_error(st_Failure.Message), m_st_Failure(std::move(st_Failure))
{}

FAILURE FailureOf(const std::exception& Error)
{
    constexpr int nWrongUsage = 2;
    constexpr int nFileSystem = 3;
    if (const auto* pFailed = dynamic_cast<const COperationFailed*>(&Error))
        return pFailed->Failure();
    FAILURE st_Failure;
    st_Failure.lpszKind = "other";
    st_Failure.Message = Error.what();
    if (const auto* pRaised = dynamic_cast<const std::filesystem::filesystem_error*>(&Error))
    {
        st_Failure.nStatus = nFileSystem;
        st_Failure.lpszKind = "file system";
        st_Failure.Subject = pRaised->path1().string();
        st_Failure.nErrno = pRaised->code().value();
    }
    else if (dynamic_cast<const CWrongUsage*>(&Error))
    {
        st_Failure.nStatus = nWrongUsage;
        st_Failure.lpszKind = "usage";
    }
    return st_Failure;
}
