// Colour maps, tone adjustment, colour reduction, colour tone, and tables as fields of the catalogue.

#include "catalogue/families.h"
#include "platform/memory.h"
#include "tests/effects/tone_testing.h"
#include "tone/tone_kernels.h"
#include <algorithm>
#include <cmath>
#include <cstring>
#include <gtest/gtest.h>
#include <velmont/effects.h>
#include <velmont/tone.h>

namespace velmont::testing {

namespace {

Effect colorMap(int32_t channel, const Bytes &table)
{
    return [=](void *dib) {
        tagParamColorMap record;
        record.channel = channel;
        std::copy_n(table.begin(), 256, record.table);
        return ProcessColorMap(dib, &record);
    };
}

Effect adjustment(int32_t white, int32_t gamma, int32_t black, int32_t channel = 0)
{
    return [=](void *dib) {
        tagParamToneAdjust record{white, gamma, black, channel};
        return ProcessToneAdjustment(dib, &record);
    };
}

Effect reduction(int32_t channel, int32_t levels)
{
    return [=](void *dib) {
        tagParamColorReduction record{channel, levels};
        return ProcessColorReduction(dib, &record);
    };
}

Effect colorTone(int32_t tone)
{
    return [=](void *dib) {
        tagParamColorTone record{tone};
        return ProcessColorTone(dib, &record);
    };
}

Bytes ramp()
{
    Bytes levels;
    for (int i = 0; i < 256; ++i)
        levels.push_back(static_cast<uint8_t>(i));
    return levels;
}

/// What an effect makes of the levels 0 to 255 of a gray image.
Bytes levelsOf(const Effect &effect)
{
    const Bytes result = resultOf(levelRow(ramp()), effect);
    return result.size() == 1064 + 256 ? Bytes(result.end() - 256, result.end()) : Bytes(256);
}

/// Maps the bytes of a colour that a record's channel means.
std::function<void(uint8_t *)> onChannel(int channel, const Bytes &table)
{
    return [=](uint8_t *color) {
        if (channel == 0 || channel == 3)
            color[0] = table[color[0]];
        if (channel == 0 || channel == 2)
            color[1] = table[color[1]];
        if (channel == 0 || channel == 1)
            color[2] = table[color[2]];
    };
}

const Events kBegin{"wait", "poll"}, kEnd{"100%", "arrow"};

/// The images that the table effects take.
std::vector<Pieces> everyKind(int height)
{
    return {trueColor(5, height), gray(5, height), paletted(5, height, 8, 9), paletted(5, height, 4, 16)};
}

void expectFrame(const Effect &effect)
{
    for (const int height : {1, 16, 17, 40})
        for (const Pieces &image : everyKind(height))
            EXPECT_EQ(eventsOf(image, effect), joined({kBegin, rowEvents(height), kEnd})) << height;
    for (const Pieces &image : everyKind(35)) {
        expectAborts(image, effect, 1);
        expectFailuresSurvived(image, effect);
    }
    expectLiesRefused(effect);
    EXPECT_EQ(eventsOfRefusal(nullptr, effect), Events{});
    for (const int bits : {1, 2, 16, 32})
        EXPECT_EQ(eventsOfRefusal(paletted(3, 3, bits, 2).handle(), effect), Events{});
    memory_hooks::failAllocation(2);
    EXPECT_EQ(eventsOfRefusal(trueColor(3, 3).handle(), effect), (Events{"wait", "arrow"}));
    memory_hooks::failAllocation(0);
}

class ToneMaps : public ::testing::Test {
protected:
    NothingLost check_;
    Restore restore_;
};

class ColorMap : public ToneMaps {};

TEST_F(ColorMap, IdentityCopiesButForThePadding)
{
    const Pieces color = trueColor(5, 3), levels = gray(5, 3), index = paletted(5, 3, 8, 9);
    for (const int channel : {0, 1, 2, 3}) {
        EXPECT_EQ(resultOf(color, colorMap(channel, ramp())), withPixels(color, [](uint8_t *) {}).bytes());
        EXPECT_EQ(resultOf(levels, colorMap(channel, ramp())),
                  withLevels(levels, [](uint8_t v) { return v; }).bytes());
        EXPECT_EQ(resultOf(index, colorMap(channel, ramp())), index.bytes());
    }
}

TEST_F(ColorMap, ChannelsByHand)
{
    Bytes table = ramp();
    table[10] = 99;
    const auto pixelOf = [&](int channel) {
        const Bytes result = resultOf(pixelRow({10, 10, 10}), colorMap(channel, table));
        return result.size() == 44 ? Bytes(result.begin() + 40, result.end()) : Bytes{};
    };
    EXPECT_EQ(pixelOf(0), (Bytes{99, 99, 99, 0}));
    EXPECT_EQ(pixelOf(1), (Bytes{10, 10, 99, 0}));
    EXPECT_EQ(pixelOf(2), (Bytes{10, 99, 10, 0}));
    EXPECT_EQ(pixelOf(3), (Bytes{99, 10, 10, 0}));
}

TEST_F(ColorMap, EveryKindAndWidth)
{
    const Bytes table = noise(256, 77);
    for (const CpuLevel level : cpuLevels()) {
        limitCpuLevel(level);
        for (const int channel : {0, 1, 2, 3}) {
            for (int width = 1; width <= 67; ++width) {
                const Pieces color = trueColor(width, 3, static_cast<uint32_t>(width));
                ASSERT_EQ(resultOf(color, colorMap(channel, table)),
                          withPixels(color, onChannel(channel, table)).bytes());
                const Pieces levels = gray(width, 3, static_cast<uint32_t>(width));
                ASSERT_EQ(resultOf(levels, colorMap(channel, table)),
                          withLevels(levels, [&](uint8_t v) { return table[v]; }).bytes());
            }
            for (const int bits : {4, 8})
                for (const uint32_t colors : {0u, 1u, 16u, 256u, 300u}) {
                    const Pieces image = paletted(7, 5, bits, colors);
                    ASSERT_EQ(resultOf(image, colorMap(channel, table)),
                              withEntries(image, onChannel(channel, table)).bytes());
                }
        }
    }
}

TEST_F(ColorMap, Frame)
{
    expectFrame(colorMap(0, noise(256, 5)));
}

TEST_F(ColorMap, RefusesOtherChannelsAndNoRecord)
{
    const Handle image = trueColor(3, 3).handle();
    for (const int channel : {-1, 4, INT32_MIN, INT32_MAX})
        EXPECT_EQ(eventsOfRefusal(image, colorMap(channel, ramp())), Events{});
    EXPECT_EQ(eventsOfRefusal(nullptr, colorMap(4, ramp())), Events{});
    EXPECT_EQ(eventsOfRefusal(image, [](void *dib) { return ProcessColorMap(dib, nullptr); }), Events{});
}

class ToneAdjustment : public ToneMaps {};

TEST_F(ToneAdjustment, NothingIsTheIdentity)
{
    EXPECT_EQ(levelsOf(adjustment(0, 0, 0)), ramp());
    const Pieces index = paletted(5, 3, 8, 9);
    EXPECT_EQ(resultOf(index, adjustment(0, 0, 0)), index.bytes());
}

TEST_F(ToneAdjustment, OutputRangeByHand)
{
    const Bytes table = levelsOf(adjustment(-10, 0, 20));
    EXPECT_EQ(table[0], 0);     // the low point comes first
    EXPECT_EQ(table[1], 21);    // 225 / 255 = 0.88, rounded, on top of 20
    EXPECT_EQ(table[51], 65);   // 45 + 20
    EXPECT_EQ(table[254], 244); // 224.1 + 20
    EXPECT_EQ(table[255], 255); // the high point comes first
}

TEST_F(ToneAdjustment, InputRangeByHand)
{
    const Bytes table = levelsOf(adjustment(55, 0, -100));
    EXPECT_EQ(table[100], 0);
    EXPECT_EQ(table[101], 3);   // 2.55, rounded
    EXPECT_EQ(table[150], 128); // 127.5 is a half
    EXPECT_EQ(table[199], 252); // 252.45
    EXPECT_EQ(table[200], 255);
}

TEST_F(ToneAdjustment, Gamma)
{
    const Bytes lighter = levelsOf(adjustment(0, 100, 0)), darker = levelsOf(adjustment(0, -100, 0));
    for (std::size_t i = 1; i < 255; ++i) {
        const double share = static_cast<double>(i) / 255;
        EXPECT_NEAR(lighter[i], 255 * std::exp(0.55 * std::log(share)), 0.5 + 1e-9) << i;
        EXPECT_NEAR(darker[i], 255 * std::exp(4.5 * std::log(share)), 0.5 + 1e-9) << i;
    }
    EXPECT_EQ(lighter[64], 119); // 255 * (64 / 255)^0.55 = 119.2
}

TEST_F(ToneAdjustment, ExponentsBelowZeroSaturate)
{
    for (const int gamma : {300, 100000, INT32_MAX}) {
        const Bytes table = levelsOf(adjustment(0, gamma, 0));
        EXPECT_EQ(table[0], 0);
        EXPECT_EQ(std::count(table.begin(), table.end(), 255), 255) << gamma;
        EXPECT_EQ(levelsOf(adjustment(-100, gamma, 50))[1], 255);
    }
    const Bytes table = levelsOf(adjustment(0, INT32_MIN, 0));
    EXPECT_EQ(std::count(table.begin(), table.end(), 0), 255);
    EXPECT_EQ(table[255], 255);
}

TEST_F(ToneAdjustment, ReversedRanges)
{
    // The points cross: every level is at or below the low or at or above the high one.
    const Bytes table = levelsOf(adjustment(200, 0, -200));
    for (std::size_t i = 0; i < 256; ++i)
        EXPECT_EQ(table[i], i <= 200 ? 0 : 255) << i;
    const Bytes none = levelsOf(adjustment(INT32_MAX, 0, INT32_MIN));
    EXPECT_EQ(std::count(none.begin(), none.end(), 0), 256);
}

TEST_F(ToneAdjustment, NoOutputRangeLeft)
{
    Bytes table = levelsOf(adjustment(-155, 0, 100));
    EXPECT_EQ(table[0], 0);
    EXPECT_EQ(table[1], 100);
    EXPECT_EQ(table[254], 100);
    EXPECT_EQ(table[255], 255);
    // Above 255 the low eight bits.
    EXPECT_EQ(levelsOf(adjustment(0, 0, 300))[9], 44);
    EXPECT_EQ(levelsOf(adjustment(0, 0, INT32_MAX))[9], 255);
    EXPECT_EQ(levelsOf(adjustment(INT32_MIN, 0, 7))[9], 7);
    // 254 in all leaves one level.
    table = levelsOf(adjustment(-154, 0, 100));
    EXPECT_EQ(table[127], 100);
    EXPECT_EQ(table[128], 101);
}

// The table in other terms: the power as a product where the exponent is a whole number.
TEST_F(ToneAdjustment, EveryPairOfPoints)
{
    for (int white = -250; white <= 250; white += 25)
        for (int black = -250; black <= 250; black += 25) {
            const Bytes table = levelsOf(adjustment(white, 0, black));
            const int low = black < 0 ? -black : 0, high = white > 0 ? 255 - white : 255;
            const int outLow = black > 0 ? black : 0, left = 255 - outLow - (white < 0 ? -white : 0);
            for (int i = 0; i < 256; ++i) {
                int expected = outLow;
                if (i <= low)
                    expected = 0;
                else if (i >= high)
                    expected = 255;
                else if (left > 0)
                    expected += static_cast<int>(static_cast<double>(i - low) / (high - low) * left + 0.5);
                ASSERT_EQ(table[static_cast<std::size_t>(i)], expected) << white << " " << black << " " << i;
            }
        }
}

TEST_F(ToneAdjustment, HandsItsTableOn)
{
    const Bytes table = levelsOf(adjustment(30, 40, -20));
    for (const Pieces &image : everyKind(3))
        for (const int channel : {0, 1, 2, 3})
            EXPECT_EQ(resultOf(image, adjustment(30, 40, -20, channel)),
                      resultOf(image, colorMap(channel, table)));
}

TEST_F(ToneAdjustment, Frame)
{
    expectFrame(adjustment(1, 2, 3));
    const Handle image = trueColor(3, 3).handle();
    for (const int channel : {-1, 4, INT32_MIN})
        EXPECT_EQ(eventsOfRefusal(image, adjustment(0, 0, 0, channel)), Events{});
    EXPECT_EQ(eventsOfRefusal(image, [](void *dib) { return ProcessToneAdjustment(dib, nullptr); }),
              Events{});
}

class ColorReduction : public ToneMaps {};

TEST_F(ColorReduction, TablesByHand)
{
    const Bytes two = levelsOf(reduction(0, 2)), most = levelsOf(reduction(0, 128));
    for (std::size_t i = 0; i < 256; ++i) {
        EXPECT_EQ(two[i], i < 128 ? 0 : 255) << i;
        EXPECT_EQ(most[i], std::min<std::size_t>((i + 1) / 2 * 2, 255)) << i;
    }
    const Bytes three = levelsOf(reduction(0, 3)); // a step of (1 + 255) / 2 = 128
    EXPECT_EQ(three[63], 0);
    EXPECT_EQ(three[64], 128);
    EXPECT_EQ(three[191], 128);
    EXPECT_EQ(three[192], 255);                   // 256, held
    const Bytes four = levelsOf(reduction(0, 4)); // a step of (1 + 255) / 3 = 85
    EXPECT_EQ(four[42], 0);                       // (42 + 42) / 85
    EXPECT_EQ(four[43], 85);
    EXPECT_EQ(four[213], 255);
    const Bytes hundred = levelsOf(reduction(0, 100)); // a step of (49 + 255) / 99 = 3
    EXPECT_EQ(hundred[1], 0);
    EXPECT_EQ(hundred[2], 3);
    EXPECT_EQ(hundred[255], 255);
    const Bytes sixty = levelsOf(reduction(0, 60)); // a step of (29 + 255) / 59 = 4
    EXPECT_EQ(sixty[253], 252);
    EXPECT_EQ(sixty[254], 255);
}

TEST_F(ColorReduction, EveryNumberOfLevelsIsTheNearestMultiple)
{
    for (int levels = 2; levels <= 128; ++levels) {
        int step = 0; // the largest with step * n <= n / 2 + 255
        while ((step + 1) * (levels - 1) <= (levels - 1) / 2 + 255)
            ++step;
        const Bytes table = levelsOf(reduction(0, levels));
        for (int i = 0; i < 256; ++i) {
            int nearest = 0;
            while (nearest + step - i <= i - nearest || nearest + step <= i)
                nearest += step;
            // The half way goes up where the step is even; where it is odd there is no half way.
            ASSERT_EQ(table[static_cast<std::size_t>(i)], std::min(nearest, 255)) << levels << " " << i;
        }
    }
}

TEST_F(ColorReduction, AllChannelsMapThePaddingToo)
{
    Pieces image = trueColor(5, 3), expected = image;
    const Bytes table = levelsOf(reduction(0, 5));
    for (uint8_t &byte : expected.rows)
        byte = table[byte];
    EXPECT_EQ(resultOf(image, reduction(0, 5)), expected.bytes());
}

TEST_F(ColorReduction, EveryKindAndWidth)
{
    for (const CpuLevel level : cpuLevels()) {
        limitCpuLevel(level);
        const Bytes table = levelsOf(reduction(0, 7));
        for (const int channel : {0, 1, 2, 3}) {
            for (int width = 1; width <= 67; ++width) {
                const Pieces color = trueColor(width, 3, static_cast<uint32_t>(width));
                Pieces expected = withPixels(color, onChannel(channel, table));
                if (channel == 0) {
                    expected = color;
                    for (uint8_t &byte : expected.rows)
                        byte = table[byte];
                }
                ASSERT_EQ(resultOf(color, reduction(channel, 7)), expected.bytes());
                const Pieces levels = gray(width, 3, static_cast<uint32_t>(width));
                ASSERT_EQ(resultOf(levels, reduction(channel, 7)),
                          withLevels(levels, [&](uint8_t v) { return table[v]; }).bytes());
            }
            for (const int bits : {4, 8})
                for (const uint32_t colors : {0u, 1u, 16u, 256u, 300u}) {
                    const Pieces image = paletted(7, 5, bits, colors);
                    ASSERT_EQ(resultOf(image, reduction(channel, 7)),
                              withEntries(image, onChannel(channel, table)).bytes());
                }
        }
    }
}

TEST_F(ColorReduction, Frame)
{
    expectFrame(reduction(0, 9));
    expectFrame(reduction(2, 9));
    const Handle image = trueColor(3, 3).handle();
    for (const int channel : {-1, 4, INT32_MIN})
        EXPECT_EQ(eventsOfRefusal(image, reduction(channel, 5)), Events{});
    for (const int levels : {-1, 0, 1, 129, INT32_MAX})
        EXPECT_EQ(eventsOfRefusal(image, reduction(0, levels)), Events{});
    EXPECT_EQ(eventsOfRefusal(image, [](void *dib) { return ProcessColorReduction(dib, nullptr); }),
              Events{});
}

class ColorTone : public ToneMaps {};

/// The strengths of blue, green and red at t = tone + 128.
std::vector<int> strengths(int t)
{
    const int up = 5 * t, down = -5 * t;
    switch (t * 6 / 256) {
    case 0:
        return {254, 254 + down, 0};
    case 1:
        return {254, 0, up - 210};
    case 2:
        return {679 + down, 0, 254};
    case 3:
        return {0, up - 640, 254};
    case 4:
        return {0, 254, 1104 + down};
    }
    return {up - 1065, 254, 0};
}

std::function<void(uint8_t *)> toned(int tone)
{
    return [=, abc = strengths(tone + 128)](uint8_t *pixel) {
        const int level =
            (76 * pixel[2] + 127) / 255 + (150 * pixel[1] + 127) / 255 + (29 * pixel[0] + 127) / 255;
        for (std::size_t i = 0; i < 3; ++i)
            pixel[i] = static_cast<uint8_t>(level + ((255 - level) * level * abc[i] / 255) / 255);
    };
}

TEST_F(ColorTone, ByHand)
{
    // t = 0: blue 254, green 254, red 0. Level 100: (155 * 100 * 254 / 255) / 255 = 15439 / 255 = 60.
    Bytes result = resultOf(pixelRow({100, 100, 100}), colorTone(-128));
    EXPECT_EQ(Bytes(result.begin() + 40, result.end()), (Bytes{160, 160, 100, 0}));
    // t = 128: sector 3, blue 0, green 0, red 254.
    result = resultOf(pixelRow({100, 100, 100}), colorTone(0));
    EXPECT_EQ(Bytes(result.begin() + 40, result.end()), (Bytes{100, 100, 160, 0}));
    // t = 255: sector 5, blue 210, green 254, red 0. 15500 * 210 / 255 = 12764, / 255 = 50.
    result = resultOf(pixelRow({100, 100, 100}), colorTone(127));
    EXPECT_EQ(Bytes(result.begin() + 40, result.end()), (Bytes{150, 160, 100, 0}));
    // Pure red 255 has level 76: (179 * 76 * 254 / 255) / 255 = 13550 / 255 = 53.
    result = resultOf(pixelRow({0, 0, 255}), colorTone(0));
    EXPECT_EQ(Bytes(result.begin() + 40, result.end()), (Bytes{76, 76, 129, 0}));
}

TEST_F(ColorTone, BlackAndWhiteStay)
{
    for (int tone = -128; tone <= 127; ++tone) {
        const Bytes result = resultOf(pixelRow({0, 0, 0, 255, 255, 255}), colorTone(tone));
        ASSERT_EQ(Bytes(result.begin() + 40, result.end()), (Bytes{0, 0, 0, 255, 255, 255, 0, 0}));
    }
}

TEST_F(ColorTone, EveryToneAndLevel)
{
    Bytes pixels;
    for (int i = 0; i < 256; ++i)
        pixels.insert(pixels.end(), 3, static_cast<uint8_t>(i));
    for (int tone = -128; tone <= 127; ++tone) {
        const Pieces image = pixelRow(pixels);
        ASSERT_EQ(resultOf(image, colorTone(tone)), withPixels(image, toned(tone)).bytes()) << tone;
    }
}

TEST_F(ColorTone, EveryWidthAndLevel)
{
    for (const CpuLevel level : cpuLevels()) {
        limitCpuLevel(level);
        for (int width = 1; width <= 67; ++width) {
            const Pieces image = trueColor(width, 3, static_cast<uint32_t>(width));
            for (const int tone : {-100, -50, 0, 30, 70, 110})
                ASSERT_EQ(resultOf(image, colorTone(tone)), withPixels(image, toned(tone)).bytes()) << width;
        }
    }
}

TEST_F(ColorTone, OtherTonesAreHeldToTheRange)
{
    const Pieces image = trueColor(9, 3);
    EXPECT_EQ(resultOf(image, colorTone(128)), resultOf(image, colorTone(127)));
    EXPECT_EQ(resultOf(image, colorTone(INT32_MAX)), resultOf(image, colorTone(127)));
    EXPECT_EQ(resultOf(image, colorTone(INT32_MIN)), resultOf(image, colorTone(-128)));
}

TEST_F(ColorTone, SmallerDepthsGiveABlockOfZeros)
{
    for (const Pieces &image : {gray(5, 20), paletted(5, 20, 8, 9), paletted(5, 20, 4, 16)}) {
        EXPECT_EQ(resultOf(image, colorTone(5)), Bytes(image.bytes().size(), 0));
        EXPECT_EQ(eventsOf(image, colorTone(5)), (Events{"wait", "100%", "arrow"}));
        expectFailuresSurvived(image, colorTone(5));
    }
}

TEST_F(ColorTone, EventsWithoutADroppedPoll)
{
    for (const int height : {1, 16, 17, 40})
        EXPECT_EQ(eventsOf(trueColor(5, height), colorTone(5)), joined({{"wait"}, rowEvents(height), kEnd}));
    expectAborts(trueColor(5, 35), colorTone(5), 0);
    expectFailuresSurvived(trueColor(5, 35), colorTone(5));
    expectLiesRefused(colorTone(5));
    EXPECT_EQ(eventsOfRefusal(nullptr, colorTone(5)), Events{});
    EXPECT_EQ(eventsOfRefusal(paletted(3, 3, 1, 2).handle(), colorTone(5)), Events{});
    const Effect withoutRecord = [](void *dib) { return ProcessColorTone(dib, nullptr); };
    EXPECT_EQ(eventsOfRefusal(trueColor(3, 3).handle(), withoutRecord), Events{});
    memory_hooks::failAllocation(2);
    EXPECT_EQ(eventsOfRefusal(trueColor(3, 3).handle(), colorTone(5)), (Events{"wait", "arrow"}));
    memory_hooks::failAllocation(0);
}

TEST_F(ToneMaps, LongHeadersReachIntoThePadding)
{
    Pieces image = trueColor(1, 3);
    image.header.biSize = 40 + 8;
    image.rows = {10, 20, 30, 0xAB, 40, 50, 60, 0xCD, 70, 80, 90, 0xEF};
    Pieces expected = image;
    expected.rows.back() = 0;
    EXPECT_EQ(resultOf(image, colorMap(1, ramp())), expected.bytes());
    EXPECT_EQ(resultOf(image, adjustment(0, 0, 0)), expected.bytes());
}

TEST_F(ToneMaps, ByCode)
{
    const Pieces image = trueColor(9, 3);
    const auto byCode = [](unsigned code, auto &record) {
        return [code, &record](void *dib) {
            return EnhanceAndEffects(dib, code, reinterpret_cast<long>(&record));
        };
    };
    tagParamColorMap map{2, {}};
    const Bytes table = noise(256, 4);
    std::copy_n(table.begin(), 256, map.table);
    tagParamColorReduction reduce{1, 5};
    tagParamToneAdjust adjust{1, 2, 3, 0};
    tagParamColorTone tone{50};
    EXPECT_EQ(resultOf(image, byCode(3, map)), resultOf(image, colorMap(2, table)));
    EXPECT_EQ(resultOf(image, byCode(4, reduce)), resultOf(image, reduction(1, 5)));
    EXPECT_EQ(resultOf(image, byCode(67, adjust)), resultOf(image, adjustment(1, 2, 3, 0)));
    EXPECT_EQ(resultOf(image, byCode(4718, tone)), resultOf(image, colorTone(50)));
}

TEST_F(ToneMaps, LevelColorKernels)
{
#if defined(__x86_64__)
    if (cpuLevel() < CpuLevel::Avx512)
        GTEST_SKIP();
    LevelColors colors;
    const Bytes bytes = noise(768, 9);
    for (std::size_t i = 0; i < 256; ++i) {
        for (std::size_t channel = 0; channel < 3; ++channel)
            colors.share[channel][i] = static_cast<uint8_t>(bytes[256 * channel + i] / 3);
        colors.setColor(static_cast<int>(i), bytes[255 - i], bytes[511 - i], bytes[767 - i]);
    }
    for (std::size_t pixels = 0; pixels <= 200; ++pixels) {
        const Bytes from = noise(1 + 3 * pixels, static_cast<uint32_t>(pixels));
        Bytes expected(3 * pixels + 64, 0xEE), got = expected;
        kernels::levelColorPlain(expected.data(), from.data() + 1, pixels, colors);
        kernels::levelColorAvx512(got.data(), from.data() + 1, pixels, colors);
        ASSERT_EQ(got, expected) << pixels;
    }
#endif
}

class TableField : public ToneMaps {
protected:
    const catalogue::Effect &effect_ = *catalogue::findEffect("color-map");
    const catalogue::Field &field_ = *catalogue::findField(effect_, "table");
};

TEST_F(TableField, DefaultIsTheIdentity)
{
    catalogue::Record record = catalogue::defaultRecord(effect_);
    EXPECT_EQ(field_.type, catalogue::FieldType::Bytes);
    EXPECT_EQ(field_.bytes, 256u);
    const uint8_t *const table = field_.table(record.bytes.data());
    EXPECT_EQ(Bytes(table, table + 256), ramp());
    EXPECT_EQ(std::memcmp(&reinterpret_cast<tagParamColorMap *>(record.bytes.data())->table, table, 256), 0);
}

TEST_F(TableField, ANumberMovesTheRamp)
{
    catalogue::Record record;
    for (double moved = field_.minimum; moved <= field_.maximum; ++moved) {
        field_.store(record.bytes.data(), moved);
        EXPECT_EQ(field_.load(record.bytes.data()), moved);
        const uint8_t *const table = field_.table(record.bytes.data());
        for (int i = 0; i < 256; ++i)
            ASSERT_EQ(table[i], std::clamp(i + static_cast<int>(moved), 0, 255));
    }
    field_.store(record.bytes.data(), 1e300);
    EXPECT_EQ(field_.table(record.bytes.data())[0], 255);
    field_.store(record.bytes.data(), std::nan(""));
    EXPECT_EQ(field_.load(record.bytes.data()), 0);
}

TEST_F(TableField, NumbersHaveNoTable)
{
    for (const catalogue::Effect &effect : catalogue::effects())
        for (const catalogue::Field &field : effect.fields)
            EXPECT_EQ(field.table != nullptr, field.type == catalogue::FieldType::Bytes) << effect.name;
}

} // namespace

} // namespace velmont::testing
