// SPDX-License-Identifier: MIT
#include "Fuzz.h"

#include "SystemApi_System/SystemApi_System.h"

#include <thread>

static unsigned long IdleTime(const std::vector<std::string>& Table)
{
    unsigned long n[9] = {};
    for (const std::string& Line : Table)
    {
        unsigned long nNew[9] = {};
        if (Line.compare(0, 4, "cpu ") == 0 &&
            std::sscanf(Line.c_str() + 4, "%lu %lu %lu %lu %lu %lu %lu %lu %lu", nNew, nNew + 1, nNew + 2, nNew + 3,
                        nNew + 4, nNew + 5, nNew + 6, nNew + 7, nNew + 8) == 9)
        {
            std::copy(std::begin(nNew), std::end(nNew), n);
            break;
        }
    }
    const unsigned long nTotal = n[0] + n[1] + n[2] + n[3] + n[4] + n[5] + n[6] + n[7] + n[8];
    if (nTotal == 0)
        return 1UL << 63;
    const double fPart = static_cast<double>(n[3]) / static_cast<double>(nTotal);
    return fPart < 0x1p64 ? static_cast<unsigned long>(fPart) : 1UL << 63;
}

FUZZ(In)
{
    const std::string Text = In.ConsumeRemainingBytesAsString();
    const std::vector<std::string> Table = Lines(Text, 1024);
    GiveTexts({{"/proc/stat", Text}});
    unsigned long nIdle = 5;
    REQUIRE(m_SystemSdk.SystemApi_System_GetSysIdleTime(nIdle) && nIdle == IdleTime(Table));

    const tag_LinuxSdk_SystemCpu_Occupy st_Old = {"old", 1, 2, 3, 4};
    std::vector<tag_LinuxSdk_SystemCpu_Occupy> Samples(std::thread::hardware_concurrency(), st_Old);
    REQUIRE(m_SystemSdk.SystemApi_System_Get_Occupy(Samples.data()) == !Table.empty());
    for (std::size_t nCpu = 0; nCpu < Samples.size(); ++nCpu)
    {
        tag_LinuxSdk_SystemCpu_Occupy st_Expected = st_Old;
        char tszName[1024] = "old";
        if (nCpu + 1 < Table.size())
            std::sscanf(Table[nCpu + 1].c_str(), "%1023s %u %u %u %u", tszName, &st_Expected.dwUser,
                        &st_Expected.dwNice, &st_Expected.dwSystem, &st_Expected.dwIdle);
        REQUIRE(std::string(tszName).substr(0, 19) == Samples[nCpu].tszCpuName);
        REQUIRE(Samples[nCpu].dwUser == st_Expected.dwUser && Samples[nCpu].dwNice == st_Expected.dwNice);
        REQUIRE(Samples[nCpu].dwSystem == st_Expected.dwSystem && Samples[nCpu].dwIdle == st_Expected.dwIdle);
    }
}
