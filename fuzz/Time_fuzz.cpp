// SPDX-License-Identifier: MIT
#include "Fuzz.h"

#include <Tolvane_BaseLib.h>

#include <cmath>
#include <ctime>

FUZZ(In)
{
    const char* const lpszZone =
        In.PickValueInArray({"UTC", "CET-1CEST,M3.5.0,M10.5.0/3", "<-12>12", "XYZ-24:59:59",
                             "XYZ24:59:59ABC-24:59:59,0,J365", "Europe/Berlin", "right/UTC", "", "no zone"});
    setenv("TZ", lpszZone, 1);
    const auto nTime = In.ConsumeIntegral<long long>() >> In.ConsumeIntegralInRange(0, 63);
    constexpr TOLVANE_LIBTIME st_Before = {-1, -2, -3, -4, -5, -6};
    TOLVANE_LIBTIME st_Time = st_Before;
    const bool bDone = BaseLib_Time_TTimeToStuTime(nTime, &st_Time);
    if (!bDone) // the years of an int
    {
        REQUIRE(nTime > 67'767'976'233'000'000 || nTime < -67'768'040'609'000'000);
        REQUIRE(st_Time.nYear == -1 && st_Time.nMonth == -2 && st_Time.nDay == -3 && st_Time.nHour == -4 &&
                st_Time.nMinute == -5 && st_Time.nSecond == -6);
        return;
    }
    REQUIRE(st_Time.nMonth >= 1 && st_Time.nMonth <= 12 && st_Time.nDay >= 1 && st_Time.nDay <= 31);
    REQUIRE(st_Time.nHour >= 0 && st_Time.nHour <= 23 && st_Time.nMinute >= 0 && st_Time.nMinute <= 59);
    REQUIRE(st_Time.nSecond >= 0 && st_Time.nSecond <= 60);

    // The other way round, the fields are within a day and an hour of the time.
    std::tm st_Fields = {};
    st_Fields.tm_year = st_Time.nYear - 1900;
    st_Fields.tm_mon = st_Time.nMonth - 1;
    st_Fields.tm_mday = st_Time.nDay;
    st_Fields.tm_hour = st_Time.nHour;
    st_Fields.tm_min = st_Time.nMinute;
    st_Fields.tm_sec = st_Time.nSecond;
    REQUIRE(std::llabs(timegm(&st_Fields) - nTime) < 25 * 3600);
}
