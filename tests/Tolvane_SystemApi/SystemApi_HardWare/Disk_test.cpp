#include "Fakes.h"
#include "Sandbox.h"
#include "StandIns.h"
#include "SystemApi_HardWare/SystemApi_HardWare.h"

#include <cerrno>
#include <gmock/gmock.h>
#include <string>
#include <vector>

namespace
{
/// What statfs tells of a path until the end of the scope.
class CFakeFileSystem
{
public:
    CFakeFileSystem(long nMagic, unsigned long nBlocks, unsigned long nAvailable, long nBlockSize)
    {
        StandIns().StatFs = [=](const char*, struct statfs* pSt_Fs) {
            *pSt_Fs = {};
            pSt_Fs->f_type = nMagic;
            pSt_Fs->f_blocks = nBlocks;
            pSt_Fs->f_bavail = nAvailable;
            pSt_Fs->f_bfree = nAvailable + 100; // what the superuser may take as well
            pSt_Fs->f_bsize = nBlockSize;
            return 0;
        };
    }
    ~CFakeFileSystem() { StandIns() = {}; }
    CFakeFileSystem(const CFakeFileSystem&) = delete;
    CFakeFileSystem& operator=(const CFakeFileSystem&) = delete;
};

TEST(DiskInfo, KindOfEachFileSystem)
{
    const struct
    {
        const char* lpszWhy;
        long nMagic;
        unsigned nKind;
    } st_Rows[] = {{"FAT", 0x4D44, 1},       {"NTFS", 0x5346544E, 2},  {"old ext2", 0xEF51, 3}, {"ext4", 0xEF53, 4},
                   {"tmpfs", 0x01021994, 0}, {"btrfs", 0x9123683E, 0}, {"exFAT", 0x2011BAB0, 0}};
    for (const auto& st_Row : st_Rows)
    {
        SCOPED_TRACE(st_Row.lpszWhy);
        const CFakeFileSystem m_Fs(st_Row.nMagic, 3, 2, 512);
        tag_SystemApi_Disk_Information st_Disk = {-7, 99, 0, 0};
        ASSERT_TRUE(SystemApi_HardWare_GetDiskInfomation("/", &st_Disk, 1));
        EXPECT_EQ(st_Disk.enDiskType, st_Row.nKind);
        EXPECT_EQ(st_Disk.dwDiskTotal, 1536U);
        EXPECT_EQ(st_Disk.dwDiskFree, 1024U) << "what an ordinary user may take";
        EXPECT_EQ(st_Disk.nReserved, -7);
    }
}

TEST(DiskInfo, UnitsRoundDownAndARefusedOneLeavesBytes)
{
    constexpr unsigned long nTotal = (10UL << 30) + (1UL << 30) - 1;
    constexpr unsigned long nFree = (1UL << 40) * 4096; // beyond what 32 bits of blocks could hold
    const struct
    {
        int nUnit;
        bool bKnown;
        int nShift;
    } st_Rows[] = {{1, true, 0},  {2, true, 10}, {3, true, 20}, {4, true, 30},
                   {0, false, 0}, {5, false, 0}, {-1, false, 0}};
    for (const auto& st_Row : st_Rows)
    {
        SCOPED_TRACE(st_Row.nUnit);
        for (const bool bMember : {false, true})
        {
            const CFakeFileSystem m_Total(0xEF53, nTotal, 0, 1);
            tag_SystemApi_Disk_Information st_Disk = {};
            EXPECT_EQ(bMember ? m_Hardware.SystemApi_HardWare_GetDiskInfomation("/", &st_Disk, st_Row.nUnit)
                              : SystemApi_HardWare_GetDiskInfomation("/", &st_Disk, st_Row.nUnit),
                      st_Row.bKnown);
            EXPECT_EQ(SystemApi_IsErrorOccur, !st_Row.bKnown);
            EXPECT_EQ(st_Disk.dwDiskTotal, nTotal >> st_Row.nShift);
            EXPECT_EQ(st_Disk.enDiskType, 4U);
        }
        const CFakeFileSystem m_Free(0xEF53, 0, 1UL << 40, 4096);
        tag_SystemApi_Disk_Information st_Disk = {};
        EXPECT_EQ(SystemApi_HardWare_GetDiskInfomation("/", &st_Disk, st_Row.nUnit), st_Row.bKnown);
        EXPECT_EQ(st_Disk.dwDiskFree, nFree >> st_Row.nShift);
    }
    EXPECT_EQ(SystemApi_GetLastError(nullptr), ERROR_SYSTEMAPI_HARDWARE_GETDISKINFO_TYPE);
}

TEST(DiskInfo, RefusalsLeaveTheRecordAlone)
{
    tag_SystemApi_Disk_Information st_Disk = {1, 2, 3, 4};
    EXPECT_FALSE(SystemApi_HardWare_GetDiskInfomation(nullptr, &st_Disk, 1));
    EXPECT_EQ(SystemApi_GetLastError(nullptr), ERROR_SYSTEMAPI_HARDWARE_GETDISKINFO_PARAMETER);
    EXPECT_FALSE(SystemApi_HardWare_GetDiskInfomation("/no/such/path", &st_Disk, 0));
    int nErrno = 0;
    EXPECT_EQ(SystemApi_GetLastError(&nErrno), ERROR_SYSTEMAPI_HARDWARE_GETDISKINFO_STATFS);
    EXPECT_EQ(nErrno, ENOENT);
    EXPECT_EQ(st_Disk.dwDiskFree, 4U);
    EXPECT_FALSE(SystemApi_HardWare_GetDiskInfomation("/", nullptr, 1));
}

std::vector<std::string> ListDisks(const std::string& Table)
{
    FakeFile("/proc/partitions", Table);
    char** pptszNames = nullptr;
    int nCount = -1;
    EXPECT_TRUE(SystemApi_HardWare_GetDiskNumber(&pptszNames, &nCount));
    EXPECT_FALSE(SystemApi_IsErrorOccur);
    std::vector<std::string> Names(pptszNames, pptszNames + nCount);
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
        std::string Lines;
        std::vector<std::string> Names;
    } st_Rows[] = {
        {"disks and partitions",
         " 259        1     524288 nvme0n1p1\n   8        0  268435456 sda\n   8       17 1 sdb1\n 259 0 9 nvme0n1\n",
         {"nvme0n1p1", "sda", "sdb1", "nvme0n1"}},
        {"other families",
         "252 0 1 vda\n253 0 1 dm-0\n7 0 1 loop0\n1 0 1 ram0\n11 0 1 sr0\n80 0 1 x\n2590 0 1 y\n",
         {}},
        {"no line at all", "", {}},
        {"lines that do not scan have major 0", "sda 8 0 1\n\n-8 0 1 a\n8.0 0 1 b\n8 0 1 last", {"", "last"}},
        {"what follows a field that does not scan is not read", "8 x 1 sda\n8 0 sdb 1\n8\n", {"", "", ""}},
        {"a line longer than the buffer is two",
         "8 1 2 " + std::string(1500, 'n') + "\n8 0 1 sda\n",
         {std::string(1017, 'n'), "sda"}},
        {"the rest of a long line can be a line as well", "7 0 1 " + std::string(1017, 'n') + "8 0 1 sda\n", {"sda"}},
    };
    for (const auto& st_Row : st_Rows)
    {
        SCOPED_TRACE(st_Row.lpszWhy);
        RunSandboxed([&] { EXPECT_EQ(ListDisks(Heading + st_Row.Lines), st_Row.Names); });
    }
}

TEST(DiskList, AShortOrUnreadableTableFails)
{
    const auto Refuses = [](unsigned long dwCode, int* pInt_Count) {
        char** pptszNames = nullptr;
        EXPECT_FALSE(SystemApi_HardWare_GetDiskNumber(&pptszNames, pInt_Count));
        EXPECT_EQ(SystemApi_GetLastError(nullptr), dwCode);
        EXPECT_EQ(pptszNames, nullptr);
    };
    for (const char* lpszTable : {"", "major minor  #blocks  name\n"})
        RunSandboxed([&] {
            FakeFile("/proc/partitions", lpszTable);
            int nCount = -1;
            Refuses(ERROR_SYSTEMAPI_HARDWARE_GETDISKNUMBER_OPEN, &nCount);
            EXPECT_EQ(nCount, -1);
        });
    RunInChild([&] {
        const CNoDescriptors m_None;
        int nCount = -1;
        Refuses(ERROR_SYSTEMAPI_HARDWARE_GETDISKNUMBER_OPEN, &nCount);
        EXPECT_EQ(errno, EMFILE);
    });
    Refuses(ERROR_SYSTEMAPI_HARDWARE_GETDISKNUMBER_PARAMETER, nullptr);
}
} // namespace
