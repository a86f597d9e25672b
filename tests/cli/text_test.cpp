#include "text.h"
#include <gtest/gtest.h>

namespace velmont::test {

namespace {

using cli::cutToColumns;
using cli::printable;

TEST(Printable, LeavesTextAlone)
{
    for (const std::string text : {"", "a b.png", "\xC3\xA4\xE6\x97\xA5\xF0\x9F\x93\xB7.png", "\\n", "~!"})
        EXPECT_EQ(printable(text), text);
}

TEST(Printable, EscapesWhatMovesTheCursor)
{
    EXPECT_EQ(printable("a\nb\tc\rd\x1b[2J\x7f"), "a\\nb\\tc\\x0dd\\x1b[2J\\x7f");
    EXPECT_EQ(printable(std::string("\0", 1)), "\\x00");
    EXPECT_EQ(printable("\xC2\x9B"
                        "2J\xC2\xA0"),
              "\\xc2\\x9b2J\xC2\xA0");
}

TEST(Printable, EscapesBytesThatAreNoText)
{
    EXPECT_EQ(printable("a\xFFz"), "a\\xffz");
    EXPECT_EQ(printable("\xC0\xAF\xE0\x80\xAF"), "\\xc0\\xaf\\xe0\\x80\\xaf"); // too long
    EXPECT_EQ(printable("\xED\xA0\x80"), "\\xed\\xa0\\x80");                   // half of a pair
    EXPECT_EQ(printable("\xF4\x90\x80\x80"), "\\xf4\\x90\\x80\\x80");          // above the last
    EXPECT_EQ(printable("\xE6\x97"), "\\xe6\\x97");                            // cut off
    EXPECT_EQ(printable("\xE6\x97z"), "\\xe6\\x97z");
}

TEST(CutToColumns, KeepsCharactersWhole)
{
    EXPECT_EQ(cutToColumns("abc", 2), "ab");
    EXPECT_EQ(cutToColumns("abc", 9), "abc");
    EXPECT_EQ(cutToColumns("\xC3\xA4\xC3\xB6", 1), "\xC3\xA4");
    EXPECT_EQ(cutToColumns("\xE6\x97\xA5x", 1), "");
    EXPECT_EQ(cutToColumns("\xE6\x97\xA5x", 2), "\xE6\x97\xA5");
    EXPECT_EQ(cutToColumns("abc", 0), "");
}

} // namespace

} // namespace velmont::test
