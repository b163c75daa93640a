/// Text buffers as callers hand them in.
#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <gtest/gtest.h>
#include <string>
#include <string_view>

/// A buffer of a fixed size, with characters behind it that nobody may touch: the end of its scope fails the test
/// where somebody did.
template <typename Char, std::size_t nSize>
class CGuardedText
{
public:
    /// The text is what the caller left in the buffer.
    explicit CGuardedText(std::basic_string_view<Char> Before = {})
    {
        m_tszBuffer.fill(chGuard);
        std::fill_n(m_tszBuffer.begin(), nSize, Char());
        Before.copy(m_tszBuffer.data(), nSize - 1);
    }
    ~CGuardedText()
    {
        for (std::size_t nAt = nSize; nAt < m_tszBuffer.size(); ++nAt)
            EXPECT_EQ(m_tszBuffer[nAt], chGuard) << "overrun by " << nAt - nSize + 1;
    }
    CGuardedText(const CGuardedText&) = delete;
    CGuardedText& operator=(const CGuardedText&) = delete;

    operator Char*() { return m_tszBuffer.data(); }
    [[nodiscard]] std::basic_string<Char> Text() const
    {
        const std::basic_string_view<Char> All(m_tszBuffer.data(), nSize);
        EXPECT_NE(All.find(Char()), All.npos) << "no ending null character";
        return std::basic_string<Char>(All.substr(0, All.find(Char())));
    }

private:
    static constexpr Char chGuard = 0x5A;
    std::array<Char, nSize + 256> m_tszBuffer;
};
