// SPDX-License-Identifier: MIT
#pragma once

/// \file
/// Processes. The operations are described in Tolvane_SystemApi.h.

#include <Tolvane_SystemApi.h>

/// The process operations, each named as the C function that forwards to it. The class has no data.
class SYSTEMAPI_EXPORT CSystemApi_Process
{
public:
    CSystemApi_Process();  ///< Does nothing.
    ~CSystemApi_Process(); ///< Does nothing.

    /// Runs a shell command and takes a run of lines of its output.
    bool SystemApi_Process_ReadCmdReturn(const char* lpszCmd, char* ptszMsgBuffer, int nReadLines, int nStartLine,
                                         int* pInt_Len);
    /// What is known of one process, by name or id.
    bool SystemApi_Process_GetProcessInfo(tag_SystemApi_Process_Infomation* pSt_ProcessInfo,
                                          const char* lpszProcessName, int nPid);
    /// Starts a program with an empty environment and tells its id.
    bool SystemApi_Process_CreateProcess(unsigned long* pInt_ProcessId, const char* lpszProcessName,
                                         const char* lpszCmdLine, bool bShow);
    /// Forks and becomes a program; comes back in the child when that fails.
    bool SystemApi_Process_RunProcess(unsigned long* pInt_ProcessId, const char* lpszProcessName,
                                      const char* lpszArgv0, const char* lpszArgv1, bool bShow);
    /// Sends SIGINT to a process found by name or id, and waits for a child.
    bool SystemApi_Process_Stop(const char* lpszProcessName, int nPid, bool bWaitSigchld);
    /// Turns the state letter of a stat entry into a code.
    ///
    /// \param[in]  cState     R, S, D, Z, T and W give 0 to 5, any other letter 6
    /// \param[out] pInt_State receives the code; must not be null
    /// \return true, always.
    bool SystemApi_Process_AppState(char cState, unsigned long* pInt_State);
    /// Processor usage, per cent.
    bool SystemApi_Process_GetProcessCpuUsage(int* pInt_Usage, int nPid);
    /// Local time of a process's start.
    bool SystemApi_Process_GetUpTime(TOLVANE_LIBTIME* pSt_Time, int nPid);
    /// Path of a process's executable.
    bool SystemApi_Process_GetPath(char* ptszPath, int nPid);
    /// Whether the caller is the superuser.
    bool SystemApi_Process_IsAdmin();
    /// Reads a nice value.
    bool SystemApi_Process_GetPriority(int* pInt_Priority, int nPid);
    /// Sets the nice value -20.
    bool SystemApi_Process_SetPriority(int nPriority, int nPid);
    /// Binds a thread to one processor.
    bool SystemApi_Process_SetProcessForCpu(int nPid, unsigned long nCpuNumber);
    /// The processors that a thread may run on, added to a mask.
    bool SystemApi_Process_GetProcessForCpu(int nPid, unsigned long* pInt_CpuMask);
};

/// The object that the C functions forward to.
extern SYSTEMAPI_EXPORT CSystemApi_Process m_ProcessSdk;
