// SPDX-License-Identifier: MIT
// The cost engine: the system calls and allocations of every operation, and of more work for one. Numbers that do not
// depend on the machine's speed, held at today's.
#include "Fakes.h"
#include "Runner.h"
#include "StandIns.h"
#include "SystemApi_File/SystemApi_File.h"
#include "SystemApi_Process/SystemApi_Process.h"
#include "SystemApi_System/SystemApi_System.h"

#include <Tolvane_BaseLib.h>

#include <csignal>
#include <fcntl.h>
#include <fstream>
#include <gtest/gtest.h>
#include <iostream>
#include <malloc.h>
#include <pwd.h>
#include <spawn.h>
#include <sys/mount.h>
#include <sys/wait.h>
#include <unistd.h>
#include <utility>

namespace fs = std::filesystem;

namespace
{
void Nothing() {}

/// Commands that print nothing, started and waited for.
void Commands(int nTimes)
{
    for (; nTimes > 0; --nTimes)
        pclose(popen(":", "re"));
}

void Capture(const char* lpszCmd, int nReadLines = 0, int nStartLine = 0)
{
    static char tszText[1 << 20];
    tszText[0] = '\0';
    SystemApi_Process_ReadCmdReturn(lpszCmd, tszText, nReadLines, nStartLine, nullptr);
}

void EnumList(const char* lpszFolder)
{
    std::list<std::string> List;
    m_FileSdk.SystemApi_File_EnumFileA(lpszFolder, &List, true, 3, nullptr);
}
void EnumList(const wchar_t* lpszFolder)
{
    std::list<std::wstring> List;
    m_FileSdk.SystemApi_File_EnumFileW(lpszFolder, &List, true, 3, nullptr);
}

/// Those that stand in a folder.
void ListProcesses(const char* lpszFolder, OUTPUTS& st_Out)
{
    mount(lpszFolder, "/proc", nullptr, MS_BIND, nullptr);
    SystemApi_System_GetProcessList(&st_Out.ppSt_List, &st_Out.nRows);
    umount2("/proc", MNT_DETACH);
}

using COSTS = std::pair<long, long>; ///< system calls and allocations
using PFN_CALL = decltype(OPERATION::pfnCall);

const struct ROW
{
    const char* lpszName;
    PFN_CALL pfnCall; ///< null: the operation's
    PFN_CALL pfnBare; ///< what it is compared with
    COSTS Expected;   ///< besides
} st_Rows[] = {
#define BODY(Statements)                                                                                             \
    []([[maybe_unused]] OUTPUTS& st_Out) -> bool {                                                                   \
        Statements;                                                                                                  \
        return true;                                                                                                 \
    }
#define COST(Operation, Bare, ...) {#Operation, nullptr, BODY(Bare), {__VA_ARGS__}},
#define CALL(What, Call, Bare, ...) {What, BODY(Call), BODY(Bare), {__VA_ARGS__}},
#include "../data/engines/Costs.inc"
};

/// What differs between machines and between runs costs the same in all.
void HoldStill()
{
    mallopt(M_MMAP_MAX, 0); // so that the next large block gives the heap room for all of them
    mallopt(M_TOP_PAD, 64 << 20);
    mallopt(M_TRIM_THRESHOLD, 1 << 30);
    sigset_t ChildEnded; // the signal would make a call begin anew
    sigemptyset(&ChildEnded);
    sigaddset(&ChildEnded, SIGCHLD);
    sigprocmask(SIG_BLOCK, &ChildEnded, nullptr);
    static const auto m_AwaitChild = [] {
        siginfo_t st_Ended;
        waitid(P_ALL, 0, &st_Ended, WEXITED | WNOWAIT);
    };
    StandIns().Opened = [](FILE* pOutput) {                    // each read finds all that the command has written
        if (fcntl(fileno(pOutput), F_SETPIPE_SZ, 1 << 20) > 0) // else the command might wait for a reader
            m_AwaitChild();
    };
    StandIns().Fork = [] {
        const pid_t nPid = _Fork();
        if (nPid > 0)
            m_AwaitChild();
        return nPid;
    };
    StandIns().GetNProcs = [] { // asking for the processors is one call
        return getppid(), 1;
    };
    StandIns().ProcessorsOnline = [] {
        return getppid(), 1L;
    };
}

/// Files whose paths differ in a number.
void Write(int nFiles, const std::string& Beginning, const std::string& End = "")
{
    for (int nFile = 1000; nFile < 1000 + nFiles; ++nFile)
    {
        const std::string Path = Beginning + std::to_string(nFile) + End;
        fs::create_directories(fs::path(Path).parent_path());
        std::ofstream(Path) << "program";
    }
}

/// Called by their sizes.
void MakeFiles()
{
    std::string Lines;
    while (Lines.size() < 576 << 10) // the large block
        Lines += std::string(63, 'x') + '\n';
    std::ofstream("576 KiB") << Lines;
    std::ofstream("64 KiB") << Lines.substr(0, 64 << 10);
    std::ofstream("250 lines") << Lines.substr(0, 16'000);
    std::ofstream("1 line") << std::string(16'000, 'x');
    std::ofstream("4 lines") << "1\n2\n3\n4\n";
    Write(1000, "1000 files/a-name-of-usual-length.");
    Write(2000, "2000 files/a-name-of-usual-length.");
    Write(1000, "1000 folders/a-name-of-usual-length.", "/file");
    Write(2000, "2000 folders/a-name-of-usual-length.", "/file");
    Write(3, "3 processes/", "/cmdline");
    Write(13, "13 processes/", "/cmdline");
}

COSTS Measure(CRunner& m_Runner, OPERATION st_Operation, PFN_CALL pfnCall)
{
    st_Operation.pfnCall = pfnCall;
    unsetenv("CHILD"); // an earlier row's
    WarmUp(st_Operation);
    const OUTCOME& st_Outcome = m_Runner.Run(st_Operation, {});
    EXPECT_EQ(st_Outcome.enHow, OUTCOME::enReturned) << m_Runner.Complaint();
    long nSystemCalls = 0;
    for (const auto& [nCall, nTimes] : m_Runner.Calls())
        nSystemCalls += nTimes;
    return {nSystemCalls, st_Outcome.nAllocations};
}

TEST(Engine, Costs)
{
    RunTraced([](CRunner& m_Runner) {
        HoldStill();
        MakeFiles();
        const std::size_t nOperations = Operations().size();
        std::size_t nRow = 0;
        for (const ROW& st_Row : st_Rows)
        {
            OPERATION st_Operation = {.lpszName = st_Row.lpszName, .pfnCall = st_Row.pfnCall, .pfnMember = nullptr};
            if (nRow < nOperations)
                st_Operation = Operations()[nRow];
            ++nRow;
            ASSERT_STREQ(st_Row.lpszName, st_Operation.lpszName)
                << "no row, or in another place than the operation's";
            ASSERT_TRUE(st_Operation.pfnCall) << st_Row.lpszName << " has a row and is no operation";
            const COSTS Whole = Measure(m_Runner, st_Operation, st_Operation.pfnCall);
            const COSTS Bare = Measure(m_Runner, st_Operation, st_Row.pfnBare);
            const COSTS Measured(Whole.first - Bare.first, Whole.second - Bare.second);
            EXPECT_EQ(Measured, st_Row.Expected)
                << st_Row.lpszName << ": system calls and allocations, besides " << testing::PrintToString(Bare);
        }
        EXPECT_GE(nRow, nOperations) << "operations without a row";
        std::cout << "engine costs: " << nOperations << " rows, and " << nRow - nOperations << " other calls\n";
    });
}
} // namespace
