#pragma once

/// Files and folders. The operations are described in Tolvane_SystemApi.h.

#include <Tolvane_SystemApi.h>

class SYSTEMAPI_EXPORT CSystemApi_File
{
public:
    CSystemApi_File();
    ~CSystemApi_File();
};

extern SYSTEMAPI_EXPORT CSystemApi_File m_FileSdk;
