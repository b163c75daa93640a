// SPDX-License-Identifier: MIT
#include "SystemApi_System.h"

#include "../KernelFile.h"
#include "../LineScan.h"
#include "../RowTable.h"
#include "../SystemApi_Process/CommandOutput.h"
#include "../SystemApi_Process/UserName.h"
#include "../Truncate.h"
#include "../Unit.h"
#include "../pch.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <dirent.h>
#include <iterator>
#include <limits>
#include <list>
#include <numeric>
#include <string_view>
#include <strings.h>
#include <sys/reboot.h>
#include <sys/sysinfo.h>
#include <sys/utsname.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>
#include <vector>

// Kept out of line on purpose: where the global object stands GCC could drop the calls, and with them the order
// at load and at unload.
CSystemApi_System::CSystemApi_System() = default;
CSystemApi_System::~CSystemApi_System() = default;

/* ---------------------------------------------------------------------------------------------------
 * Version and names
 * ------------------------------------------------------------------------------------------------- */

namespace
{
/// Kept on purpose: names are compared by their beginning alone.
bool BeginsWith(const char* lpszText, const char* lpszName)
{
    return std::strncmp(lpszText, lpszName, std::strlen(lpszName)) == 0;
}
bool BeginsWithAnyCase(const char* lpszText, const char* lpszName)
{
    return strncasecmp(lpszText, lpszName, std::strlen(lpszName)) == 0;
}
} // namespace

bool CSystemApi_System::SystemApi_System_GetSystemVer(char* ptszOSName, char* ptszOSVersion, char* ptszOSBuild,
                                                      unsigned long* pInt_OSType, char* ptszKernel)
{
    constexpr unsigned long dwThisPlatform = 2;

    ClearError();
    if (!ptszOSName || !ptszOSVersion || !ptszOSBuild || !pInt_OSType)
        return Fail(ERROR_SYSTEMAPI_SYSTEM_GETSYSTEMVER_PARAMETER);
    utsname st_Kernel = {};
    if (uname(&st_Kernel) != 0)
        return Fail(ERROR_SYSTEMAPI_SYSTEM_GETSYSTEMVER_UNAME);
    if (ptszKernel)
        std::memcpy(ptszKernel, st_Kernel.release, std::strlen(st_Kernel.release) + 1);
    *pInt_OSType = dwThisPlatform;

    char tszRelease[BASELIB_TEXT_SIZE] = {};
    if (!ReadCommand("cat /etc/os-release", tszRelease))
        ClearError(); // a release file that cannot be read is no failure
    char* ptszRest = nullptr;
    for (const char* lpszLine = strtok_r(tszRelease, "\n", &ptszRest); lpszLine;
         lpszLine = strtok_r(nullptr, "\n", &ptszRest))
    {
        char tszKey[BASELIB_TEXT_SIZE] = {};
        char tszValue[BASELIB_TEXT_SIZE] = {};
        BaseLib_String_GetKeyValueA(lpszLine, "=", tszKey, tszValue, 1, 0, 0);
        if (BeginsWithAnyCase(tszKey, "NAME"))
            BaseLib_String_GetStartEndA(tszValue, ptszOSName, "\"", "\"", 0);
        else if (BeginsWithAnyCase(tszKey, "VERSION_ID"))
            BaseLib_String_GetStartEndA(tszValue, ptszOSVersion, "\"", "\"", 0);
        else if (BeginsWithAnyCase(tszKey, "VERSION"))
            BaseLib_String_GetStartEndA(tszValue, ptszOSBuild, "(", ")", 0);
    }
    return true;
}

bool CSystemApi_System::SystemApi_System_GetSysName(char* ptszUserName, char* ptszSysName)
{
    constexpr std::size_t nHostNameSize = 1024;

    ClearError();
    if (ptszUserName)
    {
        const CUserEntry m_User(geteuid());
        if (m_User.Name())
            std::memcpy(ptszUserName, m_User.Name(), std::strlen(m_User.Name()) + 1);
    }
    if (ptszSysName)
        gethostname(ptszSysName, nHostNameSize);
    return true;
}

/* ---------------------------------------------------------------------------------------------------
 * Memory
 * ------------------------------------------------------------------------------------------------- */

