// SPDX-License-Identifier: MIT
/// The standard output of a shell command: the one road by which the library learns things from shell tools.
#pragma once

#include "../Handle.h"

#include <cstddef>
#include <limits>
#include <string_view>
#include <sys/mman.h>

/// Runs a shell command and reads its standard output in blocks of whole pieces. A piece is a line; a line of more
/// than 2047 bytes is pieces of 2047 bytes and a rest. Reads the pipe itself, because fgets drops text when a signal
/// handler without SA_RESTART interrupts it.
class CCommandOutput
{
public:
    static constexpr std::size_t nPieceMax = 2047;

    /// Starts the command. No program that is started meanwhile inherits the pipe, so that a command whose reader
    /// has gone is told so.
    explicit CCommandOutput(const char* lpszCmd) : m_Pipe(popen(lpszCmd, "re")) {}
    CCommandOutput& operator=(CCommandOutput&&) = delete;

    /// False when the command could not be started; errno then tells why.
    explicit operator bool() const noexcept { return m_Pipe != nullptr; }

    /// Gives all whole pieces that have come, one at least, line ends and null characters included; false at the
    /// end of the output. They live until the next call.
    [[nodiscard]] bool ReadPieces(std::string_view& Pieces);

    /// Takes the first piece off the ones that were read.
    [[nodiscard]] static std::string_view TakePiece(std::string_view& Pieces);

private:
    static constexpr std::size_t nLargeSize = std::size_t{64} << 10;
    struct Unmap
    {
        void operator()(char* pBlock) const noexcept { munmap(pBlock, nLargeSize); }
    };

    [[nodiscard]] bool Fill();
    void UseLargeBuffer();

    PipeHandle m_Pipe;
    char m_tszSmall[4096]; // on the caller's stack, which may be a thread's small one
    std::unique_ptr<char, Unmap> m_Large;
    char* m_pBuffer = m_tszSmall;
    std::size_t m_nSize = sizeof(m_tszSmall);
    std::size_t m_nBegin = 0; // what is read and not yet given out: [m_nBegin, m_nEnd)
    std::size_t m_nEnd = 0;
    bool m_bEnded = false; // nothing more comes
};

/// Where captured text goes.
struct CAPTURE_TARGET
{
    char* ptszBuffer;   ///< text is appended to the text it holds
    std::size_t nSize;  ///< its size; what does not fit is cut
    bool bFirstNulEnds; ///< true: nothing is appended after the output's first null character
};

/// A buffer without a bound, as the exported capture takes it.
inline constexpr std::size_t nUnbounded = std::numeric_limits<std::size_t>::max();

/// The capture behind SystemApi_Process_ReadCmdReturn, within the bounds of its target: the whole member, error
/// state included. pInt_Len receives what was appended.
[[nodiscard]] bool ReadCommand(const char* lpszCmd, const CAPTURE_TARGET& st_Target, int nReadLines = 0,
                               int nStartLine = 1, int* pInt_Len = nullptr);

/// The whole output, into a buffer of the library's own.
template <std::size_t nSize>
[[nodiscard]] bool ReadCommand(const char* lpszCmd, char (&tszBuffer)[nSize])
{
    return ReadCommand(lpszCmd, CAPTURE_TARGET{tszBuffer, nSize, false});
}
