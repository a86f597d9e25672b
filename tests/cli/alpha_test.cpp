#include "cli_test.h"

namespace velmont::test {

namespace {

class Alpha : public CliTest {
protected:
    Alpha() { save(makeTransparentPicture(13, 7), file("in.png")); }
    std::vector<uint8_t> alphaOf(const std::string &name) const { return io::readPicture(file(name)).alpha; }
};

TEST_F(Alpha, IsKeptByPng)
{
    expectSilence({"apply", "negative", "in.png", "-o", "out.png"});
    EXPECT_EQ(alphaOf("out.png"), makeTransparentPicture(13, 7).alpha);
    EXPECT_NE(coloursOf(file("out.png")), coloursOf(file("in.png")));
}

TEST_F(Alpha, IsKeptByBmp)
{
    expectSilence({"apply", "negative", "in.png", "-o", "out.bmp"});
    EXPECT_EQ(alphaOf("out.bmp"), makeTransparentPicture(13, 7).alpha);
}

TEST_F(Alpha, OutlivesAConversion)
{
    expectSilence({"apply", "to-gray", "in.png", "-o", "out.png"});
    EXPECT_EQ(alphaOf("out.png"), makeTransparentPicture(13, 7).alpha);
}

TEST_F(Alpha, IsDroppedByJpegWithANote)
{
    const Outcome outcome = run({"apply", "negative", "in.png", "-o", "out.jpg"});
    EXPECT_EQ(outcome.exitCode, 0);
    EXPECT_EQ(outcome.err, "velmont: out.jpg: alpha is dropped: JPEG has none\n");
    EXPECT_TRUE(alphaOf("out.jpg").empty());
    expectSilence({"apply", "negative", "in.png", "-o", "quiet.jpg", "--quiet"});
}

} // namespace

} // namespace velmont::test
