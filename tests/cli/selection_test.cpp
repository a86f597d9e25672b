// `velmont select`, `velmont apply --mask`, and the commands that paint.

#include "catalogue/effect.h"
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
            "few.png is 4-bit; selections take 8-bit gray and 24-bit images; pass --convert");
    refused({"exact-rotate", "--mask", "mask.png", "in.png"},
            "in.png: the effects make it 5 x 7 of 7 x 5; inside a selection they have to keep the size");
    EXPECT_NE(
        run({"apply", "negative", "--mask", "none.png", "in.png", "-o", "out.png"}).err.find("none.png"),
        std::string::npos);
    EXPECT_EQ(files(), (std::vector<std::string>{"few.png", "in.png", "mask.png", "turned.png"}));
}

constexpr bool isCorner(int x, int y)
{
    return x < 3 && y < 2;
}
/// One channel mixed as the library mixes: to the nearest, halves upwards.
constexpr uint32_t mixed(uint32_t under, uint32_t over, uint32_t alpha)
{
    return (over * alpha + under * (255 - alpha) + 127) / 255;
}
/// A gray mixed with its negative.
constexpr uint32_t negated(uint32_t colour, uint32_t alpha)
{
    const uint32_t level = colour & 0xFF;
    return mixed(level, 255 - level, alpha) * 0x010101u;
}

TEST_F(Mask, SelectIsWhatTheCommandSelects)
{
    paint("in.png", 24, corner);
    expectSilence({"apply", "negative", "--select", "1,1", "in.png", "-o", "out.png"});
    expectPicture("out.png", [](int x, int y) { return negated(corner(x, y), isCorner(x, y) ? 255 : 0); });
    for (const char *tolerance : {"0,0,9", "0,0,9,9,9"}) {
        expectSilence({"apply", "negative", "--select", tolerance, "in.png", "-o", "out.png", "--force"});
        expectPicture("out.png", [](int x, int y) {
            return negated(corner(x, y), isCorner(x, y) && !(x == 2 && y == 1) ? 255 : 0);
        });
    }
    expectSilence(
        {"apply", "negative", "--select=0,0,9", "--select", "2,1,0", "in.png", "-o", "out.png", "--force"});
    expectPicture("out.png", [](int x, int y) { return negated(corner(x, y), isCorner(x, y) ? 255 : 0); });
    expectSilence({"apply", "negative", "--select", "0,0", "--invert", "in.png", "-o", "out.png", "--force"});
    expectPicture("out.png", [](int x, int y) { return negated(corner(x, y), isCorner(x, y) ? 0 : 255); });
}

TEST_F(Mask, AndSelectCountWhereBothSelect)
{
    paint("in.png", 24, corner);
    paint("mask.png", 8, [](int x, int) { return static_cast<uint32_t>(40 * x); });
    expectSilence({"apply", "negative", "--select", "0,0", "--mask", "mask.png", "in.png", "-o", "out.png"});
    const auto alpha = [](int x, int y) { return isCorner(x, y) ? 40u * static_cast<uint32_t>(x) : 0u; };
    expectPicture("out.png", [&](int x, int y) { return negated(corner(x, y), alpha(x, y)); });
    expectSilence({"apply", "negative", "--select", "0,0", "--mask", "mask.png", "--invert", "in.png", "-o",
                   "out.png", "--force"});
    expectPicture("out.png", [&](int x, int y) { return negated(corner(x, y), 255 - alpha(x, y)); });
}

/// Means of three, along the rows and then down the columns, by hand.
uint32_t softCorner(int x, int y)
{
    constexpr uint32_t kLevels[3][4] = {{255, 255, 170, 85}, {170, 170, 113, 57}, {85, 85, 57, 28}};
    return x < 4 && y < 3 ? kLevels[y][x] : 0;
}

