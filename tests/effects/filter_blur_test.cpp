// The blurs against plain loops over every sample's window and values worked out by hand.

#include "core/cpu.h"
#include "filters/box_filter.h"
#include "platform/memory.h"
#include "tests/effects/filter_testing.h"
#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <gtest/gtest.h>
#include <velmont/effects.h>
#include <velmont/filters.h>

namespace velmont::testing {

namespace {

Effect average(int32_t size)
{
    return [=](void *dib) {
        tagParamAverage param{size};
        return ProcessAverage(dib, &param);
    };
}

Effect blur(int32_t size, int32_t centerWeight)
{
    return [=](void *dib) {
        tagParamBlur param{size, centerWeight};
        return ProcessBlur(dib, &param);
    };
}

/// The box by definition: the sum of the window at each place, no running sums.
Bytes plainBlur(const Pieces &image, int64_t size, int64_t weight)
{
    Samples source = samplesOf(image);
    const auto offset = [&](int64_t i) { return static_cast<int>(i - size / 2); };
    Samples rows = mapped(source, [&](int x, int y, int channel) {
        int64_t sum = 0;
        for (int64_t i = 0; i < size; ++i)
            sum += source.of(x + offset(i), y, channel);
        return static_cast<int>((sum + size / 2) / size);
    });
    const int64_t divisor = size + weight;
    return withSamples(image, mapped(rows, [&](int x, int y, int channel) {
                           int64_t sum = weight * source.of(x, y, channel);
                           for (int64_t i = 0; i < size; ++i)
                               sum += rows.of(x, y + offset(i), channel);
                           return static_cast<int>((sum + divisor / 2) / divisor);
                       }));
}

/// What every one of the blurs keeps to.
void expectCommonRules(const Effect &effect)
{
    expectFilterRules(effect);
    for (const int level : {0, 1, 127, 254, 255})
        for (const Pieces &image : {trueColor(4, 7), gray(8, 3)}) {
            const Pieces same = flat(image, static_cast<uint8_t>(level));
            EXPECT_EQ(resultOf(same, effect), same.bytes());
        }
    for (const Pieces &image : {withPixels(trueColor(1, 1), [](uint8_t *) {}), levelRow({77})})
        EXPECT_EQ(resultOf(image, effect), image.bytes());
}

// ---- the rounding

TEST(BoxRounding, IsTheRoundedMean)
{
    for (int64_t divisor = 2; divisor <= 128; ++divisor) {
        const BoxRounding wide(divisor);
        const NarrowBoxRounding narrow(divisor);
        for (int64_t sum = 0; sum <= 255 * divisor; ++sum) {
            ASSERT_EQ(wide(static_cast<uint64_t>(sum)), (sum + divisor / 2) / divisor);
            ASSERT_EQ(narrow(static_cast<uint16_t>(sum)), (sum + divisor / 2) / divisor);
        }
    }
}

TEST(BoxRounding, IsExactForLargeDivisors)
{
    for (const int64_t divisor : {129LL, 1000LL, 4099LL, 65534LL, 65535LL, 65536LL, 70001LL, 0x7FFFFFFFLL,
                                  0x80000000LL, 0xFFFFFFFELL}) {
        const BoxRounding rounding(divisor);
        for (int64_t mean = 0; mean <= 255; ++mean) {
            const int64_t up = mean * divisor - divisor / 2; // the lowest sum that rounds to it
            EXPECT_EQ(rounding(static_cast<uint64_t>(mean * divisor)), mean) << divisor;
            if (mean > 0) {
                EXPECT_EQ(rounding(static_cast<uint64_t>(up)), mean) << divisor;
                EXPECT_EQ(rounding(static_cast<uint64_t>(up - 1)), mean - 1) << divisor;
            }
        }
    }
}

// Right at the lowest and the highest sum of each mean is right everywhere, as means rise with the sums.
TEST(BoxRounding, IsExactInThirtyTwoBits)
{
    for (int64_t divisor = 2; divisor <= MiddleBoxRounding::kLargestDivisor; ++divisor) {
        const MiddleBoxRounding rounding(divisor);
        int wrong = 0;
        for (int64_t mean = 0; mean <= 255; ++mean) {
            const int64_t lowest = std::max<int64_t>(mean * divisor - divisor / 2, 0);
            const int64_t highest = std::min(mean * divisor + divisor - divisor / 2 - 1, 255 * divisor);
            wrong += rounding(static_cast<uint32_t>(lowest)) != mean;
            wrong += rounding(static_cast<uint32_t>(highest)) != mean;
        }
        ASSERT_EQ(wrong, 0) << divisor;
    }
}

TEST(SlidingBoxPass, GivesTheSumsOfTheWindow)
{
    const Bytes line = noise(40, 3);
    for (int length = 1; length <= 40; ++length)
        for (int size = 2; size <= 90; ++size) {
            std::vector<uint64_t> sums;
            slidingBoxPass<1>(line.data(), length, size, [&](std::size_t i, uint64_t sum) {
                ASSERT_EQ(i, sums.size());
                sums.push_back(sum);
            });
            ASSERT_EQ(sums.size(), static_cast<std::size_t>(length));
            for (int p = 0; p < length; ++p) {
                uint64_t sum = 0;
                for (int i = 0; i < size; ++i)
                    sum += line[static_cast<std::size_t>(std::clamp(p - size / 2 + i, 0, length - 1))];
                ASSERT_EQ(sums[static_cast<std::size_t>(p)], sum) << length << ", " << size << ", " << p;
            }
        }
}

// ---- ProcessAverage

TEST(AverageTest, ValuesByHand)
{
    // Two samples, the earlier one included: (10 + 10 + 1) / 2, (10 + 21 + 1) / 2, (21 + 0 + 1) / 2.
    EXPECT_EQ(levelsOf(levelRow({10, 21, 0}), average(2)), (Bytes{10, 16, 11, 0}));
    EXPECT_EQ(levelsOf(levelRow({0, 90, 0, 0}), average(3)), (Bytes{30, 30, 30, 0}));
    // Four samples lean back: from two before to one after.
    EXPECT_EQ(levelsOf(levelRow({0, 0, 0, 100, 0, 0, 0}), average(4)), (Bytes{0, 0, 25, 25, 25, 25, 0, 0}));
    EXPECT_EQ(
        levelsOf(levelColumn({0, 0, 0, 100, 0, 0, 0}), average(4)),
        (Bytes{0, 0, 0, 0, 0, 0, 0, 0, 25, 0, 0, 0, 25, 0, 0, 0, 25, 0, 0, 0, 25, 0, 0, 0, 0, 0, 0, 0}));
    // Narrower than the window: 16 times the first, 16 times the last one.
    EXPECT_EQ(levelsOf(levelRow({0, 255}), average(32)), (Bytes{120, 128, 0, 0}));
}

TEST(AverageTest, RowsAreRoundedBeforeTheColumns)
{
    // (1 + 0 + 1) / 2 = 1 in the row, and again down the column: 1 of 4 samples comes out as 1.
    Pieces image = flat(gray(2, 2), 0);
    image.rows[0] = 0;
    image.rows[4] = 0;
    image.rows[5] = 1;
    EXPECT_EQ(levelsOf(image, average(2)), (Bytes{0, 0, 0, 0, 0, 1, 0, 0}));
}

TEST(AverageTest, AgreesWithThePlainLoop)
{
    const Restore restore;
    for (const CpuLevel level : cpuLevels()) {
        limitCpuLevel(level);
        for (int width = 1; width <= 40; ++width)
            for (int height = 1; height <= 18; ++height) {
                const int size = 2 + (width * 7 + height * 3) % 31;
                for (const Pieces &image : {trueColor(width, height), gray(width, height)})
                    ASSERT_EQ(resultOf(image, average(size)), plainBlur(image, size, 0))
                        << width << " x " << height << ", " << size;
            }
        for (int size = 2; size <= 32; ++size)
            for (const Pieces &image : {trueColor(37, 18), gray(40, 17), trueColor(3, 40), gray(1, 70)})
                ASSERT_EQ(resultOf(image, average(size)), plainBlur(image, size, 0)) << size;
    }
}

TEST(AverageTest, ColumnsBeyondOneStrip)
{
    for (const int width : {2047, 2048, 2049, 4100})
        for (const Pieces &image : {trueColor(width, 7), gray(width, 7)}) {
            ASSERT_EQ(resultOf(image, average(6)), plainBlur(image, 6, 0)) << width;
            EXPECT_EQ(eventsOf(image, average(6)), twoPassEvents(width, 7)) << width;
        }
}

TEST(AverageTest, SizesOutOfRangeTouchNothing)
{
    const Handle source = trueColor(5, 4).handle();
    for (const int32_t size : {INT32_MIN, -5, 0, 1, 33, 100, INT32_MAX}) {
        const long locksBefore = memory_hooks::counts().locks;
        EXPECT_EQ(eventsOfRefusal(source, average(size)), Events{});
        EXPECT_EQ(memory_hooks::counts().locks, locksBefore);
    }
    EXPECT_EQ(ProcessAverage(source, nullptr), nullptr);
    EXPECT_EQ(ProcessAverage(nullptr, nullptr), nullptr);
}

TEST(AverageTest, PollsAndReports)
{
    for (const auto &[width, height] : {std::pair{1, 1}, {17, 33}, {40, 16}, {16, 17}, {70, 2}})
        for (const Pieces &image : {trueColor(width, height), gray(width, height)})
            EXPECT_EQ(eventsOf(image, average(3)), twoPassEvents(width, height));
    const Events seventeen = eventsOf(gray(17, 17), average(2));
    EXPECT_EQ(std::count(seventeen.begin(), seventeen.end(), "47%"), 1);
    EXPECT_EQ(std::count(seventeen.begin(), seventeen.end(), "97%"), 1);
    EXPECT_EQ(std::count(seventeen.begin(), seventeen.end(), "poll"), 35);
}

TEST(AverageTest, KeepsTheCommonRules)
{
    expectCommonRules(average(2));
    expectCommonRules(average(5));
    expectCommonRules(average(32));
    expectScratchIsLikeTheResult(average(5));
}

TEST(AverageTest, HoldsOnlyTheResultAtTheLastReport)
{
    const Handle source = trueColor(5, 4).handle();
    WatchingHost host(source);
    const Handle result(average(3)(source));
    const auto last = std::find_if(host.sights.begin(), host.sights.end(),
                                   [](const Sight &sight) { return sight.event == "100%"; });
    ASSERT_NE(last, host.sights.end());
    EXPECT_EQ(*last, (Sight{"100%", 0, 1, 0}));
}

// ---- ProcessBlur

TEST(BlurTest, ValuesByHand)
{
    // Row means 30, 30, 30; the columns add 30 three times, and twice the pixel: (90 + 2 * 90 + 2) / 5.
    EXPECT_EQ(levelsOf(levelRow({0, 90, 0}), blur(3, 2)), (Bytes{18, 54, 18, 0}));
    // The weight leaves 255 at 255 and one sample of 2^31 has no part.
    EXPECT_EQ(levelsOf(levelRow({0, 255}), blur(2, INT32_MAX)), (Bytes{0, 255, 0, 0}));
}

TEST(BlurTest, WithoutWeightIsTheAverage)
{
    for (int size = 2; size <= 32; ++size)
        for (const Pieces &image : {trueColor(23, 18), gray(18, 23)})
            EXPECT_EQ(resultOf(image, blur(size, 0)), resultOf(image, average(size)));
}

TEST(BlurTest, SmallSizesAreTwo)
{
    const Pieces image = trueColor(9, 7);
    for (const int32_t size : {INT32_MIN, -1, 0, 1})
        for (const int32_t weight : {0, 3})
            EXPECT_EQ(resultOf(image, blur(size, weight)), plainBlur(image, 2, weight));
}

TEST(BlurTest, AgreesWithThePlainLoop)
{
    const Restore restore;
    for (const CpuLevel level : cpuLevels()) {
        limitCpuLevel(level);
        for (int width = 1; width <= 40; ++width)
            for (int height = 1; height <= 18; ++height) {
                const int size = 2 + (width * 11 + height * 5) % 60, weight = (width * 3 + height) % 50;
                for (const Pieces &image : {trueColor(width, height), gray(width, height)})
                    ASSERT_EQ(resultOf(image, blur(size, weight)), plainBlur(image, size, weight))
                        << width << " x " << height << ", " << size << ", " << weight;
            }
        for (const int size : {2, 32, 33, 64, 65, 100, 127, 128, 129, 1000, 65536, 100001})
            for (const int weight : {0, 1, 28, 96, 127, 5000})
                for (const Pieces &image : {trueColor(5, 6), gray(7, 8)})
                    ASSERT_EQ(resultOf(image, blur(size, weight)), plainBlur(image, size, weight))
                        << size << ", " << weight;
    }
}

TEST(BlurTest, ColumnsBeyondOneStrip)
{
    for (const int width : {2047, 2048, 2049, 4100})
        for (const int weight : {3, 200}) // a narrow divisor and a wide one
            for (const Pieces &image : {trueColor(width, 7), gray(width, 7)})
                ASSERT_EQ(resultOf(image, blur(6, weight)), plainBlur(image, 6, weight))
                    << width << ", " << weight;
}

TEST(BlurTest, AbsurdSizesAreExact)
{
    // Half of the window before the line, all but a few samples of the other half behind it.
    const Pieces image = levelRow({10, 77, 200});
    for (const int32_t size : {INT32_MAX, INT32_MAX - 1, 0x40000000}) {
        const int64_t half = size / 2, ahead = size - half;
        Bytes expected;
        for (int p = 0; p < 3; ++p) {
            const int64_t sum = (half - p) * 10 + (p > 0 ? 10 : 0) + (p > 1 ? 77 : 0) +
                                (p == 0   ? 10 + 77
                                 : p == 1 ? 77
                                          : 0) +
                                (ahead - (p == 0   ? 2
                                          : p == 1 ? 1
                                                   : 0)) *
                                    200;
            expected.push_back(static_cast<uint8_t>((sum + size / 2) / size));
        }
        expected.push_back(0);
        EXPECT_EQ(levelsOf(image, blur(size, 0)), expected) << size;
        EXPECT_EQ(levelsOf(levelRow({9, 9}), blur(size, INT32_MAX)), (Bytes{9, 9, 0, 0}));
    }
}

TEST(BlurTest, RefusesANegativeWeight)
{
    const Handle source = trueColor(5, 4).handle();
    for (const int32_t weight : {-1, INT32_MIN})
        for (const int32_t size : {0, 2, 100})
            EXPECT_EQ(eventsOfRefusal(source, blur(size, weight)), Events{});
    EXPECT_EQ(ProcessBlur(source, nullptr), nullptr);
}

TEST(BlurTest, PollsAndReports)
{
    for (const auto &[width, height] : {std::pair{1, 1}, {17, 33}, {40, 16}})
        for (const Pieces &image : {trueColor(width, height), gray(width, height)})
            EXPECT_EQ(eventsOf(image, blur(100, 3)), twoPassEvents(width, height));
}

TEST(BlurTest, KeepsTheCommonRules)
{
    expectCommonRules(blur(0, 0));
    expectCommonRules(blur(5, 2));
    expectCommonRules(blur(100, 1));
    expectScratchIsLikeTheResult(blur(100, 1));
}

// ---- ProcessGaussianBlur

/// The taps by their rules, each step as it is told.
std::vector<int> plainTaps(int size)
{
    const int half = size / 2;
    std::vector<double> bell;
    double sum = 0;
    for (int i = 0; i < size; ++i) {
        const double t = static_cast<double>(i < half ? half - i : i - half) / half;
        bell.push_back(std::pow(2.7182818, -2 * t * t));
        sum += bell.back();
    }
    std::vector<int> taps;
    int total = 0;
    for (const double each : bell) {
        taps.push_back(static_cast<int>(each * (1048576.0 / sum) + 0.5));
        total += taps.back();
    }
    const int difference = total - 0x100000;
    const int count = std::min(std::abs(difference), size);
    for (int i = 0; i < count; ++i)
        taps[static_cast<std::size_t>((size - count) / 2 + i)] += difference < 0 ? -1 : 1;
    return taps;
}

Bytes plainGauss(const Pieces &image, const std::vector<int> &taps)
{
    const int size = static_cast<int>(taps.size());
    Samples source = samplesOf(image);
    const auto weighted = [&](auto sample) {
        int64_t sum = 0x80000;
        for (int i = 0; i < size; ++i)
            sum += int64_t{taps[static_cast<std::size_t>(i)]} * sample(i - size / 2);
        return static_cast<int>(sum >> 20) & 255;
    };
    Samples rows = mapped(source, [&](int x, int y, int channel) {
        return weighted([&](int i) { return source.of(x + i, y, channel); });
    });
    return withSamples(image, mapped(rows, [&](int x, int y, int channel) {
                           return weighted([&](int i) { return rows.of(x, y + i, channel); });
                       }));
}

Effect gauss(int32_t size)
{
    return [=](void *dib) {
        tagParamGaussianBlur param{size};
        return ProcessGaussianBlur(dib, &param);
    };
}

TEST(GaussianBlurTest, ValuesByHand)
{
    // Two taps: 124993 for the earlier sample and 923583 for the later one, of 2^20. 255 of the first alone are
    // 30.4, of the second 224.6.
    EXPECT_EQ(plainTaps(2), (std::vector<int>{124993, 923583}));
    EXPECT_EQ(levelsOf(levelRow({0, 255, 0, 0}), gauss(2)), (Bytes{0, 225, 30, 0}));
    EXPECT_EQ(levelsOf(levelColumn({0, 255, 0}), gauss(2)), (Bytes{0, 0, 0, 0, 225, 0, 0, 0, 30, 0, 0, 0}));
    // Three taps of 111731 (+ - 1), 825115: 27.2 and 200.7 of 255.
    EXPECT_EQ(levelsOf(levelRow({0, 0, 255, 0, 0}), gauss(3)), (Bytes{0, 27, 201, 27, 0, 0, 0, 0}));
}

/// Images on which each tap, and a tap that is off by one, shows in the result.
TEST(GaussianBlurTest, AgreesWithThePlainLoop)
{
    const Restore restore;
    for (const CpuLevel level : cpuLevels()) {
        limitCpuLevel(level);
        for (int width = 1; width <= 40; ++width)
            for (int height = 1; height <= 18; ++height) {
                const int size = 2 + (width * 7 + height * 3) % 31;
                for (const Pieces &image : {trueColor(width, height), gray(width, height)})
                    ASSERT_EQ(resultOf(image, gauss(size)), plainGauss(image, plainTaps(size)))
                        << width << " x " << height << ", " << size;
            }
        for (int size = 2; size <= 32; ++size)
            for (const Pieces &image : {trueColor(67, 40), gray(140, 33), trueColor(530, 3), gray(1, 70)})
                ASSERT_EQ(resultOf(image, gauss(size)), plainGauss(image, plainTaps(size))) << size;
    }
}

TEST(GaussianBlurTest, ColumnsBeyondOneStrip)
{
    for (const int width : {2047, 2048, 2049, 4100})
        for (const Pieces &image : {trueColor(width, 7), gray(width, 7)})
            ASSERT_EQ(resultOf(image, gauss(5)), plainGauss(image, plainTaps(5))) << width;
}

TEST(GaussianBlurTest, SizesOutOfRangeTouchNothing)
{
    const Handle source = trueColor(5, 4).handle();
    for (const int32_t size : {INT32_MIN, -5, 0, 1, 33, 100, INT32_MAX})
        EXPECT_EQ(eventsOfRefusal(source, gauss(size)), Events{});
    EXPECT_EQ(ProcessGaussianBlur(source, nullptr), nullptr);
    EXPECT_EQ(ProcessGaussianBlur(nullptr, nullptr), nullptr);
}

TEST(GaussianBlurTest, PollsAndReports)
{
    for (const auto &[width, height] : {std::pair{1, 1}, {17, 33}, {40, 16}, {2060, 2}})
        for (const Pieces &image : {trueColor(width, height), gray(width, height)})
            EXPECT_EQ(eventsOf(image, gauss(5)), twoPassEvents(width, height));
}

TEST(GaussianBlurTest, KeepsTheCommonRules)
{
    for (const int size : {2, 5, 32}) {
        expectCommonRules(gauss(size));
        expectScratchIsLikeTheResult(gauss(size));
    }
}

// ---- ProcessDespeckle

Bytes plainDespeckle(const Pieces &image)
{
    Samples source = samplesOf(image);
    return withSamples(
        image, mapped(source, [&](int x, int y, int channel) {
            const auto at = [&](int right, int down) { return source.of(x + right, y + down, channel); };
            const int gy = 2 * (at(0, 1) - at(0, -1)) + at(-1, 1) + at(1, 1) - at(-1, -1) - at(1, -1);
            const int gx = 2 * (at(1, 0) - at(-1, 0)) + at(1, -1) + at(1, 1) - at(-1, -1) - at(-1, 1);
            int sum = 0;
            for (int down = -1; down <= 1; ++down)
                for (int right = -1; right <= 1; ++right)
                    sum += at(right, down);
            return std::abs(gx) + std::abs(gy) < 128 ? std::min((sum + 4) / 9, 255) : at(0, 0);
        }));
}

/// Noise of `spread` levels: steep and flat places in turn.
Pieces softened(Pieces image, int spread)
{
    for (uint8_t &byte : image.rows)
        byte = static_cast<uint8_t>(100 + byte % spread);
    return image;
}

TEST(DespeckleTest, ASpeckIsAlwaysReplaced)
{
    Pieces image = flat(gray(8, 5), 40);
    image.rows[8 * 2 + 3] = 240;
    const Bytes levels = levelsOf(image, ProcessDespeckle);
    EXPECT_EQ(levels[8 * 2 + 3], (40 * 8 + 240 + 4) / 9);
    EXPECT_EQ(levels[8 * 2 + 2], 40); // 2 * 200 across
    EXPECT_EQ(levels[8 * 1 + 2], 40); // 200 across and 200 down
    EXPECT_EQ(levels[8 * 4 + 7], 40);
    // A speck of 63 is below 128 beside it, one of 64 is not.
    image.rows[8 * 2 + 3] = 40 + 63;
    EXPECT_EQ(levelsOf(image, ProcessDespeckle)[8 * 2 + 2], (40 * 9 + 63 + 4) / 9);
    EXPECT_EQ(levelsOf(image, ProcessDespeckle)[8 * 1 + 2], (40 * 9 + 63 + 4) / 9);
    image.rows[8 * 2 + 3] = 40 + 64;
    EXPECT_EQ(levelsOf(image, ProcessDespeckle)[8 * 2 + 2], 40);
}

TEST(DespeckleTest, AStraightStepIsKeptFromHeight32On)
{
    for (const int height : {64, 32, 31}) {
        Pieces image = gray(8, 4);
        for (std::size_t i = 0; i < image.rows.size(); ++i)
            image.rows[i] = static_cast<uint8_t>(i % 8 < 4 ? 10 : 10 + height);
        const Bytes result = resultOf(image, ProcessDespeckle);
        EXPECT_EQ(result == image.bytes(), height >= 32) << height;
    }
}

TEST(DespeckleTest, ChannelsDecideByThemselves)
{
    Pieces image = flat(trueColor(5, 3), 50);
    const std::size_t middle = strideFor(5, 24) + 6;
    image.rows[middle] = 50 + 70; // blue: an edge beside it
    image.rows[middle + 1] = 50 + 9;
    const Bytes result = resultOf(image, ProcessDespeckle);
    const std::size_t beside = 40 + middle - 3;
    EXPECT_EQ(result[beside], 50);
    EXPECT_EQ(result[beside + 1], 51);
    EXPECT_EQ(result[beside + 2], 50);
}

TEST(DespeckleTest, AgreesWithThePlainLoop)
{
    const Restore restore;
    for (const CpuLevel level : cpuLevels()) {
        limitCpuLevel(level);
        for (int width = 1; width <= 75; ++width)
            for (int height = 1; height <= 18; height += width <= 40 ? 1 : 5)
                for (const int spread : {256, 60, 30})
                    for (const Pieces &image : {trueColor(width, height), gray(width, height)}) {
                        const Pieces noisy = softened(image, spread);
                        ASSERT_EQ(resultOf(noisy, ProcessDespeckle), plainDespeckle(noisy))
                            << width << " x " << height;
                    }
    }
}

TEST(DespeckleTest, PollsAndReports)
{
    for (const auto &[width, height] : {std::pair{1, 1}, {3, 17}, {40, 33}})
        for (const Pieces &image : {trueColor(width, height), gray(width, height)})
            EXPECT_EQ(eventsOf(image, ProcessDespeckle),
                      joined({{"wait", "poll"}, rowEvents(height), {"100%", "arrow"}}));
}

TEST(DespeckleTest, KeepsTheCommonRules)
{
    expectCommonRules(ProcessDespeckle);
}

} // namespace

} // namespace velmont::testing
