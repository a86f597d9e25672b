// Chalk: gray levels, equalized and parted; grain; strokes; the two kinds of stroke together.

#include "core/generator.h"
#include "platform/memory.h"
#include "tests/effects/filter_testing.h"
#include "tests/effects/warp_testing.h"
#include <array>
#include <cstring>
#include <gtest/gtest.h>
#include <velmont/effects.h>
#include <velmont/painting.h>

namespace velmont::testing {

namespace {

Effect chalk(int shadowRange, int lightRange, int grain)
{
    return [=](void *dib) {
        tagChalkParam record{shadowRange, lightRange, grain};
        return ProcessChalk(dib, &record);
    };
}

using Table = std::array<int, 256>;

/// A picture of one level a pixel, with `border` further ones all round.
struct Sheet {
    int width, height;
    std::vector<int> levels;

    Sheet(int pictureWidth, int pictureHeight, int level)
        : width(pictureWidth + 10), height(pictureHeight + 10),
          levels(static_cast<std::size_t>(width * height), level)
    {
    }
    int &at(int x, int y) { return levels.at(static_cast<std::size_t>(y * width + x)); }
};

int byteOf(int value)
{
    return value & 255;
}

/// The levels of a picture of either depth, row by row without padding.
std::vector<int> grayLevels(const Pieces &image)
{
    std::vector<int> levels;
    for (int y = 0; y < image.header.biHeight; ++y)
        for (int x = 0; x < image.header.biWidth; ++x) {
            const Bytes pixel = pixelOf(image, x, y);
            levels.push_back(pixel.size() == 1
                                 ? pixel[0]
                                 : static_cast<int>(pixel[0] * 0.1 + pixel[1] * 0.7 + pixel[2] * 0.2));
        }
    return levels;
}

long atOrBelow(const std::vector<int> &levels, int limit)
{
    return std::count_if(levels.begin(), levels.end(), [=](int level) { return level <= limit; });
}

std::vector<int> equalized(const std::vector<int> &levels)
{
    std::vector<int> result;
    for (const int level : levels)
        result.push_back(static_cast<int>(atOrBelow(levels, level) * 255 / static_cast<long>(levels.size())));
    return result;
}

Table darkTable(const std::vector<int> &levels, int limit)
{
    Table table;
    table.fill(128);
    table[0] = 0;
    const long low = atOrBelow(levels, limit);
    for (int i = 1; i <= 255 && i < limit && low > 0; ++i)
        table[static_cast<std::size_t>(i)] = static_cast<int>(atOrBelow(levels, i) * 128 / low);
    return table;
}

Table lightTable(const std::vector<int> &levels, int limit)
{
    Table table;
    table.fill(128);
    const long high = static_cast<long>(levels.size()) - atOrBelow(levels, limit - 1);
    for (int i = std::max(limit + 1, 0); i <= 255 && high > 0; ++i)
        table[static_cast<std::size_t>(i)] =
            byteOf(static_cast<int>((atOrBelow(levels, i) - atOrBelow(levels, limit)) * 128 / high) + 128);
    return table;
}

int clipped(int level, int grain)
{
    const int c = grain * 21 - 21;
    if (level < c)
        return 0;
    if (level > 255 - c)
        return 255;
    return std::clamp((level * 255 - c * 255 + (255 - 2 * c) / 2) / (255 - 2 * c), 0, 255);
}

Sheet planeOf(const std::vector<int> &levels, int width, int height, const Table &table, int grain)
{
    Sheet plane(width, height, clipped(table[128], grain));
    for (int y = 0; y < height; ++y)
        for (int x = 0; x < width; ++x)
            plane.at(x + 5, y + 5) = clipped(
                table[static_cast<std::size_t>(levels[static_cast<std::size_t>(y * width + x)])], grain);
    return plane;
}

struct Drawn {
    Bytes bytes;
    int shadows = 0, lights = 0; ///< numbers drawn
};

void grainDark(Sheet &scratch, Sheet &plane, int g, Drawn &drawn)
{
    Numbers numbers(2);
    for (int y = 5; y < plane.height - 5; ++y)
        for (int x = 5; x < plane.width - 5; ++x) {
            int v = plane.at(x, y);
            if (v >= 127)
                continue;
            const int a = plane.at(x - 1, y + 1), b = plane.at(x + 1, y - 1);
            if (v <= std::max(a, b))
                v = std::max(a, b);
            const int k = v < 123 ? static_cast<int>(26.0 - v * 0.2) : 1;
            const int r = numbers.next() % 100;
            ++drawn.shadows;
            int stored = v;
            if (r < 90)
                stored = 2 * k + v;
            else if (r < 98 - 4 * g)
                stored = k + v;
            else if (r >= 101 - 2 * g)
                stored = std::max(v - k, 0);
            scratch.at(x, y) = byteOf(stored);
        }
}

void grainLight(Sheet &scratch, Sheet &plane, int g, Drawn &drawn)
{
    Numbers numbers(3);
    for (int y = 5; y < plane.height - 5; ++y)
        for (int x = 5; x < plane.width - 5; ++x) {
            int v = plane.at(x, y);
            if (v < 129)
                continue;
            v = std::min({v, plane.at(x + 3, y + 3), plane.at(x - 3, y - 3)});
            int k = (v - 120) / 10;
            if (v >= 211)
                k = (v - 100) / 10;
            else if (v > 150)
                k = (v - 110) / 10;
            else if (v < 131)
                k = 1;
            const int r = numbers.next() % 100;
            ++drawn.lights;
            int stored = v;
            if (r < (16 - g) * 5)
                stored = v - 3 * k;
            else if (r < (19 - g) * 5)
                stored = v - 2 * k;
            else if (r < 95 - (g - 2) * 3)
                stored = v - k;
            else if (r >= 101 - g)
                stored = std::min(v + k, 255);
            scratch.at(x, y) = byteOf(stored);
        }
}

/// The whole effect, stamp by stamp.
Drawn plainChalk(const Pieces &image, int shadowRange, int lightRange, int grain)
{
    const int width = image.header.biWidth, height = image.header.biHeight;
    const std::vector<int> levels = equalized(grayLevels(image));
    Drawn drawn;

    Sheet dark = planeOf(levels, width, height, darkTable(levels, shadowRange * 4 + 90), grain);
    Sheet light = planeOf(levels, width, height, lightTable(levels, 170 - lightRange * 4), grain);
    Sheet scratch(width, height, 128), darkStrokes(width, height, 128), lightStrokes(width, height, 128);
    grainDark(scratch, dark, grain, drawn);
    for (int y = 5; y < height + 5; ++y)
        for (int x = 5; x < width + 5; ++x)
            if (const int s = scratch.at(x, y); s <= 127)
                for (int dy = -2; dy <= 2; ++dy)
                    for (int dx = -2; dx <= 1; ++dx) {
                        int &stroke = darkStrokes.at(x - dx - dy, y + dy);
                        stroke = std::min(stroke, s);
                    }
    scratch = Sheet(width, height, 128);
    grainLight(scratch, light, grain, drawn);
    for (int y = 5; y < height + 5; ++y)
        for (int x = 5; x < width + 5; ++x)
            if (const int s = scratch.at(x, y); s >= 129)
                for (int dy = -4; dy <= 4; ++dy)
                    for (int dx = dy == -4 ? -1 : -2; dx <= 1; ++dx) {
                        int &stroke = lightStrokes.at(x + dx + dy, y + dy);
                        stroke = std::max(stroke, s);
                    }
    Pieces result = image;
    std::fill(result.rows.begin(), result.rows.end(), uint8_t{0});
    for (int y = 0; y < height; ++y)
        for (int x = 0; x < width; ++x) {
            const int a = lightStrokes.at(x + 5, y + 5), b = darkStrokes.at(x + 5, y + 5);
            int merged = a;
            if (a <= 128 && b < 128)
                merged = b;
            else if (a > 128 && b < 128)
                merged = static_cast<int>((128.0 - b) / (a - b) * b + (a - 128.0) / (a - b) * a);
            setPixel(result, x, y, Bytes(pixelOf(image, 0, 0).size(), static_cast<uint8_t>(merged)));
        }
    drawn.bytes = result.bytes();
    return drawn;
}

class Chalk : public ::testing::Test {
protected:
    NothingLost check_;
    Restore restore_;
};

TEST_F(Chalk, Refusals)
{
    const Handle image = trueColor(5, 4).handle();
    EXPECT_EQ(eventsOfRefusal(image, [](void *dib) { return ProcessChalk(dib, nullptr); }), Events{});
    EXPECT_EQ(eventsOfRefusal(nullptr, chalk(10, 10, 2)), Events{});
    EXPECT_EQ(EnhanceAndEffects(image, 4712, 0), nullptr);
    // The depth is looked at behind the wait cursor.
    for (const Pieces &other : {paletted(5, 4, 8, 255), paletted(5, 4, 8, 0), paletted(5, 4, 4, 16),
                                paletted(5, 4, 1, 2), paletted(5, 4, 16, 0), paletted(5, 4, 32, 0)}) {
        const Handle refused = other.handle();
        EXPECT_EQ(eventsOfRefusal(refused, chalk(10, 10, 2)), (Events{"wait", "arrow"}));
        EXPECT_EQ(memory_hooks::locksOn(refused), 0);
    }
    expectLiesRefused(chalk(10, 10, 2));
}

// Whatever the header says of its colours, rows lie behind 256 of them.
TEST_F(Chalk, RowsBehindAllColors)
{
    const Pieces image = paletted(19, 13, 8, 256);
    const Bytes usual = resultOf(image, chalk(10, 10, 2));
    for (const uint32_t colors : {0u, 10u, 255u, 256u}) {
        Pieces other = image;
        other.header.biClrUsed = colors;
        Bytes expected = usual;
        std::memcpy(expected.data(), &other.header, sizeof other.header);
        EXPECT_EQ(resultOf(other, chalk(10, 10, 2)), expected) << colors;
        other.rows.pop_back(); // fits the header, but not those rows
        EXPECT_EQ(chalk(10, 10, 2)(other.handle()), nullptr) << colors;
    }
}

TEST_F(Chalk, TheCodeReachesIt)
{
    const Handle image = trueColor(19, 17).handle();
    tagChalkParam record{10, 10, 3};
    const Handle direct(ProcessChalk(image, &record));
    const Handle coded(EnhanceAndEffects(image, 4712, reinterpret_cast<long>(&record)));
    ASSERT_NE(static_cast<void *>(coded), nullptr);
    EXPECT_EQ(bytesOf(direct), bytesOf(coded));
}

TEST_F(Chalk, CursorsOnlyAndTheArrowBeforeTheLocksGo)
{
    for (const Pieces &image : {trueColor(5, 40), gray(5, 40), paletted(5, 40, 8, 256)}) {
        EXPECT_EQ(eventsOf(image, chalk(10, 10, 2)), (Events{"wait", "arrow"}));
        const Handle source = image.handle();
        WatchingHost host(source);
        const Handle result(chalk(10, 10, 2)(source));
        EXPECT_EQ(host.sights, (std::vector<Sight>{{"wait", 0, 0, 0}, {"arrow", 1, 1, 2}}));
    }
}

TEST_F(Chalk, AsThePlainLoop)
{
    long shadows = 0, lightNumbers = 0;
    for (int width = 1; width <= 40; ++width)
        for (int height = 1; height <= 18; ++height) {
            const auto seed = static_cast<uint32_t>(width * 100 + height);
            const int shadowRange = (width * 3 + height) % 21, lightRange = (width + 5 * height) % 21,
                      grain = 1 + (width + height * 7) % 12;
            const bool isColored = (width + height) % 2 != 0;
            const Pieces image =
                isColored ? trueColor(width, height, seed) : paletted(width, height, 8, 256, seed);
            const Drawn plain = plainChalk(image, shadowRange, lightRange, grain);
            ASSERT_EQ(resultOf(image, chalk(shadowRange, lightRange, grain)), plain.bytes)
                << width << " x " << height << ": " << shadowRange << ' ' << lightRange << ' ' << grain;
            Numbers numbers(3); // what the lights leave of their stream
            for (int i = 0; i < plain.lights; ++i)
                numbers.next();
            ASSERT_EQ(rand(), numbers.next());
            shadows += plain.shadows;
            lightNumbers += plain.lights;
        }
    EXPECT_GT(shadows, 10000);
    EXPECT_GT(lightNumbers, 10000);
}

/// A slope with noise on it: shadows and lights beside each other in large fields.
Pieces slope(Pieces image)
{
    for (std::size_t i = 0; i < image.rows.size(); ++i)
        image.rows[i] = static_cast<uint8_t>(i * 200 / image.rows.size() + image.rows[i] / 5);
    return image;
}

TEST_F(Chalk, RowsLongerThanARunAsThePlainLoop)
{
    for (const Pieces &image : {slope(gray(2100, 6)), slope(trueColor(1030, 9)), slope(gray(60, 90))})
        for (const int grain : {1, 2, 5, 9})
            ASSERT_EQ(resultOf(image, chalk(12, 9, grain)), plainChalk(image, 12, 9, grain).bytes) << grain;
}

// Every grain from far below to far above the usual: contrast that is pressed, stretched, and cut to black and white.
TEST_F(Chalk, Grains)
{
    const Pieces image = slope(gray(33, 21));
    for (int grain = -12; grain <= 40; ++grain)
        ASSERT_EQ(resultOf(image, chalk(10, 10, grain)), plainChalk(image, 10, 10, grain).bytes) << grain;
}

TEST_F(Chalk, Ranges)
{
    for (const Pieces &image : {slope(gray(33, 21)), gray(9, 7), slope(trueColor(20, 15))})
        for (const int range : {-100, -43, -30, -23, -22, -21, -1, 0, 1, 20, 41, 42, 43, 44, 100}) {
            ASSERT_EQ(resultOf(image, chalk(range, 10, 2)), plainChalk(image, range, 10, 2).bytes) << range;
            ASSERT_EQ(resultOf(image, chalk(10, range, 2)), plainChalk(image, 10, range, 2).bytes) << range;
        }
}

TEST_F(Chalk, ParametersWithoutBounds)
{
    const Pieces image = trueColor(12, 9);
    for (const int extreme : {INT32_MIN, INT32_MIN + 1, INT32_MAX - 1, INT32_MAX})
        for (const Effect &effect : {chalk(extreme, 10, 2), chalk(10, extreme, 2), chalk(10, 10, extreme),
                                     chalk(extreme, extreme, extreme)})
            EXPECT_EQ(resultOf(image, effect).size(), image.bytes().size());
}

// A single level is equalized to white, whose place is in the lights: the sum reaches 256 and wraps to black, and a
// plane of black has no lights. Nor are there shadows, so that the paper stays.
TEST_F(Chalk, OneLevelWrapsToPaper)
{
    for (const uint8_t level : {0, 100, 255}) {
        const Pieces image = flat(gray(6, 5), level);
        const Bytes paper(static_cast<std::size_t>(5 * 8), 128);
        Bytes result = levelsOf(image, chalk(10, 10, 1));
        for (std::size_t y = 0; y < 5; ++y)
            for (std::size_t x = 0; x < 8; ++x)
                EXPECT_EQ(result[8 * y + x], x < 6 ? 128 : 0);
    }
}

// 225 pixels: nine of 10 in a block, nine of 20 far off, the others 200. Equalized: 10, 20, 255. Of the 18 shadows the
// block's nine are a half, 64, and the others come to the paper's 128. A pixel takes the lighter of its two neighbours
// on the rising diagonal: all of the block become 128 but the middle, which has 64 on both sides. The lights are one
// level, whose sum wraps to 0, so that there are none.
TEST_F(Chalk, OneStamp)
{
    Pieces image = flat(gray(15, 15), 200);
    const std::size_t stride = 16;
    for (std::size_t y = 6; y <= 8; ++y)
        for (std::size_t x = 6; x <= 8; ++x)
            image.rows[stride * y + x] = 10;
    for (std::size_t x = 0; x < 9; ++x)
        image.rows[x] = 20;
    const Bytes result = levelsOf(image, chalk(0, 0, 1));
    const Drawn plain = plainChalk(image, 0, 0, 1);
    EXPECT_EQ(plain.shadows, 9);
    Numbers numbers(2);
    int draw = 0;
    for (int i = 0; i < 5; ++i) // the middle is the fifth
        draw = numbers.next() % 100;
    // The strength of 64 is 26 - 12.8, cut.
    const int s = draw < 90 ? 64 + 26 : draw < 94 ? 64 + 13 : draw >= 99 ? 64 - 13 : 64;
    for (int y = 0; y < 15; ++y)
        for (int x = 0; x < 15; ++x) {
            const int dy = y - 7, dx = -(x - 7) - dy;
            const bool isStroke = dy >= -2 && dy <= 2 && dx >= -2 && dx <= 1;
            const int level = result[static_cast<std::size_t>(y) * stride + static_cast<std::size_t>(x)];
            if (isStroke) {
                EXPECT_EQ(level, s) << x << ", " << y;
            } else if (y > 4) {
                EXPECT_EQ(level, 128) << x << ", " << y;
            }
        }
}

TEST_F(Chalk, TheSamePictureEachTime)
{
    const Pieces image = trueColor(40, 30);
    srand(77);
    const Bytes first = resultOf(image, chalk(10, 10, 4));
    srand(78);
    EXPECT_EQ(resultOf(image, chalk(10, 10, 4)), first);
}

TEST_F(Chalk, TrueColorComesOutGrayWithZeroPadding)
{
    const Bytes result = resultOf(trueColor(5, 4), chalk(10, 10, 2));
    for (std::size_t y = 0; y < 4; ++y) {
        for (std::size_t x = 0; x < 5; ++x) {
            const uint8_t *const pixel = result.data() + 40 + 16 * y + 3 * x;
            EXPECT_TRUE(pixel[0] == pixel[1] && pixel[1] == pixel[2]);
        }
        EXPECT_EQ(result[40 + 16 * y + 15], 0);
    }
}

TEST_F(Chalk, WithoutMemory)
{
    const auto lostAfter = [](void *source, void (*order)(int), int n, const Events &events) {
        const std::vector<void *> before = memory_hooks::liveBlocks();
        {
            RecordingHost host;
            order(n);
            EXPECT_EQ(chalk(10, 10, 2)(source), nullptr) << n;
            order(0);
            EXPECT_EQ(host.events, events) << n;
        }
        EXPECT_EQ(memory_hooks::locksOn(source), 1) << n;
        KelMemUnlock(source);
        int lost = 0;
        for (void *const handle : memory_hooks::liveBlocks())
            if (std::find(before.begin(), before.end(), handle) == before.end()) {
                EXPECT_EQ(memory_hooks::locksOn(handle), 1) << n;
                KelMemFree(handle);
                ++lost;
            }
        EXPECT_EQ(lost, 1) << n;
    };
    const Events waiting{"wait"}, over{"wait", "arrow"};
    for (const Pieces &image : {trueColor(5, 18), gray(18, 5)}) {
        const Handle source = image.handle();
        {
            const NothingLost check;
            memory_hooks::failAllocation(1);
            EXPECT_EQ(eventsOfRefusal(source, chalk(10, 10, 2)), over);
            EXPECT_EQ(memory_hooks::locksOn(source), 0);
        }
        const bool isColored = image.header.biBitCount == 24;
        lostAfter(source, memory_hooks::failAllocation, 2, isColored ? waiting : over);
        lostAfter(source, memory_hooks::failLock, 3, isColored ? waiting : over);
        if (isColored) {
            lostAfter(source, memory_hooks::failAllocation, 3, over);
            lostAfter(source, memory_hooks::failLock, 4, over);
        }
    }
}

} // namespace

} // namespace velmont::testing
