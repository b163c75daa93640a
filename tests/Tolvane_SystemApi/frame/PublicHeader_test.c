/* The public header as a C program has it: the records' layout and every constant, as callers were built with
 * them, and a few calls. */
#include <Tolvane_SystemApi.h>

#include <errno.h>
#include <stdio.h>
#include <string.h>

#define SIZE(Record, nSize)                                                                                          \
    _Static_assert(sizeof(struct Record) == sizeof(Record) && sizeof(Record) == (nSize), "size")
#define PLACE(Record, Field, nOffset) _Static_assert(offsetof(Record, Field) == (nOffset), "offset")
#define VALUE(Symbol, dwValue)                                                                                       \
    {                                                                                                                \
#Symbol, Symbol, dwValue                                                                                     \
    }

SIZE(TOLVANE_LIBTIME, 24);
PLACE(TOLVANE_LIBTIME, nMonth, 4);
PLACE(TOLVANE_LIBTIME, nDay, 8);
PLACE(TOLVANE_LIBTIME, nHour, 12);
PLACE(TOLVANE_LIBTIME, nMinute, 16);
PLACE(TOLVANE_LIBTIME, nSecond, 20);

SIZE(SYSTEMAPI_FILE_ATTR, 40);
PLACE(SYSTEMAPI_FILE_ATTR, nCreateTime, 8);
PLACE(SYSTEMAPI_FILE_ATTR, nAccessTime, 16);
PLACE(SYSTEMAPI_FILE_ATTR, nWriteTime, 24);
PLACE(SYSTEMAPI_FILE_ATTR, bIsFile, 32);
PLACE(SYSTEMAPI_FILE_ATTR, bIsHidden, 33);
PLACE(SYSTEMAPI_FILE_ATTR, bIsRead, 34);

SIZE(tag_SystemApi_Disk_Information, 24);
PLACE(tag_SystemApi_Disk_Information, enDiskType, 4);
PLACE(tag_SystemApi_Disk_Information, dwDiskTotal, 8);
PLACE(tag_SystemApi_Disk_Information, dwDiskFree, 16);

SIZE(tag_SystemApi_Cpu_Information, 204);
PLACE(tag_SystemApi_Cpu_Information, tszCpuVendor, 128);
PLACE(tag_SystemApi_Cpu_Information, nCpuSpeed, 192);
PLACE(tag_SystemApi_Cpu_Information, nCpuNumber, 196);
PLACE(tag_SystemApi_Cpu_Information, nCpuCore, 200);

SIZE(tag_SystemApi_SdkSerial_Information, 256);
PLACE(tag_SystemApi_SdkSerial_Information, tszBoardSerial, 64);
PLACE(tag_SystemApi_SdkSerial_Information, tszDiskSerial, 128);
PLACE(tag_SystemApi_SdkSerial_Information, tszSystemUUID, 192);

SIZE(tag_SystemApi_Process_Infomation, 2072);
PLACE(tag_SystemApi_Process_Infomation, nThreadCount, 4);
PLACE(tag_SystemApi_Process_Infomation, tszAppName, 8);
PLACE(tag_SystemApi_Process_Infomation, tszUserName, 1032);
PLACE(tag_SystemApi_Process_Infomation, nAppState, 2056);
PLACE(tag_SystemApi_Process_Infomation, nVirtualMem, 2060);
PLACE(tag_SystemApi_Process_Infomation, nResidentMem, 2064);
PLACE(tag_SystemApi_Process_Infomation, nSharedMem, 2068);

SIZE(tag_SystemApi_Memory_Infomation, 64);
PLACE(tag_SystemApi_Memory_Infomation, nMemoryTotal, 8);
PLACE(tag_SystemApi_Memory_Infomation, nMemoryAvailable, 16);
PLACE(tag_SystemApi_Memory_Infomation, nSwapTotal, 24);
PLACE(tag_SystemApi_Memory_Infomation, nSwapFree, 32);
PLACE(tag_SystemApi_Memory_Infomation, nMemoryShared, 40);
PLACE(tag_SystemApi_Memory_Infomation, nMemoryReserved1, 48);
PLACE(tag_SystemApi_Memory_Infomation, nMemoryReserved2, 56);

SIZE(tag_LinuxSdk_SystemCpu_Occupy, 36);
PLACE(tag_LinuxSdk_SystemCpu_Occupy, dwUser, 20);
PLACE(tag_LinuxSdk_SystemCpu_Occupy, dwNice, 24);
PLACE(tag_LinuxSdk_SystemCpu_Occupy, dwSystem, 28);
PLACE(tag_LinuxSdk_SystemCpu_Occupy, dwIdle, 32);

SIZE(SYSTEMAPI_PROCESS_INFO, 1028);
PLACE(SYSTEMAPI_PROCESS_INFO, nPid, 1024);

