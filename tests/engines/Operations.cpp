// SPDX-License-Identifier: MIT
#include "Operations.h"

#include "Fakes.h"
#include "StandIns.h"
#include "SystemApi_File/SystemApi_File.h"
#include "SystemApi_HardWare/SystemApi_HardWare.h"
#include "SystemApi_Process/SystemApi_Process.h"
#include "SystemApi_System/SystemApi_System.h"

#include <algorithm>
#include <atomic>
#include <cstdio>
#include <cstring>
#include <cwchar>
#include <dlfcn.h>
#include <fcntl.h>
#include <fstream>
#include <limits>
#include <optional>
#include <sched.h>
#include <set>
#include <sys/wait.h>
#include <unistd.h>

namespace fs = std::filesystem;

thread_local int nThread = 0;

OUTPUTS::OUTPUTS() noexcept
{
    std::memset(static_cast<void*>(this), 0x11, sizeof(*this));
    for (char* ptszEmpty : {tszText[0], tszText[1], tszText[2], tszText[3], tszRows})
        *ptszEmpty = '\0';
    st_Serial = {};
    ppszNarrow = nullptr;
    ppszWide = nullptr;
    ppSt_List = nullptr;
}

/* ---------------------------------------------------------------------------------------------------
 * What the rows are made of. What runs within a call allocates nothing and makes no system call.
 * ------------------------------------------------------------------------------------------------- */

namespace
{
/// A path below the thread's folder, in one of a few buffers that take turns.
const char* A(const char* lpszName)
{
    thread_local char tszPaths[4][64];
    thread_local unsigned nTurn = 0;
    char* const ptszPath = tszPaths[++nTurn % 4];
    std::snprintf(ptszPath, sizeof(tszPaths[0]), "%d/%s", nThread, lpszName);
    return ptszPath;
}
const wchar_t* W(const char* lpszName)
{
    thread_local wchar_t tszPaths[4][64];
    thread_local unsigned nTurn = 0;
    wchar_t* const ptszPath = tszPaths[++nTurn % 4];
    const char* const lpszPath = A(lpszName);
    std::copy(lpszPath, lpszPath + std::strlen(lpszPath) + 1, ptszPath);
    return ptszPath;
}

/// What the C function takes as a pointer and the member as a reference.
struct EITHER
{
    unsigned long& nNumber;
    operator unsigned long*() const { return &nNumber; }
    operator unsigned long&() const { return nNumber; }
};

void WriteFile(const char* lpszPath, std::size_t nSize)
{
    const std::string Bytes(nSize, static_cast<char>('a' + nThread));
    const int nFile = open(lpszPath, O_CREAT | O_TRUNC | O_WRONLY | O_CLOEXEC, 0600);
    if (write(nFile, Bytes.data(), nSize) != static_cast<ssize_t>(nSize) || close(nFile) != 0)
        throw std::runtime_error(lpszPath);
}

/// The files as every call finds them that changes some.
void ResetFiles()
{
    fs::remove_all(A("new"));
    fs::remove_all(A("tree"));
    fs::create_directories(A("tree/sub"));
    const auto nOwn = static_cast<std::size_t>(nThread);
    for (const char* lpszName : {"tree/a.txt", "tree/b.bin", "tree/sub/c.txt"})
        WriteFile(A(lpszName), 10 + nOwn);
    WriteFile(A(("tree/" + std::to_string(nThread) + ".txt").c_str()), 0);
}

thread_local pid_t Child = 0;  ///< what Stop may stop
thread_local pid_t Forked = 0; ///< what SystemEx may kill

void StartChild()
{
    Child = _Fork();
    if (Child == 0)
    {
        alarm(60); // the end, should nobody stop it
        sigset_t None;
        sigemptyset(&None);
        signal(SIGALRM, SIG_DFL);
        sigprocmask(SIG_SETMASK, &None, nullptr);
        for (;;)
            pause();
    }
    setenv("CHILD", std::to_string(Child).c_str(), 1);
}

void FakeProcesses()
{
    if (unshare(CLONE_NEWNS) != 0)
        throw std::runtime_error("no private /proc");
    FakeFolder("/proc");
    for (const char* lpszId : {"99", "101", "4711"})
    {
        fs::create_directory(std::string("/proc/") + lpszId);
        std::ofstream(std::string("/proc/") + lpszId + "/cmdline") << "program " << lpszId;
    }
}

/// Of the failures.
const std::string TooLong(1024, 'a');
bool bCopiesNothing = false;

void CopyNothing()
{
    bCopiesNothing = true;
}
void LogStrangerIn()
{
    FakeProcesses();
    fs::create_directory("/proc/0"); // what is read where a stat entry tells nothing
    std::ofstream("/proc/0/loginuid") << 4'242'424;
}
void LengthenVendor() // beyond what is read at once
{
    FakeProcesses();
    std::ofstream("/proc/cpuinfo") << "processor\t: 0\nvendor_id\t: " << std::string(2000, 'V')
                                   << "\n3\n4\n: \n6\n7\n8\n";
}
void LeapToTheEndOfTime()
{
    StandIns().Time = std::numeric_limits<std::time_t>::max;
}
void BeNiceByMinusOne()
{
    StandIns().GetPriority = [](id_t) {
        return -1;
    };
}
void RefuseReboot()
{
    StandIns().Reboot = [](int) {
        errno = EPERM;
        return -1;
    };
}
} // namespace

