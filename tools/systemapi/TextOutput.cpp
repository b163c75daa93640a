// SPDX-License-Identifier: MIT
#include "TextOutput.h"

#include "Text.h"

#include <Tolvane_BaseLib.h>

#include <algorithm>
#include <array>
#include <cctype>
#include <cstdio>
#include <ostream>

namespace
{
constexpr int nIndent = 2;
constexpr int nLeastLabel = 12;
constexpr int nGap = 2;
constexpr int nWhole = 100;

/// "code_name" reads "Code name".
std::string Label(const std::string& Name)
{
    if (Name == "pid")
        return "PID";
    std::string Text = Name;
    std::replace(Text.begin(), Text.end(), '_', ' ');
    Text[0] = static_cast<char>(std::toupper(static_cast<unsigned char>(Text[0])));
    return Text;
}

std::string Heading(const std::string& Name)
{
    std::string Text = Label(Name);
    for (char& ch : Text)
        ch = static_cast<char>(std::toupper(static_cast<unsigned char>(ch)));
    return Text;
}

/// A value without its unit.
std::string Plain(const VALUE& Value)
{
    struct TEXT_OF
    {
        std::string operator()(std::monostate) const { return "unknown"; }
        std::string operator()(bool bValue) const { return bValue ? "yes" : "no"; }
        std::string operator()(long long nValue) const { return std::to_string(nValue); }
        std::string operator()(unsigned long long nValue) const { return std::to_string(nValue); }
        std::string operator()(double fValue) const
        {
            std::array<char, 32> tszText = {};
            std::snprintf(tszText.data(), tszText.size(), "%.6g", fValue);
            return tszText.data();
        }
        std::string operator()(const std::string& Value) const { return Harmless(Value); }
        std::string operator()(const std::vector<long long>& Values) const
        {
            std::string Text;
            for (const long long nValue : Values)
                Text += (Text.empty() ? "" : " ") + std::to_string(nValue);
            return Text;
        }
    };
    return std::visit(TEXT_OF(), Value);
}

std::string LocalTime(long long nTime)
{
    TOLVANE_LIBTIME st_Time = {};
    return BaseLib_Time_TTimeToStuTime(nTime, &st_Time) ? DateAndTime(st_Time) : "unknown";
}

std::optional<long long> WholeNumber(const VALUE& Value)
{
    if (const auto* pNumber = std::get_if<long long>(&Value))
        return *pNumber;
    if (const auto* pNumber = std::get_if<unsigned long long>(&Value))
        return static_cast<long long>(*pNumber);
    return std::nullopt;
}

/// A share that a bar can show.
std::optional<int> ShareOf(const FACT& st_Fact)
{
    const auto nNumber = WholeNumber(st_Fact.Value);
    if (st_Fact.enUnit != UNIT::Percent || !nNumber || *nNumber < 0 || *nNumber > nWhole)
        return std::nullopt;
    return static_cast<int>(*nNumber);
}

int LabelWidth(const CFacts& Facts)
{
    int nWidth = nLeastLabel;
    for (const FACT& st_Fact : Facts.All())
        if (st_Fact.enKind == FACT::KIND::Value)
            nWidth = std::max(nWidth, Columns(Label(st_Fact.Name)));
    return nWidth + nGap;
}

class CTextWriter
{
public:
    CTextWriter(std::ostream& Output, std::size_t nMostRows) : m_Output(Output), m_nMostRows(nMostRows) {}

    void Write(const CFacts& Facts)
    {
        const auto& All = Facts.All();
        if (All.size() == 1 && All[0].enKind == FACT::KIND::Value)
            m_Output << ValueText(All[0]) << '\n';
        else
            WriteFacts(Facts, false);
    }

private:
    void WriteFacts(const CFacts& Facts, bool bPart, std::size_t nFirst = 0)
    {
        const int nLabelWidth = LabelWidth(Facts);
        for (std::size_t nFact = nFirst; nFact < Facts.All().size(); ++nFact)
            WriteFact(Facts.All()[nFact], nLabelWidth, bPart);
    }

    void WriteFact(const FACT& st_Fact, int nLabelWidth, bool bPart)
    {
        switch (st_Fact.enKind)
        {
        case FACT::KIND::Value:
            WriteLine(st_Fact, nLabelWidth);
            break;
        case FACT::KIND::Lines:
            WriteLines(st_Fact, bPart);
            break;
        case FACT::KIND::Bytes:
            m_Output << std::get<std::string>(st_Fact.Value);
            break;
        case FACT::KIND::Table:
            WriteTable(st_Fact);
            break;
        case FACT::KIND::Blocks:
            for (const CFacts& Row : st_Fact.Rows)
            {
                Title(ValueText(Row.All()[0]));
                WriteFacts(Row, true, 1);
            }
            break;
        case FACT::KIND::Part:
            Title(Label(st_Fact.Name));
            WriteFacts(st_Fact.Rows[0], true);
            break;
        case FACT::KIND::Remark:
            Remark(Harmless(st_Fact.Shown));
            break;
        case FACT::KIND::Failed:
            if (bPart)
                Indented(Paint(STYLE::Bad, "failed: " + Harmless(st_Fact.st_Failure.Message)));
            break;
        }
    }

