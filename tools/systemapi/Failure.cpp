#include "Failure.h"

#include "Text.h"

#include <Tolvane_SystemApi.h>

#include <array>
#include <cstdio>
#include <string>
#include <system_error>

namespace
{
struct ERROR_SYMBOL
{
    unsigned long dwCode;
    const char* lpszName;
};
constexpr ERROR_SYMBOL st_Symbols[] = {
#include "ErrorSymbols.inc"
};

/// The symbol of the operation; where it has none of that value, all symbols that the code stands for.
std::string SymbolOf(unsigned long dwCode, const char* lpszOperation)
{
    const std::string Infix = std::string("_") + lpszOperation + "_";
    std::string Others;
    for (const auto& st_Symbol : st_Symbols)
    {
        if (st_Symbol.dwCode != dwCode)
            continue;
        if (std::string_view(st_Symbol.lpszName).find(Infix) != std::string_view::npos)
            return st_Symbol.lpszName;
        Others += (Others.empty() ? "" : " or ") + std::string(st_Symbol.lpszName);
    }
    return Others.empty() ? std::string("unknown error of ") + lpszOperation : Others;
}

std::string Describe(const char* lpszOperation, std::string_view Subject)
{
    int nErrno = 0;
    const unsigned long dwCode = SystemApi_GetLastError(&nErrno); // first of all: errno is this call's to spoil
    std::array<char, 16> tszCode = {};
    std::snprintf(tszCode.data(), tszCode.size(), "0x%08lX", dwCode);

    std::string Line = Subject.empty() ? std::string() : Harmless(Subject) + ": ";
    Line += SymbolOf(dwCode, lpszOperation) + " (" + tszCode.data() + ")";
    if (nErrno != 0)
        Line += ": " + std::generic_category().message(nErrno);
    return Line;
}
} // namespace

COperationFailed::COperationFailed(const char* lpszOperation, std::string_view Subject)
    : std::runtime_error(Describe(lpszOperation, Subject))
{}
