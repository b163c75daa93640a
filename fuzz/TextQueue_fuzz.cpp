// SPDX-License-Identifier: MIT
#include "Fuzz.h"

#include "SystemApi_File/TextQueue.h"

/// Rounds of the same texts, so that a short input fills more than one piece. Three each begin alike.
template <typename Char>
static void Check(const std::vector<std::size_t>& Lengths, std::size_t nRounds)
{
    const auto m_Text = [&](std::size_t nText) {
        return std::basic_string<Char>(Lengths[nText % Lengths.size()], static_cast<Char>('!' + nText / 3 % 90));
    };
    const std::size_t nTexts = nRounds * Lengths.size();
    CTextQueue<Char> m_Queue;
    for (std::size_t nText = 0; nText < nTexts; ++nText)
        m_Queue.Append(m_Text(nText));
    REQUIRE(m_Queue.Count() == nTexts);
    REQUIRE(m_Queue.Longest() == (nTexts == 0 ? 0 : *std::max_element(Lengths.begin(), Lengths.end())));
    for (std::size_t nText = 0; nText < nTexts; ++nText)
        REQUIRE(m_Queue.Take() == m_Text(nText));
}

FUZZ(In)
{
    const std::size_t nRounds = 1 + In.ConsumeIntegral<unsigned char>() % 64;
    std::vector<std::size_t> Lengths;
    while (In.remaining_bytes() > 0 && Lengths.size() < 30)
        Lengths.push_back(In.ConsumeIntegral<unsigned char>() * 9);
    Check<char>(Lengths, nRounds);
    Check<wchar_t>(Lengths, nRounds / 4);
}
