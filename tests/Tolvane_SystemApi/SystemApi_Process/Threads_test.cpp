#include "OwnProcess.h"

namespace
{
/// One thread's turn of everything that may run beside itself; the answers tell whether another's got in.
void AskEverything(int nThread)
{
    const std::string Mark = "thread " + std::to_string(nThread);
    char tszText[BASELIB_TEXT_SIZE] = {};
    int nNumber = 0;
    EXPECT_TRUE(SystemApi_Process_ReadCmdReturn(("echo " + Mark).c_str(), tszText, 0, 0, &nNumber));
    EXPECT_EQ(tszText, Mark + "\n");

    unsigned long nChild = 0;
    ASSERT_TRUE(SystemApi_Process_CreateProcess(&nChild, "/bin/sh", "-c :", false));
    EXPECT_EQ(waitpid(static_cast<pid_t>(nChild), nullptr, 0), static_cast<pid_t>(nChild));

    tag_SystemApi_Process_Infomation st_Info = {};
    EXPECT_TRUE(SystemApi_Process_GetProcessInfo(&st_Info, nullptr, 0));
    EXPECT_STREQ(st_Info.tszUserName, "root");
    TOLVANE_LIBTIME st_Time = {};
    EXPECT_TRUE(SystemApi_Process_GetUpTime(&st_Time, 0));
    EXPECT_GT(st_Time.nYear, 2000);
    EXPECT_TRUE(SystemApi_Process_GetProcessCpuUsage(&nNumber, 0));

    const std::wstring Wide(40, static_cast<wchar_t>(L'\u0430' + nThread));
    char tszUtf8[BASELIB_TEXT_SIZE] = {};
    EXPECT_TRUE(BaseLib_Charset_UnicodeToUTF(Wide.c_str(), tszUtf8, &nNumber, nullptr));
    EXPECT_TRUE(BaseLib_Charset_UnicodeToAnsi(Wide.c_str(), tszText, &nNumber, nullptr));
    EXPECT_STREQ(tszUtf8, tszText);

    // Failures meet in the one error pair: any thread's code may stand there, errno is this thread's own.
    EXPECT_FALSE(SystemApi_Process_GetPath(tszText, -1));
    EXPECT_NE(SystemApi_GetLastError(&nNumber), 0U);
    EXPECT_EQ(nNumber, ENOENT);
}

TEST(Threads, EightAskEverythingAtOnce)
{
    std::vector<std::jthread> Threads;
    for (int nThread = 0; nThread < 8; ++nThread)
        Threads.emplace_back([nThread] {
            for (int nTurn = 0; nTurn < 5; ++nTurn)
                AskEverything(nThread);
        });
}
} // namespace
