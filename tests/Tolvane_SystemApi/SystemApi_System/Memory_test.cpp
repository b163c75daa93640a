#include "Fakes.h"
#include "Sandbox.h"

#include <Tolvane_SystemApi.h>

#include <cerrno>
#include <cstring>
#include <gtest/gtest.h>
#include <limits>
#include <optional>
#include <string>

namespace
{
tag_SystemApi_Memory_Infomation Ask(int nType, const std::string& Table,
                                    tag_SystemApi_Memory_Infomation st_Memory = {})
{
    FakeFile("/proc/meminfo", Table);
    SystemApi_IsErrorOccur = true;
    EXPECT_TRUE(SystemApi_System_GetMemoryUsage(&st_Memory, nType));
    EXPECT_FALSE(SystemApi_IsErrorOccur);
    LiftFakes();
    return st_Memory;
}

TEST(MemoryUsage, LinesInAnyOrderAreTakenByTheBeginningsOfTheirNames)
{
    RunSandboxed([] {
        const auto st_Memory = Ask(
            2, "Shmem: 8 kB\nShmemHugePages: 16 kB\nSwapFreeX: 3 kB\nMemAvailableX: 512 kB\nShmemPmdMapped: 4 kB\n"
               "MemTotal: 2048 kB\nSwapTotal: -1 kB\nMemTotalX: 4096 kB\n");
        EXPECT_EQ(st_Memory.nMemoryTotal, 4096U) << "the last of two lines";
        EXPECT_EQ(st_Memory.nMemoryAvailable, 512U);
        EXPECT_EQ(st_Memory.nSwapTotal, 0x3FFFFFFFFFFFFFU) << "unsigned, the low 54 bits";
        EXPECT_EQ(st_Memory.nSwapFree, 3U);
        EXPECT_EQ(st_Memory.nMemoryShared, 4096U) << "the last Shmem line, in bytes";
        EXPECT_EQ(st_Memory.nMemoryLoad, 87) << "87.5, cut off";

        tag_SystemApi_Memory_Infomation st_Before = {};
        st_Before.nMemoryAvailable = 25;
        st_Before.nSwapTotal = 3;
        const auto st_Kept = Ask(1, "MemTotal: 100 kB\nSwapTotal: none\n", st_Before);
        EXPECT_EQ(st_Kept.nMemoryAvailable, 25U << 10) << "a missing line: the caller's value, scaled";
        EXPECT_EQ(st_Kept.nSwapTotal, 3U << 10) << "a line without a number";
        EXPECT_EQ(st_Kept.nMemoryLoad, 75);
    });
}

TEST(MemoryUsage, UnitsScaleTheReservedFieldsAndNotTheSharedOne)
{
    const struct
    {
        int nType;
        unsigned long nTotal;
        int nShift;
    } st_Rows[] = {{1, 16303836UL << 10, 0}, {2, 16303836, 10},        {3, 15921, 20},           {4, 15, 30},
                   {0, 16303836UL << 10, 0}, {5, 16303836UL << 10, 0}, {-1, 16303836UL << 10, 0}};
    RunSandboxed([&] {
        for (const auto& st_Row : st_Rows)
        {
            SCOPED_TRACE(st_Row.nType);
            tag_SystemApi_Memory_Infomation st_Before = {};
            st_Before.nMemoryReserved1 = st_Before.nMemoryReserved2 = 1UL << 40;
            const auto st_Memory = Ask(st_Row.nType, "MemTotal: 16303836 kB\nShmem: 5 kB\n", st_Before);
            EXPECT_EQ(st_Memory.nMemoryTotal, st_Row.nTotal);
            EXPECT_EQ(st_Memory.nMemoryReserved1, 1UL << (40 - st_Row.nShift));
            EXPECT_EQ(st_Memory.nMemoryReserved2, 1UL << (40 - st_Row.nShift));
            EXPECT_EQ(st_Memory.nMemoryShared, 5120U);
        }
    });
}

TEST(MemoryUsage, TheLoadIsReckonedInSinglePrecision)
{
    constexpr int nIndefinite = std::numeric_limits<int>::min();
    const struct
    {
        const char* lpszWhy;
        unsigned long nTotal;
        unsigned long nAvailable;
        int nLoad;
    } st_Rows[] = {
        {"double precision would give 40", 100, 60, 39},
        {"a fused multiplication would give 19", 100, 80, 20},
        {"infinite", 0, 5, nIndefinite},
        {"not a number", 0, 0, nIndefinite},
        {"more available than there is", 100, 150, -50},
    };
    RunSandboxed([&] {
        for (const auto& st_Row : st_Rows)
        {
            SCOPED_TRACE(st_Row.lpszWhy);
            EXPECT_EQ(Ask(1, "MemTotal: " + std::to_string(st_Row.nTotal) +
                                 " kB\nMemAvailable: " + std::to_string(st_Row.nAvailable) + " kB\n")
                          .nMemoryLoad,
                      st_Row.nLoad);
        }
    });
}

TEST(MemoryUsage, FailsWithTheRecordUntouched)
{
    EXPECT_FALSE(SystemApi_System_GetMemoryUsage(nullptr, 1));
    EXPECT_EQ(SystemApi_GetLastError(nullptr), ERROR_SYSTEMAPI_SYSTEM_GETMEMORYUSAGE_PARAMETER);
    RunInChild([] {
        tag_SystemApi_Memory_Infomation st_Before;
        tag_SystemApi_Memory_Infomation st_Memory;
        std::memset(&st_Before, 0x11, sizeof(st_Before));
        std::memset(&st_Memory, 0x11, sizeof(st_Memory));
        int nErrno = 0;
        std::optional<CNoDescriptors> m_None(std::in_place);
        const bool bAsked = SystemApi_System_GetMemoryUsage(&st_Memory, 4);
        const unsigned long dwCode = SystemApi_GetLastError(&nErrno);
        m_None.reset();
        EXPECT_FALSE(bAsked);
        EXPECT_TRUE(SystemApi_IsErrorOccur);
        EXPECT_EQ(dwCode, ERROR_SYSTEMAPI_SYSTEM_GETMEMORYUSAGE_POPEN);
        EXPECT_EQ(nErrno, EMFILE);
        EXPECT_EQ(std::memcmp(&st_Memory, &st_Before, sizeof(st_Memory)), 0);
    });
}
} // namespace
