#include "Fakes.h"
#include "Sandbox.h"
#include "StandIns.h"

#include <Tolvane_SystemApi.h>

#include <cerrno>
#include <csignal>
#include <filesystem>
#include <gtest/gtest.h>
#include <limits>
#include <sstream>
#include <string>
#include <sys/wait.h>
#include <unistd.h>

namespace
{
/// The lines of a /proc/.../status text that tell which signals are blocked, ignored and caught.
std::string SignalLines(const std::string& Status)
{
    std::istringstream Lines(Status);
    std::string Result;
    for (std::string Line; std::getline(Lines, Line);)
    {
        if (Line.rfind("SigBlk", 0) == 0 || Line.rfind("SigIgn", 0) == 0 || Line.rfind("SigCgt", 0) == 0)
            Result += Line + "\n";
    }
    return Result;
}
std::string OwnSignals()
{
    return SignalLines(ReadWhole("/proc/thread-self/status"));
}

bool IsIgnored(int nSignal)
{
    struct sigaction st_Action = {};
    EXPECT_EQ(sigaction(nSignal, nullptr, &st_Action), 0);
    return st_Action.sa_handler == SIG_IGN;
}
bool IsBlocked(int nSignal)
{
    sigset_t Mask;
    EXPECT_EQ(sigprocmask(SIG_SETMASK, nullptr, &Mask), 0);
    return sigismember(&Mask, nSignal) == 1;
}

/// Lets the library kill what it forks.
void OwnTheForked()
{
    StandIns().Fork = [] {
        const pid_t nPid = _Fork();
        if (nPid > 0)
            StandIns().Own.insert(nPid);
        return nPid;
    };
}

void ExpectNoChildLeft()
{
    EXPECT_EQ(waitpid(-1, nullptr, WNOHANG), -1);
    EXPECT_EQ(errno, ECHILD);
}

TEST(SystemEx, RunsAndLeavesSignalsAsTheyWere)
{
    RunInChild([] {
        const CTempFolder m_Folder;
        std::signal(SIGQUIT, SIG_IGN);
        std::signal(SIGTERM, SIG_IGN);
        sigset_t Mask;
        sigemptyset(&Mask);
        sigaddset(&Mask, SIGUSR1);
        ASSERT_EQ(sigprocmask(SIG_BLOCK, &Mask, nullptr), 0);
        const std::string AsCommandsSeeThem = OwnSignals();
        struct sigaction st_Handler = {};
        st_Handler.sa_handler = [](int) {
        };
        st_Handler.sa_flags = SA_RESTART;
        ASSERT_EQ(sigaction(SIGINT, &st_Handler, nullptr), 0); // becomes the default in a command
        const std::string Before = OwnSignals();

        bool bHeld = false;
        StandIns().Fork = [&] {
            bHeld = IsIgnored(SIGINT) && IsIgnored(SIGQUIT) && IsBlocked(SIGCHLD) && IsBlocked(SIGUSR1);
            return _Fork();
        };
        const std::string Copy = m_Folder / "status";
        EXPECT_TRUE(SystemApi_System_SystemEx(("exec cat /proc/self/status > " + Copy).c_str(), 60));
        EXPECT_FALSE(SystemApi_IsErrorOccur);
        EXPECT_TRUE(bHeld);
        EXPECT_EQ(OwnSignals(), Before);
        struct sigaction st_After = {};
        ASSERT_EQ(sigaction(SIGINT, nullptr, &st_After), 0);
        EXPECT_TRUE((st_After.sa_flags & SA_RESTART) != 0) << "the whole action is put back";
        // Sanitizers catch signals of their own, which a command does not.
        const auto WithoutCaught = [](std::string Lines) {
            return Lines.substr(0, Lines.find("SigCgt"));
        };
        EXPECT_EQ(WithoutCaught(SignalLines(ReadWhole(Copy))), WithoutCaught(AsCommandsSeeThem));
        ExpectNoChildLeft();
    });
}

TEST(SystemEx, TheResultIsTrueWhateverBecomesOfTheCommand)
{
    RunInChild([] {
        OwnTheForked();
        for (const char* lpszCmd : {"", "exit 3", "kill -9 $$", "exec 2>/dev/null; no-such-command-here"})
            EXPECT_TRUE(SystemApi_System_SystemEx(lpszCmd, 60)) << lpszCmd;
        std::signal(SIGCHLD, SIG_IGN); // the kernel then reaps, and the wait ends with an error
        EXPECT_TRUE(SystemApi_System_SystemEx("exit 0", 60));
        ExpectNoChildLeft();
    });
}

TEST(SystemEx, TheLimitKillsTheCommand)
{
    for (const int nTimeout : {1, 0, -5, std::numeric_limits<int>::min()})
    {
        SCOPED_TRACE(nTimeout);
        RunInChild([=] {
            OwnTheForked();
            const std::string Before = OwnSignals();
            EXPECT_TRUE(SystemApi_System_SystemEx("while :; do :; done", nTimeout)); // leaves nothing behind
            EXPECT_EQ(OwnSignals(), Before);
            ExpectNoChildLeft();
        });
    }
}

TEST(SystemEx, TheLimitMeetsTheShellAlone)
{
    RunInChild([] {
        const CTempFolder m_Folder;
        OwnTheForked();
        const std::string Command = "(sleep 2; echo > " + m_Folder / "survived" + ") & wait";
        EXPECT_TRUE(SystemApi_System_SystemEx(Command.c_str(), 1));
        EXPECT_FALSE(std::filesystem::exists(m_Folder / "survived"));
        for (int nWaited = 0; nWaited < 600 && !std::filesystem::exists(m_Folder / "survived"); ++nWaited)
            usleep(100'000);
        EXPECT_TRUE(std::filesystem::exists(m_Folder / "survived"));
        ExpectNoChildLeft();
    });
}

TEST(SystemEx, AFailureLeavesTheSignalsThatWereHeldSoFar)
{
    const struct
    {
        const char* lpszFails;
        unsigned long dwCode;
        bool bInterruptIgnored, bQuitIgnored, bChildBlocked;
    } st_Rows[] = {
        {"SIGINT", ERROR_SYSTEMAPI_SYSTEM_SYSTEMEX_SIGNAL, false, false, false},
        {"SIGQUIT", ERROR_SYSTEMAPI_SYSTEM_SYSTEMEX_SIGNAL, true, false, false},
        {"the mask", ERROR_SYSTEMAPI_SYSTEM_SYSTEMEX_SIGNAL, true, true, false},
        {"fork", ERROR_SYSTEMAPI_SYSTEM_SYSTEMEX_FORK, true, true, true},
    };
    for (const auto& st_Row : st_Rows)
    {
        SCOPED_TRACE(st_Row.lpszFails);
        RunInChild([&] {
            const std::string Fails = st_Row.lpszFails;
            const auto Refuse = [] {
                errno = EAGAIN;
                return -1;
            };
            const auto RefuseSignal = [=](int nSignal) {
                StandIns().SigAction = [=](int nAsked, const struct sigaction* pSt_New, struct sigaction* pSt_Old) {
                    if (nAsked == nSignal)
                        return Refuse();
                    const auto pfnThis = std::exchange(StandIns().SigAction, nullptr);
                    const int nResult = sigaction(nAsked, pSt_New, pSt_Old);
                    StandIns().SigAction = pfnThis;
                    return nResult;
                };
            };
            if (Fails == "SIGINT")
                RefuseSignal(SIGINT);
            else if (Fails == "SIGQUIT")
                RefuseSignal(SIGQUIT);
            else if (Fails == "the mask")
                StandIns().SigProcMask = [=](int, const sigset_t*, sigset_t*) {
                    return Refuse();
                };
            else
                StandIns().Fork = Refuse;
            EXPECT_FALSE(SystemApi_System_SystemEx("true", 1));
            int nErrno = 0;
            EXPECT_EQ(SystemApi_GetLastError(&nErrno), st_Row.dwCode);
            EXPECT_EQ(nErrno, EAGAIN);
            StandIns() = {};
            EXPECT_EQ(IsIgnored(SIGINT), st_Row.bInterruptIgnored);
            EXPECT_EQ(IsIgnored(SIGQUIT), st_Row.bQuitIgnored);
            EXPECT_EQ(IsBlocked(SIGCHLD), st_Row.bChildBlocked);
        });
    }
    EXPECT_FALSE(SystemApi_System_SystemEx(nullptr, 1));
    EXPECT_EQ(SystemApi_GetLastError(nullptr), ERROR_SYSTEMAPI_SYSTEM_SYSTEMEX_PARAMETER);
}
} // namespace
