#include "OwnProcess.h"
#include "Sandbox.h"

#include <SystemApi_Process/SystemApi_Process.h>

#include <algorithm>
#include <climits>
#include <sys/time.h>
#include <unistd.h>

namespace
{
void ExpectNoChildLeft()
{
    EXPECT_EQ(waitpid(-1, nullptr, WNOHANG), -1);
    EXPECT_EQ(errno, ECHILD);
}

TEST(CreateProcess, SplitsAtBlanksAloneAndGivesAnEmptyEnvironment)
{
    const std::string Long(1021, 'a');
    const struct
    {
        std::string Arguments, CommandLine;
    } st_Rows[] = {
        {"   ", "cat|"}, {"-  a b\tc  \"d e\" ", "cat|-|a|b\tc|\"d|e\"|"}, {"- " + Long, "cat|-|" + Long + "|"}};
    RunInChild([&] {
        int nPipe[2]; // keeps every cat waiting for input
        ASSERT_EQ(pipe(nPipe), 0);
        ASSERT_EQ(dup2(nPipe[0], STDIN_FILENO), STDIN_FILENO);
        for (const auto& st_Row : st_Rows)
        {
            const COwnProcess m_Process("/bin/cat", st_Row.Arguments.c_str());
            EXPECT_EQ(WaitForText(m_Process.Entry("cmdline")), st_Row.CommandLine);
            EXPECT_EQ(ReadWhole(m_Process.Entry("environ")), "");
        }
        const COwnProcess m_Process("/bin/cat", nullptr);
        EXPECT_EQ(WaitForText(m_Process.Entry("cmdline")), "cat|");
    });
}

TEST(CreateProcess, FailuresLeaveTheIdAlone)
{
    unsigned long nId = 77;
    const std::string TooLong(1024, 'a');
    const struct
    {
        unsigned long* pInt_Id;
        const char* lpszPath;
        const char* lpszArguments;
        unsigned long dwCode;
    } st_Rows[] = {{nullptr, "/bin/true", nullptr, ERROR_SYSTEMAPI_PROCESS_CREATE_PARAMETER},
                   {&nId, nullptr, nullptr, ERROR_SYSTEMAPI_PROCESS_CREATE_PARAMETER},
                   {&nId, "/bin/true", TooLong.c_str(), ERROR_SYSTEMAPI_PROCESS_CREATE_PARAMETER},
                   {&nId, "true", nullptr, ERROR_SYSTEMAPI_PROCESS_CREATE_SPAWN}, // PATH is not searched
                   {&nId, "", "a", ERROR_SYSTEMAPI_PROCESS_CREATE_SPAWN}};
    RunInChild([&] {
        for (const auto& st_Row : st_Rows)
        {
            errno = 0;
            const bool bResult =
                SystemApi_Process_CreateProcess(st_Row.pInt_Id, st_Row.lpszPath, st_Row.lpszArguments, true);
            ExpectFailed(bResult, st_Row.dwCode, errno);
            EXPECT_EQ(nId, 77U);
        }
        ExpectNoChildLeft();
    });
}

TEST(RunProcess, StartsWithTheCallersEnvironmentAndTellsTheChildAlone)
{
    const CTempFolder m_Folder;
    const std::string Out = m_Folder / "out";
    const std::string Script =
        m_Folder.Write("script", "#!/bin/sh\ntr '\\0' '|' < /proc/$$/cmdline > $OUT\necho \" $#\" >> $OUT\n");
    ASSERT_EQ(chmod(Script.c_str(), 0755), 0);
    const struct
    {
        std::string Path, Argv0;
        const char* lpszArgv1;
        std::string Expected;
    } st_Rows[] = {{"/bin/sh", "any name", Script.c_str(), "any name|" + Script + "| 0\n"},
                   {Script, "x", nullptr, "/bin/sh|" + Script + "| 0\n"},
                   {Script, "x", "one  two", "/bin/sh|" + Script + "|one  two| 1\n"}};
    for (const auto& st_Row : st_Rows)
    {
        RunInChild([&] {
            setenv("OUT", Out.c_str(), 1);
            unsigned long nId = 77;
            ASSERT_TRUE(SystemApi_Process_RunProcess(&nId, st_Row.Path.c_str(), st_Row.Argv0.c_str(),
                                                     st_Row.lpszArgv1, true));
            EXPECT_GT(wait(nullptr), 0) << "neither waited for nor reaped";
            EXPECT_EQ(nId, 77U);
        });
        EXPECT_EQ(ReadWhole(Out), st_Row.Expected);
    }
}

TEST(RunProcess, ComesBackInTheChildWhenTheProgramCannotBeStarted)
{
    RunInChild([] {
        const pid_t nSelf = getpid();
        unsigned long nId = 0;
        const bool bResult = SystemApi_Process_RunProcess(&nId, "/no/such/program", "x", nullptr, false);
        if (getpid() != nSelf)
        {
            ExpectFailed(bResult, ERROR_SYSTEMAPI_PROCESS_RUN_EXEC, ENOENT);
            EXPECT_EQ(nId, static_cast<unsigned long>(getpid()));
            _exit(testing::Test::HasFailure() ? 1 : 0);
        }
        EXPECT_TRUE(bResult);
        int nStatus = 1;
        EXPECT_GT(wait(&nStatus), 0);
        EXPECT_EQ(nStatus, 0);

        StandIns().Fork = [] {
            errno = EAGAIN;
            return -1;
        };
        ExpectFailed(SystemApi_Process_RunProcess(&nId, "/bin/true", "x", nullptr, false),
                     ERROR_SYSTEMAPI_PROCESS_RUN_FORK, EAGAIN);
        EXPECT_FALSE(SystemApi_Process_RunProcess(&nId, nullptr, "x", nullptr, false));
        EXPECT_EQ(SystemApi_GetLastError(nullptr), ERROR_SYSTEMAPI_PROCESS_RUN_PARAMETER);
        EXPECT_FALSE(SystemApi_Process_RunProcess(&nId, "/bin/true", nullptr, nullptr, false));
    });
}

/// How SIGCHLD is handled just now.
void (*ChildSignal())(int)
{
    struct sigaction st_Action = {};
    sigaction(SIGCHLD, nullptr, &st_Action);
    return st_Action.sa_handler;
}

TEST(Stop, HandsTheIdToKillAndSetsTheDispositionAsItEnds)
{
    const struct
    {
        int nPid;
        bool bIgnore;
        int nErrno; // of kill; 0 succeeds
        unsigned long dwCode;
    } st_Rows[] = {
        {0, false, 0, 0},
        {-1, true, 0, 0},
        {-4711, true, EPERM, ERROR_SYSTEMAPI_PROCESS_STOP_PERMISSION},
        {4711, false, EPERM, ERROR_SYSTEMAPI_PROCESS_STOP_PERMISSION},
        {4711, true, ESRCH, ERROR_SYSTEMAPI_PROCESS_STOP_KILL},
        {INT_MIN, false, EINVAL, ERROR_SYSTEMAPI_PROCESS_STOP_KILL},
    };
    for (const auto& st_Row : st_Rows)
    {
        SCOPED_TRACE(st_Row.nPid);
        RunInChild([&] {
            const auto OwnHandler = [](int) {
            };
            signal(SIGCHLD, OwnHandler);
            int nSignals = 0;
            StandIns().Kill = [&](pid_t nPid, int nSignal) {
                ++nSignals;
                EXPECT_EQ(nPid, st_Row.nPid);
                EXPECT_EQ(nSignal, SIGINT);
                EXPECT_EQ(ChildSignal(), st_Row.bIgnore ? SIG_IGN : +OwnHandler);
                errno = st_Row.nErrno;
                return st_Row.nErrno == 0 ? 0 : -1;
            };
            const bool bResult = SystemApi_Process_Stop(nullptr, st_Row.nPid, st_Row.bIgnore);
            EXPECT_EQ(nSignals, 1);
            if (st_Row.nErrno != 0)
                ExpectFailed(bResult, st_Row.dwCode, st_Row.nErrno);
            else
                EXPECT_TRUE(bResult);
            EXPECT_EQ(ChildSignal(), !st_Row.bIgnore ? +OwnHandler : st_Row.nErrno == 0 ? SIG_DFL : SIG_IGN);
        });
    }
}

TEST(Stop, ANameStopsTheFirstProcessOfTheListingOrNone)
{
    constexpr const char* lpszNotFound = "";
    const std::string Longest(1023 - std::string("ps -aux | grep  | grep -v grep | awk '{print $2}'").size(), 'x');
    const struct
    {
        const char* lpszWhy;
        std::string Name, Listing, Signalled;
    } st_Rows[] = {
        {"the first, and no other", "wanted", "root 10 other\nroot 11 0 wanted\nroot 12 0 wanted", "11"},
        {"not a grep", "wanted", "root 10 grep wanted\nroot 11 wanted", "11"},
        {"nobody", "wanted", "root 10 other", lpszNotFound},
        {"nothing at all", "wanted", "", lpszNotFound},
        {"the heading", "PID", "USER PID CPU\nroot 10 PID", lpszNotFound},
        {"never the own group", "wanted", "root 0 wanted", lpszNotFound},
        {"never everybody", "wanted", "root -1 wanted", lpszNotFound},
        {"never a number that wraps", "wanted", "root 4294967297 wanted", lpszNotFound},
        {"the longest name", Longest, "root 11 " + Longest, "11"},
        {"a longer one", Longest + "x", "root 11 xx", lpszNotFound},
    };
    for (const auto& st_Row : st_Rows)
    {
        SCOPED_TRACE(st_Row.lpszWhy);
        const CFakeTools m_Tools;
        m_Tools.Add("ps", "printf '%s\\n' '" + st_Row.Listing + "'");
        const auto& Commands = NoteCommands();
        std::string Signalled;
        StandIns().Kill = [&](pid_t nPid, int) {
            Signalled += std::to_string(nPid);
            return 0;
        };
        EXPECT_EQ(SystemApi_Process_Stop(st_Row.Name.c_str(), 4711, false), !st_Row.Signalled.empty());
        EXPECT_EQ(Signalled, st_Row.Signalled);
        if (st_Row.Signalled.empty())
        {
            EXPECT_EQ(SystemApi_GetLastError(nullptr), ERROR_SYSTEMAPI_PROCESS_STOP_NOTFOUND);
        }
        std::vector<std::string> Expected;
        if (st_Row.Name.size() <= Longest.size())
            Expected.push_back("ps -aux | grep " + st_Row.Name + " | grep -v grep | awk '{print $2}'");
        EXPECT_EQ(Commands, Expected);
        StandIns() = {};
    }
    StandIns().Popen = [](const char*) {
        return false;
    };
    ExpectFailed(SystemApi_Process_Stop("wanted", 0, true), ERROR_SYSTEMAPI_PROCESS_STOP_READCMD, EMFILE);
    EXPECT_EQ(ChildSignal(), SIG_DFL);
    StandIns() = {};
}

TEST(Stop, WaitsForAChildToEndWhateverInterrupts)
{
    for (const bool bIgnore : {false, true})
    {
        RunInChild([&] {
            struct sigaction st_Action = {}; // without SA_RESTART
            st_Action.sa_handler = [](int) {
            };
            sigaction(SIGALRM, &st_Action, nullptr);
            signal(SIGINT, SIG_DFL);
            const CTempFolder m_Folder;
            const std::string Script = m_Folder.Write(
                "slow",
                "trap 'sleep 0.2; echo ended > $1/ended; exit' INT\necho > $1/ready\nwhile :; do sleep 0.02; done");
            const COwnProcess m_Process("/bin/sh", (Script + " " + m_Folder.Path().string()).c_str());
            WaitForText(m_Folder / "ready");
            const itimerval st_Often = {{0, 10000}, {0, 10000}};
            setitimer(ITIMER_REAL, &st_Often, nullptr);
            // In the real listing nothing else holds the folder's name.
            const std::string Name = m_Folder.Path().filename().string();
            EXPECT_TRUE(SystemApi_Process_Stop(bIgnore ? Name.c_str() : nullptr, m_Process.Pid(), bIgnore));
            const itimerval st_Never = {};
            setitimer(ITIMER_REAL, &st_Never, nullptr);
            EXPECT_EQ(ReadWhole(m_Folder / "ended"), "ended\n");
            ExpectNoChildLeft();
        });
    }
}

TEST(AppState, SixLettersHaveACode)
{
    const std::string Letters = "RSDZTW";
    for (int nLetter = CHAR_MIN; nLetter <= CHAR_MAX; ++nLetter)
    {
        EXPECT_FALSE(SystemApi_Process_GetPath(nullptr, 0)); // leaves the flag set
        unsigned long nState = 77;
        EXPECT_TRUE(m_ProcessSdk.SystemApi_Process_AppState(static_cast<char>(nLetter), &nState));
        EXPECT_EQ(nState, std::min<std::size_t>(Letters.find(static_cast<char>(nLetter)), 6)) << nLetter;
        EXPECT_FALSE(SystemApi_IsErrorOccur);
    }
}
} // namespace
