// SPDX-License-Identifier: MIT
/// The process list, over processes that are started for it.
#include "Plan.h"
#include "Psutil.h"
#include "Support.h"

#include <Tolvane_SystemApi.h>

#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <dirent.h>
#include <list>
#include <memory>
#include <string_view>
#include <sys/prctl.h>

#ifdef HAVE_LIBPROC2
#include <libproc2/pids.h>
#endif
#ifdef HAVE_LIBSTATGRAB
#include <statgrab.h>
#endif

namespace
{
constexpr std::string_view IdlerName = "systemapi-compare-idler";

/// Processes that do nothing, under a name of their own. They end with this one.
class CIdlers
{
public:
    explicit CIdlers(long nCount)
    {
        const pid_t nParent = getpid();
        for (long nIdler = 0; nIdler < nCount; ++nIdler)
        {
            const pid_t nChild = fork();
            if (nChild == 0)
            {
                if (prctl(PR_SET_PDEATHSIG, SIGKILL) == 0 && getppid() == nParent)
                    execlp("sleep", IdlerName.data(), "600", nullptr);
                _exit(1);
            }
            Require(nChild > 0, "a process that does nothing");
            m_Children.push_back(nChild);
        }
        for (const pid_t nChild : m_Children)
            AwaitName(nChild);
    }
    ~CIdlers()
    {
        for (const pid_t nChild : m_Children)
        {
            kill(nChild, SIGKILL);
            waitpid(nChild, nullptr, 0);
        }
    }
    CIdlers(const CIdlers&) = delete;
    CIdlers& operator=(const CIdlers&) = delete;

private:
    static void AwaitName(pid_t nChild)
    {
        const std::string Path = "/proc/" + std::to_string(nChild) + "/cmdline";
        for (int nTry = 0; nTry < 1000; ++nTry)
        {
            char tszName[64] = {};
            const int nFile = open(Path.c_str(), O_RDONLY | O_CLOEXEC);
            const bool bRead = read(nFile, tszName, sizeof(tszName) - 1) > 0;
            close(nFile);
            if (bRead && tszName == IdlerName)
                return;
            usleep(1000);
        }
        Require(false, "the start of a process that does nothing");
    }

