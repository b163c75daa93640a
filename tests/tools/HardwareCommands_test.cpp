#include "Fakes.h"
#include "RunTool.h"
#include "Sandbox.h"

#include <gmock/gmock.h>
#include <sys/mount.h>

namespace
{
using testing::ContainsRegex;
using testing::HasSubstr;

void FakeMachine(const CFakeTools& Tools)
{
    FakeFile("/proc/partitions", "major minor  #blocks  name\n\n 8 0 9 sda\n 8 1 9 sda1\n 252 0 9 vda\n");
    FakeFile("/proc/cpuinfo",
             "processor : 0\nvendor_id : Some\x1bVendor\n3\n4\nmodel name : Some CPU\n6\n7\ncpu MHz : "
             "2904.998\n");
    Tools.Add("sudo",
              "case \"$*\" in 'dmidecode -t 4') printf 'ID: 1\\nID: 2\\n';; 'blkid '*) echo \"x U=\\\"of-$2\\\"\";; "
              "*board_serial) echo None;; *product_uuid) echo 0300-02;; '-n true') ;; *) exit 1;; esac");
}

TEST(HardwareCommands, ShowTheFactsOfTheMachine)
{
    RunSandboxed([] {
        const CFakeTools m_Tools;
        FakeMachine(m_Tools);
        ASSERT_EQ(mount("tmpfs", "/mnt", "tmpfs", 0, "size=8m"), 0);
        const struct
        {
            const char* lpszArguments;
            int nExit;
            std::string Shown;
        } st_Rows[] = {
            {"disks", 0, "sda\nsda1\n"},
            {"disk /mnt", 0, "  Kind          other\n  Total         8388608 B\n"},
            {"disk /mnt --unit mib", 0, "  Total         8 MiB\n  Free          8 MiB\n"},
            {"disk /no/such/path", 1,
             "systemapi: /no/such/path: ERROR_SYSTEMAPI_HARDWARE_GETDISKINFO_STATFS (0x040A2002): No such file"},
            {"disk /mnt --unit 7", 105, "--unit"},
            {"cpu", 0, "  Name          Some CPU\n  Vendor        Some\\x1bVendor\n  Clock         2904 MHz\n"},
            {"serial", 0,
             "  Processor     2\n  Mainboard     unknown\n  Disk          of-/dev/sda\n  System        0300-02\n"},
            {"serial /dev/sdb", 0, "  Disk          of-/dev/sdb\n"},
            {"serial 0123456789012345678901234567890123456789012345678901234567890123", 105, "longer than 63 bytes"},
        };
        for (const auto& st_Row : st_Rows)
        {
            SCOPED_TRACE(st_Row.lpszArguments);
            const auto [nExit, Output] = RunTool(std::string("hardware ") + st_Row.lpszArguments);
            EXPECT_EQ(nExit, st_Row.nExit);
            EXPECT_THAT(Output, HasSubstr(st_Row.Shown));
        }
    });
}

TEST(HardwareCommands, SectionsOfTheReport)
{
    RunSandboxed([] {
        const CFakeTools m_Tools;
        FakeMachine(m_Tools);
        const std::string Report = RunTool("report").Output;
        EXPECT_THAT(SectionOf(Report, "Processor"), HasSubstr("  Name          Some CPU\n"));
        EXPECT_THAT(SectionOf(Report, "Processor"), ContainsRegex("\n  Usage         (\\[.* %  of all|unknown)"));
        EXPECT_EQ(SectionOf(Report, "Disks"), "Disks\n  DISK OR PARTITION\n  /dev/sda\n  /dev/sda1\n");
        EXPECT_THAT(SectionOf(Report, "File systems"), ContainsRegex("\n  (/.*\\[.* free, |none on a disk)"));
        EXPECT_THAT(SectionOf(Report, "Serial numbers"), HasSubstr("  Disk          of-/dev/sda\n"));

        m_Tools.Add("sudo", "case \"$*\" in -n*) exit 1;; esac; echo asked for a password");
        EXPECT_THAT(SectionOf(RunTool("report").Output, "Serial numbers"),
                    HasSubstr("Serial numbers\n  need sudo without a password;"));
        EXPECT_THAT(RunTool("hardware serial", "PATH=/nowhere;").Output, HasSubstr("is it there"));
    });
}
} // namespace
