// SPDX-License-Identifier: MIT
#include "Fuzz.h"

#include <Tolvane_SystemApi.h>

#include <cstring>

FUZZ(In)
{
    const std::string Text = In.ConsumeRemainingBytesAsString();
    GiveTexts({{"/proc/cpuinfo", Text}});
    tag_SystemApi_Cpu_Information st_Cpu = {"old", "old", -1, -1, -1};
    const bool bDone = SystemApi_HardWare_GetCpuInfomation(&st_Cpu);

    std::string Name = "old";
    std::string Vendor = "old";
    int nSpeed = -1;
    std::vector<std::string> Table = Lines(Text, 1024);
    const std::size_t nLines = Table.size();
    Table.resize(8);
    char tszWord[1024] = {};
    std::sscanf(Table[1].c_str(), "%*s %*s %1023s", tszWord);
    const char* const lpszName = std::strstr(Table[4].c_str(), ": ");
    if (nLines >= 2)
        Vendor = std::string(tszWord).substr(0, sizeof(st_Cpu.tszCpuVendor) - 1);
    if (nLines >= 5 && lpszName)
    {
        Name = std::string(lpszName + 2).substr(0, sizeof(st_Cpu.tszCpuName) - 1);
        Name = Name.substr(0, Name.empty() ? 0 : Name.size() - 1);
        if (nLines >= 8)
        {
            nSpeed = 0;
            std::sscanf(Table[7].c_str(), "%*s %*s %*s %d", &nSpeed);
        }
    }
    REQUIRE(bDone == (nLines >= 8 && lpszName));
    REQUIRE(st_Cpu.tszCpuName == Name && st_Cpu.tszCpuVendor == Vendor && st_Cpu.nCpuSpeed == nSpeed);
    REQUIRE(st_Cpu.nCpuCore > 0 && (bDone ? st_Cpu.nCpuNumber > 0 : st_Cpu.nCpuNumber == -1));
}
