// SPDX-License-Identifier: MIT
/// What is compared: groups of contenders that do the same work, and the rows of the table that they give.
#pragma once

#include <chrono>
#include <functional>
#include <string>
#include <utility>
#include <vector>

enum class ROLE
{
    Library,
    Peer,      ///< what people would take instead, by the same rule
    OtherRule, ///< reaches the same answer by a rule that costs less, or more
    Limit,     ///< the barest system calls that keep the rule
    Extra      ///< only in the rows that name it
};

/// What some calls gave.
struct SAMPLE
{
    double fCost;     ///< of one call, in the unit of its group
    long long nFound; ///< a figure on which all contenders of a row agree: bytes, a sum of lengths
};

/// One way of doing an operation.
struct CONTENDER
{
    std::string Name;
    ROLE enRole;
    /// Makes so many calls. With bCheck the result is looked at closely, and the time does not count.
    std::function<SAMPLE(long nCalls, bool bCheck)> Take;
    bool bOneCall = false; ///< a sample is one call
};

/// A line of the table.
struct ROW
{
    std::string Operation;
    std::string Series;  ///< the plotted line to which it belongs; empty for none
    long long nSize = 0; ///< its place on that line: entries, bytes, processes
    double fPeerGoal = 0;
    double fLimitGoal = 0; ///< the ratios that the library is to keep; 0 for none
    std::vector<std::string> Library = {}, Peers = {}, OtherRules = {}, Limit = {};
};

/// Contenders that are measured side by side, round by round.
struct GROUP
{
    std::vector<CONTENDER> Contenders;
    std::vector<ROW> Rows;
    std::string Unit = "s";

    /// A way that is timed. Work(bCheck) does it once and gives its figure, Prepare brings the state in which it begins.
    void Add(ROLE enRole, std::string Name, std::function<long long(bool)> Work, std::function<void()> Prepare = {})
    {
        const bool bOneCall = static_cast<bool>(Prepare);
        Contenders.push_back({std::move(Name), enRole,
                              [Work = std::move(Work), Prepare = std::move(Prepare)](long nCalls, bool bCheck) {
                                  using Clock = std::chrono::steady_clock;
                                  if (Prepare)
                                      Prepare();
                                  SAMPLE st_Sample = {};
                                  const auto Begin = Clock::now();
                                  for (long nCall = 0; nCall < nCalls; ++nCall)
                                      st_Sample.nFound = Work(bCheck);
                                  const std::chrono::duration<double> Elapsed = Clock::now() - Begin;
                                  st_Sample.fCost = Elapsed.count() / static_cast<double>(nCalls);
                                  return st_Sample;
                              },
                              bOneCall});
    }

    /// A row of all contenders, each in its role.
    void AddRow(ROW st_Row)
    {
        for (const CONTENDER& st_Contender : Contenders)
        {
            if (st_Contender.enRole == ROLE::Library)
                st_Row.Library.push_back(st_Contender.Name);
            if (st_Contender.enRole == ROLE::Peer)
                st_Row.Peers.push_back(st_Contender.Name);
            if (st_Contender.enRole == ROLE::OtherRule)
                st_Row.OtherRules.push_back(st_Contender.Name);
            if (st_Contender.enRole == ROLE::Limit)
                st_Row.Limit.push_back(st_Contender.Name);
        }
        Rows.push_back(std::move(st_Row));
    }
};

/// A group by its name; what it needs is made when its turn comes, and goes with it.
struct ENTRY
{
    std::string Name;
    double fSeconds; ///< for its rounds
    std::function<GROUP()> Make;
};

struct SETTINGS
{
    bool bQuick = false; ///< small sizes
    std::string Folder;  ///< where files are made
};

using PLAN = std::vector<ENTRY>;

void PlanCommands(PLAN& Plan, const SETTINGS& st_Settings);
void PlanWalks(PLAN& Plan, const SETTINGS& st_Settings);
void PlanMemory(PLAN& Plan, const SETTINGS& st_Settings);
void PlanWrites(PLAN& Plan, const SETTINGS& st_Settings);
void PlanQueries(PLAN& Plan, const SETTINGS& st_Settings);
void PlanProcesses(PLAN& Plan, const SETTINGS& st_Settings);
void PlanLoad(PLAN& Plan, const SETTINGS& st_Settings);

/// The measuring of memory runs in a process of its own: walks once and prints by how much the peak grew, in bytes,
/// and what was found.
int RunMemoryProbe(const std::string& Walk, const std::string& Root);

/// 1,000 for 1000.
std::string WithCommas(long long nNumber);
