// SPDX-License-Identifier: MIT
/// Texts on their way into the rows of a table.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <new>
#include <string>
#include <string_view>
#include <sys/mman.h>

/// Takes texts in, and when all are in gives them out in the same order. Of each it holds what differs from the one
/// before, as the paths of a folder begin alike, in memory that goes back to the operating system while they are given
/// out: so a large table and what it is made from never stand side by side.
template <typename Char>
class CTextQueue
{
public:
    CTextQueue() = default;
    ~CTextQueue()
    {
        if (m_pRecords)
            munmap(m_pRecords, m_nRoom);
    }
    CTextQueue(const CTextQueue&) = delete;
    CTextQueue& operator=(const CTextQueue&) = delete;

    [[nodiscard]] std::size_t Count() const noexcept { return m_nCount; }
    [[nodiscard]] std::size_t Longest() const noexcept { return m_nLongest; }

    /// \throws std::bad_alloc
    void Append(std::basic_string_view<Char> Text)
    {
        const std::size_t nShared = Shared(Text);
        const std::basic_string_view<Char> Rest = Text.substr(nShared);
        const RECORD st_Record = {nShared, Rest.size()};
        const std::size_t nSize = sizeof(st_Record) + Rest.size() * sizeof(Char);
        while (m_nRoom - m_nEnd < nSize)
            Grow();
        m_Text.resize(nShared); // before the record: where this raises, the queue is as it was
        m_Text += Rest;
        std::memcpy(m_pRecords + m_nEnd, &st_Record, sizeof(st_Record));
        std::memcpy(m_pRecords + m_nEnd + sizeof(st_Record), Rest.data(), Rest.size() * sizeof(Char));
        m_nEnd += nSize;
        m_nLongest = std::max(m_nLongest, Text.size());
        ++m_nCount;
    }
    /// The next text, which lives until the next call.
    std::basic_string_view<Char> Take() noexcept
    {
        if (m_nNext - m_nKept >= nPiece)
        {
            madvise(m_pRecords + m_nKept, nPiece, MADV_DONTNEED);
            m_nKept += nPiece;
        }
        RECORD st_Record;
        std::memcpy(&st_Record, m_pRecords + m_nNext, sizeof(st_Record));
        m_Text.resize(st_Record.nShared + st_Record.nRest); // its memory was enough for every text
        std::memcpy(&m_Text[st_Record.nShared], m_pRecords + m_nNext + sizeof(st_Record),
                    st_Record.nRest * sizeof(Char));
        m_nNext += sizeof(st_Record) + st_Record.nRest * sizeof(Char);
        return m_Text;
    }

private:
    static constexpr std::size_t nPiece = std::size_t{1} << 20; // whole pages

    /// In front of the characters in which a text differs from the one before.
    struct RECORD
    {
        std::size_t nShared; // characters that both begin with; the first text shares none
        std::size_t nRest;
    };

    /// Compares words at a time: a few characters less than could be shared do no harm.
    [[nodiscard]] std::size_t Shared(std::basic_string_view<Char> Text) const noexcept
    {
        constexpr std::size_t nWord = sizeof(std::uint64_t) / sizeof(Char);
        const std::size_t nMost = std::min(Text.size(), m_Text.size());
        std::size_t nShared = 0;
        while (nMost - nShared >= nWord && std::memcmp(&Text[nShared], &m_Text[nShared], nWord * sizeof(Char)) == 0)
            nShared += nWord;
        return nShared;
    }
    void Grow()
    {
        const std::size_t nRoom = m_nRoom > 0 ? 2 * m_nRoom : nPiece;
        void* const pRecords = m_pRecords
                                   ? mremap(m_pRecords, m_nRoom, nRoom, MREMAP_MAYMOVE)
                                   : mmap(nullptr, nRoom, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
        if (pRecords == MAP_FAILED)
            throw std::bad_alloc();
        m_pRecords = static_cast<char*>(pRecords);
        m_nRoom = nRoom;
    }

    char* m_pRecords = nullptr;
    std::size_t m_nRoom = 0;
    std::size_t m_nEnd = 0;
    std::size_t m_nNext = 0;
    std::size_t m_nKept = 0; // before it the memory was given back
    std::size_t m_nCount = 0;
    std::size_t m_nLongest = 0;
    std::basic_string<Char> m_Text; // the one that came or went last
};
