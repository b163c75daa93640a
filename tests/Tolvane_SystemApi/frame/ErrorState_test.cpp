// SPDX-License-Identifier: MIT
#include "Fakes.h"
#include "Sandbox.h"
#include "SystemApi_HardWare/SystemApi_HardWare.h"
#include "SystemApi_Process/SystemApi_Process.h"
#include "SystemApi_System/SystemApi_System.h"

#include <cerrno>
#include <gtest/gtest.h>
#include <sys/wait.h>
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

TEST(ErrorState, EverySuccessClearsTheFlag)
{
    constexpr bool (*pfnCalls[])(const char* lpszNew, SYSTEMAPI_FILE_ATTR* pSt_Attr, unsigned long* pInt_Id) = {
        [](auto, auto pSt_Attr, auto) { return SystemApi_File_GetFileAttrA("/", pSt_Attr); },
        [](auto lpszNew, auto, auto) { return SystemApi_File_CreateSparseFileA(lpszNew, 5); },
        [](auto lpszNew, auto, auto) { return SystemApi_File_SaveBuffToFileA(lpszNew, "x", 1); },
        [](auto lpszNew, auto, auto) { return SystemApi_File_CopyFileA("/etc/passwd", lpszNew, false); },
        [](auto, auto, auto) { return SystemApi_File_CreateMutilFolderA("/"); },
        [](auto lpszNew, auto, auto) { return SystemApi_File_DeleteMutilFolderA(lpszNew, false); },
        [](auto, auto, auto) { return SystemApi_File_EnumFileA("/dev", nullptr, nullptr, false, 3); },
        [](auto, auto, auto pInt_Id) {
            return SystemApi_Process_CreateProcess(pInt_Id, "/bin/true", nullptr, false);
        },
        [](auto, auto, auto pInt_Id) {
            return SystemApi_Process_RunProcess(pInt_Id, "/bin/true", "true", "", false);
        },
        [](auto, auto, auto) {
            char tszPath[1024];
            return SystemApi_Process_GetPath(tszPath, 0);
        },
        [](auto, auto, auto) { return SystemApi_Process_IsAdmin() || true; },
        [](auto, auto, auto pInt_Id) { return SystemApi_Process_GetProcessForCpu(0, pInt_Id); },
        [](auto, auto, auto) { return SystemApi_System_GetSysName(nullptr, nullptr); },
        [](auto, auto, auto) { return SystemApi_System_SystemEx("true", 9); },
        [](auto, auto, auto) { return SystemApi_System_WMIQuery(nullptr, nullptr, nullptr, 0); },
    };
    RunInChild([&] {
        const CTempFolder m_Folder;
        for (const auto& pfnCall : pfnCalls)
        {
            SYSTEMAPI_FILE_ATTR st_Attr = {};
            unsigned long nId = 0;
            SystemApi_IsErrorOccur = true;
            EXPECT_TRUE(pfnCall((m_Folder / "file").c_str(), &st_Attr, &nId));
            EXPECT_FALSE(SystemApi_IsErrorOccur) << &pfnCall - pfnCalls;
        }
        while (wait(nullptr) > 0)
            ;
    });
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