    void Title(const std::string& Text)
    {
        m_Output << (m_bFirst ? "" : "\n") << Paint(STYLE::Title, Text) << '\n';
        m_bFirst = false;
    }

    void Indented(const std::string& Text) { m_Output << std::string(nIndent, ' ') << Text << '\n'; }

    void Remark(const std::string& Text) { Indented(Paint(STYLE::Faint, Text)); }

    void WriteLine(const FACT& st_Fact, int nLabelWidth)
    {
        std::string Text = ValueText(st_Fact);
        if (const auto nShare = ShareOf(st_Fact))
            Text = Bar(*nShare);
        else if (st_Fact.Shown.empty() && std::holds_alternative<std::monostate>(st_Fact.Value))
            Text = Paint(STYLE::Faint, Text);
        Indented(Pad(Label(st_Fact.Name), nLabelWidth) + Text);
    }

    /// Alone they are for other programs, and go there as they are; a terminal is spared what it would take for orders.
    void WriteLines(const FACT& st_Fact, bool bPart)
    {
        const bool bHarmless = bPart || (Terminal().bTerminal && st_Fact.chEnd == '\n');
        const std::size_t nShown = bPart ? std::min(st_Fact.Lines.size(), m_nMostRows) : st_Fact.Lines.size();
        for (std::size_t nLine = 0; nLine < nShown; ++nLine)
            m_Output << std::string(bPart ? nIndent : 0, ' ')
                     << (bHarmless ? Harmless(st_Fact.Lines[nLine]) : st_Fact.Lines[nLine]) << st_Fact.chEnd;
        More(st_Fact.Lines.size() - nShown);
    }

    void WriteTable(const FACT& st_Fact)
    {
        if (st_Fact.Rows.empty())
            return;
        std::vector<CTable::COLUMN> Head;
        for (const FACT& st_Cell : st_Fact.Rows[0].All())
            Head.push_back({Heading(st_Cell.Name), WholeNumber(st_Cell.Value) && st_Cell.enUnit != UNIT::Percent});
        CTable Table(std::move(Head));
        const std::size_t nShown = std::min(st_Fact.Rows.size(), m_nMostRows);
        for (std::size_t nRow = 0; nRow < nShown; ++nRow)
        {
            std::vector<CTable::CELL> Cells;
            for (const FACT& st_Cell : st_Fact.Rows[nRow].All())
            {
                const auto nShare = ShareOf(st_Cell);
                Cells.push_back(nShare ? ShareCell(*nShare) : CTable::CELL{ValueText(st_Cell), {}});
            }
            Table.Add(std::move(Cells));
        }
        Table.Print(m_Output, nIndent);
        More(st_Fact.Rows.size() - nShown);
    }

    void More(std::size_t nHidden)
    {
        if (nHidden > 0)
            Remark(std::to_string(nHidden) + " more: --all");
    }

    std::ostream& m_Output;
    std::size_t m_nMostRows;
    bool m_bFirst = true;
};
} // namespace

void WriteText(std::ostream& Output, const CFacts& Facts, std::size_t nMostRows)
{
    CTextWriter(Output, nMostRows).Write(Facts);
}

void WriteFailures(std::ostream& Output, const CFacts& Facts)
{
    for (const FACT& st_Fact : Facts.All())
        if (st_Fact.enKind == FACT::KIND::Failed)
            Output << "systemapi: " << Harmless(st_Fact.st_Failure.Message) << '\n';
}

std::string ValueText(const FACT& st_Fact)
{
    if (!st_Fact.Shown.empty())
        return Harmless(st_Fact.Shown);
    const auto nNumber = WholeNumber(st_Fact.Value);
    const auto nUnsigned = static_cast<unsigned long long>(nNumber.value_or(0));
    std::string Text = Plain(st_Fact.Value);
    if (!nNumber)
        return Text;
    switch (st_Fact.enUnit)
    {
    case UNIT::None:
        return Text;
    case UNIT::Bytes:
        return HumanSize(nUnsigned);
    case UNIT::KiB:
        return Text + " KiB";
    case UNIT::MiB:
        return Text + " MiB";
    case UNIT::GiB:
        return Text + " GiB";
    case UNIT::Percent:
        return Text + " %";
    case UNIT::Seconds:
        return Duration(nUnsigned);
    case UNIT::Timestamp:
        return LocalTime(*nNumber);
    case UNIT::MegaHertz:
        return Text + " MHz";
    case UNIT::PagesDiv4:
        return Text + " (pages / 4)";
    }
    return Text;
}
