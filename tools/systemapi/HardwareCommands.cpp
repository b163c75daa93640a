// SPDX-License-Identifier: MIT
#include "Commands.h"
#include "Failure.h"
#include "Helpers.h"
#include "Report.h"
#include "Text.h"
#include "Unit.h"

#include <Tolvane_SystemApi.h>

#include <array>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <memory>
#include <mntent.h>
#include <set>
#include <stdexcept>
#include <string>
#include <vector>

namespace
{
/* ---------------------------------------------------------------------------------------------------
 * What is known
 * ------------------------------------------------------------------------------------------------- */

tag_SystemApi_Disk_Information FileSystemOf(const std::string& Path, int nUnit)
{
    tag_SystemApi_Disk_Information st_Disk = {};
    Require(
        "GETDISKINFO", [&] { return SystemApi_HardWare_GetDiskInfomation(Path.c_str(), &st_Disk, nUnit); }, Path);
    return st_Disk;
}

const char* KindName(unsigned nKind)
{
    constexpr const char* lpszKinds[] = {"other", "FAT", "NTFS", "old ext2", "ext2 to ext4"};
    return lpszKinds[nKind];
}

std::vector<std::string> DiskNames()
{
    char** pptszNames = nullptr;
    int nCount = 0;
    Require(
        "GETDISKNUMBER", [&] { return SystemApi_HardWare_GetDiskNumber(&pptszNames, &nCount); }, "/proc/partitions");
    std::vector<std::string> Names(pptszNames, pptszNames + nCount);
    BaseLib_Memory_Free(&pptszNames, nCount);
    return Names;
}

void AddProcessor(CFacts& Facts)
{
    tag_SystemApi_Cpu_Information st_Cpu = {};
    Require(
        "GETCPUINFO", [&] { return SystemApi_HardWare_GetCpuInfomation(&st_Cpu); }, "/proc/cpuinfo");
    Facts.Add("name", st_Cpu.tszCpuName);
    Facts.Add("vendor", st_Cpu.tszCpuVendor);
    Facts.Add("clock", st_Cpu.nCpuSpeed > 0 ? VALUE(st_Cpu.nCpuSpeed) : VALUE(), UNIT::MegaHertz);
    Facts.Add("online", st_Cpu.nCpuNumber);
    Facts.Add("threads", st_Cpu.nCpuCore);
}

/// A field of the serial record; of one that runs on, its own bytes.
std::string FieldText(const char (&tszField)[64])
{
    return {tszField, strnlen(tszField, sizeof(tszField))};
}

void AddSerials(CFacts& Facts, const std::string& Device)
{
    const SERIALS st_Serials = SerialsOf(Device);
    Facts.Add("processor", st_Serials.Processor);
    Facts.Add("mainboard", st_Serials.Mainboard);
    Facts.Add("disk", st_Serials.Disk);
    Facts.Add("system", st_Serials.System);
    if ((st_Serials.Processor + st_Serials.Mainboard + st_Serials.Disk + st_Serials.System).empty())
        Facts.Remark("dmidecode, blkid and cat run under sudo: is it there, may this user call it?");
}

/// Where file systems on disks are mounted, each of them once. Network shares are left out: one that does not answer
/// would hold up the report.
std::vector<std::string> DiskMounts()
{
    const std::unique_ptr<FILE, int (*)(FILE*)> m_Table(setmntent("/proc/self/mounts", "re"), endmntent);
    if (!m_Table)
        throw std::runtime_error("the table of mounts could not be opened");
    std::set<std::string> Devices;
    std::vector<std::string> Folders;
    mntent st_Entry = {};
    std::array<char, 8192> tszLine = {};
    while (getmntent_r(m_Table.get(), &st_Entry, tszLine.data(), static_cast<int>(tszLine.size())))
    {
        const std::string Device = st_Entry.mnt_fsname;
        const bool bImage = Device.rfind("/dev/loop", 0) == 0;
        if (Device.rfind("/dev/", 0) == 0 && !bImage && Devices.insert(Device).second)
            Folders.emplace_back(st_Entry.mnt_dir);
    }
    return Folders;
}

/* ---------------------------------------------------------------------------------------------------
 * Subcommands
 * ------------------------------------------------------------------------------------------------- */

void AddFileSystem(CLI::App& Hardware)
{
    const auto Path = std::make_shared<std::string>();
    const auto pUnit = std::make_shared<Unit>();
    CLI::App* const pDisk =
        AddCommand(Hardware, "disk", "Show kind and size of the file system that holds a path", [=](CFacts& Facts) {
            const auto st_Disk = FileSystemOf(*Path, TypeOf(*pUnit));
            Facts.Add("kind", KindName(st_Disk.enDiskType));
            AddSize(Facts, "total", st_Disk.dwDiskTotal, *pUnit);
            AddSize(Facts, "free", st_Disk.dwDiskFree, *pUnit);
        });
    pDisk->add_option("PATH", *Path, "Any path on the file system")->required();
    *pUnit = AddUnit(pDisk);
}

void AddSerial(CLI::App& Hardware)
{
    const auto Device = std::make_shared<std::string>();
    CLI::App* const pSerial = AddCommand(Hardware, "serial", "Show serial numbers and UUIDs",
                                         [Device](CFacts& Facts) { AddSerials(Facts, *Device); });
    pSerial->add_option("DEVICE", *Device, "The disk to ask for; /dev/sda when left out")
        ->check([](const std::string& Text) {
            constexpr std::size_t nMost = sizeof(tag_SystemApi_SdkSerial_Information::tszDiskSerial) - 1;
            return Text.size() > nMost ? "longer than " + std::to_string(nMost) + " bytes" : std::string();
        });
    pSerial->footer("Asks dmidecode, blkid and cat under sudo, which may want a password.\n"
                    "DEVICE becomes part of a shell command: never pass text from an untrusted source.");
}
} // namespace

