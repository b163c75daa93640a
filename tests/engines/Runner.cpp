// SPDX-License-Identifier: MIT
#include "Runner.h"

#include "Sandbox.h"

#include <array>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <exception>
#include <fcntl.h>
#include <filesystem>
#include <gtest/gtest.h>
#include <new>
#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/ptrace.h>
#include <sys/reg.h>
#include <sys/wait.h>
#include <unistd.h>

namespace
{
constexpr long nEndMark = 1'000'000; // the number of no system call
constexpr unsigned nPatience = 20;   // seconds

/// What an operation must leave as it was.
struct STATE
{
    int nDescriptors = 0;
    std::array<void (*)(int), 32> Handlers;
    sigset_t Mask;

    STATE()
    {
        for (int nDescriptor = 0; nDescriptor < 64; ++nDescriptor)
            nDescriptors += fcntl(nDescriptor, F_GETFD) >= 0 ? 1 : 0;
        for (int nSignal = 1; nSignal < 32; ++nSignal)
        {
            struct sigaction st_Action = {};
            sigaction(nSignal, nullptr, &st_Action);
            Handlers[static_cast<std::size_t>(nSignal)] = st_Action.sa_handler;
        }
        Handlers[0] = nullptr;
        sigemptyset(&Mask);
        sigprocmask(SIG_BLOCK, nullptr, &Mask);
    }
    [[nodiscard]] bool SameSignals(const STATE& st_Other) const
    {
        return Handlers == st_Other.Handlers && std::memcmp(&Mask, &st_Other.Mask, sizeof(unsigned long)) == 0;
    }
};

/// Where coverage is counted: what leaves by _exit writes no counts, so a copy of it ends in full.
void WriteCounts()
{
#if defined(SYSTEMAPI_COVERAGE)
    const pid_t nCopy = _Fork();
    if (nCopy == 0)
        std::exit(0);
    waitpid(nCopy, nullptr, 0);
#endif
}
} // namespace

CRunner::CRunner()
    : m_pSt_Outcomes(static_cast<OUTCOME*>(
          mmap(nullptr, 2 * sizeof(OUTCOME), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0))),
      m_nErrors(memfd_create("errors", MFD_CLOEXEC))
{
    struct sigaction st_Action = {}; // a run that hangs interrupts the wait for it
    st_Action.sa_handler = [](int) {
    };
    sigaction(SIGALRM, &st_Action, nullptr);
}

CRunner::~CRunner()
{
    munmap(m_pSt_Outcomes, 2 * sizeof(OUTCOME));
    close(m_nErrors);
}

void CRunner::RunInChild(const OPERATION& st_Operation, const PLAN& st_Plan)
{
    dup2(m_nErrors, STDERR_FILENO);
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    std::set_terminate(std::abort);
    OUTCOME* pSt_Outcome = &m_pSt_Outcomes[0];
    Prepare(st_Operation);
    const STATE st_Before;
    const pid_t nSelf = getpid();
    const auto pfnCall = st_Plan.bMember ? st_Operation.pfnMember : st_Operation.pfnCall;
    OUTPUTS st_Out; // not in the shared memory, which a fork would write to
    SystemApi_IsErrorOccur = true;
    SystemApi_dwErrorCode = dwCodeBefore;
    ptrace(PTRACE_TRACEME);
    const long nBlocks = LiveBlocks();
    syscall(SYS_tgkill, nSelf, nSelf, SIGSTOP);
    RefuseAllocation(st_Plan.nAllocation, st_Plan.bForGood);
    errno = nErrnoBefore;
    auto enHow = OUTCOME::enReturned;
    bool bResult = false;
    int nErrno = 0;
    try
    {
        bResult = pfnCall(st_Out);
        SystemApi_GetLastError(&nErrno);
    }
    catch (const std::filesystem::filesystem_error& Error)
    {
        enHow = OUTCOME::enRaised;
        nErrno = Error.code().value();
    }
    catch (const std::bad_alloc&)
    {
        enHow = OUTCOME::enNoMemory;
    }
    catch (...)
    {
        enHow = OUTCOME::enOtherException;
    }
    const long nAllocations = AllocationsAsked();
    const long nRefused = AllocationsRefused();
    syscall(nEndMark);
    const bool bFork = getpid() != nSelf;
    if (bFork) // came back in a child as well
    {
        pSt_Outcome = &m_pSt_Outcomes[1];
    }
    const STATE st_After;
    pSt_Outcome->bResult = bResult;
    pSt_Outcome->bFlag = SystemApi_IsErrorOccur;
    pSt_Outcome->dwCode = SystemApi_dwErrorCode;
    pSt_Outcome->nErrno = nErrno;
    pSt_Outcome->nAllocations = nAllocations;
    pSt_Outcome->nRefused = nRefused;
    pSt_Outcome->bSignals = !st_After.SameSignals(st_Before);
    pSt_Outcome->nDescriptors = st_After.nDescriptors - st_Before.nDescriptors;
    pSt_Outcome->enHow = enHow;
    pSt_Outcome->st_Out = st_Out;
    WriteCounts();
    if (bFork)
        _exit(0);
    if ((enHow == OUTCOME::enReturned && bResult) || st_Out.ppszNarrow || st_Out.ppszWide) // a table of nothing
        Flatten(st_Operation, st_Out);
    pSt_Outcome->st_Out = st_Out;
    pSt_Outcome->nBlocks = LiveBlocks() - nBlocks;
    EndChild();
    siginfo_t st_Left = {};
    pSt_Outcome->bChildLeft = !st_Operation.bStarts && waitid(P_ALL, 0, &st_Left, WEXITED | WNOHANG | WNOWAIT) == 0;
    while (wait(nullptr) > 0) // a fork that came back writes its outcome yet
        ;
    _exit(0);
}

