// SPDX-License-Identifier: MIT
#include "Fuzz.h"

#include "SystemApi_Process/CommandOutput.h"

FUZZ(In)
{
    const auto nChunks = In.ConsumeIntegral<unsigned>();
    const int nReadLines = In.ConsumeIntegralInRange(-1, 5);
    const int nStartLine = In.ConsumeIntegralInRange(-1, 5);
    const bool bFirstNulEnds = In.ConsumeBool();
    const bool bUnbounded = In.ConsumeBool();
    const std::string Before = TakeArgument(In).substr(0, 64);
    const auto nRoom = In.ConsumeIntegralInRange<std::size_t>(Before.size() + 1, 20000);
    std::string Text = TakeText(In);
    Text += In.ConsumeRemainingBytesAsString();
    if (In.ConsumeBool())
        Text += Text + Text + Text + Text + Text;

    GiveTexts({{"command", Text}}, nChunks);
    const std::size_t nSize = bUnbounded ? Before.size() + Text.size() + 1 : nRoom;
    CBuffer<char> m_Buffer(nSize, Before);
    int nLength = -7;
    REQUIRE(ReadCommand("command", CAPTURE_TARGET{m_Buffer, bUnbounded ? nUnbounded : nSize, bFirstNulEnds},
                        nReadLines, nStartLine, &nLength));

    std::string Expected;
    int nLine = 0;
    int nCopied = 0;
    bool bEnded = false;
    for (std::size_t nAt = 0; nAt < Text.size();)
    {
        const std::size_t nEnd = std::min(Text.find('\n', nAt), Text.size() - 1) + 1;
        const std::string Piece = Text.substr(nAt, std::min<std::size_t>(nEnd - nAt, 2047));
        nAt += Piece.size();
        if (++nLine < nStartLine)
            continue;
        if (!bEnded)
            Expected += Piece.c_str();
        bEnded = bEnded || (bFirstNulEnds && Piece.find('\0') != Piece.npos);
        if (++nCopied == nReadLines)
            break;
    }
    Expected.resize(std::min(Expected.size(), nSize - Before.size() - 1));
    REQUIRE(m_Buffer.Text() == Before + Expected);
    REQUIRE(nLength == static_cast<int>(Expected.size()));
}