namespace
{
/// Takes the number of a line "Name:  123 kB"; a line without one leaves the field alone.
void ReadAmount(const char* lpszLine, unsigned long& nField)
{
    auto nAmount = static_cast<long long>(nField);
    std::sscanf(lpszLine, "%*s %lld", &nAmount); // NOLINT(cert-err34-c): what does not scan stays as it was
    nField = static_cast<unsigned long>(nAmount);
}

void ReadMemoryLine(const char* lpszLine, tag_SystemApi_Memory_Infomation& st_Memory)
{
    if (BeginsWith(lpszLine, "MemTotal"))
        ReadAmount(lpszLine, st_Memory.nMemoryTotal);
    if (BeginsWith(lpszLine, "MemAvailable"))
        ReadAmount(lpszLine, st_Memory.nMemoryAvailable);
    if (BeginsWith(lpszLine, "SwapTotal"))
        ReadAmount(lpszLine, st_Memory.nSwapTotal);
    if (BeginsWith(lpszLine, "SwapFree"))
        ReadAmount(lpszLine, st_Memory.nSwapFree);
    if (BeginsWith(lpszLine, "Shmem")) // Kept on purpose: ShmemHugePages and ShmemPmdMapped overwrite it.
        ReadAmount(lpszLine, st_Memory.nMemoryShared);
}
} // namespace

bool CSystemApi_System::SystemApi_System_GetMemoryUsage(tag_SystemApi_Memory_Infomation* pSt_MemoryInfo, int nType)
{
    ClearError();
    if (!pSt_MemoryInfo)
        return Fail(ERROR_SYSTEMAPI_SYSTEM_GETMEMORYUSAGE_PARAMETER);
    {
        CCommandOutput m_Table("cat /proc/meminfo");
        if (!m_Table)
            return Fail(ERROR_SYSTEMAPI_SYSTEM_GETMEMORYUSAGE_POPEN);
        std::string_view Lines;
        while (m_Table.ReadPieces(Lines))
        {
            while (!Lines.empty())
            {
                char tszLine[CCommandOutput::nPieceMax + 1];
                tszLine[CCommandOutput::TakePiece(Lines).copy(tszLine, CCommandOutput::nPieceMax)] = '\0';
                ReadMemoryLine(tszLine, *pSt_MemoryInfo);
            }
        }
    }

    const float fRatio =
        static_cast<float>(pSt_MemoryInfo->nMemoryAvailable) / static_cast<float>(pSt_MemoryInfo->nMemoryTotal);
    pSt_MemoryInfo->nMemoryLoad = TruncateToInt(100.0F - fRatio * 100.0F);

    const int nShift = UnitShift(nType).value_or(0); // an unknown unit is bytes
    unsigned long* const pnScaled[] = {&pSt_MemoryInfo->nMemoryTotal, &pSt_MemoryInfo->nMemoryAvailable,
                                       &pSt_MemoryInfo->nSwapTotal, &pSt_MemoryInfo->nSwapFree};
    for (unsigned long* pnField : pnScaled)
        *pnField = *pnField << 10 >> nShift;     // from KiB to bytes, then to the unit
    pSt_MemoryInfo->nMemoryShared <<= 10;        // Kept on purpose: in bytes in every unit.
    pSt_MemoryInfo->nMemoryReserved1 >>= nShift; // Kept on purpose: scaled, though never filled.
    pSt_MemoryInfo->nMemoryReserved2 >>= nShift;
    return true;
}

/* ---------------------------------------------------------------------------------------------------
 * Processor time
 * ------------------------------------------------------------------------------------------------- */