/// In the place of the standard library's, which never copies nothing without an error.
bool fs::copy_file(const fs::path& From, const fs::path& To, fs::copy_options enOptions, std::error_code& Error)
{
    constexpr const char* lpszName =
        "_ZNSt10filesystem9copy_fileERKNS_7__cxx114pathES3_NS_12copy_optionsERSt10error_code";
    using COPY = bool (*)(const fs::path&, const fs::path&, fs::copy_options, std::error_code&);
    static const auto pfnReal = reinterpret_cast<COPY>(dlsym(RTLD_NEXT, lpszName));
    return !bCopiesNothing && pfnReal(From, To, enOptions, Error);
}

using R = RULE;

// clang-format off: rows
#define CALLS(Sdk, Name, Arguments, ...)                                                                             \
    {                                                                                                                \
        .lpszName = #Name, .pfnCall = []([[maybe_unused]] OUTPUTS& st_Out) -> bool { return Name Arguments; },       \
        .pfnMember = []([[maybe_unused]] OUTPUTS& st_Out) -> bool {                                                  \
            return Sdk.Name Arguments;                                                                               \
        } __VA_OPT__(, ) __VA_ARGS__                                                                                 \
    }
#define OPERATION(...) CALLS(__VA_ARGS__),
#define FAILURE(Symbol, Errno, Sdk, Name, Arguments, ...)                                                            \
    {.lpszSymbol = #Symbol,                                                                                          \
     .dwCode = ERROR_SYSTEMAPI_##Symbol,                                                                             \
     .nErrno = Errno,                                                                                                \
     .st_Operation = CALLS(Sdk, Name, Arguments) __VA_OPT__(, ) __VA_ARGS__},
#define FUNCTION(Name, Arguments)                                                                                    \
    {.lpszName = #Name,                                                                                              \
     .pfnCall = [](OUTPUTS& st_Out) -> bool {                                                                        \
         SystemApi_IsErrorOccur = false;                                                                             \
         return Name Arguments == SystemApi_dwErrorCode;                                                             \
     },                                                                                                              \
     .pfnMember = nullptr,                                                                                           \
     .bAlone = true},
#include "../data/engines/Rules.inc"
// clang-format on

const std::vector<OPERATION>& Operations()
{
    static const std::vector<OPERATION> Rows = {
#include "../data/engines/Operations.inc"
    };
    return Rows;
}

const std::vector<FAILURE>& Failures()
{
    static const std::vector<FAILURE> Rows = {
#include "../data/engines/Failures.inc"
    };
    return Rows;
}

/* ---------------------------------------------------------------------------------------------------
 * The machine
 * ------------------------------------------------------------------------------------------------- */

namespace
{
// Never destroyed: a child process that ends would remove the folders.
auto& Folder = *new std::optional<CTempFolder>;
auto& Tools = *new std::optional<CFakeTools>;
} // namespace

CMachine::CMachine(int nThreads)
{
    signal(SIGINT, SIG_DFL); // ignored in the background: a child would miss one that comes early
    Folder.emplace();
    Tools.emplace();
    setenv("TZ", "UTC", 1);             // which a zone that cannot be read is, too
    FakeFolder(Folder->Path().c_str()); // in memory: rows begin with new files
    fs::current_path(Folder->Path());
    for (nThread = 0; nThread < nThreads; ++nThread)
    {
        ResetFiles();
        WriteFile(A("file"), 100 + static_cast<std::size_t>(nThread));
    }
    nThread = 0;
    FakeFile("/proc/partitions", "major minor  #blocks  name\n\n   8  0  100 sda\n 259  1  50 nvme0n1p1\n");
    FakeFile("/proc/cpuinfo", "processor\t: 0\nvendor_id\t: Vendor\ncpu family\t: 6\nmodel\t: 1\nmodel name\t: Name\n"
                              "stepping\t: 1\nmicrocode\t: 1\ncpu MHz\t: 2904.998\n");
    FakeFile("/proc/stat", "cpu  10 0 5 85 0 0 0 0 0\ncpu0 10 0 5 85\n");
    FakeFile("/proc/meminfo", "MemTotal: 2048 kB\nMemAvailable: 512 kB\nShmem: 8 kB\n");
    FakeFile("/etc/os-release", "NAME=\"Name\"\nVERSION_ID=\"22.04\"\nVERSION=\"22.04 (Code)\"\n");
    Tools->Add("ps",
               R"([ "$4" = lstart= ] && echo 'Mon Jan  1 08:09:10 2024' || echo "u ${CHILD:-4711} 12.5 0.3 wanted")");
    Tools->Add("sudo", "printf 'ID: 1\\nID: 2 U=\"uuid\"\\n'");

    StandIns().GetNProcs = [] {
        return 1;
    };
    StandIns().ProcessorsOnline = [] {
        return 1L;
    };
    StandIns().StatFs = [](const char* lpszPath,
                           struct statfs* pSt_Fs) { // /proc's, of a size that nobody else changes
        const long nResult = syscall(SYS_statfs, lpszPath, pSt_Fs);
        pSt_Fs->f_blocks = 1'000'000;
        pSt_Fs->f_bfree = pSt_Fs->f_bavail = 500'000;
        return static_cast<int>(nResult);
    };
    StandIns().Reboot = [](int) {
        return 0;
    };
    StandIns().System = [](const char*) {
        return 0;
    };
    static const int nNice = getpriority(PRIO_PROCESS, 0);
    StandIns().SetPriority = [](id_t nId, int) {
        return static_cast<int>(syscall(SYS_setpriority, PRIO_PROCESS, nId, nNice)); // never higher
    };
    StandIns().Fork = [] {
        return Forked = _Fork();
    };
    StandIns().Kill = [](pid_t nPid, int nSignal) {
        if (nPid > 1 && (nPid == Child || nPid == Forked))
            return static_cast<int>(syscall(SYS_kill, nPid, nSignal));
        errno = EPERM;
        return -1;
    };
}

