// SPDX-License-Identifier: MIT
/// What the fuzz targets share. Each target hands made-up input to one routine and compares the answer with a plain
/// reference of its own; buffers are exactly as large as the interface says, so that the sanitizers see each overrun.
#pragma once

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cwchar>
#include <fuzzer/FuzzedDataProvider.h>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

/// The body of a target, which takes what it needs from In.
#define FUZZ(In)                                                                                                     \
    static void RunTarget(FuzzedDataProvider& In);                                                                   \
    extern "C" int LLVMFuzzerTestOneInput(const unsigned char* pData, std::size_t nSize)                             \
    {                                                                                                                \
        FuzzedDataProvider m_In(pData, nSize);                                                                       \
        RunTarget(m_In);                                                                                             \
        GiveTexts({});                                                                                               \
        return 0;                                                                                                    \
    }                                                                                                                \
    static void RunTarget(FuzzedDataProvider& In)

/// Ends the run where a property does not hold; the input is kept.
#define REQUIRE(Condition)                                                                                           \
    do                                                                                                               \
        if (!(Condition))                                                                                            \
        {                                                                                                            \
            std::fprintf(stderr, "%s:%d: does not hold: %s\n", __FILE__, __LINE__, #Condition);                      \
            std::abort();                                                                                            \
        }                                                                                                            \
    while (false)

/// What a command prints, or a kernel file holds, whose command line or path holds the key; all others are empty.
/// Reads give it in portions that nChunks decides, some of them interrupted by a signal. An empty list takes the
/// stand-ins away.
void GiveTexts(std::vector<std::pair<const char*, std::string>> Texts, unsigned nChunks = 0);

/// Text up to a backslash that another character follows (two backslashes are one), so that seeds can be read.
inline std::string TakeText(FuzzedDataProvider& In)
{
    return In.ConsumeRandomLengthString(8192);
}

/// The text up to its first null character, as callers hand it in.
inline std::string TakeArgument(FuzzedDataProvider& In)
{
    return TakeText(In).c_str();
}

/// Wide text, null characters excluded: UTF-8 as what it stands for, other bytes as surrogates and as values above
/// U+10FFFF.
std::wstring TakeWide(FuzzedDataProvider& In);

/// The UTF-8 of wide text, made by the C library; nothing where there is none.
std::optional<std::string> Utf8Of(const std::wstring& Wide);

/// The wide form of UTF-8, made by the C library; nothing where there is none.
std::optional<std::wstring> WideOf(const std::string& Text);

/// The lines of a text, as fgets cuts them with a buffer of so many bytes, each up to its first null character.
std::vector<std::string> Lines(const std::string& Text, int nSize);

/// All lines of a command's output joined, as they get into a buffer of so many bytes.
std::string Captured(const std::string& Text, std::size_t nSize = 1024);

/// A caller's buffer, zeroed but for the text that it holds.
template <typename Char>
class CBuffer
{
public:
    explicit CBuffer(std::size_t nSize, const std::basic_string<Char>& Before = {})
        : m_nSize(nSize), m_ptszText(std::make_unique<Char[]>(nSize))
    {
        Before.copy(m_ptszText.get(), nSize - 1);
    }
    operator Char*() { return m_ptszText.get(); }
    [[nodiscard]] std::basic_string<Char> Text() const
    {
        const std::basic_string_view<Char> All(m_ptszText.get(), m_nSize);
        REQUIRE(All.find(Char()) != All.npos);
        return std::basic_string<Char>(All.substr(0, All.find(Char())));
    }

private:
    std::size_t m_nSize;
    std::unique_ptr<Char[]> m_ptszText;
};
