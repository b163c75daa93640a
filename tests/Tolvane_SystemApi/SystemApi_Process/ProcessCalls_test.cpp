// SPDX-License-Identifier: MIT
#include "SystemApi_Process/SystemApi_Process.h"

#include "OwnProcess.h"
#include "Sandbox.h"

#include <climits>
#include <fstream>
#include <sys/time.h>
#include <tuple>
#include <unistd.h>

namespace
{
namespace fs = std::filesystem;

TEST(CreateProcess, SplitsAtBlanksAloneAndGivesAnEmptyEnvironment)
{
    const std::string Long = std::string(1008, '/') + "/proc/self/fd/0";
    const std::pair<const char*, std::string> Rows[] = {{nullptr, "cat|"},
                                                        {"   ", "cat|"},
                                                        {"-  a b\tc  \"d e\" ", "cat|-|a|b\tc|\"d|e\"|"},
                                                        {Long.c_str(), "cat|" + Long + "|"}};
    RunInChild([&] {
        int nPipe[2]; // keeps every cat waiting for input
        ASSERT_EQ(pipe(nPipe), 0);
        ASSERT_EQ(dup2(nPipe[0], STDIN_FILENO), STDIN_FILENO);
        for (const auto& [lpszArguments, CommandLine] : Rows)
        {
            const COwnProcess m_Process("/bin/cat", lpszArguments);
            EXPECT_EQ(WaitForText(m_Process.Entry("cmdline")), CommandLine);
            EXPECT_EQ(ReadWhole(m_Process.Entry("environ")), "");
        }
    });
}

TEST(RunProcess, StartsWithTheCallersEnvironmentAndTellsTheChildAlone)
{
    const CTempFolder m_Folder;
    const std::string Script =
        m_Folder.Write("script", "#!/bin/sh\n(tr '\\0' '|' < /proc/$$/cmdline; echo \" $#\") > $OUT\n");
    ASSERT_EQ(chmod(Script.c_str(), 0755), 0);
    const std::tuple<std::string, const char*, const char*, std::string> Rows[] = {
        {"/bin/sh", "any name", Script.c_str(), "any name|" + Script + "| 0\n"},
        {Script, "x", nullptr, "/bin/sh|" + Script + "| 0\n"},
        {Script, "x", "one  two", "/bin/sh|" + Script + "|one  two| 1\n"}};
    RunInChild([&] {
        setenv("OUT", (m_Folder / "out").c_str(), 1);
        unsigned long nId = 77;
        for (const auto& [Path, lpszArgv0, lpszArgv1, Expected] : Rows)
        {
            ASSERT_TRUE(SystemApi_Process_RunProcess(&nId, Path.c_str(), lpszArgv0, lpszArgv1, true));
            EXPECT_GT(wait(nullptr), 0) << "neither waited for nor reaped";
            EXPECT_EQ(nId, 77U);
            EXPECT_EQ(ReadWhole(m_Folder / "out"), Expected);
        }
        EXPECT_TRUE(SystemApi_Process_RunProcess(nullptr, "/bin/true", "x", nullptr, true)) << "the child's fault";
        EXPECT_GT(wait(nullptr), 0);

        const pid_t nSelf = getpid();
        const bool bResult = SystemApi_Process_RunProcess(&nId, "/no/such/program", "x", nullptr, false);
        if (getpid() != nSelf)
        {
            ExpectFailed(bResult, ERROR_SYSTEMAPI_PROCESS_RUN_EXEC, ENOENT);
            EXPECT_EQ(nId, static_cast<unsigned long>(getpid()));
            _exit(testing::Test::HasFailure());
        }
        EXPECT_TRUE(bResult);
        int nStatus = 1;
        EXPECT_GT(wait(&nStatus), 0);
        EXPECT_EQ(nStatus, 0) << "the child went on in the caller's code";
    });
}

void OwnHandler(int) {}

TEST(Stop, HandsTheIdToKillAndWaitsForAChildWhateverInterrupts)
{
    const std::tuple<int, bool, int, unsigned long> Rows[] = {
#include "../../data/StopById.inc"
    };
    RunInChild([&] {
        struct sigaction st_Action = {}; // without SA_RESTART
        st_Action.sa_handler = OwnHandler;
        sigaction(SIGALRM, &st_Action, nullptr);
        const itimerval st_Often = {{0, 10000}, {0, 10000}};
        setitimer(ITIMER_REAL, &st_Often, nullptr);
        for (const auto& [nPid, bIgnore, nErrno, dwCode] : Rows)
        {
            SCOPED_TRACE(nPid);
            signal(SIGCHLD, OwnHandler);
            const pid_t nChild = nErrno == 0 ? fork() : nPid;
            if (nChild == 0) // ends later
                _exit(usleep(100000));
            const int nAsked = nPid == 4711 ? nChild : nPid;
            std::vector<int> Calls;
            StandIns().Kill = [&, nErrno = nErrno](pid_t nTo, int nSignal) {
                const auto pfnHandler = signal(SIGCHLD, SIG_IGN);
                signal(SIGCHLD, pfnHandler);
                Calls.insert(Calls.end(), {nTo, nSignal, pfnHandler == SIG_IGN});
                errno = nErrno;
                return nErrno == 0 ? 0 : -1;
            };
            const bool bResult = SystemApi_Process_Stop(nullptr, nAsked, bIgnore);
            if (nErrno != 0)
                ExpectFailed(bResult, dwCode, nErrno);
            EXPECT_EQ(bResult, nErrno == 0);
            EXPECT_EQ(Calls, (std::vector<int>{nAsked, SIGINT, bIgnore}));
            EXPECT_EQ(signal(SIGCHLD, SIG_DFL), !bIgnore ? OwnHandler : nErrno == 0 ? SIG_DFL : SIG_IGN);
            EXPECT_EQ(waitpid(-1, nullptr, WNOHANG), -1) << "a child is left";
        }
    });
}

TEST(Path, IsNotEndedAndFillsTheBufferAtMost)
{
    const CTempFolder m_Folder;
    std::string Name = "sleep";
    while (Name.size() < 1024)
        Name = std::string(200, 'd') + "/" + Name;
    const std::string Program = m_Folder.Write(Name, ReadWhole("/bin/sleep"));
    ASSERT_EQ(chmod(Program.c_str(), 0755), 0);
    const COwnProcess m_Process(Program.c_str());
    for (const auto& [nPid, Path] : {std::pair(0, fs::read_symlink("/proc/self/exe").string()),
                                     std::pair(m_Process.Pid(), fs::canonical(Program).string().substr(0, 1024))})
    {
        std::string Buffer(1025, '#');
        EXPECT_TRUE(SystemApi_Process_GetPath(Buffer.data(), nPid));
        EXPECT_EQ(Buffer, Path + std::string(1025 - Path.size(), '#'));
    }
}

TEST(Priority, IsOfTheCallerOrOfAnyIdAndForTheSuperuserToRaise)
{
    RunInChild([] {
        std::vector<int> Calls;
        StandIns().SetPriority = [&](id_t nId, int nPriority) {
            Calls.insert(Calls.end(), {static_cast<int>(nId), nPriority});
            return 0;
        };
        StandIns().GetPriority = [&](id_t nId) {
            Calls.push_back(static_cast<int>(nId));
            return -20;
        };
        int nPriority = 7;
        EXPECT_TRUE(SystemApi_Process_SetPriority(-20, 0));
        EXPECT_TRUE(SystemApi_Process_SetPriority(-21, -5));
        EXPECT_TRUE(SystemApi_Process_GetPriority(&nPriority, 0));
        EXPECT_TRUE(SystemApi_Process_GetPriority(&nPriority, -5));
        EXPECT_EQ(nPriority, -20);
        EXPECT_EQ(Calls, (std::vector<int>{getpid(), -20, -5, -21, getpid(), -5}));

        StandIns() = {};
        EXPECT_EQ(SystemApi_Process_IsAdmin(), geteuid() == 0);
        EXPECT_EQ(setpriority(PRIO_PROCESS, 0, 7), 0);
        GiveUpRoot();
        SystemApi_IsErrorOccur = true;
        EXPECT_FALSE(SystemApi_Process_IsAdmin());
        EXPECT_FALSE(SystemApi_IsErrorOccur) << "false is an answer";
        ExpectFailed(SystemApi_Process_SetPriority(-20, 0), ERROR_SYSTEMAPI_PROCESS_SETPRIORITY_FAILED, EACCES);
        EXPECT_TRUE(SystemApi_Process_GetPriority(&nPriority, 0));
        EXPECT_EQ(nPriority, 7);
    });
}

TEST(Processors, AnIndexIsOneBitAndTheMaskFolds)
{
    // processors of the machine; those bound to, not all of them the machine's; the mask
    const std::tuple<int, std::vector<unsigned long>, unsigned long> Rows[] = {
        {64, {63, 64, 1024, ULONG_MAX}, 1UL << 63 | 0x10},
        {72, {0, 65, 71}, 1 | 1 << 1 | 1 << 7 | 0x10},
        {1100, {1023, 1088}, 1UL << 63 | 0x10}};
    RunSandboxed([&] {
        const fs::path Folder = "/sys/devices/system/cpu";
        FakeFolder(Folder.c_str());
        for (const auto& [nConfigured, Bound, dwExpected] : Rows)
        {
            std::ofstream(Folder / "possible") << "0-" << nConfigured - 1 << '\n';
            for (int nCpu = 0; nCpu < nConfigured; ++nCpu)
                fs::create_directory(Folder / ("cpu" + std::to_string(nCpu)));
            ASSERT_EQ(sysconf(_SC_NPROCESSORS_CONF), nConfigured);
            cpu_set_t st_All = {};
            int nAsked = 0; // the calling thread: not turned into the process
            StandIns().SetAffinity = [&](pid_t nPid, std::size_t nSize, const cpu_set_t* pSt_Set) {
                CPU_OR(&st_All, &st_All, pSt_Set);
                return nPid == nAsked && nSize == 128 && CPU_COUNT(pSt_Set) <= 1 ? 0 : -1;
            };
            StandIns().GetAffinity = [&](pid_t nPid, std::size_t nSize, cpu_set_t* pSt_Set) {
                *pSt_Set = st_All;
                return nPid == nAsked && nSize == 128 ? 0 : -1;
            };
            unsigned long dwMask = 0x10;
            for (nAsked = -5; nAsked <= 0; nAsked += 5)
            {
                for (const unsigned long nCpu : Bound)
                    EXPECT_TRUE(SystemApi_Process_SetProcessForCpu(nAsked, nCpu));
                EXPECT_TRUE(SystemApi_Process_GetProcessForCpu(nAsked, &dwMask));
            }
            EXPECT_EQ(dwMask, dwExpected);
        }
    });
}

TEST(AppState, ALettersPlaceIsItsCodeAndEveryOtherIsUnknown)
{
    const std::string Letters("RSDZTWxIrE\0\xFF", 12);
    for (std::size_t nPlace = 0; nPlace < Letters.size(); ++nPlace)
    {
        unsigned long nCode = 77;
        SystemApi_IsErrorOccur = true;
        EXPECT_TRUE(m_ProcessSdk.SystemApi_Process_AppState(Letters[nPlace], &nCode));
        EXPECT_EQ(nCode, std::min<std::size_t>(nPlace, 6)) << Letters[nPlace];
        EXPECT_FALSE(SystemApi_IsErrorOccur);
    }
}
} // namespace
