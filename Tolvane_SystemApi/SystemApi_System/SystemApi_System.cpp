#include "SystemApi_System.h"

#include "../RowTable.h"
#include "../SystemApi_Process/CommandOutput.h"
#include "../SystemApi_Process/UserName.h"
#include "../Truncate.h"
#include "../pch.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <dirent.h>
#include <list>
#include <strings.h>
#include <sys/sysinfo.h>
#include <sys/utsname.h>
#include <unistd.h>

// Kept out of line on purpose: where the global object stands GCC could drop the calls, and with them the order
// at load and at unload.
CSystemApi_System::CSystemApi_System() = default;
CSystemApi_System::~CSystemApi_System() = default;

/* ---------------------------------------------------------------------------------------------------
 * Version and names
 * ------------------------------------------------------------------------------------------------- */

namespace
{
/// Kept on purpose: names are compared by their beginning alone.
bool BeginsWith(const char* lpszText, const char* lpszName)
{
    return std::strncmp(lpszText, lpszName, std::strlen(lpszName)) == 0;
}
bool BeginsWithAnyCase(const char* lpszText, const char* lpszName)
{
    return strncasecmp(lpszText, lpszName, std::strlen(lpszName)) == 0;
}
} // namespace

bool CSystemApi_System::SystemApi_System_GetSystemVer(char* ptszOSName, char* ptszOSVersion, char* ptszOSBuild,
                                                      unsigned long* pInt_OSType, char* ptszKernel)
{
    constexpr unsigned long dwThisPlatform = 2;

    ClearError();
    if (!ptszOSName || !ptszOSVersion || !ptszOSBuild || !pInt_OSType)
        return Fail(ERROR_SYSTEMAPI_SYSTEM_GETSYSTEMVER_PARAMETER);
    utsname st_Kernel = {};
    if (uname(&st_Kernel) != 0)
        return Fail(ERROR_SYSTEMAPI_SYSTEM_GETSYSTEMVER_UNAME);
    if (ptszKernel)
        std::memcpy(ptszKernel, st_Kernel.release, std::strlen(st_Kernel.release) + 1);
    *pInt_OSType = dwThisPlatform;

    char tszRelease[BASELIB_TEXT_SIZE] = {};
    if (!ReadCommand("cat /etc/os-release", tszRelease))
        ClearError(); // a release file that cannot be read is no failure
    char* ptszRest = nullptr;
    for (const char* lpszLine = strtok_r(tszRelease, "\n", &ptszRest); lpszLine;
         lpszLine = strtok_r(nullptr, "\n", &ptszRest))
    {
        char tszKey[BASELIB_TEXT_SIZE] = {};
        char tszValue[BASELIB_TEXT_SIZE] = {};
        BaseLib_String_GetKeyValueA(lpszLine, "=", tszKey, tszValue, 1, 0, 0);
        if (BeginsWithAnyCase(tszKey, "NAME"))
            BaseLib_String_GetStartEndA(tszValue, ptszOSName, "\"", "\"", 0);
        else if (BeginsWithAnyCase(tszKey, "VERSION_ID"))
            BaseLib_String_GetStartEndA(tszValue, ptszOSVersion, "\"", "\"", 0);
        else if (BeginsWithAnyCase(tszKey, "VERSION"))
            BaseLib_String_GetStartEndA(tszValue, ptszOSBuild, "(", ")", 0);
    }
    return true;
}

bool CSystemApi_System::SystemApi_System_GetSysName(char* ptszUserName, char* ptszSysName)
{
    constexpr std::size_t nHostNameSize = 1024;

    ClearError();
    if (ptszUserName)
    {
        if (const auto Name = FindUserName(geteuid()))
            std::memcpy(ptszUserName, Name->c_str(), Name->size() + 1);
    }
    if (ptszSysName)
        gethostname(ptszSysName, nHostNameSize);
    return true;
}

/* ---------------------------------------------------------------------------------------------------
 * Memory
 * ------------------------------------------------------------------------------------------------- */

namespace
{
/// Takes the number of a line "Name:  123 kB"; a line without one leaves the field alone.
void ReadAmount(const char* lpszLine, unsigned long& nField)
{
    auto nAmount = static_cast<long long>(nField);
    std::sscanf(lpszLine, "%*s %lld", &nAmount); // NOLINT(cert-err34-c): what does not scan stays as it was
    nField = static_cast<unsigned long>(nAmount);
}

void ReadMemoryLine(const char* lpszLine, tag_SystemApi_Memory_Infomation& st_Memory)
{
    if (BeginsWith(lpszLine, "MemTotal"))
        ReadAmount(lpszLine, st_Memory.nMemoryTotal);
    if (BeginsWith(lpszLine, "MemAvailable"))
        ReadAmount(lpszLine, st_Memory.nMemoryAvailable);
    if (BeginsWith(lpszLine, "SwapTotal"))
        ReadAmount(lpszLine, st_Memory.nSwapTotal);
    if (BeginsWith(lpszLine, "SwapFree"))
        ReadAmount(lpszLine, st_Memory.nSwapFree);
    if (BeginsWith(lpszLine, "Shmem")) // Kept on purpose: ShmemHugePages and ShmemPmdMapped overwrite it.
        ReadAmount(lpszLine, st_Memory.nMemoryShared);
}

/// How far a number of bytes is shifted for a unit.
int UnitShift(int nType)
{
    switch (nType)
    {
    case 2:
        return 10;
    case 3:
        return 20;
    case 4:
        return 30;
    default:
        return 0;
    }
}
} // namespace

