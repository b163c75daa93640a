#include <Tolvane_BaseLib.h>

#include <cerrno>
#include <cstdlib>

namespace
{
/// Releases the rows up to the ending null pointer, and the table. errno stays as it was.
void Release(void** ppTable) noexcept
{
    const int nErrno = errno;
    for (void** ppRow = ppTable; *ppRow; ++ppRow)
        std::free(*ppRow);
    std::free(static_cast<void*>(ppTable));
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
    auto** const ppTable = static_cast<void**>(std::calloc(nCount + 1, sizeof(void*)));
    if (!ppTable)
        return false;
    for (std::size_t nRow = 0; nRow < nCount; ++nRow)
    {
        // A row of no bytes is a block of its own as well.
        ppTable[nRow] = std::calloc(1, nRowSize > 0 ? static_cast<std::size_t>(nRowSize) : 1);
        if (!ppTable[nRow])
        {
            Release(ppTable);
            return false;
        }
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