void CRunner::Await(int nPid)
{
    if (waitpid(nPid, &m_nStatus, 0) == nPid)
        return;
    syscall(SYS_kill, nPid, SIGKILL); // hangs
    waitpid(nPid, &m_nStatus, 0);
}

void CRunner::Trace(int nPid, const PLAN& st_Plan)
{
    const auto m_Register = [](int nRegister) {
        return reinterpret_cast<void*>(static_cast<long>(sizeof(long)) * nRegister);
    };
    std::map<long, int> Calls;
    const FAULT* pSt_Due = nullptr; // at the exit of the call that goes on
    bool bRefused = false;
    bool bEntry = true;
    long nGo = 0; // the signal to go on with
    ptrace(PTRACE_SETOPTIONS, nPid, nullptr, PTRACE_O_TRACESYSGOOD | PTRACE_O_EXITKILL);
    for (;;)
    {
        ptrace(PTRACE_SYSCALL, nPid, nullptr, nGo);
        Await(nPid);
        if (!WIFSTOPPED(m_nStatus))
            break;
        nGo = 0;
        if (WSTOPSIG(m_nStatus) != (SIGTRAP | 0x80))
        {
            nGo = WSTOPSIG(m_nStatus);
            continue;
        }
        if (bEntry)
        {
            const long nCall = ptrace(PTRACE_PEEKUSER, nPid, m_Register(ORIG_RAX), nullptr);
            if (nCall == nEndMark)
            {
                ptrace(PTRACE_DETACH, nPid, nullptr, nullptr);
                Await(nPid);
                break;
            }
            const int nOccurrence = ++Calls[nCall];
            for (const FAULT& st_Fault : st_Plan.Faults)
                if (st_Fault.nCall == nCall && st_Fault.nOccurrence == nOccurrence)
                    pSt_Due = &st_Fault;
            // A refused close closes all the same, as the kernel does. No time passes.
            bRefused = (pSt_Due && nCall != SYS_close) || nCall == SYS_clock_nanosleep || nCall == SYS_reboot;
            if (bRefused)
                ptrace(PTRACE_POKEUSER, nPid, m_Register(ORIG_RAX), -1L);
        }
        else if (pSt_Due || bRefused)
        {
            ptrace(PTRACE_POKEUSER, nPid, m_Register(RAX), pSt_Due ? -static_cast<long>(pSt_Due->nErrno) : 0L);
            if (pSt_Due)
                m_pSt_Outcomes[0].dwReached |= 1U << (pSt_Due - st_Plan.Faults.data());
            pSt_Due = nullptr;
        }
        bEntry = !bEntry;
    }
    m_Calls = std::move(Calls);
}

const OUTCOME& CRunner::Run(const OPERATION& st_Operation, const PLAN& st_Plan)
{
    for (int nOutcome = 0; nOutcome < 2; ++nOutcome)
        new (&m_pSt_Outcomes[nOutcome]) OUTCOME();
    if (ftruncate(m_nErrors, 0) != 0 || lseek(m_nErrors, 0, SEEK_SET) != 0)
        ADD_FAILURE() << "no file for errors";
    alarm(nPatience);
    const pid_t nPid = _Fork();
    if (nPid == 0)
        RunInChild(st_Operation, st_Plan);
    Await(nPid);
    if (WIFSTOPPED(m_nStatus))
        Trace(nPid, st_Plan);
    alarm(0);
    if (!WIFEXITED(m_nStatus))
        m_pSt_Outcomes[0].enHow = OUTCOME::enDied;
    return m_pSt_Outcomes[0];
}

bool CRunner::Aborted() const
{
    return WIFSIGNALED(m_nStatus) && WTERMSIG(m_nStatus) == SIGABRT;
}

std::string CRunner::Complaint() const
{
    char tszText[4000] = {};
    const ssize_t nRead = pread(m_nErrors, tszText, sizeof(tszText) - 1, 0);
    return "status " + std::to_string(m_nStatus) + (nRead > 0 ? std::string(": ") + tszText : "");
}

void RunTraced(void (*pfnBody)(CRunner& m_Runner))
{
    const pid_t nPid = _Fork();
    if (nPid == 0)
        _exit(ptrace(PTRACE_TRACEME) == 0 ? 0 : 1);
    int nStatus = 0;
    if (waitpid(nPid, &nStatus, 0) != nPid || nStatus != 0)
        return SkipBecause("this machine does not let a process trace its child");
    RunSandboxed([pfnBody] {
        const CMachine m_Machine;
        CRunner m_Runner;
        pfnBody(m_Runner);
    });
}
