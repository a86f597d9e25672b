// Contours, relief and sketches against plain loops and values worked out by hand.

#include "core/cpu.h"
#include "platform/memory.h"
#include "tests/effects/filter_testing.h"
#include <cstdlib>
#include <gtest/gtest.h>
#include <velmont/effects.h>
#include <velmont/filters.h>

namespace velmont::testing {

namespace {

Effect contour(int32_t channel, int32_t threshold, int32_t enable = 1)
{
    return [=](void *dib) {
        tagParamFindContour param{enable, channel, threshold};
        return ProcessFindContour(dib, &param);
    };
}

Effect emboss(int32_t direction, int32_t style, int32_t depth, uint32_t color = 0)
{
    return [=](void *dib) {
        tagParamEmboss param{direction, style, depth, color};
        return ProcessEmboss(dib, &param);
    };
}

Effect sketch(int32_t style, int32_t threshold)
{
    return [=](void *dib) {
        tagParamSketch param{style, threshold};
        return ProcessSketch(dib, &param);
    };
}

bool isInner(const Samples &image, int x, int y, int band)
{
    return x >= band && x < image.width - band && y >= band && y < image.height - band;
}

Bytes plainContour(const Pieces &image, int channel, int threshold)
{
    Samples source = samplesOf(image);
    return withSamples(image, mapped(source, [&](int x, int y, int byte) {
                           const bool takesPart = source.channels == 1 || channel == 0 || byte == 3 - channel;
                           if (!isInner(source, x, y, 1) || !takesPart || source.of(x, y, byte) <= threshold)
                               return 0;
                           const bool isRim = source.of(x - 1, y, byte) <= threshold ||
                                              source.of(x + 1, y, byte) <= threshold ||
                                              source.of(x, y - 1, byte) <= threshold ||
                                              source.of(x, y + 1, byte) <= threshold;
                           return isRim ? 255 : 0;
                       }));
}

Bytes plainEmboss(const Pieces &image, int direction, int style, int depth, uint32_t color)
{
    Samples source = samplesOf(image);
    if (depth >= source.width / 2)
        depth = source.width / 2;
    if (depth >= source.height / 2)
        depth = source.height / 2;
    const int dx = direction == 1 || direction == 8 ? -1 : direction == 2 || direction == 7 ? 0 : 1;
    const int dy = direction == 4 || direction == 5 ? 0 : 1;
    const bool isGroupA = direction == 4 || direction >= 6;
    return withSamples(image, mapped(source, [&](int x, int y, int byte) {
                           const int shift = source.channels == 1 ? 0 : 16 - 8 * byte;
                           const int ground = style == 1   ? source.of(x, y, byte)
                                              : style == 4 ? static_cast<int>(color >> shift & 255)
                                                           : 128;
                           if (!isInner(source, x, y, depth))
                               return ground;
                           const auto difference = [&](int channel) {
                               const int m = source.of(x, y, channel);
                               const int n = source.of(x + dx * depth, y + dy * depth, channel);
                               const int p = source.of(x - dx * depth, y - dy * depth, channel);
                               const int value = style == 1 ? n - p : n - m;
                               return isGroupA ? value : -value;
                           };
                           int step = difference(byte);
                           if (source.channels == 3 && (style == 1 || style == 3))
                               step = (difference(0) + difference(1) + difference(2)) / 3;
                           return std::clamp(ground + step, 0, 255);
                       }));
}

Bytes plainSketch(const Pieces &image, int style, int threshold)
{
    Samples source = samplesOf(image);
    const int border = style == 1 ? 0 : 255;
    const Samples totals = mapped(source, [&](int x, int y, int byte) {
        const auto at = [&](int column, int row) { return source.of(x + column, y + row, byte); };
        const int gy = at(-1, 1) + 2 * at(0, 1) + at(1, 1) - at(-1, -1) - 2 * at(0, -1) - at(1, -1);
        const int gx = 2 * at(1, 0) - 2 * at(-1, 0) + at(1, -1) + at(1, 1) - at(-1, -1) - at(-1, 1);
        return std::abs(gx) + std::min(255, std::abs(gy));
    });
    Samples each = totals;
    return withSamples(image, mapped(source, [&](int x, int y, int byte) {
                           if (!isInner(source, x, y, 1))
                               return border;
                           const int total = each.of(x, y, byte);
                           if (source.channels == 3 && style == 2) {
                               int sum = 0;
                               for (int channel = 0; channel < 3; ++channel)
                                   sum += std::min(255, each.of(x, y, channel));
                               return sum / 3 >= threshold ? 255 - sum / 3 : 255;
                           }
                           if (total < threshold)
                               return border;
                           if (total >= 255)
                               return 255 - border;
                           return style == 1 ? total : 255 - total;
                       }));
}

/// Noise with few steep places, so that sums stay within a byte too.
Pieces gentle(Pieces image)
{
    for (uint8_t &level : image.rows)
        level = static_cast<uint8_t>(90 + level % 40);
    return image;
}

/// The inner rows of a pass that makes up `span` percent.
Events innerEvents(int height, int band, int span, int from)
{
    Events events;
    for (int y = band; y < height - band; ++y) {
        events.push_back("poll");
        if (y % 16 == 0)
            events.push_back(std::to_string(y * span / height + from) + "%");
    }
    return events;
}

const Events kStart{"wait", "poll"}, kEnd{"100%", "arrow"};

void expectSmallOnesRefused(const Effect &effect)
{
    for (const auto &[width, height] : {std::pair{3, 100}, {100, 3}, {1, 1}, {3, 3}})
        for (const Pieces &image : {trueColor(width, height), gray(width, height)})
            EXPECT_EQ(eventsOfRefusal(image.handle(), effect), Events{});
    for (const Pieces &image : {trueColor(4, 4), gray(4, 4)})
        EXPECT_FALSE(resultOf(image, effect).empty());
}

// ---- ProcessFindContour

TEST(FindContourTest, RimOfASquare)
{
    Pieces image = flat(gray(8, 8), 0);
    for (std::size_t y = 2; y <= 5; ++y)
        for (std::size_t x = 2; x <= 5; ++x)
            image.rows[8 * y + x] = 200;
    Bytes rim = image.rows;
    for (uint8_t &level : rim)
        level = level != 0 ? 255 : 0;
    for (const std::size_t inside : {27U, 28U, 35U, 36U})
        rim[inside] = 0;
    EXPECT_EQ(levelsOf(image, contour(0, 128)), rim);
    EXPECT_EQ(levelsOf(image, contour(0, 199)), rim);
    EXPECT_EQ(levelsOf(image, contour(3, 128)), rim) << "gray has but one channel";
    EXPECT_EQ(levelsOf(image, contour(0, 200)), Bytes(64, 0));
}

TEST(FindContourTest, AgreesWithThePlainLoop)
{
    const Restore restore;
    for (const CpuLevel level : cpuLevels()) {
        limitCpuLevel(level);
        for (int width = 4; width <= 40; ++width)
            for (int height = 4; height <= 18; ++height)
                for (int channel = 0; channel <= 3; ++channel) {
                    const int threshold = 1 + (width * 31 + height * 7 + channel) % 254;
                    for (const Pieces &image : {trueColor(width, height), gray(width, height)})
                        ASSERT_EQ(resultOf(image, contour(channel, threshold)),
                                  plainContour(image, channel, threshold))
                            << width << " x " << height << ", " << channel << ", " << threshold;
                }
    }
}

TEST(FindContourTest, FlatImagesAreBlack)
{
    for (const int threshold : {1, 128, 254})
        for (const int level : {0, 1, 128, 255}) {
            const Pieces image = flat(trueColor(9, 6), static_cast<uint8_t>(level));
            EXPECT_EQ(resultOf(image, contour(0, threshold)), flat(image, 0).bytes());
        }
}

TEST(FindContourTest, Refusals)
{
    const Handle source = trueColor(9, 6).handle();
    const long locksBefore = memory_hooks::counts().locks;
    for (const int32_t bad : {INT32_MIN, -1, 4, INT32_MAX})
        EXPECT_EQ(eventsOfRefusal(source, contour(bad, 100)), Events{});
    for (const int32_t bad : {INT32_MIN, -1, 0, 255, INT32_MAX})
        EXPECT_EQ(eventsOfRefusal(source, contour(0, bad)), Events{});
    EXPECT_EQ(eventsOfRefusal(source, contour(0, 100, 0)), Events{});
    EXPECT_EQ(ProcessFindContour(source, nullptr), nullptr);
    EXPECT_EQ(memory_hooks::counts().locks, locksBefore);
    EXPECT_EQ(resultOf(trueColor(9, 6), contour(0, 100, INT32_MIN)),
              resultOf(trueColor(9, 6), contour(0, 100)));
    expectSmallOnesRefused(contour(0, 100));
}

TEST(FindContourTest, KeepsTheCommonRules)
{
    expectFilterRules(contour(0, 100));
    expectFilterRules(contour(2, 100));
    expectScratchIsLikeTheResult(contour(1, 100));
    for (const int height : {4, 16, 17, 18, 40})
        EXPECT_EQ(eventsOf(gray(5, height), contour(0, 100)),
                  joined({kStart, innerEvents(height, 1, 100, 0), kEnd}));
}

// ---- ProcessEmboss

TEST(EmbossTest, ValuesByHand)
{
    Pieces image = flat(gray(3, 3), 10);
    image.rows = {1, 2, 3, 0, 4, 50, 6, 0, 70, 80, 99, 0};
    const auto middle = [&](int direction, int style) {
        return levelsOf(image, emboss(direction, style, 1, 0x00FFFF05))[5];
    };
    EXPECT_EQ(middle(4, 2), 128 + 6 - 50);
    EXPECT_EQ(middle(5, 2), 128 + 50 - 6);
    EXPECT_EQ(middle(6, 3), 128 + 99 - 50);
    EXPECT_EQ(middle(3, 3), 128 + 50 - 99);
    EXPECT_EQ(middle(7, 4), 5 + 80 - 50);
    EXPECT_EQ(middle(2, 4), 0);
    EXPECT_EQ(middle(8, 1), 50 + 70 - 3);
    EXPECT_EQ(middle(1, 1), 0);
    EXPECT_EQ(levelsOf(image, emboss(4, 4, 1, 0x00FFFF05)), (Bytes{5, 5, 5, 0, 5, 0, 5, 0, 5, 5, 5, 0}));
}

TEST(EmbossTest, MeansGoTowardZero)
{
    // Differences of -1, -1 and 0 to the right come to 0, those of -1, -2 and -2 to -1.
    Pieces image = flat(trueColor(3, 3), 10);
    const std::size_t right = 12 + 6;
    image.rows[right] = 9;
    image.rows[right + 1] = 9;
    EXPECT_EQ(resultOf(image, emboss(4, 3, 1))[40 + 12 + 3], 128);
    image.rows[right + 1] = 8;
    image.rows[right + 2] = 8;
    EXPECT_EQ(resultOf(image, emboss(4, 3, 1))[40 + 12 + 3], 127);
    EXPECT_EQ(resultOf(image, emboss(5, 3, 1))[40 + 12 + 3], 129);
    EXPECT_EQ(resultOf(image, emboss(4, 1, 1))[40 + 12 + 3], 9);
}

TEST(EmbossTest, AgreesWithThePlainLoop)
{
    const Restore restore;
    for (const CpuLevel level : cpuLevels()) {
        limitCpuLevel(level);
        for (int width = 1; width <= 40; ++width)
            for (int height = 1; height <= 18; ++height)
                for (int style = 1; style <= 4; ++style) {
                    const int direction = 1 + (width + height * 3 + style) % 8,
                              depth = 1 + (width * 3 + height) % 10;
                    for (const Pieces &image : {trueColor(width, height), gray(width, height)})
                        ASSERT_EQ(resultOf(image, emboss(direction, style, depth, 0xAB4020C8)),
                                  plainEmboss(image, direction, style, depth, 0xAB4020C8))
                            << width << " x " << height << ", " << direction << ", " << style << ", "
                            << depth;
                }
        for (int direction = 1; direction <= 8; ++direction)
            for (int style = 1; style <= 4; ++style)
                for (int depth = 1; depth <= 10; ++depth)
                    for (const Pieces &image : {trueColor(70, 25), gentle(gray(70, 25))})
                        ASSERT_EQ(resultOf(image, emboss(direction, style, depth, 0x123456)),
                                  plainEmboss(image, direction, style, depth, 0x123456));
    }
}

TEST(EmbossTest, FlatImages)
{
    for (int direction = 1; direction <= 8; ++direction)
        for (const Pieces &image : {flat(trueColor(12, 7), 77), flat(gray(12, 7), 77)}) {
            EXPECT_EQ(resultOf(image, emboss(direction, 1, 3)), image.bytes());
            EXPECT_EQ(resultOf(image, emboss(direction, 2, 3)), flat(image, 128).bytes());
            EXPECT_EQ(resultOf(image, emboss(direction, 3, 3)), flat(image, 128).bytes());
            EXPECT_EQ(resultOf(image, emboss(direction, 4, 3, 0x0A0A0A)), flat(image, 10).bytes());
        }
    EXPECT_EQ(resultOf(trueColor(1, 1), emboss(4, 4, 1, 0x00010203)),
              withPixels(trueColor(1, 1), [](uint8_t *pixel) {
                  pixel[0] = 1;
                  pixel[1] = 2;
                  pixel[2] = 3;
              }).bytes());
}

TEST(EmbossTest, DepthIsCut)
{
    const Pieces image = gray(15, 40);
    EXPECT_EQ(resultOf(image, emboss(6, 2, 10)), resultOf(image, emboss(6, 2, 7)));
    EXPECT_NE(resultOf(image, emboss(6, 2, 7)), resultOf(image, emboss(6, 2, 6)));
    EXPECT_FALSE(resultOf(gray(3, 100), emboss(6, 2, 10)).empty());
}

TEST(EmbossTest, Refusals)
{
    const Handle source = trueColor(9, 6).handle();
    const long locksBefore = memory_hooks::counts().locks;
    for (const int32_t bad : {INT32_MIN, -1, 0, 11, INT32_MAX}) {
        EXPECT_EQ(eventsOfRefusal(source, emboss(bad, 1, 1)), Events{});
        EXPECT_EQ(eventsOfRefusal(source, emboss(1, bad, 1)), Events{});
        EXPECT_EQ(eventsOfRefusal(source, emboss(1, 1, bad)), Events{});
    }
    EXPECT_EQ(eventsOfRefusal(source, emboss(9, 1, 1)), Events{});
    EXPECT_EQ(eventsOfRefusal(source, emboss(1, 5, 1)), Events{});
    EXPECT_EQ(ProcessEmboss(source, nullptr), nullptr);
    EXPECT_EQ(memory_hooks::counts().locks, locksBefore);
}

TEST(EmbossTest, KeepsTheCommonRules)
{
    for (int style = 1; style <= 4; ++style) {
        expectFilterRules(emboss(style, style, 2, 0x102030));
        expectScratchIsLikeTheResult(emboss(style, style, 2));
    }
    for (const int height : {40, 33, 17, 6}) {
        const Events band(3, "poll");
        EXPECT_EQ(eventsOf(gray(50, height), emboss(1, 2, 3)),
                  joined({kStart, band, innerEvents(height, 3, 100, 0), band, kEnd}));
    }
    // Nothing of the band reports: row 0 does without a band alone.
    EXPECT_EQ(eventsOf(gray(1, 2), emboss(1, 2, 3)), joined({kStart, {"poll", "0%", "poll"}, kEnd}));
    EXPECT_EQ(eventsOf(gray(9, 20), emboss(1, 2, 4)), joined({kStart, Events(20, "poll"), kEnd}))
        << "row 16 belongs to the band";
}

// ---- ProcessSketch

TEST(SketchTest, ValuesByHand)
{
    Pieces image = flat(gray(4, 4), 0);
    image.rows[4 * 1 + 2] = 30;
    // Around the spot: straight neighbours see twice its level across, diagonal ones once each way.
    EXPECT_EQ(levelsOf(image, sketch(1, 0)), (Bytes{0, 0, 0, 0, 0, 60, 0, 0, 0, 60, 60, 0, 0, 0, 0, 0}));
    EXPECT_EQ(levelsOf(image, sketch(1, 60)), levelsOf(image, sketch(1, 0)));
    EXPECT_EQ(levelsOf(image, sketch(1, 61)), Bytes(16, 0));
    EXPECT_EQ(levelsOf(image, sketch(2, 60))[5], 195);
    EXPECT_EQ(levelsOf(image, sketch(2, 61)), Bytes(16, 255));
}

TEST(SketchTest, AgreesWithThePlainLoop)
{
    const Restore restore;
    for (const CpuLevel level : cpuLevels()) {
        limitCpuLevel(level);
        for (int width = 4; width <= 40; ++width)
            for (int height = 4; height <= 18; ++height)
                for (const int style : {1, 2}) {
                    const int threshold = width % 5 == 0 ? 254 : (width * 11 + height * 5) % 255;
                    for (const Pieces &image :
                         {trueColor(width, height), gray(width, height), gentle(trueColor(width, height)),
                          gentle(gray(width, height))})
                        ASSERT_EQ(resultOf(image, sketch(style, threshold)),
                                  plainSketch(image, style, threshold))
                            << width << " x " << height << ", " << style << ", " << threshold;
                }
    }
}

TEST(SketchTest, FlatImages)
{
    for (const int threshold : {0, 1, 254})
        for (const Pieces &image : {flat(trueColor(9, 6), 77), flat(gray(9, 6), 77)}) {
            EXPECT_EQ(resultOf(image, sketch(1, threshold)), flat(image, 0).bytes());
            const Pieces white = flat(image, 255);
            Samples samples = samplesOf(white);
            EXPECT_EQ(resultOf(image, sketch(2, threshold)), withSamples(white, samples));
        }
}

TEST(SketchTest, Refusals)
{
    const Handle source = trueColor(9, 6).handle();
    const long locksBefore = memory_hooks::counts().locks;
    for (const int32_t bad : {INT32_MIN, -1, 0, 3, INT32_MAX})
        EXPECT_EQ(eventsOfRefusal(source, sketch(bad, 100)), Events{});
    for (const int32_t bad : {INT32_MIN, -1, 255, INT32_MAX})
        EXPECT_EQ(eventsOfRefusal(source, sketch(1, bad)), Events{});
    EXPECT_EQ(ProcessSketch(source, nullptr), nullptr);
    EXPECT_EQ(memory_hooks::counts().locks, locksBefore);
    expectSmallOnesRefused(sketch(1, 100));
    expectSmallOnesRefused(sketch(2, 0));
}

TEST(SketchTest, KeepsTheCommonRules)
{
    expectFilterRules(sketch(1, 30));
    expectFilterRules(sketch(2, 30));
    for (const int height : {4, 5, 16, 17, 18, 40})
        for (const int style : {1, 2})
            EXPECT_EQ(eventsOf(trueColor(5, height), sketch(style, 30)),
                      joined({kStart, innerEvents(height, 1, 50, 0), innerEvents(height, 1, 50, 50), kEnd}));
}

TEST(ReliefCodes, ReachTheirEffects)
{
    const Pieces image = trueColor(9, 8);
    const auto byCode = [&](unsigned code, auto param) {
        return resultOf(
            image, [&](void *dib) { return EnhanceAndEffects(dib, code, reinterpret_cast<long>(&param)); });
    };
    EXPECT_EQ(byCode(22, tagParamFindContour{1, 1, 90}), plainContour(image, 1, 90));
    EXPECT_EQ(byCode(32, tagParamSketch{2, 20}), plainSketch(image, 2, 20));
    EXPECT_EQ(byCode(54, tagParamEmboss{3, 1, 2, 0}), plainEmboss(image, 3, 1, 2, 0));
}

} // namespace

} // namespace velmont::testing