CMachine::~CMachine()
{
    StandIns() = {};
    fs::current_path("/");
    LiftFakes();
    Tools.reset();
    Folder.reset();
}

void Prepare(const OPERATION& st_Operation)
{
    static std::atomic<const OPERATION*> pSt_Prepared = nullptr;
    if (st_Operation.pfnMachine && pSt_Prepared.exchange(&st_Operation) != &st_Operation)
        st_Operation.pfnMachine();
    if (st_Operation.pfnPrepare)
        st_Operation.pfnPrepare();
}

void Flatten(const OPERATION& st_Operation, OUTPUTS& st_Out)
{
    std::set<std::string> Rows; // in an order of their own: a folder's is the machine's
    const auto m_Take = [&](auto*& ppRows, auto pfnText) {
        if (!ppRows)
            return;
        for (int nRow = 0; nRow < st_Out.nRows; ++nRow)
            Rows.insert(pfnText(*ppRows[nRow]));
        BaseLib_Memory_Free(&ppRows, st_Out.nRows);
    };
    m_Take(st_Out.ppszNarrow, [](char& chFirst) { return std::string(&chFirst); });
    m_Take(st_Out.ppszWide, [](wchar_t& chFirst) { return std::string(&chFirst, &chFirst + std::wcslen(&chFirst)); });
    m_Take(st_Out.ppSt_List,
           [](SYSTEMAPI_PROCESS_INFO& st_Row) { return std::to_string(st_Row.nPid) + " " + st_Row.tszProcessName; });
    if (st_Operation.bFiles)
        for (const auto& Entry : fs::recursive_directory_iterator(std::to_string(nThread)))
        {
            const std::string Bytes = Entry.is_directory() ? "/" : ReadWhole(Entry.path());
            Rows.insert(Entry.path().string() + " " + std::to_string(Bytes.size()) + Bytes.substr(0, 9));
        }
    if (st_Out.st_Attr.nAccessTime != OUTPUTS().st_Attr.nAccessTime) // somebody else may read the file
        st_Out.st_Attr.nAccessTime = 0;
    if (st_Operation.bStarts && st_Out.dwNumber != OUTPUTS().dwNumber) // the id of a child
        st_Out.dwNumber = waitpid(static_cast<pid_t>(st_Out.dwNumber), nullptr, 0) > 0;
    std::string Text;
    for (const std::string& Row : Rows)
        Text += Row + "\n";
    st_Out.tszRows[Text.copy(st_Out.tszRows, sizeof(st_Out.tszRows) - 1)] = '\0';
}

void EndChild()
{
    if (Child > 1 && syscall(SYS_kill, Child, SIGKILL) == 0)
        waitpid(Child, nullptr, 0);
    Child = 0;
}

bool Call(const OPERATION& st_Operation, OUTPUTS& st_Out, bool bMember)
{
    Prepare(st_Operation);
    errno = nErrnoBefore;
    const bool bResult = (bMember ? st_Operation.pfnMember : st_Operation.pfnCall)(st_Out);
    Flatten(st_Operation, st_Out);
    EndChild();
    return bResult;
}

void WarmUp(const OPERATION& st_Operation)
{
    OUTPUTS st_Out;
    if (!st_Operation.pfnMachine && !st_Operation.bStarts)
        Call(st_Operation, st_Out);
}

std::string Difference(const OUTPUTS& st_First, const OUTPUTS& st_Second)
{
    const auto* const pFirst = reinterpret_cast<const unsigned char*>(&st_First);
    const auto* const pSecond = reinterpret_cast<const unsigned char*>(&st_Second);
    const auto nPlace =
        static_cast<std::size_t>(std::mismatch(pFirst, pFirst + sizeof(OUTPUTS), pSecond).first - pFirst);
    if (nPlace == sizeof(OUTPUTS))
        return {};
    return "outputs differ at byte " + std::to_string(nPlace) + "; rows: " + st_First.tszRows + " / " +
           st_Second.tszRows;
}
