// SPDX-License-Identifier: MIT
/// Makes one operation, or the bare calls that obey the same rules, so often: scripts/syscalls traces it.
#include <Tolvane_BaseLib.h>
#include <Tolvane_SystemApi.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <filesystem>
#include <sys/stat.h>
#include <sys/sysinfo.h>
#include <sys/utsname.h>
#include <sys/vfs.h>
#include <thread>
#include <unistd.h>

namespace
{
namespace fs = std::filesystem;

std::array<char, std::size_t{1} << 17> Buffer;

/// Reads to the end, or no more than once.
void Drain(int nDescriptor, bool bOnce = false)
{
    while (read(nDescriptor, Buffer.data(), Buffer.size()) > 0 && !bOnce)
    {}
}
void ReadFile(const char* lpszPath, bool bOnce = false)
{
    const int nFile = open(lpszPath, O_RDONLY | O_CLOEXEC);
    Drain(nFile, bOnce);
    close(nFile);
}
void WriteFile(const char* lpszPath, std::size_t nSize, std::size_t nBlock)
{
    const int nFile = open(lpszPath, O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0666);
    for (; nSize > 0; nSize -= std::min(nSize, nBlock))
        if (write(nFile, Buffer.data(), std::min(nSize, nBlock)) < 0)
            break;
    close(nFile);
}
void RunBare(const char* lpszCmd)
{
    FILE* const pPipe = popen(lpszCmd, "re");
    Drain(fileno(pPipe));
    pclose(pPipe);
}
void Capture(const char* lpszCmd)
{
    Buffer[0] = '\0';
    SystemApi_Process_ReadCmdReturn(lpszCmd, Buffer.data(), 0, 0, nullptr);
}
const struct
{
    const char* lpszName;
    void (*pfnCall)();
    void (*pfnBare)();
} st_Operations[] = {
    {"attributes of a path",
     [] {
         SYSTEMAPI_FILE_ATTR st_Attr;
         SystemApi_File_GetFileAttrA("/usr", &st_Attr);
     },
     [] {
         struct stat st_Stat;
         static_cast<void>(stat("/usr", &st_Stat) + access("/usr", R_OK));
     }},
    {"1 MiB of zeros", [] { SystemApi_File_CreateSparseFileA("zeros", 1 << 20); },
     [] {
         WriteFile("zeros", 1 << 20, 4096);
     }},
    {"save of 128 KiB", [] { SystemApi_File_SaveBuffToFileA("saved", Buffer.data(), 1 << 17); },
     [] {
         struct stat st_Stat;
         static_cast<void>(stat(".", &st_Stat) + access(".", R_OK));
         WriteFile("saved", 1 << 17, 1 << 17);
     }},
    {"copy of 1 MiB", [] { SystemApi_File_CopyFileA("zeros", "copy", false); },
     [] {
         struct stat st_Stat;
         static_cast<void>(stat(".", &st_Stat) + access(".", R_OK));
         fs::copy_file("zeros", "copy", fs::copy_options::overwrite_existing);
     }},
    {"disk",
     [] {
         tag_SystemApi_Disk_Information st_Disk;
         SystemApi_HardWare_GetDiskInfomation("/", &st_Disk, 1);
     },
     [] {
         struct statfs st_Fs;
         statfs("/", &st_Fs);
     }},
    {"disks",
     [] {
         char** ppDisks = nullptr;
         int nDisks = 0;
         SystemApi_HardWare_GetDiskNumber(&ppDisks, &nDisks);
         BaseLib_Memory_Free(&ppDisks, nDisks);
     },
     [] {
         ReadFile("/proc/partitions");
     }},
    {"processor",
     [] {
         tag_SystemApi_Cpu_Information st_Cpu;
         SystemApi_HardWare_GetCpuInfomation(&st_Cpu);
     },
     [] {
         std::thread::hardware_concurrency();
         ReadFile("/proc/cpuinfo", true);
         sysconf(_SC_NPROCESSORS_ONLN);
     }},
    {"idle time",
     [] {
         unsigned long nIdle = 0;
         SystemApi_System_GetSysIdleTime(&nIdle);
     },
     [] {
         ReadFile("/proc/stat", true);
     }},
    {"count of processes",
     [] {
         int nCount = 0;
         SystemApi_System_GetProcessCount(&nCount);
     },
     [] {
         struct sysinfo st_Info;
         sysinfo(&st_Info);
     }},
    {"memory",
     [] {
         tag_SystemApi_Memory_Infomation st_Memory = {};
         SystemApi_System_GetMemoryUsage(&st_Memory, 1);
     },
     [] {
         RunBare("cat /proc/meminfo");
     }},
    {"version",
     [] {
         char tszText[4][1024];
         unsigned long dwType = 0;
         SystemApi_System_GetSystemVer(tszText[0], tszText[1], tszText[2], &dwType, tszText[3]);
     },
     [] {
         utsname st_Name;
         uname(&st_Name);
         RunBare("cat /etc/os-release");
     }},
    {"capture of nothing", [] { Capture("true"); },
     [] {
         RunBare("true");
     }},
    {"capture of a line", [] { Capture("echo line"); },
     [] {
         RunBare("echo line");
     }},
    {"capture of 60,000 bytes", [] { Capture("cat lines"); },
     [] {
         RunBare("cat lines");
     }},
};
} // namespace

/// Without arguments: the names. Else: the number of an operation, "library" or "bare", and how often.
int main(int nArguments, char** ppArguments)
{
    if (nArguments != 4)
    {
        for (const auto& st_Operation : st_Operations)
            std::puts(st_Operation.lpszName);
        return 0;
    }
    const auto& st_Operation = st_Operations[std::strtoul(ppArguments[1], nullptr, 10)];
    const auto pfnCall = std::strcmp(ppArguments[2], "bare") == 0 ? st_Operation.pfnBare : st_Operation.pfnCall;
    for (long nTimes = std::strtol(ppArguments[3], nullptr, 10); nTimes > 0; --nTimes)
        pfnCall();
}
