// SPDX-License-Identifier: MIT
#include "SystemApi_Process.h"

#include "../Handle.h"
#include "../RowTable.h"
#include "../Truncate.h"
#include "../pch.h"
#include "CommandOutput.h"
#include "UserName.h"

#include <cerrno>
#include <climits>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <sched.h>
#include <spawn.h>
#include <string>
#include <string_view>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

// Kept out of line on purpose: where the global object stands GCC could drop the calls, and with them the order
// at load and at unload.
CSystemApi_Process::CSystemApi_Process() = default;
CSystemApi_Process::~CSystemApi_Process() = default;

bool CSystemApi_Process::SystemApi_Process_ReadCmdReturn(const char* lpszCmd, char* ptszMsgBuffer, int nReadLines,
                                                         int nStartLine, int* pInt_Len)
{
    return ReadCommand(lpszCmd, CAPTURE_TARGET{ptszMsgBuffer, nUnbounded, false}, nReadLines, nStartLine, pInt_Len);
}

namespace
{
constexpr std::size_t nTextSize = BASELIB_TEXT_SIZE; // of a command, and of what is captured of its output
constexpr std::size_t nEntrySize = 64;               // of the path of an entry in /proc

// The attribute operations have no symbols of their own for these.
constexpr unsigned long dwNullArgument = ERROR_SYSTEMAPI_PROCESS_READCMD_PARAMETER;
constexpr unsigned long dwNotPermitted = ERROR_SYSTEMAPI_PROCESS_STOP_PERMISSION;
constexpr unsigned long dwGetCpuFailed = ERROR_SYSTEMAPI_PROCESS_GETPATH_READLINK;

int OwnIfZero(int nPid)
{
    return nPid == 0 ? getpid() : nPid;
}

/// The first line of a command's output.
bool ReadFirstLine(const char* lpszCmd, char (&tszLine)[nTextSize])
{
    return ReadCommand(lpszCmd, CAPTURE_TARGET{tszLine, nTextSize, false}, 1, 0);
}

/// The number that a text begins with, 0 where there is none.
long ReadNumber(const char* lpszText)
{
    constexpr int nDecimal = 10;
    return std::strtol(lpszText, nullptr, nDecimal);
}

/// Puts a text into a field of a record, cut at the field's size.
template <std::size_t nSize>
void StoreText(char (&tszField)[nSize], std::string_view Text)
{
    tszField[Text.copy(tszField, nSize - 1)] = '\0';
}
} // namespace

/* ---------------------------------------------------------------------------------------------------
 * Process information
 * ------------------------------------------------------------------------------------------------- */