namespace
{
constexpr const char* lpszCounters = "/proc/stat";

/// One second, whole: sleep alone returns early when a signal comes, without the fraction that was left.
void SleepOneSecond()
{
    const auto End = std::chrono::steady_clock::now() + std::chrono::seconds(1);
    sleep(1);
    std::this_thread::sleep_until(End);
}

/// Kept on purpose: neither the line's name nor its form is looked at; what does not scan stays as it was.
void ReadCounters(const char* lpszLine, tag_LinuxSdk_SystemCpu_Occupy& st_Occupy)
{
    CLineScan(lpszLine)
        .Word(st_Occupy.tszCpuName)
        .Number(st_Occupy.dwUser)
        .Number(st_Occupy.dwNice)
        .Number(st_Occupy.dwSystem)
        .Number(st_Occupy.dwIdle);
}

/// The sampler, error state included. Never fills more elements than there is room for.
bool Sample(tag_LinuxSdk_SystemCpu_Occupy* pSt_CpuOccupy, std::size_t nRoom)
{
    ClearError();
    CKernelFile m_Counters(lpszCounters);
    if (!m_Counters)
        return Fail(ERROR_SYSTEMAPI_SYSTEM_GETOCCUPY_OPEN);
    if (!m_Counters.ReadLine()) // the summary of all processors
        return Fail(ERROR_SYSTEMAPI_SYSTEM_GETOCCUPY_READ);
    // The count is asked for anew before every line: processors come and go.
    for (std::size_t nCpu = 0; nCpu < nRoom && nCpu < std::thread::hardware_concurrency(); ++nCpu)
    {
        if (!m_Counters.ReadLine())
            break;
        ReadCounters(m_Counters.Line(), pSt_CpuOccupy[nCpu]);
    }
    return true;
}

/// All counted time, modulo 2^32 like the counters.
unsigned int TotalTime(const tag_LinuxSdk_SystemCpu_Occupy& st_Occupy)
{
    return st_Occupy.dwUser + st_Occupy.dwNice + st_Occupy.dwSystem + st_Occupy.dwIdle;
}

/// The summary of all processors: user, nice, system, idle, iowait, irq, softirq, steal, guest.
using SUMMARY_TIMES = std::array<unsigned long, 9>;
constexpr std::size_t nIdleInSummary = 3;

/// False, with nothing stored, for any other line and for a summary with fewer times.
bool ReadSummary(const char* lpszLine, SUMMARY_TIMES& Times)
{
    constexpr std::string_view Name = "cpu ";
    if (!BeginsWith(lpszLine, Name.data()))
        return false;
    SUMMARY_TIMES Found = {};
    CLineScan Scan(lpszLine + Name.size());
    for (unsigned long& nTime : Found)
        Scan.Number(nTime);
    if (Scan.Count() < std::ssize(Found))
        return false;
    Times = Found;
    return true;
}
} // namespace

bool CSystemApi_System::SystemApi_System_Get_Occupy(tag_LinuxSdk_SystemCpu_Occupy* pSt_CpuOccupy)
{
    return Sample(pSt_CpuOccupy, nUnbounded);
}

float CSystemApi_System::SystemApi_System_Cal_Occupy(tag_LinuxSdk_SystemCpu_Occupy* pSt_First,
                                                     tag_LinuxSdk_SystemCpu_Occupy* pSt_Second)
{
    static_assert(std::numeric_limits<double>::is_iec559, "a division by zero gives an infinity or a NaN");

    // Kept on purpose: niced time counts in the total and not as busy.
    const double fBusy = static_cast<double>(pSt_Second->dwUser - pSt_First->dwUser) +
                         static_cast<double>(pSt_Second->dwSystem - pSt_First->dwSystem);
    // Kept on purpose: the totals are subtracted as they stand, so that one that wrapped gives a negative result.
    const double fTotal = static_cast<double>(TotalTime(*pSt_Second)) - static_cast<double>(TotalTime(*pSt_First));
    return static_cast<float>(fBusy * 100.0 / fTotal);
}

bool CSystemApi_System::SystemApi_System_GetCpuUsage(int* pInt_Usage)
{
    ClearError();
    if (!pInt_Usage)
        return Fail(ERROR_SYSTEMAPI_SYSTEM_GETCPUUSAGE_PARAMETER);
    // Kept on purpose: the mean is taken over the processors online, the sampler fills in one element for each
    // hardware thread. The arrays hold the greater number.
    const int nOnline = static_cast<int>(sysconf(_SC_NPROCESSORS_ONLN));
    const std::size_t nElements =
        std::max(std::thread::hardware_concurrency(), static_cast<unsigned>(std::max(nOnline, 0)));
    std::vector<tag_LinuxSdk_SystemCpu_Occupy> First(nElements);
    std::vector<tag_LinuxSdk_SystemCpu_Occupy> Second(nElements);

    if (!Sample(First.data(), nElements))
        return false;
    SleepOneSecond();
    if (!Sample(Second.data(), nElements))
        return false;
    float fSum = 0.0F;
    for (int nCpu = 0; nCpu < nOnline; ++nCpu)
    {
        const auto nElement = static_cast<std::size_t>(nCpu);
        fSum += SystemApi_System_Cal_Occupy(&First[nElement], &Second[nElement]);
    }
    *pInt_Usage = TruncateToInt(fSum / static_cast<float>(nOnline));
    return true;
}

bool CSystemApi_System::SystemApi_System_GetSysIdleTime(unsigned long& nIdleTime)
{
    ClearError();
    CKernelFile m_Counters(lpszCounters);
    if (!m_Counters)
        return Fail(ERROR_SYSTEMAPI_SYSTEM_GETSYSIDLETIME_OPEN);
    SUMMARY_TIMES Times = {};
    for (bool bFound = false; !bFound && m_Counters.ReadLine();)
        bFound = ReadSummary(m_Counters.Line(), Times);
    const unsigned long nTotal = std::accumulate(Times.begin(), Times.end(), 0UL);
    // Kept on purpose: a fraction, not scaled, so 0 as soon as any time was not idle.
    nIdleTime = TruncateToUnsigned(static_cast<double>(Times[nIdleInSummary]) / static_cast<double>(nTotal));
    return true;
}

