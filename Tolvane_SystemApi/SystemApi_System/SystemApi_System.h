#pragma once

/// The system. The operations are described in Tolvane_SystemApi.h.

#include <Tolvane_SystemApi.h>

class SYSTEMAPI_EXPORT CSystemApi_System
{
public:
    CSystemApi_System();
    ~CSystemApi_System();

    /// The distribution's name, version and code name, and the kernel's release.
    bool SystemApi_System_GetSystemVer(char* ptszOSName, char* ptszOSVersion, char* ptszOSBuild,
                                       unsigned long* pInt_OSType, char* ptszKernel);
    /// The effective user's and the host's name.
    bool SystemApi_System_GetSysName(char* ptszUserName, char* ptszSysName);
    /// Memory, swap, shared memory and the load.
    bool SystemApi_System_GetMemoryUsage(tag_SystemApi_Memory_Infomation* pSt_MemoryInfo, int nType);
    /// One sample of every processor's counters, into an array with an element for each hardware thread.
    bool SystemApi_System_Get_Occupy(tag_LinuxSdk_SystemCpu_Occupy* pSt_CpuOccupy);
    /// How busy a processor was between two samples, in per cent; leaves the error state alone.
    float SystemApi_System_Cal_Occupy(tag_LinuxSdk_SystemCpu_Occupy* pSt_First,
                                      tag_LinuxSdk_SystemCpu_Occupy* pSt_Second);
    /// The processors' mean usage over one second.
    bool SystemApi_System_GetCpuUsage(int* pInt_Usage);
    /// The idle part of all counted time, as a whole number.
    bool SystemApi_System_GetSysIdleTime(unsigned long& nIdleTime);
    /// The processes whose id is above 100.
    bool SystemApi_System_GetProcessList(SYSTEMAPI_PROCESS_INFO*** pppSt_ProcessList, int* pInt_ListCount);
    /// The number of tasks that the kernel counts.
    bool SystemApi_System_GetProcessCount(int* pInt_ProcessCount);
    /// The local date and time at which the system started.
    bool SystemApi_System_GetUpTime(TOLVANE_LIBTIME* pSt_SysTime);
    /// Halts, restarts or suspends the machine, blanks or locks its screen, ends a user's processes.
    bool SystemApi_System_Shutdown(unsigned long dwType);
    /// Runs a shell command with a time limit.
    bool SystemApi_System_SystemEx(const char* lpszCmd, int nTimeout);
    /// Does nothing on this platform.
    bool SystemApi_System_WMIQuery(const char* lpszQuery, const char* lpszField, char* ptszValue, int nValueLen);
};

extern SYSTEMAPI_EXPORT CSystemApi_System m_SystemSdk;
