// SPDX-License-Identifier: MIT
#include <Tolvane_BaseLib.h>

#include "Text.h"

#include <cstring>
#include <string_view>

namespace
{
template <typename Char>
struct PATH_PARTS
{
    std::basic_string_view<Char> Folder;
    std::basic_string_view<Char> FileName;
    std::basic_string_view<Char> FileExt;
};

/// What follows the last dot; nothing for a name whose only dot comes first.
template <typename Char>
std::basic_string_view<Char> ExtensionOf(std::basic_string_view<Char> FileName) noexcept
{
    const std::size_t nDot = FileName.rfind(Char('.'));
    return nDot == FileName.npos || nDot == 0 ? std::basic_string_view<Char>() : FileName.substr(nDot + 1);
}

template <typename Char>
PATH_PARTS<Char> SplitPath(std::basic_string_view<Char> Path) noexcept
{
    static constexpr Char chDot = '.';
    const std::size_t nSlash = Path.rfind(Char('/'));
    PATH_PARTS<Char> st_Parts;
    if (nSlash == Path.npos)
    {
        st_Parts.Folder = {&chDot, 1}; // so that a bare name works in the current folder
        st_Parts.FileName = Path;
    }
    else
    {
        st_Parts.Folder = Path.substr(0, nSlash == 0 ? 1 : nSlash);
        st_Parts.FileName = Path.substr(nSlash + 1);
    }
    st_Parts.FileExt = ExtensionOf(st_Parts.FileName);
    return st_Parts;
}

template <typename Char>
bool GetFileAndPath(const Char* lpszPath, Char* ptszFolder, Char* ptszFileName, Char* ptszFileExt) noexcept
{
    const bool bGiven = lpszPath && *lpszPath;
    const auto st_Parts = bGiven ? SplitPath(std::basic_string_view<Char>(lpszPath)) : PATH_PARTS<Char>();
    bool bFit = true;
    if (ptszFolder)
        bFit = StoreText(ptszFolder, BASELIB_TEXT_SIZE, st_Parts.Folder);
    if (ptszFileName)
        bFit = StoreText(ptszFileName, BASELIB_FILE_NAME_SIZE, st_Parts.FileName) && bFit;
    if (ptszFileExt)
        bFit = StoreText(ptszFileExt, BASELIB_FILE_EXT_SIZE, st_Parts.FileExt) && bFit;
    return bGiven && bFit;
}

/// Where a marker stands; npos for an empty one, which marks nothing.
std::size_t FindMarker(std::string_view Text, std::string_view Marker, std::size_t nFrom = 0) noexcept
{
    return Marker.empty() ? Text.npos : Text.find(Marker, nFrom);
}
} // namespace

bool BaseLib_String_GetFileAndPathA(const char* lpszPath, char* ptszFolder, char* ptszFileName, char*,
                                    char* ptszFileExt, bool)
{
    return GetFileAndPath(lpszPath, ptszFolder, ptszFileName, ptszFileExt);
}

bool BaseLib_String_GetFileAndPathW(const wchar_t* lpszPath, wchar_t* ptszFolder, wchar_t* ptszFileName, wchar_t*,
                                    wchar_t* ptszFileExt, bool)
{
    return GetFileAndPath(lpszPath, ptszFolder, ptszFileName, ptszFileExt);
}

bool BaseLib_String_GetKeyValueA(const char* lpszLine, const char* lpszSeparator, char* ptszKey, char* ptszValue, int,
                                 int, int)
{
    if (!lpszLine || !lpszSeparator)
        return false;
    const std::string_view Line(lpszLine);
    const std::string_view Separator(lpszSeparator);
    const std::size_t nSeparator = FindMarker(Line, Separator);
    if (nSeparator == Line.npos)
        return false;
    bool bFit = true;
    if (ptszKey)
        bFit = StoreText(ptszKey, BASELIB_TEXT_SIZE, Line.substr(0, nSeparator));
    if (ptszValue)
        bFit = StoreText(ptszValue, BASELIB_TEXT_SIZE, Line.substr(nSeparator + Separator.size())) && bFit;
    return bFit;
}

bool BaseLib_String_GetStartEndA(const char* lpszSource, char* ptszDest, const char* lpszStart, const char* lpszEnd,
                                 int)
{
    if (!lpszSource || !ptszDest || !lpszStart || !lpszEnd)
        return false;
    const std::string_view Source(lpszSource);
    const std::string_view Start(lpszStart);
    const std::string_view End(lpszEnd);

    const std::size_t nStart = FindMarker(Source, Start);
    if (nStart == Source.npos)
    {
        const bool bStrippedAlready = !Start.empty() && Start == End;
        return bStrippedAlready && StoreText(ptszDest, BASELIB_TEXT_SIZE, Source);
    }
    const std::size_t nFrom = nStart + Start.size();
    const std::size_t nEnd = FindMarker(Source, End, nFrom);
    return nEnd != Source.npos && StoreText(ptszDest, BASELIB_TEXT_SIZE, Source.substr(nFrom, nEnd - nFrom));
}

bool BaseLib_String_DelSubA(char* ptszText, const char* lpszSub, int)
{
    if (!ptszText || !lpszSub || *lpszSub == '\0')
        return false;
    const std::size_t nSub = std::strlen(lpszSub);
    char* pWrite = ptszText;
    const char* pRead = ptszText;
    while (const char* pFound = std::strstr(pRead, lpszSub))
    {
        const auto nKept = static_cast<std::size_t>(pFound - pRead);
        std::memmove(pWrite, pRead, nKept);
        pWrite += nKept;
        pRead = pFound + nSub;
    }
    std::memmove(pWrite, pRead, std::strlen(pRead) + 1);
    return pRead != ptszText;
}
