#include "Commands.h"
#include "Failure.h"
#include "Report.h"
#include "Terminal.h"
#include "Text.h"
#include "Unit.h"

#include <Tolvane_SystemApi.h>

#include <array>
#include <cstdio>
#include <cstring>
#include <iostream>
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

void ShowProcessor(const CReport& Output)
{
    tag_SystemApi_Cpu_Information st_Cpu = {};
    Require(
        "GETCPUINFO", [&] { return SystemApi_HardWare_GetCpuInfomation(&st_Cpu); }, "/proc/cpuinfo");
    Output.Line("Name", st_Cpu.tszCpuName);
    Output.Line("Vendor", st_Cpu.tszCpuVendor);
    Output.Line("Clock", st_Cpu.nCpuSpeed > 0 ? std::to_string(st_Cpu.nCpuSpeed) + " MHz" : "");
    Output.Line("Online", std::to_string(st_Cpu.nCpuNumber));
    Output.Line("Threads", std::to_string(st_Cpu.nCpuCore));
}

/// A field of the serial record; of one that runs on, its own bytes.
std::string FieldText(const char (&tszField)[64])
{
    return {tszField, strnlen(tszField, sizeof(tszField))};
}

void ShowSerials(const CReport& Output, const std::string& Device)
{
    tag_SystemApi_SdkSerial_Information st_Serial = {};
    Device.copy(st_Serial.tszDiskSerial, sizeof(st_Serial.tszDiskSerial) - 1);
    Require("GETSERIAL", [&] { return SystemApi_HardWare_GetSerial(&st_Serial); });
    const struct
    {
        const char* lpszLabel;
        std::string Number;
    } st_Lines[] = {{"Processor", FieldText(st_Serial.tszCpuSerial)},
                    {"Mainboard", FieldText(st_Serial.tszBoardSerial)},
                    {"Disk", FieldText(st_Serial.tszDiskSerial)},
                    {"System", FieldText(st_Serial.tszSystemUUID)}};
    bool bAny = false;
    for (const auto& st_Line : st_Lines)
    {
        Output.Line(st_Line.lpszLabel, st_Line.Number);
        bAny = bAny || !st_Line.Number.empty();
    }
    if (!bAny)
        Output.Remark("dmidecode, blkid and cat are asked under sudo: is it there, and may this user call it?");
}

/// Whether sudo answers without asking for a password.
bool HasRights()
{
    std::array<char, 16> tszAnswer = {};
    return SystemApi_Process_ReadCmdReturn("(sudo -n true || sudo -n cat /sys/class/dmi/id/product_uuid) >/dev/null "
                                           "2>&1 && echo yes",
                                           tszAnswer.data(), 1, 1, nullptr) &&
           tszAnswer[0] != '\0';
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
    struct OPTIONS
    {
        std::string Path;
        int nUnit = 0;
    };
    CLI::App* const pDisk =
        Hardware.add_subcommand("disk", "Show kind and size of the file system that holds a path");
    const auto Options = std::make_shared<OPTIONS>();
    pDisk->add_option("PATH", Options->Path, "Any path on the file system")->required();
    AddUnit(pDisk, Options->nUnit);
    pDisk->callback([Options] {
        const auto st_Disk = FileSystemOf(Options->Path, Options->nUnit);
        const auto Size = [&](unsigned long dwSize) {
            return std::to_string(dwSize) + " " + UnitName(Options->nUnit);
        };
        const CReport Output(true);
        Output.Line("Kind", KindName(st_Disk.enDiskType));
        Output.Line("Total", Size(st_Disk.dwDiskTotal));
        Output.Line("Free", Size(st_Disk.dwDiskFree));
    });
}

void AddSerial(CLI::App& Hardware)
{
    CLI::App* const pSerial = Hardware.add_subcommand("serial", "Show serial numbers and UUIDs");
    const auto Device = std::make_shared<std::string>();
    pSerial->add_option("DEVICE", *Device, "The disk to ask for; /dev/sda when left out")
        ->check([](const std::string& Text) {
            constexpr std::size_t nMost = sizeof(tag_SystemApi_SdkSerial_Information::tszDiskSerial) - 1;
            return Text.size() > nMost ? "longer than " + std::to_string(nMost) + " bytes" : std::string();
        });
    pSerial->footer("Asks dmidecode, blkid and cat under sudo, which may want a password.\n"
                    "DEVICE becomes part of a shell command: never pass text from an untrusted source.");
    pSerial->callback([Device] { ShowSerials(CReport(true), *Device); });
}
} // namespace

void AddHardware(CLI::App& App)
{
    CLI::App* const pHardware = App.add_subcommand("hardware", "Show disks, processor and serial numbers");
    pHardware->require_subcommand(1);
    AddFileSystem(*pHardware);
    CLI::App* const pDisks = pHardware->add_subcommand("disks", "List disks and partitions (SCSI, SATA, NVMe)");
    pDisks->callback([] {
        for (const std::string& Name : DiskNames())
            std::cout << Harmless(Name) << '\n';
    });
    CLI::App* const pProcessor = pHardware->add_subcommand("cpu", "Show what is known of the processor");
    pProcessor->footer("Read by position, as the kernel prints it on x86.");
    pProcessor->callback([] { ShowProcessor(CReport(true)); });
    AddSerial(*pHardware);
}

void ReportProcessor(CReport& Report)
{
    constexpr int nWhole = 100;
    Report.Try([&] { ShowProcessor(Report); });
    Report.Try([&] {
        int nUsage = 0;
        Require("GETCPUUSAGE", [&] { return SystemApi_System_GetCpuUsage(&nUsage); });
        if (nUsage < 0 || nUsage > nWhole)
            Report.Line("Usage", ""); // a processor without a counted tick, or a counter that wrapped
        else
            Report.BarLine("Usage", nUsage, "of all processors, over one second");
    });
}

void ReportDisks(CReport& Report)
{
    const auto Names = DiskNames();
    if (Names.empty())
        Report.Remark("none of the families that are listed: SCSI, SATA, NVMe");
    Report.List(CTable({{"DISK OR PARTITION"}}), Names.size(),
                [&](CTable& Table, std::size_t nRow) { Table.Add({"/dev/" + Names[nRow]}); });
}

void ReportFileSystems(CReport& Report)
{
    constexpr int nInBytes = 1;
    const auto Folders = DiskMounts();
    if (Folders.empty())
        Report.Remark("none on a disk");
    for (const std::string& Folder : Folders)
        Report.Try([&] {
            const auto st_Disk = FileSystemOf(Folder, nInBytes);
            Report.BarLine(Folder, Share(st_Disk.dwDiskTotal - st_Disk.dwDiskFree, st_Disk.dwDiskTotal),
                           HumanSize(st_Disk.dwDiskFree) + " of " + HumanSize(st_Disk.dwDiskTotal) + " free, " +
                               KindName(st_Disk.enDiskType));
        });
}

void ReportSerials(CReport& Report)
{
    const CQuietErrors m_Quiet;
    if (HasRights())
        ShowSerials(Report, "");
    else
        Report.Remark("need sudo without a password; to be asked for one: systemapi hardware serial");
}
