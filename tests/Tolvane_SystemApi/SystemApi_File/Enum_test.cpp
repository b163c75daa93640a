// SPDX-License-Identifier: MIT
#include "Forms.h"
#include "Sandbox.h"

#include <csignal>
#include <cstdlib>
#include <dlfcn.h>
#include <functional>
#include <new>
#include <sys/stat.h>
#include <unistd.h>

/// Routines of the base library that this program answers in its place; for real without a stand-in.
struct
{
    std::function<bool(const wchar_t*, char*, int*)> UnicodeToAnsi;
    bool bNoTables = false;
    std::size_t nRowSize = 0; // of the last table
} st_BaseStandIns;

template <typename Routine>
Routine* RealRoutine(Routine*, const char* lpszName)
{
    return reinterpret_cast<Routine*>(dlsym(RTLD_NEXT, lpszName));
}

bool BaseLib_Charset_UnicodeToAnsi(const wchar_t* lpszSource, char* ptszDest, int* pInt_Len, const char* lpszReserved)
{
    if (st_BaseStandIns.UnicodeToAnsi)
        return st_BaseStandIns.UnicodeToAnsi(lpszSource, ptszDest, pInt_Len);
    return RealRoutine(BaseLib_Charset_UnicodeToAnsi, __func__)(lpszSource, ptszDest, pInt_Len, lpszReserved);
}
bool BaseLib_Memory_Malloc(void* pppTable, long long nRows, int nRowSize)
{
    st_BaseStandIns.nRowSize = static_cast<std::size_t>(nRowSize);
    return !st_BaseStandIns.bNoTables && RealRoutine(BaseLib_Memory_Malloc, __func__)(pppTable, nRows, nRowSize);
}

namespace
{
namespace fs = std::filesystem;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::UnorderedElementsAre;

template <typename Form>
class EnumFile : public FileTest<Form>
{
protected:
    using Text = typename Form::Text;
    using Char = typename Text::value_type;

