// SPDX-License-Identifier: MIT
#include "Busy.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <filesystem>
#include <fstream>
#include <optional>
#include <sstream>
#include <system_error>
#include <unistd.h>

namespace
{
struct COUNTERS
{
    std::string Name;
    unsigned long long nTicks;
    unsigned long long nPages;
};

/// Nothing where the process has ended meanwhile. The name may hold blanks and brackets: what counts is the last one.
std::optional<COUNTERS> Read(const std::filesystem::path& Folder)
{
    enum // words behind the name
    {
        nUser = 11,
        nSystem = 12,
        nResident = 21
    };
    std::ifstream File(Folder / "stat");
    std::string Line;
    std::getline(File, Line);
    const std::size_t nBegin = Line.find('(');
    const std::size_t nEnd = Line.rfind(')');
    if (nBegin == std::string::npos || nEnd == std::string::npos || nEnd < nBegin)
        return std::nullopt;
    std::istringstream Rest(Line.substr(nEnd + 1));
    std::string State;
    Rest >> State;
    std::vector<long long> Numbers(nResident + 1);
    for (std::size_t nWord = 1; nWord < Numbers.size(); ++nWord)
        Rest >> Numbers[nWord];
    if (!Rest)
        return std::nullopt;
    return COUNTERS{Line.substr(nBegin + 1, nEnd - nBegin - 1),
                    static_cast<unsigned long long>(Numbers[nUser] + Numbers[nSystem]),
                    static_cast<unsigned long long>(Numbers[nResident])};
}
} // namespace

std::vector<BUSY_PROCESS> CBusyProcesses::Sample()
{
    constexpr double fWhole = 100;
    const auto nPageSize = static_cast<unsigned long long>(sysconf(_SC_PAGESIZE));
    const auto Now = Clock::now();
    const double fTicks =
        std::chrono::duration<double>(Now - m_At).count() * static_cast<double>(sysconf(_SC_CLK_TCK));
    std::map<int, unsigned long long> Ticks;
    std::vector<BUSY_PROCESS> Found;
    std::error_code Ignored;
    for (std::filesystem::directory_iterator Entry("/proc", Ignored); Entry != end(Entry); Entry.increment(Ignored))
    {
        const std::string Id = Entry->path().filename().string();
        int nPid = 0;
        if (std::from_chars(Id.data(), Id.data() + Id.size(), nPid).ec != std::errc())
            continue;
        const auto st_Counters = Read(Entry->path());
        if (!st_Counters)
            continue;
        const auto Before = m_Ticks.find(nPid);
        const unsigned long long nBefore = Before == m_Ticks.end() ? st_Counters->nTicks : Before->second;
        // An id that another process has taken over may count less.
        const auto fDone = static_cast<double>(st_Counters->nTicks - std::min(nBefore, st_Counters->nTicks));
        Ticks[nPid] = st_Counters->nTicks;
        Found.push_back({nPid, fTicks > 0 ? static_cast<int>(std::lround(fDone * fWhole / fTicks)) : 0,
                         st_Counters->nPages * nPageSize, st_Counters->Name});
    }
    std::stable_sort(Found.begin(), Found.end(), [](const BUSY_PROCESS& st_Left, const BUSY_PROCESS& st_Right) {
        return std::pair(st_Left.nUsage, st_Left.nResident) > std::pair(st_Right.nUsage, st_Right.nResident);
    });
    m_Ticks = std::move(Ticks);
    m_At = Now;
    return Found;
}
