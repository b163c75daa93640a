// SPDX-License-Identifier: MIT
/// Compares the library with what people would take instead, and with the barest system calls that keep its rules: all
/// in one run, round by round. scripts/compare runs it and makes a table of what it prints.
#include "Plan.h"
#include "Psutil.h"
#include "Support.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <atomic>
#include <cmath>
#include <csignal>
#include <iostream>
#include <malloc.h>
#include <map>
#include <nlohmann/json.hpp>
#include <numeric>
#include <random>
#include <sys/statfs.h>

namespace
{
using nlohmann::json;

#ifdef __clang__
constexpr const char* lpszCompiler = __VERSION__;
#else
constexpr const char* lpszCompiler = "GCC " __VERSION__;
#endif

struct ROUNDS
{
    int nCount = 0;       ///< 0: as many as fit the group's time
    double fFactor = 1.0; ///< of that time
};

constexpr int nLeastRounds = 3;
constexpr int nMostRounds = 301;

std::atomic<bool> g_bStop = false; // a signal came

/// A sample, unless the run is to end: then what it has made goes first.
SAMPLE Take(const CONTENDER& st_Contender, long nCalls, bool bCheck = false)
{
    Require(!g_bStop, "stopped");
    malloc_trim(0); // what the one before left free would be the next one's gain
    return st_Contender.Take(nCalls, bCheck);
}

/// One call of each, looked at closely: all contenders of a row must find the same. Gives what each call cost.
std::vector<double> Check(const std::string& Name, const GROUP& st_Group)
{
    std::map<std::string, long long> Found;
    std::vector<double> Costs;
    for (const CONTENDER& st_Contender : st_Group.Contenders)
    {
        const SAMPLE st_Sample = Take(st_Contender, 1, true);
        Found[st_Contender.Name] = st_Sample.nFound;
        Costs.push_back(st_Sample.fCost);
    }
    for (const ROW& st_Row : st_Group.Rows)
    {
        const std::string& Library = st_Row.Library.front();
        for (const auto& Names : {st_Row.Peers, st_Row.OtherRules, st_Row.Limit})
        {
            for (const std::string& Other : Names)
                Require(Found.at(Other) == Found.at(Library), Name + ": " + Other + " found " +
                                                                  std::to_string(Found[Other]) + ", the library " +
                                                                  std::to_string(Found[Library]));
        }
    }
    return Costs;
}

/// How many calls make a sample that the clock can tell apart.
long CallsFor(const CONTENDER& st_Contender, double fFirstCost)
{
    constexpr double fSampleTime = 0.004;
    if (st_Contender.bOneCall || fFirstCost > 20 * fSampleTime)
        return 1;
    return std::clamp(std::lround(fSampleTime / Take(st_Contender, 1).fCost), 1L, 10'000L);
}

bool IsRoundLeft(int nRound, bool bTimeLeft)
{
    return nRound < nLeastRounds || (bTimeLeft && nRound < nMostRounds);
}

/// Rounds in which each contender has its turn, in an order of its own. As many as fit the time, or the given number.
json Measure(const GROUP& st_Group, const std::vector<double>& FirstCosts, double fSeconds, int nRounds)
{
    using Clock = std::chrono::steady_clock;
    std::vector<long> Calls;
    for (std::size_t nContender = 0; nContender < FirstCosts.size(); ++nContender)
        Calls.push_back(CallsFor(st_Group.Contenders[nContender], FirstCosts[nContender]));

    std::vector<std::vector<double>> Samples(st_Group.Contenders.size());
    std::vector<std::size_t> Order(Samples.size());
    std::iota(Order.begin(), Order.end(), 0);
    std::minstd_rand Random(1); // the same orders in every run
    const auto End = Clock::now() + std::chrono::duration<double>(fSeconds);
    for (int nRound = 0; nRounds > 0 ? nRound < nRounds : IsRoundLeft(nRound, Clock::now() < End); ++nRound)
    {
        std::shuffle(Order.begin(), Order.end(), Random);
        for (const std::size_t nContender : Order)
            Samples[nContender].push_back(Take(st_Group.Contenders[nContender], Calls[nContender]).fCost);
    }

    json Contenders = json::object();
    for (std::size_t nContender = 0; nContender < Samples.size(); ++nContender)
        Contenders[st_Group.Contenders[nContender].Name] = Samples[nContender];
    return Contenders;
}

json Describe(const ROW& st_Row)
{
    return {{"operation", st_Row.Operation}, {"series", st_Row.Series},          {"size", st_Row.nSize},
            {"peer_goal", st_Row.fPeerGoal}, {"limit_goal", st_Row.fLimitGoal},  {"library", st_Row.Library},
            {"peers", st_Row.Peers},         {"other_rules", st_Row.OtherRules}, {"limit", st_Row.Limit}};
}

json Run(const ENTRY& st_Entry, const ROUNDS& st_Rounds)
{
    const GROUP st_Group = st_Entry.Make();
    const std::vector<double> FirstCosts = Check(st_Entry.Name, st_Group);
    const int nRounds = st_Group.Unit == "s" ? st_Rounds.nCount : 1; // memory is the same every time
    json Rows = json::array();
    for (const ROW& st_Row : st_Group.Rows)
        Rows.push_back(Describe(st_Row));
    return {{"name", st_Entry.Name},
            {"unit", st_Group.Unit},
            {"samples", Measure(st_Group, FirstCosts, st_Entry.fSeconds * st_Rounds.fFactor, nRounds)},
            {"rows", Rows}};
}

/// The peers that this build, or this machine, does not have.
std::vector<std::string> Missing()
{
    std::vector<std::string> Names;
#ifndef HAVE_GLIB
    Names.emplace_back("GLib");
#endif
#ifndef HAVE_BOOST_PROCESS
    Names.emplace_back("Boost.Process");
#endif
#ifndef HAVE_BOOST_FILESYSTEM
    Names.emplace_back("Boost.Filesystem");
#endif
#ifndef HAVE_LIBPROC2
    Names.emplace_back("libproc2");
#endif
#ifndef HAVE_LIBSTATGRAB
    Names.emplace_back("libstatgrab");
#endif
    if (!HasPsutil())
        Names.emplace_back("psutil");
    for (const char* lpszProgram : {"bfs", "fdfind"})
    {
        if (!HasProgram(lpszProgram))
            Names.emplace_back(lpszProgram);
    }
    return Names;
}

/// Memory as a file system, where there is one: a disk's own pace would hide the differences.
std::string DefaultFolder()
{
    constexpr long nTmpfs = 0x01021994;
    struct statfs st_Fs = {};
    const bool bMemory = statfs("/dev/shm", &st_Fs) == 0 && st_Fs.f_type == nTmpfs && access("/dev/shm", W_OK) == 0;
    return bMemory ? "/dev/shm" : std::filesystem::temp_directory_path().string();
}

bool IsWanted(const std::string& Name, const std::vector<std::string>& Wanted)
{
    return Wanted.empty() || std::any_of(Wanted.begin(), Wanted.end(),
                                         [&](const std::string& Beginning) { return Name.starts_with(Beginning); });
}
} // namespace

int main(int nArguments, char** ppszArguments)
try
{
    SETTINGS st_Settings;
    ROUNDS st_Rounds;
    std::vector<std::string> Wanted;
    std::vector<std::string> MemoryProbe;
    bool bList = false;
    st_Settings.Folder = DefaultFolder();

    CLI::App App("Compares the library with its peers and with the limit; prints JSON");
    App.add_option("operation", Wanted, "Beginnings of the names of what to compare; without any: all");
    App.add_flag("--quick", st_Settings.bQuick, "Small sizes and few rounds: shows that all works, not how fast");
    App.add_flag("--list", bList, "Print the names and stop");
    App.add_option("--rounds", st_Rounds.nCount, "Rounds of each; without it as many as fit its time")
        ->check(CLI::PositiveNumber);
    App.add_option("--time", st_Rounds.fFactor, "Factor of the time that each takes")->check(CLI::PositiveNumber);
    App.add_option("--folder", st_Settings.Folder, "Where files are made")
        ->capture_default_str()
        ->check(CLI::ExistingDirectory);
    App.add_option("--probe", MemoryProbe)->expected(2)->group("");
    CLI11_PARSE(App, nArguments, ppszArguments);

    for (const int nSignal : {SIGINT, SIGTERM, SIGHUP})
        std::signal(nSignal, [](int) { g_bStop = true; });
    if (!MemoryProbe.empty())
        return RunMemoryProbe(MemoryProbe[0], MemoryProbe[1]);
    if (st_Settings.bQuick && st_Rounds.nCount == 0)
        st_Rounds.nCount = 3;

    PLAN Plan;
    for (const auto pfnPlan : {PlanCommands, PlanWalks, PlanMemory, PlanWrites, PlanQueries, PlanProcesses, PlanLoad})
        pfnPlan(Plan, st_Settings);
    std::erase_if(Plan, [&](const ENTRY& st_Entry) { return !IsWanted(st_Entry.Name, Wanted); });
    Require(!Plan.empty(), "no operation has such a name; --list shows all");

    json Groups = json::array();
    for (const ENTRY& st_Entry : Plan)
    {
        if (bList)
        {
            std::cout << st_Entry.Name << "\n";
            continue;
        }
        std::cerr << st_Entry.Name << std::flush;
        const auto Begin = std::chrono::steady_clock::now();
        Groups.push_back(Run(st_Entry, st_Rounds));
        const std::chrono::duration<double> Elapsed = std::chrono::steady_clock::now() - Begin;
        std::cerr << " (" << std::lround(Elapsed.count()) << " s)\n";
    }
    if (!bList)
        std::cout << json{{"compiler", lpszCompiler},
                          {"missing", Missing()},
                          {"memory_file_system", st_Settings.Folder == "/dev/shm"},
                          {"groups", Groups}}
                         .dump(1)
                  << "\n";
    return 0;
}
catch (const std::exception& Failure)
{
    std::cerr << "\ncompare: " << Failure.what() << "\n";
    return 1;
}
