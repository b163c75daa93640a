// SPDX-License-Identifier: MIT
#include "Fuzz.h"

#include <Tolvane_BaseLib.h>

FUZZ(In)
{
    const std::string Source = TakeArgument(In);
    const std::string Start = TakeArgument(In);
    const std::string End = In.ConsumeBool() ? Start : TakeArgument(In);
    CBuffer<char> m_Result(BASELIB_TEXT_SIZE, "before");
    const bool bDone = BaseLib_String_GetStartEndA(Source.c_str(), m_Result, Start.c_str(), End.c_str(), 0);

    std::optional<std::string> Expected;
    const std::size_t nStart = Start.empty() ? Source.npos : Source.find(Start);
    if (nStart != Source.npos)
    {
        const std::string Rest = Source.substr(nStart + Start.size());
        if (!End.empty() && Rest.find(End) != Rest.npos)
            Expected = Rest.substr(0, Rest.find(End));
    }
    else if (!Start.empty() && Start == End)
        Expected = Source;
    REQUIRE(bDone == (Expected && Expected->size() < BASELIB_TEXT_SIZE));
    REQUIRE(m_Result.Text() == (bDone ? *Expected : Expected ? "" : "before"));
}
