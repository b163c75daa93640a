/// Compares the library with what people would take instead, and with the barest system calls that keep its rules: all
/// in one run, round by round. scripts/compare runs it and makes a table of what it prints.
#include "Plan.h"
#include "Psutil.h"
#include "Support.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <cmath>
#include <iostream>
#include <nlohmann/json.hpp>
#include <numeric>
#include <random>
#include <sys/statfs.h>

namespace
{
using nlohmann::json;

struct ROUNDS
{
    int nCount = 0;       ///< 0: as many as fit the group's time
    double fFactor = 1.0; ///< of that time
};

constexpr int nLeastRounds = 5;
constexpr int nMostRounds = 61;

/// How many calls make a sample that the clock can tell apart.
long CallsFor(const CONTENDER& st_Contender, double fCost)
{
    constexpr double fSampleTime = 0.004;
    if (st_Contender.bOneCall)
        return 1;
    return std::clamp(std::lround(fSampleTime / fCost), 1L, 10'000L);
}

/// One call of each, looked at closely: all contenders of a row must find the same.
void Check(const std::string& Name, const GROUP& st_Group)
{
    std::map<std::string, long long> Found;
    for (const CONTENDER& st_Contender : st_Group.Contenders)
        Found[st_Contender.Name] = st_Contender.Take(1, true).nFound;
    for (const ROW& st_Row : st_Group.Rows)
    {
        for (const auto& Names : {st_Row.Library, st_Row.Peers, st_Row.OtherRules, st_Row.Limit})
        {
            for (const std::string& Other : Names)
                Require(Found.at(Other) == Found.at(st_Row.Library.front()),
                        Name + ": " + Other + " found " + std::to_string(Found[Other]) + ", the library " +
                            std::to_string(Found[st_Row.Library.front()]));
        }
    }
}

/// Rounds in which each contender has its turn, in an order of its own.
json Measure(const GROUP& st_Group, double fSeconds, const ROUNDS& st_Rounds)
{
    const bool bTimed = st_Group.Unit == "s";
    std::vector<long> Calls;
    double fRound = 0;
    for (const CONTENDER& st_Contender : st_Group.Contenders) // the first call has warmed it up
    {
        using Clock = std::chrono::steady_clock;
        const double fCost = bTimed ? st_Contender.Take(1, false).fCost : 1.0;
        Calls.push_back(CallsFor(st_Contender, fCost));
        const auto Begin = Clock::now();
        if (bTimed)
            st_Contender.Take(Calls.back(), false);
        fRound += bTimed ? std::chrono::duration<double>(Clock::now() - Begin).count() : 1.0;
    }
    const int nRounds = st_Rounds.nCount > 0
                            ? st_Rounds.nCount
                            : std::clamp(static_cast<int>(fSeconds * st_Rounds.fFactor / fRound), nLeastRounds, nMostRounds);

    std::vector<std::vector<double>> Samples(st_Group.Contenders.size());
    std::vector<std::size_t> Order(Samples.size());
    std::iota(Order.begin(), Order.end(), 0);
    std::minstd_rand Random(1); // the same orders in every run
    for (int nRound = 0; nRound < nRounds; ++nRound)
    {
        std::shuffle(Order.begin(), Order.end(), Random);
        for (const std::size_t nContender : Order)
            Samples[nContender].push_back(st_Group.Contenders[nContender].Take(Calls[nContender], false).fCost);
    }

    json Contenders = json::object();
    for (std::size_t nContender = 0; nContender < Samples.size(); ++nContender)
        Contenders[st_Group.Contenders[nContender].Name] = Samples[nContender];
    return Contenders;
}

json Describe(const ROW& st_Row)
{
    return {{"operation", st_Row.Operation}, {"series", st_Row.Series},
            {"size", st_Row.nSize},          {"peer_goal", st_Row.fPeerGoal},
            {"limit_goal", st_Row.fLimitGoal}, {"library", st_Row.Library},
            {"peers", st_Row.Peers},         {"other_rules", st_Row.OtherRules},
            {"limit", st_Row.Limit}};
}

json Run(const ENTRY& st_Entry, const ROUNDS& st_Rounds)
{
    const GROUP st_Group = st_Entry.Make();
    Check(st_Entry.Name, st_Group);
    json Rows = json::array();
    for (const ROW& st_Row : st_Group.Rows)
        Rows.push_back(Describe(st_Row));
    return {{"name", st_Entry.Name},
            {"unit", st_Group.Unit},
            {"samples", Measure(st_Group, st_Entry.fSeconds, st_Rounds)},
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
    return Wanted.empty() || std::any_of(Wanted.begin(), Wanted.end(), [&](const std::string& Beginning) {
               return Name.starts_with(Beginning);
           });
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
    App.add_option("--folder", st_Settings.Folder, "Where files are made")->capture_default_str()->check(CLI::ExistingDirectory);
    App.add_option("--probe", MemoryProbe)->expected(2)->group("");
    CLI11_PARSE(App, nArguments, ppszArguments);

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
        std::cout << json{{"compiler", "GCC " __VERSION__},
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
