// SPDX-License-Identifier: MIT
/// Questions with short answers: a path's attributes, memory, disks, processor, version, count.
#include "Plan.h"
#include "Psutil.h"
#include "Support.h"

#include <Tolvane_SystemApi.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <memory>
#include <sstream>
#include <string_view>
#include <sys/stat.h>
#include <sys/statvfs.h>
#include <sys/sysinfo.h>
#include <sys/utsname.h>
#include <sys/vfs.h>
#include <thread>

#ifdef HAVE_BOOST_FILESYSTEM
#include <boost/filesystem.hpp>
#endif
#ifdef HAVE_GLIB
#include <glib.h>
#endif
#ifdef HAVE_LIBPROC2
#include <libproc2/meminfo.h>
#endif
#ifdef HAVE_LIBSTATGRAB
#include <statgrab.h>
#endif

namespace
{
namespace fs = std::filesystem;

using FUNCTION = long long (*)(bool);

/// Lines of a file or a command, one call of Take(line) each.
template <typename Taker>
void ByLines(FILE* pStream, const Taker& Take)
{
    Require(pStream != nullptr, "a stream");
    char tszLine[2048];
    while (fgets(tszLine, sizeof(tszLine), pStream))
        Take(tszLine);
}

/// The same of text in memory, which is cut into its lines.
template <typename Taker>
void ByLines(char* ptszText, const Taker& Take)
{
    for (char* pEnd = nullptr; (pEnd = std::strchr(ptszText, '\n')) != nullptr; ptszText = pEnd + 1)
    {
        *pEnd = '\0';
        Take(ptszText);
    }
}

/// A file in one go; what is beyond the buffer stays away.
void ReadFile(const char* lpszPath, char* ptszText, std::size_t nSize)
{
    const int nFile = open(lpszPath, O_RDONLY | O_CLOEXEC);
    std::size_t nEnd = 0;
    for (ssize_t nRead = 0; (nRead = read(nFile, ptszText + nEnd, nSize - 1 - nEnd)) > 0;)
        nEnd += static_cast<std::size_t>(nRead);
    close(nFile);
    ptszText[nEnd] = '\0';
}

/* ---------------------------------------------------------------------------------------------------
 * Attributes
 * ------------------------------------------------------------------------------------------------- */

constexpr const char* lpszPath = "/etc/os-release";

long long AttributesByLibrary(bool)
{
    SYSTEMAPI_FILE_ATTR st_Attr = {};
    SystemApi_File_GetFileAttrA(lpszPath, &st_Attr);
    return st_Attr.nFileSize + st_Attr.nWriteTime + st_Attr.bIsFile + st_Attr.bIsRead;
}
long long AttributesByStandard(bool)
{
    // What it has: the access and the change time are missing.
    const fs::directory_entry m_Entry{fs::path(lpszPath)};
    using namespace std::chrono;
    const auto WriteTime = file_clock::to_sys(m_Entry.last_write_time());
    return static_cast<long long>(m_Entry.file_size()) + floor<seconds>(WriteTime).time_since_epoch().count() +
           !m_Entry.is_directory() + (access(lpszPath, R_OK) == 0);
}
#ifdef HAVE_BOOST_FILESYSTEM
long long AttributesByBoost(bool)
{
    const boost::filesystem::path Path(lpszPath);
    return static_cast<long long>(boost::filesystem::file_size(Path)) + boost::filesystem::last_write_time(Path) +
           !boost::filesystem::is_directory(Path) + (access(lpszPath, R_OK) == 0);
}
#endif
long long AttributesByCalls(bool)
{
    struct stat st_Status = {};
    stat(lpszPath, &st_Status);
    const bool bIsRead = access(lpszPath, R_OK) == 0;
    return st_Status.st_size + st_Status.st_mtim.tv_sec + !S_ISDIR(st_Status.st_mode) + bIsRead;
}

/* ---------------------------------------------------------------------------------------------------
 * Memory
 * ------------------------------------------------------------------------------------------------- */

constexpr const char* lpszMemory = "/proc/meminfo";

/// The lines that the query is about.
class CMemoryScan
{
public:
    void Take(const char* lpszLine)
    {
        for (std::size_t nName = 0; nName < std::size(Names); ++nName)
        {
            if (std::strncmp(lpszLine, Names[nName].data(), Names[nName].size()) == 0)
                m_nAmounts[nName] = std::strtoll(lpszLine + std::strcspn(lpszLine, " "), nullptr, 10);
        }
    }
    [[nodiscard]] long long Total() const { return m_nAmounts[0]; }

private:
    static constexpr std::string_view Names[] = {"MemTotal", "MemAvailable", "SwapTotal", "SwapFree", "Shmem"};
    long long m_nAmounts[std::size(Names)] = {};
};

long long MemoryByLibrary(bool)
{
    tag_SystemApi_Memory_Infomation st_Memory = {};
    SystemApi_System_GetMemoryUsage(&st_Memory, 2);
    return static_cast<long long>(st_Memory.nMemoryTotal);
}
long long MemoryByPopen(bool)
{
    FILE* const pPipe = popen("cat /proc/meminfo", "re");
    CMemoryScan Scan;
    ByLines(pPipe, [&](const char* lpszLine) { Scan.Take(lpszLine); });
    pclose(pPipe);
    return Scan.Total();
}
#ifdef HAVE_GLIB
long long MemoryByGLib(bool)
{
    const char* lpszArguments[] = {"/bin/sh", "-c", "cat /proc/meminfo", nullptr};
    char* lpszOutput = nullptr;
    g_spawn_sync(nullptr, const_cast<char**>(lpszArguments), nullptr, G_SPAWN_LEAVE_DESCRIPTORS_OPEN, nullptr,
                 nullptr, &lpszOutput, nullptr, nullptr, nullptr);
    CMemoryScan Scan;
    ByLines(lpszOutput, [&](const char* lpszLine) { Scan.Take(lpszLine); });
    g_free(lpszOutput);
    return Scan.Total();
}
#endif
long long MemoryByBareCommand(bool)
{
    char tszText[8192];
    {
        const CBareCommand m_Command("cat /proc/meminfo");
        tszText[m_Command.Read(tszText, sizeof(tszText))] = '\0';
    }
    CMemoryScan Scan;
    ByLines(tszText, [&](const char* lpszLine) { Scan.Take(lpszLine); });
    return Scan.Total();
}
long long MemoryByReading(bool)
{
    char tszText[8192];
    ReadFile(lpszMemory, tszText, sizeof(tszText));
    CMemoryScan Scan;
    ByLines(tszText, [&](const char* lpszLine) { Scan.Take(lpszLine); });
    return Scan.Total();
}
#ifdef HAVE_LIBPROC2
long long MemoryByLibproc2(bool)
{
    meminfo_info* pInfo = nullptr;
    procps_meminfo_new(&pInfo);
    meminfo_item enItems[] = {MEMINFO_MEM_TOTAL, MEMINFO_MEM_AVAILABLE, MEMINFO_SWAP_TOTAL, MEMINFO_SWAP_FREE,
                              MEMINFO_MEM_SHARED};
    const meminfo_stack* const pSt_Stack = procps_meminfo_select(pInfo, enItems, std::size(enItems));
    const auto nTotal = static_cast<long long>(pSt_Stack->head[0].result.ul_int);
    procps_meminfo_unref(&pInfo);
    return nTotal;
}
#endif
#ifdef HAVE_LIBSTATGRAB
long long MemoryByLibstatgrab(bool)
{
    const sg_mem_stats* const pSt_Memory = sg_get_mem_stats(nullptr);
    sg_get_swap_stats(nullptr);
    return static_cast<long long>(pSt_Memory->total >> 10);
}
#endif

/* ---------------------------------------------------------------------------------------------------
 * Disks
 * ------------------------------------------------------------------------------------------------- */

long long DiskByLibrary(bool)
{
    tag_SystemApi_Disk_Information st_Disk = {};
    SystemApi_HardWare_GetDiskInfomation("/", &st_Disk, 3);
    return static_cast<long long>(st_Disk.dwDiskTotal);
}
long long DiskByStatvfs(bool)
{
    struct statvfs st_Fs = {};
    statvfs("/", &st_Fs);
    return static_cast<long long>(st_Fs.f_blocks * st_Fs.f_frsize >> 20);
}
long long DiskByStandard(bool)
{
    return static_cast<long long>(fs::space("/").capacity >> 20);
}
#ifdef HAVE_BOOST_FILESYSTEM
long long DiskByBoost(bool)
{
    return static_cast<long long>(boost::filesystem::space("/").capacity >> 20);
}
#endif
long long DiskByStatfs(bool)
{
    struct statfs st_Fs = {};
    statfs("/", &st_Fs);
    return static_cast<long long>(st_Fs.f_blocks * static_cast<unsigned long>(st_Fs.f_bsize) >> 20);
}

constexpr const char* lpszPartitions = "/proc/partitions";

bool IsListed(int nMajor)
{
    return nMajor == 8 || nMajor == 259;
}

long long DisksByLibrary(bool)
{
    char** ppszNames = nullptr;
    int nCount = 0;
    SystemApi_HardWare_GetDiskNumber(&ppszNames, &nCount);
    BaseLib_Memory_Free(&ppszNames, nCount);
    return nCount;
}
long long DisksByC(bool)
{
    std::vector<std::string> Names;
    FILE* const pFile = fopen(lpszPartitions, "re");
    ByLines(pFile, [&](const char* lpszLine) {
        int nMajor = 0;
        int nMinor = 0;
        long long nBlocks = 0;
        char tszName[1024];
        if (std::sscanf(lpszLine, "%d %d %lld %1023s", &nMajor, &nMinor, &nBlocks, tszName) == 4 && IsListed(nMajor))
            Names.emplace_back(tszName);
    });
    fclose(pFile);
    return static_cast<long long>(Names.size());
}
long long DisksByStream(bool)
{
    std::vector<std::string> Names;
    std::ifstream Stream(lpszPartitions);
    for (std::string Line; std::getline(Stream, Line);)
    {
        std::istringstream Fields(Line);
        int nMajor = 0;
        int nMinor = 0;
        long long nBlocks = 0;
        std::string Name;
        if (Fields >> nMajor >> nMinor >> nBlocks >> Name && IsListed(nMajor))
            Names.push_back(Name);
    }
    return static_cast<long long>(Names.size());
}
long long DisksByReading(bool)
{
    char tszText[65536];
    ReadFile(lpszPartitions, tszText, sizeof(tszText));
    std::vector<std::string> Names;
    ByLines(tszText, [&](const char* lpszLine) {
        if (IsListed(std::atoi(lpszLine)))
            Names.emplace_back(std::strrchr(lpszLine, ' ') + 1);
    });
    return static_cast<long long>(Names.size());
}

/* ---------------------------------------------------------------------------------------------------
 * The processor
 * ------------------------------------------------------------------------------------------------- */

constexpr const char* lpszProcessors = "/proc/cpuinfo";

/// The value of a line "key : value", its line end left out.
std::string ValueOf(const char* lpszLine)
{
    const char* const lpszValue = std::strstr(lpszLine, ": ");
    return lpszValue ? std::string(lpszValue + 2, std::strcspn(lpszValue + 2, "\n")) : std::string();
}

/// Vendor, name and speed, from the first processor's lines, and both counts.
class CProcessorScan
{
public:
    CProcessorScan() : m_nCores(std::thread::hardware_concurrency()) {}

