// SPDX-License-Identifier: MIT
/// Pieces of output: texts made safe to show, amounts for people, bars, and aligned tables.
#pragma once

#include "Terminal.h"

#include <Tolvane_BaseLib.h>

#include <cstddef>
#include <iosfwd>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

/// The text with every control character, and every byte that is no UTF-8, written out as \xHH.
std::string Harmless(std::string_view Text);

/// Columns that a harmless text takes on the terminal.
int Columns(std::string_view Text);

/// The harmless text, shortened to so many columns between characters and marked where something is missing.
std::string Clip(std::string_view Text, int nColumns);

/// The harmless text with blanks, up to so many columns; bRight puts the blanks first.
std::string Pad(std::string_view Text, int nColumns, bool bRight = false);

/// "512 B", "1.5 KiB", "15.5 GiB".
std::string HumanSize(unsigned long long nBytes);

/// "2024-01-31 08:09:10"
std::string DateAndTime(const TOLVANE_LIBTIME& st_Time);

/// "1 day 02:03:04"
std::string Duration(unsigned long long nSeconds);

/// A part of a whole in per cent, rounded down, and not above 100; 0 of nothing.
int Share(unsigned long nPart, unsigned long nWhole);
/// The same of what is not free. The kernel's figures may tell of more that is free than there is.
int ShareInUse(unsigned long nFree, unsigned long nWhole);

/// A bar of a share between 0 and 100 per cent, and the number: "[#####-----] 50 %". High shares are coloured as
/// a warning.
std::string Bar(int nPercent);
/// The same in one style.
std::string Bar(int nPercent, STYLE enStyle);

/// Columns are as wide as their widest cell; a line is cut where a terminal's ends.
class CTable
{
public:
    struct COLUMN
    {
        std::string Title;
        bool bRight = false; ///< numbers
    };

    struct CELL
    {
        std::string Text; ///< harmless
        std::optional<STYLE> enStyle;
    };

    explicit CTable(std::vector<COLUMN> Head) : m_Head(std::move(Head)) {}

    /// A row, one cell a column.
    void Add(std::vector<CELL> Cells) { m_Rows.push_back(std::move(Cells)); }
    /// Writes the table, each line after so many blanks.
    void Print(std::ostream& Output, int nIndent) const;

private:
    std::vector<COLUMN> m_Head;
    std::vector<std::vector<CELL>> m_Rows;
};

/// A short bar and the number, in the colour of the share.
CTable::CELL ShareCell(int nPercent);