    std::vector<pid_t> m_Children;
};

/// No standard error: a cat whose process has ended meanwhile complains there.
class CQuiet
{
public:
    CQuiet() : m_nErrors(fcntl(STDERR_FILENO, F_DUPFD_CLOEXEC, 0))
    {
        const int nNull = open("/dev/null", O_WRONLY | O_CLOEXEC);
        dup2(nNull, STDERR_FILENO);
        close(nNull);
    }
    ~CQuiet()
    {
        dup2(m_nErrors, STDERR_FILENO);
        close(m_nErrors);
    }
    CQuiet(const CQuiet&) = delete;
    CQuiet& operator=(const CQuiet&) = delete;

private:
    int m_nErrors;
};

/// A list as every contender makes it: names and ids.
using PROCESSES = std::list<SYSTEMAPI_PROCESS_INFO>;

void Append(PROCESSES& Processes, int nPid, const char* lpszName, std::size_t nLength)
{
    SYSTEMAPI_PROCESS_INFO& st_Process = Processes.emplace_back();
    st_Process.nPid = nPid;
    const std::string_view Name(lpszName, strnlen(lpszName, nLength));
    st_Process.tszProcessName[Name.copy(st_Process.tszProcessName, sizeof(st_Process.tszProcessName) - 1)] = '\0';
}

long long Idlers(const PROCESSES& Processes)
{
    long long nCount = 0;
    for (const SYSTEMAPI_PROCESS_INFO& st_Process : Processes)
        nCount += st_Process.tszProcessName == IdlerName;
    return nCount;
}

/// Calls Ask(id, path of the command line) for each process that the library lists.
template <typename Query>
void ForEach(const Query& Ask)
{
    DIR* const pFolder = opendir("/proc");
    Require(pFolder != nullptr, "/proc");
    while (const dirent* pSt_Entry = readdir(pFolder))
    {
        const int nPid = std::atoi(pSt_Entry->d_name);
        if (nPid <= 100)
            continue;
        char tszPath[64];
        std::snprintf(tszPath, sizeof(tszPath), "/proc/%d/cmdline", nPid);
        Ask(nPid, tszPath);
    }
    closedir(pFolder);
}

long long ByLibrary(bool)
{
    SYSTEMAPI_PROCESS_INFO** ppSt_Table = nullptr;
    int nCount = 0;
    Require(SystemApi_System_GetProcessList(&ppSt_Table, &nCount), "the process list");
    long long nFound = 0;
    for (int nRow = 0; nRow < nCount; ++nRow)
        nFound += ppSt_Table[nRow]->tszProcessName == IdlerName;
    BaseLib_Memory_Free(&ppSt_Table, nCount);
    return nFound;
}

constexpr std::size_t nNameMax = 65536;

long long ByPopen(bool)
{
    PROCESSES Processes;
    ForEach([&](int nPid, const char* lpszPath) {
        FILE* const pPipe = popen(("cat " + std::string(lpszPath)).c_str(), "re");
        Require(pPipe != nullptr, "popen");
        static char tszName[nNameMax];
        const std::size_t nLength = fread(tszName, 1, sizeof(tszName), pPipe);
        pclose(pPipe);
        Append(Processes, nPid, tszName, nLength);
    });
    return Idlers(Processes);
}

long long ByBareCommands(bool)
{
    PROCESSES Processes;
    ForEach([&](int nPid, const char* lpszPath) {
        static char tszName[nNameMax];
        const std::size_t nLength = CBareCommand(("cat " + std::string(lpszPath)).c_str()).Read(tszName, nNameMax);
        Append(Processes, nPid, tszName, nLength);
    });
    return Idlers(Processes);
}

long long ByReading(bool)
{
    PROCESSES Processes;
    ForEach([&](int nPid, const char* lpszPath) {
        char tszName[1024];
        const int nFile = open(lpszPath, O_RDONLY | O_CLOEXEC);
        const ssize_t nLength = read(nFile, tszName, sizeof(tszName));
        close(nFile);
        Append(Processes, nPid, tszName, nLength > 0 ? static_cast<std::size_t>(nLength) : 0);
    });
    return Idlers(Processes);
}

#ifdef HAVE_LIBPROC2
long long ByLibproc2(bool)
{
    pids_info* pInfo = nullptr;
    pids_item enItems[] = {PIDS_ID_PID, PIDS_CMDLINE_V};
    Require(procps_pids_new(&pInfo, enItems, 2) == 0, "libproc2");
    const pids_fetch* const pSt_Fetch = procps_pids_reap(pInfo, PIDS_FETCH_TASKS_ONLY);
    Require(pSt_Fetch != nullptr, "libproc2");
    PROCESSES Processes;
    for (int nAt = 0; nAt < pSt_Fetch->counts->total; ++nAt)
    {
        const pids_result* const pSt_Results = pSt_Fetch->stacks[nAt]->head;
        const char* const lpszName = pSt_Results[1].result.strv[0];
        Append(Processes, pSt_Results[0].result.s_int, lpszName ? lpszName : "", nNameMax);
    }
    procps_pids_unref(&pInfo);
    return Idlers(Processes);
}
#endif

#ifdef HAVE_LIBSTATGRAB
long long ByLibstatgrab(bool)
{
    std::size_t nCount = 0;
    const sg_process_stats* const pSt_Stats = sg_get_process_stats(&nCount);
    Require(pSt_Stats != nullptr, "libstatgrab");
    PROCESSES Processes;
    for (std::size_t nAt = 0; nAt < nCount; ++nAt)
    {
        // Its line is the whole command line, with spaces for null characters.
        const char* const lpszLine = pSt_Stats[nAt].proctitle ? pSt_Stats[nAt].proctitle : "";
        Append(Processes, static_cast<int>(pSt_Stats[nAt].pid), lpszLine, std::strcspn(lpszLine, " "));
    }
    return Idlers(Processes);
}
#endif

long long ByPs(bool)
{
    PROCESSES Processes;
    FILE* const pPipe = popen("ps -e -o pid= -o args=", "re");
    Require(pPipe != nullptr, "popen");
    char* pLine = nullptr;
    std::size_t nSize = 0;
    while (getline(&pLine, &nSize, pPipe) > 0)
    {
        char* pRest = nullptr;
        const long nPid = std::strtol(pLine, &pRest, 10);
        pRest += std::strspn(pRest, " ");
        Append(Processes, static_cast<int>(nPid), pRest, std::strcspn(pRest, " \n"));
    }
    std::free(pLine);
    pclose(pPipe);
    return Idlers(Processes);
}

GROUP MakeGroup(long nProcesses)
{
    const auto pIdlers = std::make_shared<CIdlers>(nProcesses);
    const auto pQuiet = std::make_shared<CQuiet>();
    GROUP st_Group;
    const auto m_Add = [&](ROLE enRole, const char* lpszName, long long (*pfnList)(bool)) {
        st_Group.Add(enRole, lpszName, [pIdlers, pQuiet, pfnList](bool bCheck) { return pfnList(bCheck); });
    };
    m_Add(ROLE::Library, "library", ByLibrary);
    m_Add(ROLE::Peer, "popen, fread", ByPopen);
    m_Add(ROLE::Limit, "posix_spawn, read", ByBareCommands);
    m_Add(ROLE::OtherRule, "open, read", ByReading);
    m_Add(ROLE::OtherRule, "ps", ByPs);
#ifdef HAVE_LIBPROC2
    m_Add(ROLE::OtherRule, "libproc2", ByLibproc2);
#endif
#ifdef HAVE_LIBSTATGRAB
    sg_init(1);
    m_Add(ROLE::OtherRule, "libstatgrab", ByLibstatgrab);
#endif
    if (HasPsutil())
        st_Group.Contenders.push_back(PsutilContender(ROLE::OtherRule, "list"));
    st_Group.AddRow({"process list, " + std::to_string(nProcesses) + " started", "processes", nProcesses, 0, 1.02});
    return st_Group;
}
} // namespace

void PlanProcesses(PLAN& Plan, const SETTINGS& st_Settings)
{
    for (const long nProcesses : st_Settings.bQuick ? std::vector{20L} : std::vector{100L, 300L, 600L})
    {
        Plan.push_back({"processes-" + std::to_string(nProcesses), nProcesses == 300 ? 18.0 : 8.0, [nProcesses] {
                            return MakeGroup(nProcesses);
                        }});
    }
}