    /// True when no more lines are needed.
    bool Take(const char* lpszLine)
    {
        if (++m_nLine == 2)
            m_Vendor = ValueOf(lpszLine);
        if (m_nLine == 5)
            m_Name = ValueOf(lpszLine);
        if (m_nLine == 8)
            m_nSpeed = std::atoi(ValueOf(lpszLine).c_str());
        return m_nLine == 8;
    }
    [[nodiscard]] long long Found() const
    {
        const long nOnline = sysconf(_SC_NPROCESSORS_ONLN);
        return static_cast<long long>(m_Name.size() + m_Vendor.size() + m_nCores) + nOnline;
    }

private:
    unsigned m_nCores;
    int m_nLine = 0;
    int m_nSpeed = 0;
    std::string m_Vendor, m_Name;
};

long long ProcessorByLibrary(bool)
{
    tag_SystemApi_Cpu_Information st_Cpu = {};
    SystemApi_HardWare_GetCpuInfomation(&st_Cpu);
    return static_cast<long long>(std::strlen(st_Cpu.tszCpuName) + std::strlen(st_Cpu.tszCpuVendor)) +
           st_Cpu.nCpuCore + st_Cpu.nCpuNumber;
}
long long ProcessorByC(bool)
{
    CProcessorScan Scan;
    FILE* const pFile = fopen(lpszProcessors, "re");
    Require(pFile != nullptr, lpszProcessors);
    char tszLine[1024];
    while (fgets(tszLine, sizeof(tszLine), pFile) && !Scan.Take(tszLine))
        ;
    fclose(pFile);
    return Scan.Found();
}
long long ProcessorByStream(bool)
{
    CProcessorScan Scan;
    {
        std::ifstream Stream(lpszProcessors);
        for (std::string Line; std::getline(Stream, Line) && !Scan.Take(Line.c_str());)
            ;
    }
    return Scan.Found();
}
long long ProcessorByReading(bool)
{
    CProcessorScan Scan;
    char tszText[1024]; // holds the first lines, and the kernel makes no more than are read
    const int nFile = open(lpszProcessors, O_RDONLY | O_CLOEXEC);
    const ssize_t nRead = read(nFile, tszText, sizeof(tszText) - 1);
    close(nFile);
    tszText[nRead] = '\0';
    bool bDone = false;
    ByLines(tszText, [&](const char* lpszLine) { bDone = bDone || Scan.Take(lpszLine); });
    return Scan.Found();
}

/* ---------------------------------------------------------------------------------------------------
 * Version and count
 * ------------------------------------------------------------------------------------------------- */

/// Name, version and code name of the distribution, and the kernel's release.
class CVersionScan
{
public:
    void Take(const char* lpszLine)
    {
        const std::string_view Line(lpszLine, std::strcspn(lpszLine, "\n"));
        const auto m_Between = [&](char chBegin, char chEnd) {
            const std::size_t nBegin = Line.find(chBegin) + 1;
            return Line.substr(nBegin, Line.find(chEnd, nBegin) - nBegin);
        };
        if (Line.starts_with("NAME="))
            m_Name = m_Between('"', '"');
        else if (Line.starts_with("VERSION_ID="))
            m_Version = m_Between('"', '"');
        else if (Line.starts_with("VERSION="))
            m_Build = m_Between('(', ')');
    }
    [[nodiscard]] long long Found() const
    {
        utsname st_Kernel = {};
        uname(&st_Kernel);
        return static_cast<long long>(m_Name.size() + m_Version.size() + m_Build.size() +
                                      std::strlen(st_Kernel.release));
    }

private:
    std::string m_Name, m_Version, m_Build;
};

long long VersionByLibrary(bool)
{
    char tszName[1024] = {};
    char tszVersion[1024] = {};
    char tszBuild[1024] = {};
    char tszKernel[65] = {};
    unsigned long dwType = 0;
    SystemApi_System_GetSystemVer(tszName, tszVersion, tszBuild, &dwType, tszKernel);
    return static_cast<long long>(std::strlen(tszName) + std::strlen(tszVersion) + std::strlen(tszBuild) +
                                  std::strlen(tszKernel));
}
long long VersionByPopen(bool)
{
    CVersionScan Scan;
    FILE* const pPipe = popen("cat /etc/os-release", "re");
    ByLines(pPipe, [&](const char* lpszLine) { Scan.Take(lpszLine); });
    pclose(pPipe);
    return Scan.Found();
}
long long VersionByBareCommand(bool)
{
    char tszText[8192];
    {
        const CBareCommand m_Command("cat /etc/os-release");
        tszText[m_Command.Read(tszText, sizeof(tszText))] = '\0';
    }
    CVersionScan Scan;
    ByLines(tszText, [&](const char* lpszLine) { Scan.Take(lpszLine); });
    return Scan.Found();
}
long long VersionByReading(bool)
{
    char tszText[8192];
    ReadFile("/etc/os-release", tszText, sizeof(tszText));
    CVersionScan Scan;
    ByLines(tszText, [&](const char* lpszLine) { Scan.Take(lpszLine); });
    return Scan.Found();
}

/// The count moves by itself: one that is near the present one is right.
long long IsNear(long long nCount)
{
    struct sysinfo st_Info = {};
    sysinfo(&st_Info);
    return std::llabs(nCount - st_Info.procs) < 20;
}

long long CountByLibrary(bool bCheck)
{
    int nCount = 0;
    SystemApi_System_GetProcessCount(&nCount);
    return bCheck ? IsNear(nCount) : nCount;
}
long long CountByC(bool bCheck)
{
    FILE* const pFile = fopen("/proc/loadavg", "re");
    long long nCount = 0;
    Require(pFile && std::fscanf(pFile, "%*s %*s %*s %*d/%lld", &nCount) == 1, "/proc/loadavg");
    fclose(pFile);
    return bCheck ? IsNear(nCount) : nCount;
}
long long CountBySysinfo(bool bCheck)
{
    struct sysinfo st_Info = {};
    sysinfo(&st_Info);
    return bCheck ? IsNear(st_Info.procs) : st_Info.procs;
}

struct WAY
{
    ROLE enRole;
    const char* lpszName;
    FUNCTION pfnAsk;
};

void AddQuery(PLAN& Plan, const char* lpszName, ROW st_Row, std::vector<WAY> Ways, ROLE enPsutil = ROLE::Extra,
              const char* lpszPsutil = nullptr)
{
    Plan.push_back({lpszName, 3, [st_Row = std::move(st_Row), Ways = std::move(Ways), enPsutil, lpszPsutil] {
                        GROUP st_Group;
                        for (const WAY& st_Way : Ways)
                            st_Group.Add(st_Way.enRole, st_Way.lpszName, st_Way.pfnAsk);
                        if (lpszPsutil && HasPsutil())
                            st_Group.Contenders.push_back(PsutilContender(enPsutil, lpszPsutil));
                        st_Group.AddRow(st_Row);
                        return st_Group;
                    }});
}
} // namespace

