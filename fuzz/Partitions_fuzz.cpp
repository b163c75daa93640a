// SPDX-License-Identifier: MIT
#include "Fuzz.h"

#include <Tolvane_SystemApi.h>

FUZZ(In)
{
    const std::string Text = In.ConsumeRemainingBytesAsString();
    GiveTexts({{"/proc/partitions", Text}});
    char** pptszNames = nullptr;
    int nCount = -7;
    const bool bDone = SystemApi_HardWare_GetDiskNumber(&pptszNames, &nCount);

    const std::vector<std::string> Table = Lines(Text, 1024);
    REQUIRE(bDone == (Table.size() >= 2));
    REQUIRE(bDone == (pptszNames != nullptr) && (bDone || nCount == -7));
    int nFound = 0;
    for (std::size_t nLine = 2; nLine < Table.size(); ++nLine)
    {
        int nMajor = 0;
        int nMinor = 0;
        long long nBlocks = 0;
        char tszName[1024] = {};
        std::sscanf(Table[nLine].c_str(), "%d %d %lld %1023s", &nMajor, &nMinor, &nBlocks, tszName);
        if (nMajor != 8 && nMajor != 259)
            continue;
        REQUIRE(nFound < nCount && std::string(pptszNames[nFound]) == tszName);
        ++nFound;
    }
    REQUIRE(!bDone || nFound == nCount);
    BaseLib_Memory_Free(&pptszNames, nCount);
}
