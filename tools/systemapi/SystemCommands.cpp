// SPDX-License-Identifier: MIT
#include "Commands.h"
#include "ControlGroup.h"
#include "Failure.h"
#include "Helpers.h"
#include "Report.h"
#include "Text.h"
#include "Unit.h"

#include <Tolvane_SystemApi.h>

#include <array>
#include <map>
#include <memory>
#include <string>
#include <vector>

namespace
{
using TextBuffer = char[BASELIB_TEXT_SIZE];

void AddVersion(CFacts& Facts)
{
    const VERSION st_Version = VersionOfSystem();
    Facts.Add("distribution", st_Version.Distribution);
    Facts.Add("version", st_Version.Version);
    Facts.Add("code_name", st_Version.CodeName);
    Facts.Add("kernel", st_Version.Kernel);
}

void AddNames(CFacts& Facts)
{
    TextBuffer tszUser = {};
    TextBuffer tszHost = {};
    Require("GETSYSNAME", [&] { return SystemApi_System_GetSysName(tszUser, tszHost); });
    Facts.Add("user", tszUser);
    Facts.Add("host", tszHost);
}

void AddAmounts(CFacts& Facts, const Unit& pUnit)
{
    tag_SystemApi_Memory_Infomation st_Memory = {};
    RequireQuietly("GETMEMORYUSAGE", [&] { return SystemApi_System_GetMemoryUsage(&st_Memory, TypeOf(pUnit)); });
    Facts.Add("load", st_Memory.nMemoryLoad, UNIT::Percent);
    AddSize(Facts, "total", st_Memory.nMemoryTotal, pUnit);
    AddSize(Facts, "available", st_Memory.nMemoryAvailable, pUnit);
    AddSize(Facts, "swap_total", st_Memory.nSwapTotal, pUnit);
    AddSize(Facts, "swap_free", st_Memory.nSwapFree, pUnit);
    Facts.Add("shared", st_Memory.nMemoryShared, UNIT::Bytes);
}

std::string StartOfSystem()
{
    TOLVANE_LIBTIME st_Start = {};
    Require("GETUPTIME", [&] { return SystemApi_System_GetUpTime(&st_Start); });
    return DateAndTime(st_Start);
}

int TaskCount()
{
    int nCount = 0;
    Require("GETPROCESSCOUNT", [&] { return SystemApi_System_GetProcessCount(&nCount); });
    return nCount;
}

std::vector<CFacts> Processes()
{
    SYSTEMAPI_PROCESS_INFO** ppSt_List = nullptr;
    int nListed = 0;
    RequireQuietly(
        "GETPROCESSLIST", [&] { return SystemApi_System_GetProcessList(&ppSt_List, &nListed); }, "/proc");
    const auto Release = [nListed](SYSTEMAPI_PROCESS_INFO** ppSt_Rows) {
        BaseLib_Memory_Free(&ppSt_Rows, nListed);
    };
    const std::unique_ptr<SYSTEMAPI_PROCESS_INFO*, decltype(Release)> m_Owner(ppSt_List, Release);
    std::vector<CFacts> Rows(static_cast<std::size_t>(nListed));
    for (std::size_t nRow = 0; nRow < Rows.size(); ++nRow)
    {
        const std::string Name = ppSt_List[nRow]->tszProcessName;
        Rows[nRow].Add("pid", ppSt_List[nRow]->nPid);
        Rows[nRow].Add("command", Name, UNIT::None, Name.empty() ? "(no command line)" : "");
    }
    return Rows;
}

/* ---------------------------------------------------------------------------------------------------
 * Subcommands
 * ------------------------------------------------------------------------------------------------- */

void AddMemory(CLI::App& System)
{
    const auto pUnit = std::make_shared<Unit>();
    CLI::App* const pMemory = AddCommand(System, "memory", "Show memory, swap and shared memory",
                                         [pUnit](CFacts& Facts) { AddAmounts(Facts, *pUnit); });
    *pUnit = AddUnit(pMemory);
    pMemory->footer("The whole machine's, also inside a container. The shared memory is in bytes in every unit.");
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
    const auto Options = std::make_shared<OPTIONS>();
    CLI::App* const pShutdown =
        AddCommand(System, "shutdown", "Halt, restart or suspend the machine at once", [Options](CFacts&) {
            if (!Options->bSure)
                throw CWrongUsage(Options->Action + " is done at once, and nothing is saved: give --yes too");
            RequireQuietly(
                "SHUTDOWN", [&] { return SystemApi_System_Shutdown(Actions.at(Options->Action)); }, Options->Action);
        });
    pShutdown->add_option("ACTION", Options->Action, "What to do")->required()->check(CLI::IsMember(Actions));
    pShutdown->add_flag("--yes", Options->bSure, "Do it");
    pShutdown->footer(
        "Nothing is saved and no program is asked: run sync first. poweroff leaves the power on; logoff "
        "ends the processes of the user called \"username\".");
}

void AddExec(CLI::App& System)
{
    struct OPTIONS
    {
        std::string Command;
        int nTimeout = 60;
    };
    const auto Options = std::make_shared<OPTIONS>();
    CLI::App* const pExec = AddCommand(System, "exec", "Run a shell command with a time limit", [Options](CFacts&) {
        Require("SYSTEMEX", [&] { return SystemApi_System_SystemEx(Options->Command.c_str(), Options->nTimeout); });
    });
    pExec->add_option("CMD", Options->Command, "The command line, for the shell")->required();
    pExec->add_option("--timeout,-t", Options->nTimeout, "Seconds after which the shell is killed")
        ->capture_default_str();
    pExec->footer("Takes a whole number of seconds. The command's own exit status is not shown.");
}
} // namespace

