// SPDX-License-Identifier: MIT
#include "Fuzz.h"

#include <Tolvane_SystemApi.h>

#include <cstring>

FUZZ(In)
{
    const auto nChunks = In.ConsumeIntegral<unsigned>();
    const std::string Stat = TakeText(In);
    const std::string Statm = TakeText(In);
    const std::string Login = TakeText(In);
    const std::string Listing = TakeText(In);
    const bool bByName = In.ConsumeBool();
    GiveTexts({{"ps -ef", Listing}, {"/statm", Statm}, {"/stat", Stat}, {"/loginuid", Login}}, nChunks);
    auto m_Info = std::make_unique<tag_SystemApi_Process_Infomation>();
    std::strcpy(m_Info->tszUserName, "before");
    const bool bDone = SystemApi_Process_GetProcessInfo(m_Info.get(), bByName ? "name" : nullptr, 7);
    if (!bDone && bByName && m_Info->nAppState == 0 && m_Info->tszAppName[0] == '\0')
        return; // nothing in the listing

    // The fields before the number of threads are looked at one by one: a field's place is all that counts.
    int nPid = 0;
    char tszName[1024] = {};
    char cState = '\0';
    const int nFields = std::sscanf(Captured(Stat).c_str(), "%d %1023s %c", &nPid, tszName, &cState);
    REQUIRE(m_Info->nPid == nPid && std::strcmp(m_Info->tszAppName, tszName) == 0);
    const char* const lpszPlace = nFields == 3 && cState != '\0' ? std::strchr("RSDZTW", cState) : nullptr;
    REQUIRE(m_Info->nAppState == (lpszPlace ? lpszPlace - std::strchr("RSDZTW", 'R') : 6));
    REQUIRE(nFields == 3 || m_Info->nThreadCount == 0);

    int nPages[3] = {};
    std::sscanf(Captured(Statm).c_str(), "%d %d %d", nPages, nPages + 1, nPages + 2);
    REQUIRE(m_Info->nVirtualMem == nPages[0] / 4 && m_Info->nResidentMem == nPages[1] / 4);
    REQUIRE(m_Info->nSharedMem == nPages[2] / 4);
    REQUIRE(bDone || std::strcmp(m_Info->tszUserName, "before") == 0);
}
