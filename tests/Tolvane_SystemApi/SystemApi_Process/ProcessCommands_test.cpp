// SPDX-License-Identifier: MIT
// The operations that learn what they tell from commands.
#include "OwnProcess.h"
#include "Sandbox.h"

#include <cstring>
#include <sstream>
#include <tuple>
#include <unistd.h>

namespace
{
/// An operation, with what it gave as text.
using Operation = bool (*)(const char* lpszName, int nPid, std::ostream& Given);

bool Usage(const char*, int nPid, std::ostream& Given)
{
    int nUsage = -7;
    const bool bResult = SystemApi_Process_GetProcessCpuUsage(&nUsage, nPid);
    Given << nUsage;
    return bResult;
}

bool StartTime(const char*, int nPid, std::ostream& Given)
{
    TOLVANE_LIBTIME st_Time = {7, 7, 7, 7, 7, 7};
    const bool bResult = SystemApi_Process_GetUpTime(&st_Time, nPid);
    Given << st_Time.nYear << ' ' << st_Time.nMonth << ' ' << st_Time.nDay << ' ' << st_Time.nHour << ' '
          << st_Time.nMinute << ' ' << st_Time.nSecond;
    return bResult;
}

bool Stopped(const char* lpszName, int nPid, std::ostream& Given)
{
    StandIns().Kill = [&](pid_t nSignalled, int) {
        Given << nSignalled;
        return 0;
    };
    return SystemApi_Process_Stop(lpszName, nPid, false);
}

bool Info(const char* lpszName, int nPid, std::ostream& Given)
{
    tag_SystemApi_Process_Infomation st_Info = {7, 7, "before", "before", 7, 7, 7, 7};
    const bool bResult = SystemApi_Process_GetProcessInfo(&st_Info, lpszName, nPid);
    Given << st_Info.nPid << ' ' << st_Info.nThreadCount << ' ' << st_Info.tszAppName << ' ' << st_Info.tszUserName
          << ' ' << st_Info.nAppState << ' ' << st_Info.nVirtualMem << ' ' << st_Info.nResidentMem << ' '
          << st_Info.nSharedMem;
    return bResult;
}

TEST(ProcessInfo, EntriesAreRunAndTheirTextIsScanned)
{
    const std::string Parent = " 1 2 3 4 5 6 7 8 9 10 11 12 13 14 15 16 "; // up to the number of threads
    const std::string Last = " 0 1 2 3 18446744073709551615 5 6 7 8 9 0 1 2 3 4 5 6 7 8 9 0 1 2 3";
    const std::string Cut(1017, 'n'); // behind the id and the bracket
    const std::string User(3000, 'u');
    const std::tuple<const char*, std::string, std::string, std::string, unsigned long, std::string> Rows[] = {
#include "../../data/ProcessInfo.inc"
    };
    RunSandboxed([&] {
        FakeFile("/etc/passwd", "root:x:0:0::/:/bin/sh\nalice:x:1:1::/:/bin/sh\n" + User + ":x:2:1::/:/bin/sh\n");
        for (const auto& [lpszWhy, Stat, Memory, Login, dwCode, Expected] : Rows)
        {
            SCOPED_TRACE(lpszWhy);
            // The text of the process that is asked for names another one, whose login uid is the one that counts.
            const COwnProcess m_Asked;
            FakeFile(m_Asked.Entry("stat").c_str(), "#!/bin/sh\necho '1000 (" + Stat + "'\n");
            FakeFile(m_Asked.Entry("statm").c_str(), "#!/bin/sh\necho '" + Memory + "'\n");
            const CFakeTools m_Tools;
            m_Tools.Add("cat", "[ $* = /proc/1000/loginuid ] && echo " + Login);
            SystemApi_dwErrorCode = 0;
            std::ostringstream Given;
            EXPECT_EQ(Info(nullptr, m_Asked.Pid(), Given), dwCode == 0);
            EXPECT_EQ(SystemApi_dwErrorCode, dwCode);
            EXPECT_EQ(Given.str(), Expected);
        }
    });
}

TEST(Commands, RunAndAreReadInEachOperationsOwnWay)
{
    constexpr std::size_t nAll = 9;
    const std::string LongestName(1023 - std::strlen("ps -aux | grep  | grep -v grep | awk '{print $2}'"), 'x');
    const std::string TooLongName = LongestName + "x";
    const std::string CutName(2000, 'x');
    using Texts = std::vector<std::string>;
    RunInChild([&] {
        const std::string Own = std::to_string(getpid());
        const std::tuple<const char*, Operation, const char*, int, std::string, std::size_t, Texts, unsigned long,
                         const char*>
            Rows[] = {
#include "../../data/ProcessCommands.inc"
            };
        setenv("TZ", "CET-1CEST,M3.5.0,M10.5.0/3", 1);
        for (const auto& [lpszWhy, pfnAsk, lpszName, nPid, Listing, nStarted, Expected, dwCode, lpszGiven] : Rows)
        {
            SCOPED_TRACE(lpszWhy);
            const CFakeTools m_Tools;
            m_Tools.Add("ps", "printf '" + Listing + "'");
            Texts Commands;
            StandIns().Popen = [&, nStarted = nStarted](const char* lpszCmd) {
                Commands.emplace_back(lpszCmd);
                return Commands.size() <= nStarted;
            };
            SystemApi_dwErrorCode = 0;
            std::ostringstream Given;
            EXPECT_EQ(pfnAsk(lpszName, nPid, Given), dwCode == 0);
            EXPECT_TRUE(nStarted == nAll || errno == EMFILE) << errno;
            EXPECT_EQ(SystemApi_dwErrorCode, dwCode);
            EXPECT_EQ(Given.str(), lpszGiven);
            EXPECT_EQ(Commands, Expected);
        }
    });
}
} // namespace
