// SPDX-License-Identifier: MIT
#include "SystemApi_HardWare.h"

#include "../KernelFile.h"
#include "../LineScan.h"
#include "../RowTable.h"
#include "../SystemApi_Process/CommandOutput.h"
#include "../Unit.h"
#include "../pch.h"

#include <cstddef>
#include <cstdio>
#include <cstring>
#include <string>
#include <string_view>
#include <strings.h>
#include <sys/vfs.h>
#include <thread>
#include <unistd.h>
#include <vector>

// Kept out of line on purpose: where the global object stands GCC could drop the calls, and with them the order
// at load and at unload.
CSystemApi_HardWare::CSystemApi_HardWare() = default;
CSystemApi_HardWare::~CSystemApi_HardWare() = default;

/* ---------------------------------------------------------------------------------------------------
 * Disks
 * ------------------------------------------------------------------------------------------------- */

namespace
{
/// The code of a file system, from the magic number that statfs gives.
unsigned int KindOf(const struct statfs& st_Fs)
{
    switch (st_Fs.f_type)
    {
    case 0x4D44: // FAT
        return 1;
    case 0x5346544E: // NTFS
        return 2;
    case 0xEF51: // old ext2
        return 3;
    case 0xEF53: // ext2, ext3, ext4
        return 4;
    default:
        return 0;
    }
}

void StoreInBytes(tag_SystemApi_Disk_Information& st_Disk, const struct statfs& st_Fs)
{
    const auto nBlockSize = static_cast<unsigned long>(st_Fs.f_bsize);
    st_Disk.enDiskType = KindOf(st_Fs);
    st_Disk.dwDiskTotal = st_Fs.f_blocks * nBlockSize;
    st_Disk.dwDiskFree = st_Fs.f_bavail * nBlockSize;
}

/// A line of the partition table.
struct PARTITION
{
    int nMajor;
    int nMinor;
    long long nBlocks; ///< of 1 KiB
    char tszName[1024];
};

/// What does not scan stays 0, a major number that no disk has.
PARTITION ReadPartition(const char* lpszLine)
{
    PARTITION st_Partition = {};
    CLineScan(lpszLine)
        .Number(st_Partition.nMajor)
        .Number(st_Partition.nMinor)
        .Number(st_Partition.nBlocks)
        .Word(st_Partition.tszName);
    return st_Partition;
}

bool IsListed(const PARTITION& st_Partition)
{
    constexpr int nScsiAndSata = 8;
    constexpr int nExtended = 259; // NVMe and others
    return st_Partition.nMajor == nScsiAndSata || st_Partition.nMajor == nExtended;
}
} // namespace

bool CSystemApi_HardWare::SystemApi_HardWare_GetDiskInfomation(const char* lpszDiskName,
                                                               tag_SystemApi_Disk_Information* pSt_DiskInfo,
                                                               int nDiskType)
{
    ClearError();
    if (!lpszDiskName || !pSt_DiskInfo)
        return Fail(ERROR_SYSTEMAPI_HARDWARE_GETDISKINFO_PARAMETER);
    struct statfs st_Fs = {};
    if (statfs(lpszDiskName, &st_Fs) != 0)
        return Fail(ERROR_SYSTEMAPI_HARDWARE_GETDISKINFO_STATFS);
    StoreInBytes(*pSt_DiskInfo, st_Fs); // Kept on purpose: stands even when the unit is refused.

    const auto nShift = UnitShift(nDiskType);
    if (!nShift)
        return Fail(ERROR_SYSTEMAPI_HARDWARE_GETDISKINFO_TYPE);
    pSt_DiskInfo->dwDiskTotal >>= *nShift;
    pSt_DiskInfo->dwDiskFree >>= *nShift;
    return true;
}

bool CSystemApi_HardWare::SystemApi_HardWare_GetDiskNumber(char*** pppszRootName, int* pInt_ListCount)
{
    constexpr int nHeadingLines = 2;
    constexpr int nRowSize = sizeof(PARTITION::tszName);

    ClearError();
    if (!pInt_ListCount)
        return Fail(ERROR_SYSTEMAPI_HARDWARE_GETDISKNUMBER_PARAMETER);
    CKernelFile m_Partitions("/proc/partitions");
    if (!m_Partitions || !m_Partitions.GoTo(nHeadingLines))
        return Fail(ERROR_SYSTEMAPI_HARDWARE_GETDISKNUMBER_OPEN);

    std::vector<std::string> List;
    while (m_Partitions.ReadLine())
    {
        const PARTITION st_Partition = ReadPartition(m_Partitions.Line());
        if (IsListed(st_Partition))
            List.emplace_back(st_Partition.tszName);
    }

    CRowTable<char> m_Table(static_cast<long long>(List.size()), nRowSize);
    for (std::size_t nRow = 0; nRow < List.size(); ++nRow)
        std::memcpy(m_Table[static_cast<long long>(nRow)], List[nRow].c_str(), List[nRow].size() + 1);
    *pInt_ListCount = static_cast<int>(List.size());
    *pppszRootName = m_Table.HandOver();
    return true;
}

