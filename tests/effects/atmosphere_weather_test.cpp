// Fog, snow and wind: pixels by hand and against plain loops, events, aborts, failures, draws.

#include "tests/effects/atmosphere_testing.h"
#include <cmath>

namespace velmont::testing {

namespace {

// Fog

Effect fog(int density)
{
    return effectOf<&ProcessFog>(tagParamFog{density});
}

int fogged(int level, int density)
{
    // Products leave 32 bits at absurd densities.
    const auto product = static_cast<int32_t>(int64_t{255 - level} * density);
    return std::min(255, level + product / 100) & 255;
}

TEST(Fog, ByHand)
{
    EXPECT_EQ(levelsOf(levelRow({0, 1, 100, 254, 255}), fog(50)), (Bytes{127, 128, 177, 254, 255, 0, 0, 0}));
    EXPECT_EQ(levelsOf(levelRow({0, 100, 255, 7}), fog(0)), (Bytes{0, 100, 255, 7}));
    EXPECT_EQ(levelsOf(levelRow({0, 100, 255, 7}), fog(100)), (Bytes{255, 255, 255, 255}));
    EXPECT_EQ(levelsOf(levelRow({0, 100, 255, 7}), fog(300)), (Bytes{255, 255, 255, 255}));
    // 0 - 255 is 1 in 8 bits; 100 - 77 stays; 200 - 27 rounds toward 0.
    EXPECT_EQ(levelsOf(levelRow({0, 100, 200, 255}), fog(-50)), (Bytes{129, 23, 173, 255}));
}

TEST(Fog, EveryMeasureAsThePlainLoop)
{
    const Restore restore;
    constexpr int kDensities[] = {0, 1, 37, 50, 99, 100, 101, 260, -1, -100, -700, INT_MAX, INT_MIN};
    forMeasures([&](const Pieces &image, int number) {
        const int density = kDensities[number % 13];
        Samples samples = samplesOf(image);
        for (int &sample : samples.at)
            sample = fogged(sample, density);
        ASSERT_EQ(resultOf(image, fog(density)), withSamples(image, samples)) << density;
    });
}

TEST(Fog, Rules)
{
    expectAtmosphereRules(fog(30), [](void *dib) { return ProcessFog(dib, nullptr); });
}

TEST(Fog, ProgressPassesAHundred)
{
    Events expected{"wait", "poll"};
    for (int y = 0; y < 35; ++y) {
        expected.push_back("poll");
        if (y % 16 == 0)
            expected.push_back(std::to_string(y * 120 / 35) + "%");
    }
    expected.insert(expected.end(), {"100%", "arrow"});
    EXPECT_EQ(std::count(expected.begin(), expected.end(), "109%"), 1); // row 32
    for (const Pieces &image : {gray(5, 35), trueColor(5, 35)}) {
        EXPECT_EQ(eventsOf(image, fog(20)), expected);
        expectAborts(image, fog(20), 1);
        expectFailuresSurvived(image, fog(20));
    }
}

TEST(Fog, AllocatesOnceZeroFilled)
{
    const Restore restore;
    const Handle image = trueColor(5, 4).handle();
    const long before = memory_hooks::counts().allocations;
    const Handle result(fog(20)(image));
    EXPECT_EQ(memory_hooks::counts().allocations, before + 1);
    EXPECT_EQ(memory_hooks::counts().lastFlags, 66u);
    memory_hooks::failAllocation(1);
    EXPECT_EQ(eventsOfRefusal(image, fog(20)), (Events{"wait", "arrow"}));
}

TEST(Fog, ByCode)
{
    const Pieces image = trueColor(37, 5);
    EXPECT_EQ(resultOf(image, effectOfCode(4704, tagParamFog{33})), resultOf(image, fog(33)));
}

// Snow

Effect snow(int mode, int level)
{
    return effectOf<&ProcessSnow>(tagSnowParam{mode, level});
}

Bytes snowed(const Pieces &image, int mode, int level)
{
    Samples samples = samplesOf(image);
    const bool isGray = samples.channels == 1;
    const auto brightness = [&](int x, int y) {
        return isGray
                   ? double(samples.of(x, y, 0))
                   : (samples.of(x, y, 0) + samples.of(x, y, 1) + samples.of(x, y, 2)) * 0.3333333333333333;
    };
    double low = (image.rows[0] + image.rows[1] + image.rows[2]) * 0.3333333333333333, high = low;
    for (int y = 0; y < samples.height; ++y)
        for (int x = 0; x < samples.width; ++x) {
            low = brightness(x, y) < low ? brightness(x, y) : low;
            high = brightness(x, y) > high ? brightness(x, y) : high;
        }
    const double u = (high - low) / std::pow(100, 2);
    const double limit = mode == 1 ? high - std::pow(level, 2) * u + 1.0 : std::pow(level, 2) * u + low - 1.0;
    return withSamples(image, mapped(samples, [&](int x, int y, int channel) {
                           if (mode != 1 && mode != 2)
                               return 0;
                           const bool isWhite =
                               mode == 1 ? brightness(x, y) > limit : brightness(x, y) < limit;
                           return isWhite ? 255 : samples.of(x, y, channel);
                       }));
}

TEST(Snow, ByHand)
{
    // Brightness 10 to 210: half a share leaves the limit at 211 - 50, and at 10 + 50 - 1 from the dark end.
    const Pieces image = levelRow({10, 58, 59, 60, 160, 161, 162, 210});
    EXPECT_EQ(levelsOf(image, snow(1, 50)), (Bytes{10, 58, 59, 60, 160, 161, 255, 255}));
    EXPECT_EQ(levelsOf(image, snow(2, 50)), (Bytes{255, 255, 59, 60, 160, 161, 162, 210}));
    EXPECT_EQ(levelsOf(image, snow(1, 0)), image.rows);
    EXPECT_EQ(levelsOf(image, snow(2, 0)), image.rows);
    // All of it: what lies within 1 of the other end stays.
    EXPECT_EQ(levelsOf(image, snow(1, 100)), (Bytes{10, 255, 255, 255, 255, 255, 255, 255}));
    EXPECT_EQ(levelsOf(image, snow(2, 100)), (Bytes{255, 255, 255, 255, 255, 255, 255, 210}));
    EXPECT_EQ(levelsOf(image, snow(1, -100)), levelsOf(image, snow(1, 100)));
}

TEST(Snow, StartsFromTheFirstThreeBytes)
{
    // Their mean, 20, is far below the levels 50 and 250 of the only column: the padding behind it is black.
    Pieces image = levelColumn({60, 250});
    EXPECT_EQ(image.rows.size(), 8u);
    // A range of 20 to 250: the limit is 251 - 172.5 = 78.5 with the padding, 251 - 142.5 = 108.5 without.
    image.rows[4] = 90;
    Pieces bright = image;
    bright.rows = {60, 0, 0, 0, 90, 0, 0, 0, 250, 0, 0, 0};
    bright.header = makeHeader(1, 3, 8, 256);
    const int level = 87; // its square is 7569
    // 251 - 0.7569 * 230 = 76.9: 90 turns white; by the levels alone 251 - 0.7569 * 190 = 107.2.
    EXPECT_EQ(levelsOf(bright, snow(1, level)), (Bytes{60, 0, 0, 0, 255, 0, 0, 0, 255, 0, 0, 0}));
    bright.rows[1] = bright.rows[2] = 60; // the mean is 60 as well
    EXPECT_EQ(levelsOf(bright, snow(1, level)), (Bytes{60, 0, 0, 0, 90, 0, 0, 0, 255, 0, 0, 0}));
}

TEST(Snow, FlatImagesStay)
{
    for (const Pieces &image : {flat(gray(8, 5), 77), flat(trueColor(8, 5), 77)})
        for (const int mode : {1, 2})
            for (const int level : {0, 50, 100})
                EXPECT_EQ(resultOf(image, snow(mode, level)), image.bytes());
}

TEST(Snow, OtherModesAreBlack)
{
    for (const int mode : {0, 3, -1, INT_MAX, INT_MIN})
        for (const Pieces &image : {gray(7, 35), trueColor(7, 35)}) {
            Pieces black = image;
            std::fill(black.rows.begin(), black.rows.end(), uint8_t{0});
            EXPECT_EQ(resultOf(image, snow(mode, 50)), black.bytes());
            EXPECT_EQ(eventsOf(image, snow(mode, 50)), eventsOf(image, snow(1, 50)));
        }
}

TEST(Snow, EveryMeasureAsThePlainLoop)
{
    constexpr int kLevels[] = {0, 1, 30, 50, 71, 99, 100, 101, -40, 5000, INT_MAX, INT_MIN};
    forMeasures([&](const Pieces &image, int number) {
        const int mode = number / 2 % 5 == 4 ? 3 : number / 2 % 2 + 1, level = kLevels[number % 12];
        ASSERT_EQ(resultOf(image, snow(mode, level)), snowed(image, mode, level)) << mode << ", " << level;
    });
}

TEST(Snow, RulesAndEvents)
{
    expectAtmosphereRules([](void *dib) { return snow(3, 40)(dib); },
                          [](void *dib) { return ProcessSnow(dib, nullptr); });
    for (const Pieces &image : {gray(5, 35), trueColor(5, 35)}) {
        EXPECT_EQ(eventsOf(image, snow(1, 40)), joined({{"wait", "poll"}, rowEvents(35), {"100%", "arrow"}}));
        expectAborts(image, snow(2, 40), 1);
        expectFailuresSurvived(image, snow(1, 40));
    }
    const Restore restore;
    const Handle image = trueColor(5, 4).handle();
    const Handle result(snow(1, 40)(image));
    EXPECT_EQ(memory_hooks::counts().lastFlags, 66u);
    memory_hooks::failAllocation(1);
    EXPECT_EQ(eventsOfRefusal(image, snow(1, 40)), (Events{"wait", "arrow"}));
}

TEST(Snow, LevelsOfEightBitsWhateverThePalette)
{
    const Pieces levels = gray(19, 7);
    for (const uint32_t named : {256u, 10u, 0u}) {
        const Pieces colours = behindAllColors(19, 7, named);
        EXPECT_EQ(rowsOf(colours, resultOf(colours, snow(1, 60))),
                  rowsOf(levels, resultOf(levels, snow(1, 60))));
    }
}

TEST(Snow, ByCode)
{
    const Pieces image = trueColor(37, 5);
    EXPECT_EQ(resultOf(image, effectOfCode(4706, tagSnowParam{2, 63})), resultOf(image, snow(2, 63)));
}

// Wind

Effect wind(int direction, int strength, uint32_t seed = 1)
{
    return effectOf<&ProcessWind>(tagParamWind{direction, strength}, seed);
}

/// Step by step on planes, every window walked for itself.
Bytes blown(const Pieces &image, int direction, int strength, uint32_t seed)
{
    Samples source = samplesOf(image);
    Samples result = source;
    const int w = source.width;
    const int largest = strength == 1 ? 10 : strength == 3 ? 20 : 40;
    srand(seed);
    for (int y = 0; y < source.height; ++y) {
        std::vector<std::vector<int>> planes(static_cast<std::size_t>(source.channels));
        for (int c = 0; c < source.channels; ++c)
            for (int x = 0; x < w; ++x)
                planes[static_cast<std::size_t>(c)].push_back(
                    source.of(direction == 1 ? x : w - 1 - x, y, c));
        const auto at = [&](int c, int x) -> int & {
            return planes[static_cast<std::size_t>(c)].at(static_cast<std::size_t>(x));
        };
        int reach = rand() % largest;
        for (int x = 0; x <= w - 2; ++x) {
            const int left = w - 1 - x;
            if (strength == 3) {
                if (reach + x >= w - 1)
                    reach = left - 1;
                for (int c = 0; c < source.channels; ++c)
                    at(c, x) = (at(c, x + reach) + at(c, x + reach + 1)) >> 1;
                continue;
            }
            int run = left + 1 <= reach ? left : reach;
            for (int i = 0; i <= run - 2; ++i)
                if (std::abs(at(0, x + i) - at(0, x + i + 1)) > 100) {
                    run = i;
                    break;
                }
            if (run == 0)
                run = -1;
            for (int c = 0; c < source.channels; ++c) {
                int sum = 0;
                for (int i = 0; i < run; ++i)
                    sum += at(c, x + i);
                const int mean = std::min(255, sum / run);
                if (mean > at(c, x) && mean >= 1)
                    at(c, x) = mean;
            }
        }
        for (int c = 0; c < source.channels; ++c)
            for (int x = 0; x < w; ++x)
                result.of(x, y, c) = at(c, direction == 1 ? x : w - 1 - x);
    }
    return withSamples(image, result);
}

/// A seed whose first number gives this reach.
uint32_t seedFor(int reach, int reaches)
{
    for (uint32_t seed = 1;; ++seed) {
        srand(seed);
        if (rand() % reaches == reach)
            return seed;
    }
}

/// Rows that change slowly, so that edges are rare.
Pieces smooth(Pieces image)
{
    for (std::size_t i = 0; i < image.rows.size(); ++i)
        image.rows[i] = static_cast<uint8_t>(image.rows[i] / 4 + (i / 37 % 3) * 40);
    return image;
}

TEST(Wind, StreaksByHand)
{
    const Pieces row = levelRow({10, 20, 90, 30, 40, 40, 8, 1});
    // A reach of 3: means of three, (10 + 20 + 90) / 3 and so on; two at column 5, where two are left, and one at 6.
    EXPECT_EQ(levelsOf(row, wind(1, 1, seedFor(3, 10))), (Bytes{40, 46, 90, 36, 40, 40, 8, 1}));
    EXPECT_EQ(levelsOf(row, wind(1, 1, seedFor(0, 10))), row.rows);
    EXPECT_EQ(levelsOf(row, wind(1, 1, seedFor(1, 10))), row.rows);
    // Mirrored the means are of what lies before: 1 8 40 40 30 90 20 10.
    EXPECT_EQ(levelsOf(row, wind(2, 1, seedFor(3, 10))), (Bytes{10, 20, 90, 46, 53, 40, 29, 16}));
}

TEST(Wind, StreaksEndAtEdges)
{
    // 101 levels between columns 2 and 3: a mean ends there, and at column 2 there is none.
    const Pieces edge = levelRow({10, 20, 60, 161, 200, 200, 200, 200});
    EXPECT_EQ(levelsOf(edge, wind(1, 1, seedFor(4, 10))), (Bytes{15, 20, 60, 190, 200, 200, 200, 200}));
    // 100 are no edge: (10 + 20 + 60 + 160) / 4, (20 + 60 + 160 + 200) / 4 and so on.
    const Pieces slope = levelRow({10, 20, 60, 160, 200, 200, 200, 200});
    EXPECT_EQ(levelsOf(slope, wind(1, 1, seedFor(4, 10))), (Bytes{62, 110, 155, 190, 200, 200, 200, 200}));
    // The last pixel of a window is not held against the one behind it.
    const Pieces behind = levelRow({10, 20, 60, 161, 161, 161, 161, 161});
    EXPECT_EQ(levelsOf(behind, wind(1, 1, seedFor(3, 10)))[0], 30);
}

TEST(Wind, TheFirstChannelAloneHasEdges)
{
    const Pieces blue = pixelRow({0, 0, 0, 200, 0, 90, 200, 0, 90, 200, 0, 90}); // an edge in blue
    const Pieces red = pixelRow({0, 0, 0, 90, 0, 200, 90, 0, 200, 90, 0, 200});  // and in red
    const uint32_t seed = seedFor(2, 10);
    EXPECT_EQ(resultOf(blue, wind(1, 1, seed)), blue.bytes());
    const Bytes blown = resultOf(red, wind(1, 1, seed));
    EXPECT_EQ(blown[40], 45);
    EXPECT_EQ(blown[42], 100);
}

TEST(Wind, StaggerByHand)
{
    const Pieces row = levelRow({10, 20, 90, 31, 40, 41, 8, 3});
    EXPECT_EQ(levelsOf(row, wind(1, 3, seedFor(0, 20))), (Bytes{15, 55, 60, 35, 40, 24, 5, 3}));
    EXPECT_EQ(levelsOf(row, wind(1, 3, seedFor(3, 20))), (Bytes{35, 40, 24, 5, 5, 5, 5, 3}));
    EXPECT_EQ(levelsOf(row, wind(1, 3, seedFor(19, 20))), (Bytes{5, 5, 5, 5, 5, 5, 5, 3}));
    EXPECT_EQ(levelsOf(row, wind(0, 3, seedFor(19, 20))), (Bytes{10, 15, 15, 15, 15, 15, 15, 15}));
}

TEST(Wind, OneColumnStays)
{
    for (const int strength : {1, 2, 3}) {
        const Pieces column = gray(1, 9), pixels = trueColor(1, 9);
        EXPECT_EQ(levelsOf(column, wind(1, strength)),
                  rowsOf(column, withSamples(column, samplesOf(column))));
        EXPECT_EQ(resultOf(pixels, wind(2, strength)), withSamples(pixels, samplesOf(pixels)));
    }
}

TEST(Wind, EveryMeasureAsThePlainLoop)
{
    constexpr int kStrengths[] = {1, 2, 3, 0, INT_MIN};
    forMeasures([&](const Pieces &noisy, int number) {
        for (const Pieces &image : {noisy, smooth(noisy)}) {
            const int direction = number % 3, strength = kStrengths[number % 5];
            const auto seed = static_cast<uint32_t>(number);
            ASSERT_EQ(resultOf(image, wind(direction, strength, seed)),
                      blown(image, direction, strength, seed))
                << direction << ", " << strength;
        }
    });
    for (const Pieces &image : {smooth(gray(300, 9)), smooth(trueColor(300, 9)), trueColor(300, 9)})
        for (const int direction : {1, 2})
            for (const int strength : {1, 2, 3})
                EXPECT_EQ(resultOf(image, wind(direction, strength, 5)),
                          blown(image, direction, strength, 5));
}

TEST(Wind, DrawsANumberForEachRow)
{
    const Handle image = trueColor(9, 23).handle();
    for (const int strength : {1, 2, 3}) {
        const Handle result(wind(1, strength, 11)(image));
        EXPECT_EQ(drawsSince(11), 23);
    }
    // After an abort too, wherever it comes; the dropped poll changes nothing.
    for (const int poll : {2, 3, 12, 24}) {
        RecordingHost host;
        host.abortFromPoll(poll);
        EXPECT_EQ(wind(1, 2, 11)(image), nullptr);
        EXPECT_EQ(drawsSince(11), 23);
    }
    tagParamWind record{1, 2};
    srand(11);
    EXPECT_EQ(ProcessWind(noiseImage(5, 3, 4, 16), &record), nullptr);
    EXPECT_EQ(drawsSince(11), 0);
    srand(11); // it goes on where it is
    const Handle first(ProcessWind(image, &record)), second(ProcessWind(image, &record));
    EXPECT_EQ(drawsSince(11), 46);
}

TEST(Wind, RulesAndEvents)
{
    expectAtmosphereRules(wind(1, 3), [](void *dib) { return ProcessWind(dib, nullptr); });
    for (const Pieces &image : {gray(5, 35), trueColor(5, 35)}) {
        EXPECT_EQ(eventsOf(image, wind(1, 2)), joined({{"wait", "poll"}, rowEvents(35), {"100%", "arrow"}}));
        expectAborts(image, wind(2, 1), 1);
        expectFailuresSurvived(image, wind(2, 1));
        expectScratchIsLikeTheResult(wind(1, 1));
    }
}

TEST(Wind, ByCode)
{
    const Pieces image = trueColor(37, 5);
    EXPECT_EQ(resultOf(image, effectOfCode(4306, tagParamWind{2, 1}, 9)), resultOf(image, wind(2, 1, 9)));
}

} // namespace

} // namespace velmont::testing
