// SPDX-License-Identifier: MIT
#include "NativePath.h"

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <system_error>

namespace fs = std::filesystem;

namespace
{
/// What the facility itself raises for such text, which names no path.
[[noreturn]] void RaiseConversionError()
{
    throw fs::filesystem_error("Cannot convert character sequence",
                               std::make_error_code(std::errc::illegal_byte_sequence));
}

bool IsCharacter(std::uint32_t nCode) noexcept
{
    const bool bSurrogate = nCode >= 0xD800 && nCode <= 0xDFFF;
    return nCode <= 0x10FFFF && !bSurrogate;
}

bool IsAsciiByte(char chByte) noexcept
{
    return static_cast<unsigned char>(chByte) < 0x80;
}

bool BeginsCharacter(char chByte) noexcept
{
    return (static_cast<unsigned char>(chByte) & 0xC0U) != 0x80;
}

/// Takes one character outside ASCII off the text, which is not empty. False for a byte that begins none, a form
/// cut short or longer than it need be, and a value that is no character.
bool TakeCharacter(std::string_view& Text, std::uint32_t& nCode) noexcept
{
    constexpr std::uint32_t nLeast[] = {0, 0x80, 0x800, 0x10000}; // by the number of trail bytes

    const std::uint32_t nLead = static_cast<unsigned char>(Text.front());
    if (nLead < 0xC0 || nLead >= 0xF8)
        return false;
    const std::size_t nTrail = nLead >= 0xF0 ? 3 : nLead >= 0xE0 ? 2 : 1;
    if (Text.size() <= nTrail)
        return false;
    nCode = nLead & (0x3FU >> nTrail);
    for (const char chByte : Text.substr(1, nTrail))
    {
        const auto nByte = static_cast<unsigned char>(chByte);
        if ((nByte & 0xC0U) != 0x80)
            return false;
        nCode = nCode << 6 | (nByte & 0x3FU);
    }
    Text.remove_prefix(1 + nTrail);
    return nCode >= nLeast[nTrail] && IsCharacter(nCode);
}
} // namespace

fs::path ToPath(std::wstring_view Path)
{
    // From wchar_t the path class converts no more than ASCII, from char32_t every character, to UTF-8 in every
    // locale; but surrogates as well.
    std::u32string Codes(Path.size(), U'\0');
    std::transform(Path.begin(), Path.end(), Codes.begin(),
                   [](wchar_t chWide) { return static_cast<char32_t>(chWide); });
    if (!std::all_of(Codes.begin(), Codes.end(), IsCharacter))
        RaiseConversionError();
    return Codes;
}

std::wstring ToWide(std::string_view Text)
{
    if (IsAscii(Text))
        return {Text.begin(), Text.end()};
    // As many as do not continue a character; of text that is not UTF-8 these come up to its first fault.
    std::wstring Wide(static_cast<std::size_t>(std::count_if(Text.begin(), Text.end(), BeginsCharacter)), L'\0');
    auto pEnd = Wide.begin();
    for (std::string_view Rest = Text;;)
    {
        const auto* const pRunEnd = std::find_if_not(Rest.begin(), Rest.end(), IsAsciiByte);
        pEnd = std::copy(Rest.begin(), pRunEnd, pEnd);
        Rest.remove_prefix(static_cast<std::size_t>(pRunEnd - Rest.begin()));
        if (Rest.empty())
            return Wide;
        std::uint32_t nCode = 0;
        if (!TakeCharacter(Rest, nCode))
            RaiseConversionError();
        *pEnd++ = static_cast<wchar_t>(nCode);
    }
}

bool IsAscii(std::string_view Text) noexcept
{
    std::uint64_t nBits = 0; // all gathered and one test
    for (std::uint64_t nWord = 0; Text.size() >= sizeof(nWord); Text.remove_prefix(sizeof(nWord)))
    {
        std::memcpy(&nWord, Text.data(), sizeof(nWord));
        nBits |= nWord;
    }
    for (const char chByte : Text)
        nBits |= static_cast<unsigned char>(chByte);
    return (nBits & 0x8080808080808080U) == 0;
}
