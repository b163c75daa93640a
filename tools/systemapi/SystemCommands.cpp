#include "Commands.h"
#include "Failure.h"
#include "Report.h"
#include "Terminal.h"
#include "Text.h"
#include "Unit.h"

#include <Tolvane_SystemApi.h>

#include <array>
#include <cstdio>
#include <functional>
#include <iostream>
#include <map>
#include <memory>
#include <stdexcept>
#include <string>

namespace
{
using TextBuffer = char[BASELIB_TEXT_SIZE];

constexpr int nInBytes = 1;

void ShowVersion(const CReport& Output)
{
    TextBuffer tszName = {};
    TextBuffer tszVersion = {};
    TextBuffer tszCodeName = {};
    TextBuffer tszKernel = {};
    unsigned long dwType = 0;
    Require("GETSYSTEMVER",
            [&] { return SystemApi_System_GetSystemVer(tszName, tszVersion, tszCodeName, &dwType, tszKernel); });
    Output.Line("Distribution", tszName);
    Output.Line("Version", tszVersion);
    Output.Line("Code name", tszCodeName);
    Output.Line("Kernel", tszKernel);
}

void ShowNames(const CReport& Output)
{
    TextBuffer tszUser = {};
    TextBuffer tszHost = {};
    Require("GETSYSNAME", [&] { return SystemApi_System_GetSysName(tszUser, tszHost); });
    Output.Line("User", tszUser);
    Output.Line("Host", tszHost);
}

tag_SystemApi_Memory_Infomation MemoryIn(int nUnit)
{
    tag_SystemApi_Memory_Infomation st_Memory = {};
    Require("GETMEMORYUSAGE", [&] { return SystemApi_System_GetMemoryUsage(&st_Memory, nUnit); });
    return st_Memory;
}

std::string StartOfSystem()
{
    TOLVANE_LIBTIME st_Start = {};
    Require("GETUPTIME", [&] { return SystemApi_System_GetUpTime(&st_Start); });
    return DateAndTime(st_Start);
}

/// "1 day 02:03:04"
std::string Duration(unsigned long long nSeconds)
{
    constexpr unsigned long long nMinute = 60;
    constexpr unsigned long long nHour = 60 * nMinute;
    constexpr unsigned long long nDay = 24 * nHour;
    std::array<char, 64> tszText = {};
    std::snprintf(tszText.data(), tszText.size(), "%llu day%s %02llu:%02llu:%02llu", nSeconds / nDay,
                  nSeconds / nDay == 1 ? "" : "s", nSeconds % nDay / nHour, nSeconds % nHour / nMinute,
                  nSeconds % nMinute);
    return tszText.data();
}

int TaskCount()
{
    int nCount = 0;
    Require("GETPROCESSCOUNT", [&] { return SystemApi_System_GetProcessCount(&nCount); });
    return nCount;
}

void ShowProcesses(CReport& Output)
{
    SYSTEMAPI_PROCESS_INFO** ppSt_List = nullptr;
    int nListed = 0;
    {
        const CQuietErrors m_Quiet;
        Require(
            "GETPROCESSLIST", [&] { return SystemApi_System_GetProcessList(&ppSt_List, &nListed); }, "/proc");
    }
    const auto Release = [nListed](SYSTEMAPI_PROCESS_INFO** ppSt_Rows) {
        BaseLib_Memory_Free(&ppSt_Rows, nListed);
    };
    const std::unique_ptr<SYSTEMAPI_PROCESS_INFO*, decltype(Release)> m_Owner(ppSt_List, Release);
    Output.Line("Processes", std::to_string(nListed) + " with an id above 100");
    Output.List(CTable({{"PID", true}, {"COMMAND"}}), static_cast<std::size_t>(nListed),
                [&](CTable& Table, std::size_t nRow) {
                    const SYSTEMAPI_PROCESS_INFO& st_Process = *ppSt_List[nRow];
                    const std::string Name = st_Process.tszProcessName;
                    Table.Add({std::to_string(st_Process.nPid), Name.empty() ? "(no command line)" : Name});
                });
}

/* ---------------------------------------------------------------------------------------------------
 * Subcommands
 * ------------------------------------------------------------------------------------------------- */

void AddMemory(CLI::App& System)
{
    CLI::App* const pMemory = System.add_subcommand("memory", "Show memory, swap and shared memory");
    const auto Unit = std::make_shared<int>();
    AddUnit(pMemory, *Unit);
    pMemory->footer("The shared memory is in bytes in every unit.");
    pMemory->callback([Unit] {
        const auto st_Memory = MemoryIn(*Unit);
        const CReport Output(true);
        const auto Size = [&](const char* lpszLabel, unsigned long nSize, int nUnit) {
            Output.Line(lpszLabel, std::to_string(nSize) + " " + UnitName(nUnit));
        };
        Output.Line("Load", std::to_string(st_Memory.nMemoryLoad) + " %");
        Size("Total", st_Memory.nMemoryTotal, *Unit);
        Size("Available", st_Memory.nMemoryAvailable, *Unit);
        Size("Swap total", st_Memory.nSwapTotal, *Unit);
        Size("Swap free", st_Memory.nSwapFree, *Unit);
        Size("Shared", st_Memory.nMemoryShared, nInBytes);
    });
}

void AddShutdown(CLI::App& System)
{
    struct OPTIONS
    {
        std::string Action;
        bool bSure = false;
    };
    static const std::map<std::string, unsigned long> Actions = {
        {"poweroff", SYSTEMAPI_SHUTDOWN_TYPE_POWEROFF}, {"monitoroff", SYSTEMAPI_SHUTDOWN_TYPE_MONITOROFF},
        {"reboot", SYSTEMAPI_SHUTDOWN_TYPE_REBOOT},     {"logoff", SYSTEMAPI_SHUTDOWN_TYPE_LOGOFF},
        {"lock", SYSTEMAPI_SHUTDOWN_TYPE_LOCK},         {"suspend", SYSTEMAPI_SHUTDOWN_TYPE_SUSPEND}};
    CLI::App* const pShutdown = System.add_subcommand("shutdown", "Halt, restart or suspend the machine at once");
    const auto Options = std::make_shared<OPTIONS>();
    pShutdown->add_option("ACTION", Options->Action, "poweroff, monitoroff, reboot, logoff, lock or suspend")
        ->required()
        ->check(CLI::IsMember(Actions));
    pShutdown->add_flag("--yes", Options->bSure, "Do it");
    pShutdown->footer(
        "Nothing is saved and no program is asked: run sync first. poweroff leaves the power on; logoff "
        "ends the processes of the user called \"username\".");
    pShutdown->callback([Options] {
        if (!Options->bSure)
            throw std::runtime_error(Options->Action + " is done at once, and nothing is saved: give --yes too");
        Require(
            "SHUTDOWN", [&] { return SystemApi_System_Shutdown(Actions.at(Options->Action)); }, Options->Action);
    });
}

void AddExec(CLI::App& System)
{
    struct OPTIONS
    {
        std::string Command;
        int nTimeout = 60;
    };
    CLI::App* const pExec = System.add_subcommand("exec", "Run a shell command with a time limit");
    const auto Options = std::make_shared<OPTIONS>();
    pExec->add_option("CMD", Options->Command, "The command line, for the shell")->required();
    pExec->add_option("--timeout,-t", Options->nTimeout, "Seconds after which the shell is killed")
        ->capture_default_str();
    pExec->footer("Takes a whole number of seconds. The command's own exit status is not shown.");
    pExec->callback([Options] {
        Require("SYSTEMEX", [&] { return SystemApi_System_SystemEx(Options->Command.c_str(), Options->nTimeout); });
    });
}
} // namespace

