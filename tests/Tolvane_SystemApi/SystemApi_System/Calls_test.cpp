#include "OwnProcess.h"
#include "Sandbox.h"
#include "SystemApi_System/SystemApi_System.h"

#include <algorithm>
#include <cstring>
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

/// What the calls write.
struct OUTPUTS
{
    char tszText[1024];
    unsigned long nNumber;
    int nCount;
    tag_SystemApi_Memory_Infomation st_Memory;
    TOLVANE_LIBTIME st_Time;
    tag_LinuxSdk_SystemCpu_Occupy st_Occupy;
    SYSTEMAPI_PROCESS_INFO** ppSt_List;
};

// The codes are numbers here, as programs hold them that were built before.
TEST(Failures, TellCodeAndErrnoAndWriteNothing)
{
    RunInChild([] {
        OUTPUTS st_Before;
        OUTPUTS st_Out;
        std::memset(&st_Before, 0x11, sizeof(st_Before));
        std::memset(&st_Out, 0x11, sizeof(st_Out));
        char* const ptszText = st_Out.tszText;
        unsigned long* const pnType = &st_Out.nNumber;

        errno = 0; // null arguments are no failure of a call
        ExpectFailed(SystemApi_System_GetSystemVer(nullptr, ptszText, ptszText, pnType, ptszText), 0x040A1001, 0);
        ExpectFailed(SystemApi_System_GetSystemVer(ptszText, nullptr, ptszText, pnType, ptszText), 0x040A1001, 0);
        ExpectFailed(SystemApi_System_GetSystemVer(ptszText, ptszText, nullptr, pnType, ptszText), 0x040A1001, 0);
        ExpectFailed(SystemApi_System_GetSystemVer(ptszText, ptszText, ptszText, nullptr, ptszText), 0x040A1001, 0);
        ExpectFailed(SystemApi_System_GetMemoryUsage(nullptr, 1), 0x040A1010, 0);
        ExpectFailed(SystemApi_System_GetCpuUsage(nullptr), 0x040A1020, 0);
        ExpectFailed(SystemApi_System_GetUpTime(nullptr), 0x040A1030, 0);
        ExpectFailed(SystemApi_System_GetProcessCount(nullptr), 0x040A1040, 0);
        ExpectFailed(SystemApi_System_SystemEx(nullptr, 1), 0x040A1060, 0);
        EXPECT_TRUE(SystemApi_System_WMIQuery("select", "field", ptszText, 1024)) << "does nothing, successfully";
        EXPECT_FALSE(SystemApi_IsErrorOccur);
        EXPECT_TRUE(SystemApi_System_WMIQuery(nullptr, nullptr, nullptr, -1));

        const auto Refuse = [](auto*) {
            errno = EFAULT;
            return -1;
        };
        StandIns().Uname = Refuse;
        StandIns().SysInfo = Refuse;
        StandIns().Time = std::numeric_limits<std::time_t>::max; // in no year that fits
        ExpectFailed(SystemApi_System_GetSystemVer(ptszText, ptszText, ptszText, pnType, ptszText), 0x040A1002,
                     EFAULT);
        ExpectFailed(SystemApi_System_GetProcessCount(&st_Out.nCount), 0x040A1041, EFAULT);
        ExpectFailed(SystemApi_System_GetUpTime(&st_Out.st_Time), 0x040A1032, EOVERFLOW);

        const CNoDescriptors m_None;
        ExpectFailed(SystemApi_System_GetMemoryUsage(&st_Out.st_Memory, 4), 0x040A1011, EMFILE);
        ExpectFailed(SystemApi_System_GetProcessList(&st_Out.ppSt_List, &st_Out.nCount), 0x040A3002, EMFILE);
        ExpectFailed(m_SystemSdk.SystemApi_System_Get_Occupy(&st_Out.st_Occupy), 0x040A10F0, EMFILE);
        ExpectFailed(SystemApi_System_GetCpuUsage(&st_Out.nCount), 0x040A10F0, EMFILE);
        ExpectFailed(SystemApi_System_GetSysIdleTime(&st_Out.nNumber), 0x040A10B1, EMFILE);

        EXPECT_EQ(std::memcmp(&st_Out, &st_Before, sizeof(st_Out)), 0);
    });
}
} // namespace
