/// The kernel's text files, read line by line and by position.
#pragma once

#include "Handle.h"

#include <cerrno>
#include <cstddef>
#include <cstdio>

/// A kernel file and the line that was read last. A line of more than 1023 bytes counts as several.
class CKernelFile
{
public:
    explicit CKernelFile(const char* lpszPath) noexcept : m_File(fopen(lpszPath, "re")) { m_tszLine[0] = '\0'; }

    /// False when the file could not be opened; errno then tells why.
    explicit operator bool() const noexcept { return m_File != nullptr; }

    /// Reads the next line; false at the end of the file. Unlike fgets, which would drop text, it goes on after a
    /// signal.
    [[nodiscard]] bool ReadLine() noexcept
    {
        std::size_t nLength = 0;
        while (nLength + 1 < sizeof(m_tszLine))
        {
            const int nRead = getc_unlocked(m_File.get()); // NOLINT(concurrency-mt-unsafe): nobody else has the file
            if (nRead == EOF)
            {
                if (ferror_unlocked(m_File.get()) == 0)
                    break;
                if (errno != EINTR)
                    return false;
                clearerr_unlocked(m_File.get());
                continue;
            }
            m_tszLine[nLength++] = static_cast<char>(nRead);
            if (nRead == '\n')
                break;
        }
        m_tszLine[nLength] = '\0';
        ++m_nLine;
        return nLength > 0;
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
    FileHandle m_File;
    int m_nLine = 0;
    char m_tszLine[1024];
};
