#include "OwnProcess.h"
#include "Sandbox.h"

#include <cstring>
#include <gmock/gmock.h>
#include <sstream>
#include <unistd.h>

namespace
{
std::string Printing(const std::string& Text)
{
    return "#!/bin/sh\nprintf '%s\\n' '" + Text + "'\n";
}

/// The rest of a stat text, from the fourth field on: parent 1, the given number of threads, and the last fields.
std::string StatRest(const std::string& Threads)
{
    return " 1 2 3 4 5 6 7 8 9 10 11 12 13 14 15 16 " + Threads +
           " 0 21 22 23 18446744073709551615 25 26 27 28 29 30 31 32 33 34 35 36 37 38 39 40 41 42 43";
}

/// All but the id: "threads name user state virtual resident shared".
std::string Shown(const tag_SystemApi_Process_Infomation& st_Info)
{
    std::ostringstream Text;
    Text << st_Info.nThreadCount << ' ' << st_Info.tszAppName << ' ' << st_Info.tszUserName << ' '
         << st_Info.nAppState << ' ' << st_Info.nVirtualMem << ' ' << st_Info.nResidentMem << ' '
         << st_Info.nSharedMem;
    return Text.str();
}

TEST(ProcessInfo, EntriesAreRunAndTheirTextIsScanned)
{
    const std::string Cut(1017, 'n'); // behind the id and the bracket
    const std::string User(3000, 'u');
    const struct
    {
        const char* lpszWhy;
        std::string Stat, Memory, Login; // what the entries hold; the first after the id
        std::string Expected;
    } st_Rows[] = {
        {"all fields", " (bash) S" + StatRest("20"), "1003 502 7 1 0 9 0", "1", "20 (bash) alice 1 250 125 1"},
        {"the low half", " (a) R" + StatRest("4294967299"), "4 8 12 0 0 0 0", "1", "3 (a) alice 0 1 2 3"},
        {"a blank shifts the rest", " (tmux: server) S" + StatRest("20"), "8", "1", "0 (tmux: alice 6 2 0 0"},
        {"towards zero", " (z) Z" + StatRest("1"), "-9 -4 -3 0 0 0 0", "1", "1 (z) alice 3 -2 -1 0"},
        {"cut at the buffer", " (" + Cut + Cut, "x", "1", "0 (" + Cut + " alice 6 0 0 0"},
        {"no login uid", " (a) D" + StatRest("1"), "4 8 12 0 0 0 0", "none", "1 (a) root 2 1 2 3"},
        {"a long user", " (a) T" + StatRest("1"), "4", "2", "1 (a) " + User.substr(0, 1023) + " 4 1 0 0"},
        {"no user: the rest is written", " (a) W" + StatRest("1"), "4", "4294967295", "1 (a) before 5 1 0 0"},
    };
    for (const auto& st_Row : st_Rows)
    {
        SCOPED_TRACE(st_Row.lpszWhy);
        RunSandboxed([&] {
            // The text of the process that is asked for names another one, whose login uid is the one that counts.
            const COwnProcess m_Asked;
            FakeFile("/etc/passwd", "root:x:0:0::/:/bin/sh\nalice:x:1:1::/:/bin/sh\n" + User + ":x:2:1::/:/bin/sh\n");
            FakeFile(m_Asked.Entry("stat").c_str(), Printing("1000" + st_Row.Stat));
            FakeFile(m_Asked.Entry("statm").c_str(), Printing(st_Row.Memory));
            const CFakeTools m_Tools;
            m_Tools.Add("cat", "[ $* = /proc/1000/loginuid ] && echo " + st_Row.Login);
            tag_SystemApi_Process_Infomation st_Info = {};
            std::strcpy(st_Info.tszUserName, "before");
            const bool bFound = st_Row.Login != "4294967295";
            EXPECT_EQ(SystemApi_Process_GetProcessInfo(&st_Info, nullptr, m_Asked.Pid()), bFound);
            EXPECT_EQ(SystemApi_GetLastError(nullptr), bFound ? 0 : ERROR_SYSTEMAPI_PROCESS_GETINFO_USER);
            EXPECT_EQ(st_Info.nPid, 1000);
            EXPECT_EQ(Shown(st_Info), st_Row.Expected);
        });
    }
}

TEST(ProcessInfo, AsEverywhereElseTheEntriesCannotBeRun)
{
    RunInChild([] {
        tag_SystemApi_Process_Infomation st_Info;
        std::memset(&st_Info, 0x55, sizeof(st_Info));
        ASSERT_TRUE(SystemApi_Process_GetProcessInfo(&st_Info, nullptr, 0));
        EXPECT_EQ(st_Info.nPid, 0);
        EXPECT_EQ(Shown(st_Info), "0  root 6 0 0 0");
    });
}

TEST(ProcessInfo, ChoosesTheProcess)
{
    const struct
    {
        const char* lpszWhy;
        const char* lpszName;
        int nPid;
        const char* lpszListing;
        std::string Folder;
    } st_Rows[] = {
        {"no name, no id: the caller", nullptr, 0, "", "/proc/" + std::to_string(getpid())},
        {"any other id", nullptr, -5, "", "/proc/-5"},
        {"a name wins, with its first line", "wanted", 99, "u 10 other\nu 11 wanted\nu 12 wanted", "/proc/11"},
        {"the heading holds no number", "PID", 99, "UID PID PPID", "/proc/self"},
    };
    for (const auto& st_Row : st_Rows)
    {
        SCOPED_TRACE(st_Row.lpszWhy);
        const CFakeTools m_Tools;
        m_Tools.Add("ps", std::string("printf '%s\\n' '") + st_Row.lpszListing + "'");
        const auto& Commands = NoteCommands();
        tag_SystemApi_Process_Infomation st_Info = {};
        EXPECT_TRUE(SystemApi_Process_GetProcessInfo(&st_Info, st_Row.lpszName, st_Row.nPid));
        std::vector<std::string> Expected{st_Row.Folder + "/stat", st_Row.Folder + "/statm", "cat /proc/0/loginuid"};
        if (st_Row.lpszName)
            Expected.insert(Expected.begin(),
                            std::string("ps -ef | grep ") + st_Row.lpszName + " | awk '{print $2}'");
        EXPECT_EQ(Commands, Expected);
        StandIns() = {};
    }
}

TEST(ProcessInfo, ANameThatNobodyHasFindsItsOwnLookup)
{
    const auto& Commands = NoteCommands();
    tag_SystemApi_Process_Infomation st_Info = {};
    EXPECT_TRUE(SystemApi_Process_GetProcessInfo(&st_Info, "no-such-process-6bd1", 0));
    ASSERT_EQ(Commands.size(), 4U);
    EXPECT_THAT(Commands[1], testing::MatchesRegex("/proc/[1-9][0-9]*/stat"));

    NoteCommands();
    EXPECT_TRUE(SystemApi_Process_GetProcessInfo(&st_Info, std::string(2000, 'x').c_str(), 0));
    ASSERT_EQ(Commands.size(), 4U);
    EXPECT_EQ(Commands[0], "ps -ef | grep " + std::string(1023 - 14, 'x')) << "cut at the buffer";
    EXPECT_EQ(Commands[1], "/proc/self/stat") << "the line begins with a user's name";
    StandIns() = {};
}

TEST(ProcessInfo, AFailureLeavesWhatItDidNotReach)
{
    const CFakeTools m_Tools;
    m_Tools.Add("ps", "echo root 11 wanted");
    const char* const lpszLeft[] = {"7 before before 7 7 7 7", "7 before before 7 7 7 7", "0  before 6 7 7 7",
                                    "0  before 6 0 0 0"};
    for (std::size_t nRefused = 0; nRefused < std::size(lpszLeft); ++nRefused)
    {
        SCOPED_TRACE(nRefused);
        std::size_t nCommand = 0;
        StandIns().Popen = [&](const char*) {
            return nCommand++ != nRefused;
        };
        tag_SystemApi_Process_Infomation st_Info = {7, 7, "before", "before", 7, 7, 7, 7};
        ExpectFailed(SystemApi_Process_GetProcessInfo(&st_Info, "wanted", 0), ERROR_SYSTEMAPI_PROCESS_READCMD_POPEN,
                     EMFILE);
        EXPECT_EQ(Shown(st_Info), lpszLeft[nRefused]);
    }
    StandIns() = {};

    m_Tools.Add("ps", ":");
    tag_SystemApi_Process_Infomation st_Info = {};
    st_Info.nPid = 7;
    EXPECT_FALSE(SystemApi_Process_GetProcessInfo(&st_Info, "wanted", 0));
    EXPECT_EQ(SystemApi_GetLastError(nullptr), ERROR_SYSTEMAPI_PROCESS_GETINFO_NOTFOUND);
    EXPECT_EQ(st_Info.nPid, 7);
    EXPECT_FALSE(SystemApi_Process_GetProcessInfo(nullptr, "wanted", 0));
    EXPECT_EQ(SystemApi_GetLastError(nullptr), ERROR_SYSTEMAPI_PROCESS_GETINFO_PARAMETER);
}
} // namespace
