// SPDX-License-Identifier: MIT
#include <Tolvane_BaseLib.h>

#include <ctime>
#include <limits>

unsigned long long BaseLib_Time_GetTickCount(void)
{
    timespec st_Now = {};
    clock_gettime(CLOCK_BOOTTIME, &st_Now);
    return static_cast<unsigned long long>(st_Now.tv_sec) * 1000 +
           static_cast<unsigned long long>(st_Now.tv_nsec) / 1'000'000;
}

bool BaseLib_Time_TTimeToStuTime(long long nTime, TOLVANE_LIBTIME* pSt_Time)
{
    constexpr int nYearBase = 1900;

    if (!pSt_Time)
        return false;
    tzset(); // localtime_r alone does not notice a changed time zone
    const std::time_t nCalendarTime = nTime;
    std::tm st_Local = {};
    if (!localtime_r(&nCalendarTime, &st_Local) || st_Local.tm_year > std::numeric_limits<int>::max() - nYearBase)
        return false;
    *pSt_Time = {st_Local.tm_year + nYearBase,
                 st_Local.tm_mon + 1,
                 st_Local.tm_mday,
                 st_Local.tm_hour,
                 st_Local.tm_min,
                 st_Local.tm_sec};
    return true;
}
