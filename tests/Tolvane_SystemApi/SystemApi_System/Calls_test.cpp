// SPDX-License-Identifier: MIT
#include "OwnProcess.h"
#include "Sandbox.h"
#include "SystemApi_System/SystemApi_System.h"

#include <fstream>
#include <limits>
#include <string>
#include <unistd.h>
#include <utility>

namespace
{
TEST(Shutdown, EachSelectorTakesItsOneAction)
{
    std::string Done;
    int nResult = 0;
    StandIns().Reboot = [&](int nCommand) {
        Done += "reboot " + std::to_string(static_cast<unsigned>(nCommand));
        return nResult;
    };
    StandIns().System = [&](const char* lpszCmd) {
        Done += lpszCmd;
        return nResult;
    };
    const struct
    {
        unsigned long dwType;
        std::string Action;
    } st_Rows[] = {
#include "../../data/System/Shutdowns.inc"
    };
    errno = EPERM;
    for (const auto& [dwType, Action] : st_Rows)
    {
        for (const int nGiven : {-1, 256, 0})
        {
            nResult = nGiven;
            Done.clear();
            if (nResult != 0 || Action.empty())
                ExpectFailed(SystemApi_System_Shutdown(dwType), Action.empty() ? 0x040A1050 : 0x040A1051, EPERM);
            else
                EXPECT_TRUE(SystemApi_System_Shutdown(dwType) && !SystemApi_IsErrorOccur);
            EXPECT_EQ(Done, Action) << dwType;
        }
    }
    StandIns() = {};
}

/// The masks of the signals that are blocked and ignored, as this thread's status file shows them or a copy.
std::pair<unsigned long, unsigned long> Signals(const std::string& StatusFile = "/proc/thread-self/status")
{
    const std::string Status = ReadWhole(StatusFile);
    return {std::stoul(Status.substr(Status.find("SigBlk:") + 7), nullptr, 16),
            std::stoul(Status.substr(Status.find("SigIgn:") + 7), nullptr, 16)};
}

constexpr unsigned long nInterruptMask = 1UL << (SIGINT - 1);
constexpr unsigned long nBothMask = nInterruptMask | 1UL << (SIGQUIT - 1);
constexpr unsigned long nChildMask = 1UL << (SIGCHLD - 1);

TEST(SystemEx, RunsACommandUpToTheLimitAndLeavesSignalsAsTheyWere)
{
    RunInChild([] {
        const CTempFolder m_Folder;
        std::signal(SIGQUIT, SIG_IGN);
        sigset_t Mask = {};
        sigaddset(&Mask, SIGUSR1);
        ASSERT_EQ(sigprocmask(SIG_BLOCK, &Mask, nullptr), 0);
        struct sigaction st_Action = {};
        st_Action.sa_handler = [](int) {
        };
        st_Action.sa_flags = SA_NODEFER;
        ASSERT_EQ(sigaction(SIGINT, &st_Action, nullptr), 0); // becomes the default in a command
        const auto Before = Signals();

        StandIns().Fork = [=] {
            EXPECT_EQ(Signals(), std::pair(Before.first | nChildMask, Before.second | nInterruptMask));
            return _Fork();
        };
        const std::string Copy = m_Folder / "status";
        EXPECT_TRUE(SystemApi_System_SystemEx(("exec cat /proc/self/status > " + Copy).c_str(), 60));
        EXPECT_FALSE(SystemApi_IsErrorOccur);
        EXPECT_EQ(Signals(Copy), Before);
        struct sigaction st_After = {};
        ASSERT_EQ(sigaction(SIGINT, nullptr, &st_After), 0);
        EXPECT_EQ(st_After.sa_handler, st_Action.sa_handler);
        EXPECT_TRUE((st_After.sa_flags & SA_NODEFER) != 0) << "the whole action is put back";

        StandIns().Fork = [] {
            return *StandIns().Own.insert(_Fork()).first; // the library may kill it
        };
        for (const char* lpszCmd : {"", "exit 3", "kill -9 $$", "exec 2>/dev/null; no-such-command-here"})
            EXPECT_TRUE(SystemApi_System_SystemEx(lpszCmd, 60)) << lpszCmd;
        for (const int nTimeout : {0, std::numeric_limits<int>::min(), 2})
        {
            std::time_t nNow = 1000;
            StandIns().Time = [&] {
                return nNow;
            };
            StandIns().Sleep = [&](unsigned nSeconds) {
                nNow += nSeconds;
                return 0U;
            };
            EXPECT_TRUE(SystemApi_System_SystemEx("trap '' TERM QUIT INT; while :; do :; done", nTimeout));
            EXPECT_EQ(nNow, 1000 + std::max(nTimeout, 0)) << "killed at the first poll at or behind the limit";
            StandIns().Time = nullptr;
            StandIns().Sleep = nullptr;
        }
        const std::string Background =
            "(until [ -e " + m_Folder / "go" + " ]; do sleep 0.1; done; echo > " + Copy + ")";
        EXPECT_TRUE(SystemApi_System_SystemEx((Background + " & wait").c_str(), 1)) << "kills the shell alone";
        m_Folder.Write("status", "");
        m_Folder.Write("go", "");
        EXPECT_EQ(WaitForText(Copy), "\n");
        EXPECT_EQ(Signals(), Before);
        std::signal(SIGCHLD, SIG_IGN); // the kernel then reaps, and the wait ends with an error
        EXPECT_TRUE(SystemApi_System_SystemEx("exit 0", 60));
        EXPECT_EQ(waitpid(-1, nullptr, WNOHANG), -1) << "no child is left";
    });
}

TEST(SystemEx, AFailureLeavesTheSignalsThatWereHeldSoFar)
{
    const std::pair<unsigned long, unsigned long> Held[] = {
        {0, 0}, {0, nInterruptMask}, {0, nBothMask}, {nChildMask, nBothMask}};
    for (std::size_t nStep = 0; nStep < std::size(Held); ++nStep)
    {
        SCOPED_TRACE(nStep);
        RunInChild([&] {
            const auto Before = Signals();
            std::size_t nDone = 0;
            const auto Refused = [&] {
                errno = EAGAIN;
                return nDone++ == nStep;
            };
            StandIns().SigAction = [&](int nSignal, const struct sigaction* pSt_New, struct sigaction*) {
                return Refused() || std::signal(nSignal, pSt_New->sa_handler) == SIG_ERR ? -1 : 0;
            };
            StandIns().SigProcMask = [&](int nHow, const sigset_t* pNew, sigset_t* pOld) {
                return Refused() ? -1 : pthread_sigmask(nHow, pNew, pOld);
            };
            StandIns().Fork = [&] {
                return Refused() ? -1 : _Fork();
            };
            ExpectFailed(SystemApi_System_SystemEx("true", 1), nStep < 3 ? 0x040A1061 : 0x040A1062, EAGAIN);
            EXPECT_EQ(Signals(), std::pair(Before.first | Held[nStep].first, Before.second | Held[nStep].second));
        });
    }
}

TEST(SystemEx, AChildWithoutAShellDoesNotComeBack)
{
    RunSandboxed([] {
        const CTempFolder m_Folder;
        FakeFile("/bin/sh", "no program");
        const auto Before = Signals();
        EXPECT_TRUE(SystemApi_System_SystemEx("true", 60));
        std::ofstream(m_Folder / "back", std::ios::app) << getpid();
        EXPECT_EQ(ReadWhole(m_Folder / "back"), std::to_string(getpid()));
        EXPECT_EQ(Signals(), Before) << "neither is ignored any longer";
    });
}

TEST(Members, WithoutAFunctionOfTheirOwnOrWithoutUseForTheirArguments)
{
    EXPECT_TRUE(SystemApi_System_WMIQuery(nullptr, nullptr, nullptr, -1));
    const CNoDescriptors m_None;
    ExpectFailed(m_SystemSdk.SystemApi_System_Get_Occupy(nullptr), 0x040A10F0, EMFILE);
}
} // namespace
