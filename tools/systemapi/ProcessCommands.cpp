#include "Commands.h"
#include "Failure.h"
#include "Report.h"
#include "Terminal.h"
#include "Text.h"

#include <Tolvane_SystemApi.h>

#include <array>
#include <functional>
#include <iostream>
#include <limits>
#include <memory>
#include <optional>
#include <string>

namespace
{
constexpr int nThisProcess = 0;

/* ---------------------------------------------------------------------------------------------------
 * What is known of a process
 * ------------------------------------------------------------------------------------------------- */

int UsageOf(int nPid)
{
    int nUsage = 0;
    Require("READCMD", [&] { return SystemApi_Process_GetProcessCpuUsage(&nUsage, nPid); });
    return nUsage;
}

/// Empty where no process has the id.
std::string StartOf(int nPid)
{
    TOLVANE_LIBTIME st_Start = {};
    Require("READCMD", [&] { return SystemApi_Process_GetUpTime(&st_Start, nPid); });
    return st_Start.nMonth != 0 ? DateAndTime(st_Start) : std::string();
}

std::string PathOf(int nPid)
{
    std::array<char, BASELIB_TEXT_SIZE + 1> tszPath = {}; // one byte more than the operation may fill
    Require("GETPATH", [&] { return SystemApi_Process_GetPath(tszPath.data(), nPid); });
    return tszPath.data();
}

int PriorityOf(int nPid)
{
    int nPriority = 0;
    Require("GETPRIORITY", [&] { return SystemApi_Process_GetPriority(&nPriority, nPid); });
    return nPriority;
}

/// "0 1 5"
std::string ProcessorsOf(int nPid)
{
    unsigned long dwMask = 0;
    Require("GETCPU", [&] { return SystemApi_Process_GetProcessForCpu(nPid, &dwMask); });
    std::string Processors;
    for (int nCpu = 0; nCpu < std::numeric_limits<unsigned long>::digits; ++nCpu)
        if ((dwMask >> nCpu & 1) != 0)
            Processors += (Processors.empty() ? "" : " ") + std::to_string(nCpu);
    return Processors;
}

void ShowInfo(const char* lpszName, int nPid)
{
    constexpr const char* lpszStates[] = {"running", "sleeping", "uninterruptible", "zombie",
                                          "stopped", "paging",   "unknown"};
    tag_SystemApi_Process_Infomation st_Info = {};
    Require(
        "GETINFO", [&] { return SystemApi_Process_GetProcessInfo(&st_Info, lpszName, nPid); },
        lpszName ? lpszName : "");
    const CReport Output(true);
    Output.Line("PID", std::to_string(st_Info.nPid));
    Output.Line("Name", st_Info.tszAppName);
    Output.Line("Login user", st_Info.tszUserName);
    Output.Line("State", lpszStates[st_Info.nAppState]);
    Output.Line("Threads", std::to_string(st_Info.nThreadCount));
    const auto Pages = [&](const char* lpszLabel, int nQuarter) {
        Output.Line(lpszLabel, std::to_string(nQuarter) + " (pages / 4)");
    };
    Pages("Virtual", st_Info.nVirtualMem);
    Pages("Resident", st_Info.nResidentMem);
    Pages("Shared", st_Info.nSharedMem);
}

/* ---------------------------------------------------------------------------------------------------
 * What is done
 * ------------------------------------------------------------------------------------------------- */

constexpr int nMostLines = 1'000'000; // their bytes still fit an int

void RunCommand(const std::string& Command, int nStartLine, int nLines)
{
    // The operation knows no size: a buffer for as many lines as are asked for, each as long as a line can be. Of
    // it, only what is filled costs memory.
    constexpr std::size_t nLineMax = 2047;
    const auto m_Buffer = std::make_unique_for_overwrite<char[]>(static_cast<std::size_t>(nLines) * nLineMax + 1);
    m_Buffer[0] = '\0';
    int nLength = 0;
    Require("READCMD", [&] {
        return SystemApi_Process_ReadCmdReturn(Command.c_str(), m_Buffer.get(), nLines, nStartLine, &nLength);
    });
    std::cout.write(m_Buffer.get(), nLength);
}

void Start(const std::string& Path, const std::optional<std::string>& Arguments)
{
    unsigned long nChild = 0;
    Require(
        "CREATE",
        [&] {
            return SystemApi_Process_CreateProcess(&nChild, Path.c_str(), Arguments ? Arguments->c_str() : nullptr,
                                                   false);
        },
        Path);
    std::cout << nChild << '\n';
}

/// Where the program cannot be started this fails in the child, which then shows it and ends as the tool does.
void StartByFork(const std::string& Path, const std::optional<std::string>& Argument)
{
    unsigned long nChild = 0;
    Require(
        "RUN",
        [&] {
            return SystemApi_Process_RunProcess(&nChild, Path.c_str(), Path.c_str(),
                                                Argument ? Argument->c_str() : nullptr, false);
        },
        Path);
}

void Stop(const std::optional<std::string>& Name, int nPid, bool bIgnoreChildren, bool bSure)
{
    constexpr int nFirstOrdinary = 2; // below it: groups, everybody, and the first process of all
    if (!bSure && Name)
        throw std::runtime_error("a name stops the first process whose line of the listing holds it: give --yes too");
    if (!bSure && nPid < nFirstOrdinary)
        throw std::runtime_error("an id below 2 stops more than one process, or the first of all: give --yes too");
    Require(
        "STOP", [&] { return SystemApi_Process_Stop(Name ? Name->c_str() : nullptr, nPid, bIgnoreChildren); },
        Name ? *Name : std::to_string(nPid));
}

/* ---------------------------------------------------------------------------------------------------
 * Subcommands
 * ------------------------------------------------------------------------------------------------- */

constexpr const char* lpszNameWarning = "NAME becomes part of a shell command and a grep pattern: never pass text "
                                        "from an untrusted source.";

void AddRun(CLI::App& Process)
{
    struct OPTIONS
    {
        std::string Command;
        int nStartLine = 1;
        int nLines = 10000;
    };
    CLI::App* const pRun = Process.add_subcommand("run", "Run a shell command and show lines of its output");
    const auto Options = std::make_shared<OPTIONS>();
    pRun->add_option("CMD", Options->Command, "The command line, for the shell")->required();
    pRun->add_option("--start,-s", Options->nStartLine, "First line to show, counted from 1")->capture_default_str();
    pRun->add_option("--lines,-n", Options->nLines, "The most lines to show")
        ->check(CLI::Range(1, nMostLines))
        ->capture_default_str();
    pRun->footer("A line of more than 2047 bytes counts as several. The command's own exit status is not shown.");
    pRun->callback([Options] { RunCommand(Options->Command, Options->nStartLine, Options->nLines); });
}

struct TARGET
{
    std::optional<std::string> Name;
    int nPid = nThisProcess;
};

/// Ids are decimal: CLI11 would take 0100 for 64, and an empty text for 0.
std::string CheckId(const std::string& Text)
{
    const std::string Digits = Text.substr(Text.rfind('-', 0) == 0 ? 1 : 0);
    const bool bDecimal = !Digits.empty() && Digits.find_first_not_of("0123456789") == Digits.npos;
    const bool bLeadingZero = Digits.size() > 1 && Digits[0] == '0';
    return bDecimal && !bLeadingZero ? "" : "not a process id: " + Text;
}

void AddTarget(CLI::App* pCommand, TARGET& st_Target, const char* lpszPidHelp)
{
    CLI::Option* const pName =
        pCommand->add_option("NAME", st_Target.Name, "A name to look for in the listing of all processes");
    pCommand->add_option("--pid,-p", st_Target.nPid, lpszPidHelp)->excludes(pName)->check(CheckId);
}

void AddInfo(CLI::App& Process)
{
    CLI::App* const pInfo = Process.add_subcommand("info", "Show what is known of a process");
    const auto Target = std::make_shared<TARGET>();
    AddTarget(pInfo, *Target, "Process id; the tool's own process when neither is given");
    pInfo->footer(std::string("The process's stat and statm entries are run as commands, so on an ordinary system "
                              "all but the user is 0 or unknown.\n") +
                  lpszNameWarning);
    pInfo->callback([Target] {
        const CQuietErrors m_Quiet;
        ShowInfo(Target->Name ? Target->Name->c_str() : nullptr, Target->nPid);
    });
}

void AddStart(CLI::App& Process)
{
    struct OPTIONS
    {
        std::string Path;
        std::optional<std::string> Arguments;
        bool bFork = false;
    };
    CLI::App* const pStart = Process.add_subcommand("start", "Start a program and show its process id");
    const auto Options = std::make_shared<OPTIONS>();
    pStart->add_option("PATH", Options->Path, "The program; PATH is not searched")->required();
    pStart->add_option("ARGUMENTS", Options->Arguments, "One text, split at blanks (with --fork: one argument)");
    pStart->add_flag("--fork", Options->bFork, "By fork and with this environment; no id is shown");
    pStart->footer(
        "The program starts with an empty environment, and goes on when the tool has ended. ARGUMENTS that begin "
        "with a dash follow --: start /bin/sh -- '-c exit'.");
    pStart->callback([Options] { (Options->bFork ? StartByFork : Start)(Options->Path, Options->Arguments); });
}

void AddStop(CLI::App& Process)
{
    struct OPTIONS
    {
        TARGET st_Target;
        bool bIgnoreChildren = false;
        bool bSure = false;
    };
    CLI::App* const pStop = Process.add_subcommand("stop", "Send SIGINT to a process");
    const auto Options = std::make_shared<OPTIONS>();
    AddTarget(pStop, Options->st_Target, "Process id; 0, 1 and negative ones need --yes");
    pStop->add_flag("--ignore-sigchld", Options->bIgnoreChildren, "With SIGCHLD ignored meanwhile");
    pStop->add_flag("--yes", Options->bSure, "Do it, also by name or with an id below 2");
    pStop->footer(lpszNameWarning);
    pStop->callback([Options, pStop] {
        if (!Options->st_Target.Name && pStop->count("--pid") == 0)
            throw CLI::RequiredError("NAME or --pid");
        Stop(Options->st_Target.Name, Options->st_Target.nPid, Options->bIgnoreChildren, Options->bSure);
    });
}

/// A subcommand about one process; gives what else is to be known of it.
CLI::App* AddQuery(CLI::App& Process, const char* lpszCommand, const char* lpszHelp,
                   const std::function<void(int)>& pfnShow)
{
    CLI::App* const pQuery = Process.add_subcommand(lpszCommand, lpszHelp);
    const auto Pid = std::make_shared<int>(nThisProcess);
    pQuery->add_option("PID", *Pid, "Process id; the tool's own process when left out")->check(CheckId);
    pQuery->callback([Pid, pfnShow] { pfnShow(*Pid); });
    return pQuery;
}

void AddPriority(CLI::App& Process)
{
    const auto New = std::make_shared<std::optional<int>>();
    AddQuery(Process, "priority", "Show a process's nice value, or set the highest priority", [New](int nPid) {
        if (*New)
            Require("SETPRIORITY", [&] { return SystemApi_Process_SetPriority(**New, nPid); });
        else
            std::cout << PriorityOf(nPid) << '\n';
    })->add_option("--set", *New, "The new value; only -20 and below are accepted");
}

void AddAffinity(CLI::App& Process)
{
    const auto New = std::make_shared<std::optional<unsigned long>>();
    AddQuery(Process, "affinity", "Show the processors that a process may run on, or bind it to one",
             [New](int nPid) {
                 if (*New)
                     Require("SETCPU", [&] { return SystemApi_Process_SetProcessForCpu(nPid, **New); });
                 else
                     std::cout << ProcessorsOf(nPid) << '\n';
             })
        ->add_option("--set", *New, "The one processor, counted from 0");
}
} // namespace

