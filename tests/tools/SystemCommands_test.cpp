#include "Fakes.h"
#include "RunTool.h"
#include "Sandbox.h"

#include <gmock/gmock.h>

namespace
{
using testing::ContainsRegex;
using testing::MatchesRegex;

TEST(SystemCommands, ShowRunAndRefuse)
{
    RunSandboxed([] {
        FakeFile("/proc/meminfo", "MemTotal: 4096 kB\nMemAvailable: 1024 kB\nShmem: 1 kB\n");
        const CFakeTools m_Tools;
        m_Tools.Add("gnome-screensaver-command", "echo locked \"$@\"");
        const struct
        {
            const char* lpszArguments;
            int nExit;
            std::string Shown; // a regular expression
        } st_Rows[] = {
            {"version", 0, "  Distribution  .*\n  Version .*\n  Code name .*\n  Kernel .*\n"},
            {"name", 0, "  User          .+\n  Host          .+\n"},
            {"memory -u MiB", 0,
             "  Load          75 %\n  Total         4 MiB\n  Available     1 MiB\n  Swap .*Shared        1024 B\n"},
            {"usage", 0, "-?[0-9]+\n"},
            {"idle", 0, "[01]\n"},
            {"count", 0, "[0-9]+\n"},
            {"uptime", 0, "[0-9]+-[0-9]+-[0-9]+ [0-9]+:[0-9]+:[0-9]+\n"},
            {"processes", 0, "  Processes     [0-9]+ with an id above 100\n +PID  COMMAND\n(.*\n)+"},
            {"wmi", 0, ""},
            {"exec 'echo shown; exit 3'", 0, "shown\n"},
            {"exec 'exec sleep 30' --timeout 0", 0, ""},
            {"shutdown lock", 1, "systemapi: lock is done at once, and nothing is saved: give --yes too\n"},
            {"shutdown lock --yes", 0, "locked -l\n"},
            {"shutdown 0x10001 --yes", 105, "ERROR: ValidationError: ACTION: .*"},
            {"shutdown", 106, "ERROR: RequiredError: ACTION is required\n.*"},
        };
        for (const auto& st_Row : st_Rows)
        {
            SCOPED_TRACE(st_Row.lpszArguments);
            const auto [nExit, Output] = RunTool(std::string("system ") + st_Row.lpszArguments);
            EXPECT_EQ(nExit, st_Row.nExit);
            EXPECT_THAT(Output, MatchesRegex(st_Row.Shown));
        }
        EXPECT_THAT(
            SectionOf(RunTool("report").Output, "Start-up"),
            MatchesRegex("Start-up\n  At            [-0-9]+ [:0-9]+\n  Ago           [0-9]+ days? [:0-9]+\n"));
    });
}
} // namespace
