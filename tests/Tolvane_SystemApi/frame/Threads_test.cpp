#include <Tolvane_SystemApi.h>

#include <atomic>
#include <gtest/gtest.h>
#include <thread>
#include <vector>

// Worth most under the thread sanitizer, which sees a race where the assertions see nothing.
TEST(Threads, FailuresAtOnceAreNoDataRace)
{
    constexpr int nRounds = 2000;
    std::atomic<int> nForeignCodes = 0;
    const auto Ask = [&] {
        const unsigned long dwCode = SystemApi_GetLastError(nullptr);
        if (dwCode != 0 && dwCode != ERROR_SYSTEMAPI_PROCESS_READCMD_PARAMETER &&
            dwCode != ERROR_SYSTEMAPI_SYSTEM_GETMEMORYUSAGE_PARAMETER)
            ++nForeignCodes;
    };
    const auto Repeat = [&](auto Call) {
        return std::thread([=] {
            for (int nRound = 0; nRound < nRounds; ++nRound)
            {
                Call();
                Ask();
            }
        });
    };
    std::vector<std::thread> Threads;
    Threads.push_back(Repeat([] { EXPECT_FALSE(SystemApi_Process_ReadCmdReturn(nullptr, nullptr, 0, 0, nullptr)); }));
    Threads.push_back(Repeat([] { EXPECT_FALSE(SystemApi_System_GetMemoryUsage(nullptr, 1)); }));
    Threads.push_back(Repeat([] { EXPECT_TRUE(SystemApi_System_GetSysName(nullptr, nullptr)); }));
    for (std::thread& Thread : Threads)
        Thread.join();
    EXPECT_EQ(nForeignCodes, 0);
}
