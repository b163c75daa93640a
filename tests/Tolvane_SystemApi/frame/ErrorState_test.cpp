#include <Tolvane_SystemApi.h>

#include <cerrno>
#include <gtest/gtest.h>
#include <thread>

namespace
{
struct STATE
{
    bool bErrorOccur;
    unsigned long dwErrorCode;
    int nErrno;
    bool operator==(const STATE&) const = default;
};

STATE StateNow()
{
    int nErrno = -1;
    const unsigned long dwErrorCode = SystemApi_GetLastError(&nErrno);
    return {SystemApi_IsErrorOccur, dwErrorCode, nErrno};
}

const STATE st_BeforeMain = [] {
    errno = EXDEV;
    return StateNow();
}();

TEST(ErrorState, StartsWithoutAnErrorAndGivesErrnoAllTheSame)
{
    EXPECT_EQ(st_BeforeMain, (STATE{false, 0, EXDEV}));
}

TEST(ErrorState, TheCodeOfAFailureOutlivesLaterSuccesses)
{
    int nCount = 0;
    EXPECT_FALSE(SystemApi_Process_ReadCmdReturn(nullptr, nullptr, 0, 0, nullptr));
    EXPECT_TRUE(SystemApi_IsErrorOccur);
    EXPECT_EQ(SystemApi_GetLastError(nullptr), ERROR_SYSTEMAPI_PROCESS_READCMD_PARAMETER);
    EXPECT_TRUE(SystemApi_IsErrorOccur) << "asking changes nothing";

    EXPECT_TRUE(SystemApi_System_GetProcessCount(&nCount));
    EXPECT_FALSE(SystemApi_IsErrorOccur);
    EXPECT_EQ(SystemApi_GetLastError(nullptr), ERROR_SYSTEMAPI_PROCESS_READCMD_PARAMETER);

    EXPECT_FALSE(SystemApi_System_GetMemoryUsage(nullptr, 1));
    EXPECT_EQ(SystemApi_GetLastError(nullptr), ERROR_SYSTEMAPI_SYSTEM_GETMEMORYUSAGE_PARAMETER);
}

TEST(ErrorState, ErrnoIsTheCallingThreadsAtTheMomentOfTheCall)
{
    errno = ENOENT;
    int nOfOther = -1;
    std::thread([&] {
        errno = EXDEV;
        SystemApi_GetLastError(&nOfOther);
    }).join();
    int nOwn = -1;
    SystemApi_GetLastError(&nOwn);
    EXPECT_EQ(nOfOther, EXDEV);
    EXPECT_EQ(nOwn, ENOENT);
    EXPECT_EQ(errno, ENOENT);
}
} // namespace