namespace
{
/// The first process of the listing whose line holds the name. Kept on purpose: the lookup's own grep is not left out.
bool FindFirst(const char* lpszName, int& nPid)
{
    char tszCommand[nTextSize] = {};
    char tszLine[nTextSize] = {};
    std::snprintf(tszCommand, sizeof(tszCommand), "ps -ef | grep %s | awk '{print $2}'", lpszName);
    if (!ReadFirstLine(tszCommand, tszLine))
        return false;
    if (tszLine[0] == '\0')
        return Fail(ERROR_SYSTEMAPI_PROCESS_GETINFO_NOTFOUND);
    nPid = static_cast<int>(ReadNumber(tszLine));
    return true;
}

/// Has the shell run an entry of a process. Kept on purpose: no "cat" stands before it.
bool RunEntry(int nPid, const char* lpszEntry, char (&tszOutput)[nTextSize])
{
    char tszPath[nEntrySize] = {};
    if (nPid == 0)
        std::snprintf(tszPath, sizeof(tszPath), "/proc/self/%s", lpszEntry);
    else
        std::snprintf(tszPath, sizeof(tszPath), "/proc/%d/%s", nPid, lpszEntry);
    return ReadCommand(tszPath, tszOutput);
}

unsigned long StateCode(char cState)
{
    constexpr std::string_view Letters = "RSDZTW"; // a letter's place is its code
    const std::size_t nPlace = Letters.find(cState);
    return nPlace != Letters.npos ? nPlace : Letters.size();
}

/// Fills in what the stat entry tells; what does not scan is 0.
bool ReadStat(int nPid, tag_SystemApi_Process_Infomation& st_Info)
{
    char tszText[nTextSize] = {};
    if (!RunEntry(nPid, "stat", tszText))
        return false;
    st_Info.nPid = 0;
    st_Info.tszAppName[0] = '\0';
    char cState = '\0';
    long nThreads = 0;
    // What is dropped goes to one place for each type. The name has no width: its field is as large as the text.
    static_assert(sizeof(st_Info.tszAppName) >= sizeof(tszText));
    int nDropped = 0;
    unsigned int dwDropped = 0;
    long lDropped = 0;
    unsigned long ulDropped = 0;
    unsigned long long ullDropped = 0;
    // NOLINTNEXTLINE(cert-err34-c)
    std::sscanf(tszText,
                "%d %s %c %d %d %d %d %d %u %lu %lu %lu %lu %lu %lu %ld %ld %ld %ld %ld %ld %llu %lu %ld %lu %lu "
                "%lu %lu %lu %lu %lu %lu %lu %lu  %lu %lu %lu %d %d %u %u %llu %lu %ld",
                &st_Info.nPid, st_Info.tszAppName, &cState, &nDropped, &nDropped, &nDropped, &nDropped, &nDropped,
                &dwDropped, &ulDropped, &ulDropped, &ulDropped, &ulDropped, &ulDropped, &ulDropped, &lDropped,
                &lDropped, &lDropped, &lDropped, &nThreads, &lDropped, &ullDropped, &ulDropped, &lDropped, &ulDropped,
                &ulDropped, &ulDropped, &ulDropped, &ulDropped, &ulDropped, &ulDropped, &ulDropped, &ulDropped,
                &ulDropped, &ulDropped, &ulDropped, &ulDropped, &nDropped, &nDropped, &dwDropped, &dwDropped,
                &ullDropped, &ulDropped, &lDropped);
    st_Info.nThreadCount = static_cast<int>(nThreads);
    st_Info.nAppState = static_cast<int>(StateCode(cState));
    return true;
}

/// Fills in what the statm entry tells; what does not scan is 0.
bool ReadMemory(int nPid, tag_SystemApi_Process_Infomation& st_Info)
{
    constexpr int nDivisor = 4; // Kept on purpose: whatever the page size is.

    char tszText[nTextSize] = {};
    if (!RunEntry(nPid, "statm", tszText))
        return false;
    int nVirtual = 0;
    int nResident = 0;
    int nShared = 0;
    int nDropped = 0;
    // NOLINTNEXTLINE(cert-err34-c)
    std::sscanf(tszText, "%d %d %d %d %d %d %d", &nVirtual, &nResident, &nShared, &nDropped, &nDropped, &nDropped,
                &nDropped);
    st_Info.nVirtualMem = nVirtual / nDivisor;
    st_Info.nResidentMem = nResident / nDivisor;
    st_Info.nSharedMem = nShared / nDivisor;
    return true;
}

/// Fills in who logged in. Kept on purpose: asked for the id that the stat text holds, not for the one wanted.
bool ReadUser(tag_SystemApi_Process_Infomation& st_Info)
{
    constexpr std::size_t nCommandSize = 128;
    constexpr std::size_t nLoginSize = 64;

    char tszCommand[nCommandSize] = {};
    char tszLogin[nLoginSize] = {};
    std::snprintf(tszCommand, sizeof(tszCommand), "cat /proc/%d/loginuid", st_Info.nPid);
    if (!ReadCommand(tszCommand, tszLogin))
        return false;
    const CUserEntry m_User(static_cast<uid_t>(ReadNumber(tszLogin)));
    if (!m_User.Name())
        return Fail(ERROR_SYSTEMAPI_PROCESS_GETINFO_USER);
    StoreText(st_Info.tszUserName, m_User.Name());
    return true;
}
} // namespace

