// SPDX-License-Identifier: MIT
/// What standard output goes to.
#pragma once

#include <string>
#include <string_view>

struct TERMINAL
{
    bool bTerminal; ///< standard output is one
    bool bColour;   ///< a terminal, and NO_COLOR is not set
    bool bUtf8;     ///< a terminal that shows UTF-8
    int nWidth;     ///< columns of a line; 0 where lines may have any length (a pipe or a file)
};

/// Opens the standard files that are closed, finds out what they are, and sets the character set by which names are
/// read. Called once, first of all.
void ReadTerminal();
/// What was found.
const TERMINAL& Terminal();
/// The terminal has been made wider or narrower.
void SetWidth(int nColumns);

enum class STYLE
{
    Title,
    Faint,
    Good,
    Warning,
    Bad
};

/// The text in a style; as it is where there is no colour.
std::string Paint(STYLE enStyle, std::string_view Text);

/// Sends what is written to a standard file elsewhere until the end of the scope.
class CRedirect
{
public:
    /// \param nFile the descriptor
    /// \param nTo   where it leads meanwhile; nothing changes where this is negative
    CRedirect(int nFile, int nTo);
    ~CRedirect();
    CRedirect(const CRedirect&) = delete;
    CRedirect& operator=(const CRedirect&) = delete;

private:
    int m_nFile;
    int m_nBefore = -1;
};

/// Discards standard error until the end of the scope: programs that an operation runs complain there about
/// processes that have just ended and rights that are missing. SetVerbose(true) lets them.
class CQuietErrors : CRedirect
{
public:
    CQuietErrors();
};

/// Whether helper programs may complain; they may not at first.
void SetVerbose(bool bVerbose);

/// Leads standard output to standard error until the end of the scope, for the programs that are started in it.
class COutputAside : CRedirect
{
public:
    COutputAside();
};