void AddProcess(CLI::App& App)
{
    CLI::App* const pProcess = App.add_subcommand("process", "Run commands; show, start and stop processes");
    pProcess->require_subcommand(1);
    AddRun(*pProcess);
    AddInfo(*pProcess);
    AddStart(*pProcess);
    AddStop(*pProcess);
    AddQuery(*pProcess, "usage", "Show a process's processor usage, per cent of its lifetime", [](int nPid) {
        std::cout << UsageOf(nPid) << '\n';
    })->footer("Taken from the first line of the listing that holds the id's digits.");
    AddQuery(*pProcess, "uptime", "Show when a process was started", [](int nPid) {
        const std::string Start = StartOf(nPid);
        std::cout << (Start.empty() ? "unknown" : Start) << '\n';
    })->footer("Standard time: an hour late while daylight saving time is in force.");
    AddQuery(*pProcess, "path", "Show the path of a process's executable",
             [](int nPid) { std::cout << Harmless(PathOf(nPid)) << '\n'; });
    AddPriority(*pProcess);
    AddAffinity(*pProcess);
    CLI::App* const pAdmin = pProcess->add_subcommand("admin", "Tell whether the tool runs as the superuser");
    pAdmin->callback([] { std::cout << (SystemApi_Process_IsAdmin() ? "yes" : "no") << '\n'; });
}

void ReportOwnProcess(CReport& Report)
{
    const CQuietErrors m_Quiet;
    Report.Line("Superuser", SystemApi_Process_IsAdmin() ? "yes" : "no");
    Report.Try([&] { Report.Line("Program", PathOf(nThisProcess)); });
    Report.Try([&] { Report.Line("Started", StartOf(nThisProcess)); });
    Report.Try([&] { Report.Line("Usage", std::to_string(UsageOf(nThisProcess)) + " %"); });
    Report.Try([&] { Report.Line("Nice value", std::to_string(PriorityOf(nThisProcess))); });
    Report.Try([&] { Report.Line("Processors", ProcessorsOf(nThisProcess)); });
}
