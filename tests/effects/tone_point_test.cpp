// Brightness and contrast, brightness by a scale, the logarithm, solarization, the threshold.

#include "core/byte_kernels.h"
#include "core/pixel_kernels.h"
#include "platform/memory.h"
#include "tests/effects/tone_testing.h"
#include "tone/tone_kernels.h"
#include <algorithm>
#include <cmath>
#include <gtest/gtest.h>
#include <velmont/effects.h>
#include <velmont/tone.h>

namespace velmont::testing {

namespace {

Effect contrast(int32_t channel, int32_t brightness, int32_t contrast)
{
    return [=](void *dib) {
        tagParamBrightnessContrast record{channel, brightness, contrast};
        return ProcessBrightnessAndContrast(dib, &record);
    };
}

Effect scale(int value)
{
    return [=](void *dib) { return ProcessBrightnessScale(dib, value); };
}

Effect threshold(int32_t value)
{
    return [=](void *dib) {
        tagParamThreshold record{value};
        return ProcessThreshold(dib, &record);
    };
}

/// What an effect makes of the levels 0 to 255 of a gray image.
Bytes levelsOf(const Effect &effect)
{
    Bytes levels;
    for (int i = 0; i < 256; ++i)
        levels.push_back(static_cast<uint8_t>(i));
    const Bytes result = resultOf(levelRow(levels), effect);
    return result.size() == 1064 + 256 ? Bytes(result.end() - 256, result.end()) : Bytes(256);
}

/// Maps a colour by one function.
std::function<void(uint8_t *)> eachChannel(const std::function<uint8_t(uint8_t)> &map)
{
    return [=](uint8_t *color) {
        for (int i = 0; i < 3; ++i)
            color[i] = map(color[i]);
    };
}

/// Every kind of image that the table effects take, against `map` on each sample.
void expectOnEveryKind(const Effect &effect, const std::function<uint8_t(uint8_t)> &map)
{
    for (int width = 1; width <= 67; ++width) {
        const Pieces color = trueColor(width, 3, static_cast<uint32_t>(width));
        ASSERT_EQ(resultOf(color, effect), withPixels(color, eachChannel(map)).bytes()) << width;
        const Pieces levels = gray(width, 3, static_cast<uint32_t>(width));
        ASSERT_EQ(resultOf(levels, effect), withLevels(levels, map).bytes()) << width;
    }
    for (const int bits : {4, 8})
        for (const uint32_t colors : {0u, 1u, 2u, 16u, 100u, 256u, 300u}) {
            const Pieces image = paletted(7, 5, bits, colors);
            ASSERT_EQ(resultOf(image, effect), withEntries(image, eachChannel(map)).bytes()) << colors;
        }
}

const Events kBegin{"wait", "poll"}, kEnd{"100%", "arrow"};

/// The effects of the common frame: its events on each kind.
void expectFrameEvents(const Effect &effect, const Events &begin)
{
    for (const int height : {1, 16, 17, 40})
        for (const Pieces &image :
             {trueColor(3, height), gray(3, height), paletted(3, height, 8, 9), paletted(3, height, 4, 16)})
            EXPECT_EQ(eventsOf(image, effect), joined({begin, rowEvents(height), kEnd})) << height;
}

class PointTone : public ::testing::Test {
protected:
    NothingLost check_;
    Restore restore_;
};

class BrightnessContrast : public PointTone {};

TEST_F(BrightnessContrast, HardStepAtTheHighestContrast)
{
    const Bytes table = levelsOf(contrast(0, 0, 127));
    for (std::size_t i = 0; i < 256; ++i)
        EXPECT_EQ(table[i], i < 128 ? 0 : 255) << i;
}

TEST_F(BrightnessContrast, NarrowestRangeAtTheLowestContrast)
{
    const Bytes table = levelsOf(contrast(0, 0, -128));
    EXPECT_EQ(table[0], 64);    // (255 * 128 + 255) / 511
    EXPECT_EQ(table[1], 64);    // 33150 / 511 = 64.9
    EXPECT_EQ(table[2], 65);    // 33405 / 511 = 65.4
    EXPECT_EQ(table[128], 128); // (255 * 256 + 255) / 511 = 128.2
    EXPECT_EQ(table[255], 191); // (255 * 383 + 255) / 511
}

TEST_F(BrightnessContrast, ByHand)
{
    const Bytes brighter = levelsOf(contrast(0, 20, 0));
    EXPECT_EQ(brighter[0], 20);
    EXPECT_EQ(brighter[235], 255);
    EXPECT_EQ(brighter[236], 255);
    const Bytes darker = levelsOf(contrast(0, -20, 0));
    EXPECT_EQ(darker[20], 0);
    EXPECT_EQ(darker[19], 0);
    EXPECT_EQ(darker[255], 235);
    const Bytes stretched = levelsOf(contrast(0, 10, 20));
    EXPECT_EQ(stretched[9], 0);
    EXPECT_EQ(stretched[10], 0);    // x = 20: 107 / 215
    EXPECT_EQ(stretched[11], 1);    // (255 + 107) / 215
    EXPECT_EQ(stretched[100], 107); // (255 * 90 + 107) / 215 = 107.2
    EXPECT_EQ(stretched[225], 255);
    EXPECT_EQ(stretched[226], 255);
}

TEST_F(BrightnessContrast, EverySettingInFloatingPoint)
{
    Bytes levels;
    for (int i = 0; i < 256; ++i)
        levels.push_back(static_cast<uint8_t>(i));
    for (int b = -128; b <= 127; b += 17)
        for (int c = -128; c <= 127; ++c) {
            if (b == 0 && c == 0)
                continue;
            const Bytes table = levelsOf(contrast(0, b, c));
            for (int i = 0; i < 256; ++i) {
                const int x = i + b;
                const double halfDivisor = std::trunc((255 - 2 * c) / 2.0);
                const double y = x < c         ? 0
                                 : x > 255 - c ? 255
                                               : std::trunc((255.0 * (x - c) + halfDivisor) / (255 - 2 * c));
                ASSERT_EQ(table[static_cast<std::size_t>(i)], std::clamp(y, 0.0, 255.0))
                    << b << " " << c << " " << i;
            }
        }
}

TEST_F(BrightnessContrast, SettingsAreHeldToTheirRange)
{
    EXPECT_EQ(levelsOf(contrast(0, 300, 5)), levelsOf(contrast(0, 127, 5)));
    EXPECT_EQ(levelsOf(contrast(0, INT32_MIN, 5)), levelsOf(contrast(0, -128, 5)));
    EXPECT_EQ(levelsOf(contrast(0, 5, -200)), levelsOf(contrast(0, 5, -128)));
    EXPECT_EQ(levelsOf(contrast(0, 5, INT32_MAX)), levelsOf(contrast(0, 5, 127)));
}

TEST_F(BrightnessContrast, NothingToDoGivesNothing)
{
    for (const int channel : {0, 1, 2, 3, 99, -1}) {
        const Handle image = trueColor(3, 3).handle();
        EXPECT_EQ(eventsOfRefusal(image, contrast(channel, 0, 0)), (Events{"wait", "arrow"}));
    }
    // Before the image is looked at.
    const long locks = memory_hooks::counts().locks;
    EXPECT_EQ(eventsOfRefusal(paletted(3, 3, 1, 2).handle(), contrast(0, 0, 0)), (Events{"wait", "arrow"}));
    EXPECT_EQ(memory_hooks::counts().locks, locks);
}

TEST_F(BrightnessContrast, ChannelsOfTrueColor)
{
    const auto add20 = [](uint8_t v) { return static_cast<uint8_t>(std::min(v + 20, 255)); };
    for (const CpuLevel level : cpuLevels()) {
        limitCpuLevel(level);
        for (int width = 1; width <= 67; ++width)
            for (const int channel : {0, 1, 2, 3, 4, -1, INT32_MIN}) {
                const Pieces image = trueColor(width, 2, static_cast<uint32_t>(width));
                const Pieces expected = withPixels(image, [&](uint8_t *pixel) {
                    for (int byte = 0; byte < 3; ++byte)
                        if (channel == 0 || byte == (channel == 1 ? 2 : channel == 2 ? 1 : 0))
                            pixel[byte] = add20(pixel[byte]);
                });
                ASSERT_EQ(resultOf(image, contrast(channel, 20, 0)), expected.bytes())
                    << width << ", channel " << channel << ", level " << static_cast<int>(level);
            }
    }
}

TEST_F(BrightnessContrast, GrayFollowsTheRedTable)
{
    const auto add20 = [](uint8_t v) { return static_cast<uint8_t>(std::min(v + 20, 255)); };
    const Pieces image = gray(35, 3);
    EXPECT_EQ(resultOf(image, contrast(0, 20, 0)), withLevels(image, add20).bytes());
    EXPECT_EQ(resultOf(image, contrast(1, 20, 0)), withLevels(image, add20).bytes());
    const Bytes same = withLevels(image, [](uint8_t v) { return v; }).bytes();
    for (const int channel : {2, 3, 4, -1})
        EXPECT_EQ(resultOf(image, contrast(channel, 20, 0)), same);
}

TEST_F(BrightnessContrast, PalettesLoseTheirReservedBytes)
{
    for (const int bits : {4, 8})
        for (const uint32_t colors : {0u, 1u, 16u, 256u, 300u})
            for (const int channel : {0, 1, 2, 3}) {
                const Pieces image = paletted(7, 5, bits, colors);
                const Pieces expected = withEntries(image, [&](uint8_t *entry) {
                    for (int byte = 0; byte < 3; ++byte)
                        if (channel == 0 || byte == 3 - channel)
                            entry[byte] = static_cast<uint8_t>(std::max(entry[byte] - 20, 0));
                    entry[3] = 0;
                });
                EXPECT_EQ(resultOf(image, contrast(channel, -20, 0)), expected.bytes());
            }
}

TEST_F(BrightnessContrast, EventsOfPixels)
{
    for (const int height : {1, 16, 17, 33})
        for (const Pieces &image : {trueColor(3, height), gray(3, height)})
            EXPECT_EQ(eventsOf(image, contrast(0, 1, 1)), joined({{"wait"}, rowEvents(height), kEnd}));
}

TEST_F(BrightnessContrast, EventsOfPalettesComeEvery32Rows)
{
    for (const int height : {1, 32, 33, 65, 100})
        for (const Pieces &image : {paletted(3, height, 8, 9), paletted(3, height, 4, 16)})
            EXPECT_EQ(eventsOf(image, contrast(0, 1, 1)), joined({{"wait"}, rowEvents(height, 32), kEnd}));
    EXPECT_EQ(eventsOf(paletted(3, 65, 8, 9), contrast(0, 1, 1)),
              (Events{"wait", "poll", "0%", "poll", "49%", "poll", "98%", "100%", "arrow"}));
}

TEST_F(BrightnessContrast, NullLeavesTheWaitCursor)
{
    EXPECT_EQ(eventsOfRefusal(nullptr, contrast(0, 1, 1)), Events{"wait"});
    EXPECT_EQ(eventsOfRefusal(nullptr, contrast(0, 0, 0)), Events{"wait"});
    const Handle image = trueColor(3, 3).handle();
    const Effect withoutRecord = [](void *dib) { return ProcessBrightnessAndContrast(dib, nullptr); };
    EXPECT_EQ(eventsOfRefusal(image, withoutRecord), Events{"wait"});
}

TEST_F(BrightnessContrast, RefusalsBringTheArrowBack)
{
    for (const int bits : {1, 2, 16, 32})
        EXPECT_EQ(eventsOfRefusal(paletted(3, 3, bits, 2).handle(), contrast(0, 1, 1)),
                  (Events{"wait", "arrow"}));
    memory_hooks::failAllocation(2);
    EXPECT_EQ(eventsOfRefusal(trueColor(3, 3).handle(), contrast(0, 1, 1)), (Events{"wait", "arrow"}));
    memory_hooks::failAllocation(0);
}

TEST_F(BrightnessContrast, AbortsAndFailures)
{
    for (const Pieces &image :
         {trueColor(5, 35), gray(5, 35), paletted(5, 70, 8, 9), paletted(5, 70, 4, 16)}) {
        expectAborts(image, contrast(0, 1, 1), 0);
        expectFailuresSurvived(image, contrast(0, 1, 1));
    }
    expectLiesRefused(contrast(0, 1, 1));
}

class BrightnessScale : public PointTone {};

TEST_F(BrightnessScale, ByHand)
{
    for (int i = 0; i < 256; ++i) {
        const auto at = static_cast<std::size_t>(i);
        EXPECT_EQ(levelsOf(scale(255))[at], i);
        EXPECT_EQ(levelsOf(scale(-255))[at], i);
        EXPECT_EQ(levelsOf(scale(0))[at], 0);
    }
    EXPECT_EQ(levelsOf(scale(128))[128], 255);
    EXPECT_EQ(levelsOf(scale(128))[127], 253); // (64 + 32385) / 128
    EXPECT_EQ(levelsOf(scale(128))[255], 255);
    EXPECT_EQ(levelsOf(scale(-128))[255], 128);
    EXPECT_EQ(levelsOf(scale(-127))[1], 0); // (127 + 127) / 255
    EXPECT_EQ(levelsOf(scale(-128))[1], 1);
    EXPECT_EQ(levelsOf(scale(1))[1], 255);
    EXPECT_EQ(levelsOf(scale(1))[0], 0);
    EXPECT_EQ(levelsOf(scale(300))[255], 217);  // (150 + 65025) / 300
    EXPECT_EQ(levelsOf(scale(-300))[200], 235); // 60127 / 255
    EXPECT_EQ(levelsOf(scale(-300))[255], 255);
}

TEST_F(BrightnessScale, AnyScale)
{
    EXPECT_EQ(levelsOf(scale(INT32_MAX))[255], 0);
    EXPECT_EQ(levelsOf(scale(INT32_MIN))[0], 0);
    EXPECT_EQ(levelsOf(scale(INT32_MIN))[1], 255);
    EXPECT_EQ(levelsOf(scale(INT32_MIN + 1))[255], 255);
}

TEST_F(BrightnessScale, Pixels)
{
    const auto darker = [](uint8_t v) { return static_cast<uint8_t>((127 + v * 100) / 255); };
    for (const CpuLevel level : cpuLevels()) {
        limitCpuLevel(level);
        for (int width = 1; width <= 67; ++width) {
            const Pieces color = trueColor(width, 3), levels = gray(width, 3);
            ASSERT_EQ(resultOf(color, scale(-100)), withPixels(color, eachChannel(darker)).bytes());
            ASSERT_EQ(resultOf(levels, scale(-100)), withLevels(levels, darker).bytes());
        }
    }
}

TEST_F(BrightnessScale, TouchesNoCursor)
{
    for (const int height : {1, 17, 40})
        for (const Pieces &image : {trueColor(3, height), gray(3, height)})
            EXPECT_EQ(eventsOf(image, scale(200)), joined({rowEvents(height), {"100%"}}));
    memory_hooks::failAllocation(2);
    EXPECT_EQ(eventsOfRefusal(trueColor(3, 3).handle(), scale(200)), Events{});
    memory_hooks::failAllocation(0);
}

TEST_F(BrightnessScale, RefusesOtherKinds)
{
    EXPECT_EQ(eventsOfRefusal(nullptr, scale(200)), Events{});
    for (const int bits : {1, 4, 8, 16, 32})
        EXPECT_EQ(eventsOfRefusal(paletted(3, 3, bits, 2).handle(), scale(200)), Events{});
    EXPECT_EQ(EnhanceAndEffects(trueColor(3, 3).handle(), 70, 0), nullptr);
}

TEST_F(BrightnessScale, AbortsAndFailures)
{
    for (const Pieces &image : {trueColor(5, 35), gray(5, 35)}) {
        expectAborts(image, scale(99), 0, {"100%"});
        expectFailuresSurvived(image, scale(99));
    }
    expectLiesRefused(scale(99));
}

class Logarithm : public PointTone {};

TEST_F(Logarithm, ByHand)
{
    const Bytes table = levelsOf(ProcessLogarithm);
    EXPECT_EQ(table[0], 0);
    EXPECT_EQ(table[1], 32);
    EXPECT_EQ(table[2], 51); // 50.52
    EXPECT_EQ(table[3], 64);
    EXPECT_EQ(table[7], 96);   // 95.6
    EXPECT_EQ(table[15], 128); // 127.5
    EXPECT_EQ(table[31], 159); // 159.4
    EXPECT_EQ(table[127], 223);
    EXPECT_EQ(table[254], 255);
    EXPECT_EQ(table[255], 255);
}

// Rounding up from a half: the largest level whose power of two, 256^((n - 0.5) / 255), lies at or below i +
// 1.
TEST_F(Logarithm, EveryLevelByItsInverse)
{
    const Bytes table = levelsOf(ProcessLogarithm);
    for (std::size_t i = 0; i < 256; ++i) {
        EXPECT_LE(std::pow(256.0, (table[i] - 0.5) / 255), static_cast<double>(i + 1) * (1 + 1e-12)) << i;
        EXPECT_GT(std::pow(256.0, (table[i] + 0.5) / 255), static_cast<double>(i + 1)) << i;
    }
}

TEST_F(Logarithm, EveryKind)
{
    const Bytes table = levelsOf(ProcessLogarithm);
    for (const CpuLevel level : cpuLevels()) {
        limitCpuLevel(level);
        expectOnEveryKind(ProcessLogarithm, [&](uint8_t v) { return table[v]; });
    }
}

TEST_F(Logarithm, PollsForEachLevelBeforeTheDroppedPoll)
{
    Events begin{"wait"};
    begin.insert(begin.end(), 257, "poll");
    expectFrameEvents(ProcessLogarithm, begin);
}

TEST_F(Logarithm, AbortsInTheTableAndInTheRows)
{
    const Pieces image = trueColor(3, 2);
    const Handle handle = image.handle();
    for (int n = 1; n <= 259; ++n) {
        RecordingHost host;
        host.abortFromPoll(n);
        Events expected{"wait"};
        if (n <= 256) {
            expected.insert(expected.end(), static_cast<std::size_t>(n), "poll");
        } else {
            // The dropped poll, the 257th, answers nothing; the first row's ends the effect then.
            expected.insert(expected.end(), static_cast<std::size_t>(std::max(n, 258)), "poll");
            if (n == 259)
                expected.insert(expected.end() - 1, "0%");
        }
        EXPECT_EQ(ProcessLogarithm(handle), nullptr);
        EXPECT_EQ(host.events, joined({expected, kEnd})) << n;
        EXPECT_EQ(memory_hooks::locksOn(handle), 0);
    }
}

TEST_F(Logarithm, RefusalsAndFailures)
{
    EXPECT_EQ(eventsOfRefusal(nullptr, ProcessLogarithm), Events{});
    EXPECT_EQ(eventsOfRefusal(paletted(3, 3, 1, 2).handle(), ProcessLogarithm), Events{});
    memory_hooks::failAllocation(2);
    EXPECT_EQ(eventsOfRefusal(trueColor(3, 3).handle(), ProcessLogarithm), (Events{"wait", "arrow"}));
    memory_hooks::failAllocation(0);
    for (const Pieces &image : {trueColor(5, 3), gray(5, 3), paletted(5, 3, 8, 9)})
        expectFailuresSurvived(image, ProcessLogarithm);
    expectLiesRefused(ProcessLogarithm);
}

class Solarization : public PointTone {};

TEST_F(Solarization, EveryLevelAndKind)
{
    const Bytes table = levelsOf(ProcessSolarization);
    EXPECT_EQ(table[127], 127);
    EXPECT_EQ(table[128], 127);
    EXPECT_EQ(table[255], 0);
    const auto fold = [](uint8_t v) { return v < 128 ? v : static_cast<uint8_t>(255 - v); };
    for (std::size_t i = 0; i < 256; ++i)
        EXPECT_EQ(table[i], fold(static_cast<uint8_t>(i)));
    for (const CpuLevel level : cpuLevels()) {
        limitCpuLevel(level);
        expectOnEveryKind(ProcessSolarization, fold);
    }
}

TEST_F(Solarization, EventsAbortsAndFailures)
{
    expectFrameEvents(ProcessSolarization, kBegin);
    for (const Pieces &image :
         {trueColor(5, 35), gray(5, 35), paletted(5, 35, 8, 9), paletted(5, 35, 4, 3)}) {
        expectAborts(image, ProcessSolarization, 1);
        expectFailuresSurvived(image, ProcessSolarization);
    }
    EXPECT_EQ(eventsOfRefusal(nullptr, ProcessSolarization), Events{});
    expectLiesRefused(ProcessSolarization);
}

class Threshold : public PointTone {};

TEST_F(Threshold, Gray)
{
    for (int limit = 0; limit < 256; ++limit) {
        const Bytes table = levelsOf(threshold(limit));
        for (std::size_t i = 0; i < 256; ++i)
            ASSERT_EQ(table[i], static_cast<int>(i) > limit ? 255 : 0) << limit << " " << i;
    }
}

TEST_F(Threshold, TrueColorByHand)
{
    // Pixels of blue, green, red. 76 * 10 + 150 * 10 + 29 * 10 = 255 * 10 is not above it.
    const Bytes pixels{10, 10, 10, 10, 10, 11, 11, 10, 10, 10, 11, 10, 87, 0, 0, 88, 0, 0};
    const Bytes expected{0, 0, 0, 255, 255, 255, 255, 255, 255, 255, 255, 255, 0, 0, 0, 255, 255, 255};
    const Bytes result = resultOf(pixelRow(pixels), threshold(10)); // 29 * 87 = 2523, 29 * 88 = 2552
    ASSERT_EQ(result.size(), 40u + 20);
    EXPECT_EQ(Bytes(result.begin() + 40, result.begin() + 58), expected);
}

TEST_F(Threshold, Ends)
{
    const Bytes white(3 * 70, 255);
    Bytes result = resultOf(pixelRow(white), threshold(255));
    EXPECT_EQ(std::count(result.begin() + 40, result.end(), 255), 0);
    result = resultOf(pixelRow(white), threshold(254));
    EXPECT_EQ(std::count(result.begin() + 40, result.end(), 255), 210);
    EXPECT_EQ(levelsOf(threshold(0))[0], 0);
    EXPECT_EQ(levelsOf(threshold(0))[1], 255);
}

TEST_F(Threshold, PixelsAndPalettes)
{
    for (const CpuLevel level : cpuLevels()) {
        limitCpuLevel(level);
        for (const int limit : {0, 1, 100, 127, 128, 200, 255}) {
            const auto cut = [=](uint8_t *color) {
                const bool above = limit * 255 < 76 * color[2] + 150 * color[1] + 29 * color[0];
                color[0] = color[1] = color[2] = above ? 255 : 0;
            };
            for (int width = 1; width <= 67; ++width) {
                const Pieces image = trueColor(width, 3, static_cast<uint32_t>(width));
                ASSERT_EQ(resultOf(image, threshold(limit)), withPixels(image, cut).bytes()) << width;
            }
            for (const int bits : {4, 8})
                for (const uint32_t colors : {0u, 1u, 16u, 256u, 300u}) {
                    const Pieces image = paletted(7, 5, bits, colors);
                    ASSERT_EQ(resultOf(image, threshold(limit)), withEntries(image, cut).bytes());
                }
            const Pieces levels = gray(35, 3);
            const auto cutLevel = [=](uint8_t v) { return static_cast<uint8_t>(v > limit ? 255 : 0); };
            ASSERT_EQ(resultOf(levels, threshold(limit)), withLevels(levels, cutLevel).bytes());
        }
    }
}

TEST_F(Threshold, RefusesOtherThresholdsAndNoRecord)
{
    const Handle image = trueColor(3, 3).handle();
    for (const int limit : {-1, 256, INT32_MIN, INT32_MAX})
        EXPECT_EQ(eventsOfRefusal(image, threshold(limit)), Events{});
    EXPECT_EQ(eventsOfRefusal(nullptr, threshold(256)), Events{});
    EXPECT_EQ(eventsOfRefusal(nullptr, threshold(5)), Events{});
    EXPECT_EQ(eventsOfRefusal(image, [](void *dib) { return ProcessThreshold(dib, nullptr); }), Events{});
}

TEST_F(Threshold, EventsAbortsAndFailures)
{
    expectFrameEvents(threshold(77), kBegin);
    for (const Pieces &image :
         {trueColor(5, 35), gray(5, 35), paletted(5, 35, 8, 9), paletted(5, 35, 4, 3)}) {
        expectAborts(image, threshold(77), 1);
        expectFailuresSurvived(image, threshold(77));
    }
    expectLiesRefused(threshold(77));
}

// A header longer than 40 bytes reaches into palette and rows: what the effect writes lies over it, what the
// effect leaves alone, padding and reserved bytes, keeps what the header brought.
TEST_F(PointTone, LongHeaders)
{
    Pieces image = trueColor(1, 3);
    image.header.biSize = 40 + 8; // both rows' padding
    image.rows = {10, 20, 30, 0xAB, 40, 50, 60, 0xCD, 70, 80, 90, 0xEF};
    Pieces expected = image;
    expected.rows = {10, 20, 30, 0xAB, 40, 50, 60, 0xCD, 70, 80, 90, 0};
    EXPECT_EQ(resultOf(image, ProcessSolarization), expected.bytes());
    EXPECT_EQ(resultOf(image, scale(255)), expected.bytes());

    image = paletted(3, 1, 8, 3);
    image.header.biSize = 44;
    image.palette = {1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12};
    expected = image;
    expected.palette = {2, 3, 4, 4, 6, 7, 8, 0, 10, 11, 12, 0};
    EXPECT_EQ(resultOf(image, contrast(0, 1, 0)), expected.bytes());
}

TEST_F(PointTone, TrueColorHasNoPaletteWhateverTheCount)
{
    Pieces image = trueColor(5, 3);
    image.header.biClrUsed = 256;
    const auto fold = [](uint8_t v) { return v < 128 ? v : static_cast<uint8_t>(255 - v); };
    EXPECT_EQ(resultOf(image, ProcessSolarization), withPixels(image, eachChannel(fold)).bytes());
}

TEST_F(PointTone, BytesBehindTheImageAreNotCarriedOver)
{
    Pieces image = trueColor(5, 3);
    image.rows.resize(image.rows.size() + 100, 7);
    for (const Effect &effect :
         {contrast(0, 1, 1), scale(9), Effect(ProcessLogarithm), Effect(ProcessSolarization), threshold(9)})
        EXPECT_EQ(resultOf(image, effect).size(), 40u + 48);
}

TEST_F(PointTone, ByCode)
{
    const Pieces image = trueColor(9, 3);
    const auto byCode = [](unsigned code, auto &record) {
        return [code, &record](void *dib) {
            return EnhanceAndEffects(dib, code, reinterpret_cast<long>(&record));
        };
    };
    tagParamBrightnessContrast contrastRecord{1, 5, 6};
    tagParamThreshold thresholdRecord{100};
    int32_t scaleRecord = 100;
    EXPECT_EQ(resultOf(image, byCode(1, contrastRecord)), resultOf(image, contrast(1, 5, 6)));
    EXPECT_EQ(resultOf(image, byCode(7, thresholdRecord)), resultOf(image, threshold(100)));
    EXPECT_EQ(resultOf(image, byCode(23, scaleRecord)), resultOf(image, ProcessSolarization));
    EXPECT_EQ(resultOf(image, byCode(24, scaleRecord)), resultOf(image, ProcessLogarithm));
    EXPECT_EQ(resultOf(image, byCode(70, scaleRecord)), resultOf(image, scale(100)));
}

// Above the size from which kernels store past the caches.
TEST_F(PointTone, LargeImages)
{
    const Pieces image = trueColor(3001, 2803);
    const Pieces index = paletted(6001, 4203, 8, 3);
    const auto fold = [](uint8_t v) { return v < 128 ? v : static_cast<uint8_t>(255 - v); };
    const Bytes expected = withPixels(image, eachChannel(fold)).bytes();
    const Bytes expectedIndex = withEntries(index, eachChannel(fold)).bytes();
    for (const CpuLevel level : cpuLevels()) {
        limitCpuLevel(level);
        EXPECT_TRUE(resultOf(image, ProcessSolarization) == expected);
        EXPECT_TRUE(resultOf(index, ProcessSolarization) == expectedIndex);
    }
}

class PointToneKernels : public PointTone {};

// Long rows, on which words pay, of every remainder.
TEST_F(PointToneKernels, TablesByWords)
{
    const Bytes bytes = noise(768, 3);
    ChannelTables tables;
    for (std::size_t channel = 0; channel < 3; ++channel)
        std::copy_n(bytes.begin() + static_cast<std::ptrdiff_t>(256 * channel), 256, tables.of[channel]);
    for (std::size_t pixels = 0; pixels <= 2100; pixels += pixels < 20 || pixels > 1000 ? 1 : 50) {
        const Bytes from = noise(1 + 3 * pixels, static_cast<uint32_t>(pixels));
        Bytes expected(3 * pixels + 64, 0xEE), got = expected;
        kernels::channelTablesPlain(expected.data(), from.data() + 1, pixels, tables);
        kernels::channelTablesWords(got.data(), from.data() + 1, pixels, tables);
        ASSERT_EQ(got, expected) << pixels;
        kernels::tablePlain(expected.data(), from.data() + 1, 3 * pixels, bytes.data());
        kernels::tableWords(got.data(), from.data() + 1, 3 * pixels, bytes.data());
        ASSERT_EQ(got, expected) << pixels;
    }
}

/// Every version of a kernel against the plain one, on rows of 1 to 67 and some more pixels that start
/// anywhere, writing nothing behind them.
template <typename Kernel, typename Run>
void expectSameBytes(const std::vector<std::pair<CpuLevel, Kernel>> &versions, Kernel plain, Run run)
{
    const std::vector<CpuLevel> levels = cpuLevels();
    for (const auto &[level, kernel] : versions) {
        if (std::find(levels.begin(), levels.end(), level) == levels.end())
            continue;
        for (std::size_t pixels = 0; pixels <= 200; ++pixels)
            for (const std::size_t start : {0, 1, 5}) {
                const Bytes from = noise(start + 3 * pixels, static_cast<uint32_t>(pixels));
                Bytes expected(3 * pixels + 64, 0xEE), got = expected;
                run(plain, expected.data(), from.data() + start, pixels);
                run(kernel, got.data(), from.data() + start, pixels);
                ASSERT_EQ(got, expected) << pixels << " pixels, level " << static_cast<int>(level);
            }
    }
}

#if defined(__x86_64__)
TEST_F(PointToneKernels, ChannelTables)
{
    ChannelTables random, one, same;
    const Bytes bytes = noise(768, 3);
    for (std::size_t i = 0; i < 256; ++i)
        for (std::size_t channel = 0; channel < 3; ++channel) {
            random.of[channel][i] = bytes[256 * channel + i];
            same.of[channel][i] = bytes[i];
            one.of[channel][i] = static_cast<uint8_t>(i);
        }
    const auto with = [](const ChannelTables &tables) {
        return [&](ChannelRow kernel, uint8_t *to, const uint8_t *from, std::size_t pixels) {
            kernel(to, from, pixels, tables);
        };
    };
    using Versions = std::vector<std::pair<CpuLevel, ChannelRow>>;
    const ChannelRow plain = kernels::channelTablesPlain;
    expectSameBytes(Versions{{CpuLevel::Avx512, kernels::channelTablesAvx512}}, plain, with(random));
    expectSameBytes(Versions{{CpuLevel::Avx512, kernels::sameTablesAvx512}}, plain, with(same));
    for (int channel = 0; channel < 3; ++channel) {
        ChannelTables changed = one;
        std::copy_n(bytes.begin(), 256, changed.of[channel]);
        expectSameBytes(Versions{{CpuLevel::Avx512, kernels::oneTableAvx512(channel)}}, plain, with(changed));
    }
}

TEST_F(PointToneKernels, Threshold)
{
    for (const int limit : {0, 1, 64, 127, 128, 129, 254, 255})
        expectSameBytes(
            std::vector<std::pair<CpuLevel, ThresholdRow>>{{CpuLevel::Avx2, kernels::thresholdAvx2},
                                                           {CpuLevel::Avx512, kernels::thresholdAvx512}},
            ThresholdRow{kernels::thresholdPlain},
            [=](ThresholdRow kernel, uint8_t *to, const uint8_t *from, std::size_t pixels) {
                kernel(to, from, pixels, limit);
            });
}
#endif

// Every colour at the thresholds where sixteen bits could overflow, and every threshold on its own border.
TEST_F(PointToneKernels, ThresholdOfEveryColor)
{
    for (const CpuLevel level : cpuLevels()) {
        limitCpuLevel(level);
        const ThresholdRow kernel = thresholdRow();
        Bytes from(3 * 256 * 256), to(from.size());
        for (unsigned red = 0; red < 256; ++red) {
            for (unsigned i = 0; i < 65536; ++i) {
                from[3 * i] = static_cast<uint8_t>(i);
                from[3 * i + 1] = static_cast<uint8_t>(i >> 8);
                from[3 * i + 2] = static_cast<uint8_t>(red);
            }
            for (const unsigned limit : {0u, 128u, red, 255u}) {
                kernel(to.data(), from.data(), 65536, static_cast<int>(limit));
                for (unsigned i = 0; i < 65536; ++i) {
                    const bool above = 76 * red + 150 * (i >> 8) + 29 * (i & 255) > 255 * limit;
                    ASSERT_TRUE(to[3 * i] == (above ? 255 : 0) && to[3 * i] == to[3 * i + 1] &&
                                to[3 * i] == to[3 * i + 2])
                        << red << " " << i << " " << limit;
                }
            }
        }
    }
}

} // namespace

} // namespace velmont::testing
