#include <Tolvane_BaseLib.h>

#include "Text.h"

#include <array>
#include <cstdint>
#include <cstring>
#include <cwchar>
#include <langinfo.h>
#include <string_view>

namespace
{
using Result8 = std::array<char, BASELIB_TEXT_SIZE>;

/// What became of a conversion.
enum class Outcome
{
    Fits,
    TooLong,
    CannotHold
};

/// The strict UTF-8 form of one character; 0 bytes where there is none.
std::size_t EncodeUtf8(std::uint32_t nCode, char (&tszForm)[4]) noexcept
{
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

Outcome ToUtf8(const wchar_t* lpszSource, Result8& tszResult, std::size_t& nLength) noexcept
{
    nLength = 0;
    bool bFits = true;
    for (; *lpszSource != L'\0'; ++lpszSource)
    {
        char tszForm[4];
        const std::size_t nForm = EncodeUtf8(static_cast<std::uint32_t>(*lpszSource), tszForm);
        if (nForm == 0)
            return Outcome::CannotHold;
        bFits = bFits && nLength + nForm < tszResult.size();
        if (bFits)
        {
            std::memcpy(tszResult.data() + nLength, tszForm, nForm);
            nLength += nForm;
        }
    }
    return bFits ? Outcome::Fits : Outcome::TooLong;
}

/// True where the 8-bit text reads back as the wide text. The C library may paraphrase a character that the
/// locale lacks, and a paraphrase names another file.
bool ReadsBackAs(const Result8& tszResult, std::size_t nLength, const wchar_t* lpszSource) noexcept
{
    std::array<wchar_t, BASELIB_TEXT_SIZE> tszBack;
    std::mbstate_t st_State = {};
    const char* pRest = tszResult.data();
    const std::size_t nBack = std::mbsrtowcs(tszBack.data(), &pRest, tszBack.size(), &st_State);
    return nBack <= nLength && std::wcscmp(tszBack.data(), lpszSource) == 0;
}

Outcome ToLocale(const wchar_t* lpszSource, Result8& tszResult, std::size_t& nLength) noexcept
{
    constexpr auto nFailed = static_cast<std::size_t>(-1);
    // The locale of a program that never called setlocale holds ASCII alone, also where its C library lets the
    // upper half of a byte through.
    if (std::string_view(nl_langinfo(CODESET)) == "ANSI_X3.4-1968")
    {
        for (const wchar_t* pChar = lpszSource; *pChar != L'\0'; ++pChar)
            if (static_cast<std::uint32_t>(*pChar) > 0x7F)
                return Outcome::CannotHold;
    }
    std::mbstate_t st_State = {};
    const wchar_t* pRest = lpszSource;
    nLength = std::wcsrtombs(nullptr, &pRest, 0, &st_State);
    if (nLength == nFailed)
        return Outcome::CannotHold;
    if (nLength >= tszResult.size())
        return Outcome::TooLong;
    st_State = {};
    std::wcsrtombs(tszResult.data(), &pRest, tszResult.size(), &st_State);
    return ReadsBackAs(tszResult, nLength, lpszSource) ? Outcome::Fits : Outcome::CannotHold;
}

bool Deliver(Outcome enOutcome, const Result8& tszResult, std::size_t nLength, char* ptszDest, int* pInt_Len) noexcept
{
    if (enOutcome != Outcome::Fits)
    {
        *ptszDest = '\0';
        return false;
    }
    if (pInt_Len)
        *pInt_Len = static_cast<int>(nLength);
    return StoreText(ptszDest, BASELIB_TEXT_SIZE, std::string_view(tszResult.data(), nLength));
}
} // namespace

bool BaseLib_Charset_UnicodeToUTF(const wchar_t* lpszSource, char* ptszDest, int* pInt_Len, const char*)
{
    if (!ptszDest)
        return false;
    Result8 tszResult;
    std::size_t nLength = 0;
    const Outcome enOutcome = lpszSource ? ToUtf8(lpszSource, tszResult, nLength) : Outcome::CannotHold;
    return Deliver(enOutcome, tszResult, nLength, ptszDest, pInt_Len);
}

bool BaseLib_Charset_UnicodeToAnsi(const wchar_t* lpszSource, char* ptszDest, int* pInt_Len, const char*)
{
    if (!ptszDest)
        return false;
    Result8 tszResult;
    std::size_t nLength = 0;
    Outcome enOutcome = Outcome::CannotHold;
    if (lpszSource)
    {
        enOutcome = ToLocale(lpszSource, tszResult, nLength);
        if (enOutcome == Outcome::CannotHold)
            enOutcome = ToUtf8(lpszSource, tszResult, nLength);
    }
    return Deliver(enOutcome, tszResult, nLength, ptszDest, pInt_Len);
}
