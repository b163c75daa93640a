// SPDX-License-Identifier: MIT
/// Which processes have kept the processors busy.
#pragma once

#include <chrono>
#include <map>
#include <string>
#include <vector>

struct BUSY_PROCESS
{
    int nPid;
    int nUsage;                   ///< per cent of one processor
    unsigned long long nResident; ///< bytes
    std::string Name;
};

/// Compares the processes' counters with those of the call before.
class CBusyProcesses
{
public:
    CBusyProcesses() { Sample(); }

    /// The processes that live, the busiest since the call before first.
    std::vector<BUSY_PROCESS> Sample();

private:
    using Clock = std::chrono::steady_clock;

    std::map<int, unsigned long long> m_Ticks; ///< of each process
    Clock::time_point m_At = Clock::now();
};
