// SPDX-License-Identifier: MIT
#include "Text.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <cwchar>
#include <ostream>

namespace
{
/// The character at the front of a text.
struct CHARACTER
{
    std::size_t nBytes; ///< at least 1
    int nColumns;       ///< -1 where it is not to be shown as it is
};

CHARACTER FirstCharacter(std::string_view Text)
{
    wchar_t wCharacter = 0;
    std::mbstate_t st_State = {};
    const std::size_t nBytes = std::mbrtowc(&wCharacter, Text.data(), Text.size(), &st_State);
    if (nBytes == 0 || nBytes > Text.size())
        return {1, -1};
    // Marks that turn the direction of what follows could make a line read as another.
    const bool bTurns =
        (wCharacter >= 0x202A && wCharacter <= 0x202E) || (wCharacter >= 0x2066 && wCharacter <= 0x2069);
    return {nBytes, bTurns ? -1 : wcwidth(wCharacter)};
}
} // namespace

std::string Harmless(std::string_view Text)
{
    std::string Shown;
    while (!Text.empty())
    {
        const CHARACTER st_First = FirstCharacter(Text);
        for (const char cByte : Text.substr(0, st_First.nBytes))
        {
            std::array<char, 8> tszHex = {cByte};
            if (st_First.nColumns < 0)
                std::snprintf(tszHex.data(), tszHex.size(), "\\x%02x", static_cast<unsigned char>(cByte));
            Shown += tszHex.data();
        }
        Text.remove_prefix(st_First.nBytes);
    }
    return Shown;
}

int Columns(std::string_view Text)
{
    int nColumns = 0;
    while (!Text.empty())
    {
        const CHARACTER st_First = FirstCharacter(Text);
        nColumns += std::max(st_First.nColumns, 0);
        Text.remove_prefix(st_First.nBytes);
    }
    return nColumns;
}

std::string Clip(std::string_view Text, int nColumns)
{
    if (Columns(Text) <= nColumns)
        return std::string(Text);
    const std::string Mark = Terminal().bUtf8 ? "…" : "~";
    std::size_t nKept = 0;
    for (int nRoom = nColumns - 1;;)
    {
        const CHARACTER st_Next = FirstCharacter(Text.substr(nKept));
        nRoom -= std::max(st_Next.nColumns, 0);
        if (nRoom < 0)
            break;
        nKept += st_Next.nBytes;
    }
    return nColumns > 0 ? std::string(Text.substr(0, nKept)) + Mark : std::string();
}

std::string Pad(std::string_view Text, int nColumns, bool bRight)
{
    const std::string Blanks(static_cast<std::size_t>(std::max(nColumns - Columns(Text), 0)), ' ');
    return bRight ? Blanks + std::string(Text) : std::string(Text) + Blanks;
}

std::string HumanSize(unsigned long long nBytes)
{
    constexpr const char* lpszUnits[] = {"B", "KiB", "MiB", "GiB", "TiB", "PiB", "EiB"};
    constexpr double nStep = 1024;
    if (nBytes < static_cast<unsigned long long>(nStep))
        return std::to_string(nBytes) + " B";
    auto fAmount = static_cast<double>(nBytes);
    std::size_t nUnit = 0;
    while (fAmount >= nStep - 0.05) // what would round to 1024.0 is 1.0 of the next unit
    {
        fAmount /= nStep;
        ++nUnit;
    }
    std::array<char, 32> tszAmount = {};
    std::snprintf(tszAmount.data(), tszAmount.size(), "%.1f %s", fAmount, lpszUnits[nUnit]);
    return tszAmount.data();
}

std::string DateAndTime(const TOLVANE_LIBTIME& st_Time)
{
    std::array<char, 80> tszText = {};
    std::snprintf(tszText.data(), tszText.size(), "%04d-%02d-%02d %02d:%02d:%02d", st_Time.nYear, st_Time.nMonth,
                  st_Time.nDay, st_Time.nHour, st_Time.nMinute, st_Time.nSecond);
    return tszText.data();
}

