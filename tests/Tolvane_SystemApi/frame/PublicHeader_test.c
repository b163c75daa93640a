/* The public header as a C program has it: the records' layout and every constant, as callers were built with
 * them, and a few calls. */
#include <Tolvane_SystemApi.h>

#include <errno.h>
#include <stdio.h>
#include <string.h>

// clang-format off: tables
#define SIZE(nSize) (sizeof(R) == (nSize))
#define AT(Field, nPlace) (offsetof(R, Field) == (nPlace))
static inline void CheckLayout(void)
{
    {
        typedef struct TOLVANE_LIBTIME R;
        _Static_assert(SIZE(24) && AT(nMonth, 4) && AT(nDay, 8) && AT(nHour, 12) && AT(nMinute, 16) &&
                           AT(nSecond, 20),
                       "layout");
    }
    {
        typedef struct SYSTEMAPI_FILE_ATTR R;
        _Static_assert(SIZE(40) && AT(nCreateTime, 8) && AT(nAccessTime, 16) && AT(nWriteTime, 24) &&
                           AT(bIsFile, 32) && AT(bIsHidden, 33) && AT(bIsRead, 34),
                       "layout");
    }
    {
        typedef struct tag_SystemApi_Disk_Information R;
        _Static_assert(SIZE(24) && AT(enDiskType, 4) && AT(dwDiskTotal, 8) && AT(dwDiskFree, 16), "layout");
    }
    {
        typedef struct tag_SystemApi_Cpu_Information R;
        _Static_assert(SIZE(204) && AT(tszCpuVendor, 128) && AT(nCpuSpeed, 192) && AT(nCpuNumber, 196) &&
                           AT(nCpuCore, 200),
                       "layout");
    }
    {
        typedef struct tag_SystemApi_SdkSerial_Information R;
        _Static_assert(SIZE(256) && AT(tszBoardSerial, 64) && AT(tszDiskSerial, 128) && AT(tszSystemUUID, 192),
                       "layout");
    }
    {
        typedef struct tag_SystemApi_Process_Infomation R;
        _Static_assert(SIZE(2072) && AT(nThreadCount, 4) && AT(tszAppName, 8) && AT(tszUserName, 1032) &&
                           AT(nAppState, 2056) && AT(nVirtualMem, 2060) && AT(nResidentMem, 2064) &&
                           AT(nSharedMem, 2068),
                       "layout");
    }
    {
        typedef struct tag_SystemApi_Memory_Infomation R;
        _Static_assert(SIZE(64) && AT(nMemoryTotal, 8) && AT(nMemoryAvailable, 16) && AT(nSwapTotal, 24) &&
                           AT(nSwapFree, 32) && AT(nMemoryShared, 40) && AT(nMemoryReserved1, 48) &&
                           AT(nMemoryReserved2, 56),
                       "layout");
    }
    {
        typedef struct tag_LinuxSdk_SystemCpu_Occupy R;
        _Static_assert(SIZE(36) && AT(dwUser, 20) && AT(dwNice, 24) && AT(dwSystem, 28) && AT(dwIdle, 32), "layout");
    }
    {
        typedef struct SYSTEMAPI_PROCESS_INFO R;
        _Static_assert(SIZE(1028) && AT(nPid, 1024), "layout");
    }
}

#define ERROR(Name, nLow)                                                                                            \
    {                                                                                                                \
        "ERROR_SYSTEMAPI_" #Name, ERROR_SYSTEMAPI_##Name, 0x040A##nLow                                               \
    }
#define SELECTOR(Name, nValue)                                                                                       \
    {                                                                                                                \
        "SYSTEMAPI_SHUTDOWN_TYPE_" #Name, SYSTEMAPI_SHUTDOWN_TYPE_##Name, nValue                                     \
    }
