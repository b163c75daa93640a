// SPDX-License-Identifier: MIT
#include "Fakes.h"
#include "Sandbox.h"
#include "StandIns.h"

#include <Tolvane_SystemApi.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <gmock/gmock.h>
#include <sstream>
#include <string>
#include <unistd.h>
#include <utility>
#include <vector>

namespace
{
/// The call has succeeded and cleared the error flag, which is set again for the next one.
void ExpectDone(bool bResult)
{
    EXPECT_TRUE(bResult);
    EXPECT_FALSE(SystemApi_IsErrorOccur);
    SystemApi_IsErrorOccur = true;
}

/// What the version call writes, joined by '|'.
std::string Version()
{
    char tszName[1024] = "name";
    char tszVersion[1024] = "version";
    char tszBuild[1024] = "build";
    std::string Kernel(13, '#');
    unsigned long dwType = 0;
    StandIns().Uname = [](utsname* pSt_Name) {
        std::strcpy(pSt_Name->release, "9.8.7-test");
        return 0;
    };
    ExpectDone(SystemApi_System_GetSystemVer(tszName, tszVersion, tszBuild, &dwType, Kernel.data()));
    EXPECT_EQ(Kernel, std::string("9.8.7-test\0##", 13)) << "no more is written";
    return std::string(tszName) + '|' + tszVersion + '|' + tszBuild + '|' + std::to_string(dwType);
}

TEST(SystemVersion, ReadsTheReleaseFileByTheBeginningsOfItsKeys)
{
    const std::string Filler = "HOME_URL=" + std::string(1100, 'u') + "\n";
    const struct
    {
        const char* lpszWhy;
        std::string Release, Expected;
    } st_Rows[] = {
#include "../../data/System/Releases.inc"
    };
    RunSandboxed([&] {
        for (const auto& st_Row : st_Rows)
        {
            FakeFile("/etc/os-release", st_Row.Release);
            EXPECT_EQ(Version(), st_Row.Expected + "|2") << st_Row.lpszWhy;
            LiftFakes();
        }
        FakeFolder("/etc");
        EXPECT_EQ(Version(), "name|version|build|2") << "no release file";
        char tszText[1024];
        unsigned long dwType = 0;
        ExpectDone(SystemApi_System_GetSystemVer(tszText, tszText, tszText, &dwType, nullptr));
        const CNoDescriptors m_None;
        EXPECT_EQ(Version(), "name|version|build|2") << "cat cannot be started";
        EXPECT_EQ(SystemApi_GetLastError(nullptr), ERROR_SYSTEMAPI_PROCESS_READCMD_POPEN) << "the code stays";
    });
}

TEST(SystemNames, AreTheEffectiveUsersAndTheHostsEachOptional)
{
    RunSandboxed([] {
        FakeFolder("/etc");
        std::ofstream("/etc/nsswitch.conf") << "passwd: files\n";
        std::ofstream("/etc/passwd") << "root:x:0:0:" << std::string(3000, 'n') << ":/:/bin/sh\n";
        char tszUser[1024] = "######";
        char tszHost[1024] = "";
        ExpectDone(SystemApi_System_GetSysName(nullptr, tszHost));
        EXPECT_EQ(tszHost + std::string("\n"), ReadWhole("/proc/sys/kernel/hostname"));
        ExpectDone(SystemApi_System_GetSysName(tszUser, nullptr));
        EXPECT_STREQ(tszUser, "root") << "an entry larger than the first buffer";
        EXPECT_STREQ(tszUser + 5, "#") << "no more is written";

        std::ofstream("/etc/passwd") << "other:x:65534:1::/:/bin/sh\n";
        ExpectDone(SystemApi_System_GetSysName(tszUser, nullptr));
        EXPECT_STREQ(tszUser, "root") << "a user without an entry leaves the buffer alone";
        const bool bOther = seteuid(65534) == 0; // not where an ordinary user looks like root
        ExpectDone(SystemApi_System_GetSysName(tszUser, nullptr));
        EXPECT_STREQ(tszUser, bOther ? "other" : "root");
        EXPECT_EQ(seteuid(0), 0); // the leak check at the child's end needs it
    });
}

TEST(MemoryUsage, ScalesWhatTheTableAndTheCallerGive)
{
    const struct
    {
        const char* lpszWhy;
        int nType;
        const char* lpszTable;
        std::string Expected;
    } st_Rows[] = {
#include "../../data/System/MemoryTables.inc"
    };
    RunSandboxed([&] {
        for (const auto& st_Row : st_Rows)
        {
            FakeFile("/proc/meminfo", st_Row.lpszTable);
            tag_SystemApi_Memory_Infomation st_Memory = {9, 100, 25, 3 << 20, 2 << 20, 1, 1UL << 40, 1UL << 40};
            ExpectDone(SystemApi_System_GetMemoryUsage(&st_Memory, st_Row.nType));
            std::ostringstream Told;
            Told << st_Memory.nMemoryTotal << ' ' << st_Memory.nMemoryAvailable << ' ' << st_Memory.nSwapTotal << ' '
                 << st_Memory.nSwapFree << ' ' << st_Memory.nMemoryShared << ' ' << st_Memory.nMemoryReserved1 << ' '
                 << st_Memory.nMemoryReserved2 << ' ' << st_Memory.nMemoryLoad;
            EXPECT_EQ(Told.str(), st_Row.Expected) << st_Row.lpszWhy;
            LiftFakes();
        }
    });
}

using PROCESSES = std::vector<std::pair<int, std::string>>;

/// The list; the table is given back.
PROCESSES List()
{
    SYSTEMAPI_PROCESS_INFO** ppSt_List = nullptr;
    int nCount = -1;
    ExpectDone(SystemApi_System_GetProcessList(&ppSt_List, &nCount));
    PROCESSES Result;
    for (int nRow = 0; nRow < nCount; ++nRow)
        Result.emplace_back(ppSt_List[nRow]->nPid, ppSt_List[nRow]->tszProcessName);
    EXPECT_EQ(ppSt_List[nCount], nullptr);
    BaseLib_Memory_Free(&ppSt_List, nCount);
    return Result;
}

TEST(ProcessList, NameIsTheFirstArgumentAndIdsStartAt101)
{
    const struct
    {
        const char* lpszWhy;
        std::string Folder, CommandLine;
        int nPid;
        std::string Name;
    } st_Rows[] = {
#include "../../data/System/Processes.inc"
    };
    RunSandboxed([&] {
        FakeFolder("/proc");
        PROCESSES Expected = {{501, ""}}; // has ended meanwhile
        std::filesystem::create_directory("/proc/501");
        std::ofstream("/proc/200") << "no folder";
        for (const auto& st_Row : st_Rows)
        {
            std::filesystem::create_directory("/proc/" + st_Row.Folder);
            std::ofstream("/proc/" + st_Row.Folder + "/cmdline", std::ios::binary) << st_Row.CommandLine;
            if (st_Row.nPid > 0)
                Expected.emplace_back(st_Row.nPid, st_Row.Name);
        }
        EXPECT_THAT(List(), testing::UnorderedElementsAreArray(Expected));

        const CNoDescriptors m_None(1); // which /proc takes: no process can be asked
        EXPECT_TRUE(List().empty());
        EXPECT_EQ(SystemApi_GetLastError(nullptr), ERROR_SYSTEMAPI_PROCESS_READCMD_POPEN) << "the code stays";
    });
}

TEST(ProcessList, FollowsTheOrderOfTheFolderAndHoldsThisVeryProcess)
{
    const PROCESSES Listed = List();
    EXPECT_TRUE(std::is_sorted(Listed.begin(), Listed.end())) << "the kernel's own order";
    EXPECT_TRUE(getpid() <= 100 || testing::Value(Listed, testing::Contains(testing::Key(getpid()))));
}

TEST(ProcessCount, IsTheKernelsSixteenBits)
{
    StandIns().SysInfo = [](struct sysinfo* pSt_Info) {
        pSt_Info->procs = 65535;
        return 0;
    };
    int nCount = 77;
    ExpectDone(SystemApi_System_GetProcessCount(&nCount));
    EXPECT_EQ(nCount, 65535);
    StandIns() = {};
}

/// The start-up as the call tells it, had it been at a given time.
std::vector<int> UpTime(std::time_t nStart)
{
    TOLVANE_LIBTIME st_Time = {};
    unsigned long long nUp = 0;
    do
    {
        nUp = BaseLib_Time_GetTickCount() / 1000;
        StandIns().Time = [=] {
            return nStart + static_cast<std::time_t>(nUp);
        };
        ExpectDone(SystemApi_System_GetUpTime(&st_Time));
    } while (BaseLib_Time_GetTickCount() / 1000 != nUp); // a new second began in between
    return {st_Time.nYear, st_Time.nMonth, st_Time.nDay, st_Time.nHour, st_Time.nMinute, st_Time.nSecond};
}

TEST(UpTime, LocalDateAndTimeOfTheStart)
{
    RunInChild([] {
        setenv("TZ", "UTC", 1);
        EXPECT_THAT(UpTime(951'827'696), testing::ElementsAre(2000, 2, 29, 12, 34, 56));
        EXPECT_THAT(UpTime(1'735'689'599), testing::ElementsAre(2024, 12, 31, 23, 59, 59));
        setenv("TZ", "XXX-5:30", 1);
        EXPECT_THAT(UpTime(1'735'689'599), testing::ElementsAre(2025, 1, 1, 5, 29, 59)) << "a changed zone is seen";
    });
}
} // namespace
