#include "Report.h"

#include "Commands.h"
#include "Terminal.h"

#include <algorithm>
#include <cstdlib>
#include <exception>
#include <iostream>
#include <memory>

namespace
{
constexpr struct
{
    const char* lpszTitle;
    void (*pfnSection)(CReport&);
} st_Sections[] = {
    {"System", ReportSystem},
    {"Start-up", ReportStart},
    {"Processor", ReportProcessor},
    {"Memory", ReportMemory},
    {"Disks", ReportDisks},
    {"File systems", ReportFileSystems},
    {"Serial numbers", ReportSerials},
    {"Processes", ReportProcesses},
    {"This process", ReportOwnProcess}, // the tool's own
};

constexpr int nIndent = 2;
constexpr int nLabelWidth = 14;
constexpr std::size_t nFirstRows = 10;

int RunReport(bool bAll)
{
    CReport Report(bAll);
    for (const auto& st_Section : st_Sections)
    {
        Report.Section(st_Section.lpszTitle);
        Report.Try([&] { st_Section.pfnSection(Report); });
    }
    return Report.Failures() == 0 ? EXIT_SUCCESS : EXIT_FAILURE;
}
} // namespace

void AddReport(CLI::App& App)
{
    CLI::App* pReport = App.add_subcommand("report", "Show what this machine is and how it is doing");
    const auto All = std::make_shared<bool>(false);
    pReport->add_flag("--all,-a", *All, "Lists whole, not their first rows alone");
    pReport->footer("Exit status: 0, or 1 when an operation failed; the report then shows why, and goes on.");
    pReport->callback([All] {
        if (RunReport(*All) != EXIT_SUCCESS)
            throw CLI::RuntimeError(EXIT_FAILURE);
    });
}

void CReport::Section(std::string_view Title)
{
    std::cout << (m_bFirst ? "" : "\n") << Paint(STYLE::Title, Title) << '\n';
    m_bFirst = false;
}

void CReport::Try(const std::function<void()>& pfnPart)
{
    try
    {
        pfnPart();
    }
    catch (const std::exception& Error)
    {
        ++m_nFailures;
        std::cout << std::string(nIndent, ' ') << Paint(STYLE::Bad, "failed: " + Harmless(Error.what())) << '\n';
    }
}

void CReport::Labelled(std::string_view Label, const std::string& Shown) const
{
    std::cout << std::string(nIndent, ' ') << Pad(Label, nLabelWidth) << Shown << '\n';
}

void CReport::Line(std::string_view Label, std::string_view Text) const
{
    Labelled(Label, Text.empty() ? Paint(STYLE::Faint, "unknown") : Harmless(Text));
}

void CReport::BarLine(std::string_view Label, int nPercent, std::string_view Text) const
{
    Labelled(Label, Bar(nPercent) + "  " + Harmless(Text));
}

void CReport::List(CTable Table, std::size_t nRows, const std::function<void(CTable&, std::size_t)>& pfnAddRow) const
{
    const std::size_t nShown = m_bAll ? nRows : std::min(nRows, nFirstRows);
    for (std::size_t nRow = 0; nRow < nShown; ++nRow)
        pfnAddRow(Table, nRow);
    if (nShown > 0)
        Table.Print(std::cout, nIndent);
    if (nShown < nRows)
        Remark(std::to_string(nRows - nShown) + " more: --all");
}

void CReport::Remark(std::string_view Text) const
{
    std::cout << std::string(nIndent, ' ') << Paint(STYLE::Faint, Harmless(Text)) << '\n';
}
