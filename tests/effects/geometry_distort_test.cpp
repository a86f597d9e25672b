// The distortion into a quadrilateral.

#include "platform/memory.h"
#include "tests/effects/geometry_testing.h"
#include <algorithm>
#include <array>
#include <cmath>
#include <gtest/gtest.h>
#include <velmont/geometry.h>

namespace velmont::testing {

namespace {

using Corners = std::array<tagPOINT, 4>;

Effect distort(const Corners &corners, unsigned long background)
{
    return [=](void *dib) {
        Corners points = corners;
        void *const result = ProcessDistort(dib, points.data(), background);
        for (std::size_t i = 0; i < points.size(); ++i) {
            EXPECT_EQ(points[i].x, corners[i].x);
            EXPECT_EQ(points[i].y, corners[i].y);
        }
        return result;
    };
}

/// The upright rectangle of a picture that is stored bottom-up, seen with y running down.
Corners rectangle(int left, int top, int right, int bottom)
{
    return {{{left, top}, {left, bottom}, {right, bottom}, {right, top}}};
}

/// The nearest colour of the palette; 0.11, 0.59 and 0.3 of the channels for a gray ramp.
uint32_t backgroundOf(const Pieces &source, uint32_t color)
{
    const int red = color & 0xFF, green = color >> 8 & 0xFF, blue = color >> 16 & 0xFF;
    const int bits = source.header.biBitCount;
    if (bits == 24)
        return static_cast<uint32_t>(red << 16 | green << 8 | blue);
    if (isSampled(source))
        return static_cast<uint32_t>(0.11 * blue + 0.59 * green + 0.3 * red + 0.5);
    int best = 1000, index = -1;
    for (std::size_t i = 0; i < source.palette.size() / 4; ++i) {
        const uint8_t *const entry = &source.palette[4 * i];
        const int distance =
            std::abs(entry[0] - blue) + std::abs(entry[1] - green) + std::abs(entry[2] - red);
        if (distance < best) {
            best = distance;
            index = static_cast<int>(i);
        }
    }
    return static_cast<uint32_t>(index) & ((1u << bits) - 1);
}

/// One pixel of four, weighed in eighths.
uint32_t blend(const Pieces &source, int column, int row, double x, double y)
{
    const int wx = static_cast<int>(8 * (column + 1) - 8 * x + 0.5),
              wy = static_cast<int>(8 * (row + 1) - 8 * y + 0.5);
    const uint32_t p00 = pixelIn(source, column, row), p01 = pixelIn(source, column + 1, row),
                   p10 = pixelIn(source, column, row + 1), p11 = pixelIn(source, column + 1, row + 1);
    uint32_t pixel = 0;
    for (int shift = 0; shift < source.header.biBitCount; shift += 8) {
        const auto channel = [&](uint32_t p) { return static_cast<int>(p >> shift & 0xFF); };
        const int sum = channel(p00) * wx * wy + channel(p01) * (8 - wx) * wy + channel(p10) * wx * (8 - wy) +
                        channel(p11) * (8 - wx) * (8 - wy);
        pixel |= static_cast<uint32_t>(sum >> 6 & 0xFF) << shift;
    }
    return pixel;
}

Bytes distorted(const Pieces &source, const Corners &corners, uint32_t color)
{
    int64_t x[4], y[4];
    for (std::size_t i = 0; i < 4; ++i) {
        x[i] = corners[i].x;
        y[i] = -int64_t{corners[i].y};
    }
    const int64_t minX = *std::min_element(x, x + 4), minY = *std::min_element(y, y + 4);
    const int64_t newWidth = *std::max_element(x, x + 4) - minX,
                  newHeight = *std::max_element(y, y + 4) - minY;
    const int64_t ax = x[2] - x[1], ay = y[2] - y[1], bx = x[3] - x[1], by = y[3] - y[1], cx = x[0] - x[1],
                  cy = y[0] - y[1];
    const auto D = static_cast<double>(ax * cy - ay * cx), E = static_cast<double>(bx * cy - by * cx),
               F = static_cast<double>(bx * ay - by * ax);
    const double w = source.header.biWidth, h = source.header.biHeight;
    const double a0 = w / D, a1 = (D - E) * w / (E * F * D), b0 = h / (-D),
                 b1 = (-D - F) * h / ((-D) * E * F);
    return painted(source, static_cast<int>(newWidth), static_cast<int>(newHeight),
                   [&](int i, int r) {
                       const int64_t t = r + minY - y[1], u = i + minX - x[1];
                       const auto U = static_cast<double>(u * ay - t * ax),
                                  V = static_cast<double>(u * cy - t * cx);
                       const double sx = (a0 + U * a1) * V + 0.5, sy = (b0 + V * b1) * U + 0.5;
                       if (!(std::abs(sx) < 2e9 && std::abs(sy) < 2e9))
                           return backgroundOf(source, color);
                       const int ix = static_cast<int>(sx), iy = static_cast<int>(sy);
                       if (ix < 0 || ix >= source.header.biWidth || iy < 0 || iy >= source.header.biHeight)
                           return backgroundOf(source, color);
                       if (!isSampled(source) || ix == source.header.biWidth - 1 ||
                           iy == source.header.biHeight - 1)
                           return pixelIn(source, ix, iy);
                       return blend(source, ix, iy, sx, sy);
                   })
        .bytes();
}

/// A quadrilateral in a square of about this size, of any shape.
Corners anyCorners(int width, int height, uint32_t seed)
{
    const Bytes random = noise(16, seed);
    const auto place = [&](std::size_t i, int size) {
        return static_cast<int32_t>((random[i] * 256 + random[i + 1]) % (size + 1)) - size / 3;
    };
    Corners corners;
    for (std::size_t i = 0; i < 4; ++i)
        corners[i] = {place(4 * i, width), place(4 * i + 2, height)};
    return corners;
}

bool hasArea(const Corners &corners)
{
    const auto [left, right] =
        std::minmax_element(corners.begin(), corners.end(), [](tagPOINT a, tagPOINT b) { return a.x < b.x; });
    const auto [top, bottom] =
        std::minmax_element(corners.begin(), corners.end(), [](tagPOINT a, tagPOINT b) { return a.y < b.y; });
    return left->x < right->x && top->y < bottom->y;
}

class Distort : public ::testing::Test {
protected:
    NothingLost check_;
    Restore restore_;
};

TEST_F(Distort, Refusals)
{
    const Handle image = gray(5, 4).handle();
    const Corners good = rectangle(0, 0, 5, 4);
    EXPECT_EQ(eventsOfRefusal(nullptr, distort(good, 0)), Events{});
    EXPECT_EQ(eventsOfRefusal(image, [](void *dib) { return ProcessDistort(dib, nullptr, 0); }), Events{});
    for (const Corners &corners :
         {rectangle(3, 0, 3, 4), rectangle(0, 2, 5, 2), rectangle(7, 7, 7, 7),
          rectangle(INT32_MIN, INT32_MIN, INT32_MAX, INT32_MAX), rectangle(0, 0, INT32_MAX, INT32_MAX),
          rectangle(INT32_MIN, 0, 5, 4), rectangle(0, INT32_MIN, 5, 4)})
        EXPECT_EQ(eventsOfRefusal(image, distort(corners, 0)), Events{});
    for (const int bits : {0, 2, 16, 32})
        EXPECT_EQ(eventsOfRefusal(paletted(5, 4, bits, 0).handle(), distort(good, 0)), Events{});
    const NothingLost check;
    for (const Pieces &whole : everyDepth(5, 4)) {
        const Bytes bytes = whole.bytes();
        for (std::size_t length = 0; length < bytes.size(); length += 3)
            EXPECT_EQ(eventsOfRefusal(blockOf(std::span(bytes).first(length)), distort(good, 0)), Events{});
        for (const int32_t size : {0, -1, 100, INT32_MIN, INT32_MAX}) {
            Pieces lie = whole;
            lie.header.biHeight = size;
            EXPECT_EQ(eventsOfRefusal(lie.handle(), distort(good, 0)), Events{});
        }
    }
}

// The half pixel that rounds the place is in the weights too: all of them are 4.
TEST_F(Distort, ARectangleOfTheSameSizeIsNoCopy)
{
    const Pieces image = grayRows({{10, 20, 31}, {41, 50, 60}, {71, 81, 90}});
    EXPECT_EQ(resultOf(image, distort(rectangle(0, 0, 3, 3), 0)),
              grayRows({{(10 + 20 + 41 + 50) / 4, (20 + 31 + 50 + 60) / 4, 31},
                        {(41 + 50 + 71 + 81) / 4, (50 + 60 + 81 + 90) / 4, 60},
                        {71, 81, 90}})
                  .bytes());
    // The place of the rectangle does not matter.
    EXPECT_EQ(resultOf(image, distort(rectangle(-100, 55, -97, 58), 0)),
              resultOf(image, distort(rectangle(0, 0, 3, 3), 0)));
    // Colours of a palette are not blended.
    for (const Pieces &other : {paletted(9, 5, 1, 2), paletted(9, 5, 4, 16), paletted(9, 5, 8, 256)})
        EXPECT_EQ(resultOf(other, distort(rectangle(0, 0, 9, 5), 0)),
                  painted(other, 9, 5, [&](int x, int y) { return pixelIn(other, x, y); }).bytes());
}

// Corner 0 is where row `height` begins, 1 where row 0 begins, 2 where row 0 ends, 3 where row `height` ends.
TEST_F(Distort, WhereTheCornersGo)
{
    const Pieces image{makeHeader(2, 2, 4, 16), Bytes(64, 7), {0x12, 0, 0, 0, 0x34, 0, 0, 0}};
    const auto rowsOf = [&](const Corners &corners) {
        const Bytes result = resultOf(image, distort(corners, 0));
        return result.size() == 112 ? Bytes{result[104], result[108]} : Bytes{};
    };
    EXPECT_EQ(rowsOf({{{0, 0}, {0, 2}, {2, 2}, {2, 0}}}), (Bytes{0x12, 0x34}));
    // Places lie between pixels: a mirrored picture starts with what is past its end, which is background.
    EXPECT_EQ(rowsOf({{{2, 0}, {2, 2}, {0, 2}, {0, 0}}}), (Bytes{0x02, 0x04}));
    EXPECT_EQ(rowsOf({{{0, 2}, {0, 0}, {2, 0}, {2, 2}}}), (Bytes{0x00, 0x34}));
    // A quarter of a turn: row 0 runs downwards on the left.
    EXPECT_EQ(rowsOf({{{2, 2}, {0, 2}, {0, 0}, {2, 0}}}), (Bytes{0x13, 0x24}));
}

TEST_F(Distort, EverySmallSizeAgainstOnePixelAtATime)
{
    const auto levels = cpuLevels();
    for (int width = 1; width <= 40; ++width)
        for (int height = 1; height <= 20; ++height) {
            const auto seed = static_cast<uint32_t>(width * 50 + height);
            limitCpuLevel(levels[seed % levels.size()]);
            const Corners shapes[] = {anyCorners(width + 3, height + 3, seed),
                                      rectangle(0, 0, width, height),
                                      {{{0, 1}, {-3, height + 2}, {width, height}, {width + 4, -2}}},
                                      {{{width, height}, {width + 1, 0}, {1, -1}, {0, height + 1}}}};
            for (const Pieces &image : everyDepth(1 + width % 17, 1 + height % 11, seed))
                for (std::size_t i = 0; i < std::size(shapes); ++i) {
                    if (!hasArea(shapes[i]) || (width > 16 && i != seed % 4))
                        continue;
                    ASSERT_EQ(resultOf(image, distort(shapes[i], 0x00C0FFEE)),
                              distorted(image, shapes[i], 0x00C0FFEE))
                        << width << " x " << height << ", shape " << i << ", " << image.header.biBitCount;
                }
        }
}

TEST_F(Distort, LargeOnesOnEveryCpuLevel)
{
    for (const Corners &corners : {Corners{{{30, 0}, {0, 20}, {560, 17}, {540, 3}}}, rectangle(0, 0, 1100, 5),
                                   rectangle(0, 0, 97, 33), Corners{{{560, 12}, {550, 0}, {0, 5}, {3, 13}}}})
        for (const Pieces &image : everyDepth(300, 41)) {
            const Bytes expected = distorted(image, corners, 0x00336699);
            for (const CpuLevel level : cpuLevels()) {
                limitCpuLevel(level);
                ASSERT_TRUE(resultOf(image, distort(corners, 0x00336699)) == expected)
                    << image.header.biBitCount;
            }
        }
}

// Just before the first column or row a place counts as within it, and its weights go beyond 8.
TEST_F(Distort, PlacesBeforeTheFirst)
{
    // As large as the picture and slanted by two pixels: row 0 has the places -1.5, -0.5, 0.5 ... in the source's row
    // 0.5. That at -0.5 weighs column 0 with 12 eighths and column 1 with -4, both rows with 4.
    const Corners slanted{{{0, 0}, {2, 3}, {5, 3}, {3, 0}}};
    const auto secondOf = [&](const Bytes &upper, const Bytes &lower) {
        const Bytes result = resultOf(grayRows({upper, lower, {0, 0, 0}}), distort(slanted, 0x00FFFFFF));
        EXPECT_EQ(result.size(), 1064u + 24);
        EXPECT_EQ(result[1064], 255) << "-1.5 is outside";
        return static_cast<int>(result[1065]);
    };
    for (const CpuLevel level : cpuLevels()) {
        limitCpuLevel(level);
        EXPECT_EQ(secondOf({100, 20, 0}, {60, 200, 0}), (100 * 48 - 20 * 16 + 60 * 48 - 200 * 16) / 64);
        EXPECT_EQ(secondOf({255, 0, 0}, {255, 0, 0}), 255 * 96 / 64 - 256) << "low 8 bits";
        EXPECT_EQ(secondOf({0, 255, 0}, {0, 255, 0}), 256 - 255 * 32 / 64 - 1) << "rounded down below 0 too";
        for (const Pieces &image : {gray(3, 3), trueColor(3, 3), gray(2, 2), trueColor(2, 2)})
            EXPECT_EQ(resultOf(image, distort(slanted, 0)), distorted(image, slanted, 0));
    }
}

TEST_F(Distort, PointsOnOneLine)
{
    for (const Corners &corners :
         {Corners{{{0, 0}, {5, 5}, {10, 10}, {3, 9}}}, Corners{{{0, 0}, {3, 9}, {10, 10}, {5, 5}}},
          Corners{{{0, 0}, {5, 5}, {3, 9}, {10, 10}}}, Corners{{{0, 0}, {4, 4}, {8, 8}, {12, 12}}},
          Corners{{{0, 0}, {0, 0}, {8, 8}, {8, 0}}}, Corners{{{0, 0}, {0, 0}, {0, 0}, {8, 8}}}})
        for (const Pieces &image : everyDepth(7, 6)) {
            EXPECT_EQ(resultOf(image, distort(corners, 0x00336699)), distorted(image, corners, 0x00336699));
            // Nothing of the picture is left where both divisors are 0.
            const int size = corners[3].x;
            if (size == 12) {
                EXPECT_EQ(
                    resultOf(image, distort(corners, 0x00336699)),
                    painted(image, 12, 12, [&](int, int) { return backgroundOf(image, 0x336699); }).bytes());
            }
        }
}

TEST_F(Distort, Backgrounds)
{
    // Far more than the picture: a triangle of background at the left.
    const Corners slanted{{{40, 0}, {0, 9}, {30, 9}, {70, 0}}};
    const auto firstOf = [&](const Pieces &image, uint32_t color) {
        const Handle handle = image.handle();
        const Handle result(distort(slanted, color)(handle));
        const Bytes bytes = bytesOf(result);
        Pieces pieces = blankOf(image, 70, 9);
        pieces.rows.assign(bytes.end() - static_cast<std::ptrdiff_t>(pieces.rows.size()), bytes.end());
        return pixelIn(pieces, 0, 8);
    };
    EXPECT_EQ(firstOf(trueColor(5, 5), 0xFF112233), 0x332211u) << "blue lowest";
    EXPECT_EQ(firstOf(gray(5, 5), 0x000000FF), 77u);
    EXPECT_EQ(firstOf(gray(5, 5), 0x00FFFFFF), 255u);
    Pieces four = paletted(5, 5, 4, 3);
    four.palette = {0, 0, 0, 0, 255, 255, 255, 0, 10, 20, 200, 0};
    EXPECT_EQ(firstOf(four, 0x000000FF), 2u) << "red";
    four.header.biClrUsed = 0;
    four.palette.clear();
    EXPECT_EQ(firstOf(four, 0), 15u) << "-1 of no colours, cut to 4 bits";
    Pieces one = paletted(5, 5, 1, 3);
    one.palette = {0, 0, 0, 0, 255, 255, 255, 0, 10, 20, 200, 0};
    EXPECT_EQ(firstOf(one, 0x000000FF), 0u) << "2 cut to 1 bit";
    Pieces eight = paletted(5, 5, 8, 0);
    EXPECT_EQ(firstOf(eight, 0), 255u);
}

TEST_F(Distort, FarAwayPointsWrap)
{
    // The same quadrilateral where its numbers wrap at 32 bits: only differences matter.
    const Pieces image = trueColor(7, 6);
    const Corners near{{{3, 1}, {0, 9}, {12, 8}, {10, 0}}};
    Corners far = near;
    for (tagPOINT &point : far) {
        point.x += INT32_MAX - 12;
        point.y += INT32_MIN + 1;
    }
    EXPECT_EQ(resultOf(image, distort(far, 3)), resultOf(image, distort(near, 3)));
    // Very wide.
    const Corners wide{{{0, 0}, {-1000000, 1}, {1000000, 1}, {7, 0}}};
    const Handle handle = paletted(3, 2, 1, 2).handle();
    const Handle result(distort(wide, 3)(handle));
    EXPECT_TRUE(result);
    EXPECT_EQ(headerOf(result).biWidth, 2000000);
}

TEST_F(Distort, WhatTheHostSees)
{
    const Corners corners{{{3, 1}, {0, 37}, {12, 8}, {10, 0}}};
    for (const Pieces &image : everyDepth(6, 5)) {
        EXPECT_EQ(eventsOf(image, distort(corners, 0)),
                  joined({{"wait", "poll"}, rowEvents(37), {"100%", "arrow"}}));
        expectAborts(image, distort(corners, 0), 1);
        expectFailuresSurvived(image, distort(corners, 0));
    }
    const Handle image = gray(5, 3).handle();
    memory_hooks::failAllocation(1);
    EXPECT_EQ(eventsOfRefusal(image, distort(corners, 0)), (Events{"wait", "arrow"}));
    memory_hooks::failAllocation(0);
}

} // namespace

} // namespace velmont::testing
