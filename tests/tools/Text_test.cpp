// SPDX-License-Identifier: MIT
#include "Text.h"

#include "Terminal.h"

#include <gtest/gtest.h>

namespace
{
TEST(ToolText, SizesForPeople)
{
    const struct
    {
        unsigned long long nBytes;
        const char* lpszShown;
    } st_Rows[] = {{0, "0 B"},
                   {1023, "1023 B"},
                   {1024, "1.0 KiB"},
                   {(1ULL << 20) - 1, "1.0 MiB"}, // never "1024.0 KiB"
                   {3ULL << 39, "1.5 TiB"},
                   {~0ULL, "16.0 EiB"}};
    for (const auto& st_Row : st_Rows)
        EXPECT_EQ(HumanSize(st_Row.nBytes), st_Row.lpszShown);
    EXPECT_EQ(ShareInUse(1, 3), 66);
    EXPECT_EQ(ShareInUse(4, 3), 0) << "more is free than there is";
    EXPECT_EQ(Share(~0UL, 3), 100);
}

TEST(ToolText, NamesAreShownHarmlesslyAndClippedBetweenCharacters)
{
    ReadTerminal();
    EXPECT_EQ(Harmless("a\tb\nc\x7f"), "a\\x09b\\x0ac\\x7f");
    EXPECT_EQ(Harmless("\xc3\xa9\xff\xe6\x97"), "\xc3\xa9\\xff\\xe6\\x97") << "no UTF-8, and cut short";
    EXPECT_EQ(Harmless("\xc2\x9b"), "\\xc2\\x9b") << "a control character of two bytes";
    EXPECT_EQ(Harmless("\xe2\x80\xae"), "\\xe2\\x80\\xae") << "turns the direction of the text";
    EXPECT_EQ(Harmless({"a\0b", 3}), "a\\x00b");

    EXPECT_EQ(Clip("abc", 3), "abc");
    EXPECT_EQ(Clip("abcd", 3), "ab~");
    EXPECT_EQ(Clip("\xe6\x97\xa5\xe6\x9c\xac", 3), "\xe6\x97\xa5~");
    EXPECT_EQ(Clip("\xe6\x97\xa5\xe6\x9c\xac", 2), "~") << "half a character is none";
    EXPECT_EQ(Clip("e\xcc\x81\x65\xcc\x81z", 2), "e\xcc\x81~") << "an accent stays with its letter";
    EXPECT_EQ(Clip("abc", 0), "");
}
} // namespace
