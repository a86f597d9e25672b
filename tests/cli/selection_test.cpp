// `velmont select`, `velmont apply --mask`, and the commands that paint.

#include "cli_test.h"
#include <functional>
#include <velmont/dib.h>
#include <velmont/memory.h>

namespace velmont::test {

namespace {

class SelectionCommand : public CliTest {
protected:
    /// Saves a picture of 24 bits or, with equal channels, of gray, by the colours that rule(x, y) gives from the top.
    void paint(const std::string &name, int bits, const std::function<uint32_t(int, int)> &rule) const
    {
        io::Picture picture{io::DibHandle(CreateDib(kWidth, kHeight, bits, 0, 0)), {}};
        auto *const block = static_cast<uint8_t *>(KelMemLock(picture.dib.get()));
        const std::size_t channels = bits == 24 ? 3 : 1, stride = (kWidth * channels + 3) / 4 * 4;
        uint8_t *const rows = block + (bits == 24 ? 40 : 1064);
        for (int y = 0; y < kHeight; ++y)
            for (int x = 0; x < kWidth; ++x)
                for (std::size_t channel = 0; channel < channels; ++channel)
                    rows[static_cast<std::size_t>(kHeight - 1 - y) * stride +
                         static_cast<std::size_t>(x) * channels + channel] =
                        static_cast<uint8_t>(rule(x, y) >> 8 * channel);
        KelMemUnlock(picture.dib.get());
        save(picture, file(name));
    }
    /// The colour of a pixel, counted from the top.
    uint32_t colourAt(const std::string &name, int x, int y) const
    {
        return coloursOf(file(name)).at(static_cast<std::size_t>((kHeight - 1 - y) * kWidth + x));
    }
    void expectPicture(const std::string &name, const std::function<uint32_t(int, int)> &rule) const
    {
        for (int y = 0; y < kHeight; ++y)
            for (int x = 0; x < kWidth; ++x)
                EXPECT_EQ(colourAt(name, x, y), rule(x, y)) << x << ", " << y;
    }

