// SPDX-License-Identifier: MIT
/// The file operations of one width under common names, for tests of what both widths have in common.
#pragma once

#include "Fakes.h"

#include <SystemApi_File/SystemApi_File.h>

#include <cerrno>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <list>

#define FILE_FORMS(Suffix, String)                                                                                   \
    using Text = String;                                                                                             \
    static constexpr auto GetFileAttr = SystemApi_File_GetFileAttr##Suffix;                                          \
    static constexpr auto CreateSparseFile = SystemApi_File_CreateSparseFile##Suffix;                                \
    static constexpr auto CreateMutilFolder = SystemApi_File_CreateMutilFolder##Suffix;                              \
    static constexpr auto DeleteMutilFolder = SystemApi_File_DeleteMutilFolder##Suffix;                              \
    static constexpr auto SaveBuffToFile = SystemApi_File_SaveBuffToFile##Suffix;                                    \
    static constexpr auto CopyFile = SystemApi_File_CopyFile##Suffix;                                                \
    static constexpr auto EnumFile = SystemApi_File_EnumFile##Suffix;                                                \
    static bool ListFile(const Text::value_type* lpszPath, std::list<Text>* pStl_List, bool bRecursion, int nType,   \
                         const Text::value_type* lpszExt = nullptr)                                                  \
    {                                                                                                                \
        return m_FileSdk.SystemApi_File_EnumFile##Suffix(lpszPath, pStl_List, bRecursion, nType, lpszExt);           \
    }

struct Narrow
{
    FILE_FORMS(A, std::string)
    static Text From(const std::string& Native) { return Native; }
};
struct Wide
{
    FILE_FORMS(W, std::wstring)
    static Text From(const std::string& Native)
    {
        const std::u32string Codes = std::filesystem::path(Native).u32string();
        return {Codes.begin(), Codes.end()};
    }
};
using BothWidths = testing::Types<Narrow, Wide>;

/// The names that a folder holds.
inline std::list<std::string> NamesIn(const std::string& Folder)
{
    std::list<std::string> Names;
    for (const auto& Entry : std::filesystem::directory_iterator(Folder))
        Names.push_back(Entry.path().filename());
    return Names;
}

/// A test in a folder of its own, once for each width. Its name: the first and the last
/// character of each length in UTF-8 beyond ASCII.
template <typename Form>
class FileTest : public testing::Test
{
protected:
    using Text = typename Form::Text;

    void SetUp() override { std::filesystem::create_directory(m_Root); }
    void TearDown() override { EXPECT_EQ(NamesIn("/proc/self/fd").size(), m_nOpen) << "left open"; }
    [[nodiscard]] std::string Native(const std::string& Name) const { return m_Root + "/" + Name; }
    /// An entry's path in the width under test.
    [[nodiscard]] Text At(const std::string& Name) const { return Form::From(Native(Name)); }
    std::string Write(const std::string& Name, std::string_view Bytes) const
    {
        return m_Folder.Write(lpszRootName + ("/" + Name), Bytes);
    }

    static constexpr const char* lpszRootName = "\u0080\u07FF\u0800\uFFFF\U00010000\U0010FFFF";
    const CTempFolder m_Folder;
    const std::size_t m_nOpen = NamesIn("/proc/self/fd").size();
    const std::string m_Root = m_Folder / lpszRootName;
};

/// The call failed with the code, and where it is given, left errno.
inline void ExpectFailure(bool bResult, unsigned long dwCode, int nErrno = -1)
{
    int nActual = 0;
    EXPECT_EQ(SystemApi_GetLastError(&nActual), dwCode);
    EXPECT_TRUE(!bResult && SystemApi_IsErrorOccur);
    EXPECT_EQ(nErrno == -1 ? -1 : nActual, nErrno);
}

/// The call raises the facility's exception and leaves the flag false, and the code as it was or as given.
template <typename Call>
void ExpectRaises(int nErrno, Call&& pfnCall, unsigned long dwCode = 7)
{
    SystemApi_dwErrorCode = 7;
    try
    {
        pfnCall();
        ADD_FAILURE() << "no exception";
    }
    catch (const std::filesystem::filesystem_error& Error)
    {
        EXPECT_EQ(Error.code().value(), nErrno) << Error.what();
        EXPECT_TRUE(nErrno != EILSEQ || Error.path1().empty()) << Error.what(); // where text is not converted
    }
    EXPECT_FALSE(SystemApi_IsErrorOccur);
    EXPECT_EQ(SystemApi_dwErrorCode, dwCode);
}
