// SPDX-License-Identifier: MIT
#pragma once

/// \file
/// The hardware. The operations are described in Tolvane_SystemApi.h.

#include <Tolvane_SystemApi.h>

/// The hardware operations, each named as the C function that forwards to it. The class has no data.
class SYSTEMAPI_EXPORT CSystemApi_HardWare
{
public:
    CSystemApi_HardWare();  ///< Does nothing.
    ~CSystemApi_HardWare(); ///< Does nothing.

    /// Kind and size of the file system that holds a path.
    bool SystemApi_HardWare_GetDiskInfomation(const char* lpszDiskName, tag_SystemApi_Disk_Information* pSt_DiskInfo,
                                              int nDiskType);
    /// The disks and partitions of majors 8 and 259.
    bool SystemApi_HardWare_GetDiskNumber(char*** pppszRootName, int* pInt_ListCount);
    /// The processor's name, vendor, clock rate and counts.
    bool SystemApi_HardWare_GetCpuInfomation(tag_SystemApi_Cpu_Information* pSt_CpuInfo);
    /// Serial numbers and UUIDs of processor, mainboard, disk and system.
    bool SystemApi_HardWare_GetSerial(tag_SystemApi_SdkSerial_Information* pSt_SDKSerial);
};

/// The object that the C functions forward to.
extern SYSTEMAPI_EXPORT CSystemApi_HardWare m_Hardware;