/* ---------------------------------------------------------------------------------------------------
 * Processes
 * ------------------------------------------------------------------------------------------------- */

namespace
{
constexpr int nLastUnlistedPid = 100; // Kept on purpose: the first hundred ids are never listed.

/// The process id that a folder of /proc is named for; 0 for any other entry.
int PidOfEntry(const dirent& st_Entry)
{
    if (st_Entry.d_type != DT_DIR || st_Entry.d_name[0] < '0' || st_Entry.d_name[0] > '9')
        return 0;
    return static_cast<int>(std::strtol(st_Entry.d_name, nullptr, 10));
}
} // namespace

bool CSystemApi_System::SystemApi_System_GetProcessList(SYSTEMAPI_PROCESS_INFO*** pppSt_ProcessList,
                                                        int* pInt_ListCount)
{
    static_assert(sizeof(SYSTEMAPI_PROCESS_INFO) == 1028, "callers release rows of 1028 bytes");

    ClearError();
    FolderHandle m_Folder(opendir("/proc"));
    if (!m_Folder)
        return Fail(ERROR_SYSTEMAPI_PROCESS_GETPATH_READLINK); // Kept on purpose: 0x040A3002, of the process block.

    std::list<SYSTEMAPI_PROCESS_INFO> List;
    // NOLINTNEXTLINE(concurrency-mt-unsafe): a stream of its own
    while (const dirent* pSt_Entry = readdir(m_Folder.get()))
    {
        const int nPid = PidOfEntry(*pSt_Entry);
        if (nPid <= nLastUnlistedPid)
            continue;
        // Straight into the zeroed record, up to the first null character: its first argument alone, however long
        // the command line is.
        SYSTEMAPI_PROCESS_INFO st_Process = {};
        char tszCommand[BASELIB_TEXT_SIZE] = {}; // holds every name: one of a folder is 255 bytes at most
        std::snprintf(tszCommand, sizeof(tszCommand), "cat /proc/%s/cmdline", pSt_Entry->d_name);
        if (!ReadCommand(tszCommand,
                         CAPTURE_TARGET{st_Process.tszProcessName, sizeof(st_Process.tszProcessName), true}))
            continue;
        st_Process.nPid = nPid;
        List.push_back(st_Process);
    }
    m_Folder.reset();
    ClearError(); // a process that could not be asked is left out, which is no failure

    CRowTable<SYSTEMAPI_PROCESS_INFO> m_Table(static_cast<long long>(List.size()), sizeof(SYSTEMAPI_PROCESS_INFO));
    long long nRow = 0;
    for (const SYSTEMAPI_PROCESS_INFO& st_Process : List)
        *m_Table[nRow++] = st_Process;
    *pInt_ListCount = static_cast<int>(List.size());
    *pppSt_ProcessList = m_Table.HandOver();
    return true;
}

bool CSystemApi_System::SystemApi_System_GetProcessCount(int* pInt_ProcessCount)
{
    ClearError();
    if (!pInt_ProcessCount)
        return Fail(ERROR_SYSTEMAPI_SYSTEM_GETPROCESSCOUNT_PARAMETER);
    struct sysinfo st_Info = {};
    if (sysinfo(&st_Info) != 0)
        return Fail(ERROR_SYSTEMAPI_SYSTEM_GETPROCESSCOUNT_SYSINFO);
    *pInt_ProcessCount = st_Info.procs;
    return true;
}

/* ---------------------------------------------------------------------------------------------------
 * Start-up, shutdown and commands
 * ------------------------------------------------------------------------------------------------- */

bool CSystemApi_System::SystemApi_System_GetUpTime(TOLVANE_LIBTIME* pSt_SysTime)
{
    ClearError();
    if (!pSt_SysTime)
        return Fail(ERROR_SYSTEMAPI_SYSTEM_GETUPTIME_PARAMETER);
    const auto nNow = static_cast<unsigned long long>(std::time(nullptr));
    const auto nBoot = static_cast<long long>(nNow - BaseLib_Time_GetTickCount() / 1000);
    return BaseLib_Time_TTimeToStuTime(nBoot, pSt_SysTime) || Fail(ERROR_SYSTEMAPI_SYSTEM_GETUPTIME_LOCALTIME);
}

namespace
{
int RunCommand(const char* lpszCmd)
{
    return std::system(lpszCmd); // NOLINT(concurrency-mt-unsafe): as safe as any other command of the library
}
} // namespace

