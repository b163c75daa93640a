// SPDX-License-Identifier: MIT
/// Each process operation against the bare command, or the bare calls, that it is made of.
#include <Tolvane_SystemApi.h>

#include <benchmark/benchmark.h>
#include <csignal>
#include <cstdio>
#include <ctime>
#include <fcntl.h>
#include <pwd.h>
#include <sched.h>
#include <spawn.h>
#include <string>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

namespace
{
const std::string Own = std::to_string(getpid());
constexpr int nNobody = 0x3FFFFFFF; // an id that no process has: what would change something fails at once

void Drain(const std::string& Command)
{
    FILE* const pPipe = popen(Command.c_str(), "re");
    char tszLine[2048];
    while (fgets(tszLine, sizeof(tszLine), pPipe))
        benchmark::DoNotOptimize(tszLine[0]);
    pclose(pPipe);
}

pid_t Spawn(const char* lpszPath, const char* lpszName, const char* lpszArgument)
{
    char* const pArguments[] = {const_cast<char*>(lpszName), const_cast<char*>(lpszArgument), nullptr};
    pid_t nChild = 0;
    posix_spawn(&nChild, lpszPath, nullptr, nullptr, pArguments, nullptr);
    return nChild;
}

pid_t Create(const char* lpszPath, const char* lpszArguments)
{
    unsigned long nChild = 0;
    SystemApi_Process_CreateProcess(&nChild, lpszPath, lpszArguments, false);
    return static_cast<pid_t>(nChild);
}

template <typename Bare, typename Operation>
void Compare(const std::string& Name, benchmark::TimeUnit enUnit, Bare pfnBare, Operation pfnOperation)
{
    const auto Register = [&](const std::string& Kind, auto pfnCall) {
        benchmark::RegisterBenchmark((Name + Kind).c_str(),
                                     [pfnCall](benchmark::State& State) {
                                         for (auto _ : State)
                                             pfnCall();
                                     })
            ->Unit(enUnit)
            ->UseRealTime();
    };
    Register("/bare", pfnBare);
    Register("/operation", pfnOperation);
}

void ComparePrograms()
{
    constexpr auto enUnit = benchmark::kMicrosecond;
    Compare(
        "GetProcessInfo", enUnit,
        [] {
            Drain("/proc/" + Own + "/stat");
            Drain("/proc/" + Own + "/statm");
            Drain("cat /proc/0/loginuid");
            passwd st_Entry = {};
            passwd* pSt_Found = nullptr;
            char tszBuffer[1024];
            getpwuid_r(0, &st_Entry, tszBuffer, sizeof(tszBuffer), &pSt_Found);
        },
        [] {
            tag_SystemApi_Process_Infomation st_Info = {};
            SystemApi_Process_GetProcessInfo(&st_Info, nullptr, 0);
        });
    Compare(
        "GetProcessCpuUsage", enUnit, [] { Drain("ps aux | grep " + Own + " | awk '{print($3$4);}'"); },
        [] {
            int nUsage = 0;
            SystemApi_Process_GetProcessCpuUsage(&nUsage, 0);
        });
    Compare(
        "GetUpTime", enUnit, [] { Drain("ps -p " + Own + " -o lstart="); },
        [] {
            TOLVANE_LIBTIME st_Time = {};
            SystemApi_Process_GetUpTime(&st_Time, 0);
        });
    Compare(
        "CreateProcess", enUnit, [] { waitpid(Spawn("/bin/true", "true", "a"), nullptr, 0); },
        [] { waitpid(Create("/bin/true", "a"), nullptr, 0); });
    Compare(
        "RunProcess", enUnit,
        [] {
            if (const pid_t nChild = fork(); nChild == 0)
                execl("/bin/true", "true", "a", nullptr);
            wait(nullptr);
        },
        [] {
            unsigned long nChild = 0;
            SystemApi_Process_RunProcess(&nChild, "/bin/true", "true", "a", false);
            wait(nullptr);
        });
    Compare(
        "Stop", enUnit,
        [] {
            const pid_t nChild = Spawn("/bin/sleep", "sleep", "60");
            kill(nChild, SIGINT);
            waitpid(nChild, nullptr, 0);
        },
        [] { SystemApi_Process_Stop(nullptr, Spawn("/bin/sleep", "sleep", "60"), false); });
    Compare(
        "StopByName", enUnit, [] { Drain("ps -aux | grep no-such-process | grep -v grep | awk '{print $2}'"); },
        [] { SystemApi_Process_Stop("no-such-process", 0, false); });
}

void CompareCalls()
{
    constexpr auto enUnit = benchmark::kNanosecond;
    Compare(
        "GetPath", enUnit,
        [] {
            char tszLink[64];
            char tszPath[1024];
            std::snprintf(tszLink, sizeof(tszLink), "/proc/%d/exe", getpid());
            benchmark::DoNotOptimize(readlink(tszLink, tszPath, sizeof(tszPath)));
        },
        [] {
            char tszPath[1024];
            SystemApi_Process_GetPath(tszPath, 0);
        });
    Compare(
        "IsAdmin", enUnit, [] { benchmark::DoNotOptimize(geteuid()); }, [] { SystemApi_Process_IsAdmin(); });
    Compare(
        "GetPriority", enUnit,
        [] { benchmark::DoNotOptimize(getpriority(PRIO_PROCESS, static_cast<id_t>(getpid()))); },
        [] {
            int nPriority = 0;
            SystemApi_Process_GetPriority(&nPriority, 0);
        });
    Compare(
        "SetPriority", enUnit, [] { benchmark::DoNotOptimize(setpriority(PRIO_PROCESS, nNobody, -20)); },
        [] { SystemApi_Process_SetPriority(-20, nNobody); });
    Compare(
        "SetProcessForCpu", enUnit,
        [] {
            cpu_set_t st_Set;
            CPU_ZERO(&st_Set);
            CPU_SET(0, &st_Set);
            benchmark::DoNotOptimize(sched_setaffinity(nNobody, sizeof(st_Set), &st_Set));
        },
        [] { SystemApi_Process_SetProcessForCpu(nNobody, 0); });
    Compare(
        "GetProcessForCpu", enUnit,
        [] {
            cpu_set_t st_Set;
            CPU_ZERO(&st_Set);
            benchmark::DoNotOptimize(sched_getaffinity(0, sizeof(st_Set), &st_Set));
            benchmark::DoNotOptimize(sysconf(_SC_NPROCESSORS_CONF));
        },
        [] {
            unsigned long dwMask = 0;
            SystemApi_Process_GetProcessForCpu(0, &dwMask);
        });
}

const bool bRegistered = [] {
    // What the shell says about entries that cannot be run is of no interest here.
    const int nNull = open("/dev/null", O_WRONLY | O_CLOEXEC);
    dup2(nNull, STDERR_FILENO);
    ComparePrograms();
    CompareCalls();
    return true;
}();
} // namespace
