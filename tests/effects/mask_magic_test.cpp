// The magic selection, beside a flood fill of another kind for the pixels and a plain walk for the polls.

#include "platform/memory.h"
#include "tests/effects/mask_testing.h"
#include <array>
#include <climits>
#include <cstdlib>
#include <cstring>
#include <deque>
#include <gtest/gtest.h>
#include <velmont/masks.h>

namespace velmont::testing {

namespace {

struct Choice {
    int x, y, mode, red, green, blue;
};

Effect magic(const Choice &c)
{
    return [=](void *dib) { return CreateMagicMaskFromDib(dib, c.x, c.y, c.mode, c.red, c.green, c.blue); };
}

using Color = std::array<int, 3>; ///< red, green, blue

Color colorAt(const Pieces &image, int x, int y)
{
    const uint32_t pixel = pixelIn(image, x, y);
    if (image.header.biBitCount == 24)
        return {static_cast<int>(pixel >> 16), static_cast<int>(pixel >> 8 & 255),
                static_cast<int>(pixel & 255)};
    if (4 * pixel + 4 > image.palette.size() || pixel > 255)
        return {0, 0, 0};
    const uint8_t *const entry = &image.palette[4 * pixel];
    return {entry[2], entry[1], entry[0]};
}

bool isMatch(const Color &color, const Color &seed, const Choice &c)
{
    const int limits[] = {c.red, c.green, c.blue};
    for (std::size_t i = 0; i < 3; ++i) {
        const long limit = limits[i];
        const bool matches = c.mode != 0 ? color[i] - limit <= seed[i] && color[i] + limit >= seed[i]
                                         : (color[i] <= limit) == (seed[i] <= limit);
        if (!matches)
            return false;
    }
    return true;
}

/// The image with a map of what matches and of what is taken.
struct Field {
    Field(const Pieces &image, const Choice &c)
        : width(image.header.biWidth), height(image.header.biHeight), x(std::clamp(c.x, 0, width - 1)),
          y(std::clamp(c.y, 0, height - 1)),
          matches(static_cast<std::size_t>(width) * static_cast<std::size_t>(height)), taken(matches.size())
    {
        const Color seed = colorAt(image, x, y);
        for (int row = 0; row < height; ++row)
            for (int column = 0; column < width; ++column)
                matches[at(column, row)] = isMatch(colorAt(image, column, row), seed, c);
    }
    std::size_t at(int column, int row) const
    {
        return static_cast<std::size_t>(row) * static_cast<std::size_t>(width) +
               static_cast<std::size_t>(column);
    }
    bool isOpen(int column, int row) const { return matches[at(column, row)] && !taken[at(column, row)]; }

