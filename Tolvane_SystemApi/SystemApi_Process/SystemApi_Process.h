#pragma once

/// Processes. The operations are described in Tolvane_SystemApi.h.

#include <Tolvane_SystemApi.h>

class SYSTEMAPI_EXPORT CSystemApi_Process
{
public:
    CSystemApi_Process();
    ~CSystemApi_Process();

    /// Runs a shell command and takes a run of lines of its output.
    bool SystemApi_Process_ReadCmdReturn(const char* lpszCmd, char* ptszMsgBuffer, int nReadLines, int nStartLine,
                                         int* pInt_Len);
};

extern SYSTEMAPI_EXPORT CSystemApi_Process m_ProcessSdk;
