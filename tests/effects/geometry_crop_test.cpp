// Crop by a rectangle and by a bit mask.

#include "platform/memory.h"
#include "tests/effects/geometry_testing.h"
#include <algorithm>
#include <gtest/gtest.h>
#include <velmont/geometry.h>

namespace velmont::testing {

namespace {

Effect crop(const tagRECT &rect, unsigned long background, int wrap)
{
    return [=](void *dib) { return ProcessCrop(dib, rect, background, wrap); };
}
/// The first form.
Effect plainCrop(const tagRECT &rect, unsigned long background)
{
    return [=](void *dib) { return ProcessCrop(dib, rect, background); };
}
Effect maskCrop(void *mask, int x, int y, unsigned long background)
{
    return [=](void *dib) { return ProcessCrop(dib, mask, x, y, background); };
}

/// A 24-bit background as a pixel, and what it is at 8 bits.
uint32_t backgroundOf(const Pieces &source, uint32_t color)
{
    return source.header.biBitCount == 24 ? (color & 0xFF) << 16 | (color & 0xFF00) | (color >> 16 & 0xFF)
                                          : color & 0xFF;
}

Bytes cropped(const Pieces &source, const tagRECT &rect, uint32_t color, bool wrap)
{
    const int width = source.header.biWidth, height = source.header.biHeight;
    const auto inside = [&](int column, int row) {
        return column >= 0 && column < width && row >= 0 && row < height;
    };
    return painted(source, rect.right - rect.left, rect.bottom - rect.top,
                   [&](int i, int j) {
                       int column = rect.left + i, row = rect.top + j;
                       while (wrap && column < 0)
                           column += width;
                       while (wrap && row < 0)
                           row += height;
                       if (wrap)
                           return pixelIn(source, column % width, row % height);
                       return inside(column, row) ? pixelIn(source, column, row)
                                                  : backgroundOf(source, color);
                   })
        .bytes();
}

Bytes cut(const Pieces &source, const Pieces &mask, int x, int y, uint32_t color)
{
    return painted(source, mask.header.biWidth, mask.header.biHeight,
                   [&](int i, int j) {
                       const int column = x + i, row = y + j;
                       const bool isInside = column >= 0 && column < source.header.biWidth && row >= 0 &&
                                             row < source.header.biHeight;
                       if (isInside && pixelIn(mask, i, j) == 1)
                           return pixelIn(source, column, row);
                       return source.header.biBitCount == 24 ? backgroundOf(source, color) : 0;
                   })
        .bytes();
}

/// A mask of noise; every third has long runs.
Pieces maskOf(int width, int height, uint32_t seed)
{
    Pieces mask = paletted(width, height, 1, 2, seed);
    mask.palette = {0, 0, 0, 0, 255, 255, 255, 0};
    if (seed % 3 == 0)
        for (std::size_t i = 0; i < mask.rows.size(); ++i)
            mask.rows[i] = static_cast<uint8_t>(i % 7 < 3 ? 0xFF : i % 7 < 6 ? 0x00 : mask.rows[i]);
    return mask;
}

class Crop : public ::testing::Test {
protected:
    NothingLost check_;
    Restore restore_;
};

TEST_F(Crop, Refusals)
{
    const Handle image = gray(5, 4).handle();
    for (const tagRECT &rect :
         {tagRECT{0, 0, 0, 4}, tagRECT{0, 0, 5, 0}, tagRECT{3, 0, 2, 4}, tagRECT{0, 3, 5, 2},
          tagRECT{0, 0, 0, 0}, tagRECT{INT32_MIN, 0, INT32_MAX, 1}, tagRECT{0, INT32_MIN, 1, INT32_MAX},
          tagRECT{INT32_MAX, 0, INT32_MIN, 1}, tagRECT{INT32_MIN, INT32_MIN, INT32_MAX, INT32_MAX},
          tagRECT{0, 0, INT32_MAX, INT32_MAX}, tagRECT{INT32_MIN, 0, -1, 9}, tagRECT{-1, -1, INT32_MAX, 9}})
        for (const int wrap : {0, 1, -1}) {
            EXPECT_EQ(eventsOfRefusal(image, crop(rect, 0, wrap)), Events{});
            EXPECT_EQ(eventsOfRefusal(nullptr, crop(rect, 0, wrap)), Events{});
            EXPECT_EQ(eventsOfRefusal(image, plainCrop(rect, 0)), Events{});
        }
    const tagRECT good{0, 0, 5, 4};
    EXPECT_EQ(eventsOfRefusal(nullptr, crop(good, 0, 0)), Events{});
    for (const Pieces &other : {paletted(5, 4, 8, 256), paletted(5, 4, 8, 9), paletted(5, 4, 4, 16),
                                paletted(5, 4, 1, 2), paletted(5, 4, 16, 0), paletted(5, 4, 32, 0)})
        for (const int wrap : {0, 1})
            EXPECT_EQ(eventsOfRefusal(other.handle(), crop(good, 0, wrap)), Events{});
    expectLiesRefused(crop(good, 0, 0));
    expectLiesRefused(crop(good, 0, 1));
}

TEST_F(Crop, ByHand)
{
    const Pieces image = grayRows({{1, 2, 3}, {4, 5, 6}});
    EXPECT_EQ(resultOf(image, crop({1, 0, 3, 2}, 0, 0)), grayRows({{2, 3}, {5, 6}}).bytes());
    EXPECT_EQ(resultOf(image, crop({-1, -1, 2, 1}, 0x00112233, 0)),
              grayRows({{0x33, 0x33, 0x33}, {0x33, 1, 2}}).bytes());
    EXPECT_EQ(resultOf(image, crop({2, 1, 4, 3}, 0x00112233, 0)),
              grayRows({{6, 0x33}, {0x33, 0x33}}).bytes());
    // Over and over from its own first pixel on: column -4 is column 2, row 3 is row 1.
    EXPECT_EQ(resultOf(image, crop({-4, 3, 4, 5}, 0x00112233, 1)),
              grayRows({{6, 4, 5, 6, 4, 5, 6, 4}, {3, 1, 2, 3, 1, 2, 3, 1}}).bytes());
    // Blue, green, red in memory.
    const Bytes colors = resultOf(pixelRow({7, 8, 9}), crop({-1, 0, 1, 1}, 0x00112233, 0));
    ASSERT_EQ(colors.size(), 48u);
    EXPECT_EQ(Bytes(colors.begin() + 40, colors.end()), (Bytes{0x11, 0x22, 0x33, 7, 8, 9, 0, 0}));
}

TEST_F(Crop, WhollyOutside)
{
    for (const Pieces &image : {gray(6, 5), trueColor(6, 5)})
        for (const tagRECT &rect :
             {tagRECT{6, 0, 15, 5}, tagRECT{-9, 0, 0, 5}, tagRECT{0, 5, 6, 9}, tagRECT{0, -4, 6, 0},
              tagRECT{INT32_MIN, 2, INT32_MIN + 9, 4}, tagRECT{INT32_MAX - 9, 2, INT32_MAX, 4},
              tagRECT{2, INT32_MIN, 4, INT32_MIN + 9}, tagRECT{2, INT32_MAX - 9, 4, INT32_MAX}})
            EXPECT_EQ(resultOf(image, crop(rect, 0xFF405060, 0)),
                      painted(image, rect.right - rect.left, rect.bottom - rect.top, [&](int, int) {
                          return backgroundOf(image, 0x405060);
                      }).bytes());
}

TEST_F(Crop, FarAwayPlacesWrap)
{
    // 2^31 is 2 more than a multiple of 6 and 3 more than one of 5. In small numbers:
    const Pieces image = trueColor(6, 5);
    EXPECT_EQ(resultOf(image, crop({INT32_MIN, INT32_MIN, INT32_MIN + 13, INT32_MIN + 11}, 0, 7)),
              cropped(image, {4, 2, 17, 13}, 0, true));
    EXPECT_EQ(resultOf(image, crop({INT32_MAX - 13, INT32_MAX - 11, INT32_MAX, INT32_MAX}, 0, 7)),
              cropped(image, {0, 1, 13, 12}, 0, true));
}

TEST_F(Crop, EverySmallSizeAgainstOnePixelAtATime)
{
    for (int width = 1; width <= 40; ++width)
        for (int height = 1; height <= 20; ++height) {
            const int n = width * 31 + height * 17;
            for (const Pieces &image :
                 {gray(1 + n % 11, 1 + n % 5, static_cast<uint32_t>(n)),
                  trueColor(1 + n % 13, 1 + n % 7, static_cast<uint32_t>(n)), trueColor(width, height)})
                for (const int wrap : {0, 1, INT32_MIN}) {
                    const int left = n % 29 - 14, top = n % 19 - 9;
                    const tagRECT rect{left, top, left + width, top + height};
                    ASSERT_EQ(resultOf(image, crop(rect, 0x00C0FFEE, wrap)),
                              cropped(image, rect, 0x00C0FFEE, wrap != 0))
                        << width << " x " << height << " at " << left << ", " << top;
                    if (wrap == 0) {
                        ASSERT_EQ(resultOf(image, plainCrop(rect, 0x00C0FFEE)),
                                  cropped(image, rect, 0x00C0FFEE, false));
                    }
                }
        }
}

TEST_F(Crop, WhatTheHostSees)
{
    for (const Pieces &image : {gray(5, 3), trueColor(5, 3)})
        for (const int wrap : {0, 1}) {
            const Effect effect = crop({-2, -3, 4, 34}, 1, wrap);
            EXPECT_EQ(eventsOf(image, effect), joined({{"poll"}, rowEvents(37), {"100%"}}));
            expectAborts(image, effect, 1, {"100%"});
            expectFailuresSurvived(image, effect);
        }
    const Handle image = gray(5, 3).handle();
    memory_hooks::failAllocation(1);
    EXPECT_EQ(eventsOfRefusal(image, crop({0, 0, 5, 3}, 0, 0)), Events{});
    memory_hooks::failAllocation(0);
}

TEST_F(Crop, LongHeaders)
{
    Pieces image = trueColor(5, 3);
    image.header.biSize = 48;
    Bytes expected = cropped(image, {0, 0, 5, 3}, 0, false);
    EXPECT_EQ(resultOf(image, crop({0, 0, 5, 3}, 0, 0)), expected);
    image.header.biSize = 80; // more than the result has
    expected = cropped(image, {1, 1, 2, 2}, 0, false);
    expected.back() = image.rows[3]; // what the header brought into the padding
    EXPECT_EQ(resultOf(image, crop({1, 1, 2, 2}, 0, 0)), expected);
}

class MaskCrop : public Crop {};

TEST_F(MaskCrop, Refusals)
{
    const Handle image = gray(5, 4).handle(), mask = maskOf(5, 4, 1).handle();
    EXPECT_EQ(eventsOfRefusal(nullptr, maskCrop(mask, 0, 0, 0)), Events{});
    EXPECT_EQ(eventsOfRefusal(image, maskCrop(nullptr, 0, 0, 0)), Events{});
    EXPECT_EQ(eventsOfRefusal(nullptr, maskCrop(nullptr, 0, 0, 0)), Events{});
    for (const int bits : {0, 2, 16, 32})
        EXPECT_EQ(eventsOfRefusal(paletted(5, 4, bits, 0).handle(), maskCrop(mask, 0, 0, 0)), Events{});
    for (const Pieces &other :
         {gray(5, 4), trueColor(5, 4), paletted(5, 4, 4, 16), paletted(5, 4, 2, 4), paletted(5, 4, 32, 0)}) {
        const Handle handle = other.handle();
        EXPECT_EQ(eventsOfRefusal(image, maskCrop(handle, 0, 0, 0)), Events{});
        EXPECT_EQ(memory_hooks::locksOn(handle), 0);
    }
    const Bytes whole = maskOf(5, 4, 1).bytes();
    for (std::size_t length = 0; length < whole.size(); ++length) {
        const Handle shorter = blockOf(std::span(whole).first(length));
        EXPECT_EQ(eventsOfRefusal(image, maskCrop(shorter, 0, 0, 0)), Events{}) << length;
        EXPECT_EQ(memory_hooks::locksOn(shorter), 0);
    }
    for (const int32_t size : {0, -1, 33, INT32_MIN, INT32_MAX})
        for (int32_t DibHeader::*const side : {&DibHeader::biWidth, &DibHeader::biHeight}) {
            Pieces lie = maskOf(5, 4, 1);
            lie.header.*side = size;
            EXPECT_EQ(eventsOfRefusal(image, maskCrop(lie.handle(), 0, 0, 0)), Events{}) << size;
        }
    int local = 0;
    EXPECT_EQ(eventsOfRefusal(image, maskCrop(&local, 0, 0, 0)), Events{});
}

TEST_F(MaskCrop, LyingImages)
{
    const Handle mask = maskOf(5, 4, 1).handle();
    for (const Pieces &image : everyDepth(5, 4)) {
        const Bytes whole = image.bytes();
        for (std::size_t length = 0; length < whole.size(); length += 3)
            EXPECT_EQ(eventsOfRefusal(blockOf(std::span(whole).first(length)), maskCrop(mask, 0, 0, 0)),
                      Events{});
        for (const int32_t size : {0, -1, 100, INT32_MIN, INT32_MAX}) {
            Pieces lie = image;
            lie.header.biHeight = size;
            EXPECT_EQ(eventsOfRefusal(lie.handle(), maskCrop(mask, 0, 0, 0)), Events{});
        }
    }
}

TEST_F(MaskCrop, ByHand)
{
    // 10100000: two of three pixels.
    Pieces mask{makeHeader(3, 1, 1, 2), {0, 0, 0, 0, 255, 255, 255, 0}, {0xA0, 0, 0, 0}};
    const Handle handle = mask.handle();
    EXPECT_EQ(resultOf(grayRows({{7, 8, 9, 10}}), maskCrop(handle, 1, 0, 0xFFFFFF)),
              grayRows({{8, 0, 10}}).bytes());
    EXPECT_EQ(resultOf(grayRows({{7, 8, 9, 10}}), maskCrop(handle, -2, 0, 0xFFFFFF)),
              grayRows({{0, 0, 7}}).bytes());
    Bytes result = resultOf(pixelRow({1, 2, 3, 4, 5, 6, 7, 8, 9}), maskCrop(handle, 0, 0, 0x00112233));
    EXPECT_EQ(Bytes(result.begin() + 40, result.end()), (Bytes{1, 2, 3, 0x11, 0x22, 0x33, 7, 8, 9, 0, 0, 0}));
    // The even column is the high nibble: 0xA, 0xB, 0xC.
    const Pieces nibbles{makeHeader(3, 1, 4, 1), {9, 9, 9, 9}, {0xAB, 0xCD, 0xEE, 0xEE}};
    result = resultOf(nibbles, maskCrop(handle, 0, 0, 0xFFFFFF));
    EXPECT_EQ(Bytes(result.begin() + 44, result.end()), (Bytes{0xA0, 0xC0, 0, 0}));
    const Pieces bits{makeHeader(3, 1, 1, 2), {9, 9, 9, 9, 8, 8, 8, 8}, {0x7F, 0xFF, 0xFF, 0xFF}};
    result = resultOf(bits, maskCrop(handle, 0, 0, 0xFFFFFF));
    EXPECT_EQ(Bytes(result.begin() + 48, result.end()), (Bytes{0x20, 0, 0, 0}));
}

TEST_F(MaskCrop, EverySmallSizeAgainstOnePixelAtATime)
{
    for (int width = 1; width <= 40; ++width)
        for (int height = 1; height <= 20; ++height) {
            const int n = width * 31 + height * 17;
            const auto seed = static_cast<uint32_t>(n);
            const Pieces mask = maskOf(width, height, seed);
            const Handle handle = mask.handle();
            const int x = n % 23 - 11, y = n % 13 - 6;
            for (const Pieces &image : everyDepth(1 + n % 37, 1 + n % 11, seed)) {
                if (width > 20 && static_cast<uint32_t>(image.header.biBitCount) % 3 == seed % 3)
                    continue;
                ASSERT_EQ(resultOf(image, maskCrop(handle, x, y, 0x00C0FFEE)),
                          cut(image, mask, x, y, 0x00C0FFEE))
                    << width << " x " << height << " at " << x << ", " << y << ", "
                    << image.header.biBitCount;
            }
        }
}

TEST_F(MaskCrop, LongRuns)
{
    for (const uint32_t seed : {3u, 7u}) {
        const Pieces mask = maskOf(301, 3, seed);
        const Handle handle = mask.handle();
        for (const Pieces &image : everyDepth(280, 4, seed))
            for (const int x : {-70, -8, 0, 77})
                ASSERT_TRUE(resultOf(image, maskCrop(handle, x, 1, 0x010203)) ==
                            cut(image, mask, x, 1, 0x010203))
                    << x;
    }
}

TEST_F(MaskCrop, FarAwayIsBackground)
{
    const Pieces mask = maskOf(12, 5, 3);
    const Handle handle = mask.handle();
    for (const Pieces &image : everyDepth(9, 9)) {
        const Bytes background = cut(image, mask, 100, 0, 0x00112233);
        for (const int far : {INT32_MIN, INT32_MAX, -13, 9}) {
            EXPECT_EQ(resultOf(image, maskCrop(handle, far, 0, 0x00112233)), background) << far;
            EXPECT_EQ(resultOf(image, maskCrop(handle, 0, far, 0x00112233)), background) << far;
        }
    }
}

// The rows of a mask lie at byte 48 whatever its palette.
TEST_F(MaskCrop, TheRowsOfAMask)
{
    const Pieces image = trueColor(20, 5), mask = maskOf(13, 5, 1);
    const Bytes expected = cut(image, mask, 2, 0, 5);
    for (const uint32_t colors : {0u, 1u, 3u}) {
        Pieces other = mask;
        other.header.biClrUsed = colors;
        Bytes block = other.bytes();
        block.resize(block.size() + 8); // room for three colours
        const Handle handle = blockOf(block);
        EXPECT_EQ(resultOf(image, maskCrop(handle, 2, 0, 5)), expected) << colors;
        EXPECT_EQ(bytesOf(handle), block);
        EXPECT_EQ(memory_hooks::locksOn(handle), 0);
    }
}

TEST_F(MaskCrop, AMaskCutByItself)
{
    const Pieces mask = maskOf(13, 5, 1);
    const Handle handle = mask.handle();
    const Handle result(ProcessCrop(handle, handle, 0, 0, 0));
    ASSERT_TRUE(result);
    EXPECT_EQ(bytesOf(result), cut(mask, mask, 0, 0, 0));
}

TEST_F(MaskCrop, TheHostSeesNothing)
{
    const Handle mask = maskOf(13, 40, 1).handle();
    for (const Pieces &image : everyDepth(15, 40)) {
        EXPECT_EQ(eventsOf(image, maskCrop(mask, 0, 0, 0)), Events{});
        RecordingHost host;
        host.abortFromPoll(1);
        EXPECT_FALSE(resultOf(image, maskCrop(mask, 0, 0, 0)).empty());
        expectFailuresSurvived(image, maskCrop(mask, 0, 0, 0));
        EXPECT_EQ(memory_hooks::locksOn(mask), 0);
    }
}

} // namespace

} // namespace velmont::testing
