#include "Fakes.h"
#include "Sandbox.h"
#include "SystemApi_Process/CommandOutput.h"

#include <Tolvane_SystemApi.h>

#include <climits>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <dirent.h>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <map>
#include <memory>
#include <pthread.h>
#include <string>
#include <sys/time.h>
#include <sys/wait.h>
#include <vector>

namespace
{
struct CAPTURED
{
    std::string Text;
    int nLength = -1;
};

CAPTURED Capture(const std::string& Command, int nReadLines, int nStartLine, const std::string& Before = {})
{
    std::vector<char> Buffer(1 << 20);
    Before.copy(Buffer.data(), Before.size());
    CAPTURED st_Captured;
    SystemApi_IsErrorOccur = true;
    SystemApi_dwErrorCode = 4711;
    EXPECT_TRUE(SystemApi_Process_ReadCmdReturn(Command.c_str(), Buffer.data(), nReadLines, nStartLine,
                                                &st_Captured.nLength));
    EXPECT_FALSE(SystemApi_IsErrorOccur);
    EXPECT_EQ(SystemApi_dwErrorCode, 4711U) << "an earlier code stays";
    st_Captured.Text = Buffer.data();
    return st_Captured;
}

std::string Xs(std::size_t nCount)
{
    return std::string(nCount, 'x');
}

/// The open file descriptors, each with whether a program that is started now would inherit it.
std::map<int, bool> OpenDescriptors()
{
    const std::unique_ptr<DIR, int (*)(DIR*)> m_Folder(opendir("/proc/self/fd"), closedir);
    std::map<int, bool> Descriptors;
    while (const dirent* pSt_Entry = readdir(m_Folder.get()))
    {
        const int nFlags = fcntl(std::atoi(pSt_Entry->d_name), F_GETFD);
        Descriptors.emplace(std::atoi(pSt_Entry->d_name), nFlags != -1 && (nFlags & FD_CLOEXEC) == 0);
    }
    return Descriptors;
}

TEST(ReadCmdReturn, TakesTheRunOfLinesThatWasAskedFor)
{
    const std::string Long = "head -c 5000 /dev/zero | tr '\\0' x; echo; echo end";
    const struct
    {
        const char* lpszWhy;
        std::string Command;
        int nReadLines;
        int nStartLine;
        std::string Expected;
    } st_Rows[] = {
        {"all lines, ends of line kept", "printf 'a\\nb\\nc'", 0, 0, "a\nb\nc"},
        {"a negative limit is none", "printf 'a\\nb\\n'", -3, -1, "a\nb\n"},
        {"one line from the second", "printf 'a\\nb\\nc\\n'", 1, 2, "b\n"},
        {"a start behind the end", "printf 'a\\n'", 0, 2, ""},
        {"a limit above the number of lines", "printf 'a\\nb\\n'", 9, 2, "b\n"},
        {"a failing command that prints", "echo a; exit 3", 0, 0, "a\n"},
        {"a command that is not there", "exec 2>/dev/null; no-such-command-here", 0, 0, ""},
        {"standard error is not captured", "(echo a; echo b >&2) 2>/dev/null", 0, 0, "a\n"},
        {"a long line is several", Long, 1, 1, Xs(2047)},
        {"its second piece", Long, 1, 2, Xs(2047)},
        {"its rest, with the line end", Long, 1, 3, Xs(5000 - 2 * 2047) + "\n"},
        {"what follows it counts on", Long, 0, 4, "end\n"},
        {"a line end just behind a full piece", "head -c 2047 /dev/zero | tr '\\0' x; echo; echo z", 0, 2, "\nz\n"},
        {"each piece ends at its first null character", "printf 'ab\\0cd\\nef\\0gh\\n\\0\\nz'", 0, 0, "abefz"},
    };
    for (const auto& st_Row : st_Rows)
    {
        SCOPED_TRACE(st_Row.lpszWhy);
        const CAPTURED st_Captured = Capture(st_Row.Command, st_Row.nReadLines, st_Row.nStartLine, "kept ");
        EXPECT_EQ(st_Captured.Text, "kept " + st_Row.Expected);
        EXPECT_EQ(st_Captured.nLength, static_cast<int>(st_Row.Expected.size()));
    }
}

TEST(ReadCmdReturn, KeepsEveryByteOfALongOutput)
{
    std::string Expected;
    for (int nNumber = 1; nNumber <= 100000; ++nNumber)
        Expected += std::to_string(nNumber) + "\n";
    EXPECT_EQ(Capture("seq 1 100000", 0, 0).Text, Expected);
}

TEST(ReadCmdReturn, RefusesNullAndLeavesTheOutputsAlone)
{
    char tszBuffer[8] = "as is";
    int nLength = 77;
    for (const bool bCommandGiven : {false, true})
    {
        SystemApi_IsErrorOccur = false;
        EXPECT_FALSE(SystemApi_Process_ReadCmdReturn(bCommandGiven ? "echo a" : nullptr,
                                                     bCommandGiven ? nullptr : tszBuffer, 0, 0, &nLength));
        EXPECT_TRUE(SystemApi_IsErrorOccur);
        EXPECT_EQ(SystemApi_GetLastError(nullptr), ERROR_SYSTEMAPI_PROCESS_READCMD_PARAMETER);
    }
    EXPECT_STREQ(tszBuffer, "as is");
    EXPECT_EQ(nLength, 77);
}

TEST(ReadCmdReturn, APipeThatCannotBeOpenedKeepsItsErrno)
{
    RunInChild([] {
        const CNoDescriptors m_None;
        char tszBuffer[8] = "as is";
        int nLength = 77;
        int nErrno = 0;
        EXPECT_FALSE(SystemApi_Process_ReadCmdReturn("echo a", tszBuffer, 0, 0, &nLength));
        EXPECT_EQ(SystemApi_GetLastError(&nErrno), ERROR_SYSTEMAPI_PROCESS_READCMD_POPEN);
        EXPECT_EQ(nErrno, EMFILE);
        EXPECT_STREQ(tszBuffer, "as is");
        EXPECT_EQ(nLength, 77);
    });
}

TEST(ReadCmdReturn, LeavesNoDescriptorAndNoZombie)
{
    RunInChild([] {
        const auto Before = OpenDescriptors();
        EXPECT_EQ(Capture("yes", 2, 3).Text, "y\ny\n") << "the limit ends a command that never ends by itself";
        Capture("true", 0, 0);
        EXPECT_EQ(OpenDescriptors(), Before);
        EXPECT_EQ(waitpid(-1, nullptr, WNOHANG), -1) << "no child is left";
    });
}

// A command whose reader is gone is told so only where no other program holds the reading end.
TEST(ReadCmdReturn, NoProgramStartedMeanwhileInheritsThePipe)
{
    const auto Before = OpenDescriptors();
    const CCommandOutput m_Output("true");
    int nNew = 0;
    for (const auto& [nDescriptor, bInherited] : OpenDescriptors())
    {
        if (Before.count(nDescriptor) > 0)
            continue;
        ++nNew;
        EXPECT_FALSE(bInherited) << nDescriptor;
    }
    EXPECT_EQ(nNew, 1);
}

volatile sig_atomic_t nAlarms = 0;

TEST(ReadCmdReturn, ASignalHandlerWithoutRestartLosesNothing)
{
    RunInChild([] {
        struct sigaction st_Action = {};
        st_Action.sa_handler = [](int) {
            nAlarms = nAlarms + 1;
        };
        ASSERT_EQ(sigaction(SIGALRM, &st_Action, nullptr), 0);
        const itimerval st_Often = {{0, 2000}, {0, 2000}};
        ASSERT_EQ(setitimer(ITIMER_REAL, &st_Often, nullptr), 0);
        const std::string Text =
            Capture("for i in 1 2 3 4 5 6 7 8; do printf ab; sleep 0.02; printf 'c\\n'; done", 0, 0).Text;
        EXPECT_EQ(Text, "abc\nabc\nabc\nabc\nabc\nabc\nabc\nabc\n");
        EXPECT_GT(nAlarms, 10);
    });
}

TEST(ReadCommand, CutsWhatDoesNotFitItsBoundAndEndsAtANullWhereAsked)
{
    struct
    {
        char tszText[8];
        char chGuard;
    } st_Buffer = {"ab", 'G'};
    const CAPTURE_TARGET st_Target{st_Buffer.tszText, sizeof(st_Buffer.tszText), false};
    int nLength = 0;
    EXPECT_TRUE(ReadCommand("printf '12\\n45\\n78\\n'", st_Target, 0, 1, &nLength));
    EXPECT_STREQ(st_Buffer.tszText, "ab12\n45");
    EXPECT_EQ(nLength, 5);
    EXPECT_TRUE(ReadCommand("echo more", st_Target));
    EXPECT_STREQ(st_Buffer.tszText, "ab12\n45") << "a full buffer stays as it is";

    std::memset(st_Buffer.tszText, 'u', sizeof(st_Buffer.tszText));
    EXPECT_TRUE(ReadCommand("echo more", st_Target)) << "a buffer without an end has no room";
    EXPECT_EQ(std::string(st_Buffer.tszText, sizeof(st_Buffer.tszText)), "uuuuuuuu");
    EXPECT_EQ(st_Buffer.chGuard, 'G');

    char tszText[16] = {};
    EXPECT_TRUE(ReadCommand("printf 'a\\nb\\0c\\nd'", CAPTURE_TARGET{tszText, sizeof(tszText), true}));
    EXPECT_STREQ(tszText, "a\nb") << "the first null character ends it where asked";
}

#if !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__) // they need more stack themselves
TEST(ReadCmdReturn, FitsTheSmallestStackOfAThread)
{
    pthread_attr_t st_Attributes;
    ASSERT_EQ(pthread_attr_init(&st_Attributes), 0);
    ASSERT_EQ(pthread_attr_setstacksize(&st_Attributes, static_cast<std::size_t>(PTHREAD_STACK_MIN)), 0);
    pthread_t nThread = 0;
    const auto pfnCapture = [](void*) -> void* {
        char tszText[16] = {};
        SystemApi_Process_ReadCmdReturn("echo done", tszText, 0, 0, nullptr);
        tag_SystemApi_Memory_Infomation st_Memory = {};
        SystemApi_System_GetMemoryUsage(&st_Memory, 1);
        const bool bDone = std::strcmp(tszText, "done\n") == 0 && st_Memory.nMemoryTotal > 0;
        return bDone ? &SystemApi_IsErrorOccur : nullptr;
    };
    ASSERT_EQ(pthread_create(&nThread, &st_Attributes, pfnCapture, nullptr), 0);
    void* pResult = nullptr;
    ASSERT_EQ(pthread_join(nThread, &pResult), 0);
    EXPECT_NE(pResult, nullptr);
    pthread_attr_destroy(&st_Attributes);
}
#endif
} // namespace
