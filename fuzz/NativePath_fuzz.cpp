// SPDX-License-Identifier: MIT
#include "Fuzz.h"

#include "SystemApi_File/NativePath.h"

#include <system_error>

template <typename Convert>
static auto Converted(Convert pfnConvert) -> std::optional<decltype(pfnConvert())>
{
    try
    {
        return pfnConvert();
    }
    catch (const std::filesystem::filesystem_error& Error)
    {
        REQUIRE(Error.code() == std::errc::illegal_byte_sequence);
        return std::nullopt;
    }
}

FUZZ(In)
{
    const std::wstring Wide = TakeWide(In);
    const auto Native = Converted([&] { return ToPath(Wide).native(); });
    REQUIRE(Native == Utf8Of(Wide));
    if (Native)
        REQUIRE(ToWide(*Native) == Wide);
    const CSystemPath<wchar_t> m_Path(Wide.c_str());
    REQUIRE(m_Path.Get() == (Native && Native->size() < BASELIB_TEXT_SIZE ? *Native : ""));

    const std::string Text = In.ConsumeRemainingBytesAsString();
    REQUIRE(Converted([&] { return ToWide(Text); }) == WideOf(Text));
    REQUIRE(IsAscii(Text) == std::all_of(Text.begin(), Text.end(), [](char chText) { return (chText & 0x80) == 0; }));
}
