// SPDX-License-Identifier: MIT
/// The kernel's text files, read line by line and by position.
#pragma once

#include "Handle.h"

#include <algorithm>
#include <cerrno>
#include <cstddef>
#include <cstring>
#include <fcntl.h>
#include <unistd.h>

/// A kernel file and the line that was read last. A line of more than 1023 bytes counts as several.
class CKernelFile
{
public:
    explicit CKernelFile(const char* lpszPath) noexcept : m_File(open(lpszPath, O_RDONLY | O_CLOEXEC))
    {
        m_tszLine[0] = '\0';
    }

    /// False when the file could not be opened; errno then tells why.
    explicit operator bool() const noexcept { return static_cast<bool>(m_File); }

    /// Reads the next line; false at the end of the file and where reading fails. Unlike fgets, which would drop text,
    /// it goes on after a signal.
    [[nodiscard]] bool ReadLine() noexcept
    {
        constexpr std::size_t nLineMax = sizeof(m_tszLine) - 1;

        std::size_t nLength = 0;
        for (bool bEnded = false; !bEnded && nLength < nLineMax;)
        {
            if (m_nBegin == m_nEnd && !Fill())
                break;
            const char* const pText = m_tszBlock + m_nBegin;
            std::size_t nText = std::min(m_nEnd - m_nBegin, nLineMax - nLength);
            if (const void* const pLineEnd = std::memchr(pText, '\n', nText))
            {
                nText = static_cast<std::size_t>(static_cast<const char*>(pLineEnd) - pText) + 1;
                bEnded = true;
            }
            std::memcpy(m_tszLine + nLength, pText, nText);
            nLength += nText;
            m_nBegin += nText;
        }
        m_tszLine[nLength] = '\0';
        ++m_nLine;
        return nLength > 0 && !m_bFailed;
    }

    /// Reads on to a line, counted from 1; false when the file ends before it.
    [[nodiscard]] bool GoTo(int nLine) noexcept
    {
        while (m_nLine < nLine)
        {
            if (!ReadLine())
                return false;
        }
        return true;
    }

    /// The line that was read last, its line end included.
    [[nodiscard]] const char* Line() const noexcept { return m_tszLine; }

private:
    [[nodiscard]] bool Fill() noexcept
    {
        ssize_t nRead = 0;
        do
            nRead = read(m_File.Get(), m_tszBlock, sizeof(m_tszBlock));
        while (nRead < 0 && errno == EINTR);
        m_bFailed = nRead < 0;
        m_nBegin = 0;
        m_nEnd = nRead > 0 ? static_cast<std::size_t>(nRead) : 0;
        return nRead > 0;
    }

    CDescriptor m_File;
    bool m_bFailed = false;
    int m_nLine = 0;
    std::size_t m_nBegin = 0; // what is read and not yet given out: [m_nBegin, m_nEnd)
    std::size_t m_nEnd = 0;
    char m_tszBlock[1024]; // small: the kernel makes up what is read ahead, too
    char m_tszLine[1024];
};
