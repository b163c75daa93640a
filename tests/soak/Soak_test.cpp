// SPDX-License-Identifier: MIT
// Many calls of every operation that costs little, and some of those that run a command: memory, descriptors and
// children are afterwards as they were. SYSTEMAPI_SOAK_CALLS tells how many.
#include "Fakes.h"
#include "Sandbox.h"

#include <Tolvane_SystemApi.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <functional>
#include <gtest/gtest.h>
#include <malloc.h>
#include <sys/wait.h>
#include <unistd.h>

namespace
{
constexpr int nCommandEvery = 500; ///< rounds

/// What must be the same at the end.
struct HELD
{
    std::size_t nHeap = mallinfo2().uordblks + mallinfo2().hblkhd;
    long nPages = 0; ///< resident
    std::ptrdiff_t nDescriptors = 0;

    HELD()
    {
        std::ifstream("/proc/self/statm") >> nPages >> nPages;
        nDescriptors = std::distance(std::filesystem::directory_iterator("/proc/self/fd"), {});
    }
};

struct ROW
{
    const char* lpszName;
    bool bExpected;
    std::function<bool()> pfnCall;
};

/// The table comes back at once.
template <typename Row>
bool GivenBack(const std::function<bool(Row***, int*)>& pfnCall)
{
    Row** ppRows = nullptr;
    int nRows = 0;
    return pfnCall(&ppRows, &nRows) && BaseLib_Memory_Free(&ppRows, nRows);
}

long CallAll(const std::vector<ROW>& Rows)
{
    for (const ROW& st_Row : Rows)
        EXPECT_EQ(st_Row.pfnCall(), st_Row.bExpected) << st_Row.lpszName;
    return static_cast<long>(Rows.size());
}

void Soak(long nCalls)
{
    if (access("/dev/shm", W_OK) == 0)
        setenv("TMPDIR", "/dev/shm", 1); // in memory
    const CTempFolder m_Folder;
    m_Folder.Write("tree/sub/a.txt", "a");
    const std::string Narrow = m_Folder.Path().string() + "/";
    const std::wstring Wide(Narrow.begin(), Narrow.end()); // ASCII
#define A(Name) (Narrow + (Name)).c_str()
#define W(Name) (Wide + L##Name).c_str()
    char tszText[4][1024];
    wchar_t tszWide[3][1024];
    int nNumber = 0;
    unsigned long dwNumber = 0;
    SYSTEMAPI_FILE_ATTR st_Attr = {};
    TOLVANE_LIBTIME st_Time = {};
    tag_SystemApi_Disk_Information st_Disk = {};
    tag_SystemApi_Cpu_Information st_Cpu = {};
    tag_SystemApi_Memory_Infomation st_Memory = {};
    void** ppTable = nullptr;
#define ROW(bExpected, ...)                                                                                          \
    {                                                                                                                \
#__VA_ARGS__, bExpected, [&] {                                                                               \
            return __VA_ARGS__;                                                                                      \
        }                                                                                                            \
    }
    const std::vector<ROW> Cheap = {
        ROW(true, SystemApi_File_SaveBuffToFileA(A("new/file"), "text", 4)),
        ROW(true, SystemApi_File_SaveBuffToFileW(W("new/file"), "text", 4)),
        ROW(true, SystemApi_File_GetFileAttrA(A("new/file"), &st_Attr)),
        ROW(false, SystemApi_File_GetFileAttrW(W("none"), &st_Attr)),
        ROW(true, SystemApi_File_CopyFileA(A("new/file"), A("copies/a"), false)),
        ROW(true, SystemApi_File_CopyFileW(W("new/file"), W("copies/w"), false)),
        ROW(true, SystemApi_File_CreateSparseFileA(A("copies/sparse"), 5000)),
        ROW(false, SystemApi_File_CreateSparseFileW(W("none/sparse"), 5000)),
        ROW(true, SystemApi_File_CreateMutilFolderA(A("new/a/b"))),
        ROW(true, SystemApi_File_CreateMutilFolderW(W("copies/b/c"))),
        ROW(true,
            GivenBack<char>([&](auto... Out) { return SystemApi_File_EnumFileA(A("tree/"), Out..., true, 3); })),
        ROW(true,
            GivenBack<wchar_t>([&](auto... Out) { return SystemApi_File_EnumFileW(W("tree/"), Out..., true, 3); })),
        ROW(true, SystemApi_File_DeleteMutilFolderA(A("new"), true)),
        ROW(true, SystemApi_File_DeleteMutilFolderW(W("copies"), false)),
        ROW(true, SystemApi_HardWare_GetDiskInfomation("/", &st_Disk, 2)),
        ROW(true, GivenBack<char>(SystemApi_HardWare_GetDiskNumber)),
        ROW(true, SystemApi_HardWare_GetCpuInfomation(&st_Cpu)),
        ROW(false, SystemApi_Process_CreateProcess(&dwNumber, A("none"), "a b c", false)),
        ROW(true, SystemApi_Process_GetPath(tszText[0], 0)),
        ROW(true, SystemApi_Process_GetPriority(&nNumber, 0)),
        ROW(false, SystemApi_Process_SetPriority(0, 0)),
        ROW(false, SystemApi_Process_SetProcessForCpu(0, CPU_SETSIZE)),
        ROW(true, SystemApi_Process_GetProcessForCpu(0, &dwNumber)),
        ROW(true, SystemApi_System_GetSysName(tszText[0], tszText[1])),
        ROW(true, SystemApi_System_GetSysIdleTime(&dwNumber)),
        ROW(true, SystemApi_System_GetProcessCount(&nNumber)),
        ROW(true, SystemApi_System_GetUpTime(&st_Time)),
        ROW(true, BaseLib_Charset_UnicodeToUTF(L"\u00E4\u20AC", tszText[0], &nNumber, nullptr)),
        ROW(true, BaseLib_Charset_UnicodeToAnsi(L"\u00E4\u20AC", tszText[0], &nNumber, nullptr)),
        ROW(true, BaseLib_Memory_Malloc(&ppTable, 300, 4096) && BaseLib_Memory_Free(&ppTable, 300)),
        ROW(true, BaseLib_String_GetFileAndPathA("/a/b.c", tszText[0], tszText[1], nullptr, tszText[2], false)),
        ROW(true, BaseLib_String_GetFileAndPathW(L"/a/b.c", tszWide[0], tszWide[1], nullptr, tszWide[2], false)),
        ROW(true, BaseLib_Time_TTimeToStuTime(86400, &st_Time)),
        ROW(true, BaseLib_Time_GetTickCount() > 0),
        ROW(true, BaseLib_String_GetKeyValueA("key=value", "=", tszText[0], tszText[1], 1, 0, 0)),
        ROW(true, BaseLib_String_GetStartEndA("a(b)c", tszText[0], "(", ")", 0)),
        ROW(true, (std::strcpy(tszText[0], "aba"), BaseLib_String_DelSubA(tszText[0], "a", 1))),
        ROW(geteuid() == 0, SystemApi_Process_IsAdmin()),
        ROW(false, SystemApi_System_Shutdown(0)),
        ROW(true, SystemApi_System_WMIQuery("", "", tszText[0], 0)),
        ROW(true, SystemApi_GetLastError(&nNumber) != 0),
    };
    const std::vector<ROW> Commands = {
        ROW(true, SystemApi_System_GetMemoryUsage(&st_Memory, 1)),
        ROW(true,
            (tszText[0][0] = '\0', SystemApi_Process_ReadCmdReturn("echo a; echo b", tszText[0], 1, 1, nullptr))),
        ROW(true, SystemApi_System_GetSystemVer(tszText[0], tszText[1], tszText[2], &dwNumber, tszText[3])),
        ROW(true, SystemApi_Process_CreateProcess(&dwNumber, "/bin/true", nullptr, false) &&
                      waitpid(static_cast<pid_t>(dwNumber), nullptr, 0) > 0),
        ROW(true, SystemApi_Process_RunProcess(&dwNumber, "/bin/true", "true", nullptr, false) &&
                      waitpid(-1, nullptr, 0) > 0),
        ROW(true, SystemApi_Process_GetProcessCpuUsage(&nNumber, 0)),
        ROW(true, SystemApi_Process_GetUpTime(&st_Time, 0)),
    };
    for (int nRound = 0; nRound < 50; ++nRound) // what the C library keeps for good comes with the first calls
        CallAll(Cheap);
    CallAll(Commands);

