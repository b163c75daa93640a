// SPDX-License-Identifier: MIT
#include "Commands.h"
#include "ErrorTable.h"
#include "Failure.h"

#include <cstdlib>
#include <memory>
#include <strings.h>

namespace
{
/// The symbols of a code, or those that share the value of a symbol.
std::vector<ERROR_SYMBOL> Find(const std::string& Text)
{
    if (Text.empty())
        return ErrorSymbols();
    char* lpszEnd = nullptr;
    unsigned long dwCode = std::strtoul(Text.c_str(), &lpszEnd, 0);
    if (*lpszEnd != '\0' || lpszEnd == Text.c_str())
        for (const ERROR_SYMBOL& st_Symbol : ErrorSymbols())
            if (strcasecmp(st_Symbol.Name.data(), Text.c_str()) == 0) // literals, which end in a null character
                dwCode = st_Symbol.dwCode;
    return SymbolsOf(dwCode);
}
} // namespace

void AddError(CLI::App& App)
{
    const auto Text = std::make_shared<std::string>();
    CLI::App* const pError = AddCommand(App, "error", "Tell what an error code stands for", [Text](CFacts& Facts) {
        const auto Found = Find(*Text);
        if (Found.empty())
            throw CWrongUsage(*Text + ": neither a code nor a symbol");
        std::vector<CFacts> Rows(Found.size());
        for (std::size_t nRow = 0; nRow < Rows.size(); ++nRow)
        {
            Rows[nRow].Add("symbol", std::string(Found[nRow].Name));
            Rows[nRow].Add("code", CodeText(Found[nRow].dwCode));
            Rows[nRow].Add("operation", std::string(OperationOf(Found[nRow])));
            Rows[nRow].Add("condition", std::string(ConditionOf(Found[nRow])));
            Rows[nRow].Add("errno", SetsErrno(Found[nRow]));
        }
        if (Text->empty())
            Facts.AddTable("symbols", std::move(Rows));
        else
            Facts.AddBlocks("symbols", std::move(Rows));
    });
    pError->add_option("CODE", *Text, "A code (0x040A0022) or a symbol, in any case; all of them when left out")
        ->check([](const std::string& Code) { return std::string(Code.empty() ? "an empty text" : ""); });
    pError->footer(
        "Symbols that share a value are told apart by the operation that was called. errno: whether it tells "
        "more.");
}
