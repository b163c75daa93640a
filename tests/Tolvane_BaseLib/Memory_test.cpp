// SPDX-License-Identifier: MIT
#include "Sandbox.h"

#include <Tolvane_BaseLib.h>

#include <algorithm>
#include <cerrno>
#include <climits>
#include <dlfcn.h>
#include <gtest/gtest.h>
#include <malloc.h>
#include <set>
#include <sys/mman.h>
#include <sys/resource.h>
#include <utility>

#if !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__)
/// Large blocks never begin where a huge page does, though some kernels see to it.
extern "C" void* mmap(void* pPlace, std::size_t nSize, int nAccess, int nFlags, int nFile, off_t nOffset) noexcept
{
    const std::size_t nShift = nSize > 1 << 20 ? 4096 : 0;
    static auto* const pfnReal = reinterpret_cast<decltype(&mmap)>(dlsym(RTLD_NEXT, "mmap"));
    void* const pMemory = pfnReal(pPlace, nSize + nShift, nAccess, nFlags, nFile, nOffset);
    return pMemory == MAP_FAILED ? pMemory : static_cast<char*>(pMemory) + nShift;
}
/// As on a kernel without huge pages.
extern "C" int madvise(void*, std::size_t, int) noexcept
{
    errno = EINVAL;
    return -1;
}
#endif

namespace
{
TEST(MemoryTable, RowsAreDistinctZeroedAndEndedByANullPointer)
{
    const struct
    {
        const char* lpszWhy;
        long long nRows;
        int nRowSize;
        long long nGivenBack; // a wrong count does no harm
        bool bMade = true;
        int nError = 0;
    } st_Rows[] = {
#include "../data/BaseLib/Tables.inc"
    };
    for (const auto& st_Row : st_Rows)
    {
        SCOPED_TRACE(st_Row.lpszWhy);
        char* pNotNull = nullptr;
        char** pptszTable = &pNotNull;
        errno = 0;
        ASSERT_EQ(BaseLib_Memory_Malloc(&pptszTable, st_Row.nRows, st_Row.nRowSize), st_Row.bMade);
        EXPECT_EQ(errno, st_Row.nError);
        ASSERT_EQ(pptszTable != nullptr, st_Row.bMade);
        std::set<char*> Distinct;
        for (long long nRow = 0; st_Row.bMade && nRow < st_Row.nRows; ++nRow)
        {
            char* const ptszRow = pptszTable[nRow];
            ASSERT_TRUE(ptszRow && Distinct.insert(ptszRow).second);
            EXPECT_EQ(std::count(ptszRow, ptszRow + st_Row.nRowSize, '\0'), st_Row.nRowSize);
            std::fill_n(ptszRow, st_Row.nRowSize, 'x');
        }
        EXPECT_TRUE(!st_Row.bMade || !pptszTable[st_Row.nRows]);
        if (st_Row.bMade && st_Row.nRows > 0)
            std::swap(pptszTable[0], pptszTable[st_Row.nRows - 1]); // rows may change places

        errno = EXDEV;
        EXPECT_EQ(BaseLib_Memory_Free(&pptszTable, st_Row.nGivenBack), st_Row.bMade) << "a null table is tolerated";
        EXPECT_EQ(errno, EXDEV);
        EXPECT_EQ(pptszTable, nullptr);
    }
    EXPECT_FALSE(BaseLib_Memory_Malloc(nullptr, 1, 1));
    EXPECT_FALSE(BaseLib_Memory_Free(nullptr, 1));
}

#if !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__) // their shadow memory exceeds any limit
TEST(MemoryTable, MemoryThatEndsHalfWayIsGivenBack)
{
    RunInChild([] {
        char** pptszTable = nullptr;
        const rlimit st_Limit = {1 << 30, RLIM_INFINITY};
        ASSERT_EQ(setrlimit(RLIMIT_AS, &st_Limit), 0);
        for (int nRound = 0; nRound < 300; ++nRound) // of which nothing may stay
        {
            EXPECT_TRUE(BaseLib_Memory_Malloc(&pptszTable, 5000, 1024));
            EXPECT_TRUE(BaseLib_Memory_Free(&pptszTable, 5000));
        }
        EXPECT_FALSE(BaseLib_Memory_Malloc(&pptszTable, 2000, 1 << 20));
        EXPECT_EQ(errno, ENOMEM);
        const rlimit st_None = {1, RLIM_INFINITY}; // but for what the heap still holds
        ASSERT_EQ(setrlimit(RLIMIT_AS, &st_None), 0);
        struct mallinfo2 st_Before = {};
        do
            st_Before = mallinfo2();
        while (BaseLib_Memory_Malloc(&pptszTable, 200, 2000));
        EXPECT_EQ(errno, ENOMEM);
        EXPECT_EQ(pptszTable, nullptr);
        const struct mallinfo2 st_After = mallinfo2();
        EXPECT_EQ(st_After.uordblks + st_After.hblkhd, st_Before.uordblks + st_Before.hblkhd);
    });
}
#endif
} // namespace