bool CSystemApi_Process::SystemApi_Process_GetProcessInfo(tag_SystemApi_Process_Infomation* pSt_ProcessInfo,
                                                          const char* lpszProcessName, int nPid)
{
    ClearError();
    if (!pSt_ProcessInfo)
        return Fail(ERROR_SYSTEMAPI_PROCESS_GETINFO_PARAMETER);
    if (!lpszProcessName)
        nPid = OwnIfZero(nPid);
    else if (!FindFirst(lpszProcessName, nPid))
        return false;
    return ReadStat(nPid, *pSt_ProcessInfo) && ReadMemory(nPid, *pSt_ProcessInfo) && ReadUser(*pSt_ProcessInfo);
}

bool CSystemApi_Process::SystemApi_Process_AppState(char cState, unsigned long* pInt_State)
{
    *pInt_State = StateCode(cState);
    ClearError();
    return true;
}

/* ---------------------------------------------------------------------------------------------------
 * Creation and termination
 * ------------------------------------------------------------------------------------------------- */

bool CSystemApi_Process::SystemApi_Process_CreateProcess(unsigned long* pInt_ProcessId, const char* lpszProcessName,
                                                         const char* lpszCmdLine, bool)
{
    ClearError();
    if (!pInt_ProcessId || !lpszProcessName)
        return Fail(ERROR_SYSTEMAPI_PROCESS_CREATE_PARAMETER);
    char tszFileName[nTextSize] = {};
    BaseLib_String_GetFileAndPathA(lpszProcessName, nullptr, tszFileName, nullptr, nullptr, false);
    std::vector<std::string_view> Arguments{tszFileName};
    char tszCmdLine[nTextSize] = {};
    if (lpszCmdLine)
    {
        const std::size_t nLength = strnlen(lpszCmdLine, nTextSize);
        if (nLength == nTextSize)
            return Fail(ERROR_SYSTEMAPI_PROCESS_CREATE_PARAMETER);
        std::memcpy(tszCmdLine, lpszCmdLine, nLength);
        char* ptszRest = nullptr;
        for (const char* lpszToken = strtok_r(tszCmdLine, " ", &ptszRest); lpszToken;
             lpszToken = strtok_r(nullptr, " ", &ptszRest))
            Arguments.emplace_back(lpszToken);
    }

    CRowTable<char> m_Vector(static_cast<long long>(Arguments.size()), nTextSize);
    long long nRow = 0;
    for (const std::string_view Argument : Arguments)
        Argument.copy(m_Vector[nRow++], nTextSize - 1);
    pid_t nChild = 0;
    // Kept on purpose: no environment, so that the program starts with an empty one.
    if (posix_spawn(&nChild, lpszProcessName, nullptr, nullptr, m_Vector.Get(), nullptr) != 0)
        return Fail(ERROR_SYSTEMAPI_PROCESS_CREATE_SPAWN);
    *pInt_ProcessId = static_cast<unsigned long>(nChild);
    return true;
}

bool CSystemApi_Process::SystemApi_Process_RunProcess(unsigned long* pInt_ProcessId, const char* lpszProcessName,
                                                      const char* lpszArgv0, const char* lpszArgv1, bool)
{
    ClearError();
    if (!lpszProcessName || !lpszArgv0)
        return Fail(ERROR_SYSTEMAPI_PROCESS_RUN_PARAMETER);
    const pid_t nChild = fork();
    if (nChild == -1)
        return Fail(ERROR_SYSTEMAPI_PROCESS_RUN_FORK);
    if (nChild != 0)
        return true; // Kept on purpose: the caller is not told the id.

    // The child, which may have left threads and their locks behind: only what a signal handler may call, too.
    *pInt_ProcessId = static_cast<unsigned long>(getpid()); // Kept on purpose: in the child's copy alone.
    execl(lpszProcessName, lpszArgv0, lpszArgv1, static_cast<char*>(nullptr));
    return Fail(ERROR_SYSTEMAPI_PROCESS_RUN_EXEC); // Kept on purpose: the child goes on in the caller's code.
}

