// SPDX-License-Identifier: MIT
#include <Tolvane_BaseLib.h>

#include <cstring>
#include <gtest/gtest.h>
#include <optional>
#include <string>
#include <vector>

namespace
{
constexpr auto null = std::nullopt;

struct ROW
{
    const char* lpszWhy;
    std::vector<std::optional<std::string>> In, Out; // null: a null pointer is handed in
    bool bDone = true;
};

std::string Xs(std::size_t nCount)
{
    return std::string(nCount, 'x');
}

/// Calls with each row, and with outputs of the sizes, which hold "before" and have a guard behind them.
template <typename Char, typename Call>
void ExpectRows(const std::vector<ROW>& Rows, const std::vector<std::size_t>& Sizes, Call pfnCall)
{
    using String = std::basic_string<Char>;
    const auto To = [](const std::string& Ascii) {
        return String(Ascii.begin(), Ascii.end());
    };
    const String Guard(256, '#');
    for (const ROW& st_Row : Rows)
    {
        SCOPED_TRACE(st_Row.lpszWhy);
        std::vector<String> Texts;
        std::vector<Char*> Arguments; // of the texts, and then of the outputs
        for (const auto& In : st_Row.In)
            Texts.push_back(To(In.value_or("")));
        for (const std::size_t nSize : Sizes)
            Texts.push_back(To("before") + String(nSize - 6, '\0') + Guard);
        auto Given = st_Row.In;
        Given.insert(Given.end(), st_Row.Out.begin(), st_Row.Out.end());
        for (std::size_t nText = 0; nText < Given.size(); ++nText)
            Arguments.push_back(Given[nText] ? Texts[nText].data() : nullptr);
        EXPECT_EQ(pfnCall(Arguments.data()), st_Row.bDone);
        for (std::size_t nOut = 0; nOut < Sizes.size(); ++nOut)
        {
            const String& Text = Texts[st_Row.In.size() + nOut];
            EXPECT_EQ(String(Text.c_str()), To(st_Row.Out[nOut].value_or("before")));
            EXPECT_EQ(Text.substr(Sizes[nOut]), Guard);
        }
    }
}

TEST(String, PathsSplitInBothWidths)
{
    const std::vector<ROW> Rows = {
#include "../data/BaseLib/Paths.inc"
    };
    const std::vector<std::size_t> Sizes = {BASELIB_TEXT_SIZE, BASELIB_FILE_NAME_SIZE, BASELIB_FILE_EXT_SIZE};
    ExpectRows<char>(Rows, Sizes,
                     [](char** p) { return BaseLib_String_GetFileAndPathA(p[0], p[1], p[2], nullptr, p[3], false); });
    ExpectRows<wchar_t>(Rows, Sizes, [](wchar_t** p) {
        return BaseLib_String_GetFileAndPathW(p[0], p[1], p[2], nullptr, p[3], true); // the flag is not used
    });
}

TEST(String, KeysAndValuesSplitAtTheFirstSeparator)
{
    const std::vector<ROW> Rows = {
#include "../data/BaseLib/KeyValues.inc"
    };
    ExpectRows<char>(Rows, {BASELIB_TEXT_SIZE, BASELIB_TEXT_SIZE},
                     [](char** p) { return BaseLib_String_GetKeyValueA(p[0], p[1], p[2], p[3], 1, 0, 0); });
}

TEST(String, TakesWhatStandsBetweenTheMarkers)
{
    const std::vector<ROW> Rows = {
#include "../data/BaseLib/StartsAndEnds.inc"
    };
    ExpectRows<char>(Rows, {BASELIB_TEXT_SIZE},
                     [](char** p) { return BaseLib_String_GetStartEndA(p[0], p[3], p[1], p[2], 0); });
}

TEST(String, DeletesEveryOccurrenceInOnePass)
{
    const std::vector<ROW> Rows = {
#include "../data/BaseLib/Deletions.inc"
    };
    ExpectRows<char>(Rows, {BASELIB_TEXT_SIZE}, [](char** p) {
        std::vector<char> Text(p[0], p[0] + std::strlen(p[0]) + 1); // not a byte of room
        const bool bDone = BaseLib_String_DelSubA(p[2] ? Text.data() : nullptr, p[1], 1);
        if (p[2])
            std::strcpy(p[2], Text.data());
        return bDone;
    });
}
} // namespace
