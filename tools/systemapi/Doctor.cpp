// SPDX-License-Identifier: MIT
#include "Commands.h"
#include "Helpers.h"
#include "TextOutput.h"

#include <Tolvane_SystemApi.h>

#include <cerrno>
#include <clocale>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <filesystem>
#include <initializer_list>
#include <langinfo.h>
#include <sstream>
#include <string_view>
#include <sys/utsname.h>
#include <system_error>
#include <unistd.h>

// A report of a fault shows all of this to strangers: no name of the user or the host, no serial number, no path of a
// home folder.

namespace
{
constexpr const char* lpszBoardFile = "/sys/class/dmi/id/board_serial";
constexpr const char* lpszSystemFile = "/sys/class/dmi/id/product_uuid";

/// A home folder's name is mostly that of its user; PATH may lead into another's.
std::string WithoutHome(const std::string& File)
{
    constexpr std::string_view Homes = "/home/";
    const char* lpszHome = std::getenv("HOME");
    std::string Home = std::string(lpszHome ? lpszHome : "") + "/";
    if (!File.starts_with(Home) && File.starts_with(Homes))
        Home = File.substr(0, File.find('/', Homes.size()) + 1);
    return Home.size() > 1 && File.starts_with(Home) ? "~/" + File.substr(Home.size()) : File;
}

/// Where a program is found by the shells that the operations start, or by sudo, which looks in the administrator's
/// folders too.
std::string Located(const std::string& Program, bool bUnderSudo = false)
{
    const char* lpszPath = std::getenv("PATH");
    std::istringstream Folders((lpszPath ? lpszPath : "") +
                               std::string(bUnderSudo ? ":/usr/local/sbin:/usr/sbin:/sbin" : ""));
    for (std::string Folder; std::getline(Folders, Folder, ':');)
    {
        const std::filesystem::path File = std::filesystem::path(Folder.empty() ? "." : Folder) / Program;
        std::error_code Ignored;
        if (access(File.c_str(), X_OK) == 0 && std::filesystem::is_regular_file(File, Ignored))
            return WithoutHome(File.string());
    }
    return {};
}

void AddMachine(CFacts& Facts)
{
    const VERSION st_Version = VersionOfSystem();
    utsname st_Kernel = {};
    uname(&st_Kernel);
    Facts.Add("tool", SYSTEMAPI_VERSION);
    Facts.Add("distribution", st_Version.Distribution);
    Facts.Add("kernel", st_Version.Kernel);
    Facts.Add("architecture", st_Kernel.machine);
    Facts.Add("superuser", SystemApi_Process_IsAdmin());
}

std::vector<CFacts> Programs()
{
    constexpr struct
    {
        const char* lpszName;
        const char* lpszUsedBy;
        bool bUnderSudo = false;
    } st_Programs[] = {
        {"sh", "all that run a command"},
        {"cat", "version, memory, processes, serial"},
        {"ps", "process info, stop, usage, uptime"},
        {"grep", "process info, stop, usage; serial"},
        {"awk", "process info, stop, usage; serial"},
        {"sort", "serial"},
        {"sudo", "serial"},
        {"dmidecode", "serial, under sudo", true},
        {"blkid", "serial, under sudo", true},
        {"xset", "shutdown monitoroff"},
        {"gnome-screensaver-command", "shutdown lock"},
        {"pkill", "shutdown logoff"},
    };
    std::vector<CFacts> Rows;
    for (const auto& st_Program : st_Programs)
    {
        // The shell itself is not searched for.
        const bool bShell = std::strcmp(st_Program.lpszName, "sh") == 0;
        const std::string Path = bShell ? (access("/bin/sh", X_OK) == 0 ? "/bin/sh" : "")
                                        : Located(st_Program.lpszName, st_Program.bUnderSudo);
        CFacts& Row = Rows.emplace_back();
        Row.Add("name", st_Program.lpszName);
        Row.Add("path", Path, UNIT::None, Path.empty() ? "missing" : "");
        Row.Add("used_by", st_Program.lpszUsedBy);
    }
    return Rows;
}

std::vector<CFacts> Serials(bool bSudo)
{
    const SERIALS st_Serials = bSudo ? SerialsOf("") : SERIALS();
    const auto WhyNot = [&](const char* lpszProgram, const char* lpszFile, const char* lpszElse) -> std::string {
        if (Located("sudo").empty())
            return "sudo is missing";
        if (!bSudo)
            return "sudo wants a password";
        if (lpszProgram != nullptr && Located(lpszProgram, true).empty())
            return std::string(lpszProgram) + " is missing";
        if (lpszFile && access(lpszFile, F_OK) != 0)
            return std::string("there is no ") + lpszFile;
        return lpszElse;
    };
    // The disk's field keeps the device's name where nothing was found.
    const bool bDisk = !st_Serials.Disk.empty() && st_Serials.Disk != "/dev/sda";
    const struct
    {
        const char* lpszName;
        bool bKnown;
        std::string Reason;
    } st_Lines[] = {
        {"processor", !st_Serials.Processor.empty(),
         WhyNot("dmidecode", nullptr, "dmidecode lists no second ID, which is the one that is taken")},
        {"mainboard", !st_Serials.Mainboard.empty(),
         WhyNot(nullptr, lpszBoardFile, "the machine has none, or may not tell it")},
        {"disk", bDisk, WhyNot("blkid", "/dev/sda", "blkid tells none of /dev/sda")},
        {"system", !st_Serials.System.empty(),
         WhyNot(nullptr, lpszSystemFile, "the machine has none, or may not tell it")},
    };
    std::vector<CFacts> Rows;
    for (const auto& st_Line : st_Lines)
    {
        CFacts& Row = Rows.emplace_back();
        Row.Add("name", st_Line.lpszName);
        Row.Add("known", st_Line.bKnown);
        Row.Add("reason", st_Line.bKnown ? VALUE() : VALUE(st_Line.Reason), UNIT::None, st_Line.bKnown ? "-" : "");
    }
    return Rows;
}

void AddLocale(CFacts& Facts)
{
    std::string Name;
    for (const char* lpszVariable : {"LC_ALL", "LC_CTYPE", "LANG"})
        if (const char* lpszValue = std::getenv(lpszVariable); Name.empty() && lpszValue)
            Name = lpszValue;
    const std::string Before = std::setlocale(LC_CTYPE, nullptr);
    const bool bValid = std::setlocale(LC_CTYPE, "") != nullptr;
    if (!bValid)
        std::setlocale(LC_CTYPE, "C"); // what programs fall back to
    const std::string CharacterSet = nl_langinfo(CODESET);
    std::setlocale(LC_CTYPE, Before.c_str());
    const char* lpszZone = std::getenv("TZ");
    Facts.Add("name", Name, UNIT::None, Name.empty() ? "not set" : "");
    Facts.Add("character_set", CharacterSet);
    Facts.Add("valid", bValid);
    Facts.Add("time_zone", lpszZone ? lpszZone : "", UNIT::None, lpszZone ? "" : "the machine's");
}

std::vector<CFacts> KernelFiles()
{
    std::vector<CFacts> Rows;
    for (const char* lpszFile :
         {"/etc/os-release", "/proc/meminfo", "/proc/stat", "/proc/cpuinfo", "/proc/partitions",
          "/proc/self/loginuid", "/proc/self/cgroup", "/proc/self/mountinfo", "/proc/self/mounts",
          "/sys/devices/system/cpu/online", lpszBoardFile, lpszSystemFile})
    {
        char cFirst = '\0';
        const int nFile = open(lpszFile, O_RDONLY | O_CLOEXEC);
        const bool bReadable = nFile >= 0 && read(nFile, &cFirst, 1) >= 0; // what opens may still refuse
        const std::string Reason = bReadable ? "" : std::generic_category().message(errno);
        if (nFile >= 0)
            close(nFile);
        CFacts& Row = Rows.emplace_back();
        Row.Add("path", lpszFile);
        Row.Add("readable", bReadable);
        Row.Add("reason", Reason, UNIT::None, Reason.empty() ? "-" : "");
    }
    return Rows;
}

void Examine(CFacts& Facts)
{
    const bool bSudo = SudoAsksNothing();
    Facts.AddPart("machine", AddMachine);
    Facts.AddPart("programs", [](CFacts& Part) { Part.AddTable("found", Programs()); });
    Facts.AddPart("sudo", [&](CFacts& Part) { Part.Add("without_password", bSudo); });
    Facts.AddPart("serial_numbers", [&](CFacts& Part) { Part.AddTable("found", Serials(bSudo)); });
    Facts.AddPart("locale", AddLocale);
    Facts.AddPart("kernel_files", [](CFacts& Part) { Part.AddTable("found", KernelFiles()); });
}
} // namespace

void AddDoctor(CLI::App& App)
{
    AddCommand(App, "doctor", "Tell what the library finds and lacks on this machine", Examine)
        ->footer("For the report of a fault: no user's, host's or serial name is in it.");
}