namespace
{
/// Waits for a child to end; at once over for any other process.
void WaitForEnd(pid_t nPid)
{
    int nStatus = 0;
    while (waitpid(nPid, &nStatus, 0) == -1 && errno == EINTR)
        ;
}
} // namespace

bool CSystemApi_Process::SystemApi_Process_Stop(const char* lpszProcessName, int nPid, bool bWaitSigchld)
{
    ClearError();
    if (lpszProcessName)
    {
        char tszCommand[nTextSize] = {};
        char tszLine[nTextSize] = {};
        const int nLength = std::snprintf(tszCommand, sizeof(tszCommand),
                                          "ps -aux | grep %s | grep -v grep | awk '{print $2}'", lpszProcessName);
        if (nLength < 0 || nLength >= static_cast<int>(sizeof(tszCommand)))
            return Fail(ERROR_SYSTEMAPI_PROCESS_STOP_NOTFOUND); // a cut name would stop another process
        if (!ReadFirstLine(tszCommand, tszLine))
            return Fail(ERROR_SYSTEMAPI_PROCESS_STOP_READCMD);
        const long nFound = ReadNumber(tszLine); // the listing's heading has none
        if (nFound < 1 || nFound > INT_MAX)
            return Fail(ERROR_SYSTEMAPI_PROCESS_STOP_NOTFOUND);
        nPid = static_cast<int>(nFound);
    }

    if (bWaitSigchld)
        std::signal(SIGCHLD, SIG_IGN);
    if (kill(nPid, SIGINT) != 0) // Kept on purpose: SIGCHLD stays ignored.
        return Fail(errno == EPERM ? ERROR_SYSTEMAPI_PROCESS_STOP_PERMISSION : ERROR_SYSTEMAPI_PROCESS_STOP_KILL);
    WaitForEnd(nPid);
    if (bWaitSigchld)
        std::signal(SIGCHLD, SIG_DFL);
    return true;
}

/* ---------------------------------------------------------------------------------------------------
 * Usage, start time, path
 * ------------------------------------------------------------------------------------------------- */

bool CSystemApi_Process::SystemApi_Process_GetProcessCpuUsage(int* pInt_Usage, int nPid)
{
    ClearError();
    if (!pInt_Usage)
        return Fail(dwNullArgument);
    // Kept on purpose: every line that holds the digits counts, and the two columns run together.
    char tszCommand[nTextSize] = {};
    char tszOutput[nTextSize] = {};
    std::snprintf(tszCommand, sizeof(tszCommand), "ps aux | grep %d | awk '{print($3$4);}'", OwnIfZero(nPid));
    if (!ReadCommand(tszCommand, tszOutput))
        return false;
    float fUsage = 0.0F;
    float fDropped = 0.0F;
    std::sscanf(tszOutput, "%f %f", &fUsage, &fDropped); // NOLINT(cert-err34-c): what does not scan stays 0
    *pInt_Usage = TruncateToInt(fUsage);
    return true;
}

namespace
{
/// Reads a time as ps prints it, "Mon Jan  1 12:00:00 2024": fixed English, whatever the caller's locale is.
bool ParseStartTime(const char* lpszText, std::tm& st_Time)
{
    const LocaleHandle m_English(newlocale(LC_ALL_MASK, "C", nullptr));
    return m_English && strptime_l(lpszText, "%a %b %d %H:%M:%S %Y", &st_Time, m_English.get()) != nullptr;
}
} // namespace

bool CSystemApi_Process::SystemApi_Process_GetUpTime(TOLVANE_LIBTIME* pSt_Time, int nPid)
{
    ClearError();
    if (!pSt_Time)
        return Fail(dwNullArgument);
    char tszCommand[nTextSize] = {};
    char tszOutput[nTextSize] = {};
    std::snprintf(tszCommand, sizeof(tszCommand), "ps -p %d -o lstart=", OwnIfZero(nPid));
    if (!ReadCommand(tszCommand, tszOutput))
        return false;
    tszOutput[std::strcspn(tszOutput, "\n")] = '\0';
    std::tm st_Start = {}; // Kept on purpose: standard time, also when daylight saving time was in force.
    if (!ParseStartTime(tszOutput, st_Start))
        return true; // Kept on purpose: no process, no failure.
    BaseLib_Time_TTimeToStuTime(std::mktime(&st_Start), pSt_Time);
    return true;
}

