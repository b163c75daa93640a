// SPDX-License-Identifier: MIT
#include "ControlGroup.h"
#include "Fakes.h"
#include "OwnProcess.h"
#include "Sandbox.h"

#include <array>
#include <climits>
#include <cstring>
#include <fstream>
#include <gmock/gmock.h>
#include <pty.h>
#include <sys/mount.h>

namespace
{
std::string ReadToEnd(int nFile)
{
    std::string Text;
    std::array<char, 4096> tszPiece = {};
    for (ssize_t nRead = 0; (nRead = read(nFile, tszPiece.data(), tszPiece.size())) > 0;)
        Text.append(tszPiece.data(), static_cast<std::size_t>(nRead));
    return Text;
}

/// What a command line of the shell shows, its exit status in brackets behind it where that is not 0.
std::string RunLine(const std::string& Command)
{
    setenv("TOOL", SYSTEMAPI_TOOL, 1);
    setenv("VERSION", SYSTEMAPI_VERSION, 1);
    setenv("DATA", TRANSCRIPTS, 1);
    setenv("SOURCE", SOURCE_FOLDER, 1);
    FILE* pSt_Pipe = popen((". '" TRANSCRIPTS "/prelude.sh'; " + Command).c_str(), "r");
    std::string Output = ReadToEnd(fileno(pSt_Pipe));
    const int nStatus = pclose(pSt_Pipe);
    return nStatus == 0 ? Output : Output + "[" + std::to_string(WEXITSTATUS(nStatus)) + "]\n";
}

/// The regular expression for a line of a transcript.
std::string Pattern(const std::string& Line)
{
    std::string Expression;
    bool bLiteral = true;
    for (const char ch : Line)
    {
        const bool bBracket = ch == '<' || ch == '>';
        if (bBracket)
            bLiteral = ch == '>';
        else if (bLiteral && std::strchr("\\^$.[|()*+?{", ch))
            Expression += '\\';
        if (!bBracket)
            Expression += ch;
    }
    return Expression + "\n";
}

/// Runs the command lines of a transcript (prelude.sh tells what these are) and compares what they show.
void Follow(const std::string& Transcript)
{
    std::ifstream File(TRANSCRIPTS "/" + Transcript);
    std::string Command;
    std::string Expected;
    const auto Compare = [&] {
        if (Command.empty())
            return;
        EXPECT_THAT(RunLine(Command), testing::MatchesRegex(Expected)) << Command;
    };
    for (std::string Line; std::getline(File, Line);)
        if (Line.starts_with("$ "))
        {
            Compare();
            Command = Line.substr(2);
            Expected.clear();
        }
        else if (!Line.empty() && !Line.starts_with("#"))
            Expected += Pattern(Line);
    Compare();
    EXPECT_FALSE(Command.empty()) << "no transcript " << Transcript;
}

/// Whether a command line succeeds, quietly; skips the test where it does not.
bool Needs(const std::string& Command)
{
    const bool bThere = RunLine("(" + Command + ") >/dev/null").empty();
    if (!bThere)
        SkipBecause(("missing here: " + Command).c_str());
    return bThere;
}

/// In the test's child process: a new folder, which is left before it is removed.
void FollowInFolder(const std::string& Transcript)
{
    const CTempFolder m_Folder;
    ASSERT_EQ(chdir(m_Folder.Path().c_str()), 0);
    Follow(Transcript);
    ASSERT_EQ(chdir("/"), 0);
}

/// In a sandbox: a machine with two disks and serial numbers.
void FakeHardware(const CFakeTools& Tools)
{
    FakeFile("/proc/partitions", "major minor  #blocks  name\n\n 8 0 9 sda\n 8 1 9 sda1\n 252 0 9 vda\n");
    FakeFile("/proc/cpuinfo", "processor : 0\nvendor_id : Some\x1bVendor\n3\n4\nmodel name : Some CPU\n6\n7\n"
                              "cpu MHz : 2904.998\n");
    Tools.Add("sudo", "case \"$REFUSED$*\" in 1-n*) exit 1;; 1*) echo asked for a password;; "
                      "'dmidecode -t 4') printf 'ID: 1\\nID: 2\\n';; 'blkid '*) echo \"x U=\\\"of-$2\\\"\";; "
                      "*board_serial) echo None;; *product_uuid) echo 0300-02;; '-n true') ;; *) exit 1;; esac");
}

/// A report on a terminal that is so many columns wide and shows UTF-8; line ends are as the tool wrote them.
std::string ReportOnTerminal(unsigned short nColumns)
{
    const winsize st_Size = {24, nColumns, 0, 0};
    int nTerminal = -1;
    const pid_t nPid = forkpty(&nTerminal, nullptr, nullptr, &st_Size);
    if (nPid == 0)
    {
        setenv("LC_ALL", "C.UTF-8", 1);
        execl("/bin/sh", "sh", "-c", "stty -opost; exec '" SYSTEMAPI_TOOL "' report", nullptr);
        _exit(127);
    }
    const std::string Output = ReadToEnd(nTerminal);
    close(nTerminal);
    EXPECT_EQ(waitpid(nPid, nullptr, 0), nPid);
    return Output;
}

/// In a sandbox: the machine's processes, so many with an id above 100, named for it.
void FakeProcesses(int nCount, const std::string& Name)
{
    // An instrumented tool reads its own entries, and cannot look for leaks (the other tests do).
    ASSERT_EQ(mount("/proc", "/mnt", nullptr, MS_BIND | MS_REC, nullptr), 0);
    FakeFolder("/proc");
    std::filesystem::create_symlink("/mnt/self", "/proc/self");
    const char* lpszOptions = std::getenv("ASAN_OPTIONS");
    setenv("ASAN_OPTIONS", (std::string(lpszOptions ? lpszOptions : "") + ":detect_leaks=0").c_str(), 1);
    std::ofstream("/proc/meminfo") << "MemTotal: 100 kB\nMemAvailable: 99 kB\n";
    for (int nPid = 101; nPid < 101 + nCount; ++nPid)
    {
        const std::filesystem::path Folder = "/proc/" + std::to_string(nPid);
        std::filesystem::create_directory(Folder);
        std::ofstream(Folder / "cmdline") << Name << '\0' << "argument";
    }
}

/// A ps that knows one process, PID in the environment, at work since New Year.
void FakeListing(const CFakeTools& Tools, const COwnProcess& Process)
{
    setenv("PID", std::to_string(Process.Pid()).c_str(), 1);
    Tools.Add("ps", "case \"$*\" in \"-p $PID -o lstart=\") echo 'Mon Jan  1 08:09:10 2024';; -p*) ;; "
                    "*) echo \"u $PID 12.9 0.3 wanted\";; esac");
}

TEST(Tool, ArgumentsAndExitStatus)
{
    Follow("arguments.txt");
}

TEST(Tool, FileCommands)
{
    RunInChild([] { FollowInFolder("file.txt"); });
}

TEST(Tool, ErrorsAreTheHeaders)
{
    RunInChild([] { FollowInFolder("error.txt"); });
}

TEST(Tool, JsonIsAsTheSchemaSays)
{
    if (!Needs("python3 -c 'import jsonschema'"))
        return;
    RunSandboxed([] {
        const CFakeTools m_Tools;
        FakeHardware(m_Tools);
        FakeFile("/proc/meminfo", "MemTotal: 4096 kB\nMemAvailable: 1024 kB\nShmem: 1 kB\n");
        Follow("json.txt");
    });
}

TEST(Tool, MetricsAreWhatPrometheusTakes)
{
    if (!Needs("command -v promtool"))
        return;
    RunSandboxed([] {
        const CFakeTools m_Tools;
        FakeHardware(m_Tools);
        FakeFile("/etc/os-release", "NAME=\"Blue\\x\xff\"\nVERSION=\"7 (a\"b)\"\n");
        FakeFile("/proc/meminfo", "MemTotal: 100000 kB\nMemAvailable: 43000 kB\n");
        FollowInFolder("metrics.txt");
    });
}

TEST(Tool, HardwareCommandsAndSections)
{
    RunSandboxed([] {
        const CFakeTools m_Tools;
        FakeHardware(m_Tools);
        ASSERT_EQ(mount("tmpfs", "/mnt", "tmpfs", 0, "size=8m"), 0);
        Follow("hardware.txt");
    });
}

TEST(Tool, CompletionsInTheShellsThemselves)
{
    const struct
    {
        const char* lpszNeeds;
        const char* lpszTranscript;
    } st_Rows[] = {{"command -v bash", "completions.txt"},
                   {"command -v zsh && command -v python3", "completions-zsh.txt"},
                   {"command -v fish", "completions-fish.txt"}};
    for (const auto& st_Row : st_Rows)
        if (Needs(st_Row.lpszNeeds))
            RunInChild([&] { FollowInFolder(st_Row.lpszTranscript); });
}

TEST(Tool, WatchShowsAndLeavesTheTerminalAsItWas)
{
    if (!Needs("command -v python3") || !Needs("! $TOOL watch --help | grep -q 'without ncurses'"))
        return;
    RunSandboxed([] {
        FakeFile("/proc/meminfo", "MemTotal: 4096 kB\nMemAvailable: 1024 kB\n");
        Follow("watch.txt");
    });
}

TEST(Tool, DoctorTellsWhatLacksAndWhy)
{
    RunSandboxed([] {
        const CFakeTools m_Tools;
        FakeHardware(m_Tools);
        Follow("doctor.txt");
    });
}

/// The limits that a made-up tree of control groups sets.
TEST(Tool, ControlGroupsLimitAsTheTightestAbove)
{
    const std::string Mounts2 = "30 1 0:1 / /cg rw - cgroup2 cgroup2 rw\n";
    const std::string Mounts1 =
        "31 1 0:2 / /m rw - cgroup cgroup rw,memory\n32 1 0:3 / /c rw shared:9 - cgroup cgroup "
        "rw,cpu,cpuacct\n";
    const struct
    {
        const char* lpszWhy;
        std::string Groups;
        std::string Mounts;
        std::vector<std::pair<const char*, const char*>> Files;
        int nVersion; // 0 for none, and so the following
        unsigned long long nMemory;
        double fProcessors;
    } st_Rows[] = {
        {"no control group", "", Mounts2, {{"cg/memory.max", "1"}}, 0, 0, 0},
        {"the own group",
         "0::/a/b\n",
         Mounts2,
         {{"cg/a/b/memory.max", "5000"}, {"cg/a/b/cpu.max", "150000 100000"}},
         2,
         5000,
         1.5},
        {"a group above is tighter",
         "0::/a/b\n",
         Mounts2,
         {{"cg/a/b/memory.max", "5000"},
          {"cg/a/memory.max", "4000"},
          {"cg/a/cpu.max", "50000 100000"},
          {"cg/a/b/cpu.max", "max 100000"}},
         2,
         4000,
         0.5},
        {"none", "0::/a\n", Mounts2, {{"cg/a/memory.max", "max"}, {"cg/a/cpu.max", "max 100000"}}, 2, 0, 0},
        {"what is mounted is the own group",
         "0::/docker/x\n",
         "30 1 0:1 /docker/x /cg ro - cgroup2 c rw\n",
         {{"cg/memory.max", "7000"}},
         2,
         7000,
         0},
        {"names that the kernel writes in octal",
         "0::/a b/c\n",
         "30 1 0:1 /a\\040b /c\\134\\g ro - cgroup2 c rw\n",
         {{"c\\\\g/c/memory.max", "7000"}},
         2,
         7000,
         0},
        {"a group whose folder cannot be asked for",
         "0::/" + std::string(NAME_MAX + 1, 'a') + "\n",
         Mounts2,
         {{"cg/memory.max", "8000"}},
         2,
         8000,
         0},
        {"no path leads there from what is mounted",
         "0::/../other\n",
         Mounts2,
         {{"cg/memory.max", "8000"}, {"other/memory.max", "1"}},
         2,
         8000,
         0},
        {"version 1",
         "4:memory:/a\n3:cpu,cpuacct:/a\n",
         Mounts1,
         {{"m/a/memory.limit_in_bytes", "6000"},
          {"m/memory.limit_in_bytes", "9223372036854771712"},
          {"c/a/cpu.cfs_quota_us", "25000"},
          {"c/a/cpu.cfs_period_us", "100000"},
          {"c/cpu.cfs_quota_us", "-1"},
          {"c/cpu.cfs_period_us", "100000"}},
         1,
         6000,
         0.25},
        {"both, each with a limit",
         "4:memory:/a\n0::/a\n",
         Mounts1 + Mounts2,
         {{"m/a/memory.limit_in_bytes", "6000"}, {"cg/a/cpu.max", "200000 100000"}},
         1,
         6000,
         2},
        {"lines that are cut short",
         "0:\n4:memory\n0::/a\n",
         "30 1 0:1 /\n30 1 0:1 / /cg rw -\n" + Mounts2,
         {{"cg/a/cpu.max", "1"}, {"cg/a/memory.max", "12x"}},
         2,
         0,
         0},
    };
    for (const auto& st_Row : st_Rows)
    {
        SCOPED_TRACE(st_Row.lpszWhy);
        const CTempFolder m_Root;
        m_Root.Write("proc/self/cgroup", st_Row.Groups);
        m_Root.Write("proc/self/mountinfo", st_Row.Mounts);
        for (const auto& [lpszFile, lpszText] : st_Row.Files)
            m_Root.Write(lpszFile, std::string(lpszText) + "\n");
        const CONTROL_GROUP st_Group = ReadControlGroup(m_Root.Path());
        EXPECT_EQ(st_Group.nVersion.value_or(0), st_Row.nVersion);
        EXPECT_EQ(st_Group.nMemoryLimit.value_or(0), st_Row.nMemory);
        EXPECT_EQ(st_Group.fProcessorLimit.value_or(0), st_Row.fProcessors);
    }
}

TEST(Tool, ProcessCommands)
{
    RunInChild([] {
        setenv("TZ", "UTC", 1);
        const COwnProcess m_Process;
        const CFakeTools m_Tools;
        FakeListing(m_Tools, m_Process);
        ASSERT_EQ(setpriority(PRIO_PROCESS, static_cast<id_t>(m_Process.Pid()), 5), 0);
        Follow("process.txt");
    });
}

TEST(Tool, StopEndsTheOneProcessThatIsMeant)
{
    RunInChild([] {
        signal(SIGINT, SIG_DFL);
        for (const char* lpszTarget : {"--pid $PID", "wanted --yes"})
        {
            const COwnProcess m_Process;
            const CFakeTools m_Tools;
            FakeListing(m_Tools, m_Process);
            EXPECT_EQ(RunLine(std::string("systemapi process stop ") + lpszTarget), "");
            siginfo_t st_End = {};
            EXPECT_EQ(waitid(P_PID, static_cast<id_t>(m_Process.Pid()), &st_End, WEXITED | WNOWAIT), 0);
            EXPECT_EQ(st_End.si_status, SIGINT);
        }
    });
}

TEST(Tool, StopAsksBeforeItDoesWhatMayBeMeantOtherwise)
{
    RunSandboxed([] { Follow("stop.txt"); });
}

TEST(Tool, SystemCommands)
{
    RunSandboxed([] {
        FakeFile("/proc/meminfo", "MemTotal: 4096 kB\nMemAvailable: 1024 kB\nShmem: 1 kB\n");
        const CFakeTools m_Tools;
        m_Tools.Add("gnome-screensaver-command", "echo locked \"$@\"");
        Follow("system.txt");
    });
}

TEST(Tool, ReportGivesFactsExactlyAndFailuresInTheirPlace)
{
    RunSandboxed([] {
        FakeFile("/etc/os-release", "NAME=\"Blue\x1b]0;Hat\"\nVERSION_ID=\"7.1\"\nVERSION=\"7.1 (Some Name)\"\n");
        FakeFile("/proc/meminfo", "MemTotal: 16303836 kB\nMemAvailable: 4075959 kB\n"
                                  "SwapTotal: 2048 kB\nSwapFree: 1024 kB\nShmem: 512 kB\n");
        Follow("report.txt");
    });
}

TEST(Tool, ReportListsTheFirstProcessesOrAll)
{
    RunSandboxed([] {
        FakeProcesses(12, "/usr/bin/tool");
        Follow("processes.txt");
    });
}

TEST(Tool, ReportFillsATerminalAndNoMore)
{
    using testing::HasSubstr;
    RunSandboxed([] {
        FakeProcesses(1, "/usr/bin/\xe6\x97\xa5\xe6\x9c\xac\xe8\xaa\x9e/\xc3\xa9\xc3\xa8");
        unsetenv("NO_COLOR");
        const std::string Coloured = ReportOnTerminal(22);
        EXPECT_THAT(Coloured, HasSubstr("\x1b[1mProcesses\x1b[0m\n"));
        EXPECT_THAT(Coloured, HasSubstr("\n  101  /usr/bin/\xe6\x97\xa5\xe6\x9c\xac\xe2\x80\xa6\n"))
            << "cut between characters, each of two columns";
        setenv("NO_COLOR", "1", 1);
        const std::string Plain = ReportOnTerminal(25);
        EXPECT_THAT(Plain, testing::Not(HasSubstr("\x1b")));
        EXPECT_THAT(Plain, HasSubstr("[\xe2\x96\x91"));
        EXPECT_THAT(Plain, HasSubstr("/\xc3\xa9\xc3\xa8\n"));
    });
}
} // namespace