    /// What a walk of the root gives, without the root and its slash.
    std::list<Text> Walk(bool bRecursion, int nType, const char* lpszExt = nullptr) const
    {
        std::list<Text> List;
        const Text Ext = Form::From(lpszExt ? lpszExt : "");
        EXPECT_TRUE(Form::ListFile(this->At("").c_str(), &List, bRecursion, nType, lpszExt ? Ext.c_str() : nullptr));
        EXPECT_FALSE(SystemApi_IsErrorOccur);
        for (Text& Entry : List)
        {
            EXPECT_EQ(Entry.substr(0, this->At("").size()), this->At(""));
            Entry.erase(0, this->At("").size());
        }
        return List;
    }
    /// The rows for a path, which are given back.
    static std::list<Text> Rows(const Text& Path, bool bRecursion, int nType)
    {
        Char** ppszTable = nullptr;
        int nCount = -1;
        EXPECT_TRUE(Form::EnumFile(Path.c_str(), &ppszTable, &nCount, bRecursion, nType));
        std::list<Text> List(ppszTable, ppszTable + nCount);
        EXPECT_TRUE(BaseLib_Memory_Free(&ppszTable, nCount));
        return List;
    }
};
TYPED_TEST_SUITE(EnumFile, BothWidths);

TYPED_TEST(EnumFile, Selector)
{
    const auto F = TypeParam::From;
    this->Write("d/e/deep", "");
    fs::create_symlink("d", this->Native("link-to-folder"));
    fs::create_symlink("self", this->Native("self"));
    EXPECT_THAT(this->Walk(false, 1), ElementsAre(F("self")));
    EXPECT_THAT(this->Walk(false, 2), UnorderedElementsAre(F("d"), F("link-to-folder")));
    EXPECT_EQ(this->Walk(false, 3).size(), 3U);
    EXPECT_THAT(this->Walk(true, 1), UnorderedElementsAre(F("self"), F("d/e/deep")));
    EXPECT_THAT(this->Walk(true, 2), UnorderedElementsAre(F("d"), F("d/e"), F("link-to-folder"))) << "not followed";
    EXPECT_EQ(this->Walk(true, 3).size(), 5U);
    for (const int nNothing : {0, 4, 5, 7, -1, -3, std::numeric_limits<int>::min()})
        EXPECT_THAT(this->Walk(true, nNothing), IsEmpty()) << nNothing;
}

TYPED_TEST(EnumFile, ExtensionFilter)
{
    const struct
    {
        const char* lpszWhy;
        const char* lpszFile;
        const char* lpszFilter;
        bool bListed;
    } st_Rows[] = {
#include "../../data/ExtensionFilter.inc"
    };
    for (const auto& st_Row : st_Rows)
    {
        SCOPED_TRACE(st_Row.lpszWhy);
        this->Write(st_Row.lpszFile, "");
        EXPECT_EQ(this->Walk(true, 1, st_Row.lpszFilter).size(), st_Row.bListed ? 1U : 0U);
        EXPECT_EQ(this->Walk(true, 2, st_Row.lpszFilter), this->Walk(true, 2)) << "folders are not filtered";
        EXPECT_EQ(this->Walk(false, 1, st_Row.lpszFilter).size(), st_Row.bListed ? 1U : 0U);
        fs::remove_all(this->m_Root);
    }
}

TYPED_TEST(EnumFile, TwoFoldersAreLeftOutOfTreesAlone)
{
    const auto F = TypeParam::From;
    this->Write("$RECYCLE.BIN/x/inside", "");
    this->Write("sub/System Volume Information/inside", "");
    this->Write("$recycle.bin/other case", "");
    this->Write("System Volume Information2/longer", "");
    this->Write("sub/$RECYCLE.BIN", "a file");
    EXPECT_THAT(this->Walk(true, 3),
                UnorderedElementsAre(F("sub"), F("sub/$RECYCLE.BIN"), F("$recycle.bin"), F("$recycle.bin/other case"),
                                     F("System Volume Information2"), F("System Volume Information2/longer")));
    EXPECT_EQ(this->Walk(true, 1).size(), 3U) << "nothing inside them either";
    EXPECT_THAT(this->Walk(false, 2), UnorderedElementsAre(F("sub"), F("$RECYCLE.BIN"), F("$recycle.bin"),
                                                           F("System Volume Information2")));
}

TYPED_TEST(EnumFile, RefusesWhatIsNoFolder)
{
    this->Write("file", "");
    fs::create_symlink("file", this->Native("link"));
    fs::create_symlink("self", this->Native("self"));
    std::list<typename TypeParam::Text> List = {this->At("kept")};
    ExpectFailure(TypeParam::ListFile(nullptr, &List, true, 3), 0x040A0020);
    ExpectFailure(TypeParam::ListFile(this->At("").c_str(), nullptr, true, 3), 0x040A0020);
    ExpectFailure(TypeParam::ListFile(TypeParam::From("").c_str(), &List, false, 3), 0x040A0022);
    for (const char* lpszName : {"missing", "file", "link", "file/below"})
        ExpectFailure(TypeParam::ListFile(this->At(lpszName).c_str(), &List, true, 3), 0x040A0022);
    ExpectRaises(ELOOP, [&] { TypeParam::ListFile(this->At("self").c_str(), &List, true, 3); });
    EXPECT_THAT(List, ElementsAre(this->At("kept")));
    fs::create_directory_symlink(".", this->Native("loop"));
    EXPECT_TRUE(TypeParam::ListFile(this->At("loop").c_str(), &List, true, 3)) << "a link to a folder";
    EXPECT_EQ(List.size(), 5U);
}

TYPED_TEST(EnumFile, FoldersThatMayNotBeReadArePassedOver)
{
    this->Write("closed/inside", "");
    chmod(this->Native("closed").c_str(), 0);
    RunInChild([this] {
        GiveUpRoot();
        EXPECT_EQ(this->Walk(true, 3).size(), 1U);
        std::list<typename TypeParam::Text> List;
        EXPECT_TRUE(TypeParam::ListFile(this->At("closed").c_str(), &List, false, 3));
        EXPECT_THAT(List, IsEmpty());
        ExpectRaises(EACCES, [&] { TypeParam::ListFile(this->At("closed/x").c_str(), &List, true, 3); });
    });
}

TEST(EnumNames, NotUtf8RaisesWhereANameIsConvertedAndOnlyThere)
{
    // Bytes that begin nothing, a surrogate, forms longer than need be, a value too high, forms cut short.
    for (const std::string Name :
         {"\xFFz", "\x80z", "\xBF\xBF", "\xF8\x90\x80\x80", "\xED\xA0\x80", "\xC1\xBF", "\xE0\x9F\xBF",
          "\xF0\x8F\xBF\xBF", "\xF4\x90\x80\x80", "\xC3\xC3", "\xF0\x9F\x93"})
    {
        const CTempFolder m_Folder;
        const std::string Root = m_Folder.Path();
        const std::wstring WideRoot = Wide::From(Root);
        std::list<std::string> List;
        std::list<std::wstring> WideList;
        const auto m_RaisesWide = [&](const std::wstring& Path, bool bRecursion, const wchar_t* lpszExt) {
            ExpectRaises(EILSEQ, [&] { Wide::ListFile(Path.c_str(), &WideList, bRecursion, 1, lpszExt); });
        };
        m_Folder.Write("f/" + Name + ".txt", "");
        EXPECT_TRUE(Narrow::ListFile((Root + "/f").c_str(), &List, false, 3));
        EXPECT_TRUE(Narrow::ListFile(Root.c_str(), &List, true, 2));
        ExpectRaises(EILSEQ, [&] { Narrow::ListFile(Root.c_str(), &List, true, 3, "log"); });
        EXPECT_THAT(List, ElementsAre(Root + "/f/" + Name + ".txt", Root + "/f", Root + "/f"))
            << "byte for byte; a tree's file raises even when it does not pass; what came before stays";
        EXPECT_TRUE(Wide::ListFile(WideRoot.c_str(), &WideList, true, 1, L"log")) << "of what does not pass, no more";
        m_RaisesWide(WideRoot, true, nullptr);
        m_RaisesWide(WideRoot + L"/f", false, L"txt");

        fs::rename(m_Folder / "f", m_Folder / Name);
        fs::remove(Root + "/" + Name + "/" + Name + ".txt");
        EXPECT_TRUE(Narrow::ListFile(Root.c_str(), &List, true, 3)) << "folders stay native";
        EXPECT_EQ(List.back(), Root + "/" + Name);
        EXPECT_TRUE(Wide::ListFile(WideRoot.c_str(), &WideList, false, 1));
        m_RaisesWide(WideRoot, true, nullptr); // looked up among the folders to leave out
        m_Folder.Write("file." + Name, "");
        m_RaisesWide(WideRoot, false, L"log"); // than its extension
    }
}

TEST(EnumNames, NarrowTreeFilesAreWhatTheBaseLibraryMakesOfThem)
{
    const CTempFolder m_Folder;
    const std::string Root = m_Folder.Path();
    m_Folder.Write("\u00e9/ascii.txt", "");
    m_Folder.Write("ascii.txt", "");
    int nAsked = 0;
    const auto m_Walk = [&](bool bRecursion) {
        nAsked = 0;
        std::list<std::string> List;
        EXPECT_TRUE(Narrow::ListFile(Root.c_str(), &List, bRecursion, 3, "txt"));
        return List;
    };
    // A locale that writes one character in its own way, and ASCII as it is.
    st_BaseStandIns.UnicodeToAnsi = [&](const wchar_t* lpszWide, char* ptszOut, int* pInt_Len) {
        nAsked += *pInt_Len == static_cast<int>(std::wcslen(lpszWide) * 4);
        for (; *lpszWide; ++lpszWide)
            *ptszOut++ = static_cast<char>(*lpszWide);
        return true;
    };
    EXPECT_THAT(m_Walk(true), UnorderedElementsAre(Root + "/\u00e9", Root + "/\xE9/ascii.txt", Root + "/ascii.txt"));
    EXPECT_GT(nAsked, 0) << "the length that is passed";
    EXPECT_THAT(m_Walk(false), UnorderedElementsAre(Root + "/\u00e9", Root + "/ascii.txt"));
    EXPECT_EQ(nAsked, 0) << "not for a folder's own entries";
    st_BaseStandIns.UnicodeToAnsi = [](const wchar_t* lpszWide, char* ptszOut, int*) {
        *ptszOut = *lpszWide == L'/' ? *ptszOut : 'x';
        return false;
    };
    EXPECT_THAT(m_Walk(true), UnorderedElementsAre(Root + "/\u00e9", "", ""))
        << "where no path is written, whatever was before";
    st_BaseStandIns = {};
}

TYPED_TEST(EnumFile, AnExtensionMakesAPattern)
{
    this->Write("in/a.txt", "");
    this->Write("in/b.TXTX", "");
    this->Write("in/c.log", "");
    this->Write("in/d.d/e.txt", "");
    this->Write("in/f", "");
    const auto In = [this](const char* lpszName) {
        return this->At(std::string("in/") + lpszName);
    };
    for (const char* lpszPattern : {"in/*.txt", "in/report.TXT", "in/a.txt", "in/.*.txt"})
        EXPECT_THAT(this->Rows(this->At(lpszPattern), false, 1), UnorderedElementsAre(In("a.txt"), In("b.TXTX")))
            << lpszPattern;
    EXPECT_THAT(this->Rows(this->At("in/*.txt"), true, 3),
                UnorderedElementsAre(In("a.txt"), In("b.TXTX"), In("d.d"), In("d.d/e.txt")));
    EXPECT_THAT(this->Rows(this->At("in/d.d/"), false, 1), ElementsAre(In("d.d/e.txt"))) << "a slash: a folder";
    ExpectFailure(TypeParam::EnumFile(this->At("in/d.d").c_str(), nullptr, nullptr, false, 1), 0x040A0021);
    EXPECT_THAT(this->Rows(this->At("in"), false, 2), ElementsAre(In("d.d")));
}

TYPED_TEST(EnumFile, NamesWithoutAnExtensionAreFolders)
{
    this->Write("a/.config/file", "");
    RunInChild([this] {
        ASSERT_EQ(chdir(this->Native("a").c_str()), 0);
        const auto F = TypeParam::From;
        EXPECT_THAT(this->Rows(F(".config"), false, 1), ElementsAre(F(".config/file")));
        EXPECT_THAT(this->Rows(F("."), true, 1), ElementsAre(F("./.config/file")));
        EXPECT_THAT(this->Rows(F(".."), true, 1), ElementsAre(F("../a/.config/file")));
        EXPECT_THAT(this->Rows(F(".config/.."), true, 1), ElementsAre(F(".config/../.config/file")));
        EXPECT_THAT(this->Rows(F("x.y"), false, 3), ElementsAre(F("./.config"))) << "of the current folder";
    });
}

TYPED_TEST(EnumFile, OutputsForEveryEnding)
{
    this->Write("full/file", "");
    EXPECT_TRUE(TypeParam::EnumFile(this->At("full").c_str(), nullptr, nullptr, false, 1));
    int nCount = -1;
    EXPECT_TRUE(TypeParam::EnumFile(this->At("full").c_str(), nullptr, &nCount, false, 1));
    EXPECT_EQ(nCount, 1);

    typename TestFixture::Char** ppszTable = nullptr;
    ExpectFailure(TypeParam::EnumFile(this->At("full").c_str(), &ppszTable, &nCount, false, 2), 0x040A0021);
    EXPECT_EQ(nCount, 0) << "stored all the same";
    ASSERT_NE(ppszTable, nullptr) << "made all the same";
    EXPECT_EQ(ppszTable[0], nullptr);
    EXPECT_TRUE(BaseLib_Memory_Free(&ppszTable, nCount));

    typename TestFixture::Char* pszUntouched = nullptr;
    ppszTable = &pszUntouched;
    nCount = 5;
    ExpectFailure(TypeParam::EnumFile(nullptr, &ppszTable, &nCount, false, 1), 0x040A0020);
    for (const char* lpszPath : {"missing", "missing/*.txt", "full/file", "full/file/"})
        ExpectFailure(TypeParam::EnumFile(this->At(lpszPath).c_str(), &ppszTable, &nCount, false, 1), 0x040A0022);
    fs::create_symlink("self", this->Native("self"));
    ExpectRaises(ELOOP, [&] { TypeParam::EnumFile(this->At("self").c_str(), &ppszTable, &nCount, false, 1); });
    st_BaseStandIns.bNoTables = true;
    EXPECT_THROW(TypeParam::EnumFile(this->At("full").c_str(), &ppszTable, &nCount, false, 1), std::bad_alloc);
    st_BaseStandIns = {};
    EXPECT_FALSE(SystemApi_IsErrorOccur);
    EXPECT_EQ(ppszTable, &pszUntouched);
    EXPECT_EQ(nCount, 5);
}

TEST(EnumStar, IsCutInTheNarrowFormAlone)
{
    const CTempFolder m_Folder;
    m_Folder.Write("in/file", "");
    int nCount = 0;
    for (const char* lpszPath : {"in/*", "in*"})
    {
        EXPECT_TRUE(SystemApi_File_EnumFileA((m_Folder / lpszPath).c_str(), nullptr, &nCount, false, 1)) << lpszPath;
        EXPECT_EQ(nCount, 1);
        ExpectFailure(SystemApi_File_EnumFileW(Wide::From(m_Folder / lpszPath).c_str(), nullptr, &nCount, false, 1),
                      0x040A0022);
    }
    ExpectFailure(SystemApi_File_EnumFileA((m_Folder / "in/**").c_str(), nullptr, &nCount, false, 1), 0x040A0022);
    m_Folder.Write("*/file", ""); // a folder of that very name
    EXPECT_TRUE(SystemApi_File_EnumFileW(Wide::From(m_Folder / "*").c_str(), nullptr, &nCount, false, 1));

    const auto m_Star = [](std::size_t nLength) {
        return std::string(nLength - 1, '/') + "*";
    };
    EXPECT_TRUE(SystemApi_File_EnumFileA(m_Star(1023).c_str(), nullptr, nullptr, false, 2));
    EXPECT_EXIT(SystemApi_File_EnumFileA(m_Star(1024).c_str(), nullptr, nullptr, false, 2),
                testing::KilledBySignal(SIGABRT), "");
    ExpectFailure(SystemApi_File_EnumFileW(Wide::From(m_Star(1024)).c_str(), nullptr, nullptr, false, 2), 0x040A0022);
    EXPECT_TRUE(SystemApi_File_EnumFileA(std::string(1024, '/').c_str(), nullptr, nullptr, false, 2));
}

TYPED_TEST(EnumFile, NoEntryIsCutAndNoRowOverrun)
{
    const std::string Root = this->m_Folder / "root"; // all of it in ASCII
    std::string Deep = Root;
    for (int nLevel = 0; nLevel < 6; ++nLevel)
        Deep += "/" + std::string(250, 'd');
    fs::create_directories(Deep);
    mkfifo((Deep + "/f").c_str(), 0600);
    const auto List = this->Rows(TypeParam::From(Root), true, 3);
    ASSERT_EQ(List.size(), 7U);
    EXPECT_EQ(*std::next(List.rbegin()), TypeParam::From(Deep));
    EXPECT_GE(st_BaseStandIns.nRowSize / sizeof(List.back()[0]), std::max(List.back().size(), Deep.size()) + 1);
    const bool bNarrow = std::is_same_v<TypeParam, Narrow>;
    EXPECT_EQ(List.back(), TypeParam::From(bNarrow ? "" : Deep + "/f")) << "more than 1023 bytes, of a tree's file";
    EXPECT_THAT(this->Rows(TypeParam::From(Deep), true, 1), ElementsAre(List.back())) << "alone";
    const std::string Edge = Deep.substr(0, 940);
    const std::string Fits = Edge + "/" + std::string(1022 - Edge.size(), 'f');
    fs::create_directory(Edge);
    for (const std::string& Path : {Fits, Fits + "f"})
        mkfifo(Path.c_str(), 0600);
    EXPECT_THAT(this->Rows(TypeParam::From(Edge), true, 1),
                UnorderedElementsAre(TypeParam::From(Fits), TypeParam::From(bNarrow ? "" : Fits + "f")));
}
} // namespace
