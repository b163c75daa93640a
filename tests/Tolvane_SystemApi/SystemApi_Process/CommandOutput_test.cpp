// SPDX-License-Identifier: MIT
#include "GuardedText.h"
#include "Sandbox.h"
#include "SystemApi_Process/CommandOutput.h"

#include <Tolvane_SystemApi.h>

#include <climits>
#include <csignal>
#include <cstring>
#include <fcntl.h>
#include <map>
#include <pthread.h>
#include <sys/time.h>
#include <sys/wait.h>
#include <tuple>
#include <vector>

namespace
{
/// How many file descriptors have which flags: 0 where a program that is started now inherits it.
std::map<int, int> CountDescriptors()
{
    std::map<int, int> Count;
    for (int nDescriptor = 0; nDescriptor < 1024; ++nDescriptor)
        ++Count[fcntl(nDescriptor, F_GETFD)];
    return Count;
}

TEST(ReadCmdReturn, TakesTheRunOfLinesThatWasAskedForWhateverInterrupts)
{
    const std::string LongLine = "head -c 5000 /dev/zero | tr '\\0' x; echo; echo end";
    std::string Numbers;
    for (int nNumber = 1; nNumber <= 100000; ++nNumber)
        Numbers += std::to_string(nNumber) + "\n";
    const std::tuple<const char*, std::string, int, int, std::string> Rows[] = {
#include "../../data/CommandOutput.inc"
    };
    RunInChild([&] {
        struct sigaction st_Action = {}; // without SA_RESTART
        st_Action.sa_handler = [](int) {
        };
        sigaction(SIGALRM, &st_Action, nullptr);
        const itimerval st_Often = {{0, 2000}, {0, 2000}};
        ASSERT_EQ(setitimer(ITIMER_REAL, &st_Often, nullptr), 0);
        const auto Descriptors = CountDescriptors();
        for (const auto& [lpszWhy, Command, nReadLines, nStartLine, Expected] : Rows)
        {
            SCOPED_TRACE(lpszWhy);
            std::vector<char> Buffer(1 << 20);
            std::strcpy(Buffer.data(), "kept ");
            int nLength = -1;
            SystemApi_IsErrorOccur = true;
            errno = EINTR; // of an earlier call: the output's end is its end
            EXPECT_TRUE(
                SystemApi_Process_ReadCmdReturn(Command.c_str(), Buffer.data(), nReadLines, nStartLine, &nLength));
            EXPECT_FALSE(SystemApi_IsErrorOccur);
            EXPECT_EQ(Buffer.data(), "kept " + Expected);
            EXPECT_EQ(nLength, static_cast<int>(Expected.size()));
        }
        EXPECT_EQ(CountDescriptors(), Descriptors);
        EXPECT_EQ(waitpid(-1, nullptr, WNOHANG), -1) << "a child is left";
    });
}

// A command whose reader is gone is told so only where no other program holds the reading end.
TEST(ReadCmdReturn, NoProgramStartedMeanwhileInheritsThePipe)
{
    const int nInherited = CountDescriptors()[0];
    const CCommandOutput m_Output("true");
    EXPECT_EQ(CountDescriptors()[0], nInherited);
}

TEST(ReadCommand, CutsWhatDoesNotFitItsBoundAndEndsAtANullWhereAsked)
{
    const std::tuple<const char*, const char*, bool, const char*> Rows[] = {
        {"ab", "printf '12\\n45\\n78\\n'", false, "ab12\n45"},
        {"ab12\n45", "echo more", false, "ab12\n45"},
        {"ab", "seq 100000", false, "ab1\n2\n3"},
        {"ab", "printf '1\\n\\0002\\n3'", true, "ab1\n"}};
    for (const auto& [lpszBefore, lpszCmd, bFirstNulEnds, lpszExpected] : Rows)
    {
        CGuardedText<char, 8> m_Text(lpszBefore);
        int nLength = -1;
        EXPECT_TRUE(ReadCommand(lpszCmd, CAPTURE_TARGET{m_Text, 8, bFirstNulEnds}, 0, 1, &nLength));
        EXPECT_EQ(m_Text.Text(), lpszExpected);
        EXPECT_EQ(nLength, static_cast<int>(std::strlen(lpszExpected) - std::strlen(lpszBefore)));
    }
    char tszUnended[] = {'u', 'u', 'G'};
    EXPECT_TRUE(ReadCommand("echo more", CAPTURE_TARGET{tszUnended, 2, false})) << "it has no room";
    EXPECT_EQ(std::string(tszUnended, 3), "uuG");
}

TEST(ReadPieces, GoesOnWhereNoMemoryIsLeft)
{
    CCommandOutput m_Output("seq 100000 100 9999999");
    rlimit st_Before = {};
    getrlimit(RLIMIT_AS, &st_Before);
    const rlimit st_None = {1, st_Before.rlim_max};
    setrlimit(RLIMIT_AS, &st_None);
    errno = 0;
    std::size_t nBytes = 0;
    for (std::string_view Pieces; m_Output.ReadPieces(Pieces);)
        nBytes += Pieces.size();
    setrlimit(RLIMIT_AS, &st_Before);
    EXPECT_EQ(nBytes, 9000U * 7 + 90000U * 8);
    EXPECT_EQ(errno, 0);
}

#if !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__) // they need more stack themselves
TEST(ReadCmdReturn, FitsTheSmallestStackOfAThread)
{
    pthread_attr_t st_Attributes;
    ASSERT_EQ(pthread_attr_init(&st_Attributes), 0);
    ASSERT_EQ(pthread_attr_setstacksize(&st_Attributes, static_cast<std::size_t>(PTHREAD_STACK_MIN)), 0);
    pthread_t nThread = 0;
    char tszText[16] = {};
    const auto pfnCapture = [](void* ptszText) -> void* {
        tag_SystemApi_Memory_Infomation st_Memory = {};
        SystemApi_System_GetMemoryUsage(&st_Memory, 1);
        SystemApi_Process_ReadCmdReturn("seq 100000", static_cast<char*>(ptszText), 0, 100000, nullptr);
        return nullptr;
    };
    ASSERT_EQ(pthread_create(&nThread, &st_Attributes, pfnCapture, tszText), 0);
    ASSERT_EQ(pthread_join(nThread, nullptr), 0);
    EXPECT_STREQ(tszText, "100000\n");
    pthread_attr_destroy(&st_Attributes);
}
#endif
} // namespace
