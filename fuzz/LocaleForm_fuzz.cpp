// SPDX-License-Identifier: MIT
#include "Fuzz.h"

#include <Tolvane_BaseLib.h>

#include <clocale>
#include <cstring>
#include <langinfo.h>

/// The form in the locale, where it reads back as the same text.
static std::optional<std::string> LocaleForm(const std::wstring& Source)
{
    std::string Form(Source.size() * MB_CUR_MAX + 16, '\0');
    const std::size_t nForm = std::wcstombs(Form.data(), Source.c_str(), Form.size());
    if (nForm > Form.size())
        return std::nullopt;
    Form.resize(nForm);
    std::wstring Back(nForm + 1, L'\0');
    const std::size_t nBack = std::mbstowcs(Back.data(), Form.c_str(), Back.size());
    return nBack == Source.size() && Back.compare(0, nBack, Source) == 0 ? std::optional(Form) : std::nullopt;
}

FUZZ(In)
{
    // The last two exist where LOCPATH leads to a folder that scripts/fuzz has filled.
    const char* const lpszLocale = In.PickValueInArray({"xx_XX.EUC-JP", "xx_XX.TCVN5712-1", "C.UTF-8", "C"});
    if (!std::setlocale(LC_ALL, lpszLocale))
        return;
    const std::wstring Source = TakeWide(In);
    CBuffer<char> m_Form(BASELIB_TEXT_SIZE);
    int nLength = -7;
    const bool bDone = BaseLib_Charset_UnicodeToAnsi(Source.c_str(), m_Form, &nLength, nullptr);

    const bool bOwnForm = std::strncmp(lpszLocale, "xx", 2) == 0;
    auto Expected = bOwnForm ? LocaleForm(Source) : std::nullopt;
    if (!Expected)
        Expected = Utf8Of(Source);
    REQUIRE(bDone == (Expected && Expected->size() < BASELIB_TEXT_SIZE));
    REQUIRE(m_Form.Text() == (bDone ? *Expected : ""));
    REQUIRE(nLength == (bDone ? static_cast<int>(Expected->size()) : -7));
}
