// SPDX-License-Identifier: MIT
#include "Fakes.h"
#include "GuardedText.h"
#include "Sandbox.h"

#include <Tolvane_BaseLib.h>

#include <clocale>
#include <cstdio>
#include <cstdlib>
#include <gtest/gtest.h>
#include <optional>
#include <string>

namespace
{
struct ROW
{
    const char* lpszWhy;
    std::optional<std::wstring> Source;
    std::string Form;
    bool bDone = true;
    std::string Charset = {}; // of the locale, where it matters
};

void ExpectForm(decltype(BaseLib_Charset_UnicodeToUTF)* pfnConvert, const ROW& st_Row)
{
    SCOPED_TRACE(st_Row.lpszWhy);
    const wchar_t* const lpszSource = st_Row.Source ? st_Row.Source->c_str() : nullptr;
    CGuardedText<char, BASELIB_TEXT_SIZE> m_Form("before");
    int nLength = -7;
    EXPECT_FALSE(pfnConvert(lpszSource, nullptr, &nLength, nullptr));
    EXPECT_EQ(pfnConvert(lpszSource, m_Form, nullptr, nullptr), st_Row.bDone);
    EXPECT_EQ(m_Form.Text(), st_Row.Form);
    EXPECT_EQ(nLength, -7);
    EXPECT_EQ(pfnConvert(lpszSource, m_Form, &nLength, nullptr), st_Row.bDone);
    EXPECT_EQ(nLength, st_Row.bDone ? static_cast<int>(st_Row.Form.size()) : -7);
}

std::string Times(int nCount, const std::string& Text)
{
    return nCount == 0 ? "" : Text + Times(nCount - 1, Text);
}

TEST(Charset, Utf8IsStrictAndNeverCut)
{
    const ROW st_Rows[] = {
#include "../data/BaseLib/Utf8.inc"
    };
    // The same in a UTF-8 locale and in that of a program that never called setlocale, which holds ASCII alone.
    for (const char* lpszLocale : {"C", "C.UTF-8"})
    {
        SCOPED_TRACE(lpszLocale);
        ASSERT_TRUE(std::setlocale(LC_ALL, lpszLocale));
        for (const ROW& st_Row : st_Rows)
        {
            ExpectForm(BaseLib_Charset_UnicodeToUTF, st_Row);
            ExpectForm(BaseLib_Charset_UnicodeToAnsi, st_Row);
        }
    }
    std::setlocale(LC_ALL, "C");
}

TEST(Charset, TheLocalesFormWhereItHoldsTheTextToTheLetter)
{
    const ROW st_Rows[] = {
#include "../data/BaseLib/LocaleForms.inc"
    };
    const CTempFolder m_Folder;
    constexpr const char* lpszCommand =
        "for CHARSET in EUC-JP TCVN5712-1; do localedef --quiet -c --no-archive -i POSIX "
        "-f $CHARSET $LOCPATH/xx_XX.$CHARSET; done 2>&1";
    setenv("LOCPATH", m_Folder.Path().c_str(), 1);
    pclose(popen(lpszCommand, "r"));
    for (const ROW& st_Row : st_Rows)
    {
        if (!std::setlocale(LC_ALL, ("xx_XX." + st_Row.Charset).c_str()))
            return SkipBecause("localedef cannot make a locale here (package locales)");
        ExpectForm(BaseLib_Charset_UnicodeToAnsi, st_Row);
        ExpectForm(BaseLib_Charset_UnicodeToUTF, {"UTF-8 in every locale", L"あ", "あ"});
    }
    std::setlocale(LC_ALL, "C");
    unsetenv("LOCPATH");
}
} // namespace
