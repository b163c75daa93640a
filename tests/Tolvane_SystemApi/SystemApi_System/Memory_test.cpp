#include "Fakes.h"
#include "Sandbox.h"

#include <Tolvane_SystemApi.h>

#include <gtest/gtest.h>
#include <limits>

namespace
{
tag_SystemApi_Memory_Infomation Ask(int nType, const char* lpszTable, tag_SystemApi_Memory_Infomation st_Memory = {})
{
    FakeFile("/proc/meminfo", lpszTable);
    EXPECT_TRUE(SystemApi_System_GetMemoryUsage(&st_Memory, nType));
    EXPECT_FALSE(SystemApi_IsErrorOccur);
    return st_Memory;
}

TEST(MemoryUsage, LinesInAnyOrderAndTheLastShmemLineWins)
{
    RunSandboxed([] {
        const auto st_Memory =
            Ask(2, "Shmem: 8 kB\nShmemHugePages: 16 kB\nSwapFree: 3 kB\nMemAvailable: 512 kB\n"
                   "ShmemPmdMapped: 4 kB\nMemTotal: 2048 kB\nSwapTotal: 7 kB\nMemTotalX: 4096 kB\n");
        EXPECT_EQ(st_Memory.nMemoryTotal, 4096U) << "names are compared by their beginning";
        EXPECT_EQ(st_Memory.nMemoryAvailable, 512U);
        EXPECT_EQ(st_Memory.nSwapTotal, 7U);
        EXPECT_EQ(st_Memory.nSwapFree, 3U);
        EXPECT_EQ(st_Memory.nMemoryShared, 4096U) << "always in bytes";
        EXPECT_EQ(st_Memory.nMemoryLoad, 87) << "87.5, cut off";
    });
}

TEST(MemoryUsage, UnitsScaleTheReservedFieldsAndNotTheSharedOne)
{
    const struct
    {
        int nType;
        unsigned long nTotal;
        unsigned long nReserved;
    } st_Rows[] = {{1, 16303836UL << 10, 1UL << 40},
                   {2, 16303836, 1UL << 30},
                   {3, 15921, 1UL << 20},
                   {4, 15, 1UL << 10},
                   {0, 16303836UL << 10, 1UL << 40},
                   {5, 16303836UL << 10, 1UL << 40},
                   {-1, 16303836UL << 10, 1UL << 40}};
    for (const auto& st_Row : st_Rows)
    {
        SCOPED_TRACE(st_Row.nType);
        RunSandboxed([&] {
            tag_SystemApi_Memory_Infomation st_Before = {};
            st_Before.nMemoryReserved1 = st_Before.nMemoryReserved2 = 1UL << 40;
            const auto st_Memory =
                Ask(st_Row.nType, "MemTotal: 16303836 kB\nMemAvailable: 16303836 kB\nShmem: 5 kB\n", st_Before);
            EXPECT_EQ(st_Memory.nMemoryTotal, st_Row.nTotal);
            EXPECT_EQ(st_Memory.nMemoryReserved1, st_Row.nReserved);
            EXPECT_EQ(st_Memory.nMemoryReserved2, st_Row.nReserved);
            EXPECT_EQ(st_Memory.nMemoryShared, 5120U);
            EXPECT_EQ(st_Memory.nMemoryLoad, 0);
        });
    }
}

TEST(MemoryUsage, MissingLinesKeepTheCallersValuesAndScaleThem)
{
    RunSandboxed([] {
        tag_SystemApi_Memory_Infomation st_Before = {};
        st_Before.nMemoryAvailable = 25;
        st_Before.nSwapTotal = 3;
        const auto st_Memory = Ask(1, "MemTotal: 100 kB\nSwapTotal: none\n", st_Before);
        EXPECT_EQ(st_Memory.nMemoryAvailable, 25U << 10);
        EXPECT_EQ(st_Memory.nSwapTotal, 3U << 10) << "a line without a number leaves the field alone";
        EXPECT_EQ(st_Memory.nMemoryLoad, 75);
    });
}

TEST(MemoryUsage, ATotalOfZeroGivesTheIndefiniteLoad)
{
    for (const char* lpszTable : {"", "MemTotal: 0 kB\nMemAvailable: 5 kB\n"})
        RunSandboxed([&] { EXPECT_EQ(Ask(1, lpszTable).nMemoryLoad, std::numeric_limits<int>::min()); });
}
} // namespace