std::string Duration(unsigned long long nSeconds)
{
    constexpr unsigned long long nMinute = 60;
    constexpr unsigned long long nHour = 60 * nMinute;
    constexpr unsigned long long nDay = 24 * nHour;
    std::array<char, 64> tszText = {};
    std::snprintf(tszText.data(), tszText.size(), "%llu day%s %02llu:%02llu:%02llu", nSeconds / nDay,
                  nSeconds / nDay == 1 ? "" : "s", nSeconds % nDay / nHour, nSeconds % nHour / nMinute,
                  nSeconds % nMinute);
    return tszText.data();
}

int Share(unsigned long nPart, unsigned long nWhole)
{
    const auto fPart = static_cast<double>(std::min(nPart, nWhole));
    return nWhole == 0 ? 0 : static_cast<int>(fPart * 100 / static_cast<double>(nWhole));
}

int ShareInUse(unsigned long nFree, unsigned long nWhole)
{
    return Share(nWhole - std::min(nFree, nWhole), nWhole);
}

namespace
{
STYLE StyleOf(int nPercent)
{
    constexpr int nMuch = 75;
    constexpr int nTooMuch = 90;
    if (nPercent < nMuch)
        return STYLE::Good;
    return nPercent >= nTooMuch ? STYLE::Bad : STYLE::Warning;
}

std::string Repeated(int nTimes, const char* lpszText)
{
    std::string Text;
    for (int nTime = 0; nTime < nTimes; ++nTime)
        Text += lpszText;
    return Text;
}

/// The two ends of a bar of so many cells.
std::pair<std::string, std::string> Cells(int nShare, int nCells)
{
    const int nFull = (nShare * nCells + 50) / 100;
    return {Repeated(nFull, Terminal().bUtf8 ? "█" : "#"), Repeated(nCells - nFull, Terminal().bUtf8 ? "░" : "-")};
}

std::string Number(int nShare)
{
    return " " + Pad(std::to_string(nShare), 3, true) + " %";
}
} // namespace

std::string Bar(int nPercent)
{
    return Bar(nPercent, StyleOf(nPercent));
}

std::string Bar(int nPercent, STYLE enStyle)
{
    constexpr int nCells = 24;
    const int nShare = std::clamp(nPercent, 0, 100);
    const auto [Full, Empty] = Cells(nShare, nCells);
    return "[" + Paint(enStyle, Full) + Paint(STYLE::Faint, Empty) + "]" + Number(nShare);
}

CTable::CELL ShareCell(int nPercent)
{
    constexpr int nCells = 10;
    const int nShare = std::clamp(nPercent, 0, 100);
    const auto [Full, Empty] = Cells(nShare, nCells);
    return {Full + Empty + Number(nShare), StyleOf(nPercent)};
}

void CTable::Print(std::ostream& Output, int nIndent) const
{
    std::vector<int> Widths;
    for (std::size_t nColumn = 0; nColumn < m_Head.size(); ++nColumn)
    {
        int nWidth = Columns(m_Head[nColumn].Title);
        for (const auto& Row : m_Rows)
            nWidth = std::max(nWidth, Columns(Row[nColumn].Text));
        Widths.push_back(nWidth);
    }
    const auto Line = [&](const auto& CellOf) {
        std::string Text(static_cast<std::size_t>(nIndent), ' ');
        std::vector<std::size_t> Ends;
        for (std::size_t nColumn = 0; nColumn < m_Head.size(); ++nColumn)
        {
            Text += Pad(CellOf(nColumn).Text, Widths[nColumn], m_Head[nColumn].bRight);
            Ends.push_back(Text.size());
            Text += "  ";
        }
        Text.erase(Text.find_last_not_of(' ') + 1);
        if (Terminal().nWidth > 0)
            Text = Clip(Text, Terminal().nWidth);
        for (std::size_t nColumn = m_Head.size(); nColumn-- > 0;) // from the end: escape sequences move what follows
        {
            const CELL Cell = CellOf(nColumn);
            if (Cell.enStyle && Ends[nColumn] <= Text.size())
                Text.replace(Ends[nColumn] - Cell.Text.size(), Cell.Text.size(), Paint(*Cell.enStyle, Cell.Text));
        }
        return Text;
    };
    Output << Paint(STYLE::Faint, Line([&](std::size_t nColumn) { return CELL{m_Head[nColumn].Title, {}}; })) << '\n';
    for (const auto& Row : m_Rows)
        Output << Line([&](std::size_t nColumn) { return Row[nColumn]; }) << '\n';
}
