// Resampling through the cubic filter.

#include "geometry/tap_table.h"
#include "platform/memory.h"
#include "tests/effects/geometry_testing.h"
#include <algorithm>
#include <cmath>
#include <cstring>
#include <gtest/gtest.h>
#include <velmont/geometry.h>

namespace velmont::testing {

namespace {

Effect filtered(int width, int height, int alignCorners = 0, int showCursor = 0)
{
    return
        [=](void *dib) { return ProcessResampleHighQuality(dib, width, height, alignCorners, showCursor); };
}

struct Weighted {
    int source, weight;
};

double kernel(double x)
{
    const double a = std::abs(x);
    return a < 1   ? (21 * a * a * a - 36 * a * a + 16) / 18
           : a < 2 ? (-7 * a * a * a + 36 * a * a - 60 * a + 32) / 18
                   : 0;
}

/// The taps of one coordinate.
std::vector<Weighted> tapsOf(int i, int newSize, int size, bool aligned)
{
    const double plain = static_cast<double>(newSize) / size, f = plain < 1 ? plain : 1, s = 2.0 / f;
    const double scale =
        aligned ? static_cast<double>(std::max(newSize - 1, 1)) / std::max(size - 1, 1) : plain;
    const double c = i / scale;
    const int start = static_cast<int>(c - s > 0 ? std::ceil(c - s) : std::floor(c - s));
    const int end = static_cast<int>(std::floor(c + s));
    std::vector<Weighted> taps;
    int rest = 65536;
    for (int j = start; j <= end; ++j) {
        const int weight = static_cast<int>(kernel((c - j) * f) * f * 65536.0 + 0.5);
        int source = j < 0 ? -j : j >= size ? 2 * size - j - 1 : j;
        source = std::max(0, std::min(source, size - 1));
        taps.push_back({source, j == end ? rest : weight});
        rest -= weight;
    }
    return taps;
}

uint8_t held(int sum)
{
    return static_cast<uint8_t>(sum < 1 ? 0 : sum < 0xff0000 ? sum >> 16 : 255);
}

Bytes cubicTwin(const Pieces &source, int width, int height, bool aligned)
{
    const int w = source.header.biWidth, h = source.header.biHeight;
    const int channels = source.header.biBitCount / 8;
    const std::size_t stride = source.rows.size() / static_cast<std::size_t>(h);
    std::vector<std::vector<Weighted>> columns, rows;
    for (int x = 0; x < width; ++x)
        columns.push_back(tapsOf(x, width, w, aligned));
    for (int y = 0; y < height; ++y)
        rows.push_back(tapsOf(y, height, h, aligned));
    std::vector<std::vector<uint8_t>> between;
    for (int y = 0; y < h; ++y) {
        between.emplace_back();
        for (int x = 0; x < width; ++x)
            for (int channel = 0; channel < channels; ++channel) {
                int sum = 32768;
                for (const Weighted &tap : columns[static_cast<std::size_t>(x)])
                    sum +=
                        tap.weight * source.rows[static_cast<std::size_t>(y) * stride +
                                                 static_cast<std::size_t>(tap.source * channels + channel)];
                between.back().push_back(held(sum));
            }
    }
    Pieces image = blankOf(source, width, height);
    const std::size_t newStride = image.rows.size() / static_cast<std::size_t>(height);
    for (int y = 0; y < height; ++y)
        for (int i = 0; i < width * channels; ++i) {
            int sum = 32768;
            for (const Weighted &tap : rows[static_cast<std::size_t>(y)])
                sum +=
                    tap.weight * between[static_cast<std::size_t>(tap.source)][static_cast<std::size_t>(i)];
            image.rows[static_cast<std::size_t>(y) * newStride + static_cast<std::size_t>(i)] = held(sum);
        }
    Bytes bytes = image.bytes();
    bytes.resize(bytes.size() + 10);
    return bytes;
}

/// The depths that are served.
std::vector<Pieces> depths(int width, int height)
{
    return {gray(width, height), trueColor(width, height), paletted(width, height, 8, 9)};
}

Events passes(int rows, int columns)
{
    Events events;
    for (int y = 0; y < rows; ++y)
        events.insert(events.end(), {std::to_string(y * 50 / rows) + "%", "poll"});
    for (int x = 0; x < columns; ++x)
        events.insert(events.end(), {std::to_string(x * 50 / columns + 50) + "%", "poll"});
    return events;
}

class Cubic : public ::testing::Test {
protected:
    static Bytes pixels(const Bytes &result) { return Bytes(result.begin() + 1064, result.end() - 10); }

