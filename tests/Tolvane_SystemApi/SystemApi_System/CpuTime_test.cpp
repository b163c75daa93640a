// SPDX-License-Identifier: MIT
#include "Fakes.h"
#include "Sandbox.h"
#include "StandIns.h"
#include "SystemApi_System/SystemApi_System.h"

#include <chrono>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <gtest/gtest.h>
#include <limits>
#include <new>
#include <string>
#include <string_view>
#include <unistd.h>
#include <vector>

#ifndef __SANITIZE_ADDRESS__ // which sees to it itself
// The program's blocks end with bytes that nobody may touch; the vectors of the library are blocks, too.
static constexpr std::string_view BlockEnd = "the end of it";

void* operator new(std::size_t nSize)
{
    auto* const pBlock = static_cast<char*>(std::malloc(nSize + BlockEnd.size()));
    if (!pBlock)
        throw std::bad_alloc();
    BlockEnd.copy(pBlock + nSize, BlockEnd.size());
    return pBlock;
}
void operator delete(void* pBlock) noexcept
{
    std::free(pBlock);
}
void operator delete(void* pBlock, std::size_t nSize) noexcept
{
    if (pBlock && std::memcmp(static_cast<char*>(pBlock) + nSize, BlockEnd.data(), BlockEnd.size()) != 0)
        std::abort();
    std::free(pBlock);
}
#endif

namespace
{
using OCCUPY = tag_LinuxSdk_SystemCpu_Occupy;

constexpr int nIndefinite = std::numeric_limits<int>::min();
constexpr unsigned long nIndefiniteIdle = 0x8000000000000000;

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

constexpr OCCUPY st_Old = {"what-the-caller-had", 77, 77, 77, 77};

/// An element as text.
std::string Shown(const OCCUPY& st_Cpu)
{
    std::string Text(st_Cpu.tszCpuName, strnlen(st_Cpu.tszCpuName, sizeof(st_Cpu.tszCpuName)));
    for (const unsigned nCounter : {st_Cpu.dwUser, st_Cpu.dwNice, st_Cpu.dwSystem, st_Cpu.dwIdle})
        Text += " " + std::to_string(nCounter);
    return Text;
}

TEST(CpuSample, LinesAreTakenByPosition)
{
    const struct
    {
        const char* lpszWhy;
        std::string Line, Element;
    } st_Rows[] = {
#include "../../data/System/CpuLines.inc"
    };
    constexpr std::size_t nRows = std::size(st_Rows);
    RunSandboxed([&] {
        std::string Counters = "cpu  9 9 9 9 9\n";
        for (const auto& st_Row : st_Rows)
            Counters += st_Row.Line;
        FakeProcessors(nRows, 1, Counters);
        std::vector<OCCUPY> Occupy(nRows, st_Old);
        SystemApi_IsErrorOccur = true;
        EXPECT_TRUE(m_SystemSdk.SystemApi_System_Get_Occupy(Occupy.data()) && !SystemApi_IsErrorOccur);
        for (std::size_t nCpu = 0; nCpu < nRows; ++nCpu)
            EXPECT_EQ(Shown(Occupy[nCpu]), st_Rows[nCpu].Element) << st_Rows[nCpu].lpszWhy;

        int nAsked = 0;
        StandIns().GetNProcs = [&] {
            return ++nAsked < 3 ? 6 : 2; // asked before every line: four processors go
        };
        Occupy.assign(nRows, st_Old);
        EXPECT_TRUE(m_SystemSdk.SystemApi_System_Get_Occupy(Occupy.data()));
        EXPECT_EQ(Shown(Occupy[1]), st_Rows[1].Element);
        EXPECT_EQ(Shown(Occupy[2]), Shown(st_Old));
    });
}

TEST(CpuBusy, FormulaWithItsWrapsAndWithoutAGuard)
{
    struct
    {
        const char* lpszWhy;
        OCCUPY st_First, st_Second;
        double fBusy;
    } st_Rows[] = {
#include "../../data/System/CpuBusy.inc"
    };
    SystemApi_IsErrorOccur = true;
    for (auto& [lpszWhy, st_First, st_Second, fBusy] : st_Rows)
    {
        EXPECT_EQ(m_SystemSdk.SystemApi_System_Cal_Occupy(&st_First, &st_Second), static_cast<float>(fBusy))
            << lpszWhy;
        EXPECT_TRUE(std::isnan(m_SystemSdk.SystemApi_System_Cal_Occupy(&st_First, &st_First)));
    }
    EXPECT_TRUE(SystemApi_IsErrorOccur) << "arithmetic alone, no operation";
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
    constexpr int nUntouched = 77;
    const struct
    {
        const char* lpszWhy;
        int nThreads, nThreadsLater;
        long nOnline;
        std::string After;
        int nUsage;
    } st_Rows[] = {
#include "../../data/System/CpuUsage.inc"
    };
    for (const auto& st_Row : st_Rows)
    {
        SCOPED_TRACE(st_Row.lpszWhy);
        RunSandboxed([&] {
            FakeProcessors(st_Row.nThreads, st_Row.nOnline, Before);
            StandIns().Sleep = [&](unsigned nSeconds) {
                EXPECT_EQ(nSeconds, 1U);
                LiftFakes();
                FakeProcessors(st_Row.nThreadsLater, st_Row.nOnline, st_Row.After);
                return 1U; // a signal came
            };
            std::chrono::nanoseconds Rest{};
            StandIns().NanoSleep = [&](const timespec* pSt_Time, timespec*) {
                Rest = std::chrono::seconds(pSt_Time->tv_sec) + std::chrono::nanoseconds(pSt_Time->tv_nsec);
                return 0;
            };
            int nUsage = nUntouched;
            const auto Start = std::chrono::steady_clock::now();
            const bool bFails = st_Row.nUsage == nUntouched;
            EXPECT_EQ(SystemApi_System_GetCpuUsage(&nUsage), !bFails);
            EXPECT_EQ(SystemApi_IsErrorOccur, bFails);
            EXPECT_EQ(SystemApi_GetLastError(nullptr) == ERROR_SYSTEMAPI_SYSTEM_GETOCCUPY_READ, bFails);
            EXPECT_EQ(nUsage, st_Row.nUsage);
            EXPECT_LE(Rest, std::chrono::seconds(1));
            EXPECT_GE(std::chrono::steady_clock::now() - Start + Rest, std::chrono::seconds(1)) << "cut short";
        });
    }
}

TEST(IdleTime, WholeNumberOfAFraction)
{
    const struct
    {
        const char* lpszWhy;
        const char* lpszCounters;
        unsigned long nIdle;
    } st_Rows[] = {
#include "../../data/System/IdleTimes.inc"
    };
    RunSandboxed([&] {
        close(STDIN_FILENO); // so that the table's descriptor is 0
        for (const auto& st_Row : st_Rows)
        {
            FakeFile("/proc/stat", st_Row.lpszCounters);
            unsigned long nIdle = 99;
            errno = EINTR; // of an earlier call: the file's end is its end
            EXPECT_TRUE(SystemApi_System_GetSysIdleTime(&nIdle));
            EXPECT_FALSE(SystemApi_IsErrorOccur);
            EXPECT_EQ(nIdle, st_Row.nIdle) << st_Row.lpszWhy;
            LiftFakes();
        }
        EXPECT_EQ(close(STDIN_FILENO), -1) << "left open";
    });
}
} // namespace
