#include <Tolvane_BaseLib.h>

#include <climits>
#include <cstdlib>
#include <ctime>
#include <gtest/gtest.h>
#include <sys/syscall.h>
#include <tuple>
#include <unistd.h>

namespace
{
const timespec* pSt_SinceBoot = nullptr;
}

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
    // The zone changes from row to row, and nobody calls tzset.
    const struct
    {
        const char* lpszZone;
        long long nTime;
        TOLVANE_LIBTIME st_Expected;
    } st_Rows[] = {
        {"UTC0", 0, {1970, 1, 1, 0, 0, 0}},
        {"UTC0", -1, {1969, 12, 31, 23, 59, 59}},
        {"UTC0", 1709251199, {2024, 2, 29, 23, 59, 59}},
        {"IST-5:30", 1709251199, {2024, 3, 1, 5, 29, 59}},
        {"EST5EDT,M3.2.0,M11.1.0", 1615705199, {2021, 3, 14, 1, 59, 59}}, // the hour that spring skips
        {"EST5EDT,M3.2.0,M11.1.0", 1615705200, {2021, 3, 14, 3, 0, 0}},
        {"UTC0", 4294967296, {2106, 2, 7, 6, 28, 16}},
        {"UTC0", 67767976233532799, {INT_MAX, 12, 31, 23, 59, 59}},
    };
    for (const auto& st_Row : st_Rows)
    {
        setenv("TZ", st_Row.lpszZone, 1);
        TOLVANE_LIBTIME st_Time = {};
        EXPECT_TRUE(BaseLib_Time_TTimeToStuTime(st_Row.nTime, &st_Time));
        EXPECT_EQ(Fields(st_Time), Fields(st_Row.st_Expected)) << st_Row.lpszZone << ' ' << st_Row.nTime;
    }
    unsetenv("TZ");
}

TEST(Time, AYearThatNoFieldHoldsWritesNothing)
{
    setenv("TZ", "UTC0", 1);
    for (const long long nTime : {67767976233532800LL, LLONG_MAX, LLONG_MIN})
    {
        const TOLVANE_LIBTIME st_Before = {1, 2, 3, 4, 5, 6};
        TOLVANE_LIBTIME st_Time = st_Before;
        EXPECT_FALSE(BaseLib_Time_TTimeToStuTime(nTime, &st_Time)) << nTime;
        EXPECT_EQ(Fields(st_Time), Fields(st_Before)) << nTime;
    }
    EXPECT_FALSE(BaseLib_Time_TTimeToStuTime(0, nullptr));
    unsetenv("TZ");
}

TEST(Time, TheTickCountIsTheBootTimeClockInMilliseconds)
{
    const struct
    {
        timespec st_SinceBoot;
        unsigned long long nTicks;
    } st_Rows[] = {{{12345, 678999999}, 12345678}, {{0, 999999}, 0}, {{4294968, 0}, 4294968000}};
    for (const auto& st_Row : st_Rows)
    {
        pSt_SinceBoot = &st_Row.st_SinceBoot;
        const unsigned long long nTicks = BaseLib_Time_GetTickCount();
        pSt_SinceBoot = nullptr;
        EXPECT_EQ(nTicks, st_Row.nTicks);
    }
}
} // namespace
