#include "GuardedText.h"

#include <Tolvane_BaseLib.h>

#include <gtest/gtest.h>
#include <string>
#include <vector>

namespace
{
using Text1024 = CGuardedText<char, BASELIB_TEXT_SIZE>;

std::string Xs(std::size_t nCount)
{
    return std::string(nCount, 'x');
}

bool Split(const char* lpszPath, char* ptszFolder, char* ptszName, char* ptszReserved, char* ptszExt, bool bFlag)
{
    return BaseLib_String_GetFileAndPathA(lpszPath, ptszFolder, ptszName, ptszReserved, ptszExt, bFlag);
}
bool Split(const wchar_t* lpszPath, wchar_t* ptszFolder, wchar_t* ptszName, wchar_t* ptszReserved, wchar_t* ptszExt,
           bool bFlag)
{
    return BaseLib_String_GetFileAndPathW(lpszPath, ptszFolder, ptszName, ptszReserved, ptszExt, bFlag);
}

template <typename Char>
class PathSplitter : public testing::Test
{
public:
    using String = std::basic_string<Char>;
    static String To(const std::string& Ascii) { return String(Ascii.begin(), Ascii.end()); }

    String Before = To("before");
    CGuardedText<Char, BASELIB_TEXT_SIZE> Folder{Before};
    CGuardedText<Char, BASELIB_FILE_NAME_SIZE> FileName{Before};
    CGuardedText<Char, BASELIB_FILE_EXT_SIZE> FileExt{Before};
    CGuardedText<Char, 16> Reserved{Before};
};
using BothWidths = testing::Types<char, wchar_t>;
TYPED_TEST_SUITE(PathSplitter, BothWidths);

TYPED_TEST(PathSplitter, FolderNameAndExtension)
{
    const struct
    {
        const char* lpszWhy;
        std::string Path, Folder, FileName, FileExt;
        bool bFits = true;
    } st_Rows[] = {
        {"the ordinary path", "/home/u/a.txt", "/home/u", "a.txt", "txt"},
        {"a file in the root", "/a.txt", "/", "a.txt", "txt"},
        {"a bare name is in the current folder", "a.txt", ".", "a.txt", "txt"},
        {"the pattern of an enumeration", "./*.*", ".", "*.*", "*"},
        {"only the last slash goes", "a//b", "a/", "b", ""},
        {"a path that ends in a slash", "/tmp/a.d/", "/tmp/a.d", "", ""},
        {"the root", "/", "/", "", ""},
        {"a dot in the folder is none of the name's", "a.b/c", "a.b", "c", ""},
        {"only the last extension counts", "a.tar.gz", ".", "a.tar.gz", "gz"},
        {"a hidden name has none", "x/.profile", "x", ".profile", ""},
        {"a hidden name may have one", ".a.b", ".", ".a.b", "b"},
        {"this folder", ".", ".", ".", ""},
        {"the parent folder", "..", ".", "..", ""},
        {"two dots before a name", "..x", ".", "..x", "x"},
        {"a dot at the end", "name.", ".", "name.", ""},
        {"the longest folder", Xs(1023) + "/a.b", Xs(1023), "a.b", "b"},
        {"a folder too long leaves the others right", Xs(1024) + "/a.b", "", "a.b", "b", false},
        {"the longest name", "d/" + Xs(257) + ".y", "d", Xs(257) + ".y", "y"},
        {"a name too long leaves the others right", "d/" + Xs(258) + ".y", "d", "", "y", false},
        {"the longest extension", "d/a." + Xs(63), "d", "a." + Xs(63), Xs(63)},
        {"an extension too long leaves the others right", "d/a." + Xs(64), "d", "a." + Xs(64), "", false},
        {"everything too long", Xs(1 << 20) + "/" + Xs(1 << 20) + "." + Xs(1 << 20), "", "", "", false},
        {"no text", "", "", "", "", false},
    };
    for (const auto& st_Row : st_Rows)
        for (const bool bFlag : {false, true}) // not used
        {
            SCOPED_TRACE(st_Row.lpszWhy);
            EXPECT_EQ(Split(this->To(st_Row.Path).c_str(), this->Folder, this->FileName, this->Reserved,
                            this->FileExt, bFlag),
                      st_Row.bFits);
            EXPECT_EQ(this->Folder.Text(), this->To(st_Row.Folder));
            EXPECT_EQ(this->FileName.Text(), this->To(st_Row.FileName));
            EXPECT_EQ(this->FileExt.Text(), this->To(st_Row.FileExt));
            EXPECT_EQ(this->Reserved.Text(), this->Before);
        }
}

TYPED_TEST(PathSplitter, OutputsThatAreNotWanted)
{
    const auto Path = this->To("d/a.txt");
    EXPECT_TRUE(Split(Path.c_str(), this->Folder, nullptr, nullptr, nullptr, false));
    EXPECT_EQ(this->Folder.Text(), this->To("d"));
    EXPECT_TRUE(Split(Path.c_str(), nullptr, this->FileName, nullptr, nullptr, false));
    EXPECT_EQ(this->FileName.Text(), this->To("a.txt"));
    EXPECT_TRUE(Split(Path.c_str(), nullptr, nullptr, nullptr, this->FileExt, false));
    EXPECT_EQ(this->FileExt.Text(), this->To("txt"));
    EXPECT_TRUE(Split(this->To(Xs(300)).c_str(), this->Folder, nullptr, nullptr, nullptr, false))
        << "a part that does not fit counts only where it is wanted";
    EXPECT_FALSE(
        Split(static_cast<const TypeParam*>(nullptr), this->Folder, this->FileName, nullptr, this->FileExt, false));
    EXPECT_EQ(this->Folder.Text() + this->FileName.Text() + this->FileExt.Text(), this->To(""));
}

TEST(KeyValue, SplitsAtTheFirstSeparator)
{
    const struct
    {
        const char* lpszWhy;
        std::string Line, Separator, Key, Value;
        bool bDone = true;
    } st_Rows[] = {
        {"the first one", "A=B=C", "=", "A", "B=C"},
        {"no key", "=B", "=", "", "B"},
        {"no value", "A=", "=", "A", ""},
        {"blanks and quotes stay", " A = \"B\"", "=", " A ", " \"B\""},
        {"a longer separator", "A=B==C", "==", "A=B", "C"},
        {"none: nothing is written", "AB", "=", "before", "before", false},
        {"an empty line", "", "=", "before", "before", false},
        {"an empty separator marks nothing", "A=B", "", "before", "before", false},
        {"the longest key and value", Xs(1023) + "=" + Xs(1023), "=", Xs(1023), Xs(1023)},
        {"a key too long leaves the value right", Xs(1024) + "=B", "=", "", "B", false},
        {"a value too long leaves the key right", "A=" + Xs(1024), "=", "A", "", false},
    };
    for (const auto& st_Row : st_Rows)
    {
        SCOPED_TRACE(st_Row.lpszWhy);
        Text1024 m_Key("before");
        Text1024 m_Value("before");
        EXPECT_EQ(BaseLib_String_GetKeyValueA(st_Row.Line.c_str(), st_Row.Separator.c_str(), m_Key, m_Value, 1, 0, 0),
                  st_Row.bDone);
        EXPECT_EQ(m_Key.Text(), st_Row.Key);
        EXPECT_EQ(m_Value.Text(), st_Row.Value);
    }
    Text1024 m_Value;
    EXPECT_FALSE(BaseLib_String_GetKeyValueA(nullptr, "=", m_Value, m_Value, 1, 0, 0));
    EXPECT_FALSE(BaseLib_String_GetKeyValueA("A=B", nullptr, m_Value, m_Value, 1, 0, 0));
    EXPECT_TRUE(BaseLib_String_GetKeyValueA("A=B", "=", nullptr, m_Value, 1, 0, 0));
    EXPECT_EQ(m_Value.Text(), "B");
}

TEST(StartEnd, TakesWhatStandsBetweenTheMarkers)
{
    const struct
    {
        const char* lpszWhy;
        std::string Source, Start, End, Result;
        bool bDone = true;
    } st_Rows[] = {
        {"quotes are stripped", "\"22.04\"", "\"", "\"", "22.04"},
        {"without quotes it is stripped already", "39", "\"", "\"", "39"},
        {"an empty text too", "", "\"", "\"", ""},
        {"empty quotes", "\"\"", "\"", "\"", ""},
        {"one quote alone ends nowhere", "\"22.04", "\"", "\"", "before", false},
        {"the first pair", "UUID=\"1a\" TYPE=\"x\"", "\"", "\"", "1a"},
        {"brackets", "12 (bookworm)", "(", ")", "bookworm"},
        {"the end marker that follows", "a) (b) c)", "(", ")", "b"},
        {"the first start marker", "((a)b)", "(", ")", "(a"},
        {"different markers, none there", "bookworm", "(", ")", "before", false},
        {"different markers, empty text", "", "(", ")", "before", false},
        {"no end marker", "(bookworm", "(", ")", "before", false},
        {"no start marker", "bookworm)", "(", ")", "before", false},
        {"longer markers", "x<a>y</a>z", "<a>", "</a>", "y"},
        {"markers do not overlap", "==", "=", "==", "before", false},
        {"an empty start marker marks nothing", "a)", "", ")", "before", false},
        {"an empty end marker", "(a", "(", "", "before", false},
        {"two empty markers are no quotes", "a", "", "", "before", false},
        {"the longest result", "(" + Xs(1023) + ")", "(", ")", Xs(1023)},
        {"too long a result", "(" + Xs(1024) + ")", "(", ")", "", false},
        {"too long a text, stripped already", Xs(1024), "\"", "\"", "", false},
    };
    for (const auto& st_Row : st_Rows)
    {
        SCOPED_TRACE(st_Row.lpszWhy);
        Text1024 m_Result("before");
        EXPECT_EQ(
            BaseLib_String_GetStartEndA(st_Row.Source.c_str(), m_Result, st_Row.Start.c_str(), st_Row.End.c_str(), 0),
            st_Row.bDone);
        EXPECT_EQ(m_Result.Text(), st_Row.Result);
    }
    Text1024 m_Result("before");
    EXPECT_FALSE(BaseLib_String_GetStartEndA(nullptr, m_Result, "(", ")", 0));
    EXPECT_FALSE(BaseLib_String_GetStartEndA("(a)", nullptr, "(", ")", 0));
    EXPECT_FALSE(BaseLib_String_GetStartEndA("(a)", m_Result, nullptr, ")", 0));
    EXPECT_FALSE(BaseLib_String_GetStartEndA("(a)", m_Result, "(", nullptr, 0));
    EXPECT_EQ(m_Result.Text(), "before");
}

TEST(DelSub, DeletesEveryOccurrenceInOnePass)
{
    const struct
    {
        const char* lpszWhy;
        std::string Text, Sub, Result;
        bool bDeleted = true;
    } st_Rows[] = {
        {"every one", "AB 12 CD", " ", "AB12CD"},    {"at both ends and side by side", "  a  b  ", " ", "ab"},
        {"line ends", "SN-1\n\n", "\n", "SN-1"},     {"the whole text", "\n", "\n", ""},
        {"from left to right", "aaa", "aa", "a"},    {"what meets by the deletion stays", "aabb", "ab", "ab"},
        {"none there", "abc", "x", "abc", false},    {"longer than the text", "ab", "abc", "ab", false},
        {"an empty piece", "abc", "", "abc", false}, {"a long text", Xs(5000) + " " + Xs(5000), " ", Xs(10000)},
    };
    for (const auto& st_Row : st_Rows)
    {
        SCOPED_TRACE(st_Row.lpszWhy);
        std::vector<char> Text(st_Row.Text.c_str(), st_Row.Text.c_str() + st_Row.Text.size() + 1);
        EXPECT_EQ(BaseLib_String_DelSubA(Text.data(), st_Row.Sub.c_str(), 1), st_Row.bDeleted);
        EXPECT_EQ(Text.data(), st_Row.Result);
    }
    char tszText[] = "abc";
    EXPECT_FALSE(BaseLib_String_DelSubA(nullptr, " ", 1));
    EXPECT_FALSE(BaseLib_String_DelSubA(tszText, nullptr, 1));
    EXPECT_STREQ(tszText, "abc");
}
} // namespace
