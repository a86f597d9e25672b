#include "failure_of.h"
#include "name_pattern.h"

namespace velmont::test {

namespace {

using cli::NamePattern;

const cli::NameFields kPhoto{"photo.old", "JPG", "007", "blur"};

std::string named(const std::string &pattern)
{
    return NamePattern(pattern, "--name").nameFor(kPhoto);
}

std::string refusal(const std::string &pattern)
{
    return failureOf(cli::ExitCode::Usage, [&] { NamePattern(pattern, "--name"); });
}

TEST(NamePattern, PutsFieldsIn)
{
    EXPECT_EQ(named("{stem}.{ext}"), "photo.old.JPG");
    EXPECT_EQ(named("{n}-{effect}-{stem}{stem}.webp"), "007-blur-photo.oldphoto.old.webp");
    EXPECT_EQ(named("plain.png"), "plain.png");
    EXPECT_EQ(named(""), "");
}

TEST(NamePattern, DoubleBracesAreBraces)
{
    EXPECT_EQ(named("{{stem}}-{{{n}}}.png"), "{stem}-{007}.png");
}

TEST(NamePattern, FieldsAreNotLookedForInValues)
{
    EXPECT_EQ(NamePattern("{stem}.png", "--name").nameFor({"{n}", "x", "1", "y"}), "{n}.png");
}

TEST(NamePattern, RefusesWhatItDoesNotKnow)
{
    EXPECT_EQ(refusal("{stm}.png"), "--name: there is no field {stm}; did you mean stem?");
    EXPECT_EQ(refusal("{}.png"), "--name: there is no field {}; there are {stem}, {ext}, {n}, {effect}");
    EXPECT_EQ(refusal("{stem.png"), "--name: a { has no partner; {{ and }} are plain braces");
    EXPECT_EQ(refusal("stem}.png"), "--name: a } has no partner; {{ and }} are plain braces");
}

TEST(NamePattern, KnowsWhetherImagesDiffer)
{
    EXPECT_TRUE(NamePattern("{stem}.png", "").tellsApart());
    EXPECT_TRUE(NamePattern("{n}.png", "").tellsApart());
    EXPECT_FALSE(NamePattern("{effect}.{ext}", "").tellsApart());
    EXPECT_FALSE(NamePattern("{{n}}.png", "").tellsApart());
}

TEST(NamePattern, NumbersAreAsWideAsTheLast)
{
    EXPECT_EQ(cli::numbered(1, 9), "1");
    EXPECT_EQ(cli::numbered(1, 10), "01");
    EXPECT_EQ(cli::numbered(200, 200), "200");
    EXPECT_EQ(cli::numbered(7, 1000), "0007");
}

} // namespace

} // namespace velmont::test