static const struct
{
    const char* lpszSymbol;
    unsigned long dwDefined;
    unsigned long dwDue;
} st_Values[] = {
    VALUE(ERROR_SYSTEMAPI_FILE_GETATTR_PARAMETER, 0x040A0001),
    VALUE(ERROR_SYSTEMAPI_FILE_GETATTR_STAT, 0x040A0002),
    VALUE(ERROR_SYSTEMAPI_FILE_SAVEBUFF_PARAMETER, 0x040A0010),
    VALUE(ERROR_SYSTEMAPI_FILE_SAVEBUFF_OPEN, 0x040A0011),
    VALUE(ERROR_SYSTEMAPI_FILE_ENUMFILE_PARAMETER, 0x040A0020),
    VALUE(ERROR_SYSTEMAPI_FILE_ENUMFILE_NOTFOUND, 0x040A0021),
    VALUE(ERROR_SYSTEMAPI_FILE_ENUMFILE_NOTDIR, 0x040A0022),
    VALUE(ERROR_SYSTEMAPI_FILE_CREATEFOLDER_PARAMETER, 0x040A0030),
    VALUE(ERROR_SYSTEMAPI_FILE_CREATEFOLDER_CREATE, 0x040A0031),
    VALUE(ERROR_SYSTEMAPI_FILE_DELETEFOLDER_PARAMETER, 0x040A0040),
    VALUE(ERROR_SYSTEMAPI_FILE_SPARSE_PARAMETER, 0x040A0050),
    VALUE(ERROR_SYSTEMAPI_FILE_SPARSE_OPEN, 0x040A0051),
    VALUE(ERROR_SYSTEMAPI_FILE_COPY_PARAMETER, 0x040A0070),
    VALUE(ERROR_SYSTEMAPI_FILE_COPY_EXIST, 0x040A0071),
    VALUE(ERROR_SYSTEMAPI_FILE_COPY_COPY, 0x040A0072),
    VALUE(ERROR_SYSTEMAPI_FILE_SPARSE_WRITE, 0x040A0502),
    VALUE(ERROR_SYSTEMAPI_SYSTEM_GETSYSTEMVER_PARAMETER, 0x040A1001),
    VALUE(ERROR_SYSTEMAPI_SYSTEM_GETSYSTEMVER_UNAME, 0x040A1002),
    VALUE(ERROR_SYSTEMAPI_SYSTEM_GETMEMORYUSAGE_PARAMETER, 0x040A1010),
    VALUE(ERROR_SYSTEMAPI_SYSTEM_GETMEMORYUSAGE_POPEN, 0x040A1011),
    VALUE(ERROR_SYSTEMAPI_SYSTEM_GETCPUUSAGE_PARAMETER, 0x040A1020),
    VALUE(ERROR_SYSTEMAPI_SYSTEM_GETUPTIME_PARAMETER, 0x040A1030),
    VALUE(ERROR_SYSTEMAPI_SYSTEM_GETUPTIME_LOCALTIME, 0x040A1032),
    VALUE(ERROR_SYSTEMAPI_SYSTEM_GETPROCESSCOUNT_PARAMETER, 0x040A1040),
    VALUE(ERROR_SYSTEMAPI_SYSTEM_GETPROCESSCOUNT_SYSINFO, 0x040A1041),
    VALUE(ERROR_SYSTEMAPI_SYSTEM_SHUTDOWN_PARAMETER, 0x040A1050),
    VALUE(ERROR_SYSTEMAPI_SYSTEM_SHUTDOWN_EXEC, 0x040A1051),
    VALUE(ERROR_SYSTEMAPI_SYSTEM_SYSTEMEX_PARAMETER, 0x040A1060),
    VALUE(ERROR_SYSTEMAPI_SYSTEM_SYSTEMEX_SIGNAL, 0x040A1061),
    VALUE(ERROR_SYSTEMAPI_SYSTEM_SYSTEMEX_FORK, 0x040A1062),
    VALUE(ERROR_SYSTEMAPI_SYSTEM_GETSYSIDLETIME_OPEN, 0x040A10B1),
    VALUE(ERROR_SYSTEMAPI_SYSTEM_GETOCCUPY_OPEN, 0x040A10F0),
    VALUE(ERROR_SYSTEMAPI_SYSTEM_GETOCCUPY_READ, 0x040A10F1),
    VALUE(ERROR_SYSTEMAPI_HARDWARE_GETCPUINFO_PARAMETER, 0x040A2001),
    VALUE(ERROR_SYSTEMAPI_HARDWARE_GETDISKINFO_PARAMETER, 0x040A2001),
    VALUE(ERROR_SYSTEMAPI_HARDWARE_GETDISKNUMBER_PARAMETER, 0x040A2001),
    VALUE(ERROR_SYSTEMAPI_HARDWARE_GETSERIAL_PARAMETER, 0x040A2001),
    VALUE(ERROR_SYSTEMAPI_HARDWARE_GETDISKINFO_STATFS, 0x040A2002),
    VALUE(ERROR_SYSTEMAPI_HARDWARE_GETDISKINFO_TYPE, 0x040A2003),
    VALUE(ERROR_SYSTEMAPI_HARDWARE_GETCPUINFO_READ, 0x040A2009),
    VALUE(ERROR_SYSTEMAPI_HARDWARE_GETDISKNUMBER_OPEN, 0x040A2009),
    VALUE(ERROR_SYSTEMAPI_PROCESS_CREATE_PARAMETER, 0x040A3000),
    VALUE(ERROR_SYSTEMAPI_PROCESS_GETINFO_PARAMETER, 0x040A3000),
    VALUE(ERROR_SYSTEMAPI_PROCESS_READCMD_PARAMETER, 0x040A3000),
    VALUE(ERROR_SYSTEMAPI_PROCESS_RUN_PARAMETER, 0x040A3000),
    VALUE(ERROR_SYSTEMAPI_PROCESS_READCMD_POPEN, 0x040A3001),
    VALUE(ERROR_SYSTEMAPI_PROCESS_STOP_PERMISSION, 0x040A3001),
    VALUE(ERROR_SYSTEMAPI_PROCESS_GETPATH_READLINK, 0x040A3002),
    VALUE(ERROR_SYSTEMAPI_PROCESS_GETINFO_USER, 0x040A3006),
    VALUE(ERROR_SYSTEMAPI_PROCESS_GETINFO_NOTFOUND, 0x040A3007),
    VALUE(ERROR_SYSTEMAPI_PROCESS_STOP_NOTFOUND, 0x040A3007),
    VALUE(ERROR_SYSTEMAPI_PROCESS_GETPRIORITY_FAILED, 0x040A3013),
    VALUE(ERROR_SYSTEMAPI_PROCESS_SETPRIORITY_FAILED, 0x040A3014),
    VALUE(ERROR_SYSTEMAPI_PROCESS_SETPRIORITY_RANGE, 0x040A3015),
    VALUE(ERROR_SYSTEMAPI_PROCESS_STOP_READCMD, 0x040A3016),
    VALUE(ERROR_SYSTEMAPI_PROCESS_STOP_KILL, 0x040A3017),
    VALUE(ERROR_SYSTEMAPI_PROCESS_RUN_FORK, 0x040A3018),
    VALUE(ERROR_SYSTEMAPI_PROCESS_CREATE_SPAWN, 0x040A3019),
    VALUE(ERROR_SYSTEMAPI_PROCESS_RUN_EXEC, 0x040A3019),
    VALUE(ERROR_SYSTEMAPI_PROCESS_SETCPU_FAILED, 0x040A3020),
    VALUE(SYSTEMAPI_SHUTDOWN_TYPE_POWEROFF, 0x10001),
    VALUE(SYSTEMAPI_SHUTDOWN_TYPE_MONITOROFF, 0x10002),
    VALUE(SYSTEMAPI_SHUTDOWN_TYPE_REBOOT, 0x10003),
    VALUE(SYSTEMAPI_SHUTDOWN_TYPE_LOGOFF, 0x10004),
    VALUE(SYSTEMAPI_SHUTDOWN_TYPE_LOCK, 0x10005),
    VALUE(SYSTEMAPI_SHUTDOWN_TYPE_SUSPEND, 0x10007),
};

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
    for (size_t nRow = 0; nRow < sizeof(st_Values) / sizeof(st_Values[0]); ++nRow)
        Expect(st_Values[nRow].dwDefined == st_Values[nRow].dwDue, st_Values[nRow].lpszSymbol);

    int nErrno = 0;
    errno = ENOENT;
    EXPECT(SystemApi_GetLastError(&nErrno) == 0 && nErrno == ENOENT && !SystemApi_IsErrorOccur);

    char tszText[1024] = "text: ";
    int nLength = 0;
    EXPECT(SystemApi_Process_ReadCmdReturn("echo first; echo second", tszText, 1, 2, &nLength));
    EXPECT(strcmp(tszText, "text: second\n") == 0 && nLength == 7);

    SYSTEMAPI_PROCESS_INFO** ppSt_Processes = NULL;
    int nCount = 0;
    EXPECT(SystemApi_System_GetProcessList(&ppSt_Processes, &nCount));
    EXPECT(nCount == 0 || ppSt_Processes[nCount - 1]->nPid > 100);
    EXPECT(BaseLib_Memory_Free(&ppSt_Processes, nCount) && !ppSt_Processes);

    EXPECT(!SystemApi_System_GetMemoryUsage(NULL, 1) && SystemApi_IsErrorOccur);
    EXPECT(SystemApi_dwErrorCode == ERROR_SYSTEMAPI_SYSTEM_GETMEMORYUSAGE_PARAMETER);
    return nFailures == 0 ? 0 : 1;
}
