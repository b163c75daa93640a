// SPDX-License-Identifier: MIT
/// A table of rows on its way to the caller.
#pragma once

#include <Tolvane_BaseLib.h>

#include <new>
#include <utility>

/// Owns a table of the base library until it is handed over; gives it back when that never happens.
template <typename Row>
class CRowTable
{
public:
    /// \throws std::bad_alloc when the memory cannot be had
    CRowTable(long long nRows, int nRowSize) : m_nRows(nRows)
    {
        if (!BaseLib_Memory_Malloc(&m_ppRows, nRows, nRowSize))
            throw std::bad_alloc();
    }
    ~CRowTable() { BaseLib_Memory_Free(&m_ppRows, m_nRows); }
    CRowTable(const CRowTable&) = delete;
    CRowTable& operator=(const CRowTable&) = delete;

    Row* operator[](long long nRow) const noexcept { return m_ppRows[nRow]; }
    [[nodiscard]] Row** Get() const noexcept { return m_ppRows; }
    /// The table, now the caller's to release.
    [[nodiscard]] Row** HandOver() noexcept { return std::exchange(m_ppRows, nullptr); }

private:
    Row** m_ppRows = nullptr;
    long long m_nRows;
};
