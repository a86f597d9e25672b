#include "nearest_name.h"
#include <gtest/gtest.h>

namespace velmont::test {

namespace {

using cli::didYouMean;
using cli::nearestName;
using cli::typingDistance;

const std::vector<std::string_view> kNames{"list", "info", "apply", "negative", "to-gray", "to-1-bit"};

TEST(NearestName, CountsSingleMistakes)
{
    EXPECT_EQ(typingDistance("", ""), 0u);
    EXPECT_EQ(typingDistance("same", "same"), 0u);
    EXPECT_EQ(typingDistance("", "abc"), 3u);
    EXPECT_EQ(typingDistance("abc", ""), 3u);
    EXPECT_EQ(typingDistance("list", "lists"), 1u);
    EXPECT_EQ(typingDistance("list", "lit"), 1u);
    EXPECT_EQ(typingDistance("list", "lost"), 1u);
    EXPECT_EQ(typingDistance("list", "lsit"), 1u);
    EXPECT_EQ(typingDistance("kitten", "sitting"), 3u);
}

TEST(NearestName, IgnoresCase)
{
    EXPECT_EQ(typingDistance("LIST", "list"), 0u);
    EXPECT_EQ(nearestName("NEGATIVE", kNames), "negative");
}

TEST(NearestName, FindsTheNearest)
{
    EXPECT_EQ(nearestName("lsit", kNames), "list");
    EXPECT_EQ(nearestName("negatve", kNames), "negative");
    EXPECT_EQ(nearestName("togray", kNames), "to-gray");
    EXPECT_EQ(nearestName("to-2-bit", kNames), "to-1-bit");
}

TEST(NearestName, IsSilentWhenNothingIsNear)
{
    EXPECT_EQ(nearestName("sharpen", kNames), std::nullopt);
    EXPECT_EQ(nearestName("x", kNames), std::nullopt);
    EXPECT_EQ(nearestName("", kNames), std::nullopt);
    EXPECT_EQ(nearestName("list", {}), std::nullopt);
    const std::vector<std::string_view> letters{"y"};
    EXPECT_EQ(nearestName("x", letters), std::nullopt) << "nothing of the word would be left";
}

TEST(NearestName, MakesAnEndingOfALine)
{
    EXPECT_EQ(didYouMean("negativ", kNames), "; did you mean negative?");
    EXPECT_EQ(didYouMean("emboss", kNames), "");
}

} // namespace

} // namespace velmont::test
