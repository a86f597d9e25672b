// Fur: the smoothing box with its mirrored border, hairs, and the mixing at the end.

#include "core/clock.h"
#include "core/generator.h"
#include "platform/memory.h"
#include "tests/effects/filter_testing.h"
#include "tests/effects/warp_testing.h"
#include <cmath>
#include <cstring>
#include <gtest/gtest.h>
#include <velmont/effects.h>
#include <velmont/environment.h>
#include <velmont/painting.h>

namespace velmont::testing {

namespace {

constexpr uint32_t kSecond = 1234567;

Effect fur(int smoothSize, int hairLength, int density, int calm)
{
    return [=](void *dib) {
        tagFurParam record{smoothSize, hairLength, density, calm};
        return ProcessFur(dib, &record);
    };
}

/// Fur without hairs.
Effect smoothing(int smoothSize)
{
    return fur(smoothSize, 5, 0, 0);
}

/// One byte of a picture's rows by its place, 0 outside them.
int byteAt(const Pieces &image, long place)
{
    return place >= 0 && place < static_cast<long>(image.rows.size())
               ? image.rows[static_cast<std::size_t>(place)]
               : 0;
}

/// A sample of the picture with its mirrored border: row and column counted from the first of the border.
int mirroredSample(const Pieces &image, int border, int row, int column, int channel)
{
    const int width = image.header.biWidth, height = image.header.biHeight;
    const auto reflect = [border](int i, int count) {
        if (i < border)
            return border - i;
        if (i < border + count)
            return i - border;
        return count - 1 - (i - border - count);
    };
    const int y = reflect(row, height);
    if (y < 0 || y >= height)
        return 0;
    const long channels = image.header.biBitCount / 8;
    const long stride = static_cast<long>(strideFor(width, image.header.biBitCount));
    const long pixel = y * stride + channels * reflect(column, width);
    return pixel < 0 ? 0 : byteAt(image, pixel + channel);
}

/// The smoothed picture, every box summed for itself.
Pieces smoothed(const Pieces &image, int size)
{
    Pieces result = image;
    if (size == 1)
        return result;
    std::fill(result.rows.begin(), result.rows.end(), uint8_t{0});
    if (size < 1)
        return result;
    const int channels = image.header.biBitCount / 8, border = (size - size % 2) / 2;
    const std::size_t stride = strideFor(image.header.biWidth, image.header.biBitCount);
    for (int y = 0; y < image.header.biHeight; ++y)
        for (int x = 0; x < image.header.biWidth; ++x)
            for (int channel = 0; channel < channels; ++channel) {
                std::vector<int> columns;
                if (size > 2)
                    columns.push_back(0); // never taken out
                for (int i = size > 2 ? 1 : 0; i < size; ++i)
                    columns.push_back(x + i);
                long sum = 0;
                for (int row = y; row < y + size; ++row)
                    for (const int column : columns)
                        sum += mirroredSample(image, border, row, column, channel);
                result.rows[static_cast<std::size_t>(y) * stride +
                            static_cast<std::size_t>(x * channels + channel)] =
                    static_cast<uint8_t>(sum / (long{size} * size));
            }
    return result;
}

/// A picture under the brush, with what may not be touched being left out by each case itself.
struct Canvas {
    Pieces image;
    int width, height;

