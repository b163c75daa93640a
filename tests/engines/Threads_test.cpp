// SPDX-License-Identifier: MIT
// The thread engine: all operations that may run together, at once.
#include "Operations.h"
#include "Sandbox.h"

#include <algorithm>
#include <atomic>
#include <barrier>
#include <chrono>
#include <cstdlib>
#include <gtest/gtest.h>
#include <iostream>
#include <sys/wait.h>
#include <thread>

namespace
{
constexpr int nThreads = 16;

/// One thread's turn: every operation on its own files, again and again for a moment, and every failure that arguments
/// alone bring about. The threads go abreast, all at the same operation, or each begins elsewhere.
long Turn(const std::vector<const OPERATION*>& Rows, const std::vector<OUTPUTS>& References, std::barrier<>* pAbreast)
{
    using Clock = std::chrono::steady_clock;
    long nCalls = 0;
    for (std::size_t nStep = 0; nStep < Rows.size(); ++nStep)
    {
        const std::size_t nRow = (nStep + (pAbreast ? 0 : static_cast<std::size_t>(nThread) * 3)) % Rows.size();
        if (pAbreast)
            pAbreast->arrive_and_wait();
        const auto End = Clock::now() + std::chrono::milliseconds(5);
        do
        {
            OUTPUTS st_Out;
            EXPECT_TRUE(Call(*Rows[nRow], st_Out)) << Rows[nRow]->lpszName;
            EXPECT_EQ(Rows[nRow]->bVaries ? "" : Difference(st_Out, References[nRow]), "") << Rows[nRow]->lpszName;
            ++nCalls;
        } while (Clock::now() < End);
    }
    for (const FAILURE& st_Row : Failures())
    {
        if (st_Row.pfnPrepare || !st_Row.Faults.empty() || st_Row.bInChild || st_Row.nErrno == nAnyErrno)
            continue;
        OUTPUTS st_Out;
        EXPECT_FALSE(Call(st_Row.st_Operation, st_Out)) << st_Row.lpszSymbol;
        int nErrno = 0;
        errno = st_Row.nErrno; // a thread's own
        const unsigned long dwCode = SystemApi_GetLastError(&nErrno);
        EXPECT_EQ(nErrno, st_Row.nErrno);
        EXPECT_TRUE(std::any_of(Failures().begin(), Failures().end(),
                                [=](const FAILURE& st_Any) { return st_Any.dwCode == dwCode; }))
            << "no failure has the code " << dwCode;
        EXPECT_TRUE(st_Row.bWrites || Difference(st_Out, OUTPUTS()).empty()) << st_Row.lpszSymbol;
        ++nCalls;
    }
    return nCalls;
}

void RunTogether(const std::vector<const OPERATION*>& Rows, int nTurns)
{
    RunSandboxed([&] {
        const CMachine m_Machine(nThreads);
        std::vector<std::vector<OUTPUTS>> References(nThreads);
        for (nThread = 0; nThread < nThreads; ++nThread)
            for (std::size_t nRow = 0; nRow < Rows.size(); ++nRow)
            {
                OUTPUTS& st_Reference = References[static_cast<std::size_t>(nThread)].emplace_back();
                if (nThread > 0 && Rows[nRow]->bSlow)
                    st_Reference = References[0][nRow];
                else
                    EXPECT_TRUE(Call(*Rows[nRow], st_Reference));
            }
        nThread = 0;
        std::atomic<long> nCalls = 0;
        std::barrier m_Abreast(nThreads);
        {
            std::vector<std::jthread> Threads;
            for (int nNew = 0; nNew < nThreads; ++nNew)
                Threads.emplace_back([&, nNew] {
                    nThread = nNew;
                    for (int nTurn = 0; nTurn < nTurns; ++nTurn)
                        nCalls += Turn(Rows, References[static_cast<std::size_t>(nNew)],
                                       nTurn % 2 == 0 ? &m_Abreast : nullptr);
                });
        }
        while (waitpid(-1, nullptr, 0) > 0) // of those that tell nobody their id
            ;
        std::cout << "engine threads: " << Rows.size() << " rows, " << nThreads << " threads, " << nCalls
                  << " calls\n";
    });
}

TEST(Engine, Threads)
{
    std::vector<const OPERATION*> Together;
    for (const OPERATION& st_Operation : Operations())
    {
        if (st_Operation.pfnMachine)
            RunTogether({&st_Operation}, 1);
        else if (!st_Operation.bAlone)
            Together.push_back(&st_Operation);
    }
    RunTogether(Together, std::getenv("SYSTEMAPI_ENGINES_FULL") ? 10 : 2);
}
} // namespace
