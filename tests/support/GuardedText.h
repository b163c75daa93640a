// SPDX-License-Identifier: MIT
/// Text buffers as callers hand them in.
#pragma once

#include <algorithm>
#include <array>
#include <gtest/gtest.h>
#include <string>

/// A buffer of a fixed size, with characters behind it that nobody may touch: the end of its scope fails the test
/// where somebody did.
template <typename Char, std::size_t nSize>
class CGuardedText
{
public:
    explicit CGuardedText(std::basic_string_view<Char> Before = {}) // what the caller left in the buffer
    {
        std::fill_n(m_tszBuffer.begin() + nSize, nGuard, chGuard);
        Before.copy(m_tszBuffer.data(), nSize - 1);
    }
    ~CGuardedText()
    {
        EXPECT_EQ(std::count(m_tszBuffer.begin() + nSize, m_tszBuffer.end(), chGuard), nGuard) << "overrun";
    }
    CGuardedText& operator=(CGuardedText&&) = delete;

    operator Char*() { return m_tszBuffer.data(); }
    [[nodiscard]] std::basic_string<Char> Text() const
    {
        const std::basic_string_view<Char> All(m_tszBuffer.data(), nSize);
        EXPECT_NE(All.find(Char()), All.npos) << "no ending null character";
        return std::basic_string<Char>(All.substr(0, All.find(Char())));
    }

private:
    static constexpr Char chGuard = 0x5A;
    static constexpr int nGuard = 256;
    std::array<Char, nSize + nGuard> m_tszBuffer = {};
};
