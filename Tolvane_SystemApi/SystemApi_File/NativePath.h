// SPDX-License-Identifier: MIT
/// Paths and names between the callers' two widths and the native UTF-8, whatever the locale. There are two roads:
/// CSystemPath to the calls of the operating system, ToPath and ToWide to and from the standard file-system facility.
#pragma once

#include <Tolvane_BaseLib.h>

#include <cwchar>
#include <filesystem>
#include <string>
#include <string_view>

/// A path for a call of the operating system: narrow text as it is, wide text as UTF-8 in 1024 bytes.
template <typename Char>
class CSystemPath;

template <>
class CSystemPath<char>
{
public:
    explicit CSystemPath(const char* lpszPath) noexcept : m_lpszPath(lpszPath) {}
    [[nodiscard]] const char* Get() const noexcept { return m_lpszPath; }

private:
    const char* m_lpszPath;
};

template <>
class CSystemPath<wchar_t>
{
public:
    /// What UTF-8 cannot hold, or does not fit, becomes the empty path: it names nothing, and so no other file.
    explicit CSystemPath(const wchar_t* lpszPath) noexcept
    {
        int nLength = static_cast<int>(std::wcslen(lpszPath) * 2);
        BaseLib_Charset_UnicodeToUTF(lpszPath, m_tszPath, &nLength, nullptr);
    }
    [[nodiscard]] const char* Get() const noexcept { return m_tszPath; }

private:
    char m_tszPath[BASELIB_TEXT_SIZE] = {};
};

/// A path for the standard facility.
inline std::filesystem::path ToPath(std::string_view Path)
{
    return Path;
}
/// \throws std::filesystem::filesystem_error (EILSEQ) for a surrogate or a value above U+10FFFF
std::filesystem::path ToPath(std::wstring_view Path);

/// The wide form of native text.
/// \throws std::filesystem::filesystem_error (EILSEQ) for text that is not strict UTF-8
std::wstring ToWide(std::string_view Text);

/// True for text that reads the same in every width.
[[nodiscard]] bool IsAscii(std::string_view Text) noexcept;
