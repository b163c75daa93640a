// SPDX-License-Identifier: MIT
#include "Wide.h"

#include "Failure.h"

#include <cwchar>
#include <stdexcept>

// ReadTerminal has chosen a locale whose texts are UTF-8.

namespace
{
constexpr auto nIllFormed = static_cast<std::size_t>(-1);
}

std::wstring WideText(const std::string& Text)
{
    std::wstring Wide(Text.size() + 1, L'\0');
    const char* lpszRest = Text.c_str();
    std::mbstate_t st_State = {};
    const std::size_t nLength = std::mbsrtowcs(Wide.data(), &lpszRest, Wide.size(), &st_State);
    if (nLength == nIllFormed)
        throw CWrongUsage(Text + ": no UTF-8, which --wide needs");
    Wide.resize(nLength);
    return Wide;
}

std::string NarrowText(const wchar_t* lpszText)
{
    constexpr std::size_t nMostBytes = 4; // of a character
    std::string Narrow(std::wcslen(lpszText) * nMostBytes + 1, '\0');
    std::mbstate_t st_State = {};
    const std::size_t nLength = std::wcsrtombs(Narrow.data(), &lpszText, Narrow.size(), &st_State);
    if (nLength == nIllFormed)
        throw std::runtime_error("a wide name that has no UTF-8 form");
    Narrow.resize(nLength);
    return Narrow;
}
