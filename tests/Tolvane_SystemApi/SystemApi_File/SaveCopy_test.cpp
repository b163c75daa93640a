// SPDX-License-Identifier: MIT
#include "Forms.h"
#include "Sandbox.h"

#include <chrono>
#include <dlfcn.h>
#include <sys/mount.h>
#include <sys/stat.h>
#include <thread>
#include <unistd.h>

static bool bSomebodyIsFaster = false;

extern "C" int mkdir(const char* lpszPath, mode_t nMode) noexcept // the standard facility's
{
    const int nResult = reinterpret_cast<decltype(&mkdir)>(dlsym(RTLD_NEXT, "mkdir"))(lpszPath, nMode);
    if (!bSomebodyIsFaster)
        return nResult;
    errno = EEXIST;
    return -1;
}

namespace
{
namespace fs = std::filesystem;

template <typename Form>
class SaveCopy : public FileTest<Form>
{
protected:
    bool Save(const std::string& Name, std::string_view Bytes) const
    {
        return Form::SaveBuffToFile(this->At(Name).c_str(), Bytes.data(), static_cast<int>(Bytes.size()));
    }
    bool Copy(const std::string& Source, const std::string& Dest, bool bFailIfExist) const
    {
        return Form::CopyFile(this->At(Source).c_str(), this->At(Dest).c_str(), bFailIfExist);
    }
};
TYPED_TEST_SUITE(SaveCopy, BothWidths);

TYPED_TEST(SaveCopy, MakesTheFolderAndLeavesTheCodeOfTheSearchForIt)
{
    const std::string Bytes("a\0b\n", 4);
    SystemApi_dwErrorCode = 0;
    ASSERT_TRUE(this->Save("d1/d2/f.bin", Bytes));
    EXPECT_FALSE(SystemApi_IsErrorOccur);
    EXPECT_EQ(SystemApi_dwErrorCode, 0x040A0002U);
    EXPECT_EQ(ReadWhole(this->Native("d1/d2/f.bin")), Bytes);

    SystemApi_dwErrorCode = 0;
    ASSERT_TRUE(this->Copy("d1/d2/f.bin", "d3/d4/g.bin", false));
    EXPECT_EQ(SystemApi_dwErrorCode, 0x040A0002U);
    EXPECT_EQ(ReadWhole(this->Native("d3/d4/g.bin")), Bytes);

    SystemApi_dwErrorCode = 0;
    ASSERT_TRUE(this->Save("d1/d2/f.bin", ""));
    ASSERT_TRUE(this->Copy("d1/d2/f.bin", "d3/d4/g.bin", false)) << "over the longer file";
    EXPECT_EQ(SystemApi_dwErrorCode, 0U) << "the folder was there";
    EXPECT_EQ(ReadWhole(this->Native("d3/d4/g.bin")), "");
    RunInChild([this] {
        ASSERT_EQ(chdir(this->m_Root.c_str()), 0);
        EXPECT_TRUE(TypeParam::SaveBuffToFile(TypeParam::From("bare").c_str(), "x", 1));
        EXPECT_TRUE(TypeParam::CopyFile(TypeParam::From("bare").c_str(), TypeParam::From("copy").c_str(), false));
    });
    EXPECT_THAT(NamesIn(this->m_Root), testing::UnorderedElementsAre("d1", "d3", "bare", "copy"));
}

TYPED_TEST(SaveCopy, AFolderThatSomebodyElseMakesMeanwhileIsAFailure)
{
    this->Write("f", "");
    bSomebodyIsFaster = true;
    ExpectFailure(TypeParam::CreateMutilFolder(this->At("d1").c_str()), 0x040A0031);
    ExpectFailure(this->Save("d2/f", "x"), 0x040A0031);
    ExpectFailure(this->Copy("f", "d3/f", false), 0x040A0031);
    bSomebodyIsFaster = false;
    EXPECT_THAT(NamesIn(this->m_Root), testing::UnorderedElementsAre("f", "d1", "d2", "d3"));
    EXPECT_TRUE(fs::is_empty(this->Native("d2")) && fs::is_empty(this->Native("d3")));
}

TYPED_TEST(SaveCopy, AFileWhereTheFolderShouldBe)
{
    this->Write("f", "kept");
    ExpectFailure(this->Save("f/x", "y"), 0x040A0011, ENOTDIR);
    ExpectRaises(ENOTDIR, [this] { this->Copy("f", "f/x", false); });
    ExpectRaises(
        ENOTDIR, [this] { this->Save("f/sub/x", "y"); }, 0x040A0002);
    EXPECT_EQ(ReadWhole(this->Native("f")), "kept");
}

TYPED_TEST(SaveCopy, RaisesForWhatCannotBeCopied)
{
    ExpectRaises(
        EINVAL, [] { TypeParam::SaveBuffToFile(TypeParam::From("").c_str(), "x", 1); }, 0x040A0002);
    ExpectRaises(
        ENOENT, [this] { this->Copy("missing", "new/file", true); }, 0x040A0002);
    EXPECT_TRUE(fs::is_directory(this->Native("new"))) << "made before the copy failed";
    ExpectRaises(EINVAL, [this] { this->Copy("new", "copy", false); });
}

TEST(CopyGuard, NarrowLooksAtTheDestinationAndWideAtTheSource)
{
    const CTempFolder m_Folder;
    const std::string Source = m_Folder.Write("source", "new");
    const std::string Dest = m_Folder.Write("dest", "old");
    const std::string Fresh = m_Folder / "fresh";
    ExpectFailure(SystemApi_File_CopyFileA(Source.c_str(), Dest.c_str(), true), 0x040A0071);
    EXPECT_EQ(ReadWhole(Dest), "old");
    EXPECT_TRUE(SystemApi_File_CopyFileA(Source.c_str(), Fresh.c_str(), true));
    fs::remove(Fresh);
    ExpectFailure(SystemApi_File_CopyFileW(Wide::From(Source).c_str(), Wide::From(Fresh).c_str(), true), 0x040A0071);
    EXPECT_FALSE(fs::exists(Fresh));
    ExpectRaises(ENOENT,
                 [&] { SystemApi_File_CopyFileW(Wide::From(Fresh).c_str(), Wide::From(Dest).c_str(), true); });
}

TYPED_TEST(SaveCopy, ASaveToAFullDiskGoesOnWhenThereIsRoom)
{
    std::string Bytes;
    while (Bytes.size() < 6000)
        Bytes += std::to_string(Bytes.size()) + ' ';
    RunSandboxed([&] {
        ASSERT_EQ(mount("tmpfs", this->m_Root.c_str(), "tmpfs", 0, "size=8k"), 0);
        const std::string Ballast = this->Write("ballast", "x"); // one of the two pages
        bool bSaved = false;
        std::thread m_Saver([&] { bSaved = this->Save("file", Bytes); });
        const std::string File = this->Native("file");
        while (!fs::exists(File) || fs::file_size(File) < 4096)
            std::this_thread::yield();
        std::this_thread::sleep_for(std::chrono::milliseconds(20)); // so that some writes write nothing
        fs::remove(Ballast);
        m_Saver.join();
        EXPECT_TRUE(bSaved);
        EXPECT_EQ(ReadWhole(File), Bytes);
    });
}

TEST(WidePaths, WhatCannotBeConvertedTouchesNoFile)
{
    const CTempFolder m_Folder;
    m_Folder.Write("source", "kept");
    const std::wstring Root = Wide::From(m_Folder.Path().native()) + L"/";
    const std::wstring Source = Root + L"source";
    const std::wstring Names[] = {L"\xD800", L"\xDFFF", L"\x110000", std::wstring(1, wchar_t(-1)), L"source\xDC00"};
    for (const std::wstring& Name : Names)
    {
        const std::wstring Bad = Root + Name;
        const auto* const lpszBad = Bad.c_str();
        SYSTEMAPI_FILE_ATTR st_Attr = {};
        std::list<std::wstring> List;
        ExpectFailure(SystemApi_File_GetFileAttrW(lpszBad, &st_Attr), 0x040A0002, ENOENT);
        ExpectFailure(SystemApi_File_CreateSparseFileW(lpszBad, 5), 0x040A0051, ENOENT);
        ExpectFailure(SystemApi_File_SaveBuffToFileW(lpszBad, "x", 1), 0x040A0011, ENOENT);
        ExpectRaises(EILSEQ, [&] { SystemApi_File_CreateMutilFolderW(lpszBad); });
        ExpectRaises(EILSEQ, [&] { SystemApi_File_DeleteMutilFolderW(lpszBad, true); });
        ExpectRaises(EILSEQ, [&] { SystemApi_File_CopyFileW(Source.c_str(), lpszBad, false); });
        ExpectRaises(EILSEQ, [&] { SystemApi_File_CopyFileW(lpszBad, Source.c_str(), true); });
        ExpectRaises(EILSEQ, [&] { Wide::ListFile(lpszBad, &List, true, 3); });
    }
    // 1023 bytes of UTF-8 are opened, 1024 are not, though the name itself is short.
    std::wstring Long = Root;
    while (Long.size() < 1023 - 8)
        Long += L"./";
    Long.resize(1023 - 8, L'/');
    EXPECT_TRUE(SystemApi_File_SaveBuffToFileW((Long + L"/fits\u00E9x").c_str(), "x", 1));
    ExpectFailure(SystemApi_File_CreateSparseFileW((Long + L"/fits\u00E9xx").c_str(), 1), 0x040A0051, ENOENT);
    EXPECT_THAT(NamesIn(m_Folder.Path()), testing::UnorderedElementsAre("source", "fits\u00E9x"));
    EXPECT_EQ(ReadWhole(m_Folder / "source"), "kept");
}
} // namespace
