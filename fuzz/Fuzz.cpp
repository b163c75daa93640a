// SPDX-License-Identifier: MIT
#include "Fuzz.h"

#include <cerrno>
#include <clocale>
#include <cstdarg>
#include <cstring>
#include <fcntl.h>
#include <locale.h>
#include <unistd.h>

namespace
{
std::vector<std::pair<const char*, std::string>> GivenTexts;
std::string_view Unread; // of the command that runs, or of the file that is open
int nOpened = -1;        // that file
unsigned nPortions = 0;

/// A stream that only has a descriptor: what is read from it comes from Unread.
FILE* Pipe() noexcept
{
    static FILE* const pPipe = fopen("/dev/null", "re");
    return pPipe;
}

std::string_view TextFor(std::string_view Name)
{
    for (const auto& [lpszKey, Text] : GivenTexts)
        if (Name.find(lpszKey) != Name.npos)
            return Text;
    return {};
}

/// In a UTF-8 locale, whatever the one under test is.
class CInUtf8
{
public:
    CInUtf8() : m_Before(uselocale(Utf8())) {}
    ~CInUtf8() { uselocale(m_Before); }
    CInUtf8& operator=(CInUtf8&&) = delete;

private:
    static locale_t Make()
    {
        const char* const lpszFolder = getenv("LOCPATH"); // glibc's newlocale loses memory where it is set
        const std::string Folder = lpszFolder ? lpszFolder : "";
        unsetenv("LOCPATH");
        const locale_t Locale = newlocale(LC_ALL_MASK, "C.UTF-8", nullptr);
        REQUIRE(Locale);
        if (lpszFolder)
            setenv("LOCPATH", Folder.c_str(), 1);
        return Locale;
    }
    static locale_t Utf8()
    {
        static const locale_t Locale = Make();
        return Locale;
    }
    locale_t m_Before;
};

bool IsCharacter(wchar_t chText)
{
    return (chText >= 0 && chText < 0xD800) || (chText > 0xDFFF && chText <= 0x10FFFF);
}
} // namespace

void GiveTexts(std::vector<std::pair<const char*, std::string>> Texts, unsigned nChunks)
{
    GivenTexts = std::move(Texts);
    nOpened = -1;
    nPortions = nChunks;
}

// The linker puts these in the place of the C library's (option --wrap).
extern "C"
{
int __real_open(const char* lpszPath, int nFlags, ...);
FILE* __real_popen(const char* lpszCmd, const char* lpszMode);
int __real_pclose(FILE* pPipe);
ssize_t __real_read(int nFile, void* pBuffer, std::size_t nSize);

int __wrap_open(const char* lpszPath, int nFlags, ...)
{
    va_list Mode;
    va_start(Mode, nFlags);
    const mode_t nMode = (nFlags & O_CREAT) != 0 ? va_arg(Mode, mode_t) : 0;
    va_end(Mode);
    if (GivenTexts.empty())
        return __real_open(lpszPath, nFlags, nMode);
    Unread = TextFor(lpszPath);
    nOpened = dup(fileno(Pipe()));
    return nOpened;
}

FILE* __wrap_popen(const char* lpszCmd, const char* lpszMode)
{
    if (GivenTexts.empty())
        return __real_popen(lpszCmd, lpszMode);
    Unread = TextFor(lpszCmd);
    return Pipe();
}

int __wrap_pclose(FILE* pPipe)
{
    return pPipe == Pipe() ? 0 : __real_pclose(pPipe);
}

ssize_t __wrap_read(int nFile, void* pBuffer, std::size_t nSize)
{
    if (GivenTexts.empty() || (nFile != fileno(Pipe()) && nFile != nOpened))
        return __real_read(nFile, pBuffer, nSize);
    nPortions = nPortions * 1103515245U + 12345U;
    if (nPortions >> 24 < 32)
    {
        errno = EINTR;
        return -1;
    }
    const std::size_t nMost = (nPortions >> 16 & 1) != 0 ? nSize : nPortions >> 20;
    const std::size_t nRead = std::min({nSize, nMost, Unread.size()});
    if (nRead == 0 && !Unread.empty())
    {
        errno = EINTR;
        return -1;
    }
    std::memcpy(pBuffer, Unread.data(), nRead);
    Unread.remove_prefix(nRead);
    return static_cast<ssize_t>(nRead);
}
}

std::wstring TakeWide(FuzzedDataProvider& In)
{
    const CInUtf8 m_InUtf8;
    const std::string Text = TakeArgument(In);
    std::wstring Wide;
    for (std::size_t nAt = 0; nAt < Text.size();)
    {
        wchar_t chWide = 0;
        std::mbstate_t st_State = {};
        std::size_t nTaken = std::mbrtowc(&chWide, Text.data() + nAt, Text.size() - nAt, &st_State);
        if (nTaken > Text.size())
        {
            const auto nByte = static_cast<unsigned char>(Text[nAt]); // 0x80 at least
            chWide = nByte == 0xFE ? -1 : nByte % 2 == 0 ? nByte << 13 : 0xD700 + 2 * nByte;
            nTaken = 1;
        }
        Wide += chWide;
        nAt += nTaken;
    }
    return Wide;
}

std::optional<std::string> Utf8Of(const std::wstring& Wide)
{
    const CInUtf8 m_InUtf8;
    std::string Text;
    for (const wchar_t chWide : Wide)
    {
        char tszForm[16];
        std::mbstate_t st_State = {};
        const std::size_t nForm =
            IsCharacter(chWide) ? std::wcrtomb(tszForm, chWide, &st_State) : sizeof(tszForm) + 1;
        if (nForm > sizeof(tszForm))
            return std::nullopt;
        Text.append(tszForm, nForm);
    }
    return Text;
}

std::optional<std::wstring> WideOf(const std::string& Text)
{
    const CInUtf8 m_InUtf8;
    std::wstring Wide;
    for (std::size_t nAt = 0; nAt < Text.size();)
    {
        wchar_t chWide = 0;
        std::mbstate_t st_State = {};
        const std::size_t nTaken = std::mbrtowc(&chWide, Text.data() + nAt, Text.size() - nAt, &st_State);
        if (nTaken > Text.size() || !IsCharacter(chWide))
            return std::nullopt;
        Wide += chWide;
        nAt += std::max<std::size_t>(nTaken, 1); // a null character is one byte
    }
    return Wide;
}

std::vector<std::string> Lines(const std::string& Text, int nSize)
{
    std::vector<std::string> All;
    FILE* const pText = fmemopen(const_cast<char*>(Text.data()), Text.size(), "r");
    std::string Line(static_cast<std::size_t>(nSize), '\0');
    while (fgets(Line.data(), nSize, pText))
        All.emplace_back(Line.c_str());
    fclose(pText);
    return All;
}

std::string Captured(const std::string& Text, std::size_t nSize)
{
    std::string All;
    for (const std::string& Line : Lines(Text, 2048))
        All += Line;
    return All.substr(0, nSize - 1);
}
