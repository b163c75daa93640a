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
    /// The processes whose id is above 100.
    bool SystemApi_System_GetProcessList(SYSTEMAPI_PROCESS_INFO*** pppSt_ProcessList, int* pInt_ListCount);
    /// The number of tasks that the kernel counts.
    bool SystemApi_System_GetProcessCount(int* pInt_ProcessCount);
};

extern SYSTEMAPI_EXPORT CSystemApi_System m_SystemSdk;
