// SPDX-License-Identifier: MIT
/// One call of an operation in a child process, with faults: the child is traced, and the system calls that it makes
/// within the operation, its own alone and not its commands', are counted and refused.
#pragma once

#include "Operations.h"

#include <map>

// The program's memory, counted and refused on demand.
/// The n-th allocation from now on is refused, or all from it on; 0 refuses none.
void RefuseAllocation(long nWhich, bool bForGood) noexcept;
/// Ends it, and tells how many were refused.
long AllocationsRefused() noexcept;
long AllocationsAsked() noexcept; ///< since RefuseAllocation
long LiveBlocks() noexcept;

struct PLAN
{
    std::vector<FAULT> Faults = {};
    long nAllocation = 0; ///< the allocation that is refused
    bool bForGood = false;
    bool bMember = false;
};

struct OUTCOME
{
    enum HOW
    {
        enDied, ///< or never came back
        enReturned,
        enRaised,
        enNoMemory,
        enOtherException
    } enHow = enDied;
    bool bResult;
    bool bFlag;
    unsigned long dwCode;
    int nErrno;         ///< of the exception, where one was raised
    long nAllocations;  ///< asked for
    long nRefused;      ///< of them
    unsigned dwReached; ///< bit n: the plan's n-th fault came to pass
    long nBlocks;       ///< lost
    int nDescriptors;   ///< lost
    bool bChildLeft;
    bool bSignals; ///< their dispositions or the mask changed
    OUTPUTS st_Out;
};

/// Only from one thread, in a sandbox.
class CRunner
{
public:
    CRunner();
    ~CRunner();
    CRunner& operator=(CRunner&&) = delete;

    /// The outcome lives until the next run.
    const OUTCOME& Run(const OPERATION& st_Operation, const PLAN& st_Plan);
    [[nodiscard]] const OUTCOME& OfChild() const { return m_pSt_Outcomes[1]; } ///< of a fork that came back as well
    [[nodiscard]] const std::map<long, int>& Calls() const { return m_Calls; } ///< that the last run made, by number
    [[nodiscard]] bool Aborted() const;                                        ///< whether the last run ended itself
    [[nodiscard]] std::string Complaint() const;                               ///< what a child that died printed

private:
    [[noreturn]] void RunInChild(const OPERATION& st_Operation, const PLAN& st_Plan);
    void Await(int nPid); ///< the next that it does
    void Trace(int nPid, const PLAN& st_Plan);

    OUTCOME* m_pSt_Outcomes;
    int m_nErrors; ///< the children's standard error
    int m_nStatus = 0;
    std::map<long, int> m_Calls;
};

/// In a sandbox, with the machine that the operations work on; skips the test where no child may be traced.
void RunTraced(void (*pfnBody)(CRunner& m_Runner));