bool CSystemApi_Process::SystemApi_Process_GetPath(char* ptszPath, int nPid)
{
    ClearError();
    if (!ptszPath)
        return Fail(dwNullArgument);
    char tszLink[nEntrySize] = {};
    std::snprintf(tszLink, sizeof(tszLink), "/proc/%d/exe", OwnIfZero(nPid));
    // Kept on purpose: no null character is added, also when the path fills the buffer.
    if (readlink(tszLink, ptszPath, nTextSize) == -1)
        return Fail(ERROR_SYSTEMAPI_PROCESS_GETPATH_READLINK);
    return true;
}

/* ---------------------------------------------------------------------------------------------------
 * Superuser, priority, processors
 * ------------------------------------------------------------------------------------------------- */

bool CSystemApi_Process::SystemApi_Process_IsAdmin()
{
    ClearError();
    return geteuid() == 0;
}

bool CSystemApi_Process::SystemApi_Process_GetPriority(int* pInt_Priority, int nPid)
{
    ClearError();
    if (!pInt_Priority)
        return Fail(dwNullArgument);
    const int nPriority = getpriority(PRIO_PROCESS, static_cast<id_t>(OwnIfZero(nPid)));
    if (nPriority == -1) // Kept on purpose: errno is not asked, so a nice value of -1 is a failure.
        return Fail(ERROR_SYSTEMAPI_PROCESS_GETPRIORITY_FAILED);
    *pInt_Priority = nPriority;
    return true;
}

bool CSystemApi_Process::SystemApi_Process_SetPriority(int nPriority, int nPid)
{
    constexpr int nFirstRefused = -19; // Kept on purpose: only the highest priority can be given.

    ClearError();
    if (nPriority >= nFirstRefused)
        return Fail(ERROR_SYSTEMAPI_PROCESS_SETPRIORITY_RANGE);
    if (setpriority(PRIO_PROCESS, static_cast<id_t>(OwnIfZero(nPid)), nPriority) == -1)
        return Fail(ERROR_SYSTEMAPI_PROCESS_SETPRIORITY_FAILED);
    return true;
}

bool CSystemApi_Process::SystemApi_Process_SetProcessForCpu(int nPid, unsigned long nCpuNumber)
{
    ClearError();
    cpu_set_t st_Set = {};
    if (nCpuNumber < CPU_SETSIZE) // any other leaves the set empty, which the kernel refuses
        CPU_SET(nCpuNumber, &st_Set);
    if (sched_setaffinity(nPid, sizeof(st_Set), &st_Set) == -1)
        return Fail(errno == EPERM ? dwNotPermitted : ERROR_SYSTEMAPI_PROCESS_SETCPU_FAILED);
    return true;
}

bool CSystemApi_Process::SystemApi_Process_GetProcessForCpu(int nPid, unsigned long* pInt_CpuMask)
{
    constexpr long nMaskBits = 64;

    ClearError();
    cpu_set_t st_Set = {};
    if (sched_getaffinity(nPid, sizeof(st_Set), &st_Set) == -1)
        return Fail(errno == EPERM ? dwNotPermitted : dwGetCpuFailed);
    const long nProcessors = sysconf(_SC_NPROCESSORS_CONF);
    // Kept on purpose: bits are added to what the mask holds, and the processors 64 and above fold onto it.
    for (long nCpu = 0; nCpu < nProcessors && nCpu < CPU_SETSIZE; ++nCpu)
        if (CPU_ISSET(nCpu, &st_Set))
            *pInt_CpuMask |= 1UL << (nCpu % nMaskBits);
    return true;
}