/* ---------------------------------------------------------------------------------------------------
 * The processor
 * ------------------------------------------------------------------------------------------------- */

namespace
{
/// Where the kernel prints the first processor's fields on x86; lines count from 1. Kept on purpose: no key is
/// compared, so another processor family yields what stands there.
enum ProcessorTable
{
    nVendorLine = 2,
    nVendorWord = 3,
    nNameLine = 5,
    nSpeedLine = 8,
    nSpeedWord = 4 // in MHz
};

/// Copies what fits, the ending null character included.
void StoreCut(char* ptszDest, std::size_t nSize, std::string_view Text)
{
    ptszDest[Text.copy(ptszDest, nSize - 1)] = '\0';
}

/// Cuts the last character, whatever it is; an empty text stays empty.
void CutLast(char* ptszText)
{
    if (*ptszText != '\0')
        ptszText[std::strlen(ptszText) - 1] = '\0';
}

void ReadVendor(const char* lpszLine, tag_SystemApi_Cpu_Information& st_Cpu)
{
    st_Cpu.tszCpuVendor[0] = '\0';
    CLineScan(lpszLine).Skip(nVendorWord - 1).Word(st_Cpu.tszCpuVendor);
}

/// False for a line without a ": ".
bool ReadName(const char* lpszLine, tag_SystemApi_Cpu_Information& st_Cpu)
{
    constexpr std::string_view Separator = ": ";
    const char* const lpszSeparator = std::strstr(lpszLine, Separator.data());
    if (!lpszSeparator)
        return false;
    StoreCut(st_Cpu.tszCpuName, sizeof(st_Cpu.tszCpuName), lpszSeparator + Separator.size());
    CutLast(st_Cpu.tszCpuName); // the line end
    return true;
}

void ReadSpeed(const char* lpszLine, tag_SystemApi_Cpu_Information& st_Cpu)
{
    st_Cpu.nCpuSpeed = 0;
    CLineScan(lpszLine).Skip(nSpeedWord - 1).Number(st_Cpu.nCpuSpeed); // the fraction stays behind
}

/// False where the table ends too soon; what was read before stands.
bool ReadProcessorTable(tag_SystemApi_Cpu_Information& st_Cpu)
{
    CKernelFile m_Table("/proc/cpuinfo");
    if (!m_Table || !m_Table.GoTo(nVendorLine))
        return false;
    ReadVendor(m_Table.Line(), st_Cpu);
    if (!m_Table.GoTo(nNameLine) || !ReadName(m_Table.Line(), st_Cpu) || !m_Table.GoTo(nSpeedLine))
        return false;
    ReadSpeed(m_Table.Line(), st_Cpu);
    return true;
}
} // namespace

bool CSystemApi_HardWare::SystemApi_HardWare_GetCpuInfomation(tag_SystemApi_Cpu_Information* pSt_CpuInfo)
{
    ClearError();
    if (!pSt_CpuInfo)
        return Fail(ERROR_SYSTEMAPI_HARDWARE_GETCPUINFO_PARAMETER);
    pSt_CpuInfo->nCpuCore = static_cast<int>(std::thread::hardware_concurrency()); // whatever becomes of the table

    if (!ReadProcessorTable(*pSt_CpuInfo)) // closed again, since sysconf opens a file too
        return Fail(ERROR_SYSTEMAPI_HARDWARE_GETCPUINFO_READ);
    pSt_CpuInfo->nCpuNumber = static_cast<int>(sysconf(_SC_NPROCESSORS_ONLN));
    return true;
}

/* ---------------------------------------------------------------------------------------------------
 * Serial numbers
 * ------------------------------------------------------------------------------------------------- */

