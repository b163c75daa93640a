#include "StandIns.h"

#include <cerrno>
#include <cstdio>
#include <dlfcn.h>
#include <gtest/gtest.h>
#include <unistd.h>

STAND_INS& StandIns()
{
    static STAND_INS st_StandIns;
    return st_StandIns;
}

namespace
{
template <typename Function>
Function* RealCall(const char* lpszName)
{
    return reinterpret_cast<Function*>(dlsym(RTLD_NEXT, lpszName));
}

int Refuse(const char* lpszCall)
{
    ADD_FAILURE() << lpszCall << " was about to be called for real";
    errno = EPERM;
    return -1;
}
} // namespace

#pragma GCC diagnostic ignored "-Wredundant-decls"

extern "C"
{
long __sysconf(int nName) noexcept; // the C library's own name for sysconf

int reboot(int nCommand) noexcept
{
    return StandIns().Reboot ? StandIns().Reboot(nCommand) : Refuse("reboot");
}

int system(const char* lpszCmd)
{
    return StandIns().System ? StandIns().System(lpszCmd) : Refuse("system");
}

int kill(pid_t nPid, int nSignal) noexcept
{
    if (StandIns().Kill)
        return StandIns().Kill(nPid, nSignal);
    return nPid > 1 && StandIns().Own.count(nPid) > 0 ? RealCall<int(pid_t, int)>("kill")(nPid, nSignal)
                                                      : Refuse("kill");
}

FILE* popen(const char* lpszCmd, const char* lpszMode)
{
    if (!StandIns().Popen || StandIns().Popen(lpszCmd))
        return RealCall<FILE*(const char*, const char*)>("popen")(lpszCmd, lpszMode);
    errno = EMFILE;
    return nullptr;
}

pid_t fork() noexcept
{
    return StandIns().Fork ? StandIns().Fork() : RealCall<pid_t()>("fork")();
}

int sigaction(int nSignal, const struct sigaction* pSt_New, struct sigaction* pSt_Old) noexcept
{
    return StandIns().SigAction ? StandIns().SigAction(nSignal, pSt_New, pSt_Old)
                                : RealCall<int(int, const struct sigaction*, struct sigaction*)>("sigaction")(
                                      nSignal, pSt_New, pSt_Old);
}

int sigprocmask(int nHow, const sigset_t* pNew, sigset_t* pOld) noexcept
{
    return StandIns().SigProcMask ? StandIns().SigProcMask(nHow, pNew, pOld)
                                  : RealCall<int(int, const sigset_t*, sigset_t*)>("sigprocmask")(nHow, pNew, pOld);
}

unsigned sleep(unsigned nSeconds)
{
    return StandIns().Sleep ? StandIns().Sleep(nSeconds) : RealCall<unsigned(unsigned)>("sleep")(nSeconds);
}

std::time_t time(std::time_t* pTime) noexcept
{
    if (!StandIns().Time)
        return RealCall<std::time_t(std::time_t*)>("time")(pTime);
    const std::time_t nTime = StandIns().Time();
    if (pTime)
        *pTime = nTime;
    return nTime;
}

long sysconf(int nName) noexcept
{
    // A sanitizer asks for other values before anything can be looked up.
    return nName == _SC_NPROCESSORS_ONLN && StandIns().ProcessorsOnline ? StandIns().ProcessorsOnline()
                                                                        : __sysconf(nName);
}

int get_nprocs() noexcept
{
    return StandIns().GetNProcs ? StandIns().GetNProcs() : RealCall<int()>("get_nprocs")();
}

int uname(utsname* pSt_Name) noexcept
{
    return StandIns().Uname ? StandIns().Uname(pSt_Name) : RealCall<int(utsname*)>("uname")(pSt_Name);
}

int sysinfo(struct sysinfo* pSt_Info) noexcept
{
    return StandIns().SysInfo ? StandIns().SysInfo(pSt_Info) : RealCall<int(struct sysinfo*)>("sysinfo")(pSt_Info);
}

int statfs(const char* lpszPath, struct statfs* pSt_Fs) noexcept
{
    return StandIns().StatFs ? StandIns().StatFs(lpszPath, pSt_Fs)
                             : RealCall<int(const char*, struct statfs*)>("statfs")(lpszPath, pSt_Fs);
}

int getpriority(__priority_which_t enWhich, id_t nId) noexcept
{
    return StandIns().GetPriority ? StandIns().GetPriority(nId)
                                  : RealCall<int(__priority_which_t, id_t)>("getpriority")(enWhich, nId);
}

int setpriority(__priority_which_t enWhich, id_t nId, int nPriority) noexcept
{
    return StandIns().SetPriority
               ? StandIns().SetPriority(nId, nPriority)
               : RealCall<int(__priority_which_t, id_t, int)>("setpriority")(enWhich, nId, nPriority);
}

int sched_getaffinity(pid_t nPid, std::size_t nSize, cpu_set_t* pSt_Set) noexcept
{
    return StandIns().GetAffinity
               ? StandIns().GetAffinity(nPid, nSize, pSt_Set)
               : RealCall<int(pid_t, std::size_t, cpu_set_t*)>("sched_getaffinity")(nPid, nSize, pSt_Set);
}

int sched_setaffinity(pid_t nPid, std::size_t nSize, const cpu_set_t* pSt_Set) noexcept
{
    return StandIns().SetAffinity
               ? StandIns().SetAffinity(nPid, nSize, pSt_Set)
               : RealCall<int(pid_t, std::size_t, const cpu_set_t*)>("sched_setaffinity")(nPid, nSize, pSt_Set);
}
}
