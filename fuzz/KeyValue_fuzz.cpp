// SPDX-License-Identifier: MIT
#include "Fuzz.h"

#include <Tolvane_BaseLib.h>

FUZZ(In)
{
    const std::string Line = TakeArgument(In);
    const std::string Separator = TakeArgument(In);
    CBuffer<char> m_Key(BASELIB_TEXT_SIZE, "before");
    CBuffer<char> m_Value(BASELIB_TEXT_SIZE, "before");
    const bool bDone = BaseLib_String_GetKeyValueA(Line.c_str(), Separator.c_str(), m_Key, m_Value, 1, 0, 0);

    const std::string Key = m_Key.Text();
    const std::string Value = m_Value.Text();
    const std::size_t nFound = Separator.empty() ? Line.npos : Line.find(Separator);
    if (bDone)
        REQUIRE(Key + Separator + Value == Line && Key.size() == nFound);
    else if (nFound == Line.npos)
        REQUIRE(Key == "before" && Value == "before");
    else
    {
        const std::size_t nValue = Line.size() - nFound - Separator.size();
        REQUIRE(nFound >= BASELIB_TEXT_SIZE ? Key.empty() : Key == Line.substr(0, nFound));
        REQUIRE(nValue >= BASELIB_TEXT_SIZE ? Value.empty() : Value == Line.substr(Line.size() - nValue));
        REQUIRE(std::max(nFound, nValue) >= BASELIB_TEXT_SIZE);
    }
}
