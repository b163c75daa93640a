#include "Sandbox.h"

#include <Tolvane_BaseLib.h>

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstdint>
#include <gtest/gtest.h>
#include <malloc.h>
#include <set>
#include <sys/resource.h>

namespace
{
TEST(MemoryTable, RowsAreDistinctZeroedAndEndedByANullPointer)
{
    const struct
    {
        long long nRows;
        int nRowSize;
    } st_Rows[] = {{3, 1024}, {1, 1028}, {1000, 1}, {2, 1 << 20}, {2, 0}, {0, 1024}, {0, 0}};
    for (const auto& st_Row : st_Rows)
    {
        SCOPED_TRACE(testing::Message() << st_Row.nRows << " rows of " << st_Row.nRowSize);
        char* pNotNull = nullptr;
        char** pptszTable = &pNotNull;
        ASSERT_TRUE(BaseLib_Memory_Malloc(&pptszTable, st_Row.nRows, st_Row.nRowSize));
        std::set<char*> Distinct;
        for (long long nRow = 0; nRow < st_Row.nRows; ++nRow)
        {
            char* const ptszRow = pptszTable[nRow];
            ASSERT_TRUE(ptszRow && Distinct.insert(ptszRow).second);
            EXPECT_EQ(std::count(ptszRow, ptszRow + st_Row.nRowSize, '\0'), st_Row.nRowSize);
            std::fill_n(ptszRow, st_Row.nRowSize, 'x');
        }
        EXPECT_EQ(pptszTable[st_Row.nRows], nullptr);

        errno = EXDEV;
        EXPECT_TRUE(BaseLib_Memory_Free(&pptszTable, st_Row.nRows));
        EXPECT_EQ(errno, EXDEV);
        EXPECT_EQ(pptszTable, nullptr);
        EXPECT_FALSE(BaseLib_Memory_Free(&pptszTable, st_Row.nRows)) << "a null table is tolerated";
    }
}

TEST(MemoryTable, AWrongCountGivenBackDoesNoHarm)
{
    for (const long long nRows : {LLONG_MIN, -1LL, 0LL, 2LL, 1000LL, LLONG_MAX})
    {
        char** pptszTable = nullptr;
        ASSERT_TRUE(BaseLib_Memory_Malloc(&pptszTable, 3, 16));
        EXPECT_TRUE(BaseLib_Memory_Free(&pptszTable, nRows)) << nRows;
    }
}

TEST(MemoryTable, WhatCannotBeHadSetsTheVariableToNull)
{
    const struct
    {
        const char* lpszWhy;
        long long nRows;
        int nRowSize;
        int nError;
    } st_Rows[] = {{"negative count", -1, 16, 0},
                   {"negative size", 3, -1, 0},
                   {"negative size of no rows", 0, INT_MIN, 0},
                   {"the bytes of the table exceed a size", LLONG_MAX, 1, ENOMEM},
                   {"they would wrap to 8", 1LL << 61, 1, ENOMEM},
                   {"more than the address space", 1LL << 50, 1, ENOMEM}};
    for (const auto& st_Row : st_Rows)
    {
        char* pNotNull = nullptr;
        char** pptszTable = &pNotNull;
        errno = 0;
        EXPECT_FALSE(BaseLib_Memory_Malloc(&pptszTable, st_Row.nRows, st_Row.nRowSize)) << st_Row.lpszWhy;
        EXPECT_EQ(pptszTable, nullptr) << st_Row.lpszWhy;
        EXPECT_EQ(errno, st_Row.nError) << st_Row.lpszWhy;
    }
    EXPECT_FALSE(BaseLib_Memory_Malloc(nullptr, 1, 1));
    EXPECT_FALSE(BaseLib_Memory_Free(nullptr, 1));
}

#if !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__) // their shadow memory exceeds any limit
TEST(MemoryTable, MemoryThatEndsHalfWayIsGivenBack)
{
    RunInChild([] {
        const auto InUse = [] {
            const struct mallinfo2 st_Info = mallinfo2();
            return st_Info.uordblks + st_Info.hblkhd;
        };
        const rlimit st_Limit = {1 << 30, RLIM_INFINITY};
        ASSERT_EQ(setrlimit(RLIMIT_AS, &st_Limit), 0);
        const std::size_t nBefore = InUse();
        char* pNotNull = nullptr;
        char** pptszTable = &pNotNull;
        EXPECT_FALSE(BaseLib_Memory_Malloc(&pptszTable, 2000, 1 << 20));
        EXPECT_EQ(errno, ENOMEM);
        EXPECT_EQ(pptszTable, nullptr);
        EXPECT_EQ(InUse(), nBefore);
    });
}
#endif
} // namespace
