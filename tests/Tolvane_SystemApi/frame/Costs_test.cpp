// SPDX-License-Identifier: MIT
/// What operations cost, in numbers that do not depend on the machine's speed: system calls and allocations.
#include "Fakes.h"
#include "Sandbox.h"
#include "SystemApi_File/SystemApi_File.h"

#include <Tolvane_BaseLib.h>

#include <csignal>
#include <fstream>
#include <gtest/gtest.h>
#include <malloc.h>
#include <sys/ptrace.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

static long nAllocations = 0;

extern "C" // in the place of the C library's, which the libraries and operator new call
{
void* __libc_malloc(std::size_t nSize);
void* __libc_calloc(std::size_t nCount, std::size_t nSize);

void* malloc(std::size_t nSize) noexcept
{
    ++nAllocations;
    return __libc_malloc(nSize);
}
void* calloc(std::size_t nCount, std::size_t nSize) noexcept
{
    ++nAllocations;
    return __libc_calloc(nCount, nSize);
}
}

namespace
{
namespace fs = std::filesystem;

using CALL = void (*)();

/// The allocations of the second call: the first one may find things that stay.
long Allocations(CALL pfnCall)
{
    pfnCall();
    const long nBefore = nAllocations;
    pfnCall();
    return nAllocations - nBefore;
}

/// The system calls of a traced child that makes the call so often; -1 where tracing is not allowed.
long TracedSystemCalls(CALL pfnCall, int nTimes)
{
    const pid_t nPid = fork();
    if (nPid == 0)
    {
        sigset_t ChildEnded; // the signal would make a call begin anew
        sigemptyset(&ChildEnded);
        sigaddset(&ChildEnded, SIGCHLD);
        sigprocmask(SIG_BLOCK, &ChildEnded, nullptr);
        if (ptrace(PTRACE_TRACEME, 0, nullptr, nullptr) != 0)
            _exit(1);
        raise(SIGSTOP);
        for (; nTimes > 0; --nTimes)
            pfnCall();
        _exit(0);
    }
    int nStatus = 0;
    waitpid(nPid, &nStatus, 0);
    if (!WIFSTOPPED(nStatus))
        return -1;
    ptrace(PTRACE_SETOPTIONS, nPid, nullptr, PTRACE_O_TRACESYSGOOD | PTRACE_O_EXITKILL);
    long nStops = 0; // one before and one after each call
    for (; WIFSTOPPED(nStatus); waitpid(nPid, &nStatus, 0))
    {
        nStops += WSTOPSIG(nStatus) == (SIGTRAP | 0x80) ? 1 : 0;
        ptrace(PTRACE_SYSCALL, nPid, nullptr, nullptr);
    }
    EXPECT_EQ(nStatus, 0);
    return nStops / 2;
}

long SystemCalls(CALL pfnCall)
{
    return TracedSystemCalls(pfnCall, 2) - TracedSystemCalls(pfnCall, 1);
}

void Nothing() {}

/// A command that prints nothing, started and waited for.
void Command()
{
    pclose(popen(":", "re"));
}

void Capture(const char* lpszCmd, int nReadLines = 0, int nStartLine = 0)
{
    char tszText[20000] = "";
    SystemApi_Process_ReadCmdReturn(lpszCmd, tszText, nReadLines, nStartLine, nullptr);
}

void GetAttributes(const char* lpszPath)
{
    SYSTEMAPI_FILE_ATTR st_Attributes;
    SystemApi_File_GetFileAttrA(lpszPath, &st_Attributes);
}
void GetAttributes(const wchar_t* lpszPath)
{
    SYSTEMAPI_FILE_ATTR st_Attributes;
    SystemApi_File_GetFileAttrW(lpszPath, &st_Attributes);
}

/// Has a table made and gives it back.
template <typename Row>
void Table(auto pfnMake)
{
    Row** ppRows = nullptr;
    int nRows = 0;
    pfnMake(&ppRows, &nRows);
    BaseLib_Memory_Free(&ppRows, nRows);
}

void EnumTable(const char* lpszFolder)
{
    Table<char>([lpszFolder](char*** pppRows, int* pnRows) {
        SystemApi_File_EnumFileA(lpszFolder, pppRows, pnRows, false, 1);
    });
}

void EnumTree(const char* lpszFolder)
{
    std::list<std::string> List;
    m_FileSdk.SystemApi_File_EnumFileA(lpszFolder, &List, true, 1, nullptr);
}

const struct
{
    const char* lpszOperation;
    CALL pfnCall;
    CALL pfnBare;
    long nSystemCalls;
    long nAllocations;
} st_Rows[] = {
#include "../../data/Costs.inc"
};

void Write(const std::string& Path, std::string_view Text)
{
    std::ofstream(Path) << Text;
}

/// The folder of the kernel's files, and one to work in.
void FakeMachine()
{
    FakeFile("/etc/os-release", "NAME=\"N\"\nVERSION_ID=\"1\"\nVERSION=\"1 (b)\"\n");
    FakeFolder("/proc");
    Write("/proc/partitions", "major minor  #blocks  name\n\n 8 0 1 sda\n 8 1 1 sda1\n 7 0 1 loop0\n");
    Write("/proc/cpuinfo", "processor\t: 0\nvendor_id\t: V\n3\n4\nmodel name\t: N\n6\n7\ncpu MHz\t\t: 8.5\n");
    Write("/proc/stat", "cpu  1 2 3 4 5 6 7 8 9 0\ncpu0 1 2 3 4 5 6 7 8 9 0\nintr 0\n");
    Write("/proc/meminfo", "MemTotal: 2048 kB\nMemAvailable: 512 kB\nShmem: 8 kB\n");
    for (const char* lpszProcess : {"/proc/101", "/proc/102"})
    {
        fs::create_directory(lpszProcess);
        Write(lpszProcess + std::string("/cmdline"), "program");
    }

    FakeFolder("/mnt");
    ASSERT_EQ(chdir("/mnt"), 0);
    Write("four", "1\n2\n3\n4\n");
    Write("text", std::string(16000, 'x'));
    fs::create_directories("some");
    fs::create_directories("more");
    for (int nFile = 1000; nFile < 3000; ++nFile)
    {
        const std::string Name = "/a-name-of-usual-length." + std::to_string(nFile);
        Write("more" + Name, "");
        if (nFile < 2000)
            Write("some" + Name, "");
    }
}

TEST(Costs, OfEveryOperationAreTodays)
{
    if (TracedSystemCalls(Nothing, 1) < 0)
        return SkipBecause("this machine does not let a process trace its child");
    RunSandboxed([] {
        mallopt(M_TOP_PAD, 64 << 20); // the heap grows before anything is counted
        mallopt(M_TRIM_THRESHOLD, 512 << 20);
        setenv("TZ", "UTC0", 1);
        FakeMachine();
        for (const auto& st_Row : st_Rows)
        {
            SCOPED_TRACE(st_Row.lpszOperation);
            EXPECT_EQ(SystemCalls(st_Row.pfnCall) - SystemCalls(st_Row.pfnBare), st_Row.nSystemCalls);
            EXPECT_EQ(Allocations(st_Row.pfnCall) - Allocations(st_Row.pfnBare), st_Row.nAllocations);
        }
    });
}
} // namespace
