// SPDX-License-Identifier: MIT
// The engines: each takes the whole table of operations and multiplies it by the faults of its kind.
#include "Runner.h"
#include "Sandbox.h"

#include <algorithm>
#include <bit>
#include <csignal>
#include <cstring>
#include <fstream>
#include <gtest/gtest.h>
#include <iostream>
#include <random>
#include <set>
#include <sstream>
#include <sys/mman.h>
#include <sys/time.h>
#include <sys/wait.h>
#include <unistd.h>

namespace
{
constexpr long nKept = 40; ///< blocks that the C library may keep

/// A number that child processes share with the test.
long& Shared()
{
    static void* const pPage = mmap(nullptr, sizeof(long), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
    return *static_cast<long*>(pPage);
}

struct SYSTEM_CALL
{
    const char* lpszName;
    std::vector<int> Errnos;
};

const std::map<long, SYSTEM_CALL>& SystemCalls()
{
#define CALL(Name, ...) {SYS_##Name, {#Name, {__VA_ARGS__}}},
    static const std::map<long, SYSTEM_CALL> Rows = {
#include "../data/engines/SystemCalls.inc"
    };
    return Rows;
}

std::string Show(const PLAN& st_Plan)
{
    std::string Text = st_Plan.nAllocation > 0 ? "allocation " + std::to_string(st_Plan.nAllocation) : "";
    Text += st_Plan.bForGood ? " and all after it" : "";
    for (const FAULT& st_Fault : st_Plan.Faults)
        Text += " " + std::string(SystemCalls().at(st_Fault.nCall).lpszName) + " " +
                std::to_string(st_Fault.nOccurrence) + " " + strerrorname_np(st_Fault.nErrno);
    return Text;
}

std::string Show(const OUTCOME& st_Outcome)
{
    static const char* const lpszHows[] = {"died", "returned", "raised", "had no memory", "threw"};
    std::ostringstream Text;
    Text << lpszHows[st_Outcome.enHow] << ' ' << st_Outcome.bResult << ", code " << std::hex << st_Outcome.dwCode
         << ", errno " << strerrorname_np(st_Outcome.nErrno);
    return Text.str();
}

bool Names(const char* lpszList, const std::string& Name)
{
    return (" " + std::string(lpszList) + " ").find(" " + Name + " ") != std::string::npos;
}

bool Succeeded(const OUTCOME& st_Outcome)
{
    return st_Outcome.enHow == OUTCOME::enReturned && st_Outcome.bResult && !st_Outcome.bFlag;
}

bool Failed(const OUTCOME& st_Outcome, unsigned long dwCode, int nErrno)
{
    return st_Outcome.enHow == OUTCOME::enReturned && !st_Outcome.bResult && st_Outcome.bFlag &&
           st_Outcome.dwCode == dwCode && (nErrno == nAnyErrno || st_Outcome.nErrno == nErrno);
}

/// Whether an outcome is the one that a rule speaks of, for a call that failed with errno.
bool Fits(const OUTCOME& st_Outcome, const RULE& st_Rule, int nErrno, const std::string& Changed)
{
    const bool bUnwritten = st_Rule.bWrites || Difference(st_Outcome.st_Out, OUTPUTS()).empty();
    const bool bRaised = st_Outcome.enHow == OUTCOME::enRaised && !st_Outcome.bFlag && bUnwritten;
    switch (st_Rule.dwOutcome)
    {
    case dwSame:
        return Succeeded(st_Outcome) && Changed.empty();
    case dwLess:
        return Succeeded(st_Outcome) && st_Outcome.dwCode == st_Rule.dwCode;
    case dwRaises:
        return bRaised && st_Outcome.nErrno == nErrno;
    case dwRaisesIt:
        return bRaised;
    default:
        return bUnwritten && Failed(st_Outcome, st_Rule.dwOutcome, st_Rule.nErrno != 0 ? st_Rule.nErrno : nErrno);
    }
}

/// The rules for a fault: those for its errno outweigh those for any.
std::vector<RULE> RulesFor(const OPERATION& st_Operation, const FAULT& st_Fault)
{
    const RULE st_Same("", dwSame);
    const std::string Name = SystemCalls().at(st_Fault.nCall).lpszName;
    // Signals lose nothing, and an older kernel is asked in another way.
    if ((st_Fault.nErrno == EINTR && Names("read sendfile clock_nanosleep", Name)) ||
        (st_Fault.nErrno == ENOSYS && Name == "clone3"))
        return {st_Same};
    for (const bool bThisErrno : {true, false})
    {
        std::vector<RULE> Rules;
        for (const RULE& st_Rule : st_Operation.Rules)
            if (Names(st_Rule.lpszCalls, Name) && st_Fault.nOccurrence <= st_Rule.nOccurrences &&
                (bThisErrno ? st_Rule.lpszErrnos && Names(st_Rule.lpszErrnos, strerrorname_np(st_Fault.nErrno))
                            : !st_Rule.lpszErrnos))
                Rules.push_back(st_Rule);
        if (!Rules.empty())
            return Rules;
    }
    return {st_Same};
}

bool Has(const std::vector<RULE>& Rules, unsigned long dwOutcome)
{
    return std::ranges::count(Rules, dwOutcome, &RULE::dwOutcome) > 0;
}

/// What a call left behind that it must not; empty where nothing.
std::string Leftovers(const OPERATION& st_Operation, const OUTCOME& st_Outcome, const std::vector<FAULT>& Reached)
{
    // A wait that is refused leaves the child; so does a refused close, behind which pclose does not wait.
    const auto m_Refused = [&](const char* lpszCalls) {
        return std::ranges::any_of(Reached, [&](const FAULT& st_Fault) {
            return Names(lpszCalls, SystemCalls().at(st_Fault.nCall).lpszName);
        });
    };
    if (st_Outcome.nDescriptors != 0)
        return std::to_string(st_Outcome.nDescriptors) + " descriptors left";
    if (st_Outcome.nBlocks != 0 && (!st_Operation.bKeeps || st_Outcome.nBlocks > nKept))
        return std::to_string(st_Outcome.nBlocks) + " blocks left";
    if (st_Outcome.bChildLeft && !m_Refused("wait4 close"))
        return "a child left";
    if (st_Outcome.bSignals && !m_Refused("rt_sigaction rt_sigprocmask") &&
        (!st_Operation.bHolds || st_Outcome.bResult))
        return "signals changed";
    return {};
}

constexpr const char* lpszMemoryCalls = "brk mmap mprotect munmap";
#if defined(__SANITIZE_ADDRESS__)
constexpr bool bOwnHeap = false; // the sanitizer's ends the process where the kernel refuses it memory
#else
constexpr bool bOwnHeap = true;
#endif

/// Whether memory that could not be had was told as the interface says, for all calls alike.
bool HadNoMemory(const OPERATION& st_Operation, const OUTCOME& st_Outcome)
{
    return st_Outcome.enHow == OUTCOME::enNoMemory && !st_Outcome.bFlag &&
           (std::ranges::count(st_Operation.Rules, true, &RULE::bWrites) > 0 ||
            Difference(st_Outcome.st_Out, OUTPUTS()).empty());
}

/// The faults that came to pass. A call that is taken up again after a signal does not count twice.
std::vector<FAULT> FaultsReached(const PLAN& st_Plan, const OUTCOME& st_Outcome)
{
    std::vector<FAULT> Reached;
    for (std::size_t nFault = 0; nFault < st_Plan.Faults.size(); ++nFault)
        if ((st_Outcome.dwReached & 1U << nFault) != 0)
            Reached.push_back(st_Plan.Faults[nFault]);
    std::ranges::sort(Reached, {}, &FAULT::nOccurrence);
    for (auto pFault = Reached.rbegin(); pFault != Reached.rend(); ++pFault)
        pFault->nOccurrence -=
            static_cast<int>(std::count_if(Reached.begin(), pFault.base() - 1, [&](const FAULT& st_Earlier) {
                return st_Earlier.nErrno == EINTR && st_Earlier.nCall == pFault->nCall;
            }));
    return Reached;
}

/// What is wrong with an outcome; empty where it is what the contract says.
std::string Judge(const OPERATION& st_Operation, const PLAN& st_Plan, const OUTCOME& st_Outcome,
                  const OUTCOME& st_Reference)
{
    const std::string Changed = st_Operation.bVaries ? "" : Difference(st_Outcome.st_Out, st_Reference.st_Out);
    const std::vector<FAULT> Reached = FaultsReached(st_Plan, st_Outcome);
    if (const std::string Left = Leftovers(st_Operation, st_Outcome, Reached); !Left.empty())
        return Left;
    const auto m_AnyFits = [&](const std::vector<RULE>& Rules, int nErrno) {
        return std::ranges::any_of(Rules,
                                   [&](const RULE& st_Rule) { return Fits(st_Outcome, st_Rule, nErrno, Changed); });
    };
    bool bGood = false;
    if (st_Plan.nAllocation > 0)
    {
        std::vector<RULE> Rules = {RULE("", dwSame)};
        for (const RULE& st_Rule : st_Operation.Rules)
            if (Names(st_Rule.lpszCalls, "allocation"))
                Rules.push_back(st_Rule);
        bGood = HadNoMemory(st_Operation, st_Outcome) || m_AnyFits(Rules, ENOMEM);
    }
    else if (Succeeded(st_Outcome)) // every fault must allow it
    {
        bGood = Changed.empty();
        for (const FAULT& st_Fault : Reached)
            bGood = bGood || m_AnyFits(RulesFor(st_Operation, st_Fault), st_Fault.nErrno);
        const bool bTakenUp = std::ranges::count(Reached, EINTR, &FAULT::nErrno) > 0; // what it closed is of no use
        for (const FAULT& st_Fault : Reached)
            bGood = bGood &&
                    ((bTakenUp && st_Fault.nCall == SYS_close) || Has(RulesFor(st_Operation, st_Fault), dwSame) ||
                     Has(RulesFor(st_Operation, st_Fault), dwLess));
    }
    else // one fault's
        for (const FAULT& st_Fault : Reached)
            bGood = bGood || m_AnyFits(RulesFor(st_Operation, st_Fault), st_Fault.nErrno) ||
                    (Names(lpszMemoryCalls, SystemCalls().at(st_Fault.nCall).lpszName) &&
                     HadNoMemory(st_Operation, st_Outcome));
    return bGood ? "" : Show(st_Outcome) + ". " + Changed;
}

/// Where the faults can be injected: the calls that an operation makes, at the first, second, third and last time.
std::vector<FAULT> FaultsOf(const OPERATION& st_Operation, const std::map<long, int>& Calls)
{
    std::vector<FAULT> Faults;
    for (const auto& [nCall, nTimes] : Calls)
    {
        const auto pRow = SystemCalls().find(nCall);
        if (pRow == SystemCalls().end())
        {
            ADD_FAILURE() << st_Operation.lpszName << " makes a system call that has no row: " << nCall;
            continue;
        }
        if (!bOwnHeap && Names(lpszMemoryCalls, pRow->second.lpszName))
            continue;
        for (const int nOccurrence : std::set<int>{1, std::min(2, nTimes), std::min(3, nTimes), nTimes})
            for (const int nErrno : pRow->second.Errnos)
                Faults.push_back({nCall, nOccurrence, nErrno});
    }
    return Faults;
}

/// SYSTEMAPI_ENGINES_FULL=1 asks for all of it, which takes minutes.
const bool bFull = std::getenv("SYSTEMAPI_ENGINES_FULL") != nullptr;
/// SYSTEMAPI_ENGINES_SEED chooses other faults.
unsigned Seed()
{
    const char* const lpszSeed = std::getenv("SYSTEMAPI_ENGINES_SEED");
    return lpszSeed ? static_cast<unsigned>(std::atol(lpszSeed)) : 1;
}

/// Undisturbed, and without fault: what the other runs are compared with.
OUTCOME Undisturbed(CRunner& m_Runner, const OPERATION& st_Operation)
{
    WarmUp(st_Operation);
    const OUTCOME st_Reference = m_Runner.Run(st_Operation, {});
    EXPECT_EQ(Judge(st_Operation, {}, st_Reference, st_Reference), "") << m_Runner.Complaint();
    EXPECT_TRUE(Succeeded(st_Reference)) << Show(st_Reference);
    EXPECT_EQ(Judge(st_Operation, {}, m_Runner.Run(st_Operation, {}), st_Reference), "")
        << "differs from call to call";
    return st_Reference;
}

TEST(Engine, Allocations)
{
    RunTraced([](CRunner& m_Runner) {
        long nFaults = 0;
        long nEnded = 0; // in the standard library
        for (const OPERATION& st_Operation : Operations())
        {
            SCOPED_TRACE(st_Operation.lpszName);
            const OUTCOME st_Reference = Undisturbed(m_Runner, st_Operation);
            for (const bool bForGood : {false, true})
                for (PLAN st_Plan = {.nAllocation = 1, .bForGood = bForGood};; ++st_Plan.nAllocation)
                {
                    const OUTCOME& st_Outcome = m_Runner.Run(st_Operation, st_Plan);
                    if (st_Outcome.enHow == OUTCOME::enDied)
                    {
                        EXPECT_TRUE(st_Operation.bStdEnds && m_Runner.Aborted())
                            << Show(st_Plan) << ": " << m_Runner.Complaint();
                        ++nEnded;
                        ASSERT_LT(st_Plan.nAllocation, 1000);
                        continue;
                    }
                    EXPECT_EQ(Judge(st_Operation, st_Plan, st_Outcome, st_Reference), "") << Show(st_Plan);
                    if (st_Outcome.nRefused == 0)
                        break;
                    ++nFaults;
                }
        }
        std::cout << "engine allocations: " << Operations().size() << " rows, " << nFaults << " faults, and "
                  << nEnded << " that the standard library ends the process for\n";
    });
}

TEST(Engine, SystemCalls)
{
    RunTraced([](CRunner& m_Runner) {
#if defined(__SANITIZE_ADDRESS__)
        const std::size_t nWanted = 1000;
#else
        const std::size_t nWanted = bFull ? 50'000 : 5'000;
#endif
        std::mt19937 m_Random(Seed());

        struct SUBJECT
        {
            const OPERATION& st_Operation;
            OUTCOME st_Reference;
            std::vector<FAULT> Faults;
        };
        std::vector<SUBJECT> Subjects;
        std::size_t nSingles = 0;
        std::vector<double> Weights; // less where commands are run
        for (const OPERATION& st_Operation : Operations())
        {
            SCOPED_TRACE(st_Operation.lpszName);
            const OUTCOME st_Reference = Undisturbed(m_Runner, st_Operation);
            auto Faults = FaultsOf(st_Operation, m_Runner.Calls());
            std::shuffle(Faults.begin(), Faults.end(), m_Random);
            nSingles += Faults.size();
            Weights.push_back(static_cast<double>(Faults.size()) / (m_Runner.Calls().count(SYS_wait4) > 0 ? 100 : 1));
            Subjects.push_back({st_Operation, st_Reference, std::move(Faults)});
        }

        std::size_t nFaults = 0;
        const auto m_Inject = [&](const SUBJECT& st_Subject, std::vector<FAULT> Chosen) {
            const PLAN st_Plan = {.Faults = std::move(Chosen)};
            const OUTCOME& st_Outcome = m_Runner.Run(st_Subject.st_Operation, st_Plan);
            const std::string Wrong =
                st_Outcome.enHow == OUTCOME::enDied
                    ? m_Runner.Complaint()
                    : Judge(st_Subject.st_Operation, st_Plan, st_Outcome, st_Subject.st_Reference);
            if (!Wrong.empty())
                ADD_FAILURE() << st_Subject.st_Operation.lpszName << Show(st_Plan) << ": " << Wrong;
            nFaults += static_cast<std::size_t>(std::popcount(st_Outcome.dwReached));
        };
        for (const SUBJECT& st_Subject : Subjects) // one fault at a time: all of them, or a share
            for (std::size_t nFault = 0;
                 nFault < st_Subject.Faults.size() * std::min(nWanted, nSingles) / std::max<std::size_t>(nSingles, 1);
                 ++nFault)
                m_Inject(st_Subject, {st_Subject.Faults[nFault]});
        std::discrete_distribution<std::size_t> m_Choice(Weights.begin(), Weights.end());
        while (nFaults < nWanted && !testing::Test::HasFailure()) // and then several in one call
        {
            const SUBJECT& st_Subject = Subjects[m_Choice(m_Random)];
            std::vector<FAULT> Chosen;
            std::sample(st_Subject.Faults.begin(), st_Subject.Faults.end(), std::back_inserter(Chosen), 4, m_Random);
            m_Inject(st_Subject, Chosen);
        }
        std::cout << "engine system calls: " << Operations().size() << " rows, " << nFaults << " faults, " << nSingles
                  << " points known, seed " << Seed() << '\n';
    });
}

/// What makes a wait go on that a handler without SA_RESTART interrupts is the library's business alone: the rest of
/// a turn runs with the signal blocked.
void BlockAlarms(bool bBlock)
{
    sigset_t Alarms;
    sigemptyset(&Alarms);
    sigaddset(&Alarms, SIGALRM);
    sigprocmask(bBlock ? SIG_BLOCK : SIG_UNBLOCK, &Alarms, nullptr);
}

int CallsOf(const OPERATION& st_Operation)
{
    return st_Operation.bSlow ? 2 : bFull ? 1000 : 50;
}

volatile std::sig_atomic_t nAlarms = 0;

/// Calls an operation again and again while signals come.
void Storm(const OPERATION& st_Operation)
{
    OUTPUTS st_Reference;
    ASSERT_TRUE(Call(st_Operation, st_Reference));
    struct sigaction st_Action = {}; // no SA_RESTART
    st_Action.sa_handler = [](int) {
        nAlarms = nAlarms + 1;
    };
    sigaction(SIGALRM, &st_Action, nullptr);
#if defined(__SANITIZE_ADDRESS__)
    constexpr int nMicroseconds = 5000; // a fork that takes longer than this never ends
#else
    constexpr int nMicroseconds = 300;
#endif
    const itimerval st_Often = {{0, nMicroseconds}, {0, nMicroseconds}};
    BlockAlarms(true);
    setitimer(ITIMER_REAL, &st_Often, nullptr);
    for (int nCall = 0; nCall < CallsOf(st_Operation) && !testing::Test::HasFailure(); ++nCall)
    {
        OUTPUTS st_Out;
        Prepare(st_Operation);
        BlockAlarms(false);
        const bool bResult = st_Operation.pfnCall(st_Out);
        BlockAlarms(true);
        Flatten(st_Operation, st_Out);
        EndChild();
        while (st_Operation.bStarts && waitpid(-1, nullptr, WNOHANG) > 0)
            ;
        EXPECT_TRUE(bResult && !SystemApi_IsErrorOccur) << nCall << ", code " << SystemApi_dwErrorCode;
        EXPECT_EQ(st_Operation.bVaries ? "" : Difference(st_Out, st_Reference), "") << nCall;
    }
    setitimer(ITIMER_REAL, nullptr, nullptr);
    Shared() += nAlarms;
}

TEST(Engine, Signals)
{
    Shared() = 0;
    long nCalls = 0;
    for (const OPERATION& st_Operation : Operations())
    {
        SCOPED_TRACE(st_Operation.lpszName);
        RunSandboxed([&] {
            const CMachine m_Machine;
            Storm(st_Operation);
        });
        nCalls += CallsOf(st_Operation);
    }
    std::cout << "engine signals: " << Operations().size() << " rows, " << nCalls << " calls, " << Shared()
              << " signals\n";
}

TEST(Failures, HaveTheirCodeAndErrnoAndLeaveTheOutputsAlone)
{
    RunTraced([](CRunner& m_Runner) {
        for (const FAILURE& st_Row : Failures())
        {
            OPERATION st_Operation = st_Row.st_Operation;
            const auto pSame = std::ranges::find_if(Operations(), [&](const OPERATION& st_Any) {
                return std::string(st_Any.lpszName) == st_Operation.lpszName;
            });
            ASSERT_TRUE(pSame != Operations().end()) << st_Operation.lpszName;
            st_Operation.pfnPrepare = st_Row.pfnPrepare;
            st_Operation.bHolds = pSame->bHolds;
            st_Operation.bKeeps = pSame->bKeeps;
            for (const bool bMember : {false, true})
            {
                SCOPED_TRACE(std::string(st_Row.lpszSymbol) + " by " + st_Operation.lpszName);
                const OUTCOME& st_Caller = m_Runner.Run(st_Operation, {.Faults = st_Row.Faults, .bMember = bMember});
                const OUTCOME& st_Outcome = st_Row.bInChild ? m_Runner.OfChild() : st_Caller;
                EXPECT_TRUE(Failed(st_Outcome, st_Row.dwCode, st_Row.nErrno)) << Show(st_Outcome);
                EXPECT_EQ(Leftovers(st_Operation, st_Outcome, st_Row.Faults), "");
                EXPECT_EQ(Difference(st_Outcome.st_Out, OUTPUTS()).empty(), !st_Row.bWrites);
            }
        }
    });
}

TEST(Members, DoWhatTheirFunctionsDo)
{
    RunTraced([](CRunner& m_Runner) {
        for (const OPERATION& st_Operation : Operations())
            if (st_Operation.pfnMember)
            {
                SCOPED_TRACE(st_Operation.lpszName);
                const OUTCOME st_Function = m_Runner.Run(st_Operation, {});
                const OUTCOME& st_Member = m_Runner.Run(st_Operation, {.bMember = true});
                EXPECT_EQ(Show(st_Member), Show(st_Function));
                EXPECT_EQ(st_Operation.bVaries ? "" : Difference(st_Member.st_Out, st_Function.st_Out), "");
            }
    });
}

/// What follows a beginning in the lines of a file of the tree, up to a blank.
std::set<std::string> WordsBehind(const std::string& Beginning, const std::string& File)
{
    std::ifstream Lines(SOURCE_FOLDER "/" + File);
    EXPECT_TRUE(Lines.is_open()) << File;
    std::set<std::string> Words;
    for (std::string Line; std::getline(Lines, Line);)
        if (Line.starts_with(Beginning))
            Words.insert(Line.substr(Beginning.size(), Line.find(' ', Beginning.size()) - Beginning.size()));
    return Words;
}

TEST(Tables, HoldEveryFunctionAndEverySymbol)
{
    const std::string Beginning = "SystemApi_";
    std::set<std::string> Functions = {"IsErrorOccur", "dwErrorCode"}; // variables, and exported as well
    for (const OPERATION& st_Operation : Operations())
        Functions.insert(st_Operation.lpszName + Beginning.size());
    EXPECT_EQ(Functions, WordsBehind(Beginning, "tests/data/Tolvane_SystemApi.symbols"));
    std::set<std::string> Symbols;
    for (const FAILURE& st_Row : Failures())
        Symbols.insert(st_Row.lpszSymbol);
    EXPECT_EQ(Symbols, WordsBehind("#define ERROR_SYSTEMAPI_", "Tolvane_SystemApi/include/Tolvane_SystemApi.h"));
}
} // namespace