bool CSystemApi_System::SystemApi_System_Shutdown(unsigned long dwType)
{
    ClearError();
    int nResult = 0;
    switch (dwType)
    {
    case SYSTEMAPI_SHUTDOWN_TYPE_POWEROFF:
        nResult = reboot(static_cast<int>(RB_HALT_SYSTEM)); // Kept on purpose: halts, with the power left on.
        break;
    case SYSTEMAPI_SHUTDOWN_TYPE_MONITOROFF:
        nResult = RunCommand("xset dpms force off");
        break;
    case SYSTEMAPI_SHUTDOWN_TYPE_REBOOT:
        nResult = reboot(static_cast<int>(RB_AUTOBOOT));
        break;
    case SYSTEMAPI_SHUTDOWN_TYPE_LOGOFF:
        nResult = RunCommand("pkill -kill -u username"); // Kept on purpose: the user called "username".
        break;
    case SYSTEMAPI_SHUTDOWN_TYPE_LOCK:
        nResult = RunCommand("gnome-screensaver-command -l");
        break;
    case SYSTEMAPI_SHUTDOWN_TYPE_SUSPEND:
        nResult = reboot(static_cast<int>(RB_SW_SUSPEND));
        break;
    default: // Kept on purpose: 0x10006, in the midst of the others, too.
        return Fail(ERROR_SYSTEMAPI_SYSTEM_SHUTDOWN_PARAMETER);
    }
    return nResult == 0 || Fail(ERROR_SYSTEMAPI_SYSTEM_SHUTDOWN_EXEC);
}

namespace
{
/// How the process and the thread took signals before a command was run.
struct SIGNAL_STATE
{
    struct sigaction st_Interrupt;
    struct sigaction st_Quit;
    sigset_t Mask;
};

/// Ignores SIGINT and SIGQUIT and blocks SIGCHLD. Kept on purpose: when a step fails, those before it stand.
bool HoldSignals(SIGNAL_STATE& st_Before)
{
    struct sigaction st_Ignore = {};
    st_Ignore.sa_handler = SIG_IGN;
    sigemptyset(&st_Ignore.sa_mask);
    sigset_t ChildEnded;
    sigemptyset(&ChildEnded);
    sigaddset(&ChildEnded, SIGCHLD);
    return sigaction(SIGINT, &st_Ignore, &st_Before.st_Interrupt) == 0 &&
           sigaction(SIGQUIT, &st_Ignore, &st_Before.st_Quit) == 0 &&
           sigprocmask(SIG_BLOCK, &ChildEnded, &st_Before.Mask) == 0;
}

void ReleaseSignals(const SIGNAL_STATE& st_Before)
{
    sigaction(SIGINT, &st_Before.st_Interrupt, nullptr);
    sigaction(SIGQUIT, &st_Before.st_Quit, nullptr);
    sigprocmask(SIG_SETMASK, &st_Before.Mask, nullptr);
}

/// Polls once a second until the child has ended; from the time limit on kills it and polls without a pause.
void WaitFor(pid_t nPid, int nTimeout)
{
    const std::time_t nStart = std::time(nullptr);
    int nStatus = 0;
    while (waitpid(nPid, &nStatus, WNOHANG) == 0)
    {
        if (std::time(nullptr) - nStart < nTimeout)
            SleepOneSecond();
        else
            kill(nPid, SIGKILL);
    }
}
} // namespace

bool CSystemApi_System::SystemApi_System_SystemEx(const char* lpszCmd, int nTimeout)
{
    constexpr int nNoShell = 127;

    ClearError();
    if (!lpszCmd)
        return Fail(ERROR_SYSTEMAPI_SYSTEM_SYSTEMEX_PARAMETER);
    SIGNAL_STATE st_Before;
    if (!HoldSignals(st_Before))
        return Fail(ERROR_SYSTEMAPI_SYSTEM_SYSTEMEX_SIGNAL);
    const pid_t nPid = fork();
    if (nPid < 0)
        return Fail(ERROR_SYSTEMAPI_SYSTEM_SYSTEMEX_FORK); // Kept on purpose: with the signals still held.
    if (nPid == 0)
    {
        ReleaseSignals(st_Before);
        execl("/bin/sh", "sh", "-c", lpszCmd, static_cast<char*>(nullptr));
        _exit(nNoShell);
    }
    WaitFor(nPid, nTimeout);
    ReleaseSignals(st_Before);
    return true;
}

bool CSystemApi_System::SystemApi_System_WMIQuery(const char*, const char*, char*, int)
{
    ClearError();
    return true;
}
