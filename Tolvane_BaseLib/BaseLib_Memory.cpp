// SPDX-License-Identifier: MIT
#include <Tolvane_BaseLib.h>

#include <algorithm>
#include <cerrno>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <sys/mman.h>

// Functions that only a program under the address sanitizer, or under valgrind, has.
// NOLINTBEGIN(bugprone-reserved-identifier)
extern "C" [[gnu::weak]] void __asan_init();
extern "C" [[gnu::weak]] void _vgnU_freeres();
// NOLINTEND(bugprone-reserved-identifier)

namespace
{
/// What stands in front of a table's first row pointer: the memory that holds all its rows, where one block does.
struct ROW_BLOCK
{
    void* pMemory;
    std::size_t nSize;
};
constexpr std::size_t nHeadPointers = sizeof(ROW_BLOCK) / sizeof(void*);

constexpr std::size_t nHugePage = std::size_t{2} << 20;
// Of a table. A machine that borrows its memory page by page from another pays dearly for huge pages that are new to
// it, several times what small ones cost: that stays bounded.
constexpr std::size_t nHugeMost = std::size_t{128} << 20;
constexpr std::size_t nLarge = nHugePage / 4; // from so many bytes on rows share a block: it takes no longer

ROW_BLOCK& BlockOf(void** ppTable) noexcept
{
    return *reinterpret_cast<ROW_BLOCK*>(ppTable - nHeadPointers);
}

/// True under the tools that see where a heap block ends, but not where a row inside a larger block does.
bool IsHeapWatched() noexcept
{
    return __asan_init != nullptr || _vgnU_freeres != nullptr;
}

/// Each row a heap block. False where one cannot be had: the table then ends before it.
bool MakeRows(void** ppTable, std::size_t nCount, int nRowSize) noexcept
{
    for (std::size_t nRow = 0; nRow < nCount; ++nRow)
    {
        ppTable[nRow] = std::calloc(1, static_cast<std::size_t>(nRowSize));
        if (!ppTable[nRow])
            return false;
    }
    return true;
}

constexpr std::size_t RoundUp(std::size_t nNumber, std::size_t nUnit) noexcept
{
    return (nNumber + nUnit - 1) / nUnit * nUnit;
}

/// All rows in one block of fresh pages, which are zero. The first ones are huge where the kernel gives such: the page
/// faults of small ones cost more than the writing of the rows.
bool MakeBlock(void** ppTable, std::size_t nCount, std::size_t nRowSize) noexcept
{
    if (nCount > PTRDIFF_MAX / nRowSize) // GCOVR_EXCL_START
    {
        errno = ENOMEM;
        return false;
    } // GCOVR_EXCL_STOP
    const std::size_t nSize = RoundUp(nCount * nRowSize, nHugePage);
    void* const pMemory =
        mmap(nullptr, nSize + nHugePage, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    if (pMemory == MAP_FAILED)
        return false;
    BlockOf(ppTable) = {pMemory, nSize + nHugePage};
    const auto nAddress = reinterpret_cast<std::uintptr_t>(pMemory);
    char* pRow = static_cast<char*>(pMemory) + (RoundUp(nAddress, nHugePage) - nAddress);
    const int nErrno = errno;
    madvise(pRow, std::min(nSize, nHugeMost), MADV_HUGEPAGE);
    errno = nErrno; // a refusal does no harm
    for (std::size_t nRow = 0; nRow < nCount; ++nRow, pRow += nRowSize)
        ppTable[nRow] = pRow;
    return true;
}

/// Releases the rows, one by one up to the ending null pointer where they are no block, and the table. errno stays
/// as it was.
void Release(void** ppTable) noexcept
{
    const int nErrno = errno;
    const ROW_BLOCK st_Block = BlockOf(ppTable);
    if (st_Block.pMemory)
        munmap(st_Block.pMemory, st_Block.nSize);
    else
    {
        for (void** ppRow = ppTable; *ppRow; ++ppRow)
            std::free(*ppRow);
    }
    std::free(static_cast<void*>(ppTable - nHeadPointers));
    errno = nErrno;
}
} // namespace

bool BaseLib_Memory_Malloc(void* pppTable, long long nRows, int nRowSize)
{
    if (!pppTable)
        return false;
    auto& ppCallers = *static_cast<void***>(pppTable);
    ppCallers = nullptr;
    if (nRows < 0 || nRowSize < 0)
        return false;

    const auto nCount = static_cast<std::size_t>(nRows);
    auto** const ppHead = static_cast<void**>(std::calloc(nHeadPointers + nCount + 1, sizeof(void*)));
    if (!ppHead)
        return false;
    auto** const ppTable = ppHead + nHeadPointers;

    // A row of no bytes has a place of its own as well. All rows are aligned as the heap aligns.
    const std::size_t nSize = RoundUp(static_cast<std::size_t>(std::max(nRowSize, 1)), alignof(std::max_align_t));
    const bool bBlock = nCount >= nLarge / nSize && !IsHeapWatched();
    if (!(bBlock ? MakeBlock(ppTable, nCount, nSize) : MakeRows(ppTable, nCount, std::max(nRowSize, 1))))
    {
        Release(ppTable);
        return false;
    }
    ppCallers = ppTable;
    return true;
}

bool BaseLib_Memory_Free(void* pppTable, long long)
{
    if (!pppTable)
        return false;
    auto& ppCallers = *static_cast<void***>(pppTable);
    if (!ppCallers)
        return false;
    Release(ppCallers);
    ppCallers = nullptr;
    return true;
}
