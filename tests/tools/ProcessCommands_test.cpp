#include "Fakes.h"
#include "OwnProcess.h"
#include "RunTool.h"
#include "Sandbox.h"

#include <gmock/gmock.h>
#include <sys/resource.h>
#include <unistd.h>

namespace
{
using testing::HasSubstr;
using testing::MatchesRegex;

/// A ps that knows one process, at work since New Year.
void FakeListing(const CFakeTools& Tools, pid_t nPid)
{
    Tools.Add("ps", "case \"$*\" in '-p " + std::to_string(nPid) +
                        " -o lstart=') echo 'Mon Jan  1 08:09:10 2024';; -p*) ;; *) echo 'u " + std::to_string(nPid) +
                        " 12.9 0.3 wanted';; esac");
}

TEST(ProcessCommands, ShowAndChangeAProcess)
{
    RunInChild([] {
        setenv("TZ", "UTC", 1);
        const COwnProcess m_Process;
        const std::string Pid = std::to_string(m_Process.Pid());
        const CFakeTools m_Tools;
        FakeListing(m_Tools, m_Process.Pid());
        ASSERT_EQ(setpriority(PRIO_PROCESS, static_cast<id_t>(m_Process.Pid()), 5), 0);
        const struct
        {
            std::string Arguments;
            int nExit;
            std::string Shown;
        } st_Rows[] = {
            {"run 'seq 9' --start 3 --lines 2", 0, "3\n4\n"},
            {"run 'printf \"a\\nb\"'", 0, "a\nb"},
            {"run 'seq 9' --lines 0", 105, "--lines"},
            {"info --pid " + Pid, 0,
             "  PID           0\n  Name          unknown\n  Login user    root\n  State         unknown\n"
             "  Threads       0\n  Virtual       0 (pages / 4)\n  Resident      0 (pages / 4)\n"
             "  Shared        0 (pages / 4)\n"},
            {"usage " + Pid, 0, "12\n"},
            {"uptime " + Pid, 0, "2024-01-01 08:09:10\n"},
            {"uptime 999999999", 0, "unknown\n"},
            {"path " + Pid, 0, std::filesystem::canonical("/bin/sleep").string() + "\n"},
            {"path 999999999", 1,
             "systemapi: ERROR_SYSTEMAPI_PROCESS_GETPATH_READLINK (0x040A3002): No such file or directory\n"},
            {"priority " + Pid, 0, "5\n"},
            {"priority --set -19 " + Pid, 1, "systemapi: ERROR_SYSTEMAPI_PROCESS_SETPRIORITY_RANGE (0x040A3015)\n"},
            {"affinity --set 0 " + Pid, 0, ""},
            {"affinity " + Pid, 0, "0\n"},
            {"affinity --set 1024 " + Pid, 1,
             "systemapi: ERROR_SYSTEMAPI_PROCESS_SETCPU_FAILED (0x040A3020): Invalid argument\n"},
            {"admin", 0, geteuid() == 0 ? "yes\n" : "no\n"},
            {"start --fork /bin/echo 'a  b'", 0, "a  b\n"},
            {"start --fork /no/such", 0,
             "systemapi: /no/such: ERROR_SYSTEMAPI_PROCESS_RUN_EXEC (0x040A3019): No such file or directory\n"},
            {"start /no/such", 1, "systemapi: /no/such: ERROR_SYSTEMAPI_PROCESS_CREATE_SPAWN (0x040A3019)"},
            {"stop", 106, "NAME or --pid is required"},
        };
        for (const auto& st_Row : st_Rows)
        {
            SCOPED_TRACE(st_Row.Arguments);
            const auto [nExit, Output] = RunTool("process " + st_Row.Arguments);
            EXPECT_EQ(nExit, st_Row.nExit);
            if (nExit == 0)
                EXPECT_EQ(Output, st_Row.Shown);
            else
                EXPECT_THAT(Output, HasSubstr(st_Row.Shown));
        }
        EXPECT_THAT(RunTool("process start /bin/sh -- '-c exit'").Output, MatchesRegex("[1-9][0-9]*\n"));
    });
}

TEST(ProcessCommands, StopEndsTheOneProcessThatIsMeant)
{
    RunInChild([] {
        signal(SIGINT, SIG_DFL);
        for (const bool bByName : {false, true})
        {
            const COwnProcess m_Process;
            const CFakeTools m_Tools;
            FakeListing(m_Tools, m_Process.Pid());
            const std::string Target = bByName ? "wanted --yes" : "--pid " + std::to_string(m_Process.Pid());
            EXPECT_EQ(RunTool("process stop " + Target).nExit, 0);
            siginfo_t st_End = {};
            EXPECT_EQ(waitid(P_PID, static_cast<id_t>(m_Process.Pid()), &st_End, WEXITED | WNOWAIT), 0);
            EXPECT_EQ(st_End.si_status, SIGINT);
        }
    });
}

TEST(ProcessCommands, StopAsksBeforeItDoesWhatMayBeMeantOtherwise)
{
    // In a session and a process namespace of its own, where even a broad signal would reach nobody else.
    const std::string Alone = "export ASAN_OPTIONS=$ASAN_OPTIONS:detect_leaks=0; setsid -w unshare --pid --fork";
    RunSandboxed([&] {
        for (const char* lpszTarget : {"wanted", "--pid 1", "--pid 0", "--pid -1", "--pid=-4711 --ignore-sigchld"})
        {
            const auto [nExit, Output] = RunTool(std::string("process stop ") + lpszTarget, Alone);
            EXPECT_EQ(nExit, 1) << lpszTarget;
            EXPECT_THAT(Output, HasSubstr("give --yes too\n"));
        }
    });
}

TEST(ProcessCommands, TheReportHasASection)
{
    const std::string Section = SectionOf(RunTool("report").Output, "This process");
    EXPECT_THAT(Section, HasSubstr("\n  Program       " SYSTEMAPI_TOOL "\n"));
    EXPECT_THAT(Section, testing::ContainsRegex("\n  Started       20[0-9][0-9]-[01][0-9]-"));
    EXPECT_THAT(Section, testing::ContainsRegex("\n  Processors    [0-9]"));
}
} // namespace
