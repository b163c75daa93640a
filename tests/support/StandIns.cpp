// SPDX-License-Identifier: MIT
#include "StandIns.h"

#include <cerrno>
#include <dlfcn.h>
#include <gtest/gtest.h>
#include <unistd.h>

STAND_INS& StandIns()
{
    static STAND_INS st_StandIns;
    return st_StandIns;
}

static int Refuse(const char* lpszCall)
{
    ADD_FAILURE() << lpszCall << " was about to be called for real";
    errno = EPERM;
    return -1;
}

#pragma GCC diagnostic ignored "-Wredundant-decls"

#define REAL(Call) reinterpret_cast<decltype(&Call)>(dlsym(RTLD_NEXT, #Call))

/// Defines a call: what the stand-in answers, or without one what follows.
#define ANSWER(Result, Call, Parameters, StandIn, Arguments, Otherwise)                                              \
    Result Call Parameters                                                                                           \
    {                                                                                                                \
        return StandIns().StandIn ? StandIns().StandIn Arguments : Otherwise;                                        \
    }
/// The same for a call that is passed on as it is.
#define PASS_ON(Result, Call, Parameters, StandIn, Arguments)                                                        \
    ANSWER(Result, Call, Parameters, StandIn, Arguments, REAL(Call) Arguments)

extern "C"
{
long __sysconf(int nName) noexcept; // the C library's own name for sysconf

ANSWER(int, reboot, (int nCommand) noexcept, Reboot, (nCommand), Refuse("reboot"))
ANSWER(int, system, (const char* lpszCmd), System, (lpszCmd), Refuse("system"))
ANSWER(int, kill, (pid_t nPid, int nSignal) noexcept, Kill, (nPid, nSignal),
       nPid > 1 && StandIns().Own.count(nPid) > 0 ? REAL(kill)(nPid, nSignal) : Refuse("kill"))
ANSWER(int, getpriority, (__priority_which_t enWhich, id_t nId) noexcept, GetPriority, (nId),
       REAL(getpriority)(enWhich, nId))
ANSWER(int, setpriority, (__priority_which_t enWhich, id_t nId, int nPriority) noexcept, SetPriority,
       (nId, nPriority), REAL(setpriority)(enWhich, nId, nPriority))

PASS_ON(pid_t, fork, () noexcept, Fork, ())
PASS_ON(int, sigaction, (int nSignal, const struct sigaction* pSt_New, struct sigaction* pSt_Old) noexcept, SigAction,
        (nSignal, pSt_New, pSt_Old))
PASS_ON(int, sigprocmask, (int nHow, const sigset_t* pNew, sigset_t* pOld) noexcept, SigProcMask, (nHow, pNew, pOld))
PASS_ON(unsigned, sleep, (unsigned nSeconds), Sleep, (nSeconds))
PASS_ON(int, nanosleep, (const timespec* pSt_Time, timespec* pSt_Rest), NanoSleep, (pSt_Time, pSt_Rest))
PASS_ON(int, get_nprocs, () noexcept, GetNProcs, ())
PASS_ON(int, uname, (utsname * pSt_Name) noexcept, Uname, (pSt_Name))
PASS_ON(int, sysinfo, (struct sysinfo * pSt_Info) noexcept, SysInfo, (pSt_Info))
PASS_ON(int, statfs, (const char* lpszPath, struct statfs* pSt_Fs) noexcept, StatFs, (lpszPath, pSt_Fs))
PASS_ON(int, sched_getaffinity, (pid_t nPid, std::size_t nSize, cpu_set_t* pSt_Set) noexcept, GetAffinity,
        (nPid, nSize, pSt_Set))
PASS_ON(int, sched_setaffinity, (pid_t nPid, std::size_t nSize, const cpu_set_t* pSt_Set) noexcept, SetAffinity,
        (nPid, nSize, pSt_Set))

FILE* popen(const char* lpszCmd, const char* lpszMode)
{
    if (StandIns().Popen && !StandIns().Popen(lpszCmd))
        return errno = EMFILE, nullptr;
    FILE* const pOutput = REAL(popen)(lpszCmd, lpszMode);
    if (pOutput && StandIns().Opened)
        StandIns().Opened(pOutput);
    return pOutput;
}

std::time_t time(std::time_t* pTime) noexcept
{
    const std::time_t nTime = StandIns().Time ? StandIns().Time() : REAL(time)(nullptr);
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
}
