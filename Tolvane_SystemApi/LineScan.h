// SPDX-License-Identifier: MIT
/// Lines of text, taken apart by position.
#pragma once

#include <algorithm>
#include <cctype>
#include <concepts>
#include <cstddef>
#include <cstdlib>
#include <cstring>
#include <string_view>

/// Takes the fields of a line from left to right, as scanf does: the first one that is missing ends the scan, and
/// the fields after it stay as they were. Where scanf would overrun or leave the result undefined, a word is cut to
/// its field and a number keeps its low bits; the next field is looked for behind the whole word or number.
class CLineScan
{
public:
    explicit CLineScan(const char* lpszLine) noexcept : m_lpszRest(lpszLine) {}

    /// Takes a decimal number.
    template <std::integral Integer>
    CLineScan& Number(Integer& nField) noexcept
    {
        if (m_bEnded)
            return *this;
        char* pEnd = nullptr;
        const auto nNumber = std::signed_integral<Integer>
                                 ? static_cast<Integer>(std::strtoll(m_lpszRest, &pEnd, 10))
                                 : static_cast<Integer>(std::strtoull(m_lpszRest, &pEnd, 10));
        if (MoveOn(m_lpszRest, pEnd))
            nField = nNumber;
        return *this;
    }

    /// Takes a word.
    template <std::size_t nSize>
    CLineScan& Word(char (&tszField)[nSize]) noexcept
    {
        const std::string_view Text = TakeWord();
        if (!Text.empty())
            tszField[Text.copy(tszField, nSize - 1)] = '\0';
        return *this;
    }

    /// Passes over words.
    CLineScan& Skip(int nWords) noexcept
    {
        for (; nWords > 0; --nWords)
            TakeWord();
        return *this;
    }

    /// How many numbers and words were found.
    [[nodiscard]] int Count() const noexcept { return m_nCount; }

private:
    std::string_view TakeWord() noexcept
    {
        if (m_bEnded)
            return {};
        const auto IsSpace = [](char chText) {
            return std::isspace(static_cast<unsigned char>(chText)) != 0;
        };
        const char* const pLineEnd = m_lpszRest + std::strlen(m_lpszRest);
        const char* const pBegin = std::find_if_not(m_lpszRest, pLineEnd, IsSpace);
        const char* const pEnd = std::find_if(pBegin, pLineEnd, IsSpace);
        MoveOn(pBegin, pEnd);
        return {pBegin, static_cast<std::size_t>(pEnd - pBegin)};
    }
    /// Goes behind a field; an empty one ends the scan.
    bool MoveOn(const char* pBegin, const char* pEnd) noexcept
    {
        m_bEnded = pBegin == pEnd;
        m_lpszRest = pEnd;
        m_nCount += m_bEnded ? 0 : 1;
        return !m_bEnded;
    }

    const char* m_lpszRest;
    int m_nCount = 0;
    bool m_bEnded = false;
};
