// SPDX-License-Identifier: MIT
/// What several areas need: bare commands, programs, and folders that go again.
#pragma once

#include <fcntl.h>
#include <filesystem>
#include <spawn.h>
#include <stdexcept>
#include <string>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

/// Ends the comparison: a contender that does not do its work gives no figure.
inline void Require(bool bHolds, const std::string& What)
{
    if (!bHolds)
        throw std::runtime_error(What);
}

/// A shell command and the pipe on which its output comes, with nothing between them and the kernel.
class CBareCommand
{
public:
    explicit CBareCommand(const char* lpszCommand)
    {
        int nEnds[2] = {};
        Require(pipe2(nEnds, O_CLOEXEC) == 0, "pipe");
        posix_spawn_file_actions_t st_Actions;
        posix_spawn_file_actions_init(&st_Actions);
        posix_spawn_file_actions_adddup2(&st_Actions, nEnds[1], STDOUT_FILENO);
        const char* const lpszArguments[] = {"sh", "-c", lpszCommand, nullptr};
        const int nError =
            posix_spawn(&m_nChild, "/bin/sh", &st_Actions, nullptr, const_cast<char* const*>(lpszArguments), environ);
        posix_spawn_file_actions_destroy(&st_Actions);
        close(nEnds[1]);
        m_nPipe = nEnds[0];
        Require(nError == 0, "posix_spawn");
    }
    ~CBareCommand()
    {
        close(m_nPipe);
        waitpid(m_nChild, nullptr, 0);
    }
    CBareCommand(const CBareCommand&) = delete;
    CBareCommand& operator=(const CBareCommand&) = delete;

    [[nodiscard]] int Pipe() const { return m_nPipe; }

    /// Reads to the end; what comes beyond the buffer is an error.
    std::size_t Read(char* ptszBuffer, std::size_t nSize) const
    {
        std::size_t nEnd = 0;
        for (ssize_t nRead = 0; (nRead = read(m_nPipe, ptszBuffer + nEnd, nSize - nEnd)) > 0;)
            nEnd += static_cast<std::size_t>(nRead);
        Require(nEnd < nSize, "output of a bare command");
        return nEnd;
    }

private:
    pid_t m_nChild = 0;
    int m_nPipe = -1;
};

/// Starts a program found by PATH, with its complaints thrown away when they are not wanted.
inline pid_t StartProgram(const std::vector<std::string>& Arguments, bool bQuiet = false)
{
    std::vector<char*> Pointers;
    for (const std::string& Argument : Arguments)
        Pointers.push_back(const_cast<char*>(Argument.c_str()));
    Pointers.push_back(nullptr);
    posix_spawn_file_actions_t st_Actions;
    posix_spawn_file_actions_init(&st_Actions);
    if (bQuiet)
    {
        posix_spawn_file_actions_addopen(&st_Actions, STDOUT_FILENO, "/dev/null", O_WRONLY, 0);
        posix_spawn_file_actions_addopen(&st_Actions, STDERR_FILENO, "/dev/null", O_WRONLY, 0);
    }
    pid_t nChild = 0;
    const int nError = posix_spawnp(&nChild, Pointers[0], &st_Actions, nullptr, Pointers.data(), environ);
    posix_spawn_file_actions_destroy(&st_Actions);
    return nError == 0 ? nChild : -1;
}

/// Runs a program; true when it ended with the status 0.
inline bool RunProgram(const std::vector<std::string>& Arguments, bool bQuiet = false)
{
    const pid_t nChild = StartProgram(Arguments, bQuiet);
    int nStatus = 0;
    return nChild > 0 && waitpid(nChild, &nStatus, 0) == nChild && nStatus == 0;
}

/// Whether this machine has a program.
inline bool HasProgram(const std::string& Name)
{
    return RunProgram({"sh", "-c", "command -v " + Name}, true);
}

/// A folder that goes with all it holds.
class CScratchFolder
{
public:
    explicit CScratchFolder(const std::string& Parent) : m_Path(Parent + "/systemapi-compare-XXXXXX")
    {
        Require(mkdtemp(m_Path.data()) != nullptr, "a folder below " + Parent);
    }
    ~CScratchFolder()
    {
        std::error_code Ignored;
        std::filesystem::remove_all(m_Path, Ignored);
    }
    CScratchFolder(const CScratchFolder&) = delete;
    CScratchFolder& operator=(const CScratchFolder&) = delete;

    [[nodiscard]] const std::string& Path() const { return m_Path; }

private:
    std::string m_Path;
};
