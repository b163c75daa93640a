// SPDX-License-Identifier: MIT
#pragma once

/// \file
/// The system. The operations are described in Tolvane_SystemApi.h.

#include <Tolvane_SystemApi.h>

/// The system operations, each named as the C function that forwards to it. The class has no data.
class SYSTEMAPI_EXPORT CSystemApi_System
{
public:
    CSystemApi_System();  ///< Does nothing.
    ~CSystemApi_System(); ///< Does nothing.

    /// The distribution's name, version and code name, and the kernel's release.
    bool SystemApi_System_GetSystemVer(char* ptszOSName, char* ptszOSVersion, char* ptszOSBuild,
                                       unsigned long* pInt_OSType, char* ptszKernel);
    /// The effective user's and the host's name.
    bool SystemApi_System_GetSysName(char* ptszUserName, char* ptszSysName);
    /// Memory, swap, shared memory and the load.
    bool SystemApi_System_GetMemoryUsage(tag_SystemApi_Memory_Infomation* pSt_MemoryInfo, int nType);
    /// Takes one sample of every processor's time counters.
    ///
    /// \param[out] pSt_CpuOccupy an array with an element for each hardware thread
    ///                           (std::thread::hardware_concurrency), filled in the order of the second and later
    ///                           lines of /proc/stat, whatever they are; what a line does not hold is left alone
    /// \return true, or false with ..._GETOCCUPY_OPEN or ..._GETOCCUPY_READ, array untouched.
    bool SystemApi_System_Get_Occupy(tag_LinuxSdk_SystemCpu_Occupy* pSt_CpuOccupy);
    /// Tells how busy a processor was between two samples. Leaves the error state alone.
    ///
    /// \param[in] pSt_First  the earlier sample of the processor
    /// \param[in] pSt_Second the later one
    /// \return per cent: user and system time of user, niced, system and idle time, with its fraction. NaN or an
    ///         infinity where none of these was counted, and out of 0 to 100 where a counter fell or the total wrapped.
    float SystemApi_System_Cal_Occupy(tag_LinuxSdk_SystemCpu_Occupy* pSt_First,
                                      tag_LinuxSdk_SystemCpu_Occupy* pSt_Second);
    /// The processors' mean usage over one second.
    bool SystemApi_System_GetCpuUsage(int* pInt_Usage);
    /// The idle part of all counted time, as a whole number.
    ///
    /// \param[out] nIdleTime receives what the C function of this name gives
    /// \return as the C function: true, or false with ..._GETSYSIDLETIME_OPEN, output untouched.
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

/// The object that the C functions forward to.
extern SYSTEMAPI_EXPORT CSystemApi_System m_SystemSdk;
