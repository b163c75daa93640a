// SPDX-License-Identifier: MIT
/// Processes that a test starts, and what is seen of them and of the library's commands.
#pragma once

#include "Fakes.h"
#include "StandIns.h"

#include <Tolvane_SystemApi.h>

#include <algorithm>
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <thread>
#include <vector>

/// A process that the test started and may signal; killed and reaped at the end of the scope.
class COwnProcess
{
public:
    explicit COwnProcess(const char* lpszPath = "/bin/sleep", const char* lpszArguments = "600")
    {
        EXPECT_TRUE(SystemApi_Process_CreateProcess(&m_nPid, lpszPath, lpszArguments, false));
        StandIns().Own.insert(Pid());
    }
    ~COwnProcess()
    {
        siginfo_t st_State = {};
        if (waitid(P_PID, static_cast<id_t>(Pid()), &st_State, WEXITED | WNOHANG | WNOWAIT) == 0) // still the test's
        {
            kill(Pid(), SIGKILL);
            waitpid(Pid(), nullptr, 0);
        }
        StandIns().Own.erase(Pid());
    }
    COwnProcess& operator=(COwnProcess&&) = delete;

    [[nodiscard]] pid_t Pid() const { return static_cast<pid_t>(m_nPid); }
    std::string Entry(const char* lpszName) const { return "/proc/" + std::to_string(Pid()) + "/" + lpszName; }

private:
    unsigned long m_nPid = 0;
};

/// Notes every command that the library runs, and lets it run.
inline std::vector<std::string>& NoteCommands()
{
    static std::vector<std::string> Commands;
    Commands.clear();
    StandIns().Popen = [](const char* lpszCmd) {
        Commands.emplace_back(lpszCmd);
        return true;
    };
    return Commands;
}

/// The text of a file that another process is about to fill; null characters are shown as '|'.
inline std::string WaitForText(const std::string& Path)
{
    std::string Text;
    for (int nTry = 0; Text.empty() && nTry < 2000; ++nTry, std::this_thread::sleep_for(std::chrono::milliseconds(5)))
        Text = ReadWhole(Path);
    std::replace(Text.begin(), Text.end(), '\0', '|');
    return Text;
}

/// The error state after a failure: the code, and errno of the call that failed.
inline void ExpectFailed(bool bResult, unsigned long dwCode, int nErrno)
{
    int nSeen = 0;
    EXPECT_EQ(SystemApi_GetLastError(&nSeen), dwCode);
    EXPECT_EQ(nSeen, nErrno);
    EXPECT_FALSE(bResult);
    EXPECT_TRUE(SystemApi_IsErrorOccur);
}
