#include "failure_of.h"
#include "interrupt.h"
#include "made_up_effects.h"
#include "pictures.h"
#include "runner.h"
#include <cstdlib>
#include <iostream>
#include <velmont/dib.h>

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
    EXPECT_EQ(testing::internal::GetCapturedStderr(),
              "velmont: photo.png: alpha is dropped: move moved the image's pixels\n");
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
