// SPDX-License-Identifier: MIT
#include "pch.h"

#include "SystemApi_File/SystemApi_File.h"
#include "SystemApi_HardWare/SystemApi_HardWare.h"
#include "SystemApi_Process/SystemApi_Process.h"
#include "SystemApi_System/SystemApi_System.h"

#include <cerrno>

// The error state.
bool SystemApi_IsErrorOccur = false;
unsigned long SystemApi_dwErrorCode = 0;

// The four objects, constructed in this order and destroyed in the reverse one.
CSystemApi_File m_FileSdk;
CSystemApi_HardWare m_Hardware;
CSystemApi_Process m_ProcessSdk;
CSystemApi_System m_SystemSdk;

unsigned long SystemApi_GetLastError(int* pInt_ErrorCode)
{
    if (pInt_ErrorCode)
        *pInt_ErrorCode = errno;
    return std::atomic_ref(SystemApi_dwErrorCode).load(std::memory_order_relaxed);
}

// Files
bool SystemApi_File_GetFileAttrA(const char* lpszPath, SYSTEMAPI_FILE_ATTR* pSt_FileAttr)
{
    return m_FileSdk.SystemApi_File_GetFileAttrA(lpszPath, pSt_FileAttr);
}
bool SystemApi_File_GetFileAttrW(const wchar_t* lpszPath, SYSTEMAPI_FILE_ATTR* pSt_FileAttr)
{
    return m_FileSdk.SystemApi_File_GetFileAttrW(lpszPath, pSt_FileAttr);
}
bool SystemApi_File_CreateSparseFileA(const char* lpszPath, long long nSize)
{
    return m_FileSdk.SystemApi_File_CreateSparseFileA(lpszPath, nSize);
}
bool SystemApi_File_CreateSparseFileW(const wchar_t* lpszPath, long long nSize)
{
    return m_FileSdk.SystemApi_File_CreateSparseFileW(lpszPath, nSize);
}
bool SystemApi_File_CreateMutilFolderA(const char* lpszPath)
{
    return m_FileSdk.SystemApi_File_CreateMutilFolderA(lpszPath);
}
bool SystemApi_File_CreateMutilFolderW(const wchar_t* lpszPath)
{
    return m_FileSdk.SystemApi_File_CreateMutilFolderW(lpszPath);
}
bool SystemApi_File_DeleteMutilFolderA(const char* lpszPath, bool bDeleteFolder)
{
    return m_FileSdk.SystemApi_File_DeleteMutilFolderA(lpszPath, bDeleteFolder);
}
bool SystemApi_File_DeleteMutilFolderW(const wchar_t* lpszPath, bool bDeleteFolder)
{
    return m_FileSdk.SystemApi_File_DeleteMutilFolderW(lpszPath, bDeleteFolder);
}
bool SystemApi_File_SaveBuffToFileA(const char* lpszPath, const char* lpszBuffer, int nSize)
{
    return m_FileSdk.SystemApi_File_SaveBuffToFileA(lpszPath, lpszBuffer, nSize);
}
bool SystemApi_File_SaveBuffToFileW(const wchar_t* lpszPath, const char* lpszBuffer, int nSize)
{
    return m_FileSdk.SystemApi_File_SaveBuffToFileW(lpszPath, lpszBuffer, nSize);
}
bool SystemApi_File_CopyFileA(const char* lpszSource, const char* lpszDest, bool bFailIfExist)
{
    return m_FileSdk.SystemApi_File_CopyFileA(lpszSource, lpszDest, bFailIfExist);
}
bool SystemApi_File_CopyFileW(const wchar_t* lpszSource, const wchar_t* lpszDest, bool bFailIfExist)
{
    return m_FileSdk.SystemApi_File_CopyFileW(lpszSource, lpszDest, bFailIfExist);
}
bool SystemApi_File_EnumFileA(const char* lpszPath, char*** pppszFileList, int* pInt_ListCount, bool bRecursion,
                              int nFileType)
{
    return m_FileSdk.SystemApi_File_EnumFileA(lpszPath, pppszFileList, pInt_ListCount, bRecursion, nFileType);
}
bool SystemApi_File_EnumFileW(const wchar_t* lpszPath, wchar_t*** pppszFileList, int* pInt_ListCount, bool bRecursion,
                              int nFileType)
{
    return m_FileSdk.SystemApi_File_EnumFileW(lpszPath, pppszFileList, pInt_ListCount, bRecursion, nFileType);
}

// Hardware
bool SystemApi_HardWare_GetDiskInfomation(const char* lpszDiskName, tag_SystemApi_Disk_Information* pSt_DiskInfo,
                                          int nDiskType)
{
    return m_Hardware.SystemApi_HardWare_GetDiskInfomation(lpszDiskName, pSt_DiskInfo, nDiskType);
}
bool SystemApi_HardWare_GetDiskNumber(char*** pppszRootName, int* pInt_ListCount)
{
    return m_Hardware.SystemApi_HardWare_GetDiskNumber(pppszRootName, pInt_ListCount);
}
bool SystemApi_HardWare_GetCpuInfomation(tag_SystemApi_Cpu_Information* pSt_CpuInfo)
{
    return m_Hardware.SystemApi_HardWare_GetCpuInfomation(pSt_CpuInfo);
}
bool SystemApi_HardWare_GetSerial(tag_SystemApi_SdkSerial_Information* pSt_SDKSerial)
{
    return m_Hardware.SystemApi_HardWare_GetSerial(pSt_SDKSerial);
}