    int width, height, x, y;
    std::vector<bool> matches, taken;
};

/// Neighbour by neighbour, breadth first.
std::vector<bool> flooded(Field field)
{
    std::deque<std::pair<int, int>> ahead{{field.x, field.y}};
    while (!ahead.empty()) {
        const auto [x, y] = ahead.front();
        ahead.pop_front();
        if (x < 0 || x >= field.width || y < 0 || y >= field.height || !field.isOpen(x, y))
            continue;
        field.taken[field.at(x, y)] = true;
        for (const auto &[dx, dy] : {std::pair(1, 0), {-1, 0}, {0, 1}, {0, -1}})
            ahead.emplace_back(x + dx, y + dy);
    }
    return field.taken;
}

/// Segments on a stack, pixel by pixel.
/// \return the segments popped
int segmentsWalked(Field &field, std::size_t *deepest = nullptr)
{
    struct Segment {
        int row, first, last, direction;
    };
    std::vector<Segment> stack;
    const auto push = [&](int row, int first, int last, int direction) {
        if (row + direction >= 0 && row + direction <= field.height - 1)
            stack.push_back({row, first, last, direction});
        if (deepest)
            *deepest = std::max(*deepest, stack.size());
    };
    push(field.y, field.x, field.x, 1);
    push(field.y + 1, field.x, field.x, -1);
    int popped = 0;
    while (!stack.empty()) {
        const auto [row0, x1, x2, direction] = stack.back();
        stack.pop_back();
        ++popped;
        const int row = row0 + direction;
        int x = x1, start = 0;
        for (; x >= 0 && field.isOpen(x, row); --x)
            field.taken[field.at(x, row)] = true;
        bool isInRun = x < x1;
        if (isInRun) {
            start = x + 1;
            if (start < x1)
                push(row, start, x1 - 1, -direction);
            x = x1 + 1;
        }
        do {
            if (isInRun) {
                for (; x <= field.width - 1 && field.isOpen(x, row); ++x)
                    field.taken[field.at(x, row)] = true;
                push(row, start, x - 1, direction);
                if (x > x2 + 1)
                    push(row, x2 + 1, x - 1, -direction);
            }
            for (++x; x <= x2 && !field.isOpen(x, row);)
                ++x;
            start = x;
            isInRun = true;
        } while (x <= x2);
    }
    return popped;
}

Bytes maskBlock(const Pieces &image, const Field &field, const std::vector<bool> &taken)
{
    Pieces mask = bitMask(field.width, field.height, [&](int x, int y) { return taken[field.at(x, y)]; });
    const uint32_t bytes = mask.header.biSizeImage;
    mask.header = image.header;
    mask.header.biBitCount = 1;
    mask.header.biClrUsed = 2;
    mask.header.biSizeImage = bytes;
    return mask.bytes();
}

void expectSelection(const Pieces &image, const Choice &c)
{
    const Handle handle = image.handle();
    Field field(image, c);
    RecordingHost host;
    const Handle mask(magic(c)(handle));
    ASSERT_TRUE(mask);
    const std::vector<bool> taken = flooded(field);
    ASSERT_EQ(bytesOf(mask), maskBlock(image, field, taken))
        << image.header.biWidth << " x " << image.header.biHeight << " at " << c.x << ", " << c.y;
    const int segments = segmentsWalked(field);
    ASSERT_EQ(field.taken, taken) << "the walk of this test";
    ASSERT_EQ(host.events, Events(static_cast<std::size_t>(1 + (segments + 255) / 256), "poll"));
}

uint32_t next(uint32_t &state)
{
    state = state * 1664525u + 1013904223u;
    return state >> 8;
}

/// Few colours, so that areas form.
Pieces patchy(Pieces image, uint32_t &state)
{
    const uint32_t levels = 2 + next(state) % 4;
    if (image.header.biBitCount >= 8 && next(state) % 4 != 0)
        for (uint8_t &byte : image.rows)
            byte = static_cast<uint8_t>(byte % levels * (255 / levels));
    return image;
}

TEST(MagicMask, AgreesWithAFloodFillOnThousandsOfImages)
{
    const NothingLost check;
    uint32_t state = 7;
    for (int run = 0; run < 1000; ++run) {
        const int width = 1 + static_cast<int>(next(state) % 75),
                  height = 1 + static_cast<int>(next(state) % 20);
        for (const Pieces &noise : everyDepth(width, height, state)) {
            const Pieces image = patchy(noise, state);
            const auto limit = [&] { return static_cast<int>(next(state) % 280) - 10; };
            const auto place = [&](int size) { return static_cast<int>(next(state)) % (size + 4) - 2; };
            expectSelection(image, {place(width), place(height), static_cast<int>(next(state) % 3) - 1,
                                    limit(), limit(), limit()});
            if (HasFatalFailure())
                return;
        }
    }
}

TEST(MagicMask, EverySize)
{
    uint32_t state = 3;
    for (int width = 1; width <= 40; ++width)
        for (int height = 1; height <= 18; ++height) {
            expectSelection(patchy(trueColor(width, height, state), state),
                            {width / 2, height / 2, 1, 200, 160, 130});
            expectSelection(noiseMask(width, height, state), {width, height, 1, 0, 0, 0});
            if (HasFatalFailure())
                return;
        }
}

TEST(MagicMask, WideRows)
{
    uint32_t state = 11;
    for (int width = 120; width <= 200; ++width) {
        Pieces image = grayRows(std::vector<Bytes>(3, Bytes(static_cast<std::size_t>(width), 9)));
        for (int holes = 0; holes < 3; ++holes)
            image.rows[next(state) % image.rows.size()] = 100;
        expectSelection(image, {width / 2, 1, 1, 5, 5, 5});
    }
}

/// The mazes make stacks that outgrow their first block, several times.
TEST(MagicMask, DeepStacks)
{
    const int width = 399, height = 250;
    Pieces image = blankOf(gray(1, 1), width, height);
    image.palette = grayRamp();
    // A comb in every other row, its teeth every other column: each tooth is a segment put off.
    for (int y = 0; y < height; ++y)
        for (int x = 0; x < width; ++x)
            if (y % 2 == 1 && x % 2 == 1)
                putPixel(image, x, y, 255);
    uint32_t state = 5;
    for (int i = 0; i < 12000; ++i)
        image.rows[next(state) % image.rows.size()] = 255;
    for (const Choice &c : {Choice{0, 0, 1, 9, 9, 9}, {200, 124, 1, 9, 9, 9}, {0, 0, 1, 255, 255, 255}}) {
        std::size_t deepest = 0;
        Field field(image, c);
        segmentsWalked(field, &deepest);
        if (c.red == 9) {
            EXPECT_GT(deepest, 2100u) << "past the first block";
        }
        expectSelection(image, c);
    }
}

TEST(MagicMask, SeedOutsideIsHeldInside)
{
    const Pieces image = grayRows({{1, 1, 9, 9}, {1, 1, 9, 9}, {5, 5, 5, 9}});
    const auto at = [&](int x, int y) {
        const Handle handle = image.handle();
        const Handle mask(CreateMagicMaskFromDib(handle, x, y, 1, 0, 0, 0));
        return drawing(mask);
    };
    const std::vector<std::string> firstArea{"##..", "##..", "...."}, lastArea{"..##", "..##", "...#"};
    EXPECT_EQ(at(0, 0), firstArea);
    EXPECT_EQ(at(-1, -1), firstArea);
    EXPECT_EQ(at(INT_MIN, INT_MIN), firstArea);
    EXPECT_EQ(at(INT_MAX, INT_MAX), lastArea);
    EXPECT_EQ(at(4, 3), lastArea);
    EXPECT_EQ(at(-5, 99), (std::vector<std::string>{"....", "....", "###."}));
}

TEST(MagicMask, UniformImageIsWhole)
{
    for (const int y : {0, 2, 4}) {
        const Handle image(CreateDib(35, 5, 24, 0, 0x123456));
        const Handle mask(CreateMagicMaskFromDib(image, 17, y, 1, 0, 0, 0));
        EXPECT_EQ(drawing(mask), std::vector<std::string>(5, std::string(35, '#')));
    }
}

TEST(MagicMask, LimitsOfEachChannel)
{
    // Blue, green, red: the first pixel, and those 3 away in one channel each.
    const Pieces image = pixelRow({50, 60, 70, 53, 60, 70, 53, 57, 70, 53, 57, 73});
    const auto selected = [&](int mode, int red, int green, int blue) {
        const Handle handle = image.handle();
        const Handle mask(CreateMagicMaskFromDib(handle, 0, 0, mode, red, green, blue));
        return drawing(mask)[0];
    };
    EXPECT_EQ(selected(1, 3, 3, 3), "####");
    EXPECT_EQ(selected(-9, 2, 3, 3), "###.");
    EXPECT_EQ(selected(1, 3, 2, 3), "##..");
    EXPECT_EQ(selected(1, 3, 3, 2), "#...");
    EXPECT_EQ(selected(1, -1, 3, 3), "....") << "not even the first one";
    EXPECT_EQ(selected(1, 3, 3, INT_MIN), "....");
    EXPECT_EQ(selected(1, INT_MAX, INT_MAX, INT_MAX), "####");
    // Thresholds: on the limit is not above it.
    EXPECT_EQ(selected(0, 70, 60, 50), "#...");
    EXPECT_EQ(selected(0, 70, 56, 53), "###.");
    EXPECT_EQ(selected(0, 69, 57, 53), "##..");
    EXPECT_EQ(selected(0, -1, 255, 300), "####");
    EXPECT_EQ(selected(0, INT_MIN, INT_MAX, INT_MIN), "####");
}

TEST(MagicMask, DiagonalsDoNotConnect)
{
    const Handle image = grayRows({{1, 9, 1}, {9, 1, 9}, {1, 9, 1}}).handle();
    const Handle mask(CreateMagicMaskFromDib(image, 1, 1, 1, 0, 0, 0));
    EXPECT_EQ(drawing(mask), (std::vector<std::string>{"...", ".#.", "..."}));
}

TEST(MagicMask, HeaderAndPalette)
{
    Pieces image = trueColor(33, 2);
    image.header.biXPelsPerMeter = 77;
    image.header.biClrImportant = 5;
    image.header.biPlanes = 3;
    const Handle handle = image.handle();
    const Handle mask(CreateMagicMaskFromDib(handle, 0, 0, 1, 255, 255, 255));
    EXPECT_EQ(KelMemSize(mask), 48u + 2 * 8);
    const DibHeader header = headerOf(mask);
    EXPECT_EQ(header.biXPelsPerMeter, 77);
    EXPECT_EQ(header.biClrImportant, 5u);
    EXPECT_EQ(header.biPlanes, 3);
    EXPECT_EQ(header.biBitCount, 1);
    EXPECT_EQ(header.biClrUsed, 2u);
    EXPECT_EQ(header.biSizeImage, 16u);
    const Bytes block = bytesOf(mask);
    EXPECT_EQ(Bytes(block.begin() + 40, block.begin() + 48), (Bytes{0, 0, 0, 0, 255, 255, 255, 0}));
}

/// Short palettes leave black colours; of long ones 256 are read and the rows are taken from right behind them.
TEST(MagicMask, ColorsOfThePalette)
{
    expectSelection(paletted(20, 9, 8, 9, 4), {3, 3, 1, 0, 0, 0});
    expectSelection(paletted(20, 9, 4, 3, 4), {3, 3, 1, 60, 60, 60});
    expectSelection(paletted(20, 9, 1, 0, 4), {3, 3, 1, 0, 0, 0});
    expectSelection(paletted(20, 9, 4, 40, 4), {3, 3, 1, 90, 90, 90});

    Pieces longer = paletted(20, 9, 8, 300, 4);
    Pieces asRead = longer;
    asRead.rows.insert(asRead.rows.begin(), longer.palette.begin() + 1024, longer.palette.end());
    asRead.rows.resize(longer.rows.size());
    asRead.palette.resize(1024);
    const Handle handle = longer.handle();
    const Choice c{3, 3, 1, 120, 120, 120};
    const Handle mask(magic(c)(handle));
    Field field(asRead, c);
    EXPECT_EQ(bytesOf(mask), maskBlock(longer, field, flooded(field)));
}

/// Of any other depth the bits of a row are read one by one, from rows at their own stride, by the first two colours.
TEST(MagicMask, OtherDepthsAreReadAsBits)
{
    for (const int bits : {2, 16, 32, 48}) {
        Pieces image = paletted(21, 7, bits, 2, 9);
        const std::size_t stride = strideFor(21, bits), bitStride = strideFor(21, 1);
        Pieces asRead{makeHeader(21, 7, 1, 2), image.palette, Bytes(7 * bitStride)};
        for (std::size_t y = 0; y < 7; ++y)
            std::memcpy(&asRead.rows[y * bitStride], &image.rows[y * stride], bitStride);
        const Choice c{10, 3, 1, 0, 0, 0};
        const Handle handle = image.handle();
        const Handle mask(magic(c)(handle));
        ASSERT_TRUE(mask) << bits;
        Field field(asRead, c);
        EXPECT_EQ(bytesOf(mask), maskBlock(image, field, flooded(field))) << bits;
    }
    EXPECT_EQ(magic({})(paletted(5, 3, 0, 2).handle()), nullptr) << "rows without bits";
}

TEST(MagicMask, PollsOnceAndThenAtEvery256thSegment)
{
    const Handle small = grayRows({{1, 1}}).handle();
    RecordingHost host;
    Handle mask(magic({0, 0, 1, 0, 0, 0})(small));
    EXPECT_EQ(host.events, Events({"poll", "poll"}));
    host.events.clear();
    // One segment a row, and one more at the start: row 0 first, whose way on leads outside.
    for (const auto &[height, polls] : {std::pair(255, 2), {256, 2}, {257, 3}, {512, 3}, {513, 4}}) {
        const Handle image(CreateDib(1, height, 8, 0, 0));
        mask = Handle(magic({0, 0, 1, 0, 0, 0})(image));
        EXPECT_EQ(host.polls(), polls) << height;
        host.events.clear();
    }
}

TEST(MagicMask, AbortsAndFailures)
{
    const Pieces image = grayRows(std::vector<Bytes>(600, Bytes{7}));
    const Effect effect = magic({0, 0, 1, 0, 0, 0});
    expectAborts(image, effect, 1, {});
    expectFailuresSurvived(image, effect);
    const Handle handle = image.handle();
    RecordingHost host;
    host.abortFromPoll(2);
    EXPECT_EQ(effect(handle), nullptr);
    EXPECT_EQ(host.polls(), 2);
}

/// A growing stack that gets no memory, and one that cannot be locked again.
TEST(MagicMask, FailuresOfTheGrowingStack)
{
    Pieces image = blankOf(gray(1, 1), 399, 200);
    image.palette = grayRamp();
    for (int y = 1; y < 200; y += 2)
        for (int x = 1; x < 399; x += 2)
            putPixel(image, x, y, 255);
    uint32_t state = 5;
    for (int i = 0; i < 9000; ++i)
        image.rows[next(state) % image.rows.size()] = 255;
    const Effect effect = magic({200, 100, 1, 9, 9, 9});
    const Handle handle = image.handle();
    const long before = memory_hooks::counts().allocations;
    const Handle mask(effect(handle));
    EXPECT_GT(memory_hooks::counts().allocations - before, 4) << "the stack grows";
    expectFailuresSurvived(image, effect);
}

TEST(MagicMask, RefusesBadBlocks)
{
    const NothingLost check;
    const Effect effect = magic({1, 1, 1, 9, 9, 9});
    EXPECT_EQ(eventsOfRefusal(nullptr, effect), Events{});
    for (const Pieces &image : {trueColor(5, 3), paletted(5, 3, 8, 9), paletted(5, 3, 4, 16), noiseMask(5, 3),
                                paletted(5, 3, 16, 0), paletted(5, 3, 32, 2)}) {
        Bytes block = image.bytes();
        block.pop_back();
        const Handle handle = blockOf(block);
        EXPECT_EQ(eventsOfRefusal(handle, effect), Events{}) << image.header.biBitCount;
        for (const int32_t lie : {0, -1, INT_MIN, INT_MAX}) {
            Pieces lying = image;
            lying.header.biWidth = lie;
            const Handle wide = lying.handle();
            EXPECT_EQ(eventsOfRefusal(wide, effect), Events{});
            lying = image;
            lying.header.biHeight = lie;
            const Handle high = lying.handle();
            EXPECT_EQ(eventsOfRefusal(high, effect), Events{});
        }
    }
}

} // namespace

} // namespace velmont::testing