    NothingLost check_;
    Restore restore_;
};

TEST_F(Cubic, Refusals)
{
    const Handle image = trueColor(5, 4).handle();
    const long allocations = memory_hooks::counts().allocations;
    for (const int cursor : {0, 1}) {
        for (const int bad : {0, -1, INT32_MIN}) {
            EXPECT_EQ(eventsOfRefusal(image, filtered(bad, 3, 0, cursor)), Events{});
            EXPECT_EQ(eventsOfRefusal(image, filtered(3, bad, 0, cursor)), Events{});
        }
        for (const auto &[width, height] : {std::pair{30000, 30000},
                                            {INT32_MAX, 1},
                                            {1, INT32_MAX},
                                            {INT32_MAX, INT32_MAX},
                                            {200000000, 1}}) // the picture between the passes
            EXPECT_EQ(eventsOfRefusal(image, filtered(width, height, 0, cursor)), Events{}) << width;
        EXPECT_EQ(eventsOfRefusal(nullptr, filtered(3, 3, 0, cursor)), Events{});
        for (const int bits : {0, 1, 2, 4, 16, 32}) {
            const Handle other = paletted(5, 3, bits, 2).handle();
            EXPECT_EQ(eventsOfRefusal(other, filtered(3, 3, 0, cursor)), Events{});
        }
        for (const Pieces &pieces : depths(5, 3)) {
            Bytes block = pieces.bytes();
            block.pop_back();
            EXPECT_EQ(eventsOfRefusal(blockOf(block), filtered(3, 3, 0, cursor)), Events{});
        }
    }
    EXPECT_GT(memory_hooks::counts().allocations, allocations) << "the other images'";
}

TEST_F(Cubic, SameSizeBlurs)
{
    // Weights 3641, 58254 and the rest, 3641, along each axis. (58254 * 180 + 32768) >> 16 is 160.
    const Bytes result = pixels(
        resultOf(grayRows({{0, 0, 0, 0}, {0, 180, 0, 0}, {0, 0, 0, 0}, {0, 0, 0, 0}}), filtered(4, 4)));
    // Along the row: 20 160 10 0, as pixel -1 is pixel 1. Down the columns a ninth of that in the first row, where row
    // -1 is row 1 too, eight ninths in the second, an eighteenth in the third.
    EXPECT_EQ(result, (Bytes{2, 18, 1, 0, 18, 142, 9, 0, 1, 9, 1, 0, 0, 0, 0, 0}));
}

TEST_F(Cubic, ReflectsAtBothEnds)
{
    // Before the start pixel -1 is pixel 1, behind the end pixel 4 is pixel 3.
    const Bytes result = pixels(resultOf(grayRows({{90, 0, 0, 180}}), filtered(4, 1)));
    // (58254 * 90 + 32768) >> 16 is 80; 90 / 18 is 5; 180 / 18 is 10; 180 * 17 / 18 is 170.
    EXPECT_EQ(result, (Bytes{80, 5, 10, 170}));
    EXPECT_EQ(pixels(resultOf(grayRows({{0, 90, 0, 0}}), filtered(4, 1)))[0], 10) << "pixel 1 twice";
}

TEST_F(Cubic, HoldsOvershoots)
{
    // At the middle of a step the negative lobes reach beyond black and white.
    const Pieces step = grayRows({{0, 0, 0, 0, 255, 255, 255, 255}});
    const Bytes result = pixels(resultOf(step, filtered(16, 1)));
    EXPECT_EQ(*std::min_element(result.begin(), result.end()), 0);
    EXPECT_EQ(*std::max_element(result.begin(), result.end()), 255);
    EXPECT_EQ(result[5], 0);
    EXPECT_EQ(result[9], 255);
}

TEST_F(Cubic, OnePixelWide)
{
    for (const int width : {1, 2, 7, 40}) {
        const Pieces image = grayRows({{77}});
        EXPECT_EQ(pixels(resultOf(image, filtered(width, 1))), pixels(cubicTwin(image, width, 1, false)));
        const Bytes row = pixels(resultOf(image, filtered(width, 3, 1)));
        EXPECT_EQ(row[0], 77);
        EXPECT_EQ(row[static_cast<std::size_t>(width) - 1], 77);
    }
}

TEST_F(Cubic, WeightsAddUp)
{
    for (const bool aligned : {false, true})
        for (int size = 1; size <= 40; ++size)
            for (int newSize = 1; newSize <= 40; ++newSize) {
                const TapTable table(newSize, size, aligned);
                ASSERT_TRUE(table);
                for (int i = 0; i < newSize; ++i) {
                    std::vector<int> weights(static_cast<std::size_t>(size)), expected(weights);
                    ASSERT_EQ(table[i].count % 2, 0u);
                    int sum = 0;
                    for (std::size_t k = 0; k < table[i].count; ++k) {
                        const Tap &tap = table[i].taps[k];
                        ASSERT_TRUE(tap.weight >= INT16_MIN && tap.weight <= INT16_MAX);
                        weights[static_cast<std::size_t>(tap.source)] += tap.weight;
                        sum += tap.weight;
                    }
                    for (const Weighted &tap : tapsOf(i, newSize, size, aligned))
                        expected[static_cast<std::size_t>(tap.source)] += tap.weight;
                    ASSERT_EQ(sum, 65536);
                    ASSERT_EQ(weights, expected) << size << " to " << newSize << ", " << i;
                }
            }
}

TEST_F(Cubic, EveryMeasureAsThePlainLoop)
{
    constexpr int kSizes[] = {1, 2, 3, 5, 9, 16, 17, 20, 33, 41, 64};
    std::size_t next = 0;
    for (int width = 1; width <= 40; ++width)
        for (int height = 1; height <= 20; ++height)
            for (const Pieces &image : depths(width, height)) {
                const int newWidth = kSizes[next % std::size(kSizes)];
                const int newHeight = kSizes[next / 3 % std::size(kSizes)];
                const bool aligned = next++ % 2 != 0;
                const Bytes expected = cubicTwin(image, newWidth, newHeight, aligned);
                for (const CpuLevel level : cpuLevels()) {
                    limitCpuLevel(level);
                    ASSERT_EQ(resultOf(image, filtered(newWidth, newHeight, aligned ? -3 : 0)), expected)
                        << width << " x " << height << " to " << newWidth << " x " << newHeight;
                }
            }
}

TEST_F(Cubic, LargeAndExtreme)
{
    struct Sizes {
        int width, height, newWidth, newHeight;
    };
    for (const Sizes &sizes : {Sizes{1500, 70, 700, 33}, Sizes{300, 65, 1500, 100}, Sizes{4000, 3, 1, 1},
                               Sizes{3, 4000, 2, 3}, Sizes{1, 1, 1500, 40}})
        for (const Pieces &image : depths(sizes.width, sizes.height))
            for (const bool aligned : {false, true}) {
                const Bytes expected = cubicTwin(image, sizes.newWidth, sizes.newHeight, aligned);
                for (const CpuLevel level : cpuLevels()) {
                    limitCpuLevel(level);
                    ASSERT_TRUE(resultOf(image, filtered(sizes.newWidth, sizes.newHeight, aligned)) ==
                                expected)
                        << sizes.width << " x " << sizes.height << " to " << sizes.newWidth;
                }
            }
}

TEST_F(Cubic, HeaderStays)
{
    Pieces image = gray(9, 7);
    image.header.biXPelsPerMeter = 123;
    image.header.biYPelsPerMeter = -456;
    const Handle source = image.handle();
    const Handle result(ProcessResampleHighQuality(source, 5, 4, 0, 0));
    const DibHeader header = headerOf(result);
    EXPECT_EQ(header.biXPelsPerMeter, 123);
    EXPECT_EQ(header.biYPelsPerMeter, -456);
    EXPECT_EQ(header.biSizeImage, 32u);
    EXPECT_EQ(KelMemSize(result), 1064u + 32u + 10u);
}

TEST_F(Cubic, EventsAndAborts)
{
    for (const Pieces &image : depths(9, 37)) {
        EXPECT_EQ(eventsOf(image, filtered(41, 5)), joined({{"poll"}, passes(37, 41), {"100%"}}));
        EXPECT_EQ(eventsOf(image, filtered(41, 5, 0, 9)),
                  joined({{"wait", "poll"}, passes(37, 41), {"100%", "arrow"}}));
    }
    for (const Pieces &image : depths(5, 7)) {
        expectAborts(image, filtered(6, 4), 1, {"100%"});
        expectAborts(image, filtered(6, 4, 1, 1), 1, {"100%", "arrow"});
    }
}

TEST_F(Cubic, WithoutMemory)
{
    for (const Pieces &image : depths(5, 7)) {
        expectFailuresSurvived(image, filtered(6, 4));
        const Handle source = image.handle();
        // The picture between the passes, the turned rows, the table: the wait cursor stays and nothing is reported.
        for (const int n : {1, 2, 3}) {
            memory_hooks::failAllocation(n);
            EXPECT_EQ(eventsOfRefusal(source, filtered(6, 4, 0, 1)), (Events{"wait", "poll"})) << n;
        }
        // The result, the second table: after the first pass.
        Events whole = joined({{"wait", "poll"}, passes(7, 0)});
        for (const int n : {4, 5}) {
            memory_hooks::failAllocation(n);
            EXPECT_EQ(eventsOfRefusal(source, filtered(6, 4, 0, 1)), whole) << n;
        }
        memory_hooks::failAllocation(0);
    }
}

} // namespace

} // namespace velmont::testing
