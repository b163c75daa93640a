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

struct COSTS
{
    long nSystemCalls;
    long nAllocations;

    bool operator==(const COSTS&) const = default;
    friend std::ostream& operator<<(std::ostream& Stream, const COSTS& st_Costs)
    {
        return Stream << st_Costs.nSystemCalls << " system calls and " << st_Costs.nAllocations << " allocations";
    }
};

using CALL = bool (*)(OUTPUTS& st_Out);

const struct ROW
{
    const char* lpszName;
    CALL pfnCall; ///< null: the operation's
    CALL pfnBare; ///< what it is compared with
    COSTS st_Besides;
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
    mallopt(M_MMAP_MAX, 0); // the heap has room before anything is counted
    mallopt(M_TRIM_THRESHOLD, 1 << 30);
    free(malloc(64 << 20));
    sigset_t ChildEnded; // the signal would make a call begin anew
    sigemptyset(&ChildEnded);
    sigaddset(&ChildEnded, SIGCHLD);
    sigprocmask(SIG_BLOCK, &ChildEnded, nullptr);
    static const auto m_AwaitChild = [] {
        siginfo_t st_Ended;
        waitid(P_ALL, 0, &st_Ended, WEXITED | WNOWAIT);
    };
    StandIns().Opened = [](FILE* pOutput) { // each read finds all that the command has written
        fcntl(fileno(pOutput), F_SETPIPE_SZ, 1 << 20);
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

void Write(const std::string& Path, std::string_view Text)
{
    fs::create_directories(fs::path("./" + Path).parent_path());
    std::ofstream(Path) << Text;
}

/// Called by their sizes.
void MakeFiles()
{
    std::string Lines;
    while (Lines.size() < 576 << 10)
        Lines += std::string(63, 'x') + '\n';
    Write("4 lines", "1\n2\n3\n4\n");
    Write("1 line", std::string(16'000, 'x'));
    Write("250 lines", Lines.substr(0, 16'000));
    Write("64 KiB", Lines.substr(0, 64 << 10));
    Write("576 KiB", Lines);
    for (int nNew = 0; nNew < 2000; ++nNew)
    {
        const std::string Name = "/a-name-of-usual-length." + std::to_string(1000 + nNew);
        Write("2000 files" + Name, "");
        if (nNew < 1000)
            Write("1000 files" + Name, "");
        if (nNew < 200)
            fs::create_directories("200 folders" + Name);
        if (nNew < 100)
            fs::create_directories("100 folders" + Name);
        const std::string Process = " processes/" + std::to_string(1000 + nNew) + "/cmdline";
        if (nNew < 13)
            Write("13" + Process, "program");
        if (nNew < 3)
            Write("3" + Process, "program");
    }
}

COSTS Measure(CRunner& m_Runner, OPERATION st_Operation, CALL pfnCall)
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
            const COSTS st_All = Measure(m_Runner, st_Operation, st_Operation.pfnCall);
            const COSTS st_Bare = Measure(m_Runner, st_Operation, st_Row.pfnBare);
            const COSTS st_Besides = {st_All.nSystemCalls - st_Bare.nSystemCalls,
                                      st_All.nAllocations - st_Bare.nAllocations};
            if (st_Besides != st_Row.st_Besides)
                ADD_FAILURE() << st_Row.lpszName << ": expected " << st_Row.st_Besides << ", measured " << st_Besides
                              << ", besides " << st_Bare;
        }
        EXPECT_GE(nRow, nOperations) << "operations without a row";
        std::cout << "engine costs: " << nOperations << " rows, and " << nRow - nOperations << " other calls\n";
    });
}
} // namespace