void AddSystem(CLI::App& App)
{
    CLI::App* const pSystem =
        App.add_subcommand("system", "Show version, memory, processes and times; run commands; shut down");
    pSystem->require_subcommand(1);
    const auto AddQuery = [&](const char* lpszCommand, const char* lpszHelp, const std::function<void()>& pfnShow) {
        CLI::App* const pQuery = pSystem->add_subcommand(lpszCommand, lpszHelp);
        pQuery->callback(pfnShow);
        return pQuery;
    };
    AddQuery("version", "Show the distribution and the kernel", [] { ShowVersion(CReport(true)); });
    AddQuery("name", "Show the user's and the host's name", [] { ShowNames(CReport(true)); });
    AddMemory(*pSystem);
    AddQuery("usage", "Show the processors' usage over one second, per cent", [] {
        int nUsage = 0;
        Require("GETCPUUSAGE", [&] { return SystemApi_System_GetCpuUsage(&nUsage); });
        std::cout << nUsage << '\n';
    })->footer("-2147483648 where a processor counted no time.");
    AddQuery("idle", "Show the idle part of all counted time", [] {
        unsigned long nIdle = 0;
        Require("GETSYSIDLETIME", [&] { return SystemApi_System_GetSysIdleTime(&nIdle); });
        std::cout << nIdle << '\n';
    })->footer("A whole number: 0 as soon as any time was not idle.");
    AddQuery("processes", "List the processes whose id is above 100", [] {
        CReport Output(true);
        ShowProcesses(Output);
    });
    AddQuery("count", "Show the number of tasks, threads included", [] { std::cout << TaskCount() << '\n'; });
    AddQuery("uptime", "Show when the system started", [] { std::cout << StartOfSystem() << '\n'; });
    AddShutdown(*pSystem);
    AddExec(*pSystem);
    AddQuery("wmi", "Does nothing on this platform",
             [] { Require("WMIQUERY", [] { return SystemApi_System_WMIQuery(nullptr, nullptr, nullptr, 0); }); });
}

void ReportSystem(CReport& Report)
{
    Report.Try([&] { ShowVersion(Report); });
    Report.Try([&] { ShowNames(Report); });
}

void ReportStart(CReport& Report)
{
    constexpr unsigned long long nPerSecond = 1000;
    Report.Line("At", StartOfSystem());
    Report.Line("Ago", Duration(BaseLib_Time_GetTickCount() / nPerSecond));
}

void ReportMemory(CReport& Report)
{
    const auto st_Memory = MemoryIn(nInBytes);
    Report.BarLine("Load", st_Memory.nMemoryLoad,
                   HumanSize(st_Memory.nMemoryAvailable) + " of " + HumanSize(st_Memory.nMemoryTotal) + " available");
    if (st_Memory.nSwapTotal == 0)
        Report.Line("Swap", "none");
    else
        Report.BarLine("Swap", Share(st_Memory.nSwapTotal - st_Memory.nSwapFree, st_Memory.nSwapTotal),
                       HumanSize(st_Memory.nSwapFree) + " of " + HumanSize(st_Memory.nSwapTotal) + " free");
    Report.Line("Shared", HumanSize(st_Memory.nMemoryShared));
}

void ReportProcesses(CReport& Report)
{
    Report.Try([&] { Report.Line("Tasks", std::to_string(TaskCount()) + ", threads included"); });
    Report.Try([&] { ShowProcesses(Report); });
}