static const struct
{
    const char* lpszSymbol;
    unsigned long dwDefined, dwDue;
} st_Values[] = {ERROR(FILE_GETATTR_PARAMETER, 0001),
                 ERROR(FILE_GETATTR_STAT, 0002),
                 ERROR(FILE_SAVEBUFF_PARAMETER, 0010),
                 ERROR(FILE_SAVEBUFF_OPEN, 0011),
                 ERROR(FILE_ENUMFILE_PARAMETER, 0020),
                 ERROR(FILE_ENUMFILE_NOTFOUND, 0021),
                 ERROR(FILE_ENUMFILE_NOTDIR, 0022),
                 ERROR(FILE_CREATEFOLDER_PARAMETER, 0030),
                 ERROR(FILE_CREATEFOLDER_CREATE, 0031),
                 ERROR(FILE_DELETEFOLDER_PARAMETER, 0040),
                 ERROR(FILE_SPARSE_PARAMETER, 0050),
                 ERROR(FILE_SPARSE_OPEN, 0051),
                 ERROR(FILE_COPY_PARAMETER, 0070),
                 ERROR(FILE_COPY_EXIST, 0071),
                 ERROR(FILE_COPY_COPY, 0072),
                 ERROR(FILE_SPARSE_WRITE, 0502),
                 ERROR(SYSTEM_GETSYSTEMVER_PARAMETER, 1001),
                 ERROR(SYSTEM_GETSYSTEMVER_UNAME, 1002),
                 ERROR(SYSTEM_GETMEMORYUSAGE_PARAMETER, 1010),
                 ERROR(SYSTEM_GETMEMORYUSAGE_POPEN, 1011),
                 ERROR(SYSTEM_GETCPUUSAGE_PARAMETER, 1020),
                 ERROR(SYSTEM_GETUPTIME_PARAMETER, 1030),
                 ERROR(SYSTEM_GETUPTIME_LOCALTIME, 1032),
                 ERROR(SYSTEM_GETPROCESSCOUNT_PARAMETER, 1040),
                 ERROR(SYSTEM_GETPROCESSCOUNT_SYSINFO, 1041),
                 ERROR(SYSTEM_SHUTDOWN_PARAMETER, 1050),
                 ERROR(SYSTEM_SHUTDOWN_EXEC, 1051),
                 ERROR(SYSTEM_SYSTEMEX_PARAMETER, 1060),
                 ERROR(SYSTEM_SYSTEMEX_SIGNAL, 1061),
                 ERROR(SYSTEM_SYSTEMEX_FORK, 1062),
                 ERROR(SYSTEM_GETSYSIDLETIME_OPEN, 10B1),
                 ERROR(SYSTEM_GETOCCUPY_OPEN, 10F0),
                 ERROR(SYSTEM_GETOCCUPY_READ, 10F1),
                 ERROR(HARDWARE_GETCPUINFO_PARAMETER, 2001),
                 ERROR(HARDWARE_GETDISKINFO_PARAMETER, 2001),
                 ERROR(HARDWARE_GETDISKNUMBER_PARAMETER, 2001),
                 ERROR(HARDWARE_GETSERIAL_PARAMETER, 2001),
                 ERROR(HARDWARE_GETDISKINFO_STATFS, 2002),
                 ERROR(HARDWARE_GETDISKINFO_TYPE, 2003),
                 ERROR(HARDWARE_GETCPUINFO_READ, 2009),
                 ERROR(HARDWARE_GETDISKNUMBER_OPEN, 2009),
                 ERROR(PROCESS_CREATE_PARAMETER, 3000),
                 ERROR(PROCESS_GETINFO_PARAMETER, 3000),
                 ERROR(PROCESS_READCMD_PARAMETER, 3000),
                 ERROR(PROCESS_RUN_PARAMETER, 3000),
                 ERROR(PROCESS_READCMD_POPEN, 3001),
                 ERROR(PROCESS_STOP_PERMISSION, 3001),
                 ERROR(PROCESS_GETPATH_READLINK, 3002),
                 ERROR(PROCESS_GETINFO_USER, 3006),
                 ERROR(PROCESS_GETINFO_NOTFOUND, 3007),
                 ERROR(PROCESS_STOP_NOTFOUND, 3007),
                 ERROR(PROCESS_GETPRIORITY_FAILED, 3013),
                 ERROR(PROCESS_SETPRIORITY_FAILED, 3014),
                 ERROR(PROCESS_SETPRIORITY_RANGE, 3015),
                 ERROR(PROCESS_STOP_READCMD, 3016),
                 ERROR(PROCESS_STOP_KILL, 3017),
                 ERROR(PROCESS_RUN_FORK, 3018),
                 ERROR(PROCESS_CREATE_SPAWN, 3019),
                 ERROR(PROCESS_RUN_EXEC, 3019),
                 ERROR(PROCESS_SETCPU_FAILED, 3020),
                 SELECTOR(POWEROFF, 0x10001),
                 SELECTOR(MONITOROFF, 0x10002),
                 SELECTOR(REBOOT, 0x10003),
                 SELECTOR(LOGOFF, 0x10004),
                 SELECTOR(LOCK, 0x10005),
                 SELECTOR(SUSPEND, 0x10007)};
// clang-format on

static int nFailures = 0;

static void Expect(bool bHolds, const char* lpszWhat)
{
    if (!bHolds)
    {
        printf("failed: %s\n", lpszWhat);
        ++nFailures;
    }
}
#define EXPECT(Condition) Expect(Condition, #Condition)

int main(void)
{
    CheckLayout();
    for (size_t nRow = 0; nRow < sizeof(st_Values) / sizeof(st_Values[0]); ++nRow)
        Expect(st_Values[nRow].dwDefined == st_Values[nRow].dwDue, st_Values[nRow].lpszSymbol);

    int nErrno = 0;
    errno = ENOENT;
    EXPECT(SystemApi_GetLastError(&nErrno) == 0 && nErrno == ENOENT && !SystemApi_IsErrorOccur);

    char tszText[1024] = "text: ";
    int nLength = 0;
    EXPECT(SystemApi_Process_ReadCmdReturn("echo first; echo second", tszText, 1, 2, &nLength));
    EXPECT(strcmp(tszText, "text: second\n") == 0 && nLength == 7);

    EXPECT(!SystemApi_System_GetMemoryUsage(NULL, 1) && SystemApi_IsErrorOccur);
    EXPECT(SystemApi_dwErrorCode == ERROR_SYSTEMAPI_SYSTEM_GETMEMORYUSAGE_PARAMETER);
    return nFailures == 0 ? 0 : 1;
}
