#include "Fakes.h"
#include "Sandbox.h"
#include "StandIns.h"

#include <Tolvane_SystemApi.h>

#include <algorithm>
#include <cerrno>
#include <fstream>
#include <gmock/gmock.h>
#include <optional>
#include <string>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>
#include <vector>

namespace
{
using PROCESSES = std::vector<std::pair<int, std::string>>;

/// The list; the table is given back.
PROCESSES List()
{
    SYSTEMAPI_PROCESS_INFO** ppSt_List = nullptr;
    int nCount = -1;
    EXPECT_TRUE(SystemApi_System_GetProcessList(&ppSt_List, &nCount));
    EXPECT_FALSE(SystemApi_IsErrorOccur);
    PROCESSES Result;
    for (int nRow = 0; nRow < nCount; ++nRow)
        Result.emplace_back(ppSt_List[nRow]->nPid, ppSt_List[nRow]->tszProcessName);
    EXPECT_EQ(ppSt_List[nCount], nullptr);
    BaseLib_Memory_Free(&ppSt_List, nCount);
    return Result;
}

void AddProcess(const std::string& Folder, const std::string& CommandLine)
{
    ASSERT_EQ(mkdir(("/proc/" + Folder).c_str(), 0755), 0);
    std::ofstream("/proc/" + Folder + "/cmdline", std::ios::binary) << CommandLine;
}

TEST(ProcessList, NameIsTheFirstArgumentAndIdsStartAt101)
{
    RunSandboxed([] {
        FakeFolder("/proc");
        AddProcess("1", std::string("init\0", 5));
        AddProcess("100", "never");
        AddProcess("101", std::string("sh\0-c\0true\0", 11));
        AddProcess("102", "");
        AddProcess("103", std::string("a b\nc\0d\ne\0", 10));
        AddProcess("104", std::string(1500, 'n') + '\0' + "x");
        // In pieces of 2047 bytes the rest of this one would read like more text behind the name.
        AddProcess("105", std::string("short\0", 6) + std::string(9000, 'p') + '\0' + std::string(9000, 'q'));
        AddProcess("106x", "what the name begins with counts");
        AddProcess("4294967296", "0 as a 32-bit number");
        AddProcess("+107", "no digit first");
        std::ofstream("/proc/200") << "no folder";
        EXPECT_THAT(List(), testing::UnorderedElementsAre(
                                testing::Pair(101, "sh"), testing::Pair(102, ""), testing::Pair(103, "a b\nc"),
                                testing::Pair(104, std::string(1023, 'n')), testing::Pair(105, "short"),
                                testing::Pair(106, "what the name begins with counts")));
    });
}

TEST(ProcessList, NothingToListIsASuccess)
{
    RunSandboxed([] {
        FakeFolder("/proc");
        AddProcess("7", "low");
        EXPECT_TRUE(List().empty());
    });
}

TEST(ProcessList, AProcessThatEndsMeanwhileIsNoFailure)
{
    RunSandboxed([] {
        FakeFolder("/proc");
        AddProcess("500", "stays");
        ASSERT_EQ(mkdir("/proc/501", 0755), 0); // its cmdline is gone already
        const CFakeTools m_Tools;
        m_Tools.Add("cat", "exec /bin/cat \"$@\" 2>/dev/null");
        EXPECT_THAT(List(), testing::UnorderedElementsAre(testing::Pair(500, "stays"), testing::Pair(501, "")));
    });
}

// One descriptor is left, which /proc takes: the process cannot be asked.
TEST(ProcessList, AProcessThatCannotBeAskedIsLeftOut)
{
    RunSandboxed([] {
        FakeFolder("/proc");
        AddProcess("500", "unasked");
        std::optional<CNoDescriptors> m_None(1);
        const PROCESSES Processes = List();
        m_None.reset();
        EXPECT_TRUE(Processes.empty());
        EXPECT_EQ(SystemApi_GetLastError(nullptr), ERROR_SYSTEMAPI_PROCESS_READCMD_POPEN) << "the code stays";
    });
}

TEST(ProcessList, FollowsTheOrderOfTheFolderAndHoldsThisVeryProcess)
{
    const PROCESSES Processes = List();
    std::vector<int> Listed;
    for (const auto& [nPid, Name] : Processes)
        Listed.push_back(nPid);
    EXPECT_TRUE(std::is_sorted(Listed.begin(), Listed.end())) << "the kernel's own order";
    EXPECT_EQ(std::count(Listed.begin(), Listed.end(), getpid()), getpid() > 100 ? 1 : 0);
    EXPECT_EQ(std::count(Listed.begin(), Listed.end(), 1), 0);
}

TEST(ProcessList, AFolderThatCannotBeOpenedLeavesTheOutputsAlone)
{
    RunInChild([] {
        std::optional<CNoDescriptors> m_None(std::in_place);
        auto** ppSt_List = reinterpret_cast<SYSTEMAPI_PROCESS_INFO**>(&errno);
        auto** const ppSt_Before = ppSt_List;
        int nCount = 77;
        int nErrno = 0;
        const bool bListed = SystemApi_System_GetProcessList(&ppSt_List, &nCount);
        const unsigned long dwCode = SystemApi_GetLastError(&nErrno);
        m_None.reset();
        EXPECT_FALSE(bListed);
        EXPECT_TRUE(SystemApi_IsErrorOccur);
        EXPECT_EQ(dwCode, 0x040A3002U);
        EXPECT_EQ(nErrno, EMFILE);
        EXPECT_EQ(ppSt_List, ppSt_Before);
        EXPECT_EQ(nCount, 77);
    });
}

TEST(ProcessCount, IsTheKernelsSixteenBits)
{
    int nCount = 77;
    int nErrno = 0;
    StandIns().SysInfo = [](struct sysinfo*) {
        errno = EFAULT;
        return -1;
    };
    EXPECT_FALSE(SystemApi_System_GetProcessCount(&nCount));
    EXPECT_EQ(SystemApi_GetLastError(&nErrno), ERROR_SYSTEMAPI_SYSTEM_GETPROCESSCOUNT_SYSINFO);
    EXPECT_EQ(nErrno, EFAULT);
    EXPECT_EQ(nCount, 77);
    EXPECT_FALSE(SystemApi_System_GetProcessCount(nullptr));
    EXPECT_TRUE(SystemApi_IsErrorOccur);
    EXPECT_EQ(SystemApi_GetLastError(nullptr), ERROR_SYSTEMAPI_SYSTEM_GETPROCESSCOUNT_PARAMETER);

    StandIns().SysInfo = [](struct sysinfo* pSt_Info) {
        pSt_Info->procs = 65535;
        return 0;
    };
    EXPECT_TRUE(SystemApi_System_GetProcessCount(&nCount));
    EXPECT_FALSE(SystemApi_IsErrorOccur);
    EXPECT_EQ(nCount, 65535);
    StandIns() = {};
}
} // namespace
