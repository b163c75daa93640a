// SPDX-License-Identifier: MIT
#include "SystemApi_HardWare/SystemApi_HardWare.h"

#include "OwnProcess.h"
#include "Sandbox.h"

#include <cstring>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <malloc.h>
#include <string>
#include <sys/mount.h>
#include <sys/stat.h>
#include <unistd.h>
#include <vector>

namespace
{
TEST(DiskInfo, KindOfEachFileSystemAndSizesInTheUnitAskedFor)
{
    constexpr unsigned long nBlocks = (1UL << 41) - 1; // beyond 32 bits, and a whole number in no unit but bytes
    constexpr unsigned long nAvailable = (1UL << 40) + 1;
    const struct
    {
        const char* lpszWhy;
        long nMagic;
        int nUnit;
        unsigned nKind;
        int nShift;
        bool bDone = true;
    } st_Rows[] = {
#include "../../data/HardWare/FileSystems.inc"
    };
    for (const auto& st_Row : st_Rows)
    {
        SCOPED_TRACE(st_Row.lpszWhy);
        StandIns().StatFs = [&](const char*, struct statfs* pSt_Fs) {
            *pSt_Fs = {};
            pSt_Fs->f_type = st_Row.nMagic;
            pSt_Fs->f_blocks = nBlocks;
            pSt_Fs->f_bavail = nAvailable;
            pSt_Fs->f_bfree = nBlocks; // what the superuser may take as well
            pSt_Fs->f_bsize = 1023;
            return 0;
        };
        tag_SystemApi_Disk_Information st_Disk = {-7, 99, 0, 0};
        EXPECT_EQ(SystemApi_HardWare_GetDiskInfomation("/", &st_Disk, st_Row.nUnit), st_Row.bDone);
        EXPECT_EQ(SystemApi_IsErrorOccur, !st_Row.bDone);
        EXPECT_EQ(st_Disk.enDiskType, st_Row.nKind);
        EXPECT_EQ(st_Disk.dwDiskTotal, nBlocks * 1023 >> st_Row.nShift);
        EXPECT_EQ(st_Disk.dwDiskFree, nAvailable * 1023 >> st_Row.nShift);
        EXPECT_EQ(st_Disk.nReserved, -7);
    }
    EXPECT_EQ(SystemApi_GetLastError(nullptr), ERROR_SYSTEMAPI_HARDWARE_GETDISKINFO_TYPE);
    StandIns() = {};
}

/// The names; "refused" where the table is too short.
std::vector<std::string> ListDisks()
{
    char** pptszNames = nullptr;
    int nCount = -1;
    if (!SystemApi_HardWare_GetDiskNumber(&pptszNames, &nCount))
    {
        EXPECT_EQ(SystemApi_GetLastError(nullptr), ERROR_SYSTEMAPI_HARDWARE_GETDISKNUMBER_OPEN);
        EXPECT_TRUE(!pptszNames && nCount == -1);
        return {"refused"};
    }
    EXPECT_FALSE(SystemApi_IsErrorOccur);
    std::vector<std::string> Names(pptszNames, pptszNames + nCount);
    for (int nRow = 0; nRow < nCount; ++nRow)
    {
        EXPECT_EQ(std::string(pptszNames[nRow], 1024).find_last_not_of('\0') + 1, std::strlen(pptszNames[nRow]));
        std::memset(pptszNames[nRow], 'x', 1024);
    }
    EXPECT_EQ(pptszNames[nCount], nullptr);
    EXPECT_TRUE(BaseLib_Memory_Free(&pptszNames, nCount));
    return Names;
}

TEST(DiskList, NamesOfMajors8And259InFileOrder)
{
    const std::string Heading = "major minor  #blocks  name\n\n";
    const struct
    {
        const char* lpszWhy;
        std::string Table;
        std::vector<std::string> Names;
    } st_Rows[] = {
#include "../../data/HardWare/Partitions.inc"
    };
    RunSandboxed([&] {
        mallopt(M_PERTURB, 0x5A); // what is behind a name in the list is not zero by chance
        for (const auto& st_Row : st_Rows)
        {
            SCOPED_TRACE(st_Row.lpszWhy);
            LiftFakes();
            FakeFile("/proc/partitions", st_Row.Table);
            EXPECT_EQ(ListDisks(), st_Row.Names);
        }
        LiftFakes();
        ASSERT_EQ(mount("/proc/self/mem", "/proc/partitions", "none", MS_BIND, nullptr), 0);
        EXPECT_EQ(ListDisks(), std::vector<std::string>{"refused"}) << "a table that opens and cannot be read";
    });
}

int nWriter, nReader, nReaderFlags; // of a pipe in the place of the table

void WriteTheRest(int)
{
    nReaderFlags = write(nWriter, "da\n", 3) == 3 ? fcntl(nReader, F_GETFD) : -1;
    close(nWriter);
}

TEST(DiskList, ASignalDropsNoTextAndNoProgramInheritsTheTable)
{
    RunSandboxed([] {
        const CTempFolder m_Folder;
        const std::string Fifo = m_Folder / "fifo";
        ASSERT_EQ(mkfifo(Fifo.c_str(), 0600), 0);
        ASSERT_EQ(mount(Fifo.c_str(), "/proc/partitions", "none", MS_BIND, nullptr), 0);
        nWriter = open(Fifo.c_str(), O_RDWR | O_CLOEXEC);
        ASSERT_EQ(write(nWriter, "\n\n8 0 1 s", 9), 9);
        nReader = dup(nWriter); // the descriptor that the library gets
        close(nReader);
        sysv_signal(SIGALRM, WriteTheRest); // interrupts a read
        ualarm(50000, 0);
        EXPECT_EQ(ListDisks(), std::vector<std::string>{"sda"});
        EXPECT_EQ(nReaderFlags, FD_CLOEXEC);
    });
}

TEST(CpuInfo, FieldsStandAtFixedPositions)
{
    const struct
    {
        const char* lpszWhy;
        std::string Table, Name, Vendor;
        int nSpeed;
        bool bDone = true;
    } st_Rows[] = {
#include "../../data/HardWare/Cpus.inc"
    };
    RunSandboxed([&] {
        StandIns().GetNProcs = [] {
            return 3;
        };
        StandIns().ProcessorsOnline = [] {
            return close(dup(STDOUT_FILENO)) == 0 ? 2L : -2L; // opens a file, as the C library's own does
        };
        for (const auto& st_Row : st_Rows)
        {
            SCOPED_TRACE(st_Row.lpszWhy);
            LiftFakes();
            FakeFile("/proc/cpuinfo", st_Row.Table);
            const CNoDescriptors m_AllButOne(1);
            tag_SystemApi_Cpu_Information st_Cpu = {"old", "old", -1, -1, -1};
            EXPECT_EQ(SystemApi_HardWare_GetCpuInfomation(&st_Cpu), st_Row.bDone);
            EXPECT_EQ(SystemApi_IsErrorOccur, !st_Row.bDone);
            EXPECT_EQ(st_Cpu.tszCpuName, st_Row.Name);
            EXPECT_EQ(st_Cpu.tszCpuVendor, st_Row.Vendor);
            EXPECT_EQ(st_Cpu.nCpuSpeed, st_Row.nSpeed);
            EXPECT_EQ(st_Cpu.nCpuNumber, st_Row.bDone ? 2 : -1);
            EXPECT_EQ(st_Cpu.nCpuCore, 3) << "stored before the table is opened";
        }
        EXPECT_EQ(SystemApi_GetLastError(nullptr), ERROR_SYSTEMAPI_HARDWARE_GETCPUINFO_READ);
    });
}

using FIELDS = std::vector<std::string>; // processor, board, disk, system

/// So many characters of each.
FIELDS AllPrint(std::size_t nCount)
{
    return {"printf 'ID: 0\\nID: " + std::string(nCount, '1') + "\\n'", "echo " + std::string(nCount, 'b'),
            "echo 'x U=\"" + std::string(nCount, 'd') + "\"'", "echo " + std::string(nCount, 'u')};
}

TEST(Serial, TakesAppendsAndCleansWhatTheToolsPrint)
{
    constexpr const char* lpszEchoDevice = R"(printf 'x U="%s"\n' "$2")";
    constexpr std::size_t nFieldSize = 64;
    const struct
    {
        const char* lpszWhy;
        FIELDS Commands, Fields, Before = {};
    } st_Rows[] = {
#include "../../data/HardWare/Serials.inc"
    };
    const CFakeTools m_Tools;
    for (const auto& st_Row : st_Rows)
    {
        SCOPED_TRACE(st_Row.lpszWhy);
        m_Tools.Add("sudo", "case \"$*\" in\n'dmidecode -t 4') " + st_Row.Commands[0] +
                                ";;\n'cat /sys/class/dmi/id/board_serial') " + st_Row.Commands[1] + ";;\nblkid*) " +
                                st_Row.Commands[2] + ";;\n'cat /sys/class/dmi/id/product_uuid') " +
                                st_Row.Commands[3] + ";;\n*) exit 1;; esac");
        const std::string Guard = "bytes around it";
        std::string Room = Guard + std::string(sizeof(tag_SystemApi_SdkSerial_Information), '\0') + Guard;
        char* const pRecord = Room.data() + Guard.size();
        for (std::size_t nField = 0; nField < st_Row.Before.size(); ++nField)
            st_Row.Before[nField].copy(pRecord + nField * nFieldSize, nFieldSize);
        EXPECT_TRUE(SystemApi_HardWare_GetSerial(reinterpret_cast<tag_SystemApi_SdkSerial_Information*>(pRecord)));
        EXPECT_FALSE(SystemApi_IsErrorOccur);
        for (std::size_t nField = 0; nField < st_Row.Fields.size(); ++nField)
        {
            const char* const lpszField = pRecord + nField * nFieldSize;
            const std::size_t nLength = std::max(strnlen(lpszField, nFieldSize), st_Row.Fields[nField].size());
            EXPECT_EQ(std::string(lpszField, nLength), st_Row.Fields[nField]);
        }
        EXPECT_EQ(Room.substr(0, Guard.size()), Guard);
        EXPECT_EQ(Room.substr(Room.size() - Guard.size()), Guard);
    }
}

TEST(Serial, ACommandThatCannotBeRunIsNoFailure)
{
    tag_SystemApi_SdkSerial_Information st_Serial = {};
    const CNoDescriptors m_None;
    EXPECT_TRUE(SystemApi_HardWare_GetSerial(&st_Serial));
    EXPECT_FALSE(SystemApi_IsErrorOccur);
    EXPECT_STREQ(st_Serial.tszDiskSerial, "");
    EXPECT_EQ(SystemApi_GetLastError(nullptr), ERROR_SYSTEMAPI_PROCESS_READCMD_POPEN) << "the stale code stays";
}
} // namespace