bool CSystemApi_System::SystemApi_System_GetMemoryUsage(tag_SystemApi_Memory_Infomation* pSt_MemoryInfo, int nType)
{
    ClearError();
    if (!pSt_MemoryInfo)
        return Fail(ERROR_SYSTEMAPI_SYSTEM_GETMEMORYUSAGE_PARAMETER);
    {
        CCommandOutput m_Table("cat /proc/meminfo");
        if (!m_Table)
            return Fail(ERROR_SYSTEMAPI_SYSTEM_GETMEMORYUSAGE_POPEN);
        std::string_view Piece;
        while (m_Table.ReadPiece(Piece))
        {
            char tszLine[CCommandOutput::nPieceMax + 1] = {};
            Piece.copy(tszLine, CCommandOutput::nPieceMax);
            ReadMemoryLine(tszLine, *pSt_MemoryInfo);
        }
    }

    const float fRatio =
        static_cast<float>(pSt_MemoryInfo->nMemoryAvailable) / static_cast<float>(pSt_MemoryInfo->nMemoryTotal);
    pSt_MemoryInfo->nMemoryLoad = TruncateToInt(100.0F - fRatio * 100.0F);

    unsigned long* const pnScaled[] = {&pSt_MemoryInfo->nMemoryTotal, &pSt_MemoryInfo->nMemoryAvailable,
                                       &pSt_MemoryInfo->nSwapTotal, &pSt_MemoryInfo->nSwapFree};
    for (unsigned long* pnField : pnScaled)
        *pnField = *pnField << 10 >> UnitShift(nType);     // from KiB to bytes, then to the unit
    pSt_MemoryInfo->nMemoryShared <<= 10;                  // Kept on purpose: in bytes in every unit.
    pSt_MemoryInfo->nMemoryReserved1 >>= UnitShift(nType); // Kept on purpose: scaled, though never filled.
    pSt_MemoryInfo->nMemoryReserved2 >>= UnitShift(nType);
    return true;
}

/* ---------------------------------------------------------------------------------------------------
 * Processes
 * ------------------------------------------------------------------------------------------------- */

namespace
{
constexpr int nLastUnlistedPid = 100; // Kept on purpose: the first hundred ids are never listed.

/// The process id that a folder of /proc is named for; 0 for any other entry.
int PidOfEntry(const dirent& st_Entry)
{
    if (st_Entry.d_type != DT_DIR || st_Entry.d_name[0] < '0' || st_Entry.d_name[0] > '9')
        return 0;
    return static_cast<int>(std::strtol(st_Entry.d_name, nullptr, 10));
}
} // namespace

bool CSystemApi_System::SystemApi_System_GetProcessList(SYSTEMAPI_PROCESS_INFO*** pppSt_ProcessList,
                                                        int* pInt_ListCount)
{
    static_assert(sizeof(SYSTEMAPI_PROCESS_INFO) == 1028, "callers release rows of 1028 bytes");

    ClearError();
    FolderHandle m_Folder(opendir("/proc"));
    if (!m_Folder)
        return Fail(ERROR_SYSTEMAPI_PROCESS_GETPATH_READLINK); // Kept on purpose: 0x040A3002, of the process block.

    std::list<SYSTEMAPI_PROCESS_INFO> List;
    // NOLINTNEXTLINE(concurrency-mt-unsafe): a stream of its own
    while (const dirent* pSt_Entry = readdir(m_Folder.get()))
    {
        const int nPid = PidOfEntry(*pSt_Entry);
        if (nPid <= nLastUnlistedPid)
            continue;
        // Straight into the zeroed record, up to the first null character: its first argument alone, however long
        // the command line is.
        SYSTEMAPI_PROCESS_INFO st_Process = {};
        char tszCommand[BASELIB_TEXT_SIZE] = {}; // holds every name: one of a folder is 255 bytes at most
        std::snprintf(tszCommand, sizeof(tszCommand), "cat /proc/%s/cmdline", pSt_Entry->d_name);
        if (!ReadCommand(tszCommand,
                         CAPTURE_TARGET{st_Process.tszProcessName, sizeof(st_Process.tszProcessName), true}))
            continue;
        st_Process.nPid = nPid;
        List.push_back(st_Process);
    }
    m_Folder.reset();
    ClearError(); // a process that could not be asked is left out, which is no failure

    CRowTable<SYSTEMAPI_PROCESS_INFO> m_Table(static_cast<long long>(List.size()), sizeof(SYSTEMAPI_PROCESS_INFO));
    long long nRow = 0;
    for (const SYSTEMAPI_PROCESS_INFO& st_Process : List)
        *m_Table[nRow++] = st_Process;
    *pInt_ListCount = static_cast<int>(List.size());
    *pppSt_ProcessList = m_Table.HandOver();
    return true;
}

bool CSystemApi_System::SystemApi_System_GetProcessCount(int* pInt_ProcessCount)
{
    ClearError();
    if (!pInt_ProcessCount)
        return Fail(ERROR_SYSTEMAPI_SYSTEM_GETPROCESSCOUNT_PARAMETER);
    struct sysinfo st_Info = {};
    if (sysinfo(&st_Info) != 0)
        return Fail(ERROR_SYSTEMAPI_SYSTEM_GETPROCESSCOUNT_SYSINFO);
    *pInt_ProcessCount = st_Info.procs;
    return true;
}