    const HELD st_Before;
    long nDone = 0;
    for (int nRound = 0; nDone < nCalls && !testing::Test::HasFailure(); ++nRound)
        nDone += CallAll(Cheap) + (nRound % nCommandEvery == 0 ? CallAll(Commands) : 0);
    const HELD st_After;

    EXPECT_EQ(st_After.nDescriptors, st_Before.nDescriptors);
    EXPECT_EQ(waitpid(-1, nullptr, WNOHANG), -1) << "a child is left";
    EXPECT_LE(st_After.nHeap, st_Before.nHeap + 4096); // bytes: room for what a stream of the C library keeps
#if !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__) // they keep what was released
    EXPECT_LE(st_After.nPages, st_Before.nPages + 128);
#endif
    std::printf("soak: %ld calls, %td bytes of heap, %ld pages and %td descriptors more\n", nDone,
                static_cast<std::ptrdiff_t>(st_After.nHeap - st_Before.nHeap), st_After.nPages - st_Before.nPages,
                st_After.nDescriptors - st_Before.nDescriptors);
}

TEST(Soak, LeavesMemoryDescriptorsAndChildrenAsTheyWere)
{
    const char* const lpszCalls = std::getenv("SYSTEMAPI_SOAK_CALLS");
    RunInChild([&] { Soak(lpszCalls ? std::atol(lpszCalls) : 20000); });
}
} // namespace
