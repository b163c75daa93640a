// SPDX-License-Identifier: MIT
#include "Fuzz.h"

#include <Tolvane_SystemApi.h>

#include <cmath>

FUZZ(In)
{
    const auto nChunks = In.ConsumeIntegral<unsigned>();
    const int nType = In.ConsumeIntegralInRange(-1, 6);
    const std::string Text = In.ConsumeRemainingBytesAsString();
    GiveTexts({{"/proc/meminfo", Text}}, nChunks);
    tag_SystemApi_Memory_Infomation st_Memory = {9, 100, 25, 3, 2, 1, 1UL << 40, 1UL << 41};
    REQUIRE(SystemApi_System_GetMemoryUsage(&st_Memory, nType));

    tag_SystemApi_Memory_Infomation st_Read = {9, 100, 25, 3, 2, 1, 1UL << 40, 1UL << 41};
    const std::pair<const char*, unsigned long*> Names[] = {{"MemTotal", &st_Read.nMemoryTotal},
                                                            {"MemAvailable", &st_Read.nMemoryAvailable},
                                                            {"SwapTotal", &st_Read.nSwapTotal},
                                                            {"SwapFree", &st_Read.nSwapFree},
                                                            {"Shmem", &st_Read.nMemoryShared}};
    for (const std::string& Line : Lines(Text, 2048))
        for (const auto& [lpszName, pnField] : Names)
            if (Line.rfind(lpszName, 0) == 0)
                std::sscanf(Line.c_str(), "%*s %ld", reinterpret_cast<long*>(pnField)); // the largest is a signed one

    const int nShift = nType >= 1 && nType <= 4 ? 10 * (nType - 1) : 0;
    REQUIRE(st_Memory.nMemoryTotal == st_Read.nMemoryTotal << 10 >> nShift);
    REQUIRE(st_Memory.nMemoryAvailable == st_Read.nMemoryAvailable << 10 >> nShift);
    REQUIRE(st_Memory.nSwapTotal == st_Read.nSwapTotal << 10 >> nShift);
    REQUIRE(st_Memory.nSwapFree == st_Read.nSwapFree << 10 >> nShift);
    REQUIRE(st_Memory.nMemoryShared == st_Read.nMemoryShared << 10);
    REQUIRE(st_Memory.nMemoryReserved1 == 1UL << 40 >> nShift && st_Memory.nMemoryReserved2 == 1UL << 41 >> nShift);
    const float fFree = static_cast<float>(st_Read.nMemoryAvailable) / static_cast<float>(st_Read.nMemoryTotal);
    const float fLoad = 100.0F - fFree * 100.0F;
    REQUIRE(st_Memory.nMemoryLoad == (std::fabs(fLoad) < 0x1p31F ? static_cast<int>(fLoad) : -0x7FFFFFFF - 1));
}
