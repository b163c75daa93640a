#include "OwnProcess.h"
#include "Sandbox.h"

#include <cstring>
#include <gmock/gmock.h>
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

TEST(ProcessInfo, EntriesAreRunAndTheirTextIsScanned)
{
    const std::string LongName = "(" + std::string(5000, 'n');
    const struct
    {
        const char* lpszWhy;
        std::string Stat; // after the id
        std::string Memory;
        int nThreads;
        std::string Name;
        int nState;
        int nVirtual, nResident, nShared;
    } st_Rows[] = {
        {"all fields", " (bash) S" + StatRest("20"), "1003 502 7 1 0 9 0", 20, "(bash)", 1, 250, 125, 1},
        {"the low half of a thread count", " (a) R" + StatRest("4294967299"), "4 8 12 0 0 0 0", 3, "(a)", 0, 1, 2, 3},
        {"a blank in the name shifts the rest", " (tmux: server) S" + StatRest("20"), "8", 0, "(tmux:", 6, 2, 0, 0},
        {"division towards zero", " (z) Z" + StatRest("1"), "-9 -4 -3 0 0 0 0", 1, "(z)", 3, -2, -1, 0},
        {"a text that is cut at the buffer", " " + LongName, "x", 0, LongName, 6, 0, 0, 0},
    };
    for (const auto& st_Row : st_Rows)
    {
        SCOPED_TRACE(st_Row.lpszWhy);
        RunSandboxed([&] {
            // The stat text of the process that is asked for names another one, whose login uid is the one that counts.
            const COwnProcess m_Asked;
            const COwnProcess m_Parsed;
            const std::string ParsedId = std::to_string(m_Parsed.Pid());
            FakeFile("/etc/passwd", "root:x:0:0::/root:/bin/sh\nalice:x:4242:1::/:/bin/sh\n");
            FakeFile(m_Asked.Entry("stat").c_str(), Printing(ParsedId + st_Row.Stat));
            FakeFile(m_Asked.Entry("statm").c_str(), Printing(st_Row.Memory));
            FakeFile(m_Asked.Entry("loginuid").c_str(), "0");
            FakeFile(m_Parsed.Entry("loginuid").c_str(), "4242");

            tag_SystemApi_Process_Infomation st_Info = {};
            ASSERT_TRUE(SystemApi_Process_GetProcessInfo(&st_Info, nullptr, m_Asked.Pid()));
            EXPECT_FALSE(SystemApi_IsErrorOccur);
            EXPECT_EQ(st_Info.nPid, m_Parsed.Pid());
            EXPECT_EQ(st_Info.nThreadCount, st_Row.nThreads);
            EXPECT_EQ(st_Info.tszAppName, st_Row.Name.substr(0, 1023 - ParsedId.size() - 1));
            EXPECT_STREQ(st_Info.tszUserName, "alice");
            EXPECT_EQ(st_Info.nAppState, st_Row.nState);
            EXPECT_EQ(st_Info.nVirtualMem, st_Row.nVirtual);
            EXPECT_EQ(st_Info.nResidentMem, st_Row.nResident);
            EXPECT_EQ(st_Info.nSharedMem, st_Row.nShared);
        });
    }
}

TEST(ProcessInfo, TheLoginUidHasANameOfAnyLengthOrNone)
{
    const std::string LongName(3000, 'u');
    const struct
    {
        const char* lpszLogin;
        bool bFound;
        std::string Name;
    } st_Rows[] = {{"4294967295", false, "before"}, {"4242", true, LongName.substr(0, 1023)}, {"none", true, "root"}};
    for (const auto& st_Row : st_Rows)
    {
        SCOPED_TRACE(st_Row.lpszLogin);
        RunSandboxed([&] {
            const COwnProcess m_Asked;
            FakeFile("/etc/passwd", "root:x:0:0::/:/bin/sh\n" + LongName + ":x:4242:1::/:/bin/sh\n");
            FakeFile(m_Asked.Entry("stat").c_str(),
                     Printing(std::to_string(m_Asked.Pid()) + " (a) T" + StatRest("1")));
            FakeFile(m_Asked.Entry("statm").c_str(), Printing("4 8 12 0 0 0 0"));
            FakeFile(m_Asked.Entry("loginuid").c_str(), st_Row.lpszLogin);
            tag_SystemApi_Process_Infomation st_Info = {};
            std::strcpy(st_Info.tszUserName, "before");
            EXPECT_EQ(SystemApi_Process_GetProcessInfo(&st_Info, nullptr, m_Asked.Pid()), st_Row.bFound);
            EXPECT_EQ(SystemApi_GetLastError(nullptr), st_Row.bFound ? 0 : ERROR_SYSTEMAPI_PROCESS_GETINFO_USER);
            EXPECT_EQ(st_Info.tszUserName, st_Row.Name);
            EXPECT_EQ(st_Info.nAppState, 4) << "written either way";
            EXPECT_EQ(st_Info.nSharedMem, 3);
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
        EXPECT_EQ(st_Info.nThreadCount, 0);
        EXPECT_STREQ(st_Info.tszAppName, "");
        EXPECT_STREQ(st_Info.tszUserName, "root");
        EXPECT_EQ(st_Info.nAppState, 6);
        EXPECT_EQ(st_Info.nVirtualMem | st_Info.nResidentMem | st_Info.nSharedMem, 0);
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
    for (std::size_t nRefused = 0; nRefused < 4; ++nRefused)
    {
        SCOPED_TRACE(nRefused);
        std::size_t nCommand = 0;
        StandIns().Popen = [&](const char*) {
            return nCommand++ != nRefused;
        };
        tag_SystemApi_Process_Infomation st_Info;
        std::memset(&st_Info, 0x55, sizeof(st_Info));
        ExpectFailed(SystemApi_Process_GetProcessInfo(&st_Info, "wanted", 0), ERROR_SYSTEMAPI_PROCESS_READCMD_POPEN,
                     EMFILE);
        const auto Written = [](int nField) {
            return nField != 0x55555555;
        };
        EXPECT_EQ(Written(st_Info.nPid), nRefused > 1);
        EXPECT_EQ(Written(st_Info.nAppState), nRefused > 1);
        EXPECT_EQ(st_Info.tszAppName[0] == '\0', nRefused > 1);
        EXPECT_EQ(Written(st_Info.nVirtualMem), nRefused > 2);
        EXPECT_EQ(Written(st_Info.nSharedMem), nRefused > 2);
        EXPECT_EQ(st_Info.tszUserName[0], 0x55);
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
