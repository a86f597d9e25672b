// Mosaic and oil paint.

#include "platform/memory.h"
#include "tests/effects/tone_testing.h"
#include <algorithm>
#include <array>
#include <gtest/gtest.h>
#include <velmont/effects.h>
#include <velmont/filters.h>

namespace velmont::testing {

namespace {

Effect mosaic(int cellWidth, int cellHeight)
{
    return [=](void *dib) {
        tagParamMosaic record{cellWidth, cellHeight};
        return ProcessMosaic(dib, &record);
    };
}

/// The gray image with these rows, each of the same length.
Pieces levels(const std::vector<Bytes> &rows)
{
    const int width = static_cast<int>(rows[0].size()), height = static_cast<int>(rows.size());
    Pieces image{makeHeader(width, height, 8, 256), grayRamp(), {}};
    for (Bytes row : rows) {
        row.resize(strideFor(width, 8));
        image.rows.insert(image.rows.end(), row.begin(), row.end());
    }
    return image;
}

/// The image with sampleAt(x, y, channel) as its samples and zero padding.
template <typename SampleAt>
Bytes painted(const Pieces &source, SampleAt sampleAt)
{
    Pieces image = source;
    std::fill(image.rows.begin(), image.rows.end(), uint8_t{0});
    const int channels = source.header.biBitCount / 8;
    const std::size_t stride = strideFor(source.header.biWidth, source.header.biBitCount);
    for (int y = 0; y < source.header.biHeight; ++y)
        for (int x = 0; x < source.header.biWidth; ++x)
            for (int channel = 0; channel < channels; ++channel)
                image.rows[static_cast<std::size_t>(y) * stride +
                           static_cast<std::size_t>(x * channels + channel)] =
                    static_cast<uint8_t>(sampleAt(x, y, channel));
    return image.bytes();
}

int sampleOf(const Pieces &source, int x, int y, int channel)
{
    const std::size_t stride = strideFor(source.header.biWidth, source.header.biBitCount);
    return source.rows[static_cast<std::size_t>(y) * stride +
                       static_cast<std::size_t>(x * (source.header.biBitCount / 8) + channel)];
}

/// The mosaic, pixel by pixel.
Bytes tiled(const Pieces &source, int cellWidth, int cellHeight)
{
    const int width = source.header.biWidth, height = source.header.biHeight;
    return painted(source, [&](int x, int y, int channel) {
        int64_t sum = 0, count = 0;
        for (int row = 0; row < height; ++row)
            for (int column = 0; column < width; ++column)
                if (row / cellHeight == y / cellHeight && column / cellWidth == x / cellWidth) {
                    sum += sampleOf(source, column, row, channel);
                    ++count;
                }
        return sum / count;
    });
}

Effect oilPaint(int radius)
{
    return [=](void *dib) { return ProcessOilPaint(dib, radius); };
}

/// Oil paint, window by window.
Bytes brushed(const Pieces &source, int radius)
{
    const int size = 2 * std::min(std::max(radius, 1), 100) + 1;
    const auto nearest = [](int64_t place, int count) {
        return static_cast<int>(place < 0 ? 0 : place >= count ? count - 1 : place);
    };
    return painted(source, [&](int x, int y, int channel) {
        std::array<int, 32> bins{};
        for (int row = 0; row < size; ++row)
            for (int column = 0; column < size; ++column)
                ++bins[static_cast<std::size_t>(
                    sampleOf(source, nearest(int64_t{x} - radius + column, source.header.biWidth),
                             nearest(int64_t{y} - radius + row, source.header.biHeight), channel) /
                    8)];
        return 8 * (std::max_element(bins.begin(), bins.end()) - bins.begin()); // the first of equal ones
    });
}

class Mosaic : public ::testing::Test {
protected:
    NothingLost check_;
    Restore restore_;
};

TEST_F(Mosaic, Refusals)
{
    const Handle image = gray(5, 4).handle();
    for (const int bad : {0, -1, INT32_MIN}) {
        EXPECT_EQ(eventsOfRefusal(image, mosaic(bad, 5)), Events{}) << bad;
        EXPECT_EQ(eventsOfRefusal(image, mosaic(5, bad)), Events{}) << bad;
        EXPECT_EQ(eventsOfRefusal(nullptr, mosaic(bad, bad)), Events{}) << bad;
    }
    EXPECT_EQ(eventsOfRefusal(nullptr, mosaic(4, 4)), Events{});
    EXPECT_EQ(eventsOfRefusal(image, [](void *dib) { return ProcessMosaic(dib, nullptr); }), Events{});
    EXPECT_EQ(EnhanceAndEffects(image, 52, 0), nullptr);
    for (const Pieces &other : {paletted(5, 4, 8, 256), paletted(5, 4, 8, 9), paletted(5, 4, 4, 16),
                                paletted(5, 4, 1, 2), paletted(5, 4, 16, 0), paletted(5, 4, 32, 0)})
        EXPECT_EQ(eventsOfRefusal(other.handle(), mosaic(4, 4)), Events{});
    expectLiesRefused(mosaic(4, 4));
}

TEST_F(Mosaic, ByHand)
{
    const Pieces image = levels({{1, 2, 30, 40, 9}, {4, 50, 6, 7, 10}, {70, 8, 9, 255, 0}});
    // (1 + 2 + 4 + 50) / 4 is 14, (30 + 40 + 6 + 7) / 4 is 20: rounded down. The last tiles are smaller.
    EXPECT_EQ(resultOf(image, mosaic(2, 2)),
              levels({{14, 14, 20, 20, 9}, {14, 14, 20, 20, 9}, {39, 39, 132, 132, 0}}).bytes());
    EXPECT_EQ(resultOf(image, mosaic(5, 1)), levels({Bytes(5, 16), Bytes(5, 15), Bytes(5, 68)}).bytes());
    // Colours keep to their channels.
    EXPECT_EQ(resultOf(pixelRow({1, 10, 100, 4, 21, 255, 7, 8, 9}), mosaic(2, 1)),
              pixelRow({2, 15, 177, 2, 15, 177, 7, 8, 9}).bytes());
}

TEST_F(Mosaic, TheLastTileOfARowIsSmaller)
{
    // 11 / 4, 101 / 4 and 15 / 2, rounded down.
    EXPECT_EQ(resultOf(levels({{1, 2, 3, 5, 10, 20, 30, 41, 7, 8}}), mosaic(4, 1)),
              levels({{2, 2, 2, 2, 25, 25, 25, 25, 7, 7}}).bytes());
}

TEST_F(Mosaic, TilesOfOnePixelAreTheImage)
{
    for (const Pieces &image : {gray(37, 19), trueColor(37, 19)})
        EXPECT_EQ(resultOf(image, mosaic(1, 1)), tiled(image, 1, 1));
    const Pieces image = pixelRow({1, 2, 3, 4, 5, 6});
    EXPECT_EQ(resultOf(image, mosaic(1, 1)), image.bytes());
}

TEST_F(Mosaic, TilesAreCutToTheImage)
{
    for (const Pieces &image : {gray(13, 9), trueColor(13, 9)}) {
        const Bytes flat = tiled(image, 13, 9);
        for (const int large : {13, 14, 1000, INT32_MAX})
            EXPECT_EQ(resultOf(image, mosaic(large, large)), flat) << large;
        EXPECT_EQ(resultOf(image, mosaic(INT32_MAX, 4)), tiled(image, 13, 4));
        EXPECT_EQ(resultOf(image, mosaic(4, INT32_MAX)), tiled(image, 4, 9));
    }
}

TEST_F(Mosaic, EveryMeasureAsThePlainLoop)
{
    for (int width = 1; width <= 40; ++width)
        for (int height = 1; height <= 18; ++height)
            for (const Pieces &image : {gray(width, height), trueColor(width, height)}) {
                const int cellWidth = (width * 7 + height) % 11 + 1,
                          cellHeight = (height * 5 + width) % 7 + 1;
                ASSERT_EQ(resultOf(image, mosaic(cellWidth, cellHeight)), tiled(image, cellWidth, cellHeight))
                    << width << " x " << height << ", " << cellWidth << " x " << cellHeight;
            }
}

TEST_F(Mosaic, SumsOfAnySize)
{
    // White keeps its level only where no sum is cut: beyond 16 bits, and tall tiles in several bands.
    for (const auto &[width, height] : {std::pair{5000, 3}, {3, 5000}, {1100, 600}, {3100, 258}})
        for (Pieces image : {gray(width, height), trueColor(width, height)}) {
            std::fill(image.rows.begin(), image.rows.end(), uint8_t{255});
            const Bytes white = painted(image, [](int, int, int) { return 255; });
            for (const auto &[cellWidth, cellHeight] :
                 {std::pair{width, height}, {1024, 257}, {1025, 258}, {7, 515}})
                EXPECT_TRUE(resultOf(image, mosaic(cellWidth, cellHeight)) == white)
                    << width << " x " << height << ", " << cellWidth << " x " << cellHeight;
        }
    // The mean over bands and strips of noise.
    const Pieces image = gray(3200, 700);
    int64_t sum = 0;
    for (int y = 0; y < 700; ++y)
        for (int x = 0; x < 3200; ++x)
            sum += sampleOf(image, x, y, 0);
    EXPECT_TRUE(resultOf(image, mosaic(3200, 700)) ==
                painted(image, [&](int, int, int) { return sum / (3200 * 700); }));
}

/// A poll at each row of tiles, and its report where it starts on a sixteenth row.
Events tileEvents(int height, int cellHeight)
{
    Events events{"wait", "poll"};
    for (int y = 0; y < height; y += cellHeight) {
        events.push_back("poll");
        if (y % 16 == 0)
            events.push_back(std::to_string(y * 100 / height) + "%");
    }
    return joined({events, {"100%", "arrow"}});
}

TEST_F(Mosaic, Events)
{
    for (const Pieces &image : {gray(9, 100), trueColor(9, 100)}) {
        for (const int cellHeight : {1, 2, 3, 5, 12, 16, 24, 32, 99, 100})
            EXPECT_EQ(eventsOf(image, mosaic(4, cellHeight)), tileEvents(100, cellHeight)) << cellHeight;
        EXPECT_EQ(eventsOf(image, mosaic(4, 12)),
                  (Events{"wait", "poll", "poll", "0%", "poll", "poll", "poll", "poll", "48%", "poll", "poll",
                          "poll", "poll", "96%", "100%", "arrow"}));
        EXPECT_EQ(eventsOf(image, mosaic(4, INT32_MAX)), tileEvents(100, 100));
    }
}

TEST_F(Mosaic, AbortsAndFailures)
{
    for (const Pieces &image : {gray(19, 18), trueColor(19, 18)})
        for (const int cellHeight : {1, 5, 18}) {
            expectAborts(image, mosaic(6, cellHeight), 1);
            expectFailuresSurvived(image, mosaic(6, cellHeight));
        }
    const Handle image = gray(19, 18).handle();
    memory_hooks::failAllocation(1);
    EXPECT_EQ(eventsOfRefusal(image, mosaic(4, 4)), (Events{"wait", "arrow"}));
}

TEST_F(Mosaic, ByCode)
{
    const Pieces image = trueColor(13, 9);
    EXPECT_EQ(resultOf(image,
                       [](void *dib) {
                           tagParamMosaic record{6, 5};
                           return EnhanceAndEffects(dib, 52, reinterpret_cast<long>(&record));
                       }),
              tiled(image, 6, 5));
}

class OilPaint : public ::testing::Test {
protected:
    NothingLost check_;
    Restore restore_;
};

TEST_F(OilPaint, Refusals)
{
    EXPECT_EQ(eventsOfRefusal(nullptr, oilPaint(4)), Events{});
    for (const Pieces &other : {paletted(5, 4, 8, 256), paletted(5, 4, 8, 9), paletted(5, 4, 4, 16),
                                paletted(5, 4, 1, 2), paletted(5, 4, 16, 0), paletted(5, 4, 32, 0)})
        for (const int radius : {4, 0, -1, INT32_MIN, INT32_MAX})
            EXPECT_EQ(eventsOfRefusal(other.handle(), oilPaint(radius)), Events{});
    expectLiesRefused(oilPaint(4));
    const Handle image = gray(5, 4).handle();
    EXPECT_EQ(EnhanceAndEffects(image, 40, 0), nullptr);
}

TEST_F(OilPaint, ByHand)
{
    // Windows of three rows that are alike: the fullest bin of three columns, the edge counted twice.
    const Bytes row{0, 7, 8, 100, 103, 255, 250, 9};
    EXPECT_EQ(resultOf(levels({row, row, row}), oilPaint(1)),
              levels(std::vector<Bytes>(3, Bytes{0, 0, 0, 96, 96, 248, 248, 8})).bytes());
    // The window of radius 0 starts at its pixel, and looks at the rows behind it.
    EXPECT_EQ(resultOf(levels({{0, 8, 8, 16, 24}}), oilPaint(0)), levels({{8, 8, 8, 24, 24}}).bytes());
    EXPECT_EQ(resultOf(levels({{0}, {8}, {8}, {16}, {24}}), oilPaint(0)),
              levels({{8}, {8}, {8}, {24}, {24}}).bytes());
    // That of radius -1 starts behind it, and one far away sees an edge alone.
    EXPECT_EQ(resultOf(levels({{0, 8, 8, 16, 24}}), oilPaint(-1)), levels({{8, 8, 24, 24, 24}}).bytes());
    EXPECT_EQ(resultOf(levels({{17, 8, 99}}), oilPaint(INT32_MAX)), levels({{16, 16, 16}}).bytes());
    EXPECT_EQ(resultOf(levels({{17, 8, 99}}), oilPaint(INT32_MIN)), levels({{96, 96, 96}}).bytes());
    // Channels are counted apart.
    EXPECT_EQ(resultOf(pixelRow({80, 1, 255, 81, 2, 9, 3, 90, 254}), oilPaint(1)),
              pixelRow({80, 0, 248, 80, 0, 248, 0, 88, 248}).bytes());
}

TEST_F(OilPaint, FlatImages)
{
    for (Pieces image : {gray(11, 9), trueColor(11, 9)})
        for (const int level : {0, 7, 8, 100, 248, 255}) {
            std::fill(image.rows.begin(), image.rows.end(), static_cast<uint8_t>(level));
            const Bytes expected = painted(image, [&](int, int, int) { return level / 8 * 8; });
            for (const CpuLevel cpu : cpuLevels()) {
                limitCpuLevel(cpu);
                for (const int radius : {INT32_MIN, -5, 0, 1, 4, 7, 8, 30, 100, 101, 150, INT32_MAX})
                    EXPECT_EQ(resultOf(image, oilPaint(radius)), expected) << level << ", " << radius;
            }
        }
}

TEST_F(OilPaint, OfEqualBinsTheDarker)
{
    for (int dark = 0; dark < 31; ++dark)
        for (int light = dark + 1; light < 32; ++light) {
            const auto low = static_cast<uint8_t>(8 * dark), high = static_cast<uint8_t>(8 * light + 7);
            // The window in the middle has as many columns of both levels, and one of a third.
            for (const int radius : {4, 10}) {
                const auto side = static_cast<std::size_t>(radius);
                Bytes row(side, high);
                row.push_back(static_cast<uint8_t>(8 * ((light + 1) % 32)));
                if (row.back() / 8 == dark)
                    continue; // no third level
                row.insert(row.end(), side, low);
                const Pieces image = levels({row});
                for (const CpuLevel cpu : cpuLevels()) {
                    limitCpuLevel(cpu);
                    EXPECT_EQ(resultOf(image, oilPaint(radius))[1064 + side], low / 8 * 8)
                        << dark << ", " << light << ", " << radius;
                }
            }
        }
}

TEST_F(OilPaint, FullBinsBesideBrighterOnes)
{
    // Of the 289 samples around the middle 256 and more lie in one bin: more than a byte counts.
    for (const int bright : {17, 25, 33})
        for (const int channels : {1, 3}) {
            Pieces image = channels == 1 ? gray(17, 17) : trueColor(17, 17);
            std::fill(image.rows.begin(), image.rows.end(), uint8_t{10});
            const std::size_t stride = strideFor(17, 8 * channels);
            for (int i = 0; i < bright; ++i)
                for (int channel = 0; channel < channels; ++channel)
                    image.rows[static_cast<std::size_t>(i / 17) * stride +
                               static_cast<std::size_t>(i % 17 * channels + channel)] = 200;
            const Bytes expected = brushed(image, 8);
            for (const CpuLevel cpu : cpuLevels()) {
                limitCpuLevel(cpu);
                const Bytes result = resultOf(image, oilPaint(8));
                EXPECT_EQ(result, expected) << bright;
                EXPECT_EQ(result[image.bytes().size() - image.rows.size() + 8 * stride +
                                 static_cast<std::size_t>(8 * channels)],
                          8)
                    << bright;
            }
        }
}

TEST_F(OilPaint, EveryMeasureAsThePlainLoop)
{
    int next = 0;
    constexpr std::array kRadii{1, 2, 3, 4, 7, 8, 0, -2, 5};
    for (int width = 1; width <= 40; ++width)
        for (int height = 1; height <= 18; ++height) {
            const int radius = kRadii[static_cast<std::size_t>(next++) % kRadii.size()];
            for (const Pieces &image : {gray(width, height), trueColor(width, height)}) {
                if (image.header.biBitCount == 24 && (width + height) % 3 != 0)
                    continue;
                const Bytes expected = brushed(image, radius);
                for (const CpuLevel cpu : cpuLevels()) {
                    limitCpuLevel(cpu);
                    ASSERT_EQ(resultOf(image, oilPaint(radius)), expected)
                        << width << " x " << height << ", radius " << radius;
                }
            }
        }
}

TEST_F(OilPaint, EveryPlaceOfTheWindow)
{
    for (const Pieces &image : {gray(21, 11), trueColor(9, 5)})
        for (const int radius : {INT32_MIN, INT32_MIN + 1,
                                 -300,      -30,
                                 -12,       -3,
                                 -1,        0,
                                 1,         6,
                                 9,         14,
                                 40,        90,
                                 100,       101,
                                 105,       115,
                                 150,       220,
                                 300,       INT32_MAX - 1,
                                 INT32_MAX}) {
            const Bytes expected = brushed(image, radius);
            for (const CpuLevel cpu : cpuLevels()) {
                limitCpuLevel(cpu);
                EXPECT_EQ(resultOf(image, oilPaint(radius)), expected) << radius;
            }
        }
}

TEST_F(OilPaint, Events)
{
    for (const Pieces &image : {gray(9, 35), trueColor(9, 35)})
        EXPECT_EQ(eventsOf(image, oilPaint(3)), joined({{"wait", "poll"}, rowEvents(35), {"100%", "arrow"}}));
}

TEST_F(OilPaint, AbortsAndFailures)
{
    for (const Pieces &image : {gray(19, 18), trueColor(19, 18)})
        for (const int radius : {2, 9}) {
            expectAborts(image, oilPaint(radius), 1);
            expectFailuresSurvived(image, oilPaint(radius));
        }
    const Handle image = gray(19, 18).handle();
    for (const int allocation : {1, 2}) {
        memory_hooks::failAllocation(allocation);
        EXPECT_EQ(eventsOfRefusal(image, oilPaint(4)), (Events{"wait", "arrow"})) << allocation;
    }
}

TEST_F(OilPaint, ByCode)
{
    const Pieces image = trueColor(13, 9);
    EXPECT_EQ(resultOf(image,
                       [](void *dib) {
                           int32_t radius = 2;
                           return EnhanceAndEffects(dib, 40, reinterpret_cast<long>(&radius));
                       }),
              brushed(image, 2));
}

} // namespace

} // namespace velmont::testing