TEST_F(Mask, FeatherIsARamp)
{
    paint("in.png", 24, corner);
    paint("mask.png", 8, [](int x, int y) { return isCorner(x, y) ? 255u : 0u; });
    for (const std::vector<std::string> &selection : std::vector<std::vector<std::string>>{
             {"--select", "0,0"}, {"--mask", "mask.png"}, {"--mask", "mask.png", "--select=0,0"}}) {
        std::vector<std::string> command{"apply", "negative", "in.png",  "--feather",
                                         "1",     "-o",       "out.png", "--force"};
        command.insert(command.end(), selection.begin(), selection.end());
        expectSilence(command);
        expectPicture("out.png", [](int x, int y) { return negated(corner(x, y), softCorner(x, y)); });
    }
    // A window wider than the picture looks at its edge again and again: the mean of seven columns.
    paint("mask.png", 8, [](int x, int) { return x < 3 ? 255u : 0u; });
    expectSilence(
        {"apply", "negative", "in.png", "--mask", "mask.png", "--feather=3", "-o", "out.png", "--force"});
    expectPicture("out.png", [](int x, int y) {
        constexpr uint32_t kSevenths[] = {219, 182, 146, 109, 73, 36, 0};
        return negated(corner(x, y), kSevenths[x]);
    });
    expectSilence(
        {"apply", "negative", "in.png", "--mask", "mask.png", "--feather=0", "-o", "out.png", "--force"});
    expectPicture("out.png", [](int x, int y) { return negated(corner(x, y), x < 3 ? 255 : 0); });
}

TEST_F(Mask, BlackAndWhiteInsideAColourPhoto)
{
    const auto colour = [](int x, int y) { return x < 3 && y < 2 ? 0xC83264u : 0x0000FFu; };
    paint("in.png", 24, colour);
    expectSilence({"apply", "to-gray", "in.png", "-o", "gray.png"});
    const uint32_t gray = colourAt("gray.png", 0, 0);
    EXPECT_EQ(gray & 0xFF, gray >> 16);
    expectSilence({"apply", "to-gray", "--select", "0,0", "in.png", "-o", "out.png"});
    expectPicture("out.png", [&](int x, int y) { return isCorner(x, y) ? gray : colour(x, y); });
    expectSilence({"apply", "to-gray", "then", "to-1-bit", "threshold=20", "--select", "0,0", "in.png", "-o",
                   "out.png", "--force"});
    expectPicture("out.png", [&](int x, int y) { return isCorner(x, y) ? 0xFFFFFFu : colour(x, y); });
}

TEST_F(Mask, GrayStaysGrayBesideBlackAndWhite)
{
    paint("in.png", 8, [](int x, int) { return static_cast<uint32_t>(30 * x); });
    expectSilence({"apply", "to-1-bit", "threshold=20", "--select", "2,0,31", "in.png", "-o", "out.png"});
    EXPECT_EQ(catalogue::depthOf(io::readPicture(file("out.png")).dib.get()),
              unsigned{catalogue::Depth8Gray});
    expectPicture("out.png", [](int x, int) {
        return x >= 1 && x <= 3 ? 0xFFFFFFu : static_cast<uint32_t>(30 * x) * 0x010101u;
    });
    expectSilence(
        {"apply", "to-24-bit", "then", "moonlight", "--select", "2,0,31", "in.png", "-o", "moon.png"});
    EXPECT_EQ(colourAt("moon.png", 6, 4), 0xB4B4B4u);
    EXPECT_NE(colourAt("moon.png", 2, 0) >> 16, colourAt("moon.png", 2, 0) & 0xFF);
}

TEST_F(Mask, PalettesAreConvertedWhenAsked)
{
    for (const auto &[kind, depth] : {std::pair(Kind::OneBit, "1-bit"), std::pair(Kind::FourBit, "4-bit"),
                                      std::pair(Kind::Paletted, "8-bit paletted")}) {
        save(kind, kWidth, kHeight, file("few.png"));
        const Outcome outcome = run(
            {"apply", "negative", "--select", "0,0,0", "few.png", "-o", "out.png", "--force", "--convert"});
        EXPECT_EQ(outcome.exitCode, 0);
        EXPECT_EQ(outcome.err,
                  std::string("velmont: few.png is ") + depth + "; converted to 24-bit for the selection\n");
        const auto before = coloursOf(file("few.png")), after = coloursOf(file("out.png"));
        const std::size_t start = (kHeight - 1) * kWidth;
        EXPECT_EQ(after[start], before[start] ^ 0xFFFFFF);
        expectRefusal({"apply", "negative", "--select", "0,0", "few.png", "-o", "other.png"}, 3,
                      std::string("few.png is ") + depth +
                          "; selections take 8-bit gray and 24-bit images; pass --convert");
        expectSilence({"apply", "negative", "--select", "0,0", "few.png", "-o", "out.png", "--force",
                       "--convert", "-q"});
    }
}

