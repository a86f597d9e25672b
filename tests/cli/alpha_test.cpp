// Alpha beside the picture: kept, moved along, or dropped with a word.

#include "cli_test.h"
#include "exit_codes.h"
#include "levels.h"
#include "runner.h"
#include <algorithm>
#include <cstddef>
#include <velmont/dib.h>
#include <velmont/velmont.h>

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

constexpr int kWidth = 13, kHeight = 7;

/// The alpha of makeTransparentPicture, by places from the top.
uint8_t alphaAt(int x, int y)
{
    return makeTransparentPicture(kWidth, kHeight)
        .alpha.at(static_cast<std::size_t>((kHeight - 1 - y) * kWidth + x));
}

TEST_F(Alpha, IsCutWithThePicture)
{
    expectSilence({"crop", "in.png", "--at", "2,1", "--size", "5x4", "-o", "out.png"});
    const auto alpha = alphaOf("out.png");
    ASSERT_EQ(alpha.size(), 20u);
    for (int y = 0; y < 4; ++y)
        for (int x = 0; x < 5; ++x)
            EXPECT_EQ(alpha[static_cast<std::size_t>((3 - y) * 5 + x)], alphaAt(x + 2, y + 1))
                << x << ", " << y;
}

TEST_F(Alpha, TurnsWithThePicture)
{
    expectSilence({"rotate", "in.png", "--by", "right", "-o", "out.png"});
    const auto alpha = alphaOf("out.png");
    ASSERT_EQ(alpha.size(), std::size_t{kWidth * kHeight});
    for (int y = 0; y < kWidth; ++y)
        for (int x = 0; x < kHeight; ++x)
            EXPECT_EQ(alpha[static_cast<std::size_t>((kWidth - 1 - y) * kHeight + x)],
                      alphaAt(y, kHeight - 1 - x))
                << x << ", " << y;
}

TEST_F(Alpha, WhatIsLeftFreeIsTransparent)
{
    const std::vector<std::string> crop{"crop", "in.png", "--at", "-2,0", "--size", "3x1"};
    const auto levels = [&](std::vector<std::string> command, const std::vector<std::string> &more) {
        command.insert(command.end(), more.begin(), more.end());
        command.insert(command.end(), {"-o", "out.png", "--force"});
        expectSilence(command);
        return alphaOf("out.png");
    };
    const uint8_t corner = alphaAt(0, 0);
    EXPECT_EQ(levels(crop, {}), (std::vector<uint8_t>{0, 0, corner}));
    for (const char *colour : {"#123456", "#000000", "#ffffff"})
        EXPECT_EQ(levels(crop, {"--background", colour}), (std::vector<uint8_t>{255, 255, corner}))
            << colour << ", which was chosen";
    EXPECT_EQ(levels({"rotate", "in.png", "--by", "30"}, {}).front(), 0);
    EXPECT_EQ(levels({"rotate", "in.png", "--by", "30", "--background", "#ffffff"}, {}).front(), 255);
    EXPECT_EQ(levels({"apply", "rotate", "angle=30", "in.png"}, {}).front(), 0);
    EXPECT_EQ(levels({"apply", "rotate", "angle=30", "background=#ffffff", "in.png"}, {}).front(), 255);
}

TEST_F(Alpha, IsDroppedWithAWordWhereItCannotFollow)
{
    const auto said = [&](std::vector<std::string> command) {
        command.insert(command.end(), {"in.png", "-o", "out.png", "--force"});
        const Outcome outcome = run(command);
        EXPECT_EQ(outcome.exitCode, 0);
        EXPECT_TRUE(alphaOf("out.png").empty());
        return outcome.err;
    };
    EXPECT_EQ(said({"apply", "melting"}),
              "velmont: in.png: alpha is dropped: melting moves pixels by their colours, "
              "which alpha cannot follow\n");
    save(Kind::Gray, kWidth, kHeight, file("mask.png"));
    EXPECT_EQ(said({"apply", "shadow", "alpha=mask.png"}),
              "velmont: in.png: alpha is dropped: shadow changed the image's size\n");
    EXPECT_EQ(said({"apply", "melting", "-q"}), "");
}

using catalogue::Effect;
using catalogue::Motion;

/// A 24-bit picture whose colours are gray and whose alpha is the same gray.
io::Picture makeTwins(int width, int height)
{
    const io::DibHandle gray = makeDib(Kind::Gray, width, height);
    return {io::DibHandle(ProcessConvertTo24BitColor(gray.get())), cli::levelsOf(gray.get())};
}

/// What became of the colours, of which one channel is like the others.
std::vector<uint8_t> levelsOf(const io::Picture &picture)
{
    std::vector<uint8_t> levels;
    for (const uint32_t colour : coloursOf(picture.dib.get()))
        levels.push_back(static_cast<uint8_t>(colour));
    return levels;
}

