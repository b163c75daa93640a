#include "Fakes.h"
#include "RunTool.h"
#include "Sandbox.h"

#include <array>
#include <filesystem>
#include <fstream>
#include <gmock/gmock.h>
#include <sys/utsname.h>
#include <unistd.h>

namespace
{
using testing::ContainsRegex;
using testing::EndsWith;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

/// The fake machine's processes: so many with an id above 100, named for it.
void FakeProcesses(int nCount, const std::string& Name)
{
    FakeProc();
    std::ofstream("/proc/meminfo") << "MemTotal: 100 kB\nMemAvailable: 99 kB\n";
    for (int nPid = 101; nPid < 101 + nCount; ++nPid)
    {
        const std::filesystem::path Folder = "/proc/" + std::to_string(nPid);
        std::filesystem::create_directory(Folder);
        std::ofstream(Folder / "cmdline") << Name << '\0' << "argument";
    }
}

TEST(Report, GivesTheMachinesFactsExactly)
{
    RunSandboxed([] {
        FakeFile("/etc/os-release", "NAME=\"Blue\x1b]0;Hat\"\nVERSION_ID=\"7.1\"\nVERSION=\"7.1 (Some Name)\"\n");
        FakeFile("/proc/meminfo", "MemTotal: 16303836 kB\nMemAvailable: 4075959 kB\n"
                                  "SwapTotal: 2048 kB\nSwapFree: 1024 kB\nShmem: 512 kB\n");
        const auto [nExit, Output] = RunTool("report");
        utsname st_Kernel = {};
        uname(&st_Kernel);
        std::array<char, 1024> tszHost = {};
        gethostname(tszHost.data(), tszHost.size());
        EXPECT_EQ(nExit, 0);
        EXPECT_EQ(SectionOf(Output, "System"), "System\n"
                                               "  Distribution  Blue\\x1b]0;Hat\n"
                                               "  Version       7.1\n"
                                               "  Code name     Some Name\n"
                                               "  Kernel        " +
                                                   std::string(st_Kernel.release) +
                                                   "\n"
                                                   "  User          root\n"
                                                   "  Host          " +
                                                   tszHost.data() + "\n");
        EXPECT_EQ(SectionOf(Output, "Memory"),
                  "Memory\n"
                  "  Load          [##################------]  75 %  3.9 GiB of 15.5 GiB available\n"
                  "  Swap          [############------------]  50 %  1.0 MiB of 2.0 MiB free\n"
                  "  Shared        512.0 KiB\n");
        EXPECT_THAT(Output, Not(HasSubstr("\x1b"))) << "no escape sequence in a pipe";
    });
}

TEST(Report, ListsTheFirstProcessesOrAll)
{
    RunSandboxed([] {
        FakeProcesses(12, "/usr/bin/tool");
        const std::string First = SectionOf(RunTool("report").Output, "Processes");
        EXPECT_THAT(First, HasSubstr("  Processes     12 with an id above 100\n  PID  COMMAND\n"));
        EXPECT_THAT(First, ContainsRegex("\n  1[01][0-9]  /usr/bin/tool\n")) << "the order is the folder's";
        EXPECT_THAT(First, EndsWith("  2 more: --all\n"));
        const std::string All = SectionOf(RunTool("report --all").Output, "Processes");
        EXPECT_EQ(std::count(All.begin(), All.end(), '\n'), 3 + 1 + 12);
    });
}

TEST(Report, FillsATerminalAndNoMore)
{
    RunSandboxed([] {
        FakeProcesses(1, "/usr/bin/\xe6\x97\xa5\xe6\x9c\xac\xe8\xaa\x9e/\xc3\xa9\xc3\xa8");
        unsetenv("NO_COLOR");
        const std::string Coloured = RunToolOnTerminal("report", 22).Output;
        EXPECT_THAT(Coloured, HasSubstr("\x1b[1mProcesses\x1b[0m\n"));
        EXPECT_THAT(Coloured, HasSubstr("\n  101  /usr/bin/\xe6\x97\xa5\xe6\x9c\xac\xe2\x80\xa6\n"))
            << "cut between characters, each of two columns";
        setenv("NO_COLOR", "1", 1);
        EXPECT_THAT(
            RunToolOnTerminal("report", 25).Output,
            testing::AllOf(Not(HasSubstr("\x1b")), HasSubstr("[\xe2\x96\x91"), HasSubstr("/\xc3\xa9\xc3\xa8\n")));
    });
}

TEST(Report, AFailureIsShownInItsPlaceAndTheRestGoesOn)
{
    RunSandboxed([] {
        const auto [nExit, Output] = RunTool("report", "mount --bind /dev/null /bin/sh;"); // no command can be run
        EXPECT_EQ(nExit, 1);
        EXPECT_THAT(SectionOf(Output, "System"), HasSubstr("  Distribution  unknown\n"));
        EXPECT_THAT(SectionOf(Output, "Memory"),
                    StartsWith("Memory\n  failed: ERROR_SYSTEMAPI_SYSTEM_GETMEMORYUSAGE_POPEN (0x040A1011): "));
        EXPECT_THAT(SectionOf(Output, "Processes"), HasSubstr("  Processes     0 with an id above 100\n"));
    });
}

TEST(Tool, ArgumentsAndExitStatus)
{
    const struct
    {
        const char* lpszArguments;
        int nExit;
        const char* lpszShown;
    } st_Rows[] = {
        {"--version", 0, "systemapi " SYSTEMAPI_VERSION "\n"},
        {"--help", 0, "report "},
        {"", 106, "A subcommand is required"},
        {"frobnicate", 106, "A subcommand is required"},
        {"report --frobnicate", 109, "--frobnicate\n"},
        {"report >/dev/full", 1, "systemapi: the output could not be written\n"},
    };
    for (const auto& st_Row : st_Rows)
    {
        SCOPED_TRACE(st_Row.lpszArguments);
        const auto [nExit, Output] = RunTool(st_Row.lpszArguments);
        EXPECT_EQ(nExit, st_Row.nExit);
        EXPECT_THAT(Output, HasSubstr(st_Row.lpszShown));
    }
}
} // namespace