TEST_F(Mask, NothingSelectedIsSaid)
{
    paint("in.png", 24, corner);
    paint("mask.png", 8, [](int, int) { return 0u; });
    const Outcome outcome = run({"apply", "negative", "--mask", "mask.png", "in.png", "-o", "out.png"});
    EXPECT_EQ(outcome.exitCode, 0);
    EXPECT_EQ(outcome.err, "velmont: in.png: nothing is selected; the image stays as it is\n");
    expectPicture("out.png", corner);
    expectSilence({"apply", "negative", "--mask", "mask.png", "in.png", "-o", "quiet.png", "-q"});
}

TEST_F(Mask, MayChangeTheSizeOnTheWay)
{
    paint("in.png", 24, corner);
    paint("mask.png", 8, [](int, int) { return 255u; });
    expectSilence({"apply", "exact-rotate", "angle=clockwise", "then", "exact-rotate",
                   "angle=counterclockwise", "--mask", "mask.png", "in.png", "-o", "out.png"});
    expectPicture("out.png", corner);
    expectSilence({"apply", "exact-rotate", "angle=half", "--mask", "mask.png", "in.png", "-o", "half.png"});
    expectPicture("half.png", [](int x, int y) { return corner(kWidth - 1 - x, kHeight - 1 - y); });
    // What needs a picture beside the image is known only when it has run.
    expectRefusal(
        {"apply", "shadow", "alpha=mask.png", "offsetX=5", "offsetY=5", "blur=2", "--mask", "mask.png",
         "in.png", "-o", "shadow.png"},
        3, "in.png: the effects make it 17 x 15 of 7 x 5; inside a selection they have to keep the size");
}

TEST_F(Mask, RefusesWordsThatSelectNothing)
{
    paint("in.png", 24, corner);
    const auto refused = [&](const std::vector<std::string> &words, const std::string &line) {
        std::vector<std::string> arguments{"apply", "negative", "in.png", "-o", "out.png"};
        arguments.insert(arguments.end(), words.begin(), words.end());
        expectRefusal(arguments, 2, line);
    };
    for (const std::string place : {"7,0", "0,5", "-1,0", "0,-1,3,3,3"})
        refused({"--select=" + place}, "--select=" + place + " lies outside in.png, which is 7 x 5");
    for (const std::string place : {"1", "1,", "a,b", "1,2,", "1,2,256", "1,2,-1", "1,2,3,4", "1,2,3,4,5,6"})
        refused({"--select=" + place},
                "--select=" + place +
                    " is not understood: X,Y or X,Y,LEVEL or X,Y,RED,GREEN,BLUE, a pixel from "
                    "the left and the top and how far a channel may differ from it, 0 to 255");
    for (const std::string pixels : {"-1", "1001", "99999999999999999999"})
        refused({"--select=0,0", "--feather=" + pixels},
                "--feather=" + pixels + " is out of range: a whole number of pixels from 0 to 1000");
    refused({"--select=0,0", "--feather=soft"},
            "--feather=soft is not understood: a whole number of pixels from 0 to 1000");
    refused({"--feather=2"}, "--feather needs a selection: --mask MASK or --select X,Y,R,G,B");
    refused({"--invert"}, "--invert needs a selection: --mask MASK or --select X,Y,R,G,B");
    EXPECT_EQ(files(), std::vector<std::string>{"in.png"});
}