VERSION VersionOfSystem()
{
    TextBuffer tszName = {};
    TextBuffer tszVersion = {};
    TextBuffer tszCodeName = {};
    TextBuffer tszKernel = {};
    unsigned long dwType = 0;
    RequireQuietly("GETSYSTEMVER", [&] {
        return SystemApi_System_GetSystemVer(tszName, tszVersion, tszCodeName, &dwType, tszKernel);
    });
    return {tszName, tszVersion, tszCodeName, tszKernel};
}

void AddSystem(CLI::App& App)
{
    CLI::App* const pSystem =
        App.add_subcommand("system", "Show version, memory, processes and times; run commands; shut down");
    pSystem->require_subcommand(1);
    AddCommand(*pSystem, "version", "Show the distribution and the kernel", AddVersion);
    AddCommand(*pSystem, "name", "Show the user's and the host's name", AddNames);
    AddMemory(*pSystem);
    AddCommand(*pSystem, "usage", "Show the processors' usage over one second, per cent", [](CFacts& Facts) {
        int nUsage = 0;
        Require("GETCPUUSAGE", [&] { return SystemApi_System_GetCpuUsage(&nUsage); });
        Facts.Add("usage", nUsage, UNIT::Percent);
    })->footer("The whole machine's, also inside a container. -2147483648 where a processor counted no time.");
    AddCommand(*pSystem, "idle", "Show the idle part of all counted time", [](CFacts& Facts) {
        unsigned long nIdle = 0;
        Require("GETSYSIDLETIME", [&] { return SystemApi_System_GetSysIdleTime(&nIdle); });
        Facts.Add("idle", nIdle);
    })->footer("A whole number: 0 as soon as any time was not idle.");
    AddCommand(*pSystem, "processes", "List the processes whose id is above 100",
               [](CFacts& Facts) { Facts.AddTable("processes", Processes()); });
    AddCommand(*pSystem, "count", "Show the number of tasks, threads included",
               [](CFacts& Facts) { Facts.Add("tasks", TaskCount()); });
    AddCommand(*pSystem, "uptime", "Show when the system started",
               [](CFacts& Facts) { Facts.Add("started", StartOfSystem()); });
    AddShutdown(*pSystem);
    AddExec(*pSystem);
    AddCommand(*pSystem, "wmi", "Does nothing on this platform", [](CFacts&) {
        Require("WMIQUERY", [] { return SystemApi_System_WMIQuery(nullptr, nullptr, nullptr, 0); });
    });
}

void ReportSystem(CFacts& Facts)
{
    Facts.Try([&] { AddVersion(Facts); });
    Facts.Try([&] { AddNames(Facts); });
}

void ReportStart(CFacts& Facts)
{
    constexpr unsigned long long nPerSecond = 1000;
    Facts.Add("started", StartOfSystem());
    Facts.Add("uptime", BaseLib_Time_GetTickCount() / nPerSecond, UNIT::Seconds);
}

void ReportMemory(CFacts& Facts)
{
    AddAmounts(Facts, std::make_shared<std::optional<int>>());
}

void ReportContainer(CFacts& Facts)
{
    const CONTROL_GROUP st_Group = ReadControlGroup();
    const auto AddLimit = [&](const char* lpszName, const auto& Limit, UNIT enUnit) {
        Facts.Add(lpszName, Limit ? VALUE(*Limit) : VALUE(), enUnit, Limit ? "" : "none");
    };
    AddLimit("control_groups", st_Group.nVersion, UNIT::None);
    AddLimit("memory_limit", st_Group.nMemoryLimit, UNIT::Bytes);
    AddLimit("processor_limit", st_Group.fProcessorLimit, UNIT::None);
    Facts.Remark("the limits around this process; all other figures are the whole machine's");
}

void ReportProcesses(CFacts& Facts)
{
    Facts.Try([&] { Facts.Add("tasks", TaskCount()); });
    Facts.Try([&] {
        auto Rows = Processes();
        Facts.Add("listed", static_cast<long long>(Rows.size()));
        Facts.Remark("tasks are threads too; the list is of processes with an id above 100");
        Facts.AddTable("list", std::move(Rows));
    });
}