// Processes
bool SystemApi_Process_ReadCmdReturn(const char* lpszCmd, char* ptszMsgBuffer, int nReadLines, int nStartLine,
                                     int* pInt_Len)
{
    return m_ProcessSdk.SystemApi_Process_ReadCmdReturn(lpszCmd, ptszMsgBuffer, nReadLines, nStartLine, pInt_Len);
}
bool SystemApi_Process_GetProcessInfo(tag_SystemApi_Process_Infomation* pSt_ProcessInfo, const char* lpszProcessName,
                                      int nPid)
{
    return m_ProcessSdk.SystemApi_Process_GetProcessInfo(pSt_ProcessInfo, lpszProcessName, nPid);
}
bool SystemApi_Process_CreateProcess(unsigned long* pInt_ProcessId, const char* lpszProcessName,
                                     const char* lpszCmdLine, bool bShow)
{
    return m_ProcessSdk.SystemApi_Process_CreateProcess(pInt_ProcessId, lpszProcessName, lpszCmdLine, bShow);
}
bool SystemApi_Process_RunProcess(unsigned long* pInt_ProcessId, const char* lpszProcessName, const char* lpszArgv0,
                                  const char* lpszArgv1, bool bShow)
{
    return m_ProcessSdk.SystemApi_Process_RunProcess(pInt_ProcessId, lpszProcessName, lpszArgv0, lpszArgv1, bShow);
}
bool SystemApi_Process_Stop(const char* lpszProcessName, int nPid, bool bWaitSigchld)
{
    return m_ProcessSdk.SystemApi_Process_Stop(lpszProcessName, nPid, bWaitSigchld);
}
bool SystemApi_Process_GetProcessCpuUsage(int* pInt_Usage, int nPid)
{
    return m_ProcessSdk.SystemApi_Process_GetProcessCpuUsage(pInt_Usage, nPid);
}
bool SystemApi_Process_GetUpTime(TOLVANE_LIBTIME* pSt_Time, int nPid)
{
    return m_ProcessSdk.SystemApi_Process_GetUpTime(pSt_Time, nPid);
}
bool SystemApi_Process_GetPath(char* ptszPath, int nPid)
{
    return m_ProcessSdk.SystemApi_Process_GetPath(ptszPath, nPid);
}
bool SystemApi_Process_IsAdmin(void)
{
    return m_ProcessSdk.SystemApi_Process_IsAdmin();
}
bool SystemApi_Process_GetPriority(int* pInt_Priority, int nPid)
{
    return m_ProcessSdk.SystemApi_Process_GetPriority(pInt_Priority, nPid);
}
bool SystemApi_Process_SetPriority(int nPriority, int nPid)
{
    return m_ProcessSdk.SystemApi_Process_SetPriority(nPriority, nPid);
}
bool SystemApi_Process_SetProcessForCpu(int nPid, unsigned long nCpuNumber)
{
    return m_ProcessSdk.SystemApi_Process_SetProcessForCpu(nPid, nCpuNumber);
}
bool SystemApi_Process_GetProcessForCpu(int nPid, unsigned long* pInt_CpuMask)
{
    return m_ProcessSdk.SystemApi_Process_GetProcessForCpu(nPid, pInt_CpuMask);
}

// The system
bool SystemApi_System_GetSystemVer(char* ptszOSName, char* ptszOSVersion, char* ptszOSBuild,
                                   unsigned long* pInt_OSType, char* ptszKernel)
{
    return m_SystemSdk.SystemApi_System_GetSystemVer(ptszOSName, ptszOSVersion, ptszOSBuild, pInt_OSType, ptszKernel);
}
bool SystemApi_System_GetSysName(char* ptszUserName, char* ptszSysName)
{
    return m_SystemSdk.SystemApi_System_GetSysName(ptszUserName, ptszSysName);
}
bool SystemApi_System_GetMemoryUsage(tag_SystemApi_Memory_Infomation* pSt_MemoryInfo, int nType)
{
    return m_SystemSdk.SystemApi_System_GetMemoryUsage(pSt_MemoryInfo, nType);
}
bool SystemApi_System_GetCpuUsage(int* pInt_Usage)
{
    return m_SystemSdk.SystemApi_System_GetCpuUsage(pInt_Usage);
}
bool SystemApi_System_GetSysIdleTime(unsigned long* pInt_IdleTime)
{
    return m_SystemSdk.SystemApi_System_GetSysIdleTime(*pInt_IdleTime);
}
bool SystemApi_System_GetProcessList(SYSTEMAPI_PROCESS_INFO*** pppSt_ProcessList, int* pInt_ListCount)
{
    return m_SystemSdk.SystemApi_System_GetProcessList(pppSt_ProcessList, pInt_ListCount);
}
bool SystemApi_System_GetProcessCount(int* pInt_ProcessCount)
{
    return m_SystemSdk.SystemApi_System_GetProcessCount(pInt_ProcessCount);
}
bool SystemApi_System_GetUpTime(TOLVANE_LIBTIME* pSt_SysTime)
{
    return m_SystemSdk.SystemApi_System_GetUpTime(pSt_SysTime);
}
bool SystemApi_System_Shutdown(unsigned long dwType)
{
    return m_SystemSdk.SystemApi_System_Shutdown(dwType);
}
bool SystemApi_System_SystemEx(const char* lpszCmd, int nTimeout)
{
    return m_SystemSdk.SystemApi_System_SystemEx(lpszCmd, nTimeout);
}
bool SystemApi_System_WMIQuery(const char* lpszQuery, const char* lpszField, char* ptszValue, int nValueLen)
{
    return m_SystemSdk.SystemApi_System_WMIQuery(lpszQuery, lpszField, ptszValue, nValueLen);
}
