#include "Fakes.h"
#include "Sandbox.h"
#include "StandIns.h"

#include <Tolvane_SystemApi.h>

#include <cerrno>
#include <fstream>
#include <gmock/gmock.h>
#include <map>
#include <string>
#include <sys/stat.h>

namespace
{
/// The list as pairs of id and name, in no particular order; the table is given back.
std::multimap<int, std::string> List()
{
    SYSTEMAPI_PROCESS_INFO** ppSt_List = nullptr;
    int nCount = -1;
    EXPECT_TRUE(SystemApi_System_GetProcessList(&ppSt_List, &nCount));
    EXPECT_FALSE(SystemApi_IsErrorOccur);
    std::multimap<int, std::string> Result;
    for (int nRow = 0; nRow < nCount; ++nRow)
        Result.emplace(ppSt_List[nRow]->nPid, ppSt_List[nRow]->tszProcessName);
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
        AddProcess("self", "no digit");
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

// One descriptor is left, which /proc takes: no process can be asked, and none is listed.
TEST(ProcessList, AProcessThatCannotBeAskedIsLeftOut)
{
    RunInChild([] {
        const CNoDescriptors m_None(1);
        EXPECT_TRUE(List().empty());
        EXPECT_EQ(SystemApi_GetLastError(nullptr), ERROR_SYSTEMAPI_PROCESS_READCMD_POPEN) << "the code stays";
    });
}

TEST(ProcessList, ListsThisVeryProcess)
{
    const auto Processes = List();
    EXPECT_EQ(Processes.count(1), 0U);
    EXPECT_EQ(Processes.count(getpid()), getpid() > 100 ? 1U : 0U);
}

TEST(ProcessList, AFolderThatCannotBeOpenedLeavesTheOutputsAlone)
{
    RunInChild([] {
        const CNoDescriptors m_None;
        auto** ppSt_List = reinterpret_cast<SYSTEMAPI_PROCESS_INFO**>(&errno);
        auto** const ppSt_Before = ppSt_List;
        int nCount = 77;
        int nErrno = 0;
        EXPECT_FALSE(SystemApi_System_GetProcessList(&ppSt_List, &nCount));
        EXPECT_EQ(SystemApi_GetLastError(&nErrno), 0x040A3002U);
        EXPECT_EQ(nErrno, EMFILE);
        EXPECT_EQ(ppSt_List, ppSt_Before);
        EXPECT_EQ(nCount, 77);
    });
}

TEST(ProcessCount, IsTheKernelsSixteenBits)
{
    int nCount = 77;
    StandIns().SysInfo = [](struct sysinfo* pSt_Info) {
        pSt_Info->procs = 65535;
        return 0;
    };
    EXPECT_TRUE(SystemApi_System_GetProcessCount(&nCount));
    EXPECT_EQ(nCount, 65535);

    StandIns().SysInfo = [](struct sysinfo*) {
        errno = EFAULT;
        return -1;
    };
    int nErrno = 0;
    EXPECT_FALSE(SystemApi_System_GetProcessCount(&nCount));
    EXPECT_EQ(SystemApi_GetLastError(&nErrno), ERROR_SYSTEMAPI_SYSTEM_GETPROCESSCOUNT_SYSINFO);
    EXPECT_EQ(nErrno, EFAULT);
    EXPECT_EQ(nCount, 65535);
    EXPECT_FALSE(SystemApi_System_GetProcessCount(nullptr));
    EXPECT_EQ(SystemApi_GetLastError(nullptr), ERROR_SYSTEMAPI_SYSTEM_GETPROCESSCOUNT_PARAMETER);
    StandIns() = {};
}
} // namespace
