// Relief that is painted over the picture: the grid of tiles, the bevelled inner frame, the button,
// the rounded frame.

#include "core/generator.h"
#include "platform/memory.h"
#include "tests/effects/tone_testing.h"
#include <algorithm>
#include <climits>
#include <cmath>
#include <gtest/gtest.h>
#include <velmont/effects.h>
#include <velmont/filters.h>

namespace velmont::testing {

namespace {

/// The image with map(level, x, y, channel) on each byte of its pixels and zero padding.
template <typename Map>
Pieces mapped(const Pieces &source, Map map)
{
    Pieces image = source;
    const int channels = source.header.biBitCount / 8, width = source.header.biWidth;
    const std::size_t stride = strideFor(width, source.header.biBitCount);
    for (int y = 0; y < source.header.biHeight; ++y)
        for (std::size_t i = 0; i < stride; ++i) {
            uint8_t &byte = image.rows[static_cast<std::size_t>(y) * stride + i];
            const int x = static_cast<int>(i) / channels;
            byte = x < width ? map(byte, x, y, static_cast<int>(i) % channels) : uint8_t{0};
        }
    return image;
}

uint8_t held(int64_t level)
{
    return static_cast<uint8_t>(std::clamp<int64_t>(level, 0, 255));
}

/// The same level everywhere, padding included.
Pieces flat(Pieces image, uint8_t level)
{
    std::fill(image.rows.begin(), image.rows.end(), level);
    return image;
}

int levelAt(const Bytes &result, int width, int x, int y)
{
    return result[1064 + static_cast<std::size_t>(y) * strideFor(width, 8) + static_cast<std::size_t>(x)];
}

class Bevel : public ::testing::Test {
protected:
    NothingLost check_;
    Restore restore_;
};

// The grid

class Grid : public Bevel {};

Effect grid(int cellSize, int depth, int jitter, uint32_t seed = 1)
{
    return [=](void *dib) {
        srand(seed);
        tagParam3DGrid record{cellSize, depth, jitter};
        return Process3DGrid(dib, &record);
    };
}

int tileShade(int p, int n, int mask, int amount)
{
    if (p == 0 || p == mask || n == 0 || n == mask)
        return 0;
    if (p == 1)
        return -amount;
    if (p == mask - 1 || n == 1)
        return amount;
    return n == mask - 1 ? -amount : 0;
}

int walkOn(int value)
{
    const int draw = rand() & 3;
    return draw == 1 ? value + 1 : draw == 2 ? value - 1 : value;
}

Bytes tiled(const Pieces &source, int cellSize, int depth, int jitter, uint32_t seed = 1)
{
    const int mask = cellSize == 1 ? 31 : cellSize == 2 ? 15 : 63;
    srand(seed);
    std::vector<int> columns, rows;
    for (int x = 0; jitter && x < source.header.biWidth; ++x)
        columns.push_back(walkOn(columns.empty() ? 0 : columns.back()));
    for (int y = 0; jitter && y < source.header.biHeight; ++y)
        rows.push_back(walkOn(rows.empty() ? 0 : rows.back()));
    return mapped(source,
                  [&](uint8_t level, int x, int y, int) {
                      const auto column = static_cast<std::size_t>(x), row = static_cast<std::size_t>(y);
                      const int p = (jitter ? rows[row] + x : y) & mask;
                      const int n = (jitter ? columns[column] + y : x) & mask;
                      return held(level + tileShade(p, n, mask, 92 - 32 * depth));
                  })
        .bytes();
}

TEST_F(Grid, Refusals)
{
    const Handle image = gray(5, 4).handle();
    for (const int bad : {0, 4, -1, INT_MIN, INT_MAX})
        EXPECT_EQ(eventsOfRefusal(image, grid(bad, 0, 0)), Events{}) << bad;
    for (const int bad : {-1, 3, INT_MIN, INT_MAX})
        EXPECT_EQ(eventsOfRefusal(image, grid(1, bad, 0)), Events{}) << bad;
    for (const int bad : {-1, 2, INT_MIN, INT_MAX})
        EXPECT_EQ(eventsOfRefusal(image, grid(1, 0, bad)), Events{}) << bad;
    EXPECT_EQ(eventsOfRefusal(nullptr, grid(1, 0, 0)), Events{});
    EXPECT_EQ(eventsOfRefusal(image, [](void *dib) { return Process3DGrid(dib, nullptr); }), Events{});
    for (const Pieces &other : {paletted(5, 4, 8, 256), paletted(5, 4, 8, 9), paletted(5, 4, 4, 16),
                                paletted(5, 4, 1, 2), paletted(5, 4, 16, 0), paletted(5, 4, 32, 0)})
        EXPECT_EQ(eventsOfRefusal(other.handle(), grid(1, 0, 1)), Events{});
    expectLiesRefused(grid(1, 0, 1));
}

TEST_F(Grid, OneTileByHand)
{
    const Bytes result = resultOf(flat(gray(16, 16), 128), grid(2, 2, 0));
    for (int i = 0; i < 16; ++i)
        for (const int end : {0, 15}) {
            EXPECT_EQ(levelAt(result, 16, i, end), 128);
            EXPECT_EQ(levelAt(result, 16, end, i), 128);
        }
    for (int x = 1; x < 15; ++x) {
        EXPECT_EQ(levelAt(result, 16, x, 1), 100) << x;
        EXPECT_EQ(levelAt(result, 16, x, 14), 156) << x;
    }
    for (int y = 2; y < 14; ++y) {
        EXPECT_EQ(levelAt(result, 16, 1, y), 156) << y;
        EXPECT_EQ(levelAt(result, 16, 2, y), 128) << y;
        EXPECT_EQ(levelAt(result, 16, 13, y), 128) << y;
        EXPECT_EQ(levelAt(result, 16, 14, y), 100) << y;
    }
}

TEST_F(Grid, SizesAndDepths)
{
    // The near edge of the first tile: cells are not in the order of their numbers.
    for (const auto &[cellSize, near] : {std::pair{1, 30}, {2, 14}, {3, 62}})
        for (const auto &[depth, amount] : {std::pair{0, 92}, {1, 60}, {2, 28}}) {
            const Bytes result = resultOf(flat(gray(70, 70), 100), grid(cellSize, depth, 0));
            EXPECT_EQ(levelAt(result, 70, 5, 1), 100 - amount);
            EXPECT_EQ(levelAt(result, 70, 5, near), 100 + amount);
            EXPECT_EQ(levelAt(result, 70, 5, near + 1), 100);
            EXPECT_EQ(levelAt(result, 70, near, 5), 100 - amount);
        }
}

TEST_F(Grid, LevelsAreHeld)
{
    const Bytes dark = resultOf(flat(gray(16, 16), 91), grid(2, 0, 0));
    EXPECT_EQ(levelAt(dark, 16, 5, 1), 0);
    const Bytes light = resultOf(flat(gray(16, 16), 164), grid(2, 0, 0));
    EXPECT_EQ(levelAt(light, 16, 5, 14), 255);
}

TEST_F(Grid, EveryMeasureAsThePlainLoop)
{
    uint32_t next = 0;
    for (int width = 1; width <= 40; ++width)
        for (int height = 1; height <= 18; ++height)
            for (const Pieces &image : {gray(width, height), trueColor(width, height)})
                for (const int jitter : {0, 1}) {
                    ++next;
                    const int cellSize = static_cast<int>(next % 3) + 1,
                              depth = static_cast<int>(next / 3 % 3);
                    const Bytes expected = tiled(image, cellSize, depth, jitter, next);
                    for (const CpuLevel level : cpuLevels()) {
                        limitCpuLevel(level);
                        ASSERT_EQ(resultOf(image, grid(cellSize, depth, jitter, next)), expected)
                            << width << " x " << height << ", " << cellSize << ", " << depth << ", "
                            << jitter;
                    }
                }
    for (const Pieces &image : {gray(203, 150), trueColor(150, 203)})
        for (int cellSize = 1; cellSize <= 3; ++cellSize)
            for (const int jitter : {0, 1})
                EXPECT_EQ(resultOf(image, grid(cellSize, 1, jitter)), tiled(image, cellSize, 1, jitter));
}

TEST_F(Grid, GoesOnWithTheRandomNumbersItFinds)
{
    const Handle image = trueColor(9, 7).handle();
    tagParam3DGrid record{2, 0, 1};
    srand(5);
    const Handle first(Process3DGrid(image, &record)), second(Process3DGrid(image, &record));
    const int afterTwo = rand();
    srand(5);
    for (int draw = 0; draw < 2 * (9 + 7); ++draw)
        rand();
    EXPECT_EQ(afterTwo, rand());
    // A straight grid draws nothing, nor does one that is refused.
    record.jitter = 0;
    srand(5);
    const Handle straight(Process3DGrid(image, &record));
    record.jitter = 1;
    EXPECT_EQ(Process3DGrid(paletted(5, 4, 4, 16).handle(), &record), nullptr);
    const int afterNone = rand();
    srand(5);
    EXPECT_EQ(afterNone, rand());
}

TEST_F(Grid, AnAbortedRowDrawsNothing)
{
    const Handle image = gray(9, 7).handle();
    RecordingHost host;
    host.abortFromPoll(4); // the one dropped, two rows, the third
    EXPECT_EQ(grid(1, 0, 1, 3)(image), nullptr);
    const int next = rand();
    srand(3);
    for (int draw = 0; draw < 9 + 2; ++draw)
        rand();
    EXPECT_EQ(next, rand());
}

TEST_F(Grid, Events)
{
    for (const Pieces &image : {gray(5, 35), trueColor(5, 35)})
        for (const int jitter : {0, 1}) {
            EXPECT_EQ(eventsOf(image, grid(1, 0, jitter)),
                      joined({{"wait", "poll"}, rowEvents(35), {"100%", "arrow"}}));
            expectAborts(image, grid(1, 0, jitter), 1);
            expectFailuresSurvived(image, grid(1, 0, jitter));
        }
    const Handle image = gray(5, 4).handle();
    for (const int allocation : {1, 2}) {
        memory_hooks::failAllocation(allocation);
        EXPECT_EQ(eventsOfRefusal(image, grid(1, 0, 1)), (Events{"wait", "arrow"}));
    }
    memory_hooks::failAllocation(0);
}

TEST_F(Grid, ByCode)
{
    const Pieces image = trueColor(37, 35);
    EXPECT_EQ(resultOf(image,
                       [](void *dib) {
                           tagParam3DGrid record{2, 1, 0};
                           return EnhanceAndEffects(dib, 51, reinterpret_cast<long>(&record));
                       }),
              tiled(image, 2, 1, 0));
}

// The inner frame

class InnerLevel : public Bevel {};

Effect innerLevel(int marginDivisor, int bevelDivisor)
{
    return [=](void *dib) {
        tagParamInnerLevel record{marginDivisor, bevelDivisor};
        return ProcessInnerLevel(dib, &record);
    };
}

int bevelShade(int64_t x, int64_t y, int64_t w, int64_t h, int64_t m, int64_t b)
{
    const int64_t right = w - m, top = h - m, e = m + b;
    if (y < m || y > top || x < m || x > right)
        return 0;
    if (e < y && y < top - b && e < x && x < right - b)
        return 0;
    int d = 64;
    if (y <= e && x > y)
        d = -128;
    else if (y >= top - b && h - y < w - x)
        d = 64;
    else if (x > e)
        d = x < right - b ? 0 : -128;
    if (y >= top - b && (x == h - y - 1 || x == h - y || x == h - y + 1))
        d = 255;
    return d;
}

/// Means of seven along one way.
Pieces boxed(const Pieces &source, int dx, int dy)
{
    const int channels = source.header.biBitCount / 8, width = source.header.biWidth,
              height = source.header.biHeight;
    const std::size_t stride = strideFor(width, source.header.biBitCount);
    return mapped(source, [&](uint8_t, int x, int y, int channel) {
        int sum = 0;
        for (int k = -3; k <= 3; ++k) {
            const int column = std::clamp(x + k * dx, 0, width - 1);
            const int row = std::clamp(y + k * dy, 0, height - 1);
            sum += source.rows[static_cast<std::size_t>(row) * stride +
                               static_cast<std::size_t>(column * channels + channel)];
        }
        return static_cast<uint8_t>((sum + 3) / 7);
    });
}

Bytes bevelled(const Pieces &source, int marginDivisor, int bevelDivisor)
{
    const int64_t w = source.header.biWidth, h = source.header.biHeight, half = std::min(w, h) / 2;
    const int64_t m = std::min((w + h) / (marginDivisor ? marginDivisor : 1), half);
    const int64_t b = std::min((w + h) / (bevelDivisor ? bevelDivisor : 1), half - m);
    const Pieces shaded = mapped(
        source, [&](uint8_t level, int x, int y, int) { return held(level + bevelShade(x, y, w, h, m, b)); });
    return boxed(boxed(shaded, 1, 0), 0, 1).bytes();
}

TEST_F(InnerLevel, Refusals)
{
    EXPECT_EQ(eventsOfRefusal(nullptr, innerLevel(20, 40)), Events{});
    const Handle image = gray(5, 4).handle();
    EXPECT_EQ(eventsOfRefusal(image, [](void *dib) { return ProcessInnerLevel(dib, nullptr); }), Events{});
    Bytes block = gray(5, 3).bytes();
    block.pop_back();
    EXPECT_EQ(eventsOfRefusal(blockOf(block), innerLevel(20, 40)), Events{});
    Pieces lie = paletted(5, 3, 4, 16);
    lie.header.biHeight = 4;
    EXPECT_EQ(eventsOfRefusal(lie.handle(), innerLevel(20, 40)), Events{});
}

TEST_F(InnerLevel, WritesToTheRecordFirst)
{
    tagParamInnerLevel record{0, 0};
    EXPECT_EQ(ProcessInnerLevel(nullptr, &record), nullptr);
    EXPECT_EQ(record.marginDivisor, 1);
    EXPECT_EQ(record.bevelDivisor, 1);
    record = {-5, 0};
    EXPECT_EQ(ProcessInnerLevel(nullptr, &record), nullptr);
    EXPECT_EQ(record.marginDivisor, -5);
    EXPECT_EQ(record.bevelDivisor, 1);
}

TEST_F(InnerLevel, OtherDepthsGiveTheirBitCount)
{
    for (const int bits : {1, 4, 16, 32}) {
        const Pieces image = paletted(5, 4, bits, bits <= 4 ? 2 : 0);
        const Handle handle = image.handle();
        RecordingHost host;
        const long blocks = memory_hooks::counts().blocks;
        EXPECT_EQ(reinterpret_cast<std::uintptr_t>(innerLevel(20, 40)(handle)),
                  static_cast<std::uintptr_t>(bits));
        EXPECT_EQ(host.events, Events{});
        EXPECT_EQ(memory_hooks::locksOn(handle), 1);
        EXPECT_EQ(memory_hooks::counts().blocks, blocks);
        EXPECT_EQ(bytesOf(handle), image.bytes());
        KelMemUnlock(handle);
    }
}

TEST_F(InnerLevel, MarginOfOneIsTheBlurAlone)
{
    // A margin of half the picture leaves one pixel to the bevel, the white one of its mitre, which the blur spreads by
    // 3 pixels. All else is the blurred picture.
    for (const Pieces &image : {gray(20, 20), trueColor(20, 20)}) {
        const Pieces spotted = mapped(image, [](uint8_t level, int x, int y, int) {
            return x == 10 && y == 10 ? uint8_t{255} : level;
        });
        for (const int marginDivisor : {0, 1})
            EXPECT_EQ(resultOf(image, innerLevel(marginDivisor, 3)),
                      boxed(boxed(spotted, 1, 0), 0, 1).bytes());
    }
}

TEST_F(InnerLevel, BevelWithoutMargin)
{
    // Divisors larger than width + height: the bevel is the first row and the first column alone.
    const Bytes result = resultOf(flat(gray(31, 31), 128), innerLevel(100, 100));
    EXPECT_EQ(result, bevelled(flat(gray(31, 31), 128), 100, 100));
    EXPECT_EQ(levelAt(result, 31, 15, 15), 128);
    EXPECT_EQ(levelAt(result, 31, 15, 0), 55);  // four of 0, as the row repeats, and three of 128
    EXPECT_EQ(levelAt(result, 31, 15, 3), 110); // one of 0
    EXPECT_EQ(levelAt(result, 31, 15, 4), 128);
    EXPECT_EQ(levelAt(result, 31, 0, 15), 165); // four of 192
    EXPECT_EQ(levelAt(result, 31, 3, 15), 137); // one of them
    EXPECT_EQ(levelAt(result, 31, 4, 15), 128);
}

TEST_F(InnerLevel, SidesByHand)
{
    // Margin 10, bevel 20 of 100 by 100 pixels; what is further than 3 from another shade keeps its own.
    const Bytes result = resultOf(flat(gray(100, 100), 140), innerLevel(20, 10));
    EXPECT_EQ(levelAt(result, 100, 4, 50), 140);  // the margin
    EXPECT_EQ(levelAt(result, 100, 50, 50), 140); // the middle
    EXPECT_EQ(levelAt(result, 100, 50, 20), 12);  // the first rows
    EXPECT_EQ(levelAt(result, 100, 20, 50), 204); // left
    EXPECT_EQ(levelAt(result, 100, 80, 50), 12);  // right
    EXPECT_EQ(levelAt(result, 100, 50, 80), 204); // the last rows
    // The mitre: three white pixels among seven of 204 give 226 in its row, and so four rows around it; the two
    // further ones have two of them, which give 219. (5 * 226 + 2 * 219 + 3) / 7 is 224.
    EXPECT_EQ(levelAt(result, 100, 20, 80), 224);
    EXPECT_EQ(levelAt(result, 100, 50, 95), 140);
}

TEST_F(InnerLevel, EveryMeasureAsThePlainLoop)
{
    constexpr int kDivisors[] = {1, 2, 3, 5, 7, 10, 20, 40, 0, -1, -3, 100, INT_MAX, INT_MIN};
    std::size_t next = 0;
    for (int width = 1; width <= 40; ++width)
        for (int height = 1; height <= 18; ++height)
            for (const Pieces &image :
                 {gray(width, height), paletted(width, height, 8, 9), trueColor(width, height)}) {
                const int margin = kDivisors[next % 14], bevel = kDivisors[next / 14 % 14];
                next += 3;
                const Bytes expected = bevelled(image, margin, bevel);
                for (const CpuLevel level : cpuLevels()) {
                    limitCpuLevel(level);
                    ASSERT_EQ(resultOf(image, innerLevel(margin, bevel)), expected)
                        << width << " x " << height << ", " << margin << ", " << bevel;
                }
            }
    for (const Pieces &image : {gray(60, 50), trueColor(50, 61), trueColor(60, 20), gray(20, 61)})
        for (const int margin : kDivisors)
            for (const int bevel : kDivisors)
                ASSERT_EQ(resultOf(image, innerLevel(margin, bevel)), bevelled(image, margin, bevel))
                    << margin << ", " << bevel;
}

TEST_F(InnerLevel, Events)
{
    const auto steps = [](int count, int from) {
        Events events;
        for (int i = 0; i < count; ++i) {
            events.push_back("poll");
            events.push_back(std::to_string(i * 100 / count / 3 + from) + "%");
        }
        return events;
    };
    const Events work = joined({{"wait", "poll"}, steps(35, 0), steps(35, 33), steps(19, 66), {"100%"}});
    EXPECT_EQ(eventsOf(gray(19, 35), innerLevel(20, 40)), joined({work, {"arrow"}}));
    EXPECT_EQ(eventsOf(paletted(19, 35, 8, 9), innerLevel(20, 40)), joined({work, {"arrow"}}));
    EXPECT_EQ(eventsOf(trueColor(19, 35), innerLevel(20, 40)), work);
    expectAborts(gray(19, 35), innerLevel(20, 40), 1);
    expectAborts(trueColor(19, 35), innerLevel(20, 40), 1, {"100%"});
}

TEST_F(InnerLevel, Failures)
{
    for (const Pieces &image : {gray(19, 18), trueColor(19, 18)}) {
        expectFailuresSurvived(image, innerLevel(20, 40));
        const Handle handle = image.handle();
        for (const int allocation : {1, 2, 3}) {
            memory_hooks::failAllocation(allocation);
            EXPECT_EQ(eventsOfRefusal(handle, innerLevel(20, 40)), (Events{"wait", "arrow"}));
        }
        memory_hooks::failAllocation(0);
    }
}

TEST_F(InnerLevel, ByCode)
{
    const Pieces image = trueColor(37, 35);
    tagParamInnerLevel record{0, 9};
    EXPECT_EQ(
        resultOf(image,
                 [&](void *dib) { return EnhanceAndEffects(dib, 4703, reinterpret_cast<long>(&record)); }),
        bevelled(image, 1, 9));
    EXPECT_EQ(record.marginDivisor, 1);
}

// The button

class Button : public Bevel {};

Effect button(int bevelWidth, int bevelHeight, int opacity, int style, uint32_t color = 0x4080C0)
{
    return [=](void *dib) {
        tagParamButtonize record{bevelWidth, bevelHeight, opacity, style, color};
        return ProcessButtonize(dib, &record);
    };
}

double toward0(double value)
{
    return value < 0 ? std::ceil(value) : std::floor(value);
}

Bytes buttonized(const Pieces &source, int64_t bw, int64_t bh, int opacity, int style,
                 uint32_t color = 0x4080C0)
{
    const int64_t w = source.header.biWidth, h = source.header.biHeight;
    const double op = opacity * 0.01;
    const bool isFlat = style == 1;
    bw = bw == 0 ? 1 : bw;
    bh = bh == 0 ? 1 : bh;
    double alpha = 0.0;
    return mapped(source,
                  [&](uint8_t level, int64_t x, int64_t y, int channel) {
                      const int c = source.header.biBitCount == 8
                                        ? 70
                                        : static_cast<int>(color >> (16 - 8 * channel) & 255);
                      double add = 0;
                      if (x < bw && x * bh / bw <= y && y < h - x * bh / bw) {
                          alpha = isFlat ? op : double(bw - x) * op / double(bw);
                          add = toward0(toward0(c * alpha) + double(50 * x / bw - 10) * alpha);
                      } else if (y <= bh && y * bw / bh <= x && x <= w - y * bw / bh) {
                          alpha = isFlat ? op : double(bh - y) * op / double(bh);
                          add = toward0(c * alpha - double(bh - y) * alpha * 150 / double(bh));
                      } else if (x > w - bw && bh * (w - x) / bw < y && y <= h - bh * (w - x) / bw) {
                          const auto e = double(bw - w + x);
                          alpha = isFlat ? op : e * op / double(bw);
                          add = toward0(c * alpha - e * alpha * 150 / double(bw));
                      } else if (y >= h - bh && bw * (h - y) / bh <= x && x < w - bw * (h - y) / bh) {
                          alpha = isFlat ? op : double(y - h + bh) * op / double(bh);
                          add = toward0(toward0(c * alpha) + double(30 * (h - y) / bh - 10) * alpha);
                      }
                      if (x < bw || x > w - bw || y < bh || y > h - bh)
                          return held(static_cast<int64_t>(toward0((1 - alpha) * level) + add));
                      return level;
                  })
        .bytes();
}

TEST_F(Button, Refusals)
{
    const Handle image = gray(5, 4).handle();
    for (const int bad : {-1, INT_MIN}) {
        EXPECT_EQ(eventsOfRefusal(image, button(bad, 2, 50, 0)), Events{});
        EXPECT_EQ(eventsOfRefusal(image, button(2, bad, 50, 0)), Events{});
    }
    EXPECT_EQ(eventsOfRefusal(nullptr, button(2, 2, 50, 0)), Events{});
    EXPECT_EQ(eventsOfRefusal(image, [](void *dib) { return ProcessButtonize(dib, nullptr); }), Events{});
    for (const Pieces &other : {paletted(5, 4, 8, 256), paletted(5, 4, 8, 9), paletted(5, 4, 4, 16),
                                paletted(5, 4, 1, 2), paletted(5, 4, 16, 0), paletted(5, 4, 32, 0)})
        EXPECT_EQ(eventsOfRefusal(other.handle(), button(2, 2, 50, 0)), Events{});
    expectLiesRefused(button(2, 2, 50, 0));
}

TEST_F(Button, WithoutOpacityACopy)
{
    for (const Pieces &image : {gray(25, 24), trueColor(25, 24)})
        for (const int style : {0, 1, 2})
            EXPECT_EQ(resultOf(image, button(5, 7, 0, style)),
                      mapped(image, [](uint8_t level, int, int, int) { return level; }).bytes());
}

TEST_F(Button, BandsByHand)
{
    // Gray, half opaque: 50 of 100, and 35 of the band's 70.
    const Bytes even = resultOf(flat(gray(40, 40), 100), button(10, 10, 50, 1));
    EXPECT_EQ(levelAt(even, 40, 0, 20), 50 + 30); // 35 - 5
    EXPECT_EQ(levelAt(even, 40, 4, 20), 50 + 40); // 35 + 10 * 0.5
    EXPECT_EQ(levelAt(even, 40, 9, 20), 50 + 52); // 35 + 35 * 0.5, truncated
    EXPECT_EQ(levelAt(even, 40, 10, 20), 100);
    EXPECT_EQ(levelAt(even, 40, 20, 0), 50 - 40); // 35 - 75
    EXPECT_EQ(levelAt(even, 40, 20, 9), 50 + 27); // 35 - 7.5
    EXPECT_EQ(levelAt(even, 40, 20, 10), 100);
    EXPECT_EQ(levelAt(even, 40, 30, 20), 100);
    EXPECT_EQ(levelAt(even, 40, 31, 20), 50 + 27);
    EXPECT_EQ(levelAt(even, 40, 39, 20), 50 - 32); // 35 - 67.5
    EXPECT_EQ(levelAt(even, 40, 20, 30), 100);
    EXPECT_EQ(levelAt(even, 40, 20, 31), 50 + 43); // 35 + 17 * 0.5
    EXPECT_EQ(levelAt(even, 40, 20, 39), 50 + 31); // 35 - 7 * 0.5
    // Fading: nine tenths of the opacity are left one pixel from the edge.
    const Bytes fading = resultOf(flat(gray(40, 40), 100), button(10, 10, 50, 0));
    EXPECT_EQ(levelAt(fading, 40, 0, 20), 80);
    EXPECT_EQ(levelAt(fading, 40, 1, 20), 55 + 28); // trunc(31.5) - 5 * 0.45
    EXPECT_EQ(levelAt(fading, 40, 20, 1), 55 - 29); // 31.5 - 9 * 0.45 * 15
}

TEST_F(Button, TheColorIsBlueGreenRedInMemory)
{
    const Bytes result = resultOf(flat(trueColor(8, 8), 0), button(1, 1, 100, 1, 0x0A141E));
    // Column 0 of the second row: the colour less 10.
    EXPECT_EQ(result[40 + 24], 0);
    EXPECT_EQ(result[40 + 25], 10);
    EXPECT_EQ(result[40 + 26], 20);
}

TEST_F(Button, EveryMeasureAsThePlainLoop)
{
    constexpr int kBands[] = {0, 1, 2, 3, 5, 8, 13, 20, 45};
    constexpr int kOpacities[] = {100, 60, 33, 1, 250, -40, INT_MAX, INT_MIN};
    std::size_t next = 0;
    for (int width = 1; width <= 40; ++width)
        for (int height = 1; height <= 18; ++height)
            for (const Pieces &image : {gray(width, height), trueColor(width, height)})
                for (const int style : {0, 1}) {
                    next += 5;
                    const int bw = kBands[next % 9], bh = kBands[next / 9 % 9],
                              opacity = kOpacities[next % 8];
                    ASSERT_EQ(resultOf(image, button(bw, bh, opacity, style)),
                              buttonized(image, bw, bh, opacity, style))
                        << width << " x " << height << ", " << bw << ", " << bh << ", " << opacity;
                }
    for (const Pieces &image : {gray(61, 43), trueColor(43, 61)})
        for (const int bw : {0, 1, 2, 7, 20, 21, 22, 43, 61, 1000})
            for (const int bh : {0, 1, 2, 7, 21, 22, 43, 61, 1000})
                for (const int style : {0, 1, -1})
                    ASSERT_EQ(resultOf(image, button(bw, bh, 70, style)),
                              buttonized(image, bw, bh, 70, style))
                        << bw << ", " << bh << ", " << style;
    for (const int band : {46341, INT_MAX})
        EXPECT_EQ(resultOf(gray(9, 7), button(band, band, 70, 0)), buttonized(gray(9, 7), band, band, 70, 0));
}

TEST_F(Button, Events)
{
    for (const Pieces &image : {gray(19, 35), trueColor(19, 35)}) {
        EXPECT_EQ(eventsOf(image, button(4, 4, 60, 0)),
                  joined({{"wait", "poll"}, rowEvents(35), {"100%", "arrow"}}));
        expectAborts(image, button(4, 4, 60, 0), 1);
        expectFailuresSurvived(image, button(4, 4, 60, 0));
        const Handle handle = image.handle();
        for (const int allocation : {1, 2}) {
            memory_hooks::failAllocation(allocation);
            EXPECT_EQ(eventsOfRefusal(handle, button(4, 4, 60, 0)), (Events{"wait", "arrow"}));
        }
        memory_hooks::failAllocation(0);
    }
}

TEST_F(Button, ByCode)
{
    const Pieces image = trueColor(37, 35);
    EXPECT_EQ(resultOf(image,
                       [](void *dib) {
                           tagParamButtonize record{6, 5, 40, 0, 0x112233};
                           return EnhanceAndEffects(dib, 4503, reinterpret_cast<long>(&record));
                       }),
              buttonized(image, 6, 5, 40, 0, 0x112233));
}

// The rounded frame

class OuterLevel : public Bevel {};

Effect outerLevel(int rimWidth, int grooveWidth, int strength)
{
    return [=](void *dib) {
        tagParamOuterLevel record{rimWidth, grooveWidth, strength};
        return ProcessOuterLevel(dib, &record);
    };
}

/// The shade of a pixel of a frame of width F, rim b and inner radius I, rule by rule.
double frameShade(int64_t x, int64_t y, int64_t w, int64_t h, int64_t b, int64_t F, int64_t I, bool isGray)
{
    const double pi = 3.141592653589793;
    // A groove of a very negative width has its corners where no pixel is, and their distances do not matter.
    const auto q = [=](int64_t cx, int64_t cy) {
        const auto dx = static_cast<uint64_t>(x - cx), dy = static_cast<uint64_t>(y - cy);
        return static_cast<int64_t>(dx * dx + dy * dy);
    };
    const int64_t TL = q(F, h - F), BL = q(F, F), BR = q(w - F, F), TR = q(w - F, h - F);
    const auto s = [=](int64_t squared) { return double(F) - std::sqrt(double(squared)); };
    const auto ring = [=](double A, int64_t squared) {
        return toward0(A * s(squared) * 180.0 / (double(b) * pi) - s(squared) * 60.0 / double(b));
    };
    const bool rimX = isGray ? x <= b : x < b, rimY = isGray ? y <= b : y < b;
    if (b < x && x < F && F <= y && y <= h - F)
        return double(5 * (b - x - 35));
    if (x < F && y >= h - F && TL < I * I)
        return -175;
    if (x < F && y > h - F && I * I <= TL && TL <= F * F)
        return double(int64_t(toward0(s(TL))) * 30 / b);
    if (x < F && y > h - F && TL > F * F)
        return 0;
    if (rimX && F <= y && y <= h - F)
        return double(30 * x / b);
    if (y <= F) {
        if (x <= F && y >= x && BL <= I * I)
            return toward0(std::atan2(double(F - y), double(F - x)) * 127.32395447351628 - 250.0);
        if (x <= F && y < x && BL < I * I)
            return 30;
        if (x <= F && I * I <= BL && BL <= F * F)
            return ring(std::atan(double(F - x) / double(F - y)), BL);
        if (x < F && y < F && BL > F * F)
            return 0;
        if (b < y && y < F && F < x && x <= w - F)
            return 30;
        if (rimY && F <= x && x <= w - F)
            return double(-60 * y / b);
    }
    if (y <= F && x >= w - F && BR < I * I)
        return 30;
    if (y <= F && x >= w - F + 1 && I * I < BR && BR <= F * F)
        return toward0(s(BR) * -60.0 / double(b));
    if (y <= F && x >= w - F && BR > F * F)
        return 0;
    if (w - F < x && x < w - b && F < y && y <= h - F)
        return 30;
    if (x >= w - b && F < y && y <= h - F)
        return double((x - w) * 60 / b);
    if (x > w - F && y > h - F && y <= h - (w - x) && TR < I * I)
        return 30;
    if (x > w - F && y > h - (w - x) && y > h - F && TR < I * I)
        return -150;
    if (x >= w - F && y > h - F && I * I <= TR && TR < F * F)
        return ring(std::atan(double(y - h + F) / double(x - w + F)), TR);
    if (x >= w - F && y > h - F && TR > F * F)
        return 0;
    if (h - F < y && y < h - b && F <= x && x <= w - F)
        return -175;
    if (y >= h - b && F <= x && x < w - F)
        return double((h - y) * 30 / b);
    return 0;
}

Bytes framed(const Pieces &source, int64_t rim, int64_t groove, int strength)
{
    const int64_t w = source.header.biWidth, h = source.header.biHeight;
    const int64_t b = std::min<int64_t>(rim == 0 ? 1 : rim, std::min(w, h) / 2 - groove - 1);
    const int64_t F = groove + b + 1;
    return mapped(source,
                  [&](uint8_t level, int x, int y, int) {
                      if (b <= 0)
                          return level;
                      const double d = frameShade(x, y, w, h, b, F, F - b, source.header.biBitCount == 8);
                      return held(static_cast<int64_t>(toward0(d * (strength * 0.01) + level)));
                  })
        .bytes();
}

TEST_F(OuterLevel, Refusals)
{
    const Handle image = gray(5, 4).handle();
    EXPECT_EQ(eventsOfRefusal(nullptr, outerLevel(2, 2, 50)), Events{});
    EXPECT_EQ(eventsOfRefusal(image, [](void *dib) { return ProcessOuterLevel(dib, nullptr); }), Events{});
    for (const Pieces &other : {paletted(5, 4, 8, 256), paletted(5, 4, 8, 9), paletted(5, 4, 4, 16),
                                paletted(5, 4, 1, 2), paletted(5, 4, 16, 0), paletted(5, 4, 32, 0)})
        EXPECT_EQ(eventsOfRefusal(other.handle(), outerLevel(2, 2, 50)), Events{});
    expectLiesRefused(outerLevel(2, 2, 50));
}

TEST_F(OuterLevel, CopiesWithoutStrengthOrRoom)
{
    const auto copied = [](const Pieces &image) {
        return mapped(image, [](uint8_t level, int, int, int) { return level; }).bytes();
    };
    for (const Pieces &image : {gray(35, 34), trueColor(35, 34)}) {
        EXPECT_EQ(resultOf(image, outerLevel(5, 3, 0)), copied(image));
        EXPECT_EQ(resultOf(image, outerLevel(-1, 3, 100)), copied(image));
        EXPECT_EQ(resultOf(image, outerLevel(INT_MIN, 3, 100)), copied(image));
        // 34 / 2 - 16 - 1 leaves no rim, one pixel of groove less leaves one.
        EXPECT_EQ(resultOf(image, outerLevel(5, 16, 100)), copied(image));
        EXPECT_NE(resultOf(image, outerLevel(5, 15, 100)), copied(image));
        EXPECT_EQ(resultOf(image, outerLevel(5, INT_MAX, 100)), copied(image));
    }
    for (const Pieces &image : {gray(1, 1), gray(3, 9), trueColor(9, 3)})
        EXPECT_EQ(resultOf(image, outerLevel(1, 0, 100)), copied(image));
}

TEST_F(OuterLevel, SidesByHand)
{
    // Rim 4, groove 5, so that the frame is 10 wide; halves of the shades by the strength.
    const Bytes full = resultOf(flat(gray(50, 50), 200), outerLevel(4, 5, 100));
    const Bytes half = resultOf(flat(gray(50, 50), 200), outerLevel(4, 5, 50));
    const auto expectShade = [&](int x, int y, int shade) {
        EXPECT_EQ(levelAt(full, 50, x, y), std::clamp(200 + shade, 0, 255)) << x << ", " << y;
        EXPECT_EQ(levelAt(half, 50, x, y), std::clamp((400 + shade) / 2, 0, 255)) << x << ", " << y;
    };
    expectShade(0, 25, 0);
    expectShade(1, 25, 7);
    expectShade(3, 25, 22);
    expectShade(4, 25, 30); // the rim of gray images includes it
    expectShade(5, 25, -180);
    expectShade(9, 25, -200);
    expectShade(10, 25, 0);
    expectShade(25, 0, 0);
    expectShade(25, 1, -15);
    expectShade(25, 4, -60);
    expectShade(25, 5, 30);
    expectShade(25, 10, 0);
    expectShade(40, 25, 0);
    expectShade(41, 25, 30);
    expectShade(46, 25, -60);
    expectShade(49, 25, -15);
    expectShade(25, 40, 0);
    expectShade(25, 41, -175);
    expectShade(25, 46, 30);
    expectShade(25, 49, 7);
    for (const int x : {0, 49})
        for (const int y : {0, 49})
            expectShade(x, y, 0);
    // Discs: two diagonals through their middles.
    expectShade(9, 41, -175);
    expectShade(41, 9, 30);
    expectShade(9, 9, -150); // 45 degrees are 100 of 400
    expectShade(42, 41, 30);
    expectShade(41, 42, -150);
    // At 24 bits the place of the rim's last pixel has none.
    const Bytes color = resultOf(flat(trueColor(50, 50), 200), outerLevel(4, 5, 100));
    EXPECT_EQ(color[40 + 25 * 152 + 4 * 3], 200);
    EXPECT_EQ(color[40 + 25 * 152 + 3 * 3], 222);
    EXPECT_EQ(color[40 + 4 * 152 + 25 * 3], 200);
}

TEST_F(OuterLevel, ADivisionByZeroIsNinetyDegrees)
{
    const Bytes result = resultOf(flat(gray(50, 50), 100), outerLevel(4, 5, 100));
    // Eight pixels straight up from the corner's middle, two from the edge: 2 * 90 / 4 - 2 * 60 / 4.
    EXPECT_EQ(levelAt(result, 50, 40, 48), 115);
}

TEST_F(OuterLevel, EveryMeasureAsThePlainLoop)
{
    constexpr int kWidths[] = {0, 1, 2, 3, 4, 6, 9, 15, 100, -1, -2, -5};
    constexpr int kStrengths[] = {100, 40, 29, 250, -100, 1, INT_MAX, INT_MIN};
    std::size_t next = 0;
    for (int width = 1; width <= 40; ++width)
        for (int height = 1; height <= 18; ++height)
            for (const Pieces &image : {gray(width, height), trueColor(width, height)}) {
                next += 5;
                const int rim = kWidths[next % 9], groove = kWidths[next / 9 % 12],
                          strength = kStrengths[next % 8];
                const Bytes expected = framed(image, rim, groove, strength);
                for (const CpuLevel level : cpuLevels()) {
                    limitCpuLevel(level);
                    ASSERT_EQ(resultOf(image, outerLevel(rim, groove, strength)), expected)
                        << width << " x " << height << ", " << rim << ", " << groove << ", " << strength;
                }
            }
    for (const Pieces &image : {gray(61, 43), trueColor(44, 61), gray(40, 40), trueColor(41, 41)})
        for (const int rim : {0, 1, 2, 7, 20, 21, 22, 1000, INT_MAX})
            for (const int groove : {0, 1, 2, 7, 18, 19, 20, -1, -2, -9, -40, INT_MIN})
                ASSERT_EQ(resultOf(image, outerLevel(rim, groove, 100)), framed(image, rim, groove, 100))
                    << rim << ", " << groove;
}

TEST_F(OuterLevel, Events)
{
    for (const Pieces &image : {gray(19, 35), trueColor(19, 35)})
        for (const int rim : {4, -1}) {
            EXPECT_EQ(eventsOf(image, outerLevel(rim, 2, 60)),
                      joined({{"wait", "poll"}, rowEvents(35), {"100%", "arrow"}}));
            expectAborts(image, outerLevel(rim, 2, 60), 1);
            expectFailuresSurvived(image, outerLevel(rim, 2, 60));
            const Handle handle = image.handle();
            for (const int allocation : {1, 2}) {
                memory_hooks::failAllocation(allocation);
                EXPECT_EQ(eventsOfRefusal(handle, outerLevel(rim, 2, 60)), (Events{"wait", "arrow"}));
            }
            memory_hooks::failAllocation(0);
        }
}

TEST_F(OuterLevel, ByCode)
{
    const Pieces image = trueColor(37, 35);
    EXPECT_EQ(resultOf(image,
                       [](void *dib) {
                           tagParamOuterLevel record{5, 4, 80};
                           return EnhanceAndEffects(dib, 4603, reinterpret_cast<long>(&record));
                       }),
              framed(image, 5, 4, 80));
}

} // namespace

} // namespace velmont::testing
