#include "Fakes.h"
#include "Sandbox.h"
#include "StandIns.h"
#include "SystemApi_Process/CommandOutput.h"

#include <Tolvane_SystemApi.h>

#include <csignal>
#include <cstring>
#include <dirent.h>
#include <gtest/gtest.h>
#include <memory>
#include <optional>
#include <spawn.h>
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
    EXPECT_TRUE(SystemApi_Process_ReadCmdReturn(Command.c_str(), Buffer.data(), nReadLines, nStartLine,
                                                &st_Captured.nLength));
    EXPECT_FALSE(SystemApi_IsErrorOccur);
    st_Captured.Text = Buffer.data();
    return st_Captured;
}

std::string Xs(std::size_t nCount)
{
    return std::string(nCount, 'x');
}

std::size_t OpenDescriptors()
{
    const std::unique_ptr<DIR, int (*)(DIR*)> m_Folder(opendir("/proc/self/fd"), closedir);
    std::size_t nCount = 0;
    while (readdir(m_Folder.get()))
        ++nCount;
    return nCount;
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
        {"standard error is not captured", "echo a; echo b >&2 2>/dev/null", 0, 0, "a\n"},
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
    const std::string Text = Capture("seq 1 100000", 0, 0).Text;
    EXPECT_EQ(Text.size(), 588895U);
    EXPECT_EQ(Text.substr(Text.size() - 13), "99999\n100000\n");
    EXPECT_EQ(Capture("seq 1 100000", 2, 99998).Text, "99998\n99999\n");
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
    EXPECT_TRUE(SystemApi_Process_ReadCmdReturn("echo a", tszBuffer, 0, 9, nullptr));
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
        const std::size_t nBefore = OpenDescriptors();
        Capture("yes", 1, 1);
        Capture("true", 0, 0);
        EXPECT_EQ(OpenDescriptors(), nBefore);
        EXPECT_EQ(waitpid(-1, nullptr, WNOHANG), -1) << "no child is left";
    });
}

// The command ends only when nobody else holds the reading end of its pipe.
TEST(ReadCmdReturn, EndsWithTheLimitWhateverElseTheProcessStarted)
{
    RunInChild([] {
        std::optional<CCommandOutput> m_Endless("yes");
        std::string_view Piece;
        ASSERT_TRUE(m_Endless->ReadPiece(Piece));
        EXPECT_EQ(Piece, "y\n");
        char tszSleep[] = "sleep";
        char tszTime[] = "60";
        char* const pptszArgs[] = {tszSleep, tszTime, nullptr};
        pid_t nPid = 0;
        ASSERT_EQ(posix_spawnp(&nPid, tszSleep, nullptr, nullptr, pptszArgs, environ), 0);
        StandIns().Own.insert(nPid);
        m_Endless.reset(); // waits for sleep too, where the pipe leaked into it
        EXPECT_EQ(waitpid(nPid, nullptr, WNOHANG), 0) << "the other program still runs";
        kill(nPid, SIGKILL);
        waitpid(nPid, nullptr, 0);
    });
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

TEST(ReadCommand, CutsWhatDoesNotFitItsBound)
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
}

TEST(ReadCommand, StopsAtTheFirstNullCharacterWhereAsked)
{
    char tszText[16] = {};
    EXPECT_TRUE(ReadCommand("printf 'a\\nb\\0c\\nd'", CAPTURE_TARGET{tszText, sizeof(tszText), true}));
    EXPECT_STREQ(tszText, "a\nb");
}
} // namespace
