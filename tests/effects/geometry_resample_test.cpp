// Resampling by nearest and blended pixels, of the whole image and of a rectangle.

#include "platform/memory.h"
#include "tests/effects/geometry_testing.h"
#include <algorithm>
#include <cstring>
#include <gtest/gtest.h>
#include <velmont/geometry.h>

namespace velmont::testing {

namespace {

Effect resampled(int width, int height, int resolution = 77)
{
    return [=](void *dib) { return ProcessResample(dib, width, height, resolution); };
}

/// A rectangle of the source and the size that it gets.
struct Part {
    int x, y, width, height, newWidth, newHeight;
};

Effect partOf(const Part &part)
{
    return [=](void *dib) {
        return ProcessPartialResample(dib, part.x, part.y, part.width, part.height, part.newWidth,
                                      part.newHeight);
    };
}

std::vector<double> positions(double start, int length, int count)
{
    std::vector<double> all;
    double position = start;
    for (int i = 0; i < count; ++i, position += static_cast<double>(length) / count)
        all.push_back(position);
    return all;
}

/// A place on one axis: the pixel and its weight beside the next one's.
struct Place {
    bool isValid;
    int pixel;
    int weight;
};

Place placeOf(double position, int size)
{
    const int i = static_cast<int>(position);
    Place place{i >= 0 && i < size, size - 1, 8};
    if (i >= 0 && i < size - 1) {
        place.pixel = i;
        place.weight = static_cast<int>((i + 1 - position) * 8 + 0.5);
    }
    return place;
}

uint32_t blended(const Pieces &source, const Place &column, const Place &row)
{
    uint32_t all = 0;
    for (int shift = 0; shift < source.header.biBitCount; shift += 8) {
        uint32_t sum = 32;
        const auto add = [&](int dx, int dy, int weight) {
            if (weight != 0)
                sum += (pixelIn(source, column.pixel + dx, row.pixel + dy) >> shift & 255) *
                       static_cast<uint32_t>(weight);
        };
        const int wx = column.weight, wy = row.weight;
        add(0, 0, wx * wy);
        add(1, 0, (8 - wx) * wy);
        add(0, 1, wx * (8 - wy));
        add(1, 1, (8 - wx) * (8 - wy));
        all |= (sum >> 6 & 255) << shift;
    }
    return all;
}

Bytes resampleTwin(const Pieces &source, int width, int height, int resolution = 77)
{
    const int w = source.header.biWidth, h = source.header.biHeight;
    const auto columns = positions(0, w, width), rows = positions(0, h, height);
    const auto nearest = [](double position, int size) {
        return std::min(static_cast<int>(position + 0.5), size - 1);
    };
    const bool isBlended = isSampled(source);
    Pieces image = painted(source, width, height, [&](int x, int y) {
        const double column = columns[static_cast<std::size_t>(x)], row = rows[static_cast<std::size_t>(y)];
        return isBlended ? blended(source, placeOf(column, w), placeOf(row, h))
                         : pixelIn(source, nearest(column, w), nearest(row, h));
    });
    image.header.biXPelsPerMeter = image.header.biYPelsPerMeter = resolution;
    return image.bytes();
}

Bytes partTwin(const Pieces &source, const Part &part)
{
    const int w = source.header.biWidth, h = source.header.biHeight;
    const auto columns = positions(part.x, part.width, part.newWidth);
    const auto rows = positions(part.y, part.height, part.newHeight);
    const bool isBlended = isSampled(source);
    return painted(source, part.newWidth, part.newHeight,
                   [&](int x, int y) -> uint32_t {
                       const double atX = columns[static_cast<std::size_t>(x)],
                                    atY = rows[static_cast<std::size_t>(y)];
                       const Place column = placeOf(atX, w), row = placeOf(atY, h);
                       if (!column.isValid || !row.isValid || (source.header.biBitCount == 8 && !isBlended))
                           return 0;
                       return isBlended ? blended(source, column, row)
                                        : pixelIn(source, static_cast<int>(atX), static_cast<int>(atY));
                   })
        .bytes();
}

/// The depths that a rectangle is taken of.
std::vector<Pieces> partDepths(int width, int height)
{
    std::vector<Pieces> all = everyDepth(width, height);
    std::erase_if(all, [](const Pieces &image) { return image.header.biBitCount == 4; });
    return all;
}

class Resampling : public ::testing::Test {
protected:
    /// The bytes of the first row of a gray image's result.
    static Bytes firstRow(const Pieces &image, const Effect &effect, std::size_t width)
    {
        const Bytes result = resultOf(image, effect);
        return Bytes(result.begin() + 1064, result.begin() + 1064 + static_cast<std::ptrdiff_t>(width));
    }

