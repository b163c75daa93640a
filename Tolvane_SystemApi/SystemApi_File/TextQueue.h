// SPDX-License-Identifier: MIT
/// Texts on their way into the rows of a table.
#pragma once

#include <algorithm>
#include <cstddef>
#include <new>
#include <string_view>
#include <sys/mman.h>

/// Takes texts in at its end and gives them out at its front. They lie one behind the other, each with its ending null
/// character, in memory that goes back to the operating system while they are given out: so a large table and what
/// it is made from never stand side by side.
template <typename Char>
class CTextQueue
{
public:
    CTextQueue() = default;
    ~CTextQueue()
    {
        if (m_pText)
            munmap(m_pText, m_nRoom * sizeof(Char));
    }
    CTextQueue(const CTextQueue&) = delete;
    CTextQueue& operator=(const CTextQueue&) = delete;

    [[nodiscard]] std::size_t Count() const noexcept { return m_nCount; }
    [[nodiscard]] std::size_t Longest() const noexcept { return m_nLongest; }

    /// \throws std::bad_alloc
    void Append(std::basic_string_view<Char> Text)
    {
        while (m_nRoom - m_nEnd <= Text.size())
            Grow();
        m_nEnd += Text.copy(m_pText + m_nEnd, Text.size()) + 1; // fresh memory is zero
        m_nLongest = std::max(m_nLongest, Text.size());
        ++m_nCount;
    }
    /// The text at the front, which lives until the next call.
    std::basic_string_view<Char> Take() noexcept
    {
        if (m_nNext - m_nKept >= nPiece)
        {
            madvise(m_pText + m_nKept, nPiece * sizeof(Char), MADV_DONTNEED);
            m_nKept += nPiece;
        }
        const std::basic_string_view<Char> Text(m_pText + m_nNext);
        m_nNext += Text.size() + 1;
        return Text;
    }

private:
    static constexpr std::size_t nPiece = std::size_t{1} << 20; // whole pages

    void Grow()
    {
        const std::size_t nRoom = m_nRoom > 0 ? 2 * m_nRoom : nPiece;
        void* const pText =
            m_pText ? mremap(m_pText, m_nRoom * sizeof(Char), nRoom * sizeof(Char), MREMAP_MAYMOVE)
                    : mmap(nullptr, nRoom * sizeof(Char), PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
        if (pText == MAP_FAILED)
            throw std::bad_alloc();
        m_pText = static_cast<Char*>(pText);
        m_nRoom = nRoom;
    }

    Char* m_pText = nullptr;
    std::size_t m_nRoom = 0; // all in characters
    std::size_t m_nEnd = 0;
    std::size_t m_nNext = 0;
    std::size_t m_nKept = 0; // before it the memory was given back
    std::size_t m_nCount = 0;
    std::size_t m_nLongest = 0;
};