    void core(int x, int y, const Bytes &color) { setPixel(image, x, y, color); }
    void side(int x, int y, const Bytes &color)
    {
        Bytes pixel = pixelOf(image, x, y);
        for (std::size_t i = 0; i < pixel.size(); ++i)
            pixel[i] = static_cast<uint8_t>((pixel[i] + color[i]) >> 1);
        setPixel(image, x, y, pixel);
    }
};

/// One step of a hair.
void paintStep(Canvas &canvas, int which, int x, int y, const Bytes &color)
{
    const int w = canvas.width, h = canvas.height;
    switch (which) {
    case 0:
        if (x < 0 || x > w - 1 || y < 1 || y > h - 2)
            return;
        canvas.core(x, y, color);
        canvas.side(x, y - 1, color);
        canvas.side(x, y + 1, color);
        return;
    case 1:
        if (x < 0 || x > w - 2 || y < 1 || y > h - 2)
            return;
        canvas.core(x, y, color);
        canvas.core(x + 1, y, color);
        for (const int dy : {-1, 1}) {
            canvas.side(x, y + dy, color);
            canvas.side(x + 1, y + dy, color);
        }
        return;
    case 2:
    case 4:
    case 6:
        if (x < 1 || x > (which == 6 ? w - 3 : w - 2) || y < 0 || y > h - 1)
            return;
        canvas.core(x, y, color);
        canvas.side(x - 1, y, color);
        canvas.side(x + 1, y, color);
        return;
    case 3:
    case 5:
        if (x < 1 || x > w - 2 || y < 0 || y > h - 2)
            return;
        canvas.core(x, y, color);
        canvas.core(x, y + 1, color);
        for (const int dx : {-1, 1}) {
            canvas.side(x + dx, y, color);
            canvas.side(x + dx, y + 1, color);
        }
        return;
    default:
        if (x < 1 || x > w - 2 || y < 1 || y > h - 2)
            return;
        canvas.core(x, y, color);
        canvas.core(x - 1, y, color);
        for (const int dy : {-1, 1}) {
            canvas.side(x, y + dy, color);
            canvas.side(x - 1, y + dy, color);
        }
    }
}

void paintHair(Canvas &canvas, int which, int c, int r, int length, const Bytes &color)
{
    const int l = length, h = length / 2;
    const bool isShort = which == 1 || which == 3 || which == 5 || which == 7;
    for (int s = 0; s < (isShort ? 2 * h : 2 * l); ++s) {
        const Place places[] = {{c - l + s, r},         {c - 2 * h + 2 * s, r - h + s},
                                {c - l + s, r - l + s}, {c - h + s, r - 2 * h + 2 * s},
                                {c, r - l + s},         {c + h - s, r - 2 * h + 2 * s},
                                {c + l - s, r - l + s}, {c + 2 * h - 2 * s, r - h + s}};
        paintStep(canvas, which, places[which].x, places[which].y, color);
    }
}

struct Grown {
    Bytes bytes;
    long draws = 0, hairs = 0;
    long onLimits = 0; ///< hairs whose number is the least of its direction's
};

/// The whole effect, step by step, from a clock that shows this second.
Grown plainFur(const Pieces &source, int smoothSize, int length, int density, int calm,
               uint32_t second = kSecond)
{
    const Pieces base = smoothed(source, smoothSize);
    Canvas canvas{base, source.header.biWidth, source.header.biHeight};
    Numbers numbers(second);
    Grown grown;
    const double chance = (density * 0.01 / (length / 5 + 1)) / (density / 20 + 1);
    for (int y = 0; y < canvas.height; ++y)
        for (int x = 0; x < canvas.width; ++x) {
            ++grown.draws;
            if ((numbers.next() % 1000) * 0.001 >= chance)
                continue;
            ++grown.draws;
            ++grown.hairs;
            const int number = numbers.next() % 10000;
            grown.onLimits += number != 0 && number % 1250 == 0 ? 1 : 0;
            const double v = number * 0.00010001000100010001;
            int which = 0;
            for (const double limit : {0.125, 0.25, 0.375, 0.5, 0.625, 0.75, 0.875})
                which += v < limit ? 0 : 1;
            paintHair(canvas, which, x, y, length, pixelOf(base, x, y));
        }
    const double share = calm * 0.00392156862745098;
    if (share > 0.005)
        for (int y = 0; y < canvas.height; ++y)
            for (int x = 0; x < canvas.width; ++x) {
                Bytes pixel = pixelOf(canvas.image, x, y);
                const Bytes under = pixelOf(base, x, y);
                for (std::size_t i = 0; i < pixel.size(); ++i)
                    pixel[i] =
                        static_cast<uint8_t>(static_cast<int>(under[i] * share + pixel[i] * (1 - share)));
                setPixel(canvas.image, x, y, pixel);
            }
    grown.bytes = canvas.image.bytes();
    return grown;
}

class Fur : public ::testing::Test {
protected:
    Fur() { stopClock(kSecond); }
    ~Fur() override { runClock(); }

