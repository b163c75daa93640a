#include "Fakes.h"
#include "Sandbox.h"

#include <Tolvane_SystemApi.h>

#include <cstddef>
#include <cstring>
#include <gtest/gtest.h>
#include <string>

namespace
{
/// The record between two rows of bytes that nobody may write.
struct GUARDED
{
    char tszBefore[16];
    tag_SystemApi_SdkSerial_Information st_Serial;
    char tszBehind[16];

    GUARDED() : st_Serial()
    {
        std::memset(tszBefore, '#', sizeof(tszBefore));
        std::memset(tszBehind, '#', sizeof(tszBehind));
    }
    ~GUARDED()
    {
        EXPECT_EQ(std::string(tszBefore, sizeof(tszBefore)), std::string(sizeof(tszBefore), '#'));
        EXPECT_EQ(std::string(tszBehind, sizeof(tszBehind)), std::string(sizeof(tszBehind), '#'));
    }
    GUARDED(const GUARDED&) = delete;
    GUARDED& operator=(const GUARDED&) = delete;

    /// Asks, and compares the fields.
    void Expect(const std::string& Cpu, const std::string& Board, const std::string& Disk, const std::string& System)
    {
        EXPECT_TRUE(SystemApi_HardWare_GetSerial(&st_Serial));
        EXPECT_FALSE(SystemApi_IsErrorOccur);
        EXPECT_EQ(Field(st_Serial.tszCpuSerial), Cpu);
        EXPECT_EQ(Field(st_Serial.tszBoardSerial), Board);
        EXPECT_EQ(Field(st_Serial.tszDiskSerial), Disk);
        EXPECT_EQ(Field(st_Serial.tszSystemUUID), System);
    }

private:
    /// A field's text; of one that runs on, its own 64 bytes.
    static std::string Field(const char (&tszField)[64]) { return {tszField, strnlen(tszField, sizeof(tszField))}; }
};

/// Answers the four commands, and nothing else, with what the shell code of each prints.
void FakeSudo(const CFakeTools& m_Tools, const std::string& Ids, const std::string& Blkid, const std::string& Board,
              const std::string& Uuid)
{
    m_Tools.Add("sudo", "case \"$*\" in\n'dmidecode -t 4') " + Ids + ";;\nblkid*) " + Blkid +
                            ";;\n'cat /sys/class/dmi/id/board_serial') " + Board +
                            ";;\n'cat /sys/class/dmi/id/product_uuid') " + Uuid + ";;\n*) exit 1;; esac");
}

std::string Print(std::size_t nCount, char chText)
{
    return "printf '" + std::string(nCount, chText) + "\\n'";
}

constexpr const char* lpszTwoIds =
    R"(printf 'Processor\n\tID: BB 02 00\n\tID: AA 01 00\n\tSocket\n\tID: BB 02 00\n')";
constexpr const char* lpszEchoDevice = R"(printf 'x U="%s"\n' "$2")";

TEST(Serial, TakesAndCleansWhatTheToolsPrint)
{
    const CFakeTools m_Tools;
    FakeSudo(m_Tools, lpszTwoIds, R"(echo '/dev/sda: PTUUID="1a2b-3c" PTTYPE="gpt"')", R"(printf 'B 1\n2\n')",
             "echo 03000200-0400");
    GUARDED().Expect("BB0200", "B 12", "1a2b-3c", "03000200-0400");
}

TEST(Serial, TheDiskFieldNamesTheDevice)
{
    const CFakeTools m_Tools;
    FakeSudo(m_Tools, ":", lpszEchoDevice, ":", ":");
    GUARDED().Expect("", "", "/dev/sda", "");
    GUARDED st_Other;
    std::strcpy(st_Other.st_Serial.tszDiskSerial, "/dev/nvme0n1");
    st_Other.Expect("", "", "/dev/nvme0n1", "");
}

TEST(Serial, OddOutputOfBlkid)
{
    const struct
    {
        const char* lpszWhy;
        const char* lpszBlkid;
        const char* lpszDisk;
    } st_Rows[] = {{"no output", ":", ""},
                   {"only the second word counts", R"(echo 'a="1" b="2"')", "2"},
                   {"the first pair of quotes of several lines", R"(printf 'x a="1"\nx a="2"\n')", "1"},
                   {"an empty pair", R"(echo 'x U=""')", ""},
                   {"without quotes it is taken as it stands", "echo x U=5", "U=5\n"},
                   {"one quote alone leaves the device", R"(echo 'x U="5')", "/dev/sda"}};
    for (const auto& st_Row : st_Rows)
    {
        SCOPED_TRACE(st_Row.lpszWhy);
        const CFakeTools m_Tools;
        FakeSudo(m_Tools, ":", st_Row.lpszBlkid, ":", ":");
        GUARDED().Expect("", "", st_Row.lpszDisk, "");
    }
}

TEST(Serial, OnePlaceholderIsClearedAndTheLaterOnesStay)
{
    const std::string Ids = R"(printf 'ID: 0\nID: )";
    const struct
    {
        const char* lpszWhy;
        std::string Board, Cpu, Disk, System; // printed
        std::string BoardLeft, CpuLeft, DiskLeft, SystemLeft;
    } st_Rows[] = {
        {"the board comes first", "None", "null", "none", "null", "", "null", "none", "null"},
        {"then the processor, in any case", "B", "NULL", "None", "null", "B", "", "None", "null"},
        {"then the disk, by its first four characters", "Non", "1", "nullified", "None", "Non", "1", "", "None"},
        {"the system last", "a None", "1", "2", "NoNe of your business", "a None", "1", "2", ""},
    };
    for (const auto& st_Row : st_Rows)
    {
        SCOPED_TRACE(st_Row.lpszWhy);
        const CFakeTools m_Tools;
        FakeSudo(m_Tools, Ids + st_Row.Cpu + "\\n'", "echo 'x U=\"" + st_Row.Disk + "\"'",
                 "echo '" + st_Row.Board + "'", "echo '" + st_Row.System + "'");
        GUARDED().Expect(st_Row.CpuLeft, st_Row.BoardLeft, st_Row.DiskLeft, st_Row.SystemLeft);
    }
}

TEST(Serial, AClearedPlaceholderIsClearedWhole)
{
    const CFakeTools m_Tools;
    FakeSudo(m_Tools, ":", ":", "printf 'None0123456789'", ":");
    GUARDED st_Record;
    st_Record.Expect("", "", "", "");
    for (const char chText : st_Record.st_Serial.tszBoardSerial)
        EXPECT_EQ(chText, '\0');
}

TEST(Serial, LongOutputRunsIntoTheLaterFieldsAndNeverPastTheRecord)
{
    const CFakeTools m_Tools;
    const auto Text = [](std::size_t nCount, char chText) {
        return std::string(nCount, chText);
    };

    FakeSudo(m_Tools, ":", lpszEchoDevice, Print(100, 'b'), "echo u");
    GUARDED().Expect("", Text(64, 'b'), Text(36, 'b'), "u");

    // The overrun of the processor's ID is what the board's number is appended to, and the device to ask for.
    FakeSudo(m_Tools, "printf 'ID: 0\\nID: " + Text(150, '1') + "\\n'", lpszEchoDevice, "echo b", "echo u");
    GUARDED().Expect(Text(64, '1'), Text(64, '1'), Text(22, '1') + "b", "u");

    for (const std::size_t nLength : {64U, 255U, 256U, 257U, 5000U})
    {
        FakeSudo(m_Tools, "printf 'ID: 0\\nID: " + Text(nLength, '1') + "\\n'",
                 "printf 'x U=\"" + Text(nLength, 'd') + "\"\\n'", Print(nLength, 'b'), Print(nLength, 'u'));
        GUARDED st_Record;
        EXPECT_TRUE(SystemApi_HardWare_GetSerial(&st_Record.st_Serial));
        EXPECT_EQ(st_Record.st_Serial.tszSystemUUID[63], '\0');
    }
}

TEST(Serial, OutputIsAppendedAndTheLastCharacterOfTheProcessorIdAlwaysGoes)
{
    const CFakeTools m_Tools;
    FakeSudo(m_Tools, "echo ID: 1", ":", "echo 2", "echo 3");
    GUARDED st_Record;
    st_Record.st_Serial = {"a b!", "b ", "", "s"};
    st_Record.Expect("ab", "b 2", "", "s3");
}

TEST(Serial, FieldsWithoutAnEndAreNotReadOnPastTheRecord)
{
    const CFakeTools m_Tools;
    FakeSudo(m_Tools, lpszTwoIds, lpszEchoDevice, "echo b", "echo u");
    GUARDED st_Record;
    std::memset(&st_Record.st_Serial, 'x', sizeof(st_Record.st_Serial));
    const std::string Full(64, 'x');
    st_Record.Expect(Full, Full, Full, std::string(63, 'x'));
}

TEST(Serial, WithoutRightsToolsOrDescriptorsTheFieldsAreEmpty)
{
    {
        const CFakeTools m_Tools;
        m_Tools.Add("sudo", "exit 1");
        GUARDED().Expect("", "", "", "");
    }
    RunInChild([] {
        const CNoDescriptors m_None;
        GUARDED().Expect("", "", "", "");
        EXPECT_EQ(SystemApi_GetLastError(nullptr), ERROR_SYSTEMAPI_PROCESS_READCMD_POPEN) << "the stale code stays";
    });
    EXPECT_FALSE(SystemApi_HardWare_GetSerial(nullptr));
    EXPECT_EQ(SystemApi_GetLastError(nullptr), ERROR_SYSTEMAPI_HARDWARE_GETSERIAL_PARAMETER);
}
} // namespace
