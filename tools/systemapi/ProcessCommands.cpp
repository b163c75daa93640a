// SPDX-License-Identifier: MIT
#include "Commands.h"
#include "Failure.h"
#include "Helpers.h"
#include "Report.h"
#include "Text.h"
#include "TextOutput.h"

#include <Tolvane_SystemApi.h>

#include <array>
#include <functional>
#include <iostream>
#include <limits>
#include <memory>
#include <optional>
#include <string>
#include <unistd.h>
#include <vector>

namespace
{
constexpr int nThisProcess = 0;

/* ---------------------------------------------------------------------------------------------------
 * What is known of a process
 * ------------------------------------------------------------------------------------------------- */

int UsageOf(int nPid)
{
    int nUsage = 0;
    RequireQuietly("READCMD", [&] { return SystemApi_Process_GetProcessCpuUsage(&nUsage, nPid); });
    return nUsage;
}

/// Empty where no process has the id.
std::string StartOf(int nPid)
{
    TOLVANE_LIBTIME st_Start = {};
    RequireQuietly("READCMD", [&] { return SystemApi_Process_GetUpTime(&st_Start, nPid); });
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

std::vector<long long> ProcessorsOf(int nPid)
{
    unsigned long dwMask = 0;
    Require("GETCPU", [&] { return SystemApi_Process_GetProcessForCpu(nPid, &dwMask); });
    std::vector<long long> Processors;
    for (int nCpu = 0; nCpu < std::numeric_limits<unsigned long>::digits; ++nCpu)
        if ((dwMask >> nCpu & 1) != 0)
            Processors.push_back(nCpu);
    return Processors;
}

void AddInfoOf(CFacts& Facts, const char* lpszName, int nPid)
{
    constexpr const char* lpszStates[] = {"running", "sleeping", "uninterruptible", "zombie",
                                          "stopped", "paging",   "unknown"};
    tag_SystemApi_Process_Infomation st_Info = {};
    RequireQuietly(
        "GETINFO", [&] { return SystemApi_Process_GetProcessInfo(&st_Info, lpszName, nPid); },
        lpszName ? lpszName : "");
    Facts.Add("pid", st_Info.nPid);
    Facts.Add("name", st_Info.tszAppName);
    Facts.Add("login_user", st_Info.tszUserName);
    Facts.Add("state", lpszStates[st_Info.nAppState]);
    Facts.Add("threads", st_Info.nThreadCount);
    Facts.Add("virtual", st_Info.nVirtualMem, UNIT::PagesDiv4);
    Facts.Add("resident", st_Info.nResidentMem, UNIT::PagesDiv4);
    Facts.Add("shared", st_Info.nSharedMem, UNIT::PagesDiv4);
}

/* ---------------------------------------------------------------------------------------------------
 * What is done
 * ------------------------------------------------------------------------------------------------- */

constexpr int nMostLines = 1'000'000; // their bytes still fit an int

std::string OutputOf(const std::string& Command, int nStartLine, int nLines)
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
    return {m_Buffer.get(), static_cast<std::size_t>(nLength)};
}

void Start(CFacts& Facts, const std::string& Path, const std::optional<std::string>& Arguments)
{
    unsigned long nChild = 0;
    Require(
        "CREATE",
        [&] {
            return SystemApi_Process_CreateProcess(&nChild, Path.c_str(), Arguments ? Arguments->c_str() : nullptr,
                                                   false);
        },
        Path);
    Facts.Add("pid", nChild);
}

void StartByFork(const std::string& Path, const std::optional<std::string>& Argument)
{
    const pid_t nTool = getpid();
    try
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
    catch (const COperationFailed&)
    {
        if (getpid() == nTool)
            throw;
        CFacts Outcome; // the program could not be started, which the tool's child alone is told
        Outcome.Try([] { throw; });
        WriteFailures(std::cerr, Outcome);
        _exit(Outcome.Status());
    }
}

void Stop(const std::optional<std::string>& Name, int nPid, bool bIgnoreChildren, bool bSure)
{
    constexpr int nFirstOrdinary = 2; // below it: groups, everybody, and the first process of all
    if (!bSure && Name)
        throw CWrongUsage("a name stops the first process whose line of the listing holds it: give --yes too");
    if (!bSure && nPid < nFirstOrdinary)
        throw CWrongUsage("an id below 2 stops more than one process, or the first of all: give --yes too");
    RequireQuietly(
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
    const auto Options = std::make_shared<OPTIONS>();
    CLI::App* const pRun =
        AddCommand(Process, "run", "Run a shell command and show lines of its output", [Options](CFacts& Facts) {
            Facts.AddBytes("output", OutputOf(Options->Command, Options->nStartLine, Options->nLines));
        });
    pRun->add_option("CMD", Options->Command, "The command line, for the shell")->required();
    pRun->add_option("--start,-s", Options->nStartLine, "First line to show, counted from 1")->capture_default_str();
    pRun->add_option("--lines,-n", Options->nLines, "The most lines to show")
        ->check(CLI::Range(1, nMostLines))
        ->capture_default_str();
    pRun->footer("A line of more than 2047 bytes counts as several. The command's own exit status is not shown.");
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
    const auto Target = std::make_shared<TARGET>();
    CLI::App* const pInfo = AddCommand(Process, "info", "Show what is known of a process", [Target](CFacts& Facts) {
        AddInfoOf(Facts, Target->Name ? Target->Name->c_str() : nullptr, Target->nPid);
    });
    AddTarget(pInfo, *Target, "Process id; the tool's own process when neither is given");
    pInfo->footer(std::string("The process's stat and statm entries are run as commands, so on an ordinary system "
                              "all but the user is 0 or unknown.\n") +
                  lpszNameWarning);
}

void AddStart(CLI::App& Process)
{
    struct OPTIONS
    {
        std::string Path;
        std::optional<std::string> Arguments;
        bool bFork = false;
    };
    const auto Options = std::make_shared<OPTIONS>();
    CLI::App* const pStart =
        AddCommand(Process, "start", "Start a program and show its process id", [Options](CFacts& Facts) {
            if (Options->bFork)
                StartByFork(Options->Path, Options->Arguments);
            else
                Start(Facts, Options->Path, Options->Arguments);
        });
    pStart->add_option("PATH", Options->Path, "The program; PATH is not searched")->required();
    pStart->add_option("ARGUMENTS", Options->Arguments, "One text, split at blanks (with --fork: one argument)");
    pStart->add_flag("--fork", Options->bFork, "By fork and with this environment; no id is shown");
    pStart->footer(
        "The program starts with an empty environment, and goes on when the tool has ended. ARGUMENTS that begin "
        "with a dash follow --: start /bin/sh -- '-c exit'.");
}

void AddStop(CLI::App& Process)
{
    struct OPTIONS
    {
        TARGET st_Target;
        const CLI::App* pCommand = nullptr;
        bool bIgnoreChildren = false;
        bool bSure = false;
    };
    const auto Options = std::make_shared<OPTIONS>();
    CLI::App* const pStop = AddCommand(Process, "stop", "Send SIGINT to a process", [Options](CFacts&) {
        if (!Options->st_Target.Name && Options->pCommand->count("--pid") == 0)
            throw CWrongUsage("NAME or --pid is required");
        Stop(Options->st_Target.Name, Options->st_Target.nPid, Options->bIgnoreChildren, Options->bSure);
    });
    Options->pCommand = pStop;
    AddTarget(pStop, Options->st_Target, "Process id; 0, 1 and negative ones need --yes");
    pStop->add_flag("--ignore-sigchld", Options->bIgnoreChildren, "With SIGCHLD ignored meanwhile");
    pStop->add_flag("--yes", Options->bSure, "Do it, also by name or with an id below 2");
    pStop->footer(lpszNameWarning);
}

/// A subcommand about one process.
CLI::App* AddQuery(CLI::App& Process, const char* lpszCommand, const char* lpszHelp,
                   const std::function<void(CFacts&, int)>& pfnWork)
{
    const auto Pid = std::make_shared<int>(nThisProcess);
    CLI::App* const pQuery =
        AddCommand(Process, lpszCommand, lpszHelp, [Pid, pfnWork](CFacts& Facts) { pfnWork(Facts, *Pid); });
    pQuery->add_option("PID", *Pid, "Process id; the tool's own process when left out")->check(CheckId);
    return pQuery;
}

void AddPriority(CLI::App& Process)
{
    const auto New = std::make_shared<std::optional<int>>();
    AddQuery(Process, "priority", "Show a process's nice value, or set the highest priority",
             [New](CFacts& Facts, int nPid) {
                 if (*New)
                     Require("SETPRIORITY", [&] { return SystemApi_Process_SetPriority(**New, nPid); });
                 else
                     Facts.Add("nice_value", PriorityOf(nPid));
             })
        ->add_option("--set", *New, "The new value; only -20 and below are accepted");
}

void AddAffinity(CLI::App& Process)
{
    const auto New = std::make_shared<std::optional<unsigned long>>();
    AddQuery(Process, "affinity", "Show the processors that a process may run on, or bind it to one",
             [New](CFacts& Facts, int nPid) {
                 if (*New)
                     Require("SETCPU", [&] { return SystemApi_Process_SetProcessForCpu(nPid, **New); });
                 else
                     Facts.Add("processors", ProcessorsOf(nPid));
             })
        ->add_option("--set", *New, "The one processor, counted from 0");
}
} // namespace

std::string CommandLine(const char* lpszCommand)
{
    const std::string Line = OutputOf(lpszCommand, 1, 1);
    return Line.substr(0, Line.find('\n'));
}

void AddProcess(CLI::App& App)
{
    CLI::App* const pProcess = App.add_subcommand("process", "Run commands; show, start and stop processes");
    pProcess->require_subcommand(1);
    AddRun(*pProcess);
    AddInfo(*pProcess);
    AddStart(*pProcess);
    AddStop(*pProcess);
    AddQuery(*pProcess, "usage", "Show a process's processor usage, per cent of its lifetime",
             [](CFacts& Facts, int nPid) { Facts.Add("usage", UsageOf(nPid), UNIT::Percent); })
        ->footer("Taken from the first line of the listing that holds the id's digits.");
    AddQuery(*pProcess, "uptime", "Show when a process was started", [](CFacts& Facts, int nPid) {
        Facts.Add("started", StartOf(nPid));
    })->footer("Standard time: an hour late while daylight saving time is in force.");
    AddQuery(*pProcess, "path", "Show the path of a process's executable",
             [](CFacts& Facts, int nPid) { Facts.Add("path", PathOf(nPid)); });
    AddPriority(*pProcess);
    AddAffinity(*pProcess);
    AddCommand(*pProcess, "admin", "Tell whether the tool runs as the superuser",
               [](CFacts& Facts) { Facts.Add("superuser", SystemApi_Process_IsAdmin()); });
}

void ReportOwnProcess(CFacts& Facts)
{
    Facts.Add("superuser", SystemApi_Process_IsAdmin());
    Facts.Try([&] { Facts.Add("program", PathOf(nThisProcess)); });
    Facts.Try([&] { Facts.Add("started", StartOf(nThisProcess)); });
    Facts.Try([&] { Facts.Add("usage", UsageOf(nThisProcess), UNIT::Percent); });
    Facts.Try([&] { Facts.Add("nice_value", PriorityOf(nThisProcess)); });
    Facts.Try([&] { Facts.Add("processors", ProcessorsOf(nThisProcess)); });
}
