// SPDX-License-Identifier: MIT
#include "Fuzz.h"

#include <Tolvane_SystemApi.h>

#include <cstring>
#include <strings.h>

FUZZ(In)
{
    const auto nChunks = In.ConsumeIntegral<unsigned>();
    const bool bZeroed = In.ConsumeBool();
    const std::string Cpu = TakeText(In);
    const std::string Board = TakeText(In);
    const std::string Disk = TakeText(In);
    const std::string System = TakeText(In);
    auto m_Serial = std::make_unique<tag_SystemApi_SdkSerial_Information>();
    if (!bZeroed) // whatever a caller left there, ended or not
        TakeText(In).copy(reinterpret_cast<char*>(m_Serial.get()), sizeof(*m_Serial));
    GiveTexts({{"dmidecode", Cpu}, {"blkid", Disk}, {"board_serial", Board}, {"product_uuid", System}}, nChunks);
    REQUIRE(SystemApi_HardWare_GetSerial(m_Serial.get()) && !SystemApi_IsErrorOccur);

    const auto m_Cleaned = [](std::string Text, char chRemoved) {
        Text.erase(std::remove(Text.begin(), Text.end(), chRemoved), Text.end());
        return Text;
    };
    const std::vector<std::string> Ids = Lines(Cpu, 2048);
    std::string First = m_Cleaned(Ids.size() > 1 ? Ids[1] : "", ' ');
    First = First.substr(0, First.empty() ? 0 : First.size() - 1);
    const std::string Second = m_Cleaned(Captured(Board, 8192), '\n');
    const std::string Third = m_Cleaned(Captured(System, 8192), '\n');
    constexpr std::size_t nField = sizeof(m_Serial->tszBoardSerial);
    const bool bShort = std::max(Cpu.size(), std::max(Board.size(), std::max(Disk.size(), System.size()))) < nField;
    if (!bZeroed || !bShort) // the fields run into each other
        return;
    const auto m_IsPlaceholder = [](const std::string& Text) {
        return strncasecmp(Text.c_str(), "none", 4) == 0 || strncasecmp(Text.c_str(), "null", 4) == 0;
    };
    const bool bBoard = m_IsPlaceholder(Second);
    const bool bCpu = !bBoard && m_IsPlaceholder(First);
    const bool bDisk = !bBoard && !bCpu && m_Serial->tszDiskSerial[0] == '\0'; // or empty quotes
    REQUIRE((bBoard ? "" : Second) == m_Serial->tszBoardSerial);
    REQUIRE((bCpu ? "" : First) == m_Serial->tszCpuSerial);
    const bool bSystem = !bBoard && !bCpu && m_IsPlaceholder(Third);
    REQUIRE(Third == m_Serial->tszSystemUUID || (bSystem && m_Serial->tszSystemUUID[0] == '\0'));
    REQUIRE(!bSystem || bDisk || m_Serial->tszSystemUUID[0] == '\0');
}
