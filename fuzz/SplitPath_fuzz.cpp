// SPDX-License-Identifier: MIT
#include "Fuzz.h"

#include <Tolvane_BaseLib.h>

#include <filesystem>

FUZZ(In)
{
    const std::string Path = TakeArgument(In);
    CBuffer<char> m_Folder(BASELIB_TEXT_SIZE);
    CBuffer<char> m_Name(BASELIB_FILE_NAME_SIZE);
    CBuffer<char> m_Ext(BASELIB_FILE_EXT_SIZE);
    const bool bDone = BaseLib_String_GetFileAndPathA(Path.c_str(), m_Folder, m_Name, nullptr, m_Ext, false);

    const std::size_t nSlash = Path.rfind('/');
    const std::filesystem::path Native = Path;
    const std::string Name = Native.filename();
    const std::string Ext = Native.extension();
    const auto Fits = [](const std::string& Text, std::size_t nSize) {
        return Text.size() < nSize ? Text : "";
    };
    const std::string Folder = Path.empty()          ? ""
                               : nSlash == Path.npos ? "."
                               : nSlash == 0         ? "/"
                                                     : Path.substr(0, nSlash);
    REQUIRE(m_Folder.Text() == Fits(Folder, BASELIB_TEXT_SIZE));
    REQUIRE(m_Name.Text() == Fits(Name, BASELIB_FILE_NAME_SIZE));
    REQUIRE(m_Ext.Text() == Fits(Ext.empty() ? "" : Ext.substr(1), BASELIB_FILE_EXT_SIZE));
    const bool bFits = Folder.size() < BASELIB_TEXT_SIZE && Name.size() < BASELIB_FILE_NAME_SIZE &&
                       Ext.size() <= BASELIB_FILE_EXT_SIZE;
    REQUIRE(bDone == (!Path.empty() && bFits));

    // The wide splitter cuts at the same places.
    CBuffer<wchar_t> m_WideFolder(BASELIB_TEXT_SIZE);
    CBuffer<wchar_t> m_WideName(BASELIB_FILE_NAME_SIZE);
    CBuffer<wchar_t> m_WideExt(BASELIB_FILE_EXT_SIZE);
    const auto Widen = [](const std::string& Text) {
        return std::wstring(Text.begin(), Text.end());
    };
    const bool bWideDone =
        BaseLib_String_GetFileAndPathW(Widen(Path).c_str(), m_WideFolder, m_WideName, nullptr, m_WideExt, true);
    REQUIRE(bWideDone == bDone);
    REQUIRE(m_WideFolder.Text() == Widen(m_Folder.Text()));
    REQUIRE(m_WideName.Text() == Widen(m_Name.Text()));
    REQUIRE(m_WideExt.Text() == Widen(m_Ext.Text()));
}