    NothingLost check_;
    Restore restore_;
};

TEST_F(Resampling, Refusals)
{
    const Handle image = trueColor(5, 4).handle();
    const long allocations = memory_hooks::counts().allocations;
    for (const int bad : {0, -1, INT32_MIN}) {
        EXPECT_EQ(eventsOfRefusal(image, resampled(bad, 3)), Events{});
        EXPECT_EQ(eventsOfRefusal(image, resampled(3, bad)), Events{});
        for (const Part &part : {Part{0, 0, bad, 3, 3, 3}, Part{0, 0, 3, bad, 3, 3}, Part{0, 0, 3, 3, bad, 3},
                                 Part{0, 0, 3, 3, 3, bad}})
            EXPECT_EQ(eventsOfRefusal(image, partOf(part)), Events{});
    }
    // Blocks beyond 31 bits: 30000 * 90000 bytes are, and those of the largest sizes.
    for (const auto &[width, height] : {std::pair{30000, 30000},
                                        {INT32_MAX, 1},
                                        {1, INT32_MAX},
                                        {INT32_MAX, INT32_MAX},
                                        {1 << 15, 21846}}) {
        EXPECT_EQ(eventsOfRefusal(image, resampled(width, height)), Events{}) << width;
        EXPECT_EQ(eventsOfRefusal(image, partOf({0, 0, 5, 4, width, height})), Events{}) << width;
    }
    EXPECT_EQ(memory_hooks::counts().allocations, allocations);
    EXPECT_EQ(eventsOfRefusal(nullptr, resampled(3, 3)), Events{});
    EXPECT_EQ(eventsOfRefusal(nullptr, partOf({0, 0, 3, 3, 3, 3})), Events{});
    for (const int bits : {0, 2, 16, 32}) {
        const Handle other = paletted(5, 3, bits, 4).handle();
        EXPECT_EQ(eventsOfRefusal(other, resampled(3, 3)), Events{});
        EXPECT_EQ(eventsOfRefusal(other, partOf({0, 0, 3, 3, 3, 3})), Events{});
    }
    EXPECT_EQ(eventsOfRefusal(Handle(paletted(5, 3, 4, 16).handle()), partOf({0, 0, 3, 3, 3, 3})), Events{});
    for (const Pieces &pieces : everyDepth(5, 3)) {
        Bytes block = pieces.bytes();
        block.pop_back();
        EXPECT_EQ(eventsOfRefusal(blockOf(block), resampled(3, 3)), Events{});
        EXPECT_EQ(eventsOfRefusal(blockOf(block), partOf({0, 0, 3, 3, 3, 3})), Events{});
    }
}

TEST_F(Resampling, TablesBeyond31BitsAreNone)
{
    // The result of a bit a pixel would fit; its tables would not.
    const Handle bits = paletted(5, 3, 1, 2).handle();
    EXPECT_EQ(eventsOfRefusal(bits, resampled(INT32_MAX, 1)), Events{});
    EXPECT_EQ(eventsOfRefusal(bits, partOf({0, 0, 5, 3, INT32_MAX, 1})), Events{});
}

TEST_F(Resampling, BlendedByHand)
{
    // Twice the size: the pixels, even blends, and the last pixel twice.
    EXPECT_EQ(firstRow(grayRows({{10, 20, 41}}), resampled(6, 1), 6), (Bytes{10, 15, 20, 31, 41, 41}));
    // Half the size: no mean.
    EXPECT_EQ(firstRow(grayRows({{10, 99, 41, 7}}), resampled(2, 1), 2), (Bytes{10, 41}));
    // Positions 0, 3/4, 6/4 and 9/4 of three pixels: weights 8, 2, 4 and the last pixel.
    EXPECT_EQ(firstRow(grayRows({{0, 80, 160}}), resampled(4, 1), 4), (Bytes{0, 60, 120, 160}));
    // Both ways: (10 + 20 + 30 + 41) * 16 + 32 over 64 in the middle.
    const Bytes result = resultOf(grayRows({{10, 20}, {30, 41}}), resampled(4, 4));
    EXPECT_EQ(Bytes(result.begin() + 1064, result.end()),
              (Bytes{10, 15, 20, 20, 20, 25, 31, 31, 30, 36, 41, 41, 30, 36, 41, 41}));
}

TEST_F(Resampling, NearestByHand)
{
    Pieces image = paletted(3, 1, 8, 256);
    image.rows = {7, 8, 9, 0xEE};
    // Positions 0 and 1.5 with a half added are 0 and 2; 0, 0.75, 1.5 and 2.25 give 0, 1, 2 and 2.
    EXPECT_EQ(firstRow(image, resampled(2, 1), 4), (Bytes{7, 9, 0, 0}));
    EXPECT_EQ(firstRow(image, resampled(4, 1), 4), (Bytes{7, 8, 9, 9}));
    // 2.5 would be pixel 3, which there is not.
    EXPECT_EQ(firstRow(image, resampled(6, 1), 8), (Bytes{7, 8, 8, 9, 9, 9, 0, 0}));
    Pieces bits = paletted(5, 1, 1, 2);
    bits.rows = {0xA8, 0xFF, 0xFF, 0xFF};
    // 1 0 1 0 1 at ten pixels: places 0 1 1 2 2 3 3 4 4 4 and six spare bits of 0.
    const Bytes result = resultOf(bits, resampled(10, 1));
    EXPECT_EQ(Bytes(result.end() - 4, result.end()), (Bytes{0x99, 0xC0, 0, 0}));
}

TEST_F(Resampling, PositionsAddUp)
{
    for (const auto &[from, to] :
         {std::pair{70, 700}, {10, 100}, {7, 1000}, {1000, 7}, {333, 999}, {999, 334}})
        for (const Pieces &image : everyDepth(from, 2))
            ASSERT_EQ(resultOf(image, resampled(to, 3)), resampleTwin(image, to, 3)) << from << " to " << to;
}

TEST_F(Resampling, ResolutionAsItIs)
{
    for (const int resolution : {0, 1, -1, INT32_MIN, INT32_MAX}) {
        const Handle image = gray(5, 4).handle();
        const Handle result(ProcessResample(image, 3, 2, resolution));
        EXPECT_EQ(headerOf(result).biXPelsPerMeter, resolution);
        EXPECT_EQ(headerOf(result).biYPelsPerMeter, resolution);
        EXPECT_EQ(headerOf(result).biSizeImage, 8u);
    }
}

TEST_F(Resampling, EveryMeasureAsThePlainLoop)
{
    constexpr int kWidths[] = {1, 2, 7, 8, 9, 16, 17, 23, 31, 40, 64, 65, 80};
    constexpr int kHeights[] = {1, 2, 3, 5, 9, 18, 36, 37};
    std::size_t next = 0;
    for (int width = 1; width <= 40; ++width)
        for (int height = 1; height <= 20; ++height)
            for (const Pieces &image : everyDepth(width, height)) {
                const int newWidth = kWidths[next % std::size(kWidths)];
                const int newHeight = kHeights[next++ % std::size(kHeights)];
                const Bytes expected = resampleTwin(image, newWidth, newHeight);
                for (const CpuLevel level : cpuLevels()) {
                    limitCpuLevel(level);
                    ASSERT_EQ(resultOf(image, resampled(newWidth, newHeight)), expected)
                        << width << " x " << height << " to " << newWidth << " x " << newHeight << ", "
                        << image.header.biBitCount;
                }
            }
}

TEST_F(Resampling, PartByHand)
{
    const Pieces image = grayRows({{10, 200, 30}});
    // Positions -1, -0.5, 0, 0.5, 1, 1.5: outside, the fringe with weights 12 and -4, and blends. The fringe is
    // 10 * 96 - 200 * 32 + 32 = -5408, of which bits 6 to 13 are 171.
    EXPECT_EQ(firstRow(image, partOf({-1, 0, 3, 1, 6, 1}), 6), (Bytes{0, 171, 10, 105, 200, 115}));
    // Beyond the last column: nothing.
    EXPECT_EQ(firstRow(image, partOf({1, 0, 4, 1, 4, 1}), 4), (Bytes{200, 30, 0, 0}));
    EXPECT_EQ(firstRow(image, partOf({0, -1, 3, 1, 3, 1}), 3), (Bytes{0, 0, 0}));
    // The fringe of rows: 100 * 12 * 8 - 50 * 4 * 8 + 32 over 64.
    const Bytes result = resultOf(grayRows({{100}, {50}}), partOf({0, -1, 1, 2, 1, 4}));
    EXPECT_EQ(Bytes(result.begin() + 1064, result.end()),
              (Bytes{0, 0, 0, 0, 125, 0, 0, 0, 100, 0, 0, 0, 75, 0, 0, 0}));
    // One pixel has no neighbour to blend the fringe with.
    EXPECT_EQ(firstRow(grayRows({{100}}), partOf({-1, 0, 2, 1, 4, 1}), 4), (Bytes{0, 100, 100, 100}));
}

TEST_F(Resampling, PartOfBits)
{
    Pieces bits = paletted(5, 1, 1, 2);
    bits.rows = {0xA8, 0xFF, 0xFF, 0xFF};
    // Places 1, 1, 2, 2, 3, 3, 4, 4, and nothing beyond.
    const Bytes result = resultOf(bits, partOf({1, 0, 5, 1, 10, 1}));
    EXPECT_EQ(Bytes(result.end() - 4, result.end()), (Bytes{0x33, 0, 0, 0}));
}

TEST_F(Resampling, PartHangsOverOnTheLeft)
{
    const Pieces image = trueColor(20, 5);
    const Bytes result = resultOf(image, partOf({-10, 0, 20, 5, 20, 5}));
    for (std::size_t y = 0; y < 5; ++y) {
        const auto row = result.begin() + static_cast<std::ptrdiff_t>(40 + 60 * y);
        EXPECT_EQ(Bytes(row, row + 30), Bytes(30, 0));
        const auto from = image.rows.begin() + static_cast<std::ptrdiff_t>(60 * y);
        EXPECT_EQ(Bytes(row + 30, row + 60), Bytes(from, from + 30));
    }
}

TEST_F(Resampling, PartOfAPalettedImageIsBlank)
{
    for (const Pieces &image : {paletted(9, 20, 8, 256), paletted(9, 20, 8, 9), paletted(9, 20, 8, 0)}) {
        EXPECT_EQ(resultOf(image, partOf({0, 0, 9, 20, 30, 40})), blankOf(image, 30, 40).bytes());
        EXPECT_EQ(eventsOf(image, partOf({0, 0, 9, 20, 30, 40})), (Events{"poll", "100%"}));
        expectFailuresSurvived(image, partOf({0, 0, 9, 20, 30, 40}));
    }
}

TEST_F(Resampling, PartEveryMeasureAsThePlainLoop)
{
    std::size_t next = 0;
    for (int width = 1; width <= 40; ++width)
        for (int height = 1; height <= 20; ++height)
            for (const Pieces &image : partDepths(width, height)) {
                const Bytes choice = noise(6, static_cast<uint32_t>(++next));
                const Part part{choice[0] % 30 - 12, choice[1] % 30 - 12, choice[2] % 50 + 1,
                                choice[3] % 30 + 1,  choice[4] % 60 + 1,  choice[5] % 30 + 1};
                const Bytes expected = partTwin(image, part);
                for (const CpuLevel level : cpuLevels()) {
                    limitCpuLevel(level);
                    ASSERT_EQ(resultOf(image, partOf(part)), expected)
                        << width << " x " << height << ", " << part.x << ", " << part.y << ", " << part.width
                        << " x " << part.height << " to " << part.newWidth << " x " << part.newHeight;
                }
            }
}

TEST_F(Resampling, PartsFarAway)
{
    for (const Pieces &image : partDepths(9, 5))
        for (const int start : {INT32_MIN, -1000000, 9, 1000000, INT32_MAX})
            for (const int length : {1, 1000, INT32_MAX}) {
                const Pieces blank = blankOf(image, 20, 7);
                if (start != INT32_MIN && start != -1000000) {
                    EXPECT_EQ(resultOf(image, partOf({start, 0, length, 5, 20, 7})), blank.bytes()) << start;
                    EXPECT_EQ(resultOf(image, partOf({0, start, 9, length, 20, 7})), blank.bytes()) << start;
                }
                EXPECT_FALSE(resultOf(image, partOf({start, start, length, length, 20, 7})).empty());
            }
}

TEST_F(Resampling, Events)
{
    for (const Pieces &image : everyDepth(9, 20))
        EXPECT_EQ(eventsOf(image, resampled(7, 37)), joined({{"poll"}, rowEvents(37), {"100%"}}));
    for (const Pieces &image : {paletted(9, 20, 1, 2), gray(9, 20), trueColor(9, 20)})
        for (const int start : {0, -5, 100}) // rows without a source poll too
            EXPECT_EQ(eventsOf(image, partOf({start, start, 9, 20, 7, 37})),
                      joined({{"poll"}, rowEvents(37), {"100%"}}));
}

TEST_F(Resampling, AbortsAndFailures)
{
    for (const Pieces &image : everyDepth(9, 18)) {
        expectAborts(image, resampled(7, 19), 1, {"100%"});
        expectFailuresSurvived(image, resampled(7, 19));
    }
    for (const Pieces &image : {paletted(9, 18, 1, 2), gray(9, 18), trueColor(9, 18)}) {
        expectAborts(image, partOf({1, 1, 9, 20, 7, 19}), 1, {"100%"});
        expectFailuresSurvived(image, partOf({1, 1, 9, 20, 7, 19}));
    }
    for (const int n : {1, 2}) { // the result and the tables
        const Handle image = gray(9, 18).handle();
        memory_hooks::failAllocation(n);
        EXPECT_EQ(eventsOfRefusal(image, resampled(7, 19)), Events{});
        memory_hooks::failAllocation(n);
        EXPECT_EQ(eventsOfRefusal(image, partOf({1, 1, 9, 20, 7, 19})), Events{});
        memory_hooks::failAllocation(0);
    }
}

} // namespace

} // namespace velmont::testing
