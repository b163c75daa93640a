// SPDX-License-Identifier: MIT
// The rule has no name outside its source.
#include "SystemApi_File/SystemApi_File.cpp"

#include "Fuzz.h"

FUZZ(In)
{
    std::string Filter = TakeArgument(In);
    std::string Name = TakeArgument(In);
    std::replace(Name.begin(), Name.end(), '/', '_');

    const std::size_t nDot = Name.rfind('.');
    std::string Ext = nDot == Name.npos || nDot == 0 ? "" : Name.substr(nDot + 1);
    const bool bPasses = Admits<char>(Filter, std::string_view(Name));
    const std::string Begin = Ext.substr(0, Filter.size());
    const auto Lower = [](std::string Text) {
        for (char& chText : Text)
            chText = chText >= 'A' && chText <= 'Z' ? static_cast<char>(chText | 0x20) : chText;
        return Text;
    };
    REQUIRE(bPasses == (Lower(Filter) == Lower(Begin)));

    const auto Wide = WideOf(Filter);
    if (Wide && WideOf(Ext) && IsAscii(Filter + Ext))
        REQUIRE(Admits<wchar_t>(*Wide, std::string_view(Name)) == bPasses);
}