namespace
{
/// A field of the serial record. Its room goes on to the end of the record: a longer text runs into the fields
/// after it, as callers expect, and never past the record.
class CSerialField
{
public:
    CSerialField(tag_SystemApi_SdkSerial_Information& st_Serial, std::size_t nOffset)
        : m_ptszText(reinterpret_cast<char*>(&st_Serial) + nOffset), m_nRoom(sizeof(st_Serial) - nOffset)
    {}

    /// What it holds; all of its room where no null character ends it.
    [[nodiscard]] std::string_view Text() const { return {m_ptszText, strnlen(m_ptszText, m_nRoom)}; }

    void Store(std::string_view Text) { StoreCut(m_ptszText, m_nRoom, Text); }

    /// Appends lines of a command's output. A command that fails leaves the field as it was.
    void Append(const char* lpszCmd, int nReadLines = 0, int nStartLine = 1)
    {
        static_cast<void>(ReadCommand(lpszCmd, CAPTURE_TARGET{m_ptszText, m_nRoom, false}, nReadLines, nStartLine));
    }

    void Remove(const char* lpszSub)
    {
        if (IsEnded())
            BaseLib_String_DelSubA(m_ptszText, lpszSub, 1);
    }

    void CutLastCharacter()
    {
        if (IsEnded())
            CutLast(m_ptszText);
    }

    /// Whether it says that there is no number. Kept on purpose: by its first four characters, in any case.
    [[nodiscard]] bool IsPlaceholder() const
    {
        return strncasecmp(m_ptszText, "None", 4) == 0 || strncasecmp(m_ptszText, "null", 4) == 0;
    }

    void Clear() { std::memset(m_ptszText, 0, nFieldSize); }

private:
    static constexpr std::size_t nFieldSize = sizeof(tag_SystemApi_SdkSerial_Information::tszCpuSerial);

    [[nodiscard]] bool IsEnded() const { return Text().size() < m_nRoom; }

    char* m_ptszText;
    std::size_t m_nRoom;
};

/// Turns the device that the field holds into its UUID.
void ReadDiskSerial(CSerialField& Disk)
{
    if (Disk.Text().empty())
        Disk.Store("/dev/sda");
    const std::string_view Device = Disk.Text();
    char tszCommand[BASELIB_TEXT_SIZE] = {}; // holds every device: the record is shorter
    std::snprintf(tszCommand, sizeof(tszCommand), "sudo blkid %.*s | awk '{print $2}'",
                  static_cast<int>(Device.size()), Device.data());
    char tszOutput[BASELIB_TEXT_SIZE] = {};
    static_cast<void>(ReadCommand(tszCommand, tszOutput));
    char tszUUID[BASELIB_TEXT_SIZE] = {};
    if (BaseLib_String_GetStartEndA(tszOutput, tszUUID, "\"", "\"", 0))
        Disk.Store(tszUUID);
}
} // namespace

bool CSystemApi_HardWare::SystemApi_HardWare_GetSerial(tag_SystemApi_SdkSerial_Information* pSt_SDKSerial)
{
    using SERIAL = tag_SystemApi_SdkSerial_Information;
    constexpr int nSecondLine = 2; // Kept on purpose: with one processor ID in the listing there is none to take.

    ClearError();
    if (!pSt_SDKSerial)
        return Fail(ERROR_SYSTEMAPI_HARDWARE_GETSERIAL_PARAMETER);
    CSerialField m_Cpu(*pSt_SDKSerial, offsetof(SERIAL, tszCpuSerial));
    CSerialField m_Board(*pSt_SDKSerial, offsetof(SERIAL, tszBoardSerial));
    CSerialField m_Disk(*pSt_SDKSerial, offsetof(SERIAL, tszDiskSerial));
    CSerialField m_System(*pSt_SDKSerial, offsetof(SERIAL, tszSystemUUID));

    m_Cpu.Append("sudo dmidecode -t 4 | grep ID |sort -u | awk -F': ' '{print $2}'", 1, nSecondLine);
    m_Cpu.Remove(" ");
    m_Cpu.CutLastCharacter(); // the line end
    ReadDiskSerial(m_Disk);
    m_Board.Append("sudo cat /sys/class/dmi/id/board_serial");
    m_Board.Remove("\n");
    m_System.Append("sudo cat /sys/class/dmi/id/product_uuid");
    m_System.Remove("\n");
    ClearError(); // a command that could not be run is no failure

    for (CSerialField* const pField : {&m_Board, &m_Cpu, &m_Disk, &m_System})
    {
        if (pField->IsPlaceholder())
        {
            pField->Clear();
            break; // Kept on purpose: the later ones stay.
        }
    }
    return true;
}
