// SPDX-License-Identifier: MIT
#include "CommandOutput.h"

#include "../pch.h"

#include <algorithm>
#include <cstring>
#include <fcntl.h>
#include <unistd.h>

/// For output that fills the small buffer at once: a larger one, neither on the stack nor on the heap, and a larger
/// pipe, so that the command goes on writing meanwhile. Where either is refused, reading goes on without it.
void CCommandOutput::UseLargeBuffer()
{
    constexpr int nPipeSize = 256 << 10;

    const int nErrno = errno;
    fcntl(fileno(m_Pipe.get()), F_SETPIPE_SZ, nPipeSize);
    void* const pLarge = mmap(nullptr, nLargeSize, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    errno = nErrno;
    if (pLarge == MAP_FAILED)
        return;
    m_Large.reset(static_cast<char*>(pLarge));
    std::memcpy(m_Large.get(), m_pBuffer, m_nEnd);
    m_pBuffer = m_Large.get();
    m_nSize = nLargeSize;
}

/// Reads on behind what is held, which is less than one piece.
bool CCommandOutput::Fill()
{
    const bool bWasFull = m_nEnd == m_nSize;
    std::memmove(m_pBuffer, m_pBuffer + m_nBegin, m_nEnd - m_nBegin);
    m_nEnd -= m_nBegin;
    m_nBegin = 0;
    if (bWasFull && !m_Large)
        UseLargeBuffer();

    ssize_t nRead = 0;
    do
        nRead = read(fileno(m_Pipe.get()), m_pBuffer + m_nEnd, m_nSize - m_nEnd);
    while (nRead < 0 && errno == EINTR);
    m_bEnded = nRead <= 0;
    m_nEnd += m_bEnded ? 0 : static_cast<std::size_t>(nRead);
    return !m_bEnded;
}

bool CCommandOutput::ReadPieces(std::string_view& Pieces)
{
    do
    {
        const char* const pHeld = m_pBuffer + m_nBegin;
        const std::size_t nHeld = m_nEnd - m_nBegin;
        const auto* const pLineEnd = static_cast<const char*>(memrchr(pHeld, '\n', nHeld));
        const std::size_t nLines = pLineEnd ? static_cast<std::size_t>(pLineEnd - pHeld) + 1 : 0;
        const std::size_t nPieces = nLines + (nHeld - nLines) / nPieceMax * nPieceMax;
        if (nPieces > 0)
        {
            Pieces = {pHeld, nPieces};
            m_nBegin += nPieces;
            return true;
        }
    } while (!m_bEnded && Fill());
    Pieces = {m_pBuffer + m_nBegin, m_nEnd - m_nBegin}; // the rest of the output
    m_nBegin = m_nEnd;
    return !Pieces.empty();
}

std::string_view CCommandOutput::TakePiece(std::string_view& Pieces)
{
    std::string_view Piece = Pieces.substr(0, nPieceMax);
    if (const std::size_t nLineEnd = Piece.find('\n'); nLineEnd != Piece.npos)
        Piece = Piece.substr(0, nLineEnd + 1);
    Pieces.remove_prefix(Piece.size());
    return Piece;
}

namespace
{
/// The end of a text in a bounded buffer, to which more is appended.
class CAppender
{
public:
    explicit CAppender(const CAPTURE_TARGET& st_Target) noexcept : m_st_Target(st_Target) {}

    /// Appends what fits beside the ending null character.
    void Append(std::string_view Text) noexcept
    {
        if (Text.empty())
            return;
        if (!m_bEndKnown)
            FindEnd();
        const std::size_t nFits =
            m_nEnd < m_st_Target.nSize ? std::min(Text.size(), m_st_Target.nSize - m_nEnd - 1) : 0;
        if (nFits == 0)
            return;
        std::memcpy(m_st_Target.ptszBuffer + m_nEnd, Text.data(), nFits);
        m_nEnd += nFits;
        m_st_Target.ptszBuffer[m_nEnd] = '\0';
        m_nAppended += nFits;
    }
    [[nodiscard]] std::size_t Appended() const noexcept { return m_nAppended; }

private:
    /// Only now: a buffer to which nothing is appended is not looked at.
    void FindEnd() noexcept
    {
        m_nEnd = m_st_Target.nSize == nUnbounded ? std::strlen(m_st_Target.ptszBuffer)
                                                 : strnlen(m_st_Target.ptszBuffer, m_st_Target.nSize);
        m_bEndKnown = true;
    }

    CAPTURE_TARGET m_st_Target;
    bool m_bEndKnown = false;
    std::size_t m_nEnd = 0;
    std::size_t m_nAppended = 0;
};

/// Takes the run of lines that was asked for.
class CLineRun
{
public:
    CLineRun(const CAPTURE_TARGET& st_Target, int nReadLines, int nStartLine) noexcept
        : m_Appender(st_Target), m_bFirstNulEnds(st_Target.bFirstNulEnds), m_nReadLines(nReadLines),
          m_nStartLine(nStartLine)
    {}

    /// Takes whole pieces; false when no line after them is wanted.
    bool Take(std::string_view Pieces) noexcept
    {
        const bool bAllTaken = m_nReadLines < 1 && m_nLine >= m_nStartLine;
        if (bAllTaken && Pieces.find('\0') == Pieces.npos) // where they are parted makes no difference
        {
            Append(Pieces);
            return true;
        }
        while (!Pieces.empty())
        {
            const std::string_view Piece = CCommandOutput::TakePiece(Pieces);
            if (m_nLine++ < m_nStartLine)
                continue;
            const std::size_t nText = std::min(Piece.find('\0'), Piece.size());
            Append(Piece.substr(0, nText));
            m_bEnded = m_bEnded || (m_bFirstNulEnds && nText < Piece.size());
            if (++m_nCopied == m_nReadLines)
                return false;
        }
        return true;
    }
    [[nodiscard]] std::size_t Appended() const noexcept { return m_Appender.Appended(); }

private:
    void Append(std::string_view Text) noexcept
    {
        if (!m_bEnded)
            m_Appender.Append(Text);
    }

    CAppender m_Appender;
    bool m_bFirstNulEnds;
    bool m_bEnded = false;
    long long m_nReadLines;
    long long m_nStartLine;
    long long m_nLine = 1; // the next one
    long long m_nCopied = 0;
};
} // namespace

bool ReadCommand(const char* lpszCmd, const CAPTURE_TARGET& st_Target, int nReadLines, int nStartLine, int* pInt_Len)
{
    ClearError();
    if (!lpszCmd || !st_Target.ptszBuffer)
        return Fail(ERROR_SYSTEMAPI_PROCESS_READCMD_PARAMETER);
    CLineRun m_Lines(st_Target, nReadLines, nStartLine);
    {
        CCommandOutput m_Output(lpszCmd);
        if (!m_Output)
            return Fail(ERROR_SYSTEMAPI_PROCESS_READCMD_POPEN);
        std::string_view Pieces;
        while (m_Output.ReadPieces(Pieces) && m_Lines.Take(Pieces))
        {}
    } // the command is over
    if (pInt_Len)
        *pInt_Len = static_cast<int>(m_Lines.Appended());
    return true;
}
