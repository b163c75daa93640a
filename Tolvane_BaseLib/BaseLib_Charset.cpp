#include <Tolvane_BaseLib.h>

#include "Text.h"

#include <climits>
#include <cstdint>
#include <cstring>
#include <cwchar>
#include <langinfo.h>
#include <string_view>

namespace
{
/// One character in 8 bits.
using CharForm = char[MB_LEN_MAX];

/// The strict UTF-8 form of a character; 0 bytes where there is none.
std::size_t EncodeUtf8(wchar_t chSource, CharForm& tszForm) noexcept
{
    const auto nCode =
        static_cast<std::uint32_t>(chSource); // NOLINT(bugprone-signed-char-misuse,cert-str34-c): wchar_t
    const auto Lead = [nCode](int nShift, unsigned nMark) {
        return static_cast<char>(nMark | (nCode >> nShift));
    };
    const auto Trail = [nCode](int nShift) {
        return static_cast<char>(0x80U | ((nCode >> nShift) & 0x3FU));
    };

    if (nCode < 0x80)
    {
        tszForm[0] = static_cast<char>(nCode);
        return 1;
    }
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

/// The locale's form of a character; 0 bytes where it has none that reads back as the same character. The C
/// library may paraphrase what the locale lacks, and a paraphrase names another file.
std::size_t EncodeLocale(wchar_t chSource, CharForm& tszForm) noexcept
{
    const wchar_t tszSource[] = {chSource, L'\0'};
    const wchar_t* pSource = tszSource;
    std::mbstate_t st_There = {};
    const std::size_t nForm = std::wcsrtombs(tszForm, &pSource, sizeof(tszForm), &st_There);
    if (pSource) // not all of it, or none, could be written
        return 0;

    wchar_t tszBack[2] = {};
    const char* pForm = tszForm;
    std::mbstate_t st_Back = {};
    const bool bReadsBack = std::mbsrtowcs(tszBack, &pForm, 2, &st_Back) == 1 && tszBack[0] == chSource;
    return bReadsBack ? nForm : 0;
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

/// What became of a conversion.
enum class Outcome
{
    Done,
    CannotHold,
    NoRoom
};

/// Converts a text character by character. The output is written at the end: the text, or nothing.
template <typename Encode>
Outcome Convert(Encode pfnEncode, const wchar_t* lpszSource, char* ptszDest, int* pInt_Len) noexcept
{
    if (!ptszDest)
        return Outcome::NoRoom;
    *ptszDest = '\0';
    if (!lpszSource)
        return Outcome::CannotHold;

    char tszResult[BASELIB_TEXT_SIZE];
    std::size_t nLength = 0;
    bool bRoom = true;
    for (; *lpszSource != L'\0'; ++lpszSource)
    {
        CharForm tszForm;
        const std::size_t nForm = pfnEncode(*lpszSource, tszForm);
        if (nForm == 0)
            return Outcome::CannotHold;
        bRoom = bRoom && nLength + nForm < sizeof(tszResult);
        if (bRoom)
        {
            std::memcpy(tszResult + nLength, tszForm, nForm);
            nLength += nForm;
        }
    }
    if (!bRoom || !StoreText(ptszDest, BASELIB_TEXT_SIZE, std::string_view(tszResult, nLength)))
        return Outcome::NoRoom;
    if (pInt_Len)
        *pInt_Len = static_cast<int>(nLength);
    return Outcome::Done;
}
} // namespace

bool BaseLib_Charset_UnicodeToUTF(const wchar_t* lpszSource, char* ptszDest, int* pInt_Len, const char*)
{
    return Convert(EncodeUtf8, lpszSource, ptszDest, pInt_Len) == Outcome::Done;
}

bool BaseLib_Charset_UnicodeToAnsi(const wchar_t* lpszSource, char* ptszDest, int* pInt_Len, const char*)
{
    Outcome enOutcome = Outcome::CannotHold;
    if (!LocaleTakesUtf8())
        enOutcome = Convert(EncodeLocale, lpszSource, ptszDest, pInt_Len);
    if (enOutcome == Outcome::CannotHold)
        enOutcome = Convert(EncodeUtf8, lpszSource, ptszDest, pInt_Len);
    return enOutcome == Outcome::Done;
}
