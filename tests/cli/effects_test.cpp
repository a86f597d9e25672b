#include "cli_test.h"
#include <algorithm>
#include <velmont/dib.h>
#include <velmont/geometry.h>
#include <velmont/tone.h>

namespace velmont::test {

namespace {

class Effects : public CliTest {
protected:
    int typeOf(const std::string &name) const { return TuDibGetType(io::readPicture(file(name)).dib.get()); }
};

constexpr int kGrayType = 1, kColourType = 2, kOneBitType = 5;

TEST_F(Effects, NegativeIsTheLibrarysNegative)
{
    for (const Kind kind : kKinds) {
        save(kind, 13, 7, file("in.bmp"));
        expectSilence({"apply", "negative", "in.bmp", "-o", "out.bmp", "--force"});
        const io::DibHandle expected(ProcessNegative(makeDib(kind, 13, 7).get()));
        EXPECT_EQ(coloursOf(file("out.bmp")), coloursOf(expected.get()));
        EXPECT_NE(coloursOf(file("out.bmp")), coloursOf(file("in.bmp")));
    }
}

TEST_F(Effects, FieldsReachTheEffect)
{
    save(Kind::Gray, 64, 64, file("in.png"));
    const io::DibHandle source = makeDib(Kind::Gray, 64, 64);
    for (const int threshold : {-1, 30, 200, 255}) {
        expectSilence({"apply", "to-1-bit", "threshold=" + std::to_string(threshold), "in.png", "-o",
                       "out.png", "--force"});
        const io::DibHandle expected(ProcessConvertFrom8To1(source.get(), threshold));
        EXPECT_EQ(coloursOf(file("out.png")), coloursOf(expected.get())) << threshold;
    }
}

TEST_F(Effects, RunFromLeftToRight)
{
    save(Kind::Colour, 13, 7, file("in.png"));
    expectSilence({"apply", "to-gray", "then", "to-1-bit", "threshold=90", "then", "negative", "in.png", "-o",
                   "out.png"});
    const io::DibHandle gray(ProcessConvertToGrayScale(makeDib(Kind::Colour, 13, 7).get()));
    const io::DibHandle bits(ProcessConvertFrom8To1(gray.get(), 90));
    const io::DibHandle expected(ProcessNegative(bits.get()));
    EXPECT_EQ(coloursOf(file("out.png")), coloursOf(expected.get()));
}

TEST_F(Effects, WordsAndOptionsStandAnywhere)
{
    save(Kind::Colour, 13, 7, file("in.png"));
    expectSilence(
        {"apply", "--force", "to-gray", "in.png", "-o", "out.png", "then", "-q", "to-1-bit", "threshold=90"});
    EXPECT_EQ(typeOf("out.png"), kOneBitType);
}

TEST_F(Effects, ADepthIsRefusedWithAdvice)
{
    save(Kind::Colour, 13, 7, file("photo.png"));
    expectRefusal(
        {"apply", "to-1-bit", "photo.png", "-o", "out.png"}, 3,
        "to-1-bit: photo.png is 24-bit; to-1-bit takes 8-bit gray and 8-bit paletted; convert it first "
        "with \"to-gray then ...\" or pass --convert");
    expectRefusal(
        {"apply", "to-24-bit", "photo.png", "-o", "out.png"}, 3,
        "to-24-bit: photo.png is 24-bit already; to-24-bit takes 1-bit, 4-bit, 8-bit gray and 8-bit "
        "paletted; leave it out or pass --convert");
    EXPECT_EQ(files(), std::vector<std::string>{"photo.png"});
}

TEST_F(Effects, ADepthIsRefusedLaterInTheChainToo)
{
    save(Kind::Gray, 13, 7, file("photo.png"));
    expectRefusal({"apply", "to-1-bit", "then", "to-1-bit", "photo.png", "-o", "out.png"}, 3,
                  "to-1-bit: photo.png after to-1-bit is 1-bit already; to-1-bit takes 8-bit gray and 8-bit "
                  "paletted; leave it out or pass --convert");
    EXPECT_EQ(files(), std::vector<std::string>{"photo.png"});
}

TEST_F(Effects, ConvertBringsTheDepth)
{
    save(Kind::Colour, 13, 7, file("photo.png"));
    const Outcome outcome = run({"apply", "to-1-bit", "photo.png", "-o", "out.png", "--convert"});
    EXPECT_EQ(outcome.exitCode, 0);
    EXPECT_EQ(outcome.err, "velmont: to-1-bit: photo.png is 24-bit; converted first with \"to-gray\"\n");
    EXPECT_EQ(typeOf("out.png"), kOneBitType);
    expectSilence({"apply", "to-1-bit", "photo.png", "-o", "quiet.png", "--convert", "--quiet"});
    EXPECT_EQ(textOf("quiet.png"), textOf("out.png"));
}

TEST_F(Effects, ConvertLeavesAConversionOutThatIsDone)
{
    save(Kind::Colour, 13, 7, file("photo.png"));
    const Outcome outcome = run({"apply", "to-24-bit", "photo.png", "-o", "out.png", "--convert"});
    EXPECT_EQ(outcome.exitCode, 0);
    EXPECT_EQ(outcome.err, "velmont: to-24-bit: photo.png is 24-bit already; left out\n");
    EXPECT_EQ(coloursOf(file("out.png")), coloursOf(file("photo.png")));
}

TEST_F(Effects, ATableIsGivenLevelByLevel)
{
    save(Kind::Colour, 13, 7, file("photo.png"));
    std::string table = "table=255";
    for (int level = 1; level < 256; ++level)
        table.append(",").append(std::to_string(255 - level));
    expectSilence({"apply", "color-map", table, "photo.png", "-o", "out.png"});
    const io::DibHandle expected(ProcessNegative(makeDib(Kind::Colour, 13, 7).get()));
    EXPECT_EQ(coloursOf(file("out.png")), coloursOf(expected.get()));

    for (const std::string &wrong : std::vector<std::string>{table + ",0", table.substr(0, table.size() - 2),
                                                             "table=1,2", table + ","}) {
        const Outcome outcome = run({"apply", "color-map", wrong, "photo.png", "-o", "never.png"});
        EXPECT_EQ(outcome.exitCode, 2) << wrong;
        EXPECT_NE(outcome.err.find("256 levels joined by commas"), std::string::npos) << outcome.err;
    }
}

TEST_F(Effects, ConvertDoesNothingWithoutNeed)
{
    save(Kind::Gray, 13, 7, file("photo.png"));
    expectSilence({"apply", "negative", "photo.png", "-o", "out.png", "--convert"});
    EXPECT_EQ(typeOf("out.png"), kGrayType);
    save(Kind::FourBit, 13, 7, file("four.png"));
    expectSilence({"apply", "to-24-bit", "four.png", "-o", "out24.png", "--convert"});
    EXPECT_EQ(typeOf("out24.png"), kColourType);
}

} // namespace

} // namespace velmont::test