void PlanQueries(PLAN& Plan, const SETTINGS&)
{
#ifdef HAVE_LIBSTATGRAB
    sg_init(1);
#endif
    AddQuery(Plan, "attributes", {"attributes of a path", "", 0, 0.65, 1.03},
             {
                 {ROLE::Library, "library", AttributesByLibrary},
                 {ROLE::Peer, "std::filesystem", AttributesByStandard},
#ifdef HAVE_BOOST_FILESYSTEM
                 {ROLE::Peer, "Boost.Filesystem", AttributesByBoost},
#endif
                 {ROLE::Limit, "stat, access", AttributesByCalls},
             });
    AddQuery(Plan, "memory-usage", {"memory query", "", 0, 1.00, 1.03},
             {
                 {ROLE::Library, "library", MemoryByLibrary},
                 {ROLE::Peer, "popen, fgets", MemoryByPopen},
#ifdef HAVE_GLIB
                 {ROLE::Peer, "g_spawn_sync", MemoryByGLib},
#endif
                 {ROLE::Limit, "posix_spawn, read", MemoryByBareCommand},
                 {ROLE::OtherRule, "open, read", MemoryByReading},
#ifdef HAVE_LIBPROC2
                 {ROLE::OtherRule, "libproc2", MemoryByLibproc2},
#endif
#ifdef HAVE_LIBSTATGRAB
                 {ROLE::OtherRule, "libstatgrab", MemoryByLibstatgrab},
#endif
             },
             ROLE::OtherRule, "memory");
    AddQuery(Plan, "disk", {"disk query", "", 0, 1.00, 1.10},
             {
                 {ROLE::Library, "library", DiskByLibrary},
                 {ROLE::Peer, "statvfs", DiskByStatvfs},
                 {ROLE::Peer, "std::filesystem", DiskByStandard},
#ifdef HAVE_BOOST_FILESYSTEM
                 {ROLE::Peer, "Boost.Filesystem", DiskByBoost},
#endif
                 {ROLE::Limit, "statfs", DiskByStatfs},
             },
             ROLE::Peer, "disk");
    AddQuery(Plan, "disks", {"list of disks", "", 0, 1.00, 1.10},
             {{ROLE::Library, "library", DisksByLibrary},
              {ROLE::Peer, "fopen, sscanf", DisksByC},
              {ROLE::Peer, "std::ifstream", DisksByStream},
              {ROLE::Limit, "open, read", DisksByReading}});
    AddQuery(Plan, "processor", {"processor query", "", 0, 1.00, 1.10},
             {{ROLE::Library, "library", ProcessorByLibrary},
              {ROLE::Peer, "fopen, fgets", ProcessorByC},
              {ROLE::Peer, "std::ifstream", ProcessorByStream},
              {ROLE::Limit, "open, read", ProcessorByReading}});
    AddQuery(Plan, "version", {"version query", "", 0, 1.00, 1.03},
             {{ROLE::Library, "library", VersionByLibrary},
              {ROLE::Peer, "popen, fgets", VersionByPopen},
              {ROLE::Limit, "posix_spawn, read", VersionByBareCommand},
              {ROLE::OtherRule, "open, read", VersionByReading}});
    AddQuery(Plan, "count", {"count of tasks", "", 0, 1.00, 1.10},
             {{ROLE::Library, "library", CountByLibrary},
              {ROLE::Peer, "fopen, fscanf", CountByC},
              {ROLE::Limit, "sysinfo", CountBySysinfo}});
}
