#include "Fakes.h"
#include "Sandbox.h"
#include "StandIns.h"
#include "SystemApi_System/SystemApi_System.h"

#include <cerrno>
#include <chrono>
#include <cmath>
#include <csignal>
#include <cstring>
#include <fstream>
#include <gtest/gtest.h>
#include <limits>
#include <string>
#include <sys/time.h>

namespace
{
using OCCUPY = tag_LinuxSdk_SystemCpu_Occupy;

constexpr int nIndefinite = std::numeric_limits<int>::min();
constexpr float fInfinity = std::numeric_limits<float>::infinity();

/// Puts other counters in the place of fake ones.
void ChangeCounters(const std::string& Counters)
{
    std::ofstream("/proc/stat") << Counters;
}

/// In a sandbox: so many hardware threads, so many processors online, and these counters.
void FakeProcessors(int nThreads, long nOnline, const std::string& Counters)
{
    StandIns().GetNProcs = [=] {
        return nThreads;
    };
    StandIns().ProcessorsOnline = [=] {
        return nOnline;
    };
    FakeFile("/proc/stat", Counters);
}

TEST(CpuSample, LinesAreTakenByPosition)
{
    RunSandboxed([] {
        FakeProcessors(
            6, 1,
            "cpu  9 9 9 9 9\ncpu0 1 2 3 4 5\nintr 4294967301 -1 7 x\na-name-of-more-than-19-bytes 6 7 8 9\n\n"
            "cpu1 5\n");
        OCCUPY st_Occupy[6];
        std::memset(st_Occupy, 1, sizeof(st_Occupy));
        constexpr unsigned nUntouched = 0x01010101;
        ASSERT_TRUE(m_SystemSdk.SystemApi_System_Get_Occupy(st_Occupy));
        const struct
        {
            const char* lpszWhy;
            std::string Name;
            unsigned nUser, nNice, nSystem, nIdle;
        } st_Rows[] = {{"after the summary", "cpu0", 1, 2, 3, 4},
                       {"numbers keep their low 32 bits", "intr", 5, 0xFFFFFFFF, 7, nUntouched},
                       {"a long name is cut and its counters are right", "a-name-of-more-than", 6, 7, 8, 9},
                       {"an empty line takes its element", std::string(20, '\1'), nUntouched, nUntouched, nUntouched,
                        nUntouched},
                       {"a short line", "cpu1", 5, nUntouched, nUntouched, nUntouched},
                       {"no line left", std::string(20, '\1'), nUntouched, nUntouched, nUntouched, nUntouched}};
        for (std::size_t nCpu = 0; nCpu < std::size(st_Rows); ++nCpu)
        {
            SCOPED_TRACE(st_Rows[nCpu].lpszWhy);
            const OCCUPY& st_Cpu = st_Occupy[nCpu];
            EXPECT_EQ(std::string(st_Cpu.tszCpuName, strnlen(st_Cpu.tszCpuName, 20)), st_Rows[nCpu].Name);
            EXPECT_EQ(st_Cpu.dwUser, st_Rows[nCpu].nUser);
            EXPECT_EQ(st_Cpu.dwNice, st_Rows[nCpu].nNice);
            EXPECT_EQ(st_Cpu.dwSystem, st_Rows[nCpu].nSystem);
            EXPECT_EQ(st_Cpu.dwIdle, st_Rows[nCpu].nIdle);
        }
    });
}

TEST(CpuSample, TheCountIsAskedForBeforeEveryLine)
{
    RunSandboxed([] {
        FakeProcessors(0, 4, "cpu 0\ncpu0 1\ncpu1 2\ncpu2 3\ncpu3 4\n");
        int nAsked = 0;
        StandIns().GetNProcs = [&] {
            return ++nAsked < 3 ? 4 : 2;
        }; // two processors go
        OCCUPY st_Occupy[4] = {};
        ASSERT_TRUE(m_SystemSdk.SystemApi_System_Get_Occupy(st_Occupy));
        EXPECT_EQ(st_Occupy[1].dwUser, 2U);
        EXPECT_EQ(st_Occupy[2].dwUser, 0U);
    });
}

TEST(CpuSample, ATableThatCannotBeReadFails)
{
    const auto Fails = [](unsigned long dwCode) {
        OCCUPY st_Occupy = {"old", 1, 2, 3, 4};
        EXPECT_FALSE(m_SystemSdk.SystemApi_System_Get_Occupy(&st_Occupy));
        EXPECT_EQ(SystemApi_GetLastError(nullptr), dwCode);
        int nUsage = -1;
        EXPECT_FALSE(SystemApi_System_GetCpuUsage(&nUsage));
        EXPECT_EQ(SystemApi_GetLastError(nullptr), dwCode);
        EXPECT_TRUE(SystemApi_IsErrorOccur);
        EXPECT_EQ(nUsage, -1);
        EXPECT_EQ(st_Occupy.dwUser, 1U);
    };
    RunSandboxed([&] {
        FakeProcessors(1, 1, "");
        Fails(ERROR_SYSTEMAPI_SYSTEM_GETOCCUPY_READ);
    });
    RunInChild([&] {
        const CNoDescriptors m_None;
        StandIns().GetNProcs = [] {
            return 1;
        };
        Fails(ERROR_SYSTEMAPI_SYSTEM_GETOCCUPY_OPEN);
        unsigned long nIdle = 5;
        EXPECT_FALSE(SystemApi_System_GetSysIdleTime(&nIdle));
        int nErrno = 0;
        EXPECT_EQ(SystemApi_GetLastError(&nErrno), ERROR_SYSTEMAPI_SYSTEM_GETSYSIDLETIME_OPEN);
        EXPECT_EQ(nErrno, EMFILE);
        EXPECT_EQ(nIdle, 5U);
    });
}

TEST(CpuBusy, FormulaWithItsWrapsAndWithoutAGuard)
{
    const struct
    {
        const char* lpszWhy;
        OCCUPY st_First, st_Second;
        float fBusy;
    } st_Rows[] = {
        {"idle", {"", 1, 2, 3, 4}, {"", 1, 2, 3, 104}, 0.0F},
        {"busy", {"", 1, 2, 3, 4}, {"", 61, 2, 43, 4}, 100.0F},
        {"niced time is not busy", {"", 0, 0, 0, 0}, {"", 10, 60, 20, 10}, 30.0F},
        {"rounded once, to a float", {"", 0, 0, 0, 0}, {"", 1, 0, 0, 2}, static_cast<float>(100.0 / 3.0)},
        {"a user counter that wrapped, and the total with it",
         {"", 0xFFFFFFFF, 0, 0, 0},
         {"", 9, 0, 0, 0},
         static_cast<float>(10 * 100.0 / (9.0 - 4294967295.0))},
        {"a counter that wrapped below a total that did not",
         {"", 0xFFFFFFF0, 0, 0, 0x20},
         {"", 0x10, 0, 0, 0x40},
         50.0F},
        {"two differences near 2^32 do not wrap together",
         {"", 1, 0, 1, 5},
         {"", 0, 0, 0, 6},
         static_cast<float>(2 * 4294967295.0 * 100.0 / -1.0)},
        {"a system counter that fell",
         {"", 0, 0, 10, 0},
         {"", 0, 0, 5, 10},
         static_cast<float>(4294967291.0 * 100.0 / 5.0)},
        {"a zero denominator", {"", 0, 0, 0, 10}, {"", 10, 0, 0, 0}, fInfinity},
    };
    for (const auto& st_Row : st_Rows)
    {
        SCOPED_TRACE(st_Row.lpszWhy);
        OCCUPY st_First = st_Row.st_First;
        OCCUPY st_Second = st_Row.st_Second;
        EXPECT_EQ(m_SystemSdk.SystemApi_System_Cal_Occupy(&st_First, &st_Second), st_Row.fBusy);
    }
    OCCUPY st_Same = {"", 1, 2, 3, 4};
    EXPECT_TRUE(std::isnan(m_SystemSdk.SystemApi_System_Cal_Occupy(&st_Same, &st_Same)));
}

TEST(CpuUsage, MeanOverTheProcessorsOnline)
{
    std::string Before = "cpu 0\n";
    std::string After = "cpu 0\n";
    for (int nCpu = 0; nCpu < 256; ++nCpu)
    {
        Before += "cpu" + std::to_string(nCpu) + " 100 0 0 100\n";
        After += "cpu" + std::to_string(nCpu) + (nCpu % 2 == 0 ? " 175 0 0 125\n" : " 100 0 0 200\n");
    }
    const struct
    {
        const char* lpszWhy;
        int nThreads;
        long nOnline;
        std::string After;
        int nUsage;
    } st_Rows[] = {
        {"75 and 0, cut off", 2, 2, After, 37},
        {"256 processors", 256, 256, After, 37},
        {"more threads than processors", 256, 1, After, 75},
        {"a processor without a sample counts no time", 2, 3, After, nIndefinite},
        {"one processor without a tick spoils the mean", 2, 2, "cpu 0\ncpu0 175 0 0 125\ncpu1 100 0 0 100\n",
         nIndefinite},
        {"a zero denominator", 1, 1, "cpu 0\ncpu0 150 0 0 50\n", nIndefinite},
        {"a negative mean is cut towards zero", 1, 1, "cpu 0\ncpu0 101 0 0 50\n", -2},
        {"no processor online", 2, 0, After, nIndefinite},
        {"a count that is not known", 2, -1, After, 0},
    };
    for (const auto& st_Row : st_Rows)
    {
        SCOPED_TRACE(st_Row.lpszWhy);
        RunSandboxed([&] {
            FakeProcessors(st_Row.nThreads, st_Row.nOnline, Before);
            unsigned nSlept = 0;
            StandIns().Sleep = [&](unsigned nSeconds) {
                nSlept += nSeconds;
                ChangeCounters(st_Row.After);
                return 0U;
            };
            int nUsage = -1;
            EXPECT_TRUE(SystemApi_System_GetCpuUsage(&nUsage));
            EXPECT_FALSE(SystemApi_IsErrorOccur);
            EXPECT_EQ(nUsage, st_Row.nUsage);
            EXPECT_EQ(nSlept, 1U);
        });
    }
    EXPECT_FALSE(SystemApi_System_GetCpuUsage(nullptr));
    EXPECT_EQ(SystemApi_GetLastError(nullptr), ERROR_SYSTEMAPI_SYSTEM_GETCPUUSAGE_PARAMETER);
}

TEST(CpuUsage, ASecondSampleThatFailsAndProcessorsThatCome)
{
    RunSandboxed([] {
        FakeProcessors(1, 1, "cpu 0\ncpu0 1 1 1 1\n");
        StandIns().Sleep = [](unsigned) {
            StandIns().GetNProcs = [] {
                return 64;
            }; // more than the arrays were made for
            ChangeCounters("cpu 0\ncpu0 1 1 1 2\n" + std::string(1000, '\n'));
            return 0U;
        };
        int nUsage = -1;
        EXPECT_TRUE(SystemApi_System_GetCpuUsage(&nUsage));
        EXPECT_EQ(nUsage, 0);

        StandIns().Sleep = [](unsigned) {
            ChangeCounters("");
            return 0U;
        };
        nUsage = -1;
        EXPECT_FALSE(SystemApi_System_GetCpuUsage(&nUsage));
        EXPECT_EQ(SystemApi_GetLastError(nullptr), ERROR_SYSTEMAPI_SYSTEM_GETOCCUPY_READ);
        EXPECT_EQ(nUsage, -1);
    });
}

TEST(CpuUsage, ASignalDoesNotShortenTheSecond)
{
    RunInChild([] {
        struct sigaction st_Action = {};
        st_Action.sa_handler = [](int) {
        };
        ASSERT_EQ(sigaction(SIGALRM, &st_Action, nullptr), 0);
        const itimerval st_Timer = {{0, 150'000}, {0, 150'000}};
        ASSERT_EQ(setitimer(ITIMER_REAL, &st_Timer, nullptr), 0);
        const auto Start = std::chrono::steady_clock::now();
        int nUsage = 0;
        EXPECT_TRUE(SystemApi_System_GetCpuUsage(&nUsage));
        EXPECT_GE(std::chrono::steady_clock::now() - Start, std::chrono::seconds(1));
    });
}

TEST(IdleTime, WholeNumberOfAFraction)
{
    constexpr unsigned long nIndefiniteIdle = 0x8000000000000000;
    const struct
    {
        const char* lpszWhy;
        const char* lpszCounters;
        unsigned long nIdle;
    } st_Rows[] = {
        {"nothing but idle", "cpu  0 0 0 500 0 0 0 0 0 77\n", 1},
        {"the fraction is not scaled", "cpu  1 0 0 500 0 0 0 0 0 0\n", 0},
        {"guest time, the ninth, counts", "cpu  0 0 0 500 0 0 0 0 1\n", 0},
        {"no summary", "cpu0 0 0 0 5 0 0 0 0 0\nintr 5\n", nIndefiniteIdle},
        {"an empty file", "", nIndefiniteIdle},
        {"no time counted", "cpu 0 0 0 0 0 0 0 0 0\n", nIndefiniteIdle},
        {"fewer than nine times: the next one counts", "cpu 1 1 1 1 1 1 1 1\ncpu 0 0 x\ncpu 0 0 0 5 0 0 0 0 0\n", 1},
        {"the name in capitals does not scan", "CPU 0 0 0 5 0 0 0 0 0\n", nIndefiniteIdle},
        {"a sum that wrapped", "cpu 13835058055282163712 0 0 9223372036854775808 0 0 0 0 0\n", 2},
        {"a sum that wrapped to zero", "cpu 9223372036854775808 0 0 9223372036854775808 0 0 0 0 0\n",
         nIndefiniteIdle},
    };
    for (const auto& st_Row : st_Rows)
    {
        SCOPED_TRACE(st_Row.lpszWhy);
        RunSandboxed([&] {
            FakeFile("/proc/stat", st_Row.lpszCounters);
            unsigned long nIdle = 99;
            EXPECT_TRUE(SystemApi_System_GetSysIdleTime(&nIdle));
            EXPECT_FALSE(SystemApi_IsErrorOccur);
            EXPECT_EQ(nIdle, st_Row.nIdle);
        });
    }
}
} // namespace