    static constexpr int kWidth = 7, kHeight = 5;
};

using Select = SelectionCommand;
using Mask = SelectionCommand;

/// A dark upper left corner, its lower right pixel a little lighter, on a light ground.
uint32_t corner(int x, int y)
{
    const bool isCorner = x < 3 && y < 2;
    return !isCorner ? 0xC0C0C0 : x == 2 && y == 1 ? 0x141414 : 0x0A0A0A;
}

TEST_F(Select, CountsFromTheUpperLeftCorner)
{
    paint("in.png", 24, corner);
    expectSilence({"select", "in.png", "--at", "1,1", "-o", "mask.png"});
    expectPicture("mask.png", [](int x, int y) { return x < 3 && y < 2 ? 0xFFFFFFu : 0u; });
    expectSilence({"select", "in.png", "--at", "6,4", "-o", "mask.png", "--force"});
    expectPicture("mask.png", [](int x, int y) { return x < 3 && y < 2 ? 0u : 0xFFFFFFu; });
}

TEST_F(Select, ToleranceIsOfEachChannel)
{
    paint("in.png", 24, corner);
    const auto sharp = [](int x, int y) { return x < 3 && y < 2 && !(x == 2 && y == 1) ? 0xFFFFFFu : 0u; };
    for (const char *tolerance : {"9", "10,9,10", "0"}) {
        expectSilence(
            {"select", "in.png", "--at", "0,0", "--tolerance", tolerance, "-o", "mask.png", "--force"});
        expectPicture("mask.png", sharp);
    }
    for (const char *tolerance : {"10", "10,10,10"}) {
        expectSilence(
            {"select", "in.png", "--at", "0,0", "--tolerance", tolerance, "-o", "mask.png", "--force"});
        expectPicture("mask.png", [](int x, int y) { return x < 3 && y < 2 ? 0xFFFFFFu : 0u; });
    }
}

TEST_F(Select, RefusesWhatIsNoPlaceOrTolerance)
{
    paint("in.png", 24, corner);
    expectRefusal({"select", "in.png", "-o", "m.png"}, 2,
                  "select needs --at: a pixel of what is to be selected");
    for (const std::string at : {"7,0", "0,5", "-1,0"})
        expectRefusal({"select", "in.png", "--at=" + at, "-o", "m.png"}, 2,
                      "--at=" + at + " lies outside the image, which is 7 x 5");
    for (const std::string tolerance : {"256", "-1", "1,2", "1,2,3,4", "a", "1,,2"})
        expectRefusal({"select", "in.png", "--at", "0,0", "--tolerance=" + tolerance, "-o", "m.png"}, 2,
                      "--tolerance=" + tolerance +
                          " is not understood: LEVEL or RED,GREEN,BLUE, each from 0 to 255");
    EXPECT_EQ(files(), std::vector<std::string>{"in.png"});
}

TEST_F(Mask, KeepsTheImageOutside)
{
    paint("in.png", 24, corner);
    expectSilence({"select", "in.png", "--at", "0,0", "-o", "mask.png"});
    expectSilence({"apply", "negative", "--mask", "mask.png", "in.png", "-o", "out.png"});
    expectPicture("out.png",
                  [](int x, int y) { return x < 3 && y < 2 ? corner(x, y) ^ 0xFFFFFF : corner(x, y); });
    EXPECT_EQ(files(), (std::vector<std::string>{"in.png", "mask.png", "out.png"}));
}

TEST_F(Mask, MixesBetween)
{
    paint("in.png", 8, [](int x, int) { return static_cast<uint32_t>(10 * x); });
    paint("mask.png", 8, [](int, int y) {
        return static_cast<uint32_t>(y == 0 ? 0 : y == 1 ? 255 : 60 * y);
    });
    expectSilence({"apply", "negative", "then", "negative", "then", "negative", "--mask", "mask.png",
                   "in.png", "-o", "out.png"});
    expectPicture("out.png", [](int x, int y) {
        const int level = 10 * x, alpha = y == 0 ? 0 : y == 1 ? 255 : 60 * y;
        return static_cast<uint32_t>(((255 - level) * alpha + level * (255 - alpha) + 127) / 255) * 0x010101u;
    });
}

TEST_F(Mask, RefusesWhatDoesNotFit)
{
    paint("in.png", 24, corner);
    paint("mask.png", 8, [](int, int) { return 255u; });
    save(Kind::Gray, 5, 7, file("turned.png"));
    save(Kind::FourBit, kWidth, kHeight, file("few.png"));
    const auto refused = [&](const std::vector<std::string> &words, const std::string &line) {
        std::vector<std::string> arguments{"apply"};
        arguments.insert(arguments.end(), words.begin(), words.end());
        arguments.insert(arguments.end(), {"-o", "out.png"});
        expectRefusal(arguments, 3, line);
    };
    refused({"negative", "--mask", "turned.png", "in.png"},
            "turned.png: the mask is 5 x 7 and in.png is 7 x 5; they have to be of one size");
    refused({"negative", "--mask", "mask.png", "few.png"},
            "few.png: --mask takes 8-bit gray and 24-bit images");
    const std::string changed =
        "--mask: the effects changed the image's size or depth; inside a mask they have to keep both";
    refused({"exact-rotate", "--mask", "mask.png", "in.png"}, changed);
    refused({"to-gray", "--mask", "mask.png", "in.png"}, changed);
    EXPECT_NE(
        run({"apply", "negative", "--mask", "none.png", "in.png", "-o", "out.png"}).err.find("none.png"),
        std::string::npos);
    EXPECT_EQ(files(), (std::vector<std::string>{"few.png", "in.png", "mask.png", "turned.png"}));
}

using Fill = SelectionCommand;
using Gradient = SelectionCommand;
using Shadow = SelectionCommand;
using Stamp = SelectionCommand;

TEST_F(Fill, PaintsFromAPixelOrBehindAMask)
{
    paint("in.png", 24, corner);
    const auto filled = [](int x, int y) { return x < 3 && y < 2 ? 0x102030u : corner(x, y); };
    expectSilence({"fill", "in.png", "--at", "1,0", "--color", "#102030", "-o", "out.png"});
    expectPicture("out.png", filled);
    expectSilence({"select", "in.png", "--at", "0,0", "-o", "mask.png"});
    expectSilence({"fill", "in.png", "--mask", "mask.png", "--color", "#102030", "-o", "out.png", "--force"});
    expectPicture("out.png", filled);
    expectSilence({"fill", "in.png", "--at", "0,0", "--tolerance", "3", "--color", "#102030", "-o", "out.png",
                   "--force"});
    EXPECT_EQ(colourAt("out.png", 2, 1), corner(2, 1));
    EXPECT_EQ(colourAt("out.png", 1, 1), 0x102030u);
}

TEST_F(Fill, RefusesWhatIsNotClear)
{
    paint("in.png", 24, corner);
    const std::string either = "fill needs either --at, a pixel of what is to be filled, or --mask";
    expectRefusal({"fill", "in.png", "-o", "out.png"}, 2, either);
    expectRefusal({"fill", "in.png", "--at", "0,0", "--mask", "in.png", "-o", "out.png"}, 2, either);
    expectRefusal({"fill", "in.png", "--mask", "in.png", "--tolerance", "3", "-o", "out.png"}, 2,
                  "fill: --tolerance goes with --at");
    EXPECT_EQ(run({"fill", "in.png", "--at", "0,0", "--color", "red", "-o", "out.png"}).exitCode, 2);
}

TEST_F(Gradient, RunsFromPointToPoint)
{
    paint("in.png", 24, corner);
    expectSilence({"gradient", "in.png", "--from", "1,0", "--to", "5,0", "--share", "0", "--start-color",
                   "#000000", "--end-color", "#6496c8", "-o", "out.png"});
    // Four columns: halves of a quarter step are rounded away, 100 * j / 4 and so on.
    expectPicture("out.png", [](int x, int) {
        const int j = x - 1;
        if (j <= 0)
            return 0u;
        if (j >= 4)
            return 0x6496c8u;
        return static_cast<uint32_t>((2 + j * 100) / 4) << 16 |
               static_cast<uint32_t>((2 + j * 150) / 4) << 8 | static_cast<uint32_t>((2 + j * 200) / 4);
    });
    expectSilence(
        {"gradient", "in.png", "--from", "0,0", "--to", "0,4", "--share", "0", "-o", "out.png", "--force"});
    EXPECT_EQ(colourAt("out.png", 3, 0), 0x000000u) << "rows count from the top";
    EXPECT_EQ(colourAt("out.png", 3, 4), 0xFFFFFFu);
    for (const char *shape : {"line", "circle", "ellipse", "square", "rectangle"})
        expectSilence({"gradient", "in.png", "--shape", shape, "--colors", "hsv", "--repeats", "2",
                       "--repeat-mode", "sawtooth", "-o", "out.png", "--force"});
}

TEST_F(Gradient, RefusesWhatIsNotClear)
{
    paint("in.png", 24, corner);
    expectRefusal({"gradient", "in.png", "--from", "0,0", "-o", "out.png"}, 2,
                  "gradient needs both --from and --to, or neither");
    expectRefusal({"gradient", "in.png", "--shape", "star", "-o", "out.png"}, 2,
                  "gradient-fill: shape=star is not one of square, rectangle, ellipse, circle, line");
    expectRefusal({"gradient", "in.png", "--from", "0,0", "--to", "0,1", "-o", "out.png"}, 5,
                  "gradient-fill: in.png: no result: out of memory, or nothing to do");
}

TEST_F(Shadow, HasRoomOnACanvas)
{
    paint("in.png", 24, corner);
    paint("mask.png", 8, [](int x, int y) { return x < 3 && y < 2 ? 255u : 0u; });
    expectSilence({"shadow", "in.png", "--mask", "mask.png", "--offset", "2,3", "--color", "#00ff00",
                   "--blur", "2", "--new-mask", "both.png", "-o", "out.png"});
    const auto size = [&](const std::string &name) { return coloursOf(file(name)).size(); };
    EXPECT_EQ(size("out.png"), (7u + 4) * (5u + 6));
    EXPECT_EQ(size("both.png"), (7u + 4) * (5u + 6));
    // The object lies in the corner that the shadow falls away from: its first pixel is the canvas's upper left one.
    const auto canvas = coloursOf(file("out.png"));
    EXPECT_EQ(canvas.at(10 * 11), 0x0A0A0Au);
    EXPECT_EQ(canvas.at(10 * 11 + 10), 0x00FF00u);
    EXPECT_EQ(coloursOf(file("both.png")).at(10 * 11), 0xFFFFFFu);
    expectRefusal({"shadow", "in.png", "-o", "out.png", "--force"}, 2,
                  "shadow needs --mask: which pixels throw it");
    expectRefusal({"shadow", "in.png", "--mask", "mask.png", "--new-mask", "both.png", "-o", "other.png"}, 2,
                  "both.png: exists already; pass --force to replace it");
    EXPECT_EQ(run({"shadow", "in.png", "--mask", "mask.png", "--offset", "2000,0", "-o", "o.png"}).exitCode,
              2);
}

TEST_F(Stamp, PrintsDarkPartsInItsColour)
{
    paint("in.png", 24, [](int, int) { return 0xC0C0C0u; });
    io::Picture dark{io::DibHandle(CreateDib(4, 4, 24, 0, 0)), {}};
    save(dark, file("stamp.png"));
    expectSilence({"stamp", "in.png", "--stamp", "stamp.png", "--at", "1,2", "--size", "3x2", "--color",
                   "#aa5500", "-o", "out.png"});
    expectPicture("out.png",
                  [](int x, int y) { return x >= 1 && x < 4 && y >= 2 && y < 4 ? 0xAA5500u : 0xC0C0C0u; });
    expectRefusal({"stamp", "in.png", "--at", "0,0", "-o", "o.png"}, 2,
                  "stamp needs --stamp FILE, --at and --size");
    expectRefusal({"stamp", "in.png", "--stamp", "stamp.png", "--at", "0,0", "--size", "3x", "-o", "o.png"},
                  2, "--size=3x: a stamp needs both sides");
}

} // namespace

} // namespace velmont::test
