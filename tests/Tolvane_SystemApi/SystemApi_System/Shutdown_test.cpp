#include "Sandbox.h"
#include "StandIns.h"
#include "SystemApi_System/SystemApi_System.h"

#include <cerrno>
#include <cstdlib>
#include <gtest/gtest.h>
#include <limits>
#include <sstream>
#include <string>

namespace
{
/// Every action that a shutdown takes, as text; all of them give the result.
class CShutdown : public testing::Test
{
protected:
    CShutdown()
    {
        StandIns().Reboot = [this](int nCommand) {
            m_Done << "reboot " << std::hex << static_cast<unsigned>(nCommand);
            errno = EPERM;
            return m_nResult;
        };
        StandIns().System = [this](const char* lpszCmd) {
            m_Done << lpszCmd;
            return m_nResult;
        };
    }
    ~CShutdown() override { StandIns() = {}; }

    std::ostringstream m_Done;
    int m_nResult = 0;
};

TEST_F(CShutdown, EachSelectorTakesItsOneAction)
{
    const struct
    {
        unsigned long dwType;
        std::string Action;
    } st_Rows[] = {{0x10001, "reboot cdef0123"},
                   {0x10002, "xset dpms force off"},
                   {0x10003, "reboot 1234567"},
                   {0x10004, "pkill -kill -u username"},
                   {0x10005, "gnome-screensaver-command -l"},
                   {0x10007, "reboot d000fce2"}};
    for (const auto& st_Row : st_Rows)
    {
        for (const int nResult : {0, -1, 256})
        {
            m_nResult = nResult;
            m_Done.str("");
            EXPECT_EQ(SystemApi_System_Shutdown(st_Row.dwType), nResult == 0);
            EXPECT_EQ(m_Done.str(), st_Row.Action);
            EXPECT_EQ(SystemApi_IsErrorOccur, nResult != 0);
        }
        EXPECT_EQ(SystemApi_GetLastError(nullptr), ERROR_SYSTEMAPI_SYSTEM_SHUTDOWN_EXEC);
    }
    m_nResult = -1;
    EXPECT_FALSE(m_SystemSdk.SystemApi_System_Shutdown(SYSTEMAPI_SHUTDOWN_TYPE_REBOOT));
    EXPECT_EQ(errno, EPERM);
}

TEST_F(CShutdown, OtherSelectorsAreRefused)
{
    for (const unsigned long dwType : {0UL, 1UL, 0x10000UL, 0x10006UL, 0x10008UL, 0x100010001UL})
    {
        EXPECT_FALSE(SystemApi_System_Shutdown(dwType)) << dwType;
        EXPECT_EQ(SystemApi_GetLastError(nullptr), ERROR_SYSTEMAPI_SYSTEM_SHUTDOWN_PARAMETER);
    }
    EXPECT_EQ(m_Done.str(), "");
}

/// Asks for the start-up as if it had been at a given time.
bool AskUpTime(std::time_t nStart, TOLVANE_LIBTIME& st_Time)
{
    const auto UpSeconds = [] {
        return static_cast<std::time_t>(BaseLib_Time_GetTickCount() / 1000);
    };
    for (;;)
    {
        const std::time_t nUp = UpSeconds();
        StandIns().Time = [=] {
            return nStart + nUp;
        };
        const bool bResult = SystemApi_System_GetUpTime(&st_Time);
        StandIns().Time = nullptr;
        if (UpSeconds() == nUp) // else a new second began in between
            return bResult;
    }
}

TEST(UpTime, LocalDateAndTimeOfTheStart)
{
    RunInChild([] {
        const struct
        {
            const char* lpszZone;
            std::time_t nStart;
            TOLVANE_LIBTIME st_Expected;
        } st_Rows[] = {{"UTC", 951'827'696, {2000, 2, 29, 12, 34, 56}},
                       {"UTC", 1'735'689'599, {2024, 12, 31, 23, 59, 59}},
                       {"XXX-5:30", 1'735'689'599, {2025, 1, 1, 5, 29, 59}}}; // a changed zone is seen
        for (const auto& st_Row : st_Rows)
        {
            setenv("TZ", st_Row.lpszZone, 1);
            TOLVANE_LIBTIME st_Time = {};
            ASSERT_TRUE(AskUpTime(st_Row.nStart, st_Time));
            EXPECT_EQ(st_Time.nYear, st_Row.st_Expected.nYear);
            EXPECT_EQ(st_Time.nMonth, st_Row.st_Expected.nMonth);
            EXPECT_EQ(st_Time.nDay, st_Row.st_Expected.nDay);
            EXPECT_EQ(st_Time.nHour, st_Row.st_Expected.nHour);
            EXPECT_EQ(st_Time.nMinute, st_Row.st_Expected.nMinute);
            EXPECT_EQ(st_Time.nSecond, st_Row.st_Expected.nSecond);
        }
    });
}

TEST(UpTime, Refusals)
{
    EXPECT_FALSE(SystemApi_System_GetUpTime(nullptr));
    EXPECT_EQ(SystemApi_GetLastError(nullptr), ERROR_SYSTEMAPI_SYSTEM_GETUPTIME_PARAMETER);
    TOLVANE_LIBTIME st_Time = {1, 2, 3, 4, 5, 6};
    StandIns().Time = [] {
        return std::numeric_limits<std::time_t>::max();
    };
    EXPECT_FALSE(SystemApi_System_GetUpTime(&st_Time));
    int nErrno = 0;
    EXPECT_EQ(SystemApi_GetLastError(&nErrno), ERROR_SYSTEMAPI_SYSTEM_GETUPTIME_LOCALTIME);
    EXPECT_EQ(nErrno, EOVERFLOW);
    EXPECT_EQ(st_Time.nYear, 1);
    StandIns() = {};
}

TEST(WmiQuery, TouchesNothingButTheErrorFlag)
{
    EXPECT_FALSE(SystemApi_System_GetUpTime(nullptr));
    char tszValue[] = "old";
    EXPECT_TRUE(SystemApi_System_WMIQuery("select", "field", tszValue, sizeof(tszValue)));
    EXPECT_FALSE(SystemApi_IsErrorOccur);
    EXPECT_STREQ(tszValue, "old");
    EXPECT_TRUE(SystemApi_System_WMIQuery(nullptr, nullptr, nullptr, -1));
}
} // namespace
