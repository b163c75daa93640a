#include "RunTool.h"

#include "Fakes.h"

#include <array>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <gtest/gtest.h>
#include <pty.h>
#include <sys/mount.h>
#include <sys/wait.h>
#include <unistd.h>

namespace
{
int ExitOf(int nStatus)
{
    return WIFEXITED(nStatus) ? WEXITSTATUS(nStatus) : -1;
}
} // namespace

TOOL_RESULT RunTool(const std::string& Arguments, const std::string& Before)
{
    const std::string Command = "exec 2>&1; unset COLUMNS; " + Before + " '" SYSTEMAPI_TOOL "' " + Arguments;
    FILE* pSt_Pipe = popen(Command.c_str(), "r");
    std::string Output;
    for (int nByte = 0; (nByte = std::getc(pSt_Pipe)) != EOF;)
        Output += static_cast<char>(nByte);
    return {ExitOf(pclose(pSt_Pipe)), Output};
}

TOOL_RESULT RunToolOnTerminal(const std::string& Arguments, unsigned short nColumns)
{
    const std::string Command = "stty -opost; exec '" SYSTEMAPI_TOOL "' " + Arguments;
    const winsize st_Size = {24, nColumns, 0, 0};
    int nTerminal = -1;
    const pid_t nPid = forkpty(&nTerminal, nullptr, nullptr, &st_Size);
    if (nPid == 0)
    {
        setenv("LC_ALL", "C.UTF-8", 1);
        execl("/bin/sh", "sh", "-c", Command.c_str(), nullptr);
        _exit(127);
    }
    std::string Output;
    std::array<char, 4096> tszPiece = {};
    for (ssize_t nRead = 0; (nRead = read(nTerminal, tszPiece.data(), tszPiece.size())) > 0;)
        Output.append(tszPiece.data(), static_cast<std::size_t>(nRead));
    close(nTerminal);
    int nStatus = 0;
    EXPECT_EQ(waitpid(nPid, &nStatus, 0), nPid);
    return {ExitOf(nStatus), Output};
}

std::string SectionOf(const std::string& Report, const std::string& Title)
{
    const std::string Padded = "\n" + Report + "\n";
    const std::size_t nBegin = Padded.find("\n" + Title + "\n");
    if (nBegin == std::string::npos)
        return "no section " + Title + " in:\n" + Report;
    return Padded.substr(nBegin + 1, Padded.find("\n\n", nBegin + 1) - nBegin);
}

void FakeProc()
{
    // An instrumented tool reads its own entries, and cannot look for leaks (the other tests do).
    ASSERT_EQ(mount("/proc", "/mnt", nullptr, MS_BIND | MS_REC, nullptr), 0);
    FakeFolder("/proc");
    std::filesystem::create_symlink("/mnt/self", "/proc/self");
    const char* lpszOptions = std::getenv("ASAN_OPTIONS");
    setenv("ASAN_OPTIONS", (std::string(lpszOptions ? lpszOptions : "") + ":detect_leaks=0").c_str(), 1);
}
