#include "Fakes.h"
#include "RunTool.h"

#include <gmock/gmock.h>

namespace
{
using testing::HasSubstr;
using testing::MatchesRegex;

TEST(FileCommands, OneAfterTheOther)
{
    const CTempFolder m_Folder;
    const std::string Long(1024, 'x');
    const struct
    {
        std::string Arguments;
        int nExit;
        const char* lpszOutput; // a regular expression
    } st_Rows[] = {
        {"ls", 1, "systemapi: .: ERROR_SYSTEMAPI_FILE_ENUMFILE_NOTFOUND .0x040A0021.\n"},
        {"save 'd/\u0444 1.txt' </etc/hostname", 0, ""},
        {"cp 'd/\u0444 1.txt' d/e/copy.log", 0, ""},
        {"cp -n 'd/\u0444 1.txt' d/e/copy.log", 1, "systemapi: d/e/copy.log: ERROR_SYSTEMAPI_FILE_COPY_EXIST .*\n"},
        {"cp d/none d/e/copy.log", 1, "systemapi: filesystem error: .*\\[d/none\\].*\n"},
        {"zero d/zeros 4K", 0, ""},
        {"zero d/none -- -1", 1, "systemapi: d/none: ERROR_SYSTEMAPI_FILE_SPARSE_PARAMETER .*\n"},
        {"zero /dev/full 1M", 1, "systemapi: .*_SPARSE_WRITE .0x040A0502.: No space left on device\n"},
        {"attr d/none d/zeros", 1,
         "systemapi: d/none: .*: No such file or directory\nd/zeros\n  Kind      file\n"
         "  Size      4096 bytes, 4.0 KiB\n(.*\n)*  Readable  yes\n"},
        {"ls -r -t files 'd/*.t'", 0, "d/\u0444 1.txt\n"},
        {"ls -0 -t folders d | tr '\\0' @", 0, "d/e@"},
        {"mkdir a/b d/zeros/x c " + Long, 1, "systemapi: filesystem error: .*\\[d/zeros/x\\]\n.*1023 bytes\n"},
        {"rm -c d a/b none", 0, ""},
        {"rm a c", 0, ""},
        {"ls -r", 0, "./d\n"},
    };
    for (const auto& st_Row : st_Rows)
    {
        SCOPED_TRACE(st_Row.Arguments);
        const auto [nExit, Output] = RunTool("file " + st_Row.Arguments, "cd " + m_Folder.Path().native() + ";");
        EXPECT_EQ(nExit, st_Row.nExit);
        EXPECT_THAT(Output, MatchesRegex(st_Row.lpszOutput));
    }
}

TEST(FileCommands, NamesOnATerminalAreHarmless)
{
    const CTempFolder m_Folder;
    m_Folder.Write("line\nend", "");
    EXPECT_THAT(RunToolOnTerminal("file ls " + m_Folder.Path().native(), 80).Output, HasSubstr("/line\\x0aend\n"));
    EXPECT_THAT(RunTool("file ls " + m_Folder.Path().native()).Output, HasSubstr("/line\nend\n"));
}
} // namespace
