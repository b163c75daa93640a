// SPDX-License-Identifier: MIT
#include "Fuzz.h"

#include <Tolvane_BaseLib.h>

FUZZ(In)
{
    const std::string Text = TakeArgument(In);
    const std::string Sub = TakeArgument(In);
    CBuffer<char> m_Text(Text.size() + 1, Text); // not a byte of room
    const bool bDone = BaseLib_String_DelSubA(m_Text, Sub.c_str(), 1);

    std::string Expected;
    std::size_t nFrom = 0;
    for (std::size_t nFound = 0; !Sub.empty() && (nFound = Text.find(Sub, nFrom)) != Text.npos;)
    {
        Expected += Text.substr(nFrom, nFound - nFrom);
        nFrom = nFound + Sub.size();
    }
    Expected += Text.substr(nFrom);
    REQUIRE(m_Text.Text() == Expected);
    REQUIRE(bDone == (Expected.size() != Text.size()));
}