/// The defaults, and each field alone at its ends; sizes and places stay near the picture's.
std::vector<cli::Step> stepsOf(const Effect &effect)
{
    std::vector<cli::Step> steps{{&effect, catalogue::defaultRecord(effect)}};
    for (const catalogue::Field &field : effect.fields)
        for (const double value : {field.minimum, field.maximum}) {
            steps.push_back(steps.front());
            field.store(steps.back().record.bytes.data(),
                        field.fillsGaps ? 0xFFFFFF : std::clamp(value, -200., 200.));
        }
    for (cli::Step &step : steps)
        for (const catalogue::Field &field : effect.fields) {
            step.typed.push_back(&field); // what is left free is white, and so opaque
            if (field.unit == "colour" && !field.fillsGaps)
                field.store(step.record.bytes.data(),
                            0); // and is transparent where gray pictures know no colour
        }
    return steps;
}

/// \return false where these parameters give no result
bool runStep(io::Picture &picture, const cli::Step &step)
{
    try {
        cli::Runner(picture, "photo.png", {.convert = false, .quiet = true, .seed = 5}).run({step});
        return true;
    } catch (const cli::Failure &failure) {
        EXPECT_EQ(failure.code(), cli::ExitCode::NoResult) << failure.what();
        return false;
    }
}

void expectTwinsToStay(const cli::Step &step, int width, int height)
{
    io::Picture twins = makeTwins(width, height);
    if (!runStep(twins, step))
        return;
    EXPECT_TRUE(twins.alpha == levelsOf(twins)) << step.effect->name << ", " << width << " x " << height;
}

TEST(MovedAlpha, GoesWhereThePixelsGo)
{
    for (const Effect &effect : catalogue::effects()) {
        if (effect.motion != Motion::ByPlace || !effect.operands.empty())
            continue;
        for (const cli::Step &step : stepsOf(effect))
            for (const auto &[width, height] : {std::pair(40, 31), std::pair(17, 50)})
                expectTwinsToStay(step, width, height);
        io::Picture twins = makeTwins(40, 31);
        EXPECT_TRUE(runStep(twins, stepsOf(effect).front())) << effect.name;
        EXPECT_FALSE(twins.alpha.empty()) << effect.name;
    }
}

TEST_F(Alpha, GoesWithPixelsThatAMaskMoves)
{
    save(Kind::Gray, 40, 31, file("mask.png"));
    for (const Effect &effect : catalogue::effects()) {
        if (effect.motion != Motion::ByPlace || effect.operands.empty())
            continue;
        for (cli::Step step : stepsOf(effect)) {
            for (const catalogue::Operand &operand : effect.operands)
                if (!operand.isResult)
                    step.operands.push_back({&operand, file("mask.png")});
            expectTwinsToStay(step, 40, 31);
        }
    }
}

/// Whether the effect, said to leave pixels where they are, does nothing but exchange them.
bool onlyExchangesPixels(const Effect &effect)
{
    if (!effect.operands.empty() || (effect.depths & catalogue::Depth8Gray) == 0)
        return false;
    const io::Picture before = makePicture(Kind::Gray, 40, 31);
    io::Picture after = makePicture(Kind::Gray, 40, 31);
    if (!runStep(after, {&effect, catalogue::defaultRecord(effect)}))
        return false;
    auto from = coloursOf(before.dib.get()), to = coloursOf(after.dib.get());
    const bool changed = from != to;
    std::ranges::sort(from);
    std::ranges::sort(to);
    return changed && from == to;
}

TEST(Catalogue, SaysWhichEffectsMovePixels)
{
    for (const Effect &effect : catalogue::effects())
        EXPECT_FALSE(effect.motion == Motion::None && onlyExchangesPixels(effect)) << effect.name;
}

TEST(Catalogue, SaysWhichEffectsChangeTheSize)
{
    for (const Effect &effect : catalogue::effects()) {
        if (effect.resizes || !effect.operands.empty())
            continue;
        for (const cli::Step &step : stepsOf(effect)) {
            io::Picture picture = makePicture((effect.depths & catalogue::Depth24) != 0      ? Kind::Colour
                                              : (effect.depths & catalogue::Depth8Gray) != 0 ? Kind::Gray
                                                                                             : Kind::OneBit,
                                              40, 31);
            if (!runStep(picture, step))
                continue;
            int width = 0, height = 0;
            GetDibSize(picture.dib.get(), &width, &height);
            EXPECT_EQ(std::pair(width, height), std::pair(40, 31)) << effect.name;
        }
    }
}

} // namespace

} // namespace velmont::test
