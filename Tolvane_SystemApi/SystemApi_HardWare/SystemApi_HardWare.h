#pragma once

/// The hardware. The operations are described in Tolvane_SystemApi.h.

#include <Tolvane_SystemApi.h>

class SYSTEMAPI_EXPORT CSystemApi_HardWare
{
public:
    CSystemApi_HardWare();
    ~CSystemApi_HardWare();
};

extern SYSTEMAPI_EXPORT CSystemApi_HardWare m_Hardware;
