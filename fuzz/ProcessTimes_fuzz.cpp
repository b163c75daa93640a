// SPDX-License-Identifier: MIT
#include "Fuzz.h"

#include <Tolvane_SystemApi.h>

#include <cmath>

FUZZ(In)
{
    const auto nChunks = In.ConsumeIntegral<unsigned>();
    const std::string Usage = TakeText(In);
    const std::string Start = TakeText(In);
    GiveTexts({{"ps aux", Usage}, {"ps -p", Start}}, nChunks);
    int nUsage = 0;
    REQUIRE(SystemApi_Process_GetProcessCpuUsage(&nUsage, 0));
    float fUsage = 0.0F;
    std::sscanf(Captured(Usage).c_str(), "%f", &fUsage);
    REQUIRE(nUsage == (std::fabs(fUsage) < 0x1p31F ? static_cast<int>(fUsage) : -0x7FFFFFFF - 1));

    TOLVANE_LIBTIME st_Time = {-1, -2, -3, -4, -5, -6};
    REQUIRE(SystemApi_Process_GetUpTime(&st_Time, 0));
    const bool bUntouched = st_Time.nYear == -1 && st_Time.nMonth == -2 && st_Time.nDay == -3 &&
                            st_Time.nHour == -4 && st_Time.nMinute == -5 && st_Time.nSecond == -6;
    REQUIRE(bUntouched || (st_Time.nMonth >= 1 && st_Time.nMonth <= 12 && st_Time.nDay >= 1 && st_Time.nDay <= 31 &&
                           st_Time.nHour >= 0 && st_Time.nHour <= 23 && st_Time.nMinute >= 0 &&
                           st_Time.nMinute <= 59 && st_Time.nSecond >= 0 && st_Time.nSecond <= 60));
}
