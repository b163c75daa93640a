#include "CommandOutput.h"

#include "../pch.h"

#include <algorithm>
#include <cstring>
#include <unistd.h>

bool CCommandOutput::Fill()
{
    if (m_nBegin > 0)
    {
        std::memmove(m_tszBuffer.data(), m_tszBuffer.data() + m_nBegin, m_nEnd - m_nBegin);
        m_nEnd -= m_nBegin;
        m_nBegin = 0;
    }
    ssize_t nRead = 0;
    do
        nRead = read(fileno(m_Pipe.get()), m_tszBuffer.data() + m_nEnd, m_tszBuffer.size() - m_nEnd);
    while (nRead < 0 && errno == EINTR);
    if (nRead <= 0)
        return false;
    m_nEnd += static_cast<std::size_t>(nRead);
    return true;
}

bool CCommandOutput::ReadPiece(std::string_view& Piece)
{
    std::size_t nSeen = 0; // bytes of the piece that are known to hold no line end
    for (;;)
    {
        const char* const pBegin = m_tszBuffer.data() + m_nBegin;
        const std::size_t nHeld = std::min(m_nEnd - m_nBegin, nPieceMax);
        const void* const pLineEnd = nHeld > nSeen ? std::memchr(pBegin + nSeen, '\n', nHeld - nSeen) : nullptr;
        std::size_t nPiece = 0;
        if (pLineEnd)
            nPiece = static_cast<std::size_t>(static_cast<const char*>(pLineEnd) - pBegin) + 1;
        else if (nHeld == nPieceMax || !Fill()) // long enough without a line end, or the rest of the output
            nPiece = nHeld;
        else
        {
            nSeen = nHeld;
            continue;
        }
        Piece = {m_tszBuffer.data() + m_nBegin, nPiece};
        m_nBegin += nPiece;
        return nPiece > 0;
    }
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
} // namespace

bool ReadCommand(const char* lpszCmd, const CAPTURE_TARGET& st_Target, int nReadLines, int nStartLine, int* pInt_Len)
{
    ClearError();
    if (!lpszCmd || !st_Target.ptszBuffer)
        return Fail(ERROR_SYSTEMAPI_PROCESS_READCMD_PARAMETER);
    CAppender m_Appender(st_Target);
    {
        CCommandOutput m_Output(lpszCmd);
        if (!m_Output)
            return Fail(ERROR_SYSTEMAPI_PROCESS_READCMD_POPEN);

        bool bEnded = false;
        long long nCopied = 0;
        std::string_view Piece;
        for (long long nLine = 1; m_Output.ReadPiece(Piece); ++nLine)
        {
            if (nLine < nStartLine)
                continue;
            const std::size_t nText = std::min(Piece.find('\0'), Piece.size());
            if (!bEnded)
                m_Appender.Append(Piece.substr(0, nText));
            bEnded = bEnded || (st_Target.bFirstNulEnds && nText < Piece.size());
            if (++nCopied == nReadLines)
                break;
        }
    } // the command is over
    if (pInt_Len)
        *pInt_Len = static_cast<int>(m_Appender.Appended());
    return true;
}
