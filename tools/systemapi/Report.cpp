// SPDX-License-Identifier: MIT
#include "Report.h"

#include "Commands.h"
#include "Metrics.h"

#include <memory>
#include <sstream>

namespace
{
constexpr struct
{
    const char* lpszName;
    void (*pfnPart)(CFacts&);
} st_Parts[] = {
    {"system", ReportSystem},
    {"start", ReportStart},
    {"processor", ReportProcessor},
    {"memory", ReportMemory},
    {"container", ReportContainer},
    {"disks", ReportDisks},
    {"file_systems", ReportFileSystems},
    {"serial_numbers", ReportSerials},
    {"processes", ReportProcesses},
    {"this_process", ReportOwnProcess}, // the tool's own
};

void AddParts(CFacts& Facts)
{
    for (const auto& st_Part : st_Parts)
        Facts.AddPart(st_Part.lpszName, st_Part.pfnPart);
}
} // namespace

void AddReport(CLI::App& App)
{
    const auto All = std::make_shared<bool>(false);
    const auto Metrics = std::make_shared<bool>(false);
    CLI::App* const pReport = AddCommand(
        App, "report", "Show what this machine is and how it is doing",
        [Metrics](CFacts& Facts) {
            if (!*Metrics)
                return AddParts(Facts);
            CFacts Report;
            AddParts(Report);
            std::ostringstream Text;
            WriteMetrics(Text, Report);
            Facts.AddBytes("metrics", Text.str());
        },
        All);
    pReport->add_flag("--all,-a", *All, "Lists whole, not their first rows alone");
    pReport->add_flag("--prometheus", *Metrics, "Metrics in the text exposition format, for a text-file collector")
        ->excludes("--json")
        ->excludes("--all");
    pReport->footer("Exit status: 0, or 1 when an operation failed; the report then shows why, and goes on. Metrics "
                    "count the failures, and the status is 0.");
}
