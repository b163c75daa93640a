#include "Fakes.h"
#include "Sandbox.h"
#include "StandIns.h"

#include <Tolvane_SystemApi.h>

#include <gtest/gtest.h>
#include <string>

namespace
{
constexpr const char* lpszFirstFour = "processor\t: 0\nvendor_id\t: GenuineIntel\ncpu family\t: 6\nmodel\t\t: 85\n";
constexpr const char* lpszNextThree = "model name\t: Some CPU @ 2.90GHz\nstepping\t: 7\nmicrocode\t: 0x5\n";

TEST(CpuInfo, FieldsStandAtFixedPositions)
{
    const struct
    {
        const char* lpszWhy;
        std::string Table;
        std::string Name;
        std::string Vendor;
        int nSpeed;
    } st_Rows[] = {
        {"x86", std::string(lpszFirstFour) + lpszNextThree + "cpu MHz\t\t: 2904.998\ncache size\t: 1 KB\n",
         "Some CPU @ 2.90GHz", "GenuineIntel", 2904},
        {"Arm: what stands there",
         "processor\t: 0\nBogoMIPS\t: 50.00\nFeatures\t: fp asimd\nCPU implementer\t: 0x41\nCPU architecture: 8\n"
         "CPU variant\t: 0x3\nCPU part\t: 0xd0c\nCPU revision\t: 1\n",
         "8", "50.00", 1},
        {"too few words", "\nvendor X\n\n\n: \n\n\n2904.998 MHz\n", "", "", 0},
        {"no number, and an eighth line without its end", "1\n2\n3\n4\na: b: c\n6\n7\na b : x9", "b: c", "", 0},
        {"more than the fields hold",
         "1\na : " + std::string(80, 'v') + "\n3\n4\na: " + std::string(300, 'n') + "\n6\n7\na b : 99\n",
         std::string(126, 'n'), std::string(63, 'v'), 99},
        {"a line longer than the buffer is two", std::string(1500, '1') + "\na : v\n4\na: b\n6\n7\na b : 5\n", "b",
         "", 5},
    };
    for (const auto& st_Row : st_Rows)
    {
        SCOPED_TRACE(st_Row.lpszWhy);
        RunSandboxed([&] {
            FakeFile("/proc/cpuinfo", st_Row.Table);
            StandIns().GetNProcs = [] {
                return 3;
            };
            StandIns().ProcessorsOnline = [] {
                return 2L;
            };
            tag_SystemApi_Cpu_Information st_Cpu = {};
            ASSERT_TRUE(SystemApi_HardWare_GetCpuInfomation(&st_Cpu));
            EXPECT_FALSE(SystemApi_IsErrorOccur);
            EXPECT_EQ(st_Cpu.tszCpuName, st_Row.Name);
            EXPECT_EQ(st_Cpu.tszCpuVendor, st_Row.Vendor);
            EXPECT_EQ(st_Cpu.nCpuSpeed, st_Row.nSpeed);
            EXPECT_EQ(st_Cpu.nCpuNumber, 2);
            EXPECT_EQ(st_Cpu.nCpuCore, 3);
        });
    }
}

TEST(CpuInfo, AFailureLeavesTheFieldsThatWereReached)
{
    const struct
    {
        const char* lpszWhy;
        std::string Table;
        std::string Name;
        std::string Vendor;
    } st_Rows[] = {
        {"empty", "", "old", "old"},
        {"one line", "processor : 0\n", "old", "old"},
        {"no fifth line", lpszFirstFour, "old", "GenuineIntel"},
        {"no ': ' in the fifth line", std::string(lpszFirstFour) + "model name :X\n6\n7\n8\n", "old", "GenuineIntel"},
        {"seven lines", std::string(lpszFirstFour) + lpszNextThree, "Some CPU @ 2.90GHz", "GenuineIntel"}};
    for (const auto& st_Row : st_Rows)
    {
        SCOPED_TRACE(st_Row.lpszWhy);
        RunSandboxed([&] {
            FakeFile("/proc/cpuinfo", st_Row.Table);
            StandIns().GetNProcs = [] {
                return 3;
            };
            tag_SystemApi_Cpu_Information st_Cpu = {"old", "old", -1, -1, -1};
            EXPECT_FALSE(SystemApi_HardWare_GetCpuInfomation(&st_Cpu));
            EXPECT_EQ(SystemApi_GetLastError(nullptr), ERROR_SYSTEMAPI_HARDWARE_GETCPUINFO_READ);
            EXPECT_EQ(st_Cpu.tszCpuName, st_Row.Name);
            EXPECT_EQ(st_Cpu.tszCpuVendor, st_Row.Vendor);
            EXPECT_EQ(st_Cpu.nCpuSpeed, -1);
            EXPECT_EQ(st_Cpu.nCpuNumber, -1);
            EXPECT_EQ(st_Cpu.nCpuCore, 3) << "stored before the table is opened";
        });
    }
    RunInChild([] {
        const CNoDescriptors m_None;
        StandIns().GetNProcs = [] {
            return 3;
        };
        tag_SystemApi_Cpu_Information st_Cpu = {};
        EXPECT_FALSE(SystemApi_HardWare_GetCpuInfomation(&st_Cpu));
        EXPECT_EQ(SystemApi_GetLastError(nullptr), ERROR_SYSTEMAPI_HARDWARE_GETCPUINFO_READ);
        EXPECT_EQ(st_Cpu.nCpuCore, 3);
    });
    EXPECT_FALSE(SystemApi_HardWare_GetCpuInfomation(nullptr));
    EXPECT_EQ(SystemApi_GetLastError(nullptr), ERROR_SYSTEMAPI_HARDWARE_GETCPUINFO_PARAMETER);
}
} // namespace
