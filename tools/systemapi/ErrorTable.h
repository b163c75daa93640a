// SPDX-License-Identifier: MIT
/// The error symbols, as the public header lists them.
#pragma once

#include <string>
#include <string_view>
#include <vector>

struct ERROR_SYMBOL
{
    unsigned long dwCode;
    std::string_view Name;
    std::string_view Condition; ///< the header's words; "; errno" at the end: errno tells more
};

/// The condition without that end.
std::string_view ConditionOf(const ERROR_SYMBOL& st_Symbol);
bool SetsErrno(const ERROR_SYMBOL& st_Symbol);
/// The C function, both widths of which share the symbol: "SystemApi_File_GetFileAttr".
std::string_view OperationOf(const ERROR_SYMBOL& st_Symbol);

/// All of them, in the order of the header.
const std::vector<ERROR_SYMBOL>& ErrorSymbols();

/// Those of a value. With an operation ("GETDISKINFO") that has one of that value, this one alone.
std::vector<ERROR_SYMBOL> SymbolsOf(unsigned long dwCode, std::string_view Operation = {});

/// "0x040A2002"
std::string CodeText(unsigned long dwCode);