TEST_F(Mask, IsTakenByCommandsThatPaint)
{
    paint("in.png", 24, corner);
    paint("stamp.png", 24, [](int, int) { return 0u; });
    expectSilence({"stamp", "in.png", "--stamp", "stamp.png", "--at", "0,0", "--size", "7x5", "--color",
                   "#ffffff", "--select", "0,0", "-o", "out.png"});
    expectPicture("out.png", [](int x, int y) { return isCorner(x, y) ? 0xFFFFFFu : corner(x, y); });
    expectSilence({"gradient", "in.png", "--share", "0", "--select", "0,0", "--invert", "-o", "ramp.png"});
    EXPECT_EQ(colourAt("ramp.png", 1, 1), corner(1, 1));
    EXPECT_NE(colourAt("ramp.png", 6, 4), corner(6, 4));
}

TEST_F(Mask, MayStandInARecipe)
{
    paint("in.png", 24, corner);
    writeText("recipe.json",
              R"({"velmont": 1, "steps": [{"effect": "negative"}], "select": ["0,0"], "feather": 1})");
    expectSilence({"apply", "--recipe", "recipe.json", "in.png", "-o", "out.png"});
    expectPicture("out.png", [](int x, int y) { return negated(corner(x, y), softCorner(x, y)); });
    expectSilence({"apply", "--recipe", "recipe.json", "--feather", "0", "--select=6,4", "in.png", "-o",
                   "out.png", "--force"});
    expectPicture("out.png", [](int x, int y) { return negated(corner(x, y), isCorner(x, y) ? 0 : 255); });
}

TEST_F(Mask, IsCheckedByADryRun)
{
    paint("in.png", 24, corner);
    expectRefusal(
        {"apply", "exact-rotate", "--select", "0,0", "in.png", "-o", "out.png", "--dry-run"}, 3,
        "in.png: the effects make it 5 x 7 of 7 x 5; inside a selection they have to keep the size");
    expectRefusal({"apply", "negative", "--select", "7,0", "in.png", "-o", "out.png", "--dry-run"}, 2,
                  "--select=7,0 lies outside in.png, which is 7 x 5");
    EXPECT_EQ(run({"apply", "to-gray", "--select", "0,0", "in.png", "-o", "out.png", "--dry-run"}).exitCode,
              0);
    EXPECT_EQ(files(), std::vector<std::string>{"in.png"});
}

TEST_F(Mask, MixesAlphaToo)
{
    io::Picture picture = makeTransparentPicture(kWidth, kHeight);
    save(picture, file("in.png"));
    paint("mask.png", 8, [](int x, int y) { return static_cast<uint32_t>(x * 30 + y); });
    const auto alphaOf = [&](const std::string &name) { return io::readPicture(file(name)).alpha; };
    const auto expectAlpha = [&](const std::string &name,
                                 const std::function<uint32_t(std::size_t)> &inside) {
        const auto alpha = alphaOf(name);
        ASSERT_EQ(alpha.size(), picture.alpha.size());
        for (std::size_t i = 0; i < alpha.size(); ++i) {
            const auto x = static_cast<uint32_t>(i % kWidth),
                       y = static_cast<uint32_t>(kHeight - 1 - i / kWidth);
            EXPECT_EQ(alpha[i], mixed(picture.alpha[i], inside(i), x * 30 + y)) << i;
        }
    };
    expectSilence({"apply", "negative", "--mask", "mask.png", "in.png", "-o", "same.png"});
    EXPECT_EQ(alphaOf("same.png"), picture.alpha);
    expectSilence({"apply", "exact-rotate", "angle=half", "--mask", "mask.png", "in.png", "-o", "half.png"});
    expectAlpha("half.png",
                [&](std::size_t i) { return uint32_t{picture.alpha[picture.alpha.size() - 1 - i]}; });
    EXPECT_EQ(run({"apply", "melting", "--mask", "mask.png", "in.png", "-o", "opaque.png"}).err,
              "velmont: in.png: alpha is dropped: melting moves pixels by their colours, which alpha cannot "
              "follow\n");
    expectAlpha("opaque.png", [](std::size_t) { return 255u; });
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
