#include "SystemApi_Process.h"

#include "../pch.h"
#include "CommandOutput.h"

// Kept out of line on purpose: where the global object stands GCC could drop the calls, and with them the order
// at load and at unload.
CSystemApi_Process::CSystemApi_Process() = default;
CSystemApi_Process::~CSystemApi_Process() = default;

bool CSystemApi_Process::SystemApi_Process_ReadCmdReturn(const char* lpszCmd, char* ptszMsgBuffer, int nReadLines,
                                                         int nStartLine, int* pInt_Len)
{
    return ReadCommand(lpszCmd, CAPTURE_TARGET{ptszMsgBuffer, nUnbounded, false}, nReadLines, nStartLine, pInt_Len);
}
