#include "Fakes.h"
#include "GuardedText.h"
#include "Sandbox.h"

#include <Tolvane_BaseLib.h>

#include <clocale>
#include <cstdio>
#include <cstdlib>
#include <gtest/gtest.h>
#include <string>
#include <vector>

namespace
{
constexpr int nLengthBefore = -7;

struct ROW
{
    const char* lpszWhy;
    std::wstring Source;
    std::string Form; ///< empty: it cannot be held, or does not fit
    bool bDone = true;
};

void ExpectForm(decltype(BaseLib_Charset_UnicodeToUTF)* pfnConvert, const ROW& st_Row)
{
    SCOPED_TRACE(st_Row.lpszWhy);
    CGuardedText<char, BASELIB_TEXT_SIZE> m_Form("before");
    int nLength = nLengthBefore;
    EXPECT_EQ(pfnConvert(st_Row.Source.c_str(), m_Form, &nLength, nullptr), st_Row.bDone);
    EXPECT_EQ(m_Form.Text(), st_Row.Form);
    EXPECT_EQ(nLength, st_Row.bDone ? static_cast<int>(st_Row.Form.size()) : nLengthBefore);
}

/// The locale of the name until the end of the scope; false where the machine does not have it.
class CLocale
{
public:
    explicit CLocale(const char* lpszName) : m_bSet(std::setlocale(LC_ALL, lpszName)) {}
    ~CLocale() { std::setlocale(LC_ALL, "C"); }
    CLocale(const CLocale&) = delete;
    CLocale& operator=(const CLocale&) = delete;
    explicit operator bool() const { return m_bSet; }

private:
    bool m_bSet;
};

std::string Times(int nCount, const std::string& Text)
{
    return nCount == 0 ? "" : Text + Times(nCount - 1, Text);
}

std::wstring Chars(std::size_t nCount, wchar_t chWhich)
{
    return std::wstring(nCount, chWhich);
}

TEST(Charset, Utf8IsStrictAndNeverCut)
{
    const std::string Full(1023, 'a');
    const ROW st_Rows[] = {
        {"an empty text is a text", L"", ""},
        {"one byte ends at U+7F", L"a\x7F", "a\x7F"},
        {"two bytes", L"\x80\x7FF", "\xC2\x80\xDF\xBF"},
        {"three bytes, up to the surrogates", L"\x800\xD7FF", "\xE0\xA0\x80\xED\x9F\xBF"},
        {"three bytes, behind the surrogates", L"\xE000\xFFFF", "\xEE\x80\x80\xEF\xBF\xBF"},
        {"four bytes", L"\x10000\x10FFFF", "\xF0\x90\x80\x80\xF4\x8F\xBF\xBF"},
        {"the first surrogate", L"a\xD800", "", false},
        {"the last surrogate", L"\xDFFF", "", false},
        {"a pair of surrogates is two of them", L"\xD83D\xDE00", "", false},
        {"above U+10FFFF", Chars(1, 0x110000), "", false},
        {"a negative character", Chars(1, -1), "", false},
        {"1023 bytes fit", Chars(1023, L'a'), Full},
        {"1024 do not, and are not cut", Chars(1024, L'a'), "", false},
        {"a character that ends at the last byte", Chars(1021, L'a') + L"é", Full.substr(2) + "é"},
        {"a character that would be cut in two", Chars(1022, L'a') + L"é", "", false},
        {"room for a shorter character behind that", Chars(1022, L'a') + L"éa", "", false},
        {"a text of megabytes", Chars(2 << 20, L'中'), "", false},
    };
    // The locale does not matter to the one; the other gives the same in a UTF-8 locale and, since the locale of
    // a program that never called setlocale holds ASCII alone, there too.
    for (const char* lpszLocale : {"C", "C.UTF-8"})
    {
        SCOPED_TRACE(lpszLocale);
        const CLocale m_Locale(lpszLocale);
        ASSERT_TRUE(m_Locale);
        for (const ROW& st_Row : st_Rows)
        {
            ExpectForm(BaseLib_Charset_UnicodeToUTF, st_Row);
            ExpectForm(BaseLib_Charset_UnicodeToAnsi, st_Row);
        }
    }
}

TEST(Charset, TheLocalesFormWhereItHoldsTheTextToTheLetter)
{
    const struct
    {
        const char* lpszCharset;
        std::vector<ROW> Rows;
    } st_Charsets[] = {
        {"EUC-JP",
         {{"ASCII", L"a\\b", "a\\b"},
          {"the locale's own bytes", L"aあ", "a\xA4\xA2"},
          {"the locale writes a backslash, which is another name", L"¥", "\xC2\xA5"},
          {"one character that it lacks makes the whole text UTF-8", L"あ😀", "あ😀"},
          {"neither can hold it", L"あ\xD800", "", false},
          {"1023 bytes fit", Chars(341, L'é'), Times(341, "\x8F\xAB\xB1")},
          {"1026 bytes do not fit, and UTF-8 is no way out", Chars(342, L'é'), "", false},
          {"too long, were the end not lacking", Chars(342, L'é') + L"😀", Times(342, "é") + "😀"}}},
        {"TCVN5712-1",
         {{"its own bytes", L"\xE1", "\xB8"},
          {"letter and accent would read back as one character", L"a\x301", "a\xCC\x81"},
          {"also far behind", Chars(600, L'b') + L"a\x301", std::string(600, 'b') + "a\xCC\x81"}}},
    };
    const CTempFolder m_Folder;
    for (const auto& [lpszCharset, Rows] : st_Charsets)
    {
        SCOPED_TRACE(lpszCharset);
        const std::string Name = std::string("xx_XX.") + lpszCharset;
        const std::string Command = "localedef --quiet -c --no-archive -i POSIX -f " + std::string(lpszCharset) +
                                    " " + (m_Folder / Name) + " 2>&1";
        pclose(popen(Command.c_str(), "r"));
        setenv("LOCPATH", m_Folder.Path().c_str(), 1);
        const CLocale m_Locale(Name.c_str());
        unsetenv("LOCPATH");
        if (!m_Locale)
            return SkipBecause("localedef cannot make a locale here (package locales)");
        for (const ROW& st_Row : Rows)
            ExpectForm(BaseLib_Charset_UnicodeToAnsi, st_Row);
        ExpectForm(BaseLib_Charset_UnicodeToUTF, {"UTF-8 in every locale", L"あ", "あ"});
    }
}

TEST(Charset, NullArguments)
{
    for (auto* pfnConvert : {BaseLib_Charset_UnicodeToUTF, BaseLib_Charset_UnicodeToAnsi})
    {
        int nLength = nLengthBefore;
        CGuardedText<char, BASELIB_TEXT_SIZE> m_Form("before");
        EXPECT_FALSE(pfnConvert(nullptr, m_Form, &nLength, nullptr));
        EXPECT_EQ(m_Form.Text(), "");
        EXPECT_FALSE(pfnConvert(L"a", nullptr, &nLength, nullptr));
        EXPECT_EQ(nLength, nLengthBefore);
        EXPECT_TRUE(pfnConvert(L"a", m_Form, nullptr, nullptr));
        EXPECT_EQ(m_Form.Text(), "a");
    }
}
} // namespace
