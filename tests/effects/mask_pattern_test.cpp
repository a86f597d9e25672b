// Filling with a pattern.

#include "platform/memory.h"
#include "tests/effects/mask_testing.h"
#include <algorithm>
#include <climits>
#include <cstring>
#include <gtest/gtest.h>
#include <velmont/geometry.h>
#include <velmont/masks.h>

namespace velmont::testing {

namespace {

struct Manner {
    int tiling, percent, relief;
};

Effect fill(void *pattern, const Manner &manner)
{
    return [=](void *dib) {
        return ProcessFillPattern(dib, pattern, manner.tiling, manner.percent, manner.relief);
    };
}

int heldToByte(int64_t value)
{
    return static_cast<int>(std::clamp<int64_t>(value, 0, 255));
}

/// The pattern's columns over those of the image, and half a tile more for shifted rows.
std::vector<int> tileColumns(int tileWidth, int tiling, int width)
{
    std::vector<int> columns;
    for (int i = 0; i < width; ++i) {
        int column = i % tileWidth;
        if (tiling == 2 && i / tileWidth % 2 == 1)
            column = tileWidth - column - 1;
        columns.push_back(column);
    }
    for (int i = width; i < width + tileWidth / 2; ++i)
        columns.push_back(i % tileWidth);
    return columns;
}

/// The rows that come of it, the pattern's bytes being pattern(column, row, channel); padding 0.
template <typename Bytes3>
Bytes covered(const Pieces &image, int tileWidth, int tileHeight, const Manner &m, Bytes3 patternAt)
{
    const int width = image.header.biWidth, height = image.header.biHeight;
    const int channels = image.header.biBitCount / 8;
    const std::size_t stride = strideFor(width, image.header.biBitCount);
    const std::vector<int> columns = tileColumns(tileWidth, m.tiling, width);
    Bytes rows(image.rows.size());
    for (int y = 0; y < height; ++y) {
        const int fromEnd = height - 1 - y, band = fromEnd / tileHeight % 2;
        const int row =
            band == 1 && m.tiling == 2 ? fromEnd % tileHeight : tileHeight - fromEnd % tileHeight - 1;
        const int first = band == 1 && m.tiling == 1 ? tileWidth / 2 : 0;
        for (int x = 0; x < width; ++x) {
            const int column = columns[static_cast<std::size_t>(first + x)];
            int mean = 0;
            for (int channel = 0; channel < channels; ++channel)
                mean += patternAt(column, row, channel);
            mean /= channels;
            for (int channel = 0; channel < channels; ++channel) {
                const std::size_t at =
                    static_cast<std::size_t>(y) * stride + static_cast<std::size_t>(channels * x + channel);
                const int s = image.rows[at], t = patternAt(column, row, channel);
                const auto step = [&](int64_t i) { return (i * m.percent + 50) / 100; };
                if (m.relief != 0)
                    rows[at] = static_cast<uint8_t>(heldToByte(s + (int64_t{128} - mean) * m.percent / 100));
                else
                    rows[at] = static_cast<uint8_t>(s < t ? s + step(t - s) : s - step(s - t));
            }
        }
    }
    return rows;
}

Bytes withRows(const Pieces &image, const Bytes &rows)
{
    Pieces changed = image;
    changed.rows = rows;
    return changed.bytes();
}

/// For a pattern of the image's own kind.
Bytes expectedOf(const Pieces &image, const Pieces &pattern, const Manner &m)
{
    const auto patternAt = [&](int column, int row, int channel) {
        return static_cast<int>(pixelIn(pattern, column, row) >> 8 * channel & 255);
    };
    return withRows(image, covered(image, pattern.header.biWidth, pattern.header.biHeight, m, patternAt));
}

constexpr int kPercents[] = {0, 1, 37, 50, 99, 100, 101, 250, -1, -50, 100000, INT_MAX, INT_MIN};

TEST(FillPattern, EverySizeAndManner)
{
    uint32_t state = 1;
    int run = 0;
    for (int width = 1; width <= 40; ++width)
        for (int height = 1; height <= 18; ++height) {
            state = state * 1664525u + 1013904223u;
            const int tileWidth = 1 + static_cast<int>(state >> 9) % 50,
                      tileHeight = 1 + static_cast<int>(state >> 22) % 9;
            const Manner m{run % 5 - 1, kPercents[state % std::size(kPercents)], run / 5 % 2};
            ++run;
            for (const bool isDeep : {false, true}) {
                const Pieces image = isDeep ? trueColor(width, height, state) : gray(width, height, state);
                const Pieces pattern = isDeep ? trueColor(tileWidth, tileHeight, state + 1)
                                              : gray(tileWidth, tileHeight, state + 1);
                const Handle handle = pattern.handle();
                ASSERT_EQ(resultOf(image, fill(handle, m)), expectedOf(image, pattern, m))
                    << width << " x " << height << ", tiles " << tileWidth << " x " << tileHeight << ", "
                    << m.tiling << ", " << m.percent << ", " << m.relief;
                ASSERT_EQ(bytesOf(handle), pattern.bytes());
                ASSERT_EQ(memory_hooks::locksOn(handle), 0);
            }
        }
}

TEST(FillPattern, EveryPairOfBytes)
{
    const Restore restore;
    const auto levels = cpuLevels();
    Pieces image = blankOf(gray(1, 1), 256, 256), pattern = image;
    for (std::size_t i = 0; i < 65536; ++i) {
        image.rows[i] = static_cast<uint8_t>(i);
        pattern.rows[i] = static_cast<uint8_t>(i >> 8);
    }
    const Handle handle = pattern.handle();
    for (const int relief : {0, 1})
        for (const int percent : {-2, -1, 0, 1, 2, 3, 7, 25, 49, 50, 51, 73, 98, 99, 100, 101, 102}) {
            const Manner m{0, percent, relief};
            const Bytes expected = expectedOf(image, pattern, m);
            for (const CpuLevel level : levels) {
                limitCpuLevel(level);
                ASSERT_EQ(resultOf(image, fill(handle, m)), expected) << percent;
            }
        }
}

/// Every sum of channels that a mean is taken of, and every level below it.
TEST(FillPattern, EveryMean)
{
    const Restore restore;
    Pieces image = blankOf(trueColor(1, 1), 256, 766), pattern = image;
    image.rows = noise(image.rows.size(), 3);
    for (std::size_t y = 0; y < 766; ++y)
        for (std::size_t x = 0; x < 256; ++x) {
            uint8_t *const pixel = &pattern.rows[3 * (256 * y + x)];
            for (std::size_t channel = 0; channel < 3; ++channel)
                pixel[(x + channel) % 3] = static_cast<uint8_t>((y + channel) / 3);
        }
    const Handle handle = pattern.handle();
    const auto levels = cpuLevels();
    for (const int percent : {33, 100, 110}) {
        const Bytes expected = expectedOf(image, pattern, {0, percent, 1});
        for (const CpuLevel level : levels) {
            limitCpuLevel(level);
            ASSERT_EQ(resultOf(image, fill(handle, {0, percent, 1})), expected) << percent;
        }
    }
}

/// The rows of a gray image of zeros that is covered wholly.
std::vector<Bytes> tiles(int width, int height, const Pieces &pattern, int tiling)
{
    const Handle image(CreateDib(width, height, 8, 0, 0)), tile = pattern.handle();
    const Handle result(ProcessFillPattern(image, tile, tiling, 100, 0));
    const Bytes block = bytesOf(result);
    std::vector<Bytes> rows;
    for (int y = 0; y < height; ++y) {
        const auto start = block.begin() + 1064 + static_cast<long>(strideFor(width, 8)) * y;
        rows.emplace_back(start, start + width);
    }
    return rows;
}

TEST(FillPattern, TilingByHand)
{
    const Pieces pattern = grayRows({{1, 2, 3}, {4, 5, 6}});
    const Bytes first{1, 2, 3, 1, 2, 3, 1}, second{4, 5, 6, 4, 5, 6, 4};
    for (const int tiling : {0, 3, -1, INT_MIN})
        EXPECT_EQ(tiles(7, 5, pattern, tiling), (std::vector<Bytes>{second, first, second, first, second}));
    EXPECT_EQ(tiles(7, 5, pattern, 1),
              (std::vector<Bytes>{second, {2, 3, 1, 2, 3, 1, 2}, {5, 6, 4, 5, 6, 4, 5}, first, second}));
    const Bytes mirrored{1, 2, 3, 3, 2, 1, 1}, mirroredSecond{4, 5, 6, 6, 5, 4, 4};
    EXPECT_EQ(tiles(7, 5, pattern, 2),
              (std::vector<Bytes>{mirroredSecond, mirroredSecond, mirrored, mirrored, mirroredSecond}))
        << "the odd band upside down";
    EXPECT_EQ(tiles(2, 1, pattern, 1), (std::vector<Bytes>{{4, 5}})) << "larger than the image";
    EXPECT_EQ(tiles(3, 3, grayRows({{9}}), 1), std::vector<Bytes>(3, Bytes(3, 9)));
    EXPECT_EQ(tiles(3, 3, grayRows({{9}}), 2), std::vector<Bytes>(3, Bytes(3, 9)));
}

TEST(FillPattern, MixesByHand)
{
    const Handle pattern = levelRow({200, 0, 100, 255}).handle();
    const Pieces image = levelRow({100, 100, 100, 10});
    const auto of = [&](int percent, int relief) {
        return resultOf(image, fill(pattern, {0, percent, relief}));
    };
    EXPECT_EQ(of(0, 0), image.bytes());
    EXPECT_EQ(of(100, 0), levelRow({200, 0, 100, 255}).bytes());
    EXPECT_EQ(of(25, 0), levelRow({125, 75, 100, 71}).bytes()) << "245 * 0.25 is 61.25";
    EXPECT_EQ(of(150, 0), levelRow({250, 206, 100, 122}).bytes()) << "-50 and 378 are cut";
    // 128 - level in percent, truncated towards 0: -36, 64, 14, -63.5.
    EXPECT_EQ(of(50, 1), levelRow({64, 164, 114, 0}).bytes());
    EXPECT_EQ(of(100, 1), levelRow({28, 228, 128, 0}).bytes());
    EXPECT_EQ(of(1, -1), levelRow({100, 101, 100, 9}).bytes()) << "-0.72, 1.28, 0.28, -1.27";
    EXPECT_EQ(of(INT_MAX, 1), levelRow({0, 255, 255, 0}).bytes());
    const Handle middle = levelRow({128}).handle();
    EXPECT_EQ(resultOf(image, fill(middle, {0, 100, 1})), image.bytes());
}

TEST(FillPattern, ReliefOfColorsTakesTheirMean)
{
    const Handle pattern = pixelRow({100, 101, 102, 0, 0, 2}).handle();
    EXPECT_EQ(resultOf(pixelRow({1, 2, 3, 100, 200, 250}), fill(pattern, {0, 100, 1})),
              pixelRow({28, 29, 30, 228, 255, 255}).bytes())
        << "means of 101 and 0";
}

TEST(FillPattern, ConvertsPatternsOfTheOtherDepth)
{
    const Pieces deep = trueColor(9, 5), few = paletted(7, 3, 8, 9, 3), ramp = gray(6, 4);
    const Handle deepHandle = deep.handle();
    const Handle grayOfDeep(ProcessConvertToGrayScale(deepHandle));
    const Pieces image = gray(20, 11), trueImage = trueColor(20, 11);
    for (const Manner &m : {Manner{0, 100, 0}, {1, 40, 0}, {2, 70, 1}}) {
        EXPECT_EQ(resultOf(image, fill(deepHandle, m)), resultOf(image, fill(grayOfDeep, m)));
        for (const Pieces &pattern : {few, ramp}) {
            const Handle handle = pattern.handle();
            const Handle converted(ProcessConvertTo24BitColor(handle));
            EXPECT_EQ(resultOf(trueImage, fill(handle, m)), resultOf(trueImage, fill(converted, m)));
        }
    }
}

/// The bytes of a block from its pixels on, 0 behind it.
int byteAt(const Bytes &block, std::size_t pixels, std::size_t place)
{
    return pixels + place < block.size() ? block[pixels + place] : 0;
}

/// A pattern of 8 bits and another number of colours becomes one of 24 bits, read as if its rows had 8 bits.
TEST(FillPattern, EightBitsWithOtherCountsOfColors)
{
    const Pieces image = paletted(20, 11, 8, 256), pattern = paletted(6, 4, 8, 9);
    const Handle handle = pattern.handle();
    const Handle converted(ProcessConvertTo24BitColor(handle));
    const Bytes block = bytesOf(converted);
    for (const Manner &m : {Manner{0, 100, 0}, {1, 40, 0}, {2, 70, 1}}) {
        const Bytes rows = covered(image, 6, 4, m, [&](int column, int row, int) {
            return byteAt(block, 40, static_cast<std::size_t>(8 * row + column));
        });
        EXPECT_EQ(resultOf(image, fill(handle, m)), withRows(image, rows));
    }
}

/// One of 24 bits and another count becomes gray, read as if its rows had 24 bits: past its block it counts as 0.
TEST(FillPattern, TwentyFourBitsWithOtherCountsOfColors)
{
    const Pieces image = trueColor(20, 31);
    Pieces pattern = trueColor(7, 9);
    pattern.header.biClrUsed = 3;
    const Handle handle = pattern.handle();
    const Handle converted(ProcessConvertToGrayScale(handle));
    const Bytes block = bytesOf(converted);
    ASSERT_EQ(block.size(), 1064u + 9 * 8);
    for (const Manner &m : {Manner{0, 100, 0}, {1, 40, 0}, {2, 70, 1}}) {
        const Bytes rows = covered(image, 7, 9, m, [&](int column, int row, int channel) {
            return byteAt(block, 1064, static_cast<std::size_t>(24 * row + 3 * column + channel));
        });
        EXPECT_EQ(resultOf(image, fill(handle, m)), withRows(image, rows));
    }
}

/// Indices are mixed as if they were levels, whatever the palette.
TEST(FillPattern, PalettedImages)
{
    const Pieces image = paletted(20, 11, 8, 256), pattern = paletted(6, 4, 8, 256, 7);
    const Handle handle = pattern.handle();
    EXPECT_EQ(resultOf(image, fill(handle, {2, 33, 0})), expectedOf(image, pattern, {2, 33, 0}));
}

/// 1064 bytes are carried over at 8 bits, which with a short palette reach into the rows and their padding.
TEST(FillPattern, ShortPalettes)
{
    const Pieces image = paletted(21, 50, 8, 9), pattern = paletted(6, 4, 8, 9, 7);
    const Handle handle = pattern.handle();
    Pieces expected = image;
    const Bytes rows = [&] {
        const auto patternAt = [&](int column, int row, int) {
            return static_cast<int>(pixelIn(pattern, column, row));
        };
        return covered(image, 6, 4, {0, 33, 0}, patternAt);
    }();
    for (std::size_t i = 0; i < rows.size(); ++i) {
        const bool isPixel = i % 24 < 21, isCarriedOver = 40 + 36 + i < 1064;
        expected.rows[i] = isPixel ? rows[i] : isCarriedOver ? image.rows[i] : uint8_t{0};
    }
    EXPECT_EQ(resultOf(image, fill(handle, {0, 33, 0})), expected.bytes());
}

TEST(FillPattern, PollsReportsAndCursors)
{
    const Pieces image = trueColor(5, 40), small = gray(5, 3);
    const Handle pattern = trueColor(3, 2).handle(), other = gray(3, 2).handle(),
                 tall = trueColor(2, 17).handle();
    EXPECT_EQ(eventsOf(image, fill(pattern, {0, 50, 0})),
              joined({{"wait", "poll"}, rowEvents(40), {"100%", "arrow"}}));
    // The conversion comes first, with all that hosts see of it.
    EXPECT_EQ(eventsOf(image, fill(other, {0, 50, 0})), joined({{"wait", "poll"},
                                                                rowEvents(2),
                                                                {"100%", "arrow", "wait", "poll"},
                                                                rowEvents(40),
                                                                {"100%", "arrow"}}));
    EXPECT_EQ(eventsOf(small, fill(tall, {0, 50, 1})), joined({{"wait", "poll"},
                                                               rowEvents(17),
                                                               {"100%", "arrow", "wait", "poll"},
                                                               rowEvents(3),
                                                               {"100%", "arrow"}}));
    expectAborts(trueColor(5, 18), fill(pattern, {0, 50, 0}), 1);
    expectFailuresSurvived(trueColor(5, 3), fill(pattern, {0, 50, 0}));
    expectFailuresSurvived(trueColor(5, 3), fill(other, {0, 50, 1}));
}

TEST(FillPattern, AnAbortedConversionEndsIt)
{
    const NothingLost check;
    const Handle image = trueColor(5, 3).handle(), pattern = gray(3, 2).handle();
    RecordingHost host;
    host.abortFromPoll(2);
    EXPECT_EQ(ProcessFillPattern(image, pattern, 0, 50, 0), nullptr);
    EXPECT_EQ(host.events, Events({"wait", "poll", "poll", "100%", "arrow"}));
}

TEST(FillPattern, AtTheEndOnlyTheResultIsLeft)
{
    const Handle image = trueColor(5, 3).handle(), pattern = gray(3, 2).handle();
    WatchingHost host(image);
    const Handle result(ProcessFillPattern(image, pattern, 0, 50, 0));
    ASSERT_GE(host.sights.size(), 2u);
    EXPECT_EQ(host.sights[host.sights.size() - 2], (Sight{"100%", 0, 1, 0}));
}

TEST(FillPattern, OnePictureForBoth)
{
    const Pieces image = gray(7, 5);
    const Handle handle = image.handle();
    const Handle result(ProcessFillPattern(handle, handle, 0, 100, 0));
    EXPECT_EQ(bytesOf(result),
              withRows(image, covered(image, 7, 5, {0, 0, 0}, [](int, int, int) { return 0; })));
}

TEST(FillPattern, RefusesOtherBlocks)
{
    const NothingLost check;
    const Handle image = gray(5, 3).handle(), pattern = gray(3, 2).handle();
    const Effect onImage = fill(pattern, {0, 50, 0});
    EXPECT_EQ(eventsOfRefusal(nullptr, onImage), Events{});
    const Effect asPattern = [&](void *dib) { return ProcessFillPattern(image, dib, 0, 50, 0); };
    EXPECT_EQ(eventsOfRefusal(nullptr, asPattern), Events{});
    for (const Pieces &other :
         {noiseMask(5, 3), paletted(5, 3, 4, 16), paletted(5, 3, 16, 0), paletted(5, 3, 32, 0)}) {
        const Handle handle = other.handle(), same = other.handle();
        EXPECT_EQ(eventsOfRefusal(handle, onImage), Events{}) << other.header.biBitCount;
        EXPECT_EQ(eventsOfRefusal(handle, asPattern), Events{}) << other.header.biBitCount;
        EXPECT_EQ(eventsOfRefusal(handle, fill(same, {0, 50, 0})), Events{}) << other.header.biBitCount;
    }
    const Handle deep = trueColor(5, 3).handle();
    for (const Pieces &lying : {gray(5, 3), trueColor(5, 3), paletted(5, 3, 8, 9)}) {
        Bytes cut = lying.bytes();
        cut.pop_back();
        const Handle truncated = blockOf(cut);
        EXPECT_EQ(eventsOfRefusal(truncated, onImage), Events{});
        EXPECT_EQ(eventsOfRefusal(truncated, asPattern), Events{});
    }
    const Handle bad = paletted(5, 3, 16, 0).handle();
    EXPECT_EQ(eventsOfRefusal(bad, fill(deep, {0, 50, 0})), Events{}) << "before any conversion";
}

} // namespace

} // namespace velmont::testing
