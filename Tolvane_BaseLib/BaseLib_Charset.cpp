// SPDX-License-Identifier: MIT
#include <Tolvane_BaseLib.h>

#include "Text.h"

#include <cstdint>
#include <cstring>
#include <cwchar>
#include <langinfo.h>
#include <string_view>

namespace
{
/// The strict UTF-8 form of a character outside ASCII; 0 bytes where there is none.
std::size_t EncodeUtf8(std::uint32_t nCode, char (&tszForm)[4]) noexcept
{
    const auto Lead = [nCode](int nShift, unsigned nMark) {
        return static_cast<char>(nMark | (nCode >> nShift));
    };
    const auto Trail = [nCode](int nShift) {
        return static_cast<char>(0x80U | ((nCode >> nShift) & 0x3FU));
    };

    if (nCode < 0x800)
    {
        tszForm[0] = Lead(6, 0xC0);
        tszForm[1] = Trail(0);
        return 2;
    }
    const bool bSurrogate = nCode >= 0xD800 && nCode <= 0xDFFF;
    if (bSurrogate || nCode > 0x10FFFF)
        return 0;
    if (nCode < 0x10000)
    {
        tszForm[0] = Lead(12, 0xE0);
        tszForm[1] = Trail(6);
        tszForm[2] = Trail(0);
        return 3;
    }
    tszForm[0] = Lead(18, 0xF0);
    tszForm[1] = Trail(12);
    tszForm[2] = Trail(6);
    tszForm[3] = Trail(0);
    return 4;
}

/// A form in the making. The caller's buffer receives it at the end: all of it, or nothing.
class CForm
{
public:
    void Append(const char* pForm, std::size_t nForm) noexcept
    {
        m_bRoom = m_bRoom && m_nLength + nForm < sizeof(m_tszText);
        if (!m_bRoom)
            return;
        std::memcpy(m_tszText + m_nLength, pForm, nForm);
        m_nLength += nForm;
    }
    void Append(char chForm) noexcept
    {
        m_bRoom = m_bRoom && m_nLength + 1 < sizeof(m_tszText);
        if (m_bRoom)
            m_tszText[m_nLength++] = chForm;
    }
    void Clear() noexcept
    {
        m_nLength = 0;
        m_bRoom = true;
    }
    [[nodiscard]] bool Deliver(char* ptszDest, int* pInt_Len) const noexcept
    {
        if (!m_bRoom || !StoreText(ptszDest, BASELIB_TEXT_SIZE, std::string_view(m_tszText, m_nLength)))
            return false;
        if (pInt_Len)
            *pInt_Len = static_cast<int>(m_nLength);
        return true;
    }

private:
    char m_tszText[BASELIB_TEXT_SIZE];
    std::size_t m_nLength = 0;
    bool m_bRoom = true;
};

/// False where UTF-8 cannot hold the text.
bool ToUtf8(const wchar_t* lpszSource, CForm& Form) noexcept
{
    for (; *lpszSource != L'\0'; ++lpszSource)
    {
        // NOLINTNEXTLINE(bugprone-signed-char-misuse,cert-str34-c): wchar_t
        const auto nCode = static_cast<std::uint32_t>(*lpszSource);
        if (nCode < 0x80)
        {
            Form.Append(static_cast<char>(nCode));
            continue;
        }
        char tszForm[4];
        const std::size_t nForm = EncodeUtf8(nCode, tszForm);
        if (nForm == 0)
            return false;
        Form.Append(tszForm, nForm);
    }
    return true;
}

/// False where the locale cannot hold the text to the letter, that is, where its form does not read back as the
/// same text. The C library may paraphrase what the locale lacks, some locales join a letter and an accent, and
/// either would name another file.
bool ToLocale(const wchar_t* lpszSource, CForm& Form) noexcept
{
    constexpr std::size_t nChunk = 256;
    constexpr auto nFailed = static_cast<std::size_t>(-1);

    std::mbstate_t st_There = {};
    std::mbstate_t st_Back = {};
    const wchar_t* pUnread = lpszSource; // what has not been read back yet
    for (const wchar_t* pSource = lpszSource; pSource;)
    {
        char tszForm[nChunk];
        const std::size_t nForm = std::wcsrtombs(tszForm, &pSource, nChunk, &st_There);
        if (nForm == nFailed)
            return false;
        Form.Append(tszForm, nForm);

        wchar_t tszBack[nChunk + 1] = {};
        const char* pForm = tszForm;
        const std::size_t nEnd = pSource ? 0 : 1; // the ending null character, too
        const std::size_t nBack = mbsnrtowcs(tszBack, &pForm, nForm + nEnd, nChunk + 1, &st_Back);
        if (nBack == nFailed || std::wcsncmp(pUnread, tszBack, nBack) != 0)
            return false;
        pUnread += nBack;
    }
    return *pUnread == L'\0';
}

/// True in the locales where the strict UTF-8 form is the one to give: those of UTF-8 (the C library's own
/// conversion lets values above U+10FFFF through there), and that of a program that never called setlocale
/// (which holds ASCII alone, though some C libraries let the upper half of a byte through).
bool LocaleTakesUtf8() noexcept
{
    // NOLINTNEXTLINE(concurrency-mt-unsafe): read at once
    const std::string_view Charset(nl_langinfo(CODESET));
    return Charset == "UTF-8" || Charset == "ANSI_X3.4-1968";
}

} // namespace

bool BaseLib_Charset_UnicodeToUTF(const wchar_t* lpszSource, char* ptszDest, int* pInt_Len, const char*)
{
    if (!ptszDest)
        return false;
    *ptszDest = '\0';
    CForm Form;
    return lpszSource != nullptr && ToUtf8(lpszSource, Form) && Form.Deliver(ptszDest, pInt_Len);
}

bool BaseLib_Charset_UnicodeToAnsi(const wchar_t* lpszSource, char* ptszDest, int* pInt_Len, const char*)
{
    if (!ptszDest)
        return false;
    *ptszDest = '\0';
    if (!lpszSource)
        return false;
    CForm Form;
    if (LocaleTakesUtf8() || !ToLocale(lpszSource, Form))
    {
        Form.Clear();
        if (!ToUtf8(lpszSource, Form))
            return false;
    }
    return Form.Deliver(ptszDest, pInt_Len);
}
