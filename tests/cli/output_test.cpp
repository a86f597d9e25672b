#include "cli_test.h"

namespace velmont::test {

namespace {

using Names = std::vector<std::string>;

class Output : public CliTest {
protected:
    Output() { save(Kind::Colour, 13, 7, file("in.png")); }
};

TEST_F(Output, IsTheOnlyNewFile)
{
    expectSilence({"apply", "negative", "in.png", "-o", "out.png"});
    EXPECT_EQ(files(), (Names{"in.png", "out.png"}));
}

TEST_F(Output, ReplacesNothingWithoutForce)
{
    writeText("out.png", "precious");
    expectRefusal({"apply", "negative", "in.png", "-o", "out.png"}, 2,
                  "out.png: exists already; pass --force to replace it");
    EXPECT_EQ(textOf("out.png"), "precious");
    EXPECT_EQ(files(), (Names{"in.png", "out.png"}));
}

TEST_F(Output, IsLookedAtBeforeTheInput)
{
    writeText("out.png", "precious");
    expectRefusal({"apply", "negative", "missing.png", "-o", "out.png"}, 2,
                  "out.png: exists already; pass --force to replace it");
}

TEST_F(Output, ADeadLinkIsAFileToo)
{
    std::filesystem::create_symlink("nowhere.png", file("out.png"));
    expectRefusal({"apply", "negative", "in.png", "-o", "out.png"}, 2,
                  "out.png: exists already; pass --force to replace it");
}

TEST_F(Output, PicturesBesideTheResultAreWrittenToo)
{
    save(Kind::Gray, 13, 7, file("alpha.png"));
    expectSilence(
        {"apply", "splash-cut-out", "alpha=alpha.png", "newAlpha=moved.png", "in.png", "-o", "out.png"});
    EXPECT_EQ(coloursOf(file("moved.png")).size(), 13u * 7u);
    EXPECT_EQ(files(), (Names{"alpha.png", "in.png", "moved.png", "out.png"}));
}

TEST_F(Output, PicturesBesideTheResultAreLookedAtBeforeTheInput)
{
    writeText("moved.png", "precious");
    const auto refused = [&](const std::string &made, int code, const std::string &line) {
        expectRefusal(
            {"apply", "splash-cut-out", "alpha=no.png", "newAlpha=" + made, "no.png", "-o", "out.png"}, code,
            line);
    };
    refused("moved.png", 2, "moved.png: exists already; pass --force to replace it");
    refused("out.png", 2, "out.png: is to be written twice");
    refused("moved.xyz", 2,
            "moved.xyz: the ending names no format: use .png, .jpg, .jpeg, .jpe, .bmp, .dib, .tif, .tiff or "
            ".webp");
    EXPECT_EQ(textOf("moved.png"), "precious");
    EXPECT_EQ(files(), (Names{"in.png", "moved.png"}));
}

TEST_F(Output, ForceReplaces)
{
    writeText("out.png", "worthless");
    expectSilence({"apply", "negative", "in.png", "-o", "out.png", "--force"});
    EXPECT_EQ(coloursOf(file("out.png")).size(), 13u * 7u);
    EXPECT_EQ(files(), (Names{"in.png", "out.png"}));
}

TEST_F(Output, ForceKeepsTheOldFileWhenTheRunFails)
{
    writeText("out.png", "precious");
    EXPECT_EQ(run({"apply", "to-1-bit", "in.png", "-o", "out.png", "--force"}).exitCode, 3);
    EXPECT_EQ(textOf("out.png"), "precious");
    EXPECT_EQ(files(), (Names{"in.png", "out.png"}));
}

TEST_F(Output, MayBeTheInputWithForce)
{
    const auto before = coloursOf(file("in.png"));
    expectRefusal({"apply", "negative", "in.png", "-o", "in.png"}, 2,
                  "in.png: exists already; pass --force to replace it");
    EXPECT_EQ(coloursOf(file("in.png")), before);
    expectSilence({"apply", "negative", "in.png", "-o", "in.png", "--force"});
    EXPECT_NE(coloursOf(file("in.png")), before);
    expectSilence({"apply", "negative", "in.png", "-o", "in.png", "--force"});
    EXPECT_EQ(coloursOf(file("in.png")), before);
    EXPECT_EQ(files(), Names{"in.png"});
}

TEST_F(Output, NamesMayHaveSpaces)
{
    std::filesystem::create_directory(file("my pictures"));
    std::filesystem::rename(file("in.png"), file("my pictures/the first one.png"));
    expectSilence({"apply", "negative", "my pictures/the first one.png", "-o", "my pictures/out of it.png"});
    EXPECT_TRUE(std::filesystem::exists(file("my pictures/out of it.png")));
}

TEST_F(Output, NamesMayBeginWithADash)
{
    std::filesystem::copy(file("in.png"), file("-in.png"));
    expectSilence({"apply", "negative", "./-in.png", "-o", "./-out.png"});
    expectSilence({"apply", "negative", "-o", "a.png", "--", "-in.png"});
    expectSilence({"apply", "-o", "b.png", "--", "negative", "then", "negative", "-in.png"});
    expectSilence({"apply", "negative", "in.png", "--output=-c.png"});
    EXPECT_EQ(files(), (Names{"-c.png", "-in.png", "-out.png", "a.png", "b.png", "in.png"}));
}

TEST_F(Output, NamesMayLookLikeWordsOfTheChain)
{
    for (const std::string name : {"then", "threshold=3", "negative"}) {
        std::filesystem::copy(file("in.png"), file(name));
        expectSilence({"apply", "negative", "./" + name, "-o", "out.png", "--force"});
    }
}

} // namespace

} // namespace velmont::test
