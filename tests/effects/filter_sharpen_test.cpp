// Linear sharpening, kernels of the caller's and the unsharp mask against plain loops and values worked out by hand.

#include "core/cpu.h"
#include "filters/sharpen_kernels.h"
#include "platform/memory.h"
#include "tests/effects/filter_testing.h"
#include <array>
#include <cmath>
#include <gtest/gtest.h>
#include <velmont/effects.h>
#include <velmont/filters.h>

namespace velmont::testing {

namespace {

Effect linear(int32_t vertical)
{
    return [=](void *dib) {
        tagParamLinearSharpen param{vertical};
        return ProcessLinearSharpen(dib, &param);
    };
}

Effect unsharp(int32_t size, int32_t amount, int32_t threshold)
{
    return [=](void *dib) {
        tagParamUnsharpenMask param{size, amount, threshold};
        return ProcessUnsharpMask(dib, &param);
    };
}

using Kernel = std::array<int32_t, 25>;

Effect user(const Kernel &kernel, int32_t divisor, int32_t bias = 0, int32_t reserved = 0)
{
    return [=](void *dib) {
        tagParamUserFilter param{divisor, bias, reserved, {}};
        std::copy(kernel.begin(), kernel.end(), param.kernel);
        return ProcessUserFilter(dib, &param);
    };
}

/// 1 at one place.
Kernel spike(int row, int column, int32_t value = 1)
{
    Kernel kernel{};
    kernel[static_cast<std::size_t>(5 * row + column)] = value;
    return kernel;
}

Bytes plainLinear(const Pieces &image, bool isVertical)
{
    Samples source = samplesOf(image);
    return withSamples(image, mapped(source, [&](int x, int y, int channel) {
                           const int before =
                               isVertical ? source.of(x, y - 1, channel) : source.of(x - 1, y, channel);
                           const int after =
                               isVertical ? source.of(x, y + 1, channel) : source.of(x + 1, y, channel);
                           const int v = 4 * source.of(x, y, channel) - before - after;
                           return v <= 0 ? 0 : std::min(255, v / 2);
                       }));
}

Bytes plainUnsharp(const Pieces &image, int size, int amount, int threshold)
{
    Samples source = samplesOf(image);
    const auto mean = [&](auto sample) {
        int sum = 0;
        for (int i = 0; i < size; ++i)
            sum += sample(i - size / 2);
        return (sum + size / 2) / size;
    };
    Samples rows = mapped(source, [&](int x, int y, int channel) {
        return mean([&](int offset) { return source.of(x + offset, y, channel); });
    });
    const auto step = [&](int d) { return d >= threshold ? (amount * d + 50) / 100 : 0; };
    return withSamples(image, mapped(source, [&](int x, int y, int channel) {
                           const int blur = mean([&](int offset) { return rows.of(x, y + offset, channel); });
                           const int sample = source.of(x, y, channel), d = sample - blur;
                           return std::clamp(sample + (d >= 0 ? step(d) : -step(-d - 1)), 0, 255);
                       }));
}

Bytes plainUser(const Pieces &image, const Kernel &kernel, int divisor, int bias)
{
    Samples source = samplesOf(image);
    return withSamples(image, mapped(source, [&](int x, int y, int channel) {
                           int64_t sum = 0;
                           for (int row = 0; row < 5; ++row)
                               for (int column = 0; column < 5; ++column) {
                                   const double product =
                                       source.of(x - 2 + column, y - 2 + row, channel) * 262144.0 *
                                       kernel[static_cast<std::size_t>(5 * (4 - row) + column)];
                                   sum += static_cast<int64_t>(std::trunc(product / divisor + 0.5));
                               }
                           const int64_t half = 131072, whole = 262144;
                           const int64_t level = sum < 0 ? -((half - sum) / whole) : (sum + half) / whole;
                           return static_cast<int>(std::clamp<int64_t>(level + bias, 0, 255));
                       }));
}

Events oneLoop(int height)
{
    return joined({{"wait", "poll"}, rowEvents(height), {"100%", "arrow"}});
}

// ---- ProcessLinearSharpen

TEST(LinearSharpenTest, ValuesByHand)
{
    // (40 - 10 - 20) / 2, (80 - 10 - 11) / 2 with its half dropped, (44 - 20 - 11) / 2.
    EXPECT_EQ(levelsOf(levelRow({10, 20, 11}), linear(0)), (Bytes{5, 29, 6, 0}));
    EXPECT_EQ(levelsOf(levelColumn({10, 20, 11}), linear(1)), (Bytes{5, 0, 0, 0, 29, 0, 0, 0, 6, 0, 0, 0}));
    EXPECT_EQ(levelsOf(levelRow({10, 20, 11}), linear(1)), (Bytes{10, 20, 11, 0}));
    EXPECT_EQ(levelsOf(levelColumn({10, 20}), linear(0)), (Bytes{10, 0, 0, 0, 20, 0, 0, 0}));
    EXPECT_EQ(levelsOf(levelRow({0, 255, 0, 1, 3}), linear(0)), (Bytes{0, 255, 0, 0, 4, 0, 0, 0}));
}

TEST(LinearSharpenTest, AgreesWithThePlainLoop)
{
    const Restore restore;
    for (const CpuLevel level : cpuLevels()) {
        limitCpuLevel(level);
        for (int width = 1; width <= 40; ++width)
            for (int height = 1; height <= 18; ++height)
                for (const Pieces &image : {trueColor(width, height), gray(width, height)}) {
                    ASSERT_EQ(resultOf(image, linear(0)), plainLinear(image, false))
                        << width << " x " << height;
                    ASSERT_EQ(resultOf(image, linear(1)), plainLinear(image, true))
                        << width << " x " << height;
                }
    }
}

TEST(LinearSharpenTest, AnyOtherValueIsVertical)
{
    const Pieces image = trueColor(9, 8);
    for (const int32_t vertical : {1, 2, -1, 256, INT32_MIN, INT32_MAX})
        EXPECT_EQ(resultOf(image, linear(vertical)), plainLinear(image, true));
}

TEST(LinearSharpenTest, KeepsTheCommonRules)
{
    for (const int32_t vertical : {0, 1}) {
        expectFilterRules(linear(vertical));
        for (const int level : {0, 1, 128, 255})
            for (const Pieces &image : {trueColor(4, 7), gray(8, 3)}) {
                const Pieces same = flat(image, static_cast<uint8_t>(level));
                EXPECT_EQ(resultOf(same, linear(vertical)), same.bytes());
            }
        for (const int height : {1, 16, 17, 33})
            EXPECT_EQ(eventsOf(gray(5, height), linear(vertical)), oneLoop(height));
    }
    const Handle source = gray(5, 4).handle();
    EXPECT_EQ(ProcessLinearSharpen(source, nullptr), nullptr);
}

TEST(LinearSharpenTest, HasTwoCodes)
{
    const Pieces image = trueColor(7, 5);
    tagParamLinearSharpen param{0};
    for (const unsigned code : {19U, 71U})
        EXPECT_EQ(
            resultOf(image,
                     [&](void *dib) { return EnhanceAndEffects(dib, code, reinterpret_cast<long>(&param)); }),
            plainLinear(image, false));
}

// ---- ProcessUserFilter

TEST(UserFilterTest, ValuesByHand)
{
    EXPECT_EQ(levelsOf(levelRow({3, 4, 5, 255}), user(spike(2, 2), 1)), (Bytes{3, 4, 5, 255}));
    EXPECT_EQ(levelsOf(levelRow({3, 4, 5, 255}), user(spike(2, 2), 2)), (Bytes{2, 2, 3, 128}));
    EXPECT_EQ(levelsOf(levelRow({3, 4, 5, 255}), user(Kernel{}, 7, 100)), (Bytes{100, 100, 100, 100}));
    // The column before the pixel lies left of it: no flip from left to right.
    EXPECT_EQ(levelsOf(levelRow({10, 20, 30, 40}), user(spike(2, 0), 1)), (Bytes{10, 10, 10, 20}));
    EXPECT_EQ(levelsOf(levelRow({10, 20, 30, 40}), user(spike(2, 3), 1)), (Bytes{20, 30, 40, 40}));
    // The first row is the one two rows further up in stored order.
    EXPECT_EQ(levelsOf(levelColumn({10, 20, 30, 40}), user(spike(0, 2), 1)),
              (Bytes{30, 0, 0, 0, 40, 0, 0, 0, 40, 0, 0, 0, 40, 0, 0, 0}));
    EXPECT_EQ(levelsOf(levelColumn({10, 20, 30, 40}), user(spike(3, 2), 1)),
              (Bytes{10, 0, 0, 0, 10, 0, 0, 0, 20, 0, 0, 0, 30, 0, 0, 0}));
}

TEST(UserFilterTest, NegativeHalvesLoseAStep)
{
    // -0.5 and -1.5 are one step of 2^-18 too high: they round to 0 and -1, which whole levels do not notice.
    EXPECT_EQ(levelsOf(levelRow({0, 1, 2, 3}), user(spike(2, 2, -1), 2, 100)), (Bytes{100, 100, 99, 99}));
    EXPECT_EQ(levelsOf(levelRow({0, 1, 2, 3}), user(spike(2, 2, 1), -2, 100)), (Bytes{100, 100, 99, 99}));
    // Halves of positive products go away from zero.
    EXPECT_EQ(levelsOf(levelRow({0, 1, 2, 3}), user(spike(2, 2, 1), 2, 100)), (Bytes{100, 101, 101, 102}));
}

TEST(UserFilterTest, StepsOfManyTapsAddUp)
{
    const Restore restore;
    Kernel kernel;
    kernel.fill(-1);
    // 24 samples of 200 and one of 201 in each window, whose edges are repeated: 5001 / 10001 is more than a half. But
    // 200 * 2^18 / 10001 is 5242.36 and 201 * 2^18 / 10001 is 5268.57, which count as 5241 and 5268 below 0: the
    // sum of 131052 steps is less than the half of 2^18 that would round away from 0.
    Pieces image = flat(gray(64, 5), 200);
    for (std::size_t x = 2; x < 64; x += 5)
        image.rows[64 * 2 + x] = 201;
    for (const CpuLevel level : cpuLevels()) {
        limitCpuLevel(level);
        EXPECT_EQ(levelsOf(image, user(kernel, 10001, 100)), Bytes(image.rows.size(), 100));
        // A divisor of 10000 makes them 5242 and 5268, and the sum 131076, which is more than that half.
        EXPECT_EQ(levelsOf(image, user(kernel, 10000, 100)), Bytes(image.rows.size(), 99));
    }
}

TEST(UserFilterTest, BiasFarOut)
{
    const Pieces image = levelRow({0, 1, 254, 255});
    for (const int32_t bias : {256, 1 << 20, INT32_MAX})
        EXPECT_EQ(levelsOf(image, user(spike(2, 2), 1, bias)), (Bytes{255, 255, 255, 255}));
    for (const int32_t bias : {-255, -256, -(1 << 21), INT32_MIN})
        EXPECT_EQ(levelsOf(image, user(spike(2, 2), 1, bias)), (Bytes{0, 0, 0, 0}));
}

/// Kernels of each kind: sparse, smoothing, sharpening, with halves, with odd and large divisors, of both signs.
struct Case {
    Kernel kernel;
    int32_t divisor, bias;
};
std::vector<Case> cases()
{
    Kernel ones, bell{}, relief{}, sharp;
    ones.fill(1);
    sharp.fill(-1);
    sharp[12] = 49;
    for (const auto &[at, value] :
         {std::pair{6, 1}, {7, 2}, {8, 1}, {11, 2}, {12, 4}, {13, 2}, {16, 1}, {17, 2}, {18, 1}})
        bell[static_cast<std::size_t>(at)] = value;
    relief[0] = -1;
    relief[24] = 1;
    std::vector<Case> all{{ones, 25, 0},
                          {ones, 26, 3},
                          {bell, 16, 0},
                          {bell, -16, 255},
                          {relief, 1, 128},
                          {relief, 2, 128},
                          {relief, -4, 127},
                          {relief, 1000, 4},
                          {sharp, 25, 0},
                          {sharp, 50, -10},
                          {sharp, -50, 200},
                          {ones, 262144, 1},
                          {ones, 100000, 2},
                          {relief, 3, 100},
                          {spike(1, 1, 32767), 32767, 0},
                          {spike(1, 1, 32768), 32768, 0},
                          {spike(4, 0, -32767), 2048, 300}};
    const Bytes random = noise(std::size_t{25} * 40, 5);
    for (std::size_t i = 0; i < 40; ++i) {
        Kernel kernel;
        for (std::size_t k = 0; k < 25; ++k)
            kernel[k] = random[25 * i + k] % 3 == 0
                            ? 0
                            : (random[25 * i + k] - 128) * (i % 4 == 3 ? 100 : 1) / (i % 2 == 0 ? 8 : 1);
        const int magnitude = i % 4 == 3   ? 24000
                              : i % 2 == 0 ? 24 + static_cast<int>(i) * 7
                                           : 300 + static_cast<int>(i) * 11;
        all.push_back({kernel, i % 5 == 0 ? -magnitude : magnitude, static_cast<int>(i * 9 % 256)});
    }
    return all;
}

TEST(UserFilterTest, AgreesWithThePlainLoop)
{
    const Restore restore;
    const std::vector<Case> all = cases();
    for (const CpuLevel level : cpuLevels()) {
        limitCpuLevel(level);
        std::size_t next = 0;
        for (int width = 1; width <= 40; ++width)
            for (int height = 1; height <= 18; ++height) {
                const Case &each = all[next++ % all.size()];
                for (const Pieces &image : {trueColor(width, height), gray(width, height)})
                    ASSERT_EQ(resultOf(image, user(each.kernel, each.divisor, each.bias, width)),
                              plainUser(image, each.kernel, each.divisor, each.bias))
                        << width << " x " << height << ", " << next;
            }
        for (const Case &each : all)
            for (const Pieces &image : {trueColor(63, 20, 7), gray(131, 40, 8)})
                ASSERT_EQ(resultOf(image, user(each.kernel, each.divisor, each.bias)),
                          plainUser(image, each.kernel, each.divisor, each.bias))
                    << each.divisor << ", " << each.bias;
    }
}

TEST(UserFilterTest, AbsurdKernelsAreSurvived)
{
    const NothingLost check;
    const Pieces image = trueColor(37, 6);
    for (const int32_t value : {INT32_MIN, INT32_MAX, 1 << 20, -70000})
        for (const int32_t divisor : {1, -1, INT32_MIN, INT32_MAX, 3})
            for (const int32_t bias : {INT32_MIN, 0, INT32_MAX}) {
                Kernel kernel;
                kernel.fill(value);
                EXPECT_EQ(resultOf(image, user(kernel, divisor, bias)).size(), image.bytes().size());
            }
}

TEST(UserFilterTest, KeepsTheCommonRules)
{
    const Effect effect = user(cases()[8].kernel, 25);
    expectFilterRules(effect);
    expectScratchIsLikeTheResult(effect);
    for (const int height : {1, 16, 17, 33})
        EXPECT_EQ(eventsOf(trueColor(5, height), effect), oneLoop(height));
    const Handle source = gray(5, 4).handle();
    const long locksBefore = memory_hooks::counts().locks;
    EXPECT_EQ(eventsOfRefusal(source, user(spike(2, 2), 0)), Events{});
    EXPECT_EQ(ProcessUserFilter(source, nullptr), nullptr);
    EXPECT_EQ(memory_hooks::counts().locks, locksBefore);
}

// ---- ProcessUnsharpMask

TEST(UnsharpMaskTest, TableIsOnePlaceOff)
{
    const Boost boost(200, 3);
    EXPECT_EQ(boost[0], 0);
    EXPECT_EQ(boost[2], 0);
    EXPECT_EQ(boost[3], 6);
    EXPECT_EQ(boost[-3], 0);
    EXPECT_EQ(boost[-4], -6);
    EXPECT_EQ(boost[255], 510);
    EXPECT_EQ(boost[-256], -510);
}

TEST(UnsharpMaskTest, ValuesByHand)
{
    // Means 0, 50, 50 of two samples: 0, 100 + 50, 0 less the step of a difference of 49.
    EXPECT_EQ(levelsOf(levelRow({0, 100, 0}), unsharp(2, 100, 0)), (Bytes{0, 150, 0, 0}));
    // Means 100, 98, 96: the sample 96 lies 2 below its mean and loses as for 1.
    EXPECT_EQ(levelsOf(levelRow({100, 96, 96}), unsharp(2, 100, 0)), (Bytes{100, 95, 96, 0}));
    EXPECT_EQ(levelsOf(levelRow({100, 96, 96}), unsharp(2, 100, 2)), (Bytes{100, 96, 96, 0}));
    EXPECT_EQ(levelsOf(levelRow({96, 100, 100}), unsharp(2, 100, 2)), (Bytes{96, 102, 100, 0}));
}

TEST(UnsharpMaskTest, EachDifferenceAtEachAmount)
{
    const Restore restore;
    Bytes source, means;
    for (int sample = 0; sample < 256; sample += 5)
        for (int mean = 0; mean < 256; ++mean) {
            source.push_back(static_cast<uint8_t>(sample));
            means.push_back(static_cast<uint8_t>(mean));
        }
    for (const CpuLevel level : cpuLevels()) {
        limitCpuLevel(level);
        for (int amount = 1; amount <= 500; ++amount) {
            const int threshold = amount * 7 % 256;
            const Boost boost(amount, threshold);
            Bytes result = means;
            sharpenKernels().unsharp(result.data(), source.data(), source.size(), boost);
            for (std::size_t i = 0; i < source.size(); ++i) {
                const int d = source[i] - means[i], size = d >= 0 ? d : -d - 1;
                const int step = size >= threshold ? (amount * size + 50) / 100 : 0;
                ASSERT_EQ(result[i], std::clamp(source[i] + (d >= 0 ? step : -step), 0, 255))
                    << amount << ", " << d;
            }
        }
    }
}

TEST(UnsharpMaskTest, AgreesWithThePlainLoop)
{
    const Restore restore;
    for (const CpuLevel level : cpuLevels()) {
        limitCpuLevel(level);
        for (int width = 1; width <= 40; ++width)
            for (int height = 1; height <= 18; ++height) {
                const int size = 2 + (width * 7 + height * 3) % 31, amount = 1 + width * height * 13 % 500,
                          threshold = width % 3 == 0 ? 0 : (width * 5 + height) % 60;
                for (const Pieces &image : {trueColor(width, height), gray(width, height)})
                    ASSERT_EQ(resultOf(image, unsharp(size, amount, threshold)),
                              plainUnsharp(image, size, amount, threshold))
                        << width << " x " << height << ", " << size;
            }
    }
    for (const int width : {2047, 2049})
        for (const Pieces &image : {trueColor(width, 5), gray(width, 5)})
            ASSERT_EQ(resultOf(image, unsharp(6, 150, 4)), plainUnsharp(image, 6, 150, 4));
}

TEST(UnsharpMaskTest, ThresholdOf255)
{
    const Boost boost(100, 255);
    for (int d = -256; d < 255; ++d)
        EXPECT_EQ(boost[d], d == -256 ? -255 : 0) << d;
    EXPECT_EQ(boost[255], 255);
}

TEST(UnsharpMaskTest, ThresholdOf255LeavesEveryPicture)
{
    const Restore restore;
    // The mean of 32 by 32 pixels with one spot is the ground, so that the difference is all that is between them. A
    // threshold of 255 leaves the white spot on black alone, which has no higher level to go to: every picture stays.
    struct Spot {
        uint8_t ground, level;
        int threshold, expected;
    };
    for (const CpuLevel cpu : cpuLevels()) {
        limitCpuLevel(cpu);
        for (const Pieces &image : {trueColor(41, 40), gray(40, 41)}) {
            Samples same = samplesOf(image);
            EXPECT_EQ(resultOf(image, unsharp(32, 500, 255)), withSamples(image, same));
        }
        for (const auto &[ground, level, threshold, expected] : {Spot{0, 255, 255, 255},
                                                                 {0, 254, 255, 254},
                                                                 {0, 254, 254, 255},
                                                                 {255, 0, 255, 0},
                                                                 {255, 1, 255, 1},
                                                                 {255, 1, 254, 1},
                                                                 {255, 1, 253, 0}}) {
            Pieces image = flat(gray(40, 40), ground), result = image;
            image.rows[40 * 20 + 20] = level;
            result.rows[40 * 20 + 20] = static_cast<uint8_t>(expected);
            EXPECT_EQ(resultOf(image, unsharp(32, 100, threshold)), result.bytes())
                << int{level} << " on " << int{ground} << ", " << threshold;
        }
    }
}

TEST(UnsharpMaskTest, Refusals)
{
    const Handle source = trueColor(5, 4).handle();
    const long locksBefore = memory_hooks::counts().locks;
    for (const int32_t size : {INT32_MIN, 1, 33, INT32_MAX})
        EXPECT_EQ(eventsOfRefusal(source, unsharp(size, 100, 0)), Events{});
    for (const int32_t amount : {INT32_MIN, 0, 501, INT32_MAX})
        EXPECT_EQ(eventsOfRefusal(source, unsharp(5, amount, 0)), Events{});
    for (const int32_t threshold : {INT32_MIN, -1, 256, INT32_MAX})
        EXPECT_EQ(eventsOfRefusal(source, unsharp(5, 100, threshold)), Events{});
    EXPECT_EQ(ProcessUnsharpMask(source, nullptr), nullptr);
    EXPECT_EQ(memory_hooks::counts().locks, locksBefore);
}

TEST(UnsharpMaskTest, KeepsTheCommonRules)
{
    for (const int amount : {1, 500}) {
        expectFilterRules(unsharp(5, amount, 0));
        for (const int level : {0, 1, 128, 255})
            for (const Pieces &image : {trueColor(4, 7), gray(8, 3)}) {
                const Pieces same = flat(image, static_cast<uint8_t>(level));
                EXPECT_EQ(resultOf(same, unsharp(32, amount, 0)), same.bytes());
            }
    }
    expectScratchIsLikeTheResult(unsharp(5, 100, 0));
    for (const auto &[width, height] : {std::pair{1, 1}, {17, 33}, {40, 16}})
        EXPECT_EQ(eventsOf(trueColor(width, height), unsharp(3, 100, 0)), twoPassEvents(width, height));
}

TEST(UnsharpMaskTest, HasFourCodes)
{
    const Pieces image = trueColor(7, 5);
    tagParamUnsharpenMask param{4, 120, 3};
    for (const unsigned code : {18U, 73U, 80U, 81U})
        EXPECT_EQ(
            resultOf(image,
                     [&](void *dib) { return EnhanceAndEffects(dib, code, reinterpret_cast<long>(&param)); }),
            plainUnsharp(image, 4, 120, 3));
}

} // namespace

} // namespace velmont::testing