bool SudoAsksNothing()
{
    return CommandLine("(sudo -n true || sudo -n cat /sys/class/dmi/id/product_uuid) >/dev/null 2>&1 && echo yes") ==
           "yes";
}

SERIALS SerialsOf(const std::string& Device)
{
    tag_SystemApi_SdkSerial_Information st_Serial = {};
    Device.copy(st_Serial.tszDiskSerial, sizeof(st_Serial.tszDiskSerial) - 1);
    RequireQuietly("GETSERIAL", [&] { return SystemApi_HardWare_GetSerial(&st_Serial); });
    return {FieldText(st_Serial.tszCpuSerial), FieldText(st_Serial.tszBoardSerial),
            FieldText(st_Serial.tszDiskSerial), FieldText(st_Serial.tszSystemUUID)};
}

void AddHardware(CLI::App& App)
{
    CLI::App* const pHardware = App.add_subcommand("hardware", "Show disks, processor and serial numbers");
    pHardware->require_subcommand(1);
    AddFileSystem(*pHardware);
    AddCommand(*pHardware, "disks", "List disks and partitions (SCSI, SATA, NVMe)",
               [](CFacts& Facts) { Facts.AddLines("disks", DiskNames()); });
    AddCommand(*pHardware, "cpu", "Show what is known of the processor", AddProcessor)
        ->footer("Read by position, as the kernel prints it on x86.");
    AddSerial(*pHardware);
}

VALUE UsageValue()
{
    constexpr int nWhole = 100;
    int nUsage = 0;
    Require("GETCPUUSAGE", [&] { return SystemApi_System_GetCpuUsage(&nUsage); });
    // A processor without a counted tick, or a counter that wrapped, gives what no share can be.
    return nUsage >= 0 && nUsage <= nWhole ? VALUE(nUsage) : VALUE();
}

void ReportProcessor(CFacts& Facts)
{
    Facts.Try([&] { AddProcessor(Facts); });
    Facts.Try([&] { Facts.Add("usage", UsageValue(), UNIT::Percent); });
}

void ReportDisks(CFacts& Facts)
{
    auto Names = DiskNames();
    if (Names.empty())
        Facts.Remark("none of the families that are listed: SCSI, SATA, NVMe");
    for (std::string& Name : Names)
        Name.insert(0, "/dev/");
    Facts.AddLines("devices", std::move(Names));
}

void ReportFileSystems(CFacts& Facts)
{
    const auto Folders = DiskMounts();
    if (Folders.empty())
        Facts.Remark("none on a disk");
    std::vector<CFacts> Rows;
    for (const std::string& Folder : Folders)
        Facts.Try([&] {
            const auto st_Disk = FileSystemOf(Folder, nInBytes);
            CFacts Row;
            Row.Add("path", Folder);
            Row.Add("kind", KindName(st_Disk.enDiskType));
            Row.Add("total", st_Disk.dwDiskTotal, UNIT::Bytes);
            Row.Add("free", st_Disk.dwDiskFree, UNIT::Bytes);
            Row.Add("used", ShareInUse(st_Disk.dwDiskFree, st_Disk.dwDiskTotal), UNIT::Percent);
            Rows.push_back(std::move(Row));
        });
    Facts.AddTable("mounted", std::move(Rows));
}

void ReportSerials(CFacts& Facts)
{
    if (SudoAsksNothing())
        AddSerials(Facts, "");
    else
        Facts.Remark("need sudo without a password; to be asked for one: systemapi hardware serial");
}
