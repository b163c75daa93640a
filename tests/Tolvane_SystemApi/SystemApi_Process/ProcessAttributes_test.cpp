#include "OwnProcess.h"
#include "Sandbox.h"

#include <array>
#include <climits>
#include <fstream>
#include <tuple>
#include <unistd.h>

namespace
{
namespace fs = std::filesystem;

constexpr unsigned long dwNullArgument = 0x040A3000;
constexpr unsigned long dwNotPermitted = 0x040A3001;
constexpr unsigned long dwGetCpuFailed = 0x040A3002;

TEST(CpuUsage, TheFirstNumberOfTheFirstLineThatHoldsTheId)
{
    std::string Many = "root 4711 12.9 0.3 first";
    for (int nLine = 0; nLine < 5000; ++nLine)
        Many += "\nroot 4711 99.9 99.9 and a line that is long enough to fill a buffer soon";
    const struct
    {
        const char* lpszWhy;
        std::string Listing;
        int nUsage;
    } st_Rows[] = {
        {"cut off", "root 4711 12.9 0.3", 12},
        {"the columns run together", "root 4711 100 0.1", 1000},
        {"another process that holds the digits", "root 10 0.1 0.0\nroot 147112 7.0 0.0\nroot 4711 8.0 0.0", 7},
        {"nobody", "root 10 5.0 0.0", 0},
        {"no number", "root 4711 - -", 0},
        {"thousands of lines", Many, 12}};
    for (const auto& st_Row : st_Rows)
    {
        SCOPED_TRACE(st_Row.lpszWhy);
        const CFakeTools m_Tools;
        m_Tools.Add("ps", "cat <<'END'\n" + st_Row.Listing + "\nEND");
        const auto& Commands = NoteCommands();
        int nUsage = -7;
        EXPECT_TRUE(SystemApi_Process_GetProcessCpuUsage(&nUsage, 4711));
        EXPECT_EQ(nUsage, st_Row.nUsage);
        EXPECT_EQ(Commands, std::vector<std::string>{"ps aux | grep 4711 | awk '{print($3$4);}'"});
        StandIns() = {};
    }
}

std::array<int, 6> Fields(const TOLVANE_LIBTIME& st_Time)
{
    return {st_Time.nYear, st_Time.nMonth, st_Time.nDay, st_Time.nHour, st_Time.nMinute, st_Time.nSecond};
}

TEST(UpTime, TheFirstLineAsStandardTime)
{
    const struct
    {
        const char* lpszWhy;
        const char* lpszPrinted;
        std::array<int, 6> Expected;
    } st_Rows[] = {
        {"winter, a day of one digit",
         "Mon Jan  1 08:09:10 2024\\nMon Feb  2 11:11:11 2026\\n",
         {2024, 1, 1, 8, 9, 10}},
        {"summer is an hour late", "Wed Jul 31 23:30:00 2024\\n", {2024, 8, 1, 0, 30, 0}},
        {"no line end", "Thu Feb 29 23:59:59 2024", {2024, 2, 29, 23, 59, 59}},
        {"no process", "", {7, 7, 7, 7, 7, 7}},
        {"cut short", "Mon Jan  1 08:09\\n", {7, 7, 7, 7, 7, 7}},
        {"the year in another line", "Mon Jan  1 08:09:10\\n2024\\n", {7, 7, 7, 7, 7, 7}},
    };
    RunInChild([&] {
        setenv("TZ", "CET-1CEST,M3.5.0,M10.5.0/3", 1);
        for (const auto& st_Row : st_Rows)
        {
            SCOPED_TRACE(st_Row.lpszWhy);
            const CFakeTools m_Tools;
            m_Tools.Add("ps", std::string("printf '") + st_Row.lpszPrinted + "'");
            const auto& Commands = NoteCommands();
            TOLVANE_LIBTIME st_Time = {7, 7, 7, 7, 7, 7};
            EXPECT_TRUE(SystemApi_Process_GetUpTime(&st_Time, 4711));
            EXPECT_FALSE(SystemApi_IsErrorOccur);
            EXPECT_EQ(Fields(st_Time), st_Row.Expected);
            EXPECT_EQ(Commands, std::vector<std::string>{"ps -p 4711 -o lstart="});
        }
    });
}

TEST(Path, IsNotEndedAndFillsTheBufferAtMost)
{
    RunInChild([] {
        CTempFolder m_Folder;
        fs::path Deep = m_Folder.Path();
        while (Deep.native().size() < 1100)
            Deep /= std::string(200, 'd');
        fs::create_directories(Deep);
        fs::copy_file("/bin/sleep", Deep / "sleep");
        const COwnProcess m_Process((Deep / "sleep").c_str());
        EXPECT_EQ(WaitForText(m_Process.Entry("cmdline")), "sleep|600|");
        const struct
        {
            int nPid;
            std::string Path;
        } st_Rows[] = {{0, fs::read_symlink("/proc/self/exe").string()},
                       {m_Process.Pid(), fs::canonical(Deep / "sleep").string().substr(0, 1024)}};
        for (const auto& st_Row : st_Rows)
        {
            std::string Buffer(1025, '#');
            EXPECT_TRUE(SystemApi_Process_GetPath(Buffer.data(), st_Row.nPid));
            EXPECT_EQ(Buffer, st_Row.Path + std::string(1025 - st_Row.Path.size(), '#'));
        }
        std::string Buffer(1024, '#');
        ExpectFailed(SystemApi_Process_GetPath(Buffer.data(), -1), ERROR_SYSTEMAPI_PROCESS_GETPATH_READLINK, ENOENT);
        EXPECT_EQ(Buffer, std::string(1024, '#'));
    });
}

TEST(Attributes, RefuseNullAndAFailedCommand)
{
    StandIns().Popen = [](const char*) {
        return false;
    };
    int nUsage = 7;
    TOLVANE_LIBTIME st_Time = {7, 7, 7, 7, 7, 7};
    ExpectFailed(SystemApi_Process_GetProcessCpuUsage(&nUsage, 0), ERROR_SYSTEMAPI_PROCESS_READCMD_POPEN, EMFILE);
    ExpectFailed(SystemApi_Process_GetUpTime(&st_Time, 0), ERROR_SYSTEMAPI_PROCESS_READCMD_POPEN, EMFILE);
    EXPECT_EQ(nUsage + st_Time.nYear, 7 + 7);
    errno = 0;
    ExpectFailed(SystemApi_Process_GetProcessCpuUsage(nullptr, 0), dwNullArgument, 0);
    ExpectFailed(SystemApi_Process_GetUpTime(nullptr, 0), dwNullArgument, 0);
    ExpectFailed(SystemApi_Process_GetPath(nullptr, 0), dwNullArgument, 0);
    ExpectFailed(SystemApi_Process_GetPriority(nullptr, 0), dwNullArgument, 0);
    StandIns() = {};
}

TEST(Attributes, NoIdIsTheCaller)
{
    const auto& Commands = NoteCommands();
    int nUsage = 0;
    TOLVANE_LIBTIME st_Time = {};
    EXPECT_TRUE(SystemApi_Process_GetProcessCpuUsage(&nUsage, 0));
    EXPECT_TRUE(SystemApi_Process_GetUpTime(&st_Time, 0));
    const std::string Own = std::to_string(getpid());
    EXPECT_EQ(Commands, (std::vector<std::string>{"ps aux | grep " + Own + " | awk '{print($3$4);}'",
                                                  "ps -p " + Own + " -o lstart="}));
    EXPECT_GT(st_Time.nYear, 2000) << "the real ps is understood";
    StandIns() = {};
}

TEST(Priority, OnlyTheHighestIsAccepted)
{
    std::vector<std::pair<id_t, int>> Calls;
    StandIns().SetPriority = [&](id_t nId, int nPriority) {
        Calls.emplace_back(nId, nPriority);
        errno = ESRCH;
        return nPriority == INT_MIN ? -1 : 0;
    };
    for (const int nRefused : {-19, -1, 0, 10, 19, INT_MAX})
    {
        EXPECT_FALSE(SystemApi_Process_SetPriority(nRefused, 0));
        EXPECT_EQ(SystemApi_GetLastError(nullptr), ERROR_SYSTEMAPI_PROCESS_SETPRIORITY_RANGE);
    }
    EXPECT_TRUE(SystemApi_Process_SetPriority(-20, 0));
    EXPECT_TRUE(SystemApi_Process_SetPriority(-21, -5));
    ExpectFailed(SystemApi_Process_SetPriority(INT_MIN, 4711), ERROR_SYSTEMAPI_PROCESS_SETPRIORITY_FAILED, ESRCH);
    EXPECT_EQ(Calls, (std::vector<std::pair<id_t, int>>{
                         {static_cast<id_t>(getpid()), -20}, {static_cast<id_t>(-5), -21}, {4711, INT_MIN}}));

    int nPriority = 7;
    id_t nAsked = 0;
    int nAnswer = -20;
    StandIns().GetPriority = [&](id_t nId) {
        nAsked = nId;
        errno = 0;
        return nAnswer;
    };
    EXPECT_TRUE(SystemApi_Process_GetPriority(&nPriority, 0));
    EXPECT_EQ(nAsked, static_cast<id_t>(getpid()));
    EXPECT_EQ(nPriority, -20);
    nAnswer = -1;
    ExpectFailed(SystemApi_Process_GetPriority(&nPriority, -5), ERROR_SYSTEMAPI_PROCESS_GETPRIORITY_FAILED, 0);
    EXPECT_EQ(nAsked, static_cast<id_t>(-5));
    EXPECT_EQ(nPriority, -20);
    StandIns() = {};
}

TEST(Superuser, AnOrdinaryUserIsNoneAndMayNotRaisePriority)
{
    RunInChild([] {
        EXPECT_EQ(SystemApi_Process_IsAdmin(), geteuid() == 0);
        EXPECT_EQ(setpriority(PRIO_PROCESS, 0, 7), 0);
        GiveUpRoot();
        EXPECT_FALSE(SystemApi_Process_SetPriority(-19, 0)); // leaves the flag set
        EXPECT_FALSE(SystemApi_Process_IsAdmin());
        EXPECT_FALSE(SystemApi_IsErrorOccur) << "false is an answer";
        ExpectFailed(SystemApi_Process_SetPriority(-20, 0), ERROR_SYSTEMAPI_PROCESS_SETPRIORITY_FAILED, EACCES);
        int nPriority = 0;
        EXPECT_TRUE(SystemApi_Process_GetPriority(&nPriority, 0));
        EXPECT_EQ(nPriority, 7);
    });
}

TEST(Processors, AnIndexBecomesOneBitOfTheSet)
{
    for (const unsigned long nCpu : {0UL, 63UL, 64UL, 1023UL, 1024UL, ULONG_MAX})
    {
        StandIns().SetAffinity = [&](pid_t nPid, std::size_t nSize, const cpu_set_t* pSt_Set) {
            EXPECT_EQ(nPid, -5);
            EXPECT_EQ(nSize, 128U);
            EXPECT_EQ(CPU_COUNT(pSt_Set), nCpu < 1024 ? 1 : 0);
            EXPECT_TRUE(nCpu >= 1024 || CPU_ISSET(nCpu, pSt_Set));
            return 0;
        };
        EXPECT_TRUE(SystemApi_Process_SetProcessForCpu(-5, nCpu));
    }
    for (const auto& [nErrno, dwSetCode, dwGetCode] :
         {std::tuple(EPERM, dwNotPermitted, dwNotPermitted),
          std::tuple(ESRCH, ERROR_SYSTEMAPI_PROCESS_SETCPU_FAILED, dwGetCpuFailed)})
    {
        const auto Refuse = [nErrno = nErrno](auto...) {
            errno = nErrno;
            return -1;
        };
        StandIns().SetAffinity = Refuse;
        StandIns().GetAffinity = Refuse;
        unsigned long dwMask = 7;
        ExpectFailed(SystemApi_Process_SetProcessForCpu(0, 0), dwSetCode, nErrno);
        ExpectFailed(SystemApi_Process_GetProcessForCpu(0, &dwMask), dwGetCode, nErrno);
        EXPECT_EQ(dwMask, 7U);
    }
    StandIns() = {};
    ExpectFailed(SystemApi_Process_SetProcessForCpu(0, 1024), ERROR_SYSTEMAPI_PROCESS_SETCPU_FAILED, EINVAL);
}

TEST(Processors, BitsAreAddedAndThoseOfManyProcessorsFold)
{
    RunInChild([] { // bound for real
        unsigned long dwMask = 0x10;
        EXPECT_TRUE(SystemApi_Process_SetProcessForCpu(0, 0));
        EXPECT_TRUE(SystemApi_Process_GetProcessForCpu(0, &dwMask));
        EXPECT_EQ(dwMask, 0x11U);
    });
    const struct
    {
        int nConfigured; // processors of the machine
        std::vector<int> Set;
        unsigned long dwMask;
    } st_Rows[] = {{72, {0, 65, 71}, 1UL | 1UL << 1 | 1UL << 7 | 0x10UL},
                   {64, {63, 65}, 1UL << 63 | 0x10UL}, // 65 is none of the machine's
                   {1100, {1023}, 1UL << 63 | 0x10UL}};
    for (const auto& st_Row : st_Rows)
    {
        RunSandboxed([&] {
            FakeFolder("/sys/devices/system/cpu");
            const fs::path Folder = "/sys/devices/system/cpu";
            std::ofstream(Folder / "possible") << "0-" << st_Row.nConfigured - 1 << '\n';
            for (int nCpu = 0; nCpu < st_Row.nConfigured; ++nCpu)
                fs::create_directory(Folder / ("cpu" + std::to_string(nCpu)));
            ASSERT_EQ(sysconf(_SC_NPROCESSORS_CONF), st_Row.nConfigured);
            StandIns().GetAffinity = [&](pid_t nPid, std::size_t nSize, cpu_set_t* pSt_Set) {
                EXPECT_EQ(nPid, -5);
                EXPECT_EQ(nSize, 128U);
                for (const int nCpu : st_Row.Set)
                    CPU_SET(nCpu, pSt_Set);
                return 0;
            };
            unsigned long dwMask = 0x10;
            EXPECT_TRUE(SystemApi_Process_GetProcessForCpu(-5, &dwMask));
            EXPECT_EQ(dwMask, st_Row.dwMask);
        });
    }
}
} // namespace
