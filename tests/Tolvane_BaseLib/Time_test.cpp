// SPDX-License-Identifier: MIT
#include <Tolvane_BaseLib.h>

#include <climits>
#include <cstdlib>
#include <ctime>
#include <gtest/gtest.h>
#include <sys/syscall.h>
#include <tuple>
#include <unistd.h>

static const timespec* pSt_SinceBoot = nullptr;

/// Stands in for the C library's: the boot-time clock shows what a test says.
extern "C" int clock_gettime(clockid_t nClock, timespec* pSt_Time) noexcept
{
    if (!pSt_SinceBoot || nClock != CLOCK_BOOTTIME)
        return static_cast<int>(syscall(SYS_clock_gettime, nClock, pSt_Time));
    *pSt_Time = *pSt_SinceBoot;
    return 0;
}

namespace
{
auto Fields(const TOLVANE_LIBTIME& st_Time)
{
    return std::tuple(st_Time.nYear, st_Time.nMonth, st_Time.nDay, st_Time.nHour, st_Time.nMinute, st_Time.nSecond);
}

TEST(Time, LocalTimeInTheZoneOfTheMoment)
{
    constexpr TOLVANE_LIBTIME st_Before = {1, 2, 3, 4, 5, 6};
    const struct
    {
        const char* lpszZone;
        long long nTime;
        TOLVANE_LIBTIME st_Expected;
        bool bDone = true;
    } st_Rows[] = {
#include "../data/BaseLib/LocalTimes.inc"
    };
    for (const auto& st_Row : st_Rows)
    {
        SCOPED_TRACE(testing::Message() << st_Row.lpszZone << ' ' << st_Row.nTime);
        setenv("TZ", st_Row.lpszZone, 1);
        TOLVANE_LIBTIME st_Time = st_Before;
        EXPECT_EQ(BaseLib_Time_TTimeToStuTime(st_Row.nTime, &st_Time), st_Row.bDone);
        EXPECT_EQ(Fields(st_Time), Fields(st_Row.st_Expected));
    }
    unsetenv("TZ");
    EXPECT_FALSE(BaseLib_Time_TTimeToStuTime(0, nullptr));
}

TEST(Time, TheTickCountIsTheBootTimeClockInMilliseconds)
{
    const timespec st_SinceBoot = {4294968, 678999999};
    pSt_SinceBoot = &st_SinceBoot;
    const unsigned long long nTicks = BaseLib_Time_GetTickCount();
    pSt_SinceBoot = nullptr;
    EXPECT_EQ(nTicks, 4294968678U);
}
} // namespace