    NothingLost check_;
    Restore restore_;
};

TEST_F(Fur, Refusals)
{
    const Handle image = trueColor(5, 4).handle();
    EXPECT_EQ(eventsOfRefusal(image, [](void *dib) { return ProcessFur(dib, nullptr); }), Events{});
    EXPECT_EQ(eventsOfRefusal(nullptr, smoothing(1)), Events{});
    EXPECT_EQ(EnhanceAndEffects(image, 4708, 0), nullptr);
    for (const Pieces &other : {paletted(5, 4, 8, 255), paletted(5, 4, 8, 0), paletted(5, 4, 4, 16),
                                paletted(5, 4, 1, 2), paletted(5, 4, 16, 0), paletted(5, 4, 32, 0)})
        EXPECT_EQ(eventsOfRefusal(other.handle(), smoothing(1)), Events{});
    expectLiesRefused(smoothing(3));
}

// Whatever the header says of its colours, rows lie behind 256 of them.
TEST_F(Fur, RowsBehindAllColors)
{
    const Pieces image = paletted(19, 13, 8, 256);
    const Bytes usual = resultOf(image, fur(2, 5, 50, 60));
    for (const uint32_t colors : {0u, 10u, 255u, 256u}) {
        Pieces other = image;
        other.header.biClrUsed = colors;
        Bytes expected = usual;
        std::memcpy(expected.data(), &other.header, sizeof other.header);
        EXPECT_EQ(resultOf(other, fur(2, 5, 50, 60)), expected) << colors;
        other.rows.pop_back(); // fits the header, but not those rows
        EXPECT_EQ(fur(2, 5, 50, 60)(other.handle()), nullptr) << colors;
    }
}

TEST_F(Fur, TheCodeReachesIt)
{
    const Handle image = trueColor(9, 7).handle();
    tagFurParam record{2, 5, 50, 20};
    const Handle direct(ProcessFur(image, &record));
    const Handle coded(EnhanceAndEffects(image, 4708, reinterpret_cast<long>(&record)));
    ASSERT_NE(static_cast<void *>(coded), nullptr);
    EXPECT_EQ(bytesOf(direct), bytesOf(coded));
}

// By hand: 4 by 2, mirrored without the edge above and on the left, with it below and on the right.
TEST_F(Fur, SmoothsByHand)
{
    const Pieces image = levels({{10, 20, 30, 40}, {50, 60, 70, 80}});
    // A box of 2 covers the rows before and here, the columns before and here: row -1 shows row 1, column -1 column 1.
    EXPECT_EQ(levelsOf(image, smoothing(2)),
              (Bytes{(60 + 50 + 20 + 10) / 4, (50 + 60 + 10 + 20) / 4, (60 + 70 + 20 + 30) / 4,
                     (70 + 80 + 30 + 40) / 4, (20 + 10 + 60 + 50) / 4, (10 + 20 + 50 + 60) / 4,
                     (20 + 30 + 60 + 70) / 4, (30 + 40 + 70 + 80) / 4}));
    // A box of 3 has columns -1 to 4 as 20 10 20 30 40 40 in row 0 and 60 50 60 70 80 80 in row 1. The first column
    // stays in all boxes: 0 with x + 1 and x + 2. Row 0 sums rows 1, 0, 1; row 1 sums 0, 1, and 1 once more.
    const int above[] = {20 + 2 * 60, 10 + 2 * 50, 20 + 2 * 60, 30 + 2 * 70, 40 + 2 * 80, 40 + 2 * 80};
    Bytes expected;
    for (int y = 0; y < 2; ++y) // both rows see row 0 once and row 1 twice
        for (int x = 0; x < 4; ++x)
            expected.push_back(static_cast<uint8_t>((above[0] + above[x + 1] + above[x + 2]) / 9));
    EXPECT_EQ(levelsOf(image, smoothing(3)), expected);
}

TEST_F(Fur, SmoothsAsThePlainBox)
{
    for (int width = 1; width <= 40; ++width)
        for (int height = 1; height <= 18; ++height) {
            const auto seed = static_cast<uint32_t>(width * 100 + height);
            const int size = 1 + (width * 7 + height * 5) % 12;
            for (const Pieces &image :
                 {trueColor(width, height, seed), paletted(width, height, 8, 256, seed)})
                ASSERT_EQ(resultOf(image, smoothing(size)), smoothed(image, size).bytes())
                    << width << " x " << height << " by " << size;
        }
}

TEST_F(Fur, BoxesLargerThanThePicture)
{
    for (const int size : {0, -1, -2, -7, INT32_MIN, 15, 16, 33, 40, 255, 256, 257, 300})
        for (const Pieces &image : {trueColor(5, 3), trueColor(1, 1), gray(7, 2), gray(2, 9)})
            ASSERT_EQ(resultOf(image, smoothing(size)), smoothed(image, size).bytes()) << size;
    // White as far as the mirrored border reaches: exact means of boxes that are full of it, and beyond.
    const Pieces white = flat(gray(300, 300), 255);
    for (const int size : {2, 3, 255, 256, 257})
        EXPECT_EQ(resultOf(white, smoothing(size)), smoothed(white, 2).bytes()) << size;
}

// Bright pixels but one that lacks a level: each box of 400 by 400 that has it is a level darker, by a part of the 35
// millions in its sum that small numbers do not hold.
TEST_F(Fur, MeansOfLargeBoxesAreCut)
{
    for (const Pieces &plain : {gray(210, 210), trueColor(210, 210)}) {
        Pieces image = flat(plain, 220), darker = flat(plain, 0);
        setPixel(image, 100, 100, Bytes(plain.header.biBitCount / 8, 219));
        for (int y = 0; y < 210; ++y)
            for (int x = 0; x < 210; ++x)
                setPixel(darker, x, y, Bytes(plain.header.biBitCount / 8, 219));
        EXPECT_EQ(resultOf(image, smoothing(400)), darker.bytes());
    }
}

TEST_F(Fur, PaddingIsCopiedUnsmoothedAndElseZero)
{
    const Pieces image = trueColor(5, 4);
    EXPECT_EQ(resultOf(image, smoothing(1)), image.bytes());
    const Bytes result = resultOf(image, smoothing(2));
    for (std::size_t y = 0; y < 4; ++y)
        EXPECT_EQ(result[40 + 16 * y + 15], 0);
}

// The picture would come to 4 GiB with its border, or more than any number says.
TEST_F(Fur, BoxesBeyondMemory)
{
    for (const int size : {INT32_MAX, INT32_MAX - 1, 70000})
        for (const Pieces &image : {trueColor(5, 4), gray(5, 4)}) {
            const Handle source = image.handle();
            const std::vector<void *> before = memory_hooks::liveBlocks();
            EXPECT_EQ(eventsOfRefusal(source, smoothing(size)), Events{"wait"});
            EXPECT_EQ(memory_hooks::locksOn(source), 0);
            for (void *const handle : memory_hooks::liveBlocks())
                if (std::find(before.begin(), before.end(), handle) == before.end())
                    KelMemFree(handle);
        }
}

TEST_F(Fur, AsThePlainLoop)
{
    long hairs = 0;
    for (int width = 1; width <= 40; ++width)
        for (int height = 1; height <= 18; ++height) {
            const auto seed = static_cast<uint32_t>(width * 100 + height);
            const int length = (width + 3 * height) % 14, smoothSize = (width + height) % 4;
            const int density = 19 + (width * height) % 60, calm = (width * 40 + height) % 256;
            for (const Pieces &image :
                 {trueColor(width, height, seed), paletted(width, height, 8, 256, seed)}) {
                const Grown plain = plainFur(image, smoothSize, length, density, calm);
                hairs += plain.hairs;
                ASSERT_EQ(resultOf(image, fur(smoothSize, length, density, calm)), plain.bytes)
                    << width << " x " << height << ": " << smoothSize << ' ' << length << ' ' << density
                    << ' ' << calm;
                Numbers numbers(kSecond);
                for (long i = 0; i < plain.draws; ++i)
                    numbers.next();
                ASSERT_EQ(rand(), numbers.next());
            }
        }
    EXPECT_GT(hairs, 1000);
}

// Many hairs in each direction, long ones beyond all edges.
TEST_F(Fur, LongHairsAsThePlainLoop)
{
    const Pieces image = trueColor(60, 50), grays = gray(50, 60);
    for (const int length : {1, 2, 3, 4, 9, 70, 150})
        for (const int density : {19, 100, -50}) { // -50 makes a chance of a half and less
            EXPECT_EQ(resultOf(image, fur(1, length, density, 0)),
                      plainFur(image, 1, length, density, 0).bytes);
            EXPECT_EQ(resultOf(grays, fur(2, length, density, 9)),
                      plainFur(grays, 2, length, density, 9).bytes);
        }
}

// The numbers from which on the next direction is taken are 1250, 2500 and so on.
TEST_F(Fur, DirectionsAtTheirLimits)
{
    const Pieces image = trueColor(60, 50);
    long onLimits = 0;
    for (uint32_t second = 0; second < 8000000; second += 99991) {
        stopClock(second);
        const Grown plain = plainFur(image, 1, 6, 40, 0, second);
        ASSERT_EQ(resultOf(image, fur(1, 6, 40, 0)), plain.bytes) << second;
        onLimits += plain.onLimits;
    }
    EXPECT_GT(onLimits, 5);
}

TEST_F(Fur, WithoutHairsOnlyTheSmoothedPicture)
{
    const Pieces image = trueColor(20, 20);
    EXPECT_EQ(resultOf(image, fur(3, 10, 0, 0)), smoothed(image, 3).bytes());
    // No direction paints without a length, and a length of 1 paints in the four main ones.
    for (const int length : {0, -1, -4, -10, -400, INT32_MIN})
        EXPECT_EQ(resultOf(image, fur(3, length, 50, 0)), smoothed(image, 3).bytes()) << length;
    EXPECT_NE(resultOf(image, fur(3, 1, 50, 0)), smoothed(image, 3).bytes());
}

TEST_F(Fur, TheSmoothedPictureCalms)
{
    const Pieces image = trueColor(30, 30);
    const Bytes rough = resultOf(image, fur(2, 8, 50, 0));
    EXPECT_EQ(resultOf(image, fur(2, 8, 50, 1)), rough); // a share of 1 of 255 is not mixed
    EXPECT_NE(resultOf(image, fur(2, 8, 50, 2)), rough);
    EXPECT_EQ(resultOf(image, fur(2, 8, 50, -50)), rough);
    EXPECT_EQ(resultOf(image, fur(2, 8, 50, 255)), smoothed(image, 2).bytes());
    EXPECT_EQ(resultOf(image, fur(2, 8, 50, 600)), plainFur(image, 2, 8, 50, 600).bytes);
}

// How many numbers are drawn tells how many pixels grew a hair.
TEST_F(Fur, ChancesAtTheLimits)
{
    const Handle image = trueColor(20, 10).handle();
    const auto drawsWith = [&](int length, int density) {
        const Handle result(fur(1, length, density, 0)(image));
        EXPECT_NE(static_cast<void *>(result), nullptr);
        const int next = rand();
        Numbers numbers(kSecond);
        int draws = 0;
        while (numbers.next() != next && draws < 1000)
            ++draws;
        return draws;
    };
    EXPECT_EQ(drawsWith(5, 0), 200);
    EXPECT_EQ(drawsWith(5, -1), 200);
    EXPECT_EQ(drawsWith(5, -20), 200); // below 0 over 0
    EXPECT_EQ(drawsWith(-5, 50), 400); // over 0: every pixel, though no hair is painted
    EXPECT_EQ(drawsWith(-5, 0), 400);  // 0 over 0 is not below any number either
    EXPECT_EQ(drawsWith(-5, -19), 200);
    for (const int extreme : {INT32_MIN, INT32_MAX}) {
        EXPECT_GE(drawsWith(extreme, 50), 200);
        EXPECT_GE(drawsWith(5, extreme), 200);
        EXPECT_GE(drawsWith(extreme, extreme), 200);
    }
}

TEST_F(Fur, ParametersWithoutBounds)
{
    const Pieces image = trueColor(12, 9);
    for (const int extreme : {INT32_MIN, INT32_MIN + 1, -1, INT32_MAX - 1, INT32_MAX})
        for (const Effect &effect : {fur(1, extreme, 50, 10), fur(1, 5, extreme, 10), fur(1, 5, 50, extreme),
                                     fur(1, extreme, extreme, extreme)})
            EXPECT_EQ(resultOf(image, effect).size(), image.bytes().size());
}

TEST_F(Fur, TheClockSeeds)
{
    const Pieces image = trueColor(30, 30);
    const Bytes first = resultOf(image, fur(1, 5, 50, 0));
    srand(99); // makes no difference
    EXPECT_EQ(resultOf(image, fur(1, 5, 50, 0)), first);
    stopClock(kSecond + 1);
    EXPECT_NE(resultOf(image, fur(1, 5, 50, 0)), first);
}

TEST_F(Fur, OnlyLevelsPollAndReportWhileTheyAreSmoothed)
{
    const Events cursors{"wait", "arrow"};
    EXPECT_EQ(eventsOf(trueColor(5, 40), fur(3, 5, 50, 40)), cursors);
    for (const Pieces &image : {gray(5, 40), paletted(5, 40, 8, 256)}) {
        EXPECT_EQ(eventsOf(image, fur(1, 5, 50, 40)), cursors);
        EXPECT_EQ(eventsOf(image, fur(0, 5, 50, 40)), cursors);
        for (const int size : {2, 3})
            EXPECT_EQ(eventsOf(image, fur(size, 5, 50, 40)), joined({{"wait"}, rowEvents(40), {"arrow"}}));
    }
}

TEST_F(Fur, TheArrowComesBeforeTheLocksGo)
{
    const Handle source = trueColor(5, 4).handle();
    WatchingHost host(source);
    const Handle result(fur(3, 5, 50, 40)(source));
    ASSERT_EQ(host.sights.size(), 2u);
    EXPECT_EQ(host.sights[0], (Sight{"wait", 1, 0, 1}));
    EXPECT_EQ(host.sights[1], (Sight{"arrow", 1, 1, 2}));
}

// Rows that are not reached stay black, the hairs grow all the same.
TEST_F(Fur, AnAbortEndsTheSmoothingAlone)
{
    const Pieces image = gray(30, 20);
    for (const int polls : {1, 2, 19, 20}) {
        RecordingHost host;
        host.abortFromPoll(polls);
        const Handle source = image.handle();
        tagFurParam record{2, 5, 50, 60};
        const Handle result(ProcessFur(source, &record));
        ASSERT_NE(static_cast<void *>(result), nullptr);
        EXPECT_EQ(host.polls(), polls);
        EXPECT_EQ(host.events.back(), "arrow");
        Pieces cut = smoothed(image, 2);
        std::fill(cut.rows.begin() + (polls - 1) * 32, cut.rows.end(), uint8_t{0});
        const Pieces grown = {image.header, image.palette, cut.rows};
        EXPECT_EQ(bytesOf(result), plainFur(grown, 1, 5, 50, 60).bytes);
    }
}

TEST_F(Fur, WithoutMemory)
{
    for (const Pieces &image : {trueColor(5, 18), gray(18, 5)}) {
        const Handle source = image.handle();
        {
            const NothingLost check;
            memory_hooks::failAllocation(1);
            EXPECT_EQ(eventsOfRefusal(source, smoothing(3)), (Events{"wait", "arrow"}));
        }
        // The result is lost with its lock, the source is unlocked, the wait cursor stays.
        const std::vector<void *> before = memory_hooks::liveBlocks();
        const auto lost = [&] {
            std::vector<void *> blocks;
            for (void *const handle : memory_hooks::liveBlocks())
                if (std::find(before.begin(), before.end(), handle) == before.end())
                    blocks.push_back(handle);
            return blocks;
        };
        const std::pair<void (*)(int), int> orders[] = {{memory_hooks::failAllocation, 2},
                                                        {memory_hooks::failLock, 3}};
        for (const auto &[order, n] : orders) {
            order(n);
            EXPECT_EQ(eventsOfRefusal(source, smoothing(3)), Events{"wait"});
            EXPECT_EQ(memory_hooks::locksOn(source), 0);
            const std::vector<void *> blocks = lost();
            ASSERT_EQ(blocks.size(), 1u);
            EXPECT_EQ(memory_hooks::locksOn(blocks[0]), 1);
            KelMemFree(blocks[0]);
        }
    }
}

TEST_F(Fur, TheResultIsAskedForZeroFilled)
{
    memory_hooks::setFillByte(0xA5);
    const Bytes result = resultOf(gray(5, 4), smoothing(0));
    EXPECT_TRUE(std::all_of(result.begin() + 1064, result.end(), [](uint8_t byte) { return byte == 0; }));
}

} // namespace

} // namespace velmont::testing
