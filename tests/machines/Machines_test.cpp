// SPDX-License-Identifier: MIT
// Whole machines, recorded or made up, as files of tests/data/machines: what each shows of itself, and at the end the
// figures that the library tells of it. After a first line with the reason comes a section for each file, "@" and its
// path; "@processors" holds those online and those that the process may use, "@/proc/stat later" is what a second
// later stands there, "@sudo ..." what a command prints, "@gone" a process that has ended meanwhile. In a section "*3 "
// begins a line that stands three times, with "#" for its number, "^@" is a null character, "@@" an end without a line
// end.
#include "Fakes.h"
#include "Sandbox.h"
#include "StandIns.h"

#include <Tolvane_SystemApi.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <map>
#include <sstream>
#include <string>
#include <vector>

namespace
{
namespace fs = std::filesystem;
using MACHINE = std::map<std::string, std::string>;

MACHINE Read(const fs::path& File)
{
    MACHINE Sections;
    std::string* pSection = nullptr;
    std::ifstream Input(File);
    std::string Line;
    std::getline(Input, Line); // the reason
    while (std::getline(Input, Line))
    {
        if (Line.starts_with('@'))
        {
            pSection = &Sections[Line.substr(1)];
            continue;
        }
        int nTimes = 1;
        if (Line.starts_with('*'))
        {
            nTimes = std::stoi(Line.substr(1));
            Line.erase(0, Line.find(' ') + 1);
        }
        Line += '\n';
        if (Line.ends_with("@@\n"))
            Line.resize(Line.size() - 3);
        for (std::size_t nNul = 0; (nNul = Line.find("^@")) != std::string::npos;)
            Line.replace(nNul, 2, 1, '\0');
        for (int nTime = 0; nTime < nTimes; ++nTime)
        {
            std::string Text = Line;
            if (nTimes > 1)
                Text.replace(Text.find('#'), 1, std::to_string(nTime));
            *pSection += Text;
        }
    }
    return Sections;
}

void Become(const MACHINE& Machine, const CFakeTools& Tools)
{
    FakeFolder("/proc");
    FakeFile("/etc/os-release", Machine.at("/etc/os-release"));
    std::string Sudo = "case \"$*\" in\n";
    for (const auto& [Name, Text] : Machine)
    {
        if (Name.starts_with("gone "))
            fs::create_directories("/proc/" + Name.substr(5));
        else if (Name.starts_with("sudo "))
            Sudo += '\'' + Name.substr(5) + "') printf '%s' '" + Text + "';;\n";
        else if (Name.starts_with("/proc/") && !Name.ends_with("later"))
        {
            fs::create_directories(fs::path(Name).parent_path());
            std::ofstream(Name, std::ios::binary) << Text;
        }
    }
    Tools.Add("sudo", Sudo + "esac");

    std::istringstream Processors(Machine.at("processors"));
    long nOnline = 0;
    int nThreads = 0;
    Processors >> nOnline >> nThreads;
    StandIns().ProcessorsOnline = [=] {
        return nOnline;
    };
    StandIns().GetNProcs = [=] {
        return nThreads;
    };
    StandIns().Sleep = [&](unsigned) {
        std::ofstream("/proc/stat") << Machine.at("/proc/stat later");
        return 0U;
    };
}

/// A figure for each line: what a call tells, or the code of its failure.
std::string Figures(bool bUsage)
{
    std::ostringstream Told;
    const auto Tell = [&Told](const char* lpszWhat, bool bResult, const auto&... Values) {
        Told << lpszWhat;
        if (bResult)
            ((Told << Values), ...);
        else
            Told << " failed 0x0" << std::hex << std::uppercase << SystemApi_GetLastError(nullptr) << std::dec;
        Told << '\n';
    };
    char tszName[1024] = "", tszVersion[1024] = "", tszBuild[1024] = "";
    unsigned long nNumber = 0;
    Tell("version", SystemApi_System_GetSystemVer(tszName, tszVersion, tszBuild, &nNumber, nullptr), ' ', tszName,
         '|', tszVersion, '|', tszBuild);
    tag_SystemApi_Memory_Infomation st_Memory = {};
    const bool bMemory = SystemApi_System_GetMemoryUsage(&st_Memory, 3);
    Tell("memory", bMemory, ' ', st_Memory.nMemoryTotal, ' ', st_Memory.nMemoryAvailable, ' ', st_Memory.nSwapTotal,
         ' ', st_Memory.nSwapFree, ' ', st_Memory.nMemoryShared, ' ', st_Memory.nMemoryLoad);
    tag_SystemApi_Cpu_Information st_Cpu = {};
    const bool bCpu = SystemApi_HardWare_GetCpuInfomation(&st_Cpu);
    Tell("processor", bCpu, ' ', st_Cpu.tszCpuName, '|', st_Cpu.tszCpuVendor, '|', st_Cpu.nCpuSpeed, '|',
         st_Cpu.nCpuNumber, '|', st_Cpu.nCpuCore);

    char** pptszDisks = nullptr;
    int nCount = 0;
    std::string List;
    const bool bDisks = SystemApi_HardWare_GetDiskNumber(&pptszDisks, &nCount);
    for (int nDisk = 0; bDisks && nDisk < nCount; ++nDisk)
        List += std::string(" ") + pptszDisks[nDisk];
    Tell("disks", bDisks, List);
    BaseLib_Memory_Free(&pptszDisks, nCount);

    const bool bIdle = SystemApi_System_GetSysIdleTime(&nNumber);
    Tell("idle", bIdle, ' ', nNumber);
    int nUsage = 0;
    if (bUsage)
    {
        const bool bResult = SystemApi_System_GetCpuUsage(&nUsage);
        Tell("usage", bResult, ' ', nUsage);
    }
    tag_SystemApi_SdkSerial_Information st_Serial = {};
    const bool bSerial = SystemApi_HardWare_GetSerial(&st_Serial);
    Tell("serials", bSerial, ' ', st_Serial.tszCpuSerial, '|', st_Serial.tszBoardSerial, '|', st_Serial.tszDiskSerial,
         '|', st_Serial.tszSystemUUID);

    SYSTEMAPI_PROCESS_INFO** ppSt_List = nullptr;
    const bool bList = SystemApi_System_GetProcessList(&ppSt_List, &nCount);
    std::sort(ppSt_List, ppSt_List + nCount, [](auto* pSt_A, auto* pSt_B) { return pSt_A->nPid < pSt_B->nPid; });
    List.clear();
    for (int nRow = 0; nRow < nCount; ++nRow)
        List += ' ' + std::to_string(ppSt_List[nRow]->nPid) + '=' + ppSt_List[nRow]->tszProcessName;
    Tell("processes", bList, List);
    BaseLib_Memory_Free(&ppSt_List, nCount);
    return Told.str();
}

class Machines : public testing::TestWithParam<std::string>
{};

TEST_P(Machines, ShowTheirFigures)
{
    const MACHINE Machine = Read(fs::path(MACHINES) / (GetParam() + ".txt"));
    RunSandboxed([&] {
        const CFakeTools m_Tools;
        Become(Machine, m_Tools);
        EXPECT_EQ(Figures(Machine.contains("/proc/stat later")), Machine.at("expected"));
    });
}

std::vector<std::string> Names()
{
    std::vector<std::string> Names;
    for (const fs::directory_entry& Entry : fs::directory_iterator(MACHINES))
        Names.push_back(Entry.path().stem().string());
    std::sort(Names.begin(), Names.end());
    return Names;
}

INSTANTIATE_TEST_SUITE_P(, Machines, testing::ValuesIn(Names()), [](const auto& Info) {
    std::string Name = Info.param;
    std::replace(Name.begin(), Name.end(), '-', '_');
    return Name;
});
} // namespace
