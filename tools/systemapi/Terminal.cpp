// SPDX-License-Identifier: MIT
#include "Terminal.h"

#include <algorithm>
#include <cerrno>
#include <clocale>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <langinfo.h>
#include <sys/ioctl.h>
#include <unistd.h>

namespace
{
TERMINAL st_Terminal = {};
bool bHelpersMayComplain = false;

/// Open as long as the tool runs, so that quiet scopes may be many and nested.
int Nowhere()
{
    static const int nNull = open("/dev/null", O_WRONLY | O_CLOEXEC);
    return nNull;
}

/// What is opened next must not become a standard file. To standard output nothing can be written then, which is told.
void OpenStandardFiles()
{
    for (int nFile = STDIN_FILENO; nFile <= STDERR_FILENO; ++nFile)
        if (fcntl(nFile, F_GETFD) < 0)
            open("/dev/null", nFile == STDERR_FILENO ? O_WRONLY : O_RDONLY); // the lowest number that is free
}

int WidthOf(bool bTerminal)
{
    constexpr int nUsual = 80;
    if (!bTerminal)
        return 0;
    winsize st_Size = {};
    if (ioctl(STDOUT_FILENO, TIOCGWINSZ, &st_Size) == 0 && st_Size.ws_col > 0)
        return st_Size.ws_col;
    const char* lpszColumns = std::getenv("COLUMNS");
    const long nColumns = lpszColumns ? std::strtol(lpszColumns, nullptr, 10) : 0;
    return nColumns > 0 ? static_cast<int>(std::min(nColumns, 4096L)) : nUsual;
}
} // namespace

void ReadTerminal()
{
    OpenStandardFiles();
    const char* lpszNoColour = std::getenv("NO_COLOR");
    st_Terminal.bTerminal = isatty(STDOUT_FILENO) == 1;
    st_Terminal.bColour = st_Terminal.bTerminal && (lpszNoColour == nullptr || *lpszNoColour == '\0');
    st_Terminal.nWidth = WidthOf(st_Terminal.bTerminal);
    std::setlocale(LC_CTYPE, "");
    const bool bUtf8 = std::strcmp(nl_langinfo(CODESET), "UTF-8") == 0;
    st_Terminal.bUtf8 = st_Terminal.bTerminal && bUtf8;
    if (!bUtf8)
        std::setlocale(LC_CTYPE, "C.UTF-8"); // names are UTF-8 in every locale
}

const TERMINAL& Terminal()
{
    return st_Terminal;
}

void SetWidth(int nColumns)
{
    st_Terminal.nWidth = nColumns;
}

std::string Paint(STYLE enStyle, std::string_view Text)
{
    constexpr const char* lpszCodes[] = {"1", "2", "32", "33", "31"};
    if (!st_Terminal.bColour || Text.empty())
        return std::string(Text);
    return std::string("\x1b[") + lpszCodes[static_cast<int>(enStyle)] + "m" + std::string(Text) + "\x1b[0m";
}

void SetVerbose(bool bVerbose)
{
    bHelpersMayComplain = bVerbose;
}

CRedirect::CRedirect(int nFile, int nTo) : m_nFile(nFile)
{
    if (nTo < 0)
        return;
    m_nBefore = fcntl(nFile, F_DUPFD_CLOEXEC, STDERR_FILENO + 1);
    if (m_nBefore >= 0)
        dup2(nTo, nFile);
}

CRedirect::~CRedirect()
{
    if (m_nBefore < 0)
        return;
    const int nErrno = errno; // the failure inside the scope is still to be told
    dup2(m_nBefore, m_nFile);
    close(m_nBefore);
    errno = nErrno;
}

CQuietErrors::CQuietErrors() : CRedirect(STDERR_FILENO, bHelpersMayComplain ? -1 : Nowhere()) {}

COutputAside::COutputAside() : CRedirect(STDOUT_FILENO, STDERR_FILENO) {}
