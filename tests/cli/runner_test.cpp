#include "cli_test.h"
#include "failure_of.h"
#include "interrupt.h"
#include "made_up_effects.h"
#include "pictures.h"
#include "runner.h"
#include "text.h"
#include <cstdlib>
#include <iostream>
#include <velmont/velmont.h>

namespace velmont::test {

namespace {

using catalogue::Effect;
using cli::ExitCode;

std::vector<cli::Step> stepsOf(std::initializer_list<const Effect *> effects)
{
    std::vector<cli::Step> steps;
    for (const Effect *effect : effects)
        steps.push_back({effect, {}});
    return steps;
}

void run(io::Picture &picture, std::initializer_list<const Effect *> effects)
{
    cli::Runner(picture, "photo.png", {.convert = false, .quiet = false}).run(stepsOf(effects));
}

TEST(Runner, AnEffectWithoutResultIsAFailure)
{
    io::Picture picture = makePicture(Kind::Colour, 5, 4);
    EXPECT_EQ(failureOf(ExitCode::NoResult, [&] { run(picture, {&returnsNothing()}); }),
              "nothing: photo.png: no result: out of memory, or nothing to do");
}

TEST(Runner, MessagesTellTheEffectsBefore)
{
    io::Picture picture = makePicture(Kind::Colour, 5, 4);
    EXPECT_EQ(failureOf(ExitCode::NoResult,
                        [&] {
                            run(picture, {&returnsItsSource(), &returnsNothing()});
                        }),
              "nothing: photo.png after source: no result: out of memory, or nothing to do");
}

TEST(Runner, AnEffectMayReturnItsSource)
{
    io::Picture picture = makePicture(Kind::Colour, 5, 4);
    const auto colours = coloursOf(picture.dib.get());
    run(picture, {&returnsItsSource(), &returnsItsSource()});
    EXPECT_EQ(coloursOf(picture.dib.get()), colours);
}

TEST(Runner, EveryStepHasAFreshRecord)
{
    io::Picture picture = makePicture(Kind::Colour, 5, 4);
    const auto steps = stepsOf({&changesItsRecord()});
    for (int i = 0; i < 2; ++i)
        cli::Runner(picture, "photo.png", {}).run(steps);
    EXPECT_EQ(changedRecordsSeen(), 0);
}

class RunnerWithMask : public CliTest {
protected:
    /// A step with these files, by the places of its effect's operands.
    static cli::Step step(const Effect &effect, const std::vector<std::filesystem::path> &files)
    {
        cli::Step step{&effect, {}};
        for (std::size_t i = 0; i < files.size(); ++i)
            step.operands.push_back({&effect.operands[i], files[i]});
        return step;
    }
    static void runStep(io::Picture &picture, const cli::Step &step)
    {
        cli::Runner(picture, "photo.png", {}).run({step});
    }
};

TEST_F(RunnerWithMask, ReadsAMaskAndKeepsWhatIsMade)
{
    save(Kind::Gray, 5, 4, file("mask.png"));
    io::Picture picture = makePicture(Kind::Colour, 5, 4);
    const std::vector steps{step(invertsItsMask(), {file("mask.png"), file("made.png")}),
                            step(invertsItsMask(), {file("mask.png")})};
    cli::Runner runner(picture, "photo.png", {});
    runner.run(steps);
    ASSERT_EQ(runner.made().size(), 1u);
    EXPECT_EQ(runner.made()[0].file, file("made.png"));
    auto negative = coloursOf(file("mask.png"));
    for (uint32_t &colour : negative)
        colour ^= 0xFFFFFF;
    EXPECT_EQ(coloursOf(runner.made()[0].picture.dib.get()), negative);
    EXPECT_EQ(files(), std::vector<std::string>{"mask.png"}) << "writing is for who has the whole result";
}

TEST_F(RunnerWithMask, ColourMasksCountByTheirBrightness)
{
    save(Kind::Colour, 5, 4, file("mask.png"));
    io::Picture picture = makePicture(Kind::Colour, 5, 4);
    cli::Runner runner(picture, "photo.png", {});
    runner.run({step(invertsItsMask(), {file("mask.png"), file("made.png")})});
    io::Picture expected = io::readPicture(file("mask.png"));
    expected.dib = io::DibHandle(ProcessConvertToGrayScale(expected.dib.get()));
    expected.dib = io::DibHandle(ProcessNegative(expected.dib.get()));
    EXPECT_EQ(coloursOf(runner.made().at(0).picture.dib.get()), coloursOf(expected.dib.get()));
}

TEST_F(RunnerWithMask, BitMasksAreWhatIsBrighterThanTheMiddle)
{
    save(Kind::Gray, 5, 4, file("mask.png"));
    io::Picture picture = makePicture(Kind::Colour, 9, 9);
    runStep(picture, step(returnsItsBits(), {file("mask.png")}));
    auto expected = coloursOf(file("mask.png"));
    for (uint32_t &colour : expected)
        colour = (colour & 0xFF) > 127 ? 0xFFFFFF : 0;
    EXPECT_EQ(catalogue::depthOf(picture.dib.get()), unsigned{catalogue::Depth1});
    EXPECT_EQ(coloursOf(picture.dib.get()), expected);
}

TEST_F(RunnerWithMask, PicturesOfAnySizeAndDepth)
{
    using catalogue::OperandKind;
    save(Kind::Colour, 5, 4, file("colour.png"));
    save(Kind::Gray, 4, 5, file("gray.png"));
    const auto depthOfOperand = [&](OperandKind kind, Kind image, const char *name) {
        io::Picture picture = makePicture(image, 9, 9);
        runStep(picture, step(returnsItsOperand(kind), {file(name)}));
        return catalogue::depthOf(picture.dib.get());
    };
    constexpr unsigned kGray = catalogue::Depth8Gray, kColour = catalogue::Depth24;
    for (const Kind image : {Kind::Colour, Kind::Gray}) {
        EXPECT_EQ(depthOfOperand(OperandKind::Picture, image, "colour.png"), kColour);
        EXPECT_EQ(depthOfOperand(OperandKind::Picture, image, "gray.png"), kGray);
        for (const char *name : {"colour.png", "gray.png"}) {
            EXPECT_EQ(depthOfOperand(OperandKind::LikePicture, image, name),
                      image == Kind::Gray ? kGray : kColour);
            EXPECT_EQ(depthOfOperand(OperandKind::LooseAlphaMask, image, name), kGray);
        }
    }
    io::Picture picture = makePicture(Kind::Colour, 9, 9);
    runStep(picture, step(returnsItsOperand(OperandKind::LikePicture), {file("gray.png")}));
    EXPECT_EQ(coloursOf(picture.dib.get()), coloursOf(file("gray.png")));
}

TEST_F(RunnerWithMask, RefusesMasksThatDoNotFit)
{
    save(Kind::Gray, 4, 5, file("mask.png"));
    io::Picture picture = makePicture(Kind::Colour, 5, 4);
    const auto colours = coloursOf(picture.dib.get());
    EXPECT_EQ(
        failureOf(ExitCode::Input, [&] { runStep(picture, step(invertsItsMask(), {file("mask.png")})); }),
        cli::concat(file("mask.png").string(),
                    ": the mask is 4 x 5 and photo.png is 5 x 4; they have to be of one size"));
    EXPECT_NE(
        failureOf(ExitCode::Input, [&] { runStep(picture, step(invertsItsMask(), {file("none.png")})); })
            .find("none.png"),
        std::string::npos);
    EXPECT_EQ(coloursOf(picture.dib.get()), colours);
}

TEST(Runner, KeepsAlphaWhileSizeAndPlacesStay)
{
    io::Picture picture = makeTransparentPicture(5, 4);
    const auto alpha = picture.alpha;
    testing::internal::CaptureStderr();
    run(picture, {&returnsItsSource(), &changesItsRecord()});
    EXPECT_EQ(picture.alpha, alpha);
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
}

TEST(Runner, DropsAlphaWhenTheSizeChanges)
{
    io::Picture picture = makeTransparentPicture(5, 4);
    testing::internal::CaptureStderr();
    run(picture, {&widens(), &widens()});
    EXPECT_TRUE(picture.alpha.empty());
    EXPECT_EQ(testing::internal::GetCapturedStderr(),
              "velmont: photo.png: alpha is dropped: widen changed the image's size\n");
}

TEST(Runner, DropsAlphaWhenPixelsMove)
{
    io::Picture picture = makeTransparentPicture(5, 4);
    testing::internal::CaptureStderr();
    run(picture, {&movesPixels()});
    EXPECT_TRUE(picture.alpha.empty());
    EXPECT_EQ(
        testing::internal::GetCapturedStderr(),
        "velmont: photo.png: alpha is dropped: move moved the image's pixels, and alpha cannot follow\n");
}

TEST(Runner, DropsAlphaWhereItsOwnRunDoesNotFit)
{
    io::Picture picture = makeTransparentPicture(5, 4);
    testing::internal::CaptureStderr();
    run(picture, {&widensIntoColour()});
    EXPECT_TRUE(picture.alpha.empty());
    EXPECT_EQ(testing::internal::GetCapturedStderr(),
              "velmont: photo.png: alpha is dropped: widen-colour moved the "
              "image's pixels, and alpha cannot follow\n");
}

TEST(Runner, AlphaGoesThroughTheSameEffect)
{
    io::Picture picture = makeTransparentPicture(5, 4);
    auto expected = picture.alpha;
    for (uint8_t &level : expected)
        level = static_cast<uint8_t>(255 - level);
    const auto colours = coloursOf(picture.dib.get());
    run(picture, {&invertsGrayOnly()});
    EXPECT_EQ(picture.alpha, expected);
    EXPECT_EQ(coloursOf(picture.dib.get()), colours);
}

TEST(Runner, TimesAnEffectAndItsAlphaAsOne)
{
    io::Picture picture = makeTransparentPicture(5, 4);
    cli::Runner runner(picture, "photo.png", {});
    runner.run(stepsOf({&invertsGrayOnly()}));
    EXPECT_EQ(runner.times().size(), 1u);
}

TEST(Runner, RefusesADepthThatNothingConverts)
{
    Effect effect = blend();
    effect.depths = catalogue::Depth4;
    io::Picture picture = makePicture(Kind::Colour, 5, 4);
    EXPECT_EQ(failureOf(ExitCode::Input, [&] { run(picture, {&effect}); }),
              "blend: photo.png is 24-bit; blend takes 4-bit; no effect converts it");
}

[[noreturn]] void runInterrupted()
{
    io::Picture picture = makePicture(Kind::Colour, 5, 4);
    cli::watchInterrupts();
    try {
        run(picture, {&interrupts(), &returnsNothing()});
    } catch (const cli::Failure &failure) {
        std::cerr << failure.what();
        std::exit(static_cast<int>(failure.code()));
    }
    std::exit(0);
}

TEST(RunnerDeathTest, StopsBetweenEffects)
{
    EXPECT_EXIT(runInterrupted(), testing::ExitedWithCode(130), "aborted");
}

} // namespace

} // namespace velmont::test
