#include "cli_test.h"
#include <velmont/dib.h>

namespace velmont::test {

namespace {

class Formats : public CliTest {
protected:
    io::Format formatOf(const std::string &name) const
    {
        const std::string bytes = textOf(name);
        if (bytes.starts_with("BM"))
            return io::Format::Bmp;
        return bytes.starts_with("\x89PNG") ? io::Format::Png : io::Format::Jpeg;
    }
};

TEST_F(Formats, EveryInputToEveryOutput)
{
    for (const std::string in : {"in.png", "in.bmp", "in.jpg"}) {
        save(Kind::Gray, 21, 10, file(in));
        for (const std::string out : {"out.png", "out.bmp", "out.jpg"}) {
            expectSilence({"apply", "negative", in, "-o", out, "--force"});
            EXPECT_EQ(formatOf(out), io::formatOfName(out)) << in << " to " << out;
            io::Picture picture = io::readPicture(file(out));
            int width = 0, height = 0;
            GetDibSize(picture.dib.get(), &width, &height);
            EXPECT_EQ(width, 21);
            EXPECT_EQ(height, 10);
        }
    }
}

TEST_F(Formats, EveryEndingInAnyCase)
{
    save(Kind::Colour, 21, 10, file("in.png"));
    for (const std::string ending : {".png", ".PNG", ".bmp", ".dib", ".jpg", ".jpeg", ".jpe", ".JPG"}) {
        expectSilence({"apply", "negative", "in.png", "-o", "out" + ending});
        EXPECT_EQ(formatOf("out" + ending), io::formatOfName("out" + ending)) << ending;
    }
}

TEST_F(Formats, EveryDepthStaysItself)
{
    for (const Kind kind : kKinds) {
        for (const std::string ending : {".png", ".bmp"}) {
            save(kind, 21, 10, file("in" + ending));
            expectSilence(
                {"apply", "negative", "then", "negative", "in" + ending, "-o", "out" + ending, "--force"});
            EXPECT_EQ(coloursOf(file("out" + ending)), coloursOf(makeDib(kind, 21, 10).get())) << ending;
            io::Picture in = io::readPicture(file("in" + ending)),
                        out = io::readPicture(file("out" + ending));
            EXPECT_EQ(TuDibGetType(out.dib.get()), TuDibGetType(in.dib.get())) << ending;
        }
    }
}

TEST_F(Formats, TheContentsTellTheInputsFormat)
{
    save(Kind::Colour, 21, 10, file("in.bmp"));
    std::filesystem::rename(file("in.bmp"), file("photo"));
    expectSilence({"apply", "negative", "photo", "-o", "out.png"});
}

TEST_F(Formats, AnUnknownEndingIsRefusedBeforeAnyWork)
{
    for (const std::string name : {"out.xyz", "out", ".png"}) {
        expectRefusal({"apply", "negative", "missing.png", "-o", name}, 2,
                      name + ": the ending names no format: use .png, .jpg, .jpeg, .jpe, .bmp, .dib, .tif, "
                             ".tiff or .webp");
    }
}

TEST_F(Formats, QualityMakesAJpegSmaller)
{
    save(Kind::Colour, 64, 64, file("in.png"));
    expectSilence({"apply", "negative", "in.png", "-o", "best.jpg", "--quality", "100"});
    expectSilence({"apply", "negative", "in.png", "-o", "usual.jpg"});
    expectSilence({"apply", "negative", "in.png", "-o", "worst.jpg", "--quality=1"});
    EXPECT_GT(textOf("best.jpg").size(), textOf("usual.jpg").size());
    EXPECT_GT(textOf("usual.jpg").size(), textOf("worst.jpg").size());
}

TEST_F(Formats, QualityIsForJpegOnly)
{
    save(Kind::Colour, 8, 8, file("in.png"));
    const Outcome outcome = run({"apply", "negative", "in.png", "-o", "out.png", "--quality", "50"});
    EXPECT_EQ(outcome.exitCode, 0);
    EXPECT_EQ(outcome.err, "velmont: out.png: --quality means nothing to PNG\n");
    expectSilence({"apply", "negative", "in.png", "-o", "out2.png", "--quality", "50", "-q"});
}

TEST_F(Formats, QualityHasARange)
{
    for (const std::string quality : {"0", "101", "-1", "99999999999999999999"}) {
        expectRefusal({"apply", "negative", "in.png", "-o", "out.jpg", "--quality", quality}, 2,
                      "--quality=" + quality + " is out of range: a whole number from 1 to 100");
    }
    expectRefusal({"apply", "negative", "in.png", "-o", "out.jpg", "--quality", "high"}, 2,
                  "--quality=high is not understood: a whole number from 1 to 100");
}

} // namespace

} // namespace velmont::test
