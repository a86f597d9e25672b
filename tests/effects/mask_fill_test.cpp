// Filling with a colour, by a mask and from a pixel.

#include "platform/memory.h"
#include "tests/effects/mask_testing.h"
#include <algorithm>
#include <climits>
#include <gtest/gtest.h>
#include <velmont/masks.h>

namespace velmont::testing {

namespace {

constexpr uint32_t kColor = 0x00A1B2C3; // blue, green, red

Effect fill(void *mask, int x, int y, unsigned long color, int inside)
{
    return [=](void *dib) { return ProcessFillColor(dib, mask, tagPOINT{x, y}, color, inside); };
}

/// The image with its painted pixels; padding and all else stay.
Bytes filled(const Pieces &source, const Pieces &mask, int x, int y, uint32_t color, bool inside)
{
    Pieces image = source;
    const std::size_t stride = strideFor(image.header.biWidth, image.header.biBitCount);
    for (int row = 0; row < image.header.biHeight; ++row)
        for (int column = 0; column < image.header.biWidth; ++column) {
            const long i = long{column} - x, j = long{row} - y;
            const bool covers = i >= 0 && i < mask.header.biWidth && j >= 0 && j < mask.header.biHeight;
            const bool isSet = covers && pixelIn(mask, static_cast<int>(i), static_cast<int>(j)) != 0;
            if (isSet != inside)
                continue;
            uint8_t *const at = &image.rows[static_cast<std::size_t>(row) * stride];
            const auto place = static_cast<std::size_t>(column);
            if (image.header.biBitCount == 8) {
                at[place] = static_cast<uint8_t>(color >> 16);
            } else {
                at[3 * place] = static_cast<uint8_t>(color >> 16);
                at[3 * place + 1] = static_cast<uint8_t>(color >> 8);
                at[3 * place + 2] = static_cast<uint8_t>(color);
            }
        }
    return image.bytes();
}

TEST(FillColor, EverySizeAndPlace)
{
    uint32_t state = 1;
    for (int width = 1; width <= 40; ++width)
        for (int height = 1; height <= 18; ++height) {
            state = state * 1664525u + 1013904223u;
            const Pieces mask = noiseMask(1 + static_cast<int>(state >> 9) % 60,
                                          1 + static_cast<int>(state >> 22) % 20, state);
            const int x = static_cast<int>(state >> 13) % 81 - 40,
                      y = static_cast<int>(state >> 25) % 31 - 15;
            const Handle handle = mask.handle();
            for (const Pieces &image : {gray(width, height, state), trueColor(width, height, state)})
                for (const bool inside : {false, true}) {
                    ASSERT_EQ(resultOf(image, fill(handle, x, y, kColor, inside ? 7 : 0)),
                              filled(image, mask, x, y, kColor, inside))
                        << width << " x " << height << " at " << x << ", " << y;
                }
            ASSERT_EQ(bytesOf(handle), mask.bytes());
            ASSERT_EQ(memory_hooks::locksOn(handle), 0);
        }
}

/// Long runs, whole bytes of the mask among them.
TEST(FillColor, LongRuns)
{
    for (int start = 0; start < 40; ++start) {
        const Pieces mask =
            bitMask(300, 2, [&](int x, int y) { return y == 0 ? x >= start : x < 300 - start; });
        const Handle handle = mask.handle();
        const Pieces image = trueColor(310, 3, 5);
        for (const bool inside : {false, true}) {
            ASSERT_EQ(resultOf(image, fill(handle, 3, 1, kColor, inside)),
                      filled(image, mask, 3, 1, kColor, inside));
        }
    }
}

TEST(FillColor, GrayTakesTheBlueByte)
{
    const Handle mask = drawnMask({"#."}).handle();
    const auto of = [&](unsigned long color) {
        return resultOf(levelRow({9, 9}), fill(mask, 0, 0, color, 1));
    };
    EXPECT_EQ(of(0x00FF0000), levelRow({255, 9}).bytes());
    EXPECT_EQ(of(0x000000FF), levelRow({0, 9}).bytes());
    EXPECT_EQ(of(0xFF12FFFF), levelRow({0x12, 9}).bytes());
}

TEST(FillColor, MasksOffTheImage)
{
    const Pieces image = trueColor(7, 3), solid = withPixels(image, [](uint8_t *pixel) {
                                              pixel[0] = 0xA1, pixel[1] = 0xB2, pixel[2] = 0xC3;
                                          });
    Pieces painted = solid; // whose padding stays the image's
    for (std::size_t y = 0; y < 3; ++y)
        std::copy_n(image.rows.begin() + static_cast<long>(24 * y + 21), 3,
                    painted.rows.begin() + static_cast<long>(24 * y + 21));
    const Handle mask = noiseMask(9, 9).handle();
    for (const auto &[x, y] : {std::pair(7, 0),
                               {-9, 0},
                               {0, 3},
                               {0, -9},
                               {INT_MAX, INT_MAX},
                               {INT_MIN, INT_MIN},
                               {INT_MIN, 0},
                               {0, INT_MAX}}) {
        EXPECT_EQ(resultOf(image, fill(mask, x, y, kColor, 1)), image.bytes()) << x << ", " << y;
        EXPECT_EQ(resultOf(image, fill(mask, x, y, kColor, 0)), painted.bytes()) << x << ", " << y;
    }
}

/// The copy is of the whole block, whatever lies behind the rows or between header and rows.
TEST(FillColor, CopiesTheWholeBlock)
{
    const Pieces image = trueColor(5, 3);
    Bytes block = image.bytes();
    block.insert(block.end(), {1, 2, 3, 4, 5});
    const Handle handle = blockOf(block), mask = drawnMask({"."}).handle();
    const Handle result(ProcessFillColor(handle, mask, {0, 0}, kColor, 1));
    EXPECT_EQ(bytesOf(result), block);
}

TEST(FillColor, PollsAndReports)
{
    const Handle mask = noiseMask(5, 3).handle();
    const Effect effect = fill(mask, 0, 0, kColor, 1);
    for (const int height : {1, 16, 17, 40}) {
        EXPECT_EQ(eventsOf(trueColor(3, height), effect), joined({{"poll"}, rowEvents(height), {"100%"}}));
        EXPECT_EQ(eventsOf(gray(3, height), effect), joined({{"poll"}, rowEvents(height), {"100%"}}));
    }
    expectAborts(trueColor(3, 18), effect, 1, {"100%"});
    expectFailuresSurvived(trueColor(3, 18), effect);
}

TEST(FillColor, RefusesOtherBlocks)
{
    const NothingLost check;
    const Handle mask = noiseMask(5, 3).handle(), image = trueColor(5, 3).handle();
    const Effect onImage = fill(mask, 0, 0, kColor, 1);
    expectLiesRefused(onImage);
    EXPECT_EQ(eventsOfRefusal(nullptr, onImage), Events{});
    for (const Pieces &other :
         {paletted(5, 3, 8, 256), paletted(5, 3, 4, 16), noiseMask(5, 3), paletted(5, 3, 32, 0)}) {
        const Handle handle = other.handle();
        EXPECT_EQ(eventsOfRefusal(handle, onImage), Events{}) << other.header.biBitCount;
    }
    const Effect asMask = [&](void *dib) { return ProcessFillColor(image, dib, {0, 0}, kColor, 1); };
    EXPECT_EQ(eventsOfRefusal(nullptr, asMask), Events{});
    for (const Pieces &other : {gray(5, 3), paletted(5, 3, 4, 16), trueColor(5, 3)}) {
        const Handle handle = other.handle();
        EXPECT_EQ(eventsOfRefusal(handle, asMask), Events{}) << other.header.biBitCount;
    }
    Bytes cut = noiseMask(5, 3).bytes();
    cut.pop_back();
    const Handle truncated = blockOf(cut);
    EXPECT_EQ(eventsOfRefusal(truncated, asMask), Events{});
}

TEST(FillColor, TheShortFormDoesNothing)
{
    const NothingLost check;
    RecordingHost host;
    const Pieces image = trueColor(5, 3);
    const Handle handle = image.handle();
    EXPECT_EQ(ProcessFillColor(handle, kColor), 0);
    EXPECT_EQ(ProcessFillColor(nullptr, kColor), 0);
    EXPECT_EQ(bytesOf(handle), image.bytes());
    EXPECT_EQ(memory_hooks::locksOn(handle), 0);
    EXPECT_EQ(host.events, Events{});
}

/// What a seed fill gives.
struct Filled {
    int answer;
    Handle image, mask;
};

struct Seed {
    int x, y, mode, limit;
};

Filled seedFill(void *dib, void *selection, const Seed &seed, uint32_t color = kColor)
{
    void *image = &image, *mask = &mask; // to be replaced in any case
    const int answer = ProcessSeedFill(dib, selection, seed.x, seed.y, seed.mode, seed.limit, seed.limit,
                                       seed.limit, color, &image, &mask);
    return {answer, Handle(image), Handle(mask)};
}

std::vector<std::string> levels(void *dib)
{
    const Bytes block = bytesOf(dib);
    const DibHeader header = headerOf(dib);
    std::vector<std::string> rows;
    for (int y = 0; y < header.biHeight; ++y) {
        std::string row;
        for (int x = 0; x < header.biWidth; ++x)
            row += std::to_string(block[1064 + strideFor(header.biWidth, 8) * static_cast<std::size_t>(y) +
                                        static_cast<std::size_t>(x)]) +
                   " ";
        rows.push_back(row);
    }
    return rows;
}

using Rows = std::vector<std::string>;

const Pieces kAreas = grayRows({{1, 1, 9, 1}, {1, 9, 9, 1}, {1, 9, 1, 1}});

TEST(SeedFill, WithoutASelection)
{
    const Handle image = kAreas.handle();
    const Filled made = seedFill(image, nullptr, {1, 0, 1, 2}, 0x00070000);
    EXPECT_EQ(made.answer, 1);
    EXPECT_EQ(drawing(made.mask), (Rows{"##..", "#...", "#..."}));
    EXPECT_EQ(levels(made.image), (Rows{"7 7 9 1 ", "7 9 9 1 ", "7 9 1 1 "}));
    EXPECT_EQ(bytesOf(image), kAreas.bytes());
}

TEST(SeedFill, InsideASelectionTakesWhatBothHave)
{
    const Handle image = kAreas.handle();
    // Levels 200 and 100 lie on the same side of the limit, 0 on the other.
    const Handle selection = grayRows({{200, 100, 200, 0}, {0, 200, 200, 0}, {200, 0, 0, 0}}).handle();
    const Filled made = seedFill(image, selection, {0, 0, 1, 2}, 0x00070000);
    EXPECT_EQ(made.answer, 1);
    EXPECT_EQ(drawing(made.mask), (Rows{"##..", "....", "...."}));
    EXPECT_EQ(levels(made.image), (Rows{"7 7 9 1 ", "1 9 9 1 ", "1 9 1 1 "}));
}

TEST(SeedFill, OutsideASelectionTakesTheUnselectedArea)
{
    const Handle image = kAreas.handle();
    const Handle selection = grayRows({{200, 100, 0, 0}, {0, 200, 0, 200}, {0, 0, 0, 200}}).handle();
    const Filled made = seedFill(image, selection, {3, 0, 1, 2}, 0x00070000);
    EXPECT_EQ(drawing(made.mask), (Rows{"..##", "#.#.", "###."}));
    EXPECT_EQ(levels(made.image), (Rows{"1 1 7 7 ", "7 9 7 1 ", "7 7 7 1 "}));
}

/// At 1 bit the pixel is looked for at bit x + y * stride.
TEST(SeedFill, BitSelectionsAreLookedUpAtAnOddPlace)
{
    const Handle image(CreateDib(40, 4, 8, 0, 0x050505));
    // Of (1, 3) the bit at 1 + 3 * 8 = 25 of row 0 is asked.
    for (const bool isSet : {false, true}) {
        const Pieces selection = bitMask(40, 4, [&](int x, int y) { return isSet && y == 0 && x == 25; });
        const Handle handle = selection.handle();
        const Filled made = seedFill(image, handle, {1, 3, 1, 0});
        const Handle around(CreateMagicMaskFromDib(handle, 1, 3, 0, 0, 0, 0));
        EXPECT_EQ(drawing(made.mask), drawing(around)) << "the image is all of one colour";
        EXPECT_EQ(drawing(made.mask)[3], std::string(40, '#'));
    }
    // An image whose first column is another: only what both have is filled, if the bit that is asked is set.
    Pieces split = grayRows(std::vector<Bytes>(4, Bytes(40, 9)));
    for (std::size_t y = 0; y < 4; ++y)
        split.rows[40 * y] = 50;
    const Handle splitImage = split.handle();
    for (const int place : {25, 24}) {
        const Handle selection = bitMask(40, 4, [&](int x, int y) { return y == 0 && x == place; }).handle();
        const Filled made = seedFill(splitImage, selection, {1, 3, 1, 0});
        EXPECT_EQ(drawing(made.mask)[3], (place == 25 ? "." : "#") + std::string(39, '#')) << place;
    }
}

TEST(SeedFill, OutsideTheImage)
{
    const Handle image = kAreas.handle();
    const Filled plain = seedFill(image, nullptr, {-5, 99, 1, 0});
    EXPECT_EQ(drawing(plain.mask), (Rows{"##..", "#...", "#..."}));
    // The selection's pixel counts as clear there, so that its area at the edge is taken, set or not.
    const Handle selection = grayRows({{0, 0, 0, 0}, {0, 0, 0, 0}, {200, 200, 200, 200}}).handle();
    const Filled made = seedFill(image, selection, {-5, 99, 1, 0});
    EXPECT_EQ(drawing(made.mask), (Rows{"....", "....", "####"}));
}

/// A pixel of other depths is never set: the unselected area.
TEST(SeedFill, SelectionsOfOtherDepths)
{
    const Handle image(CreateDib(9, 4, 8, 0, 0));
    for (const Pieces &selection : {trueColor(9, 4), paletted(9, 4, 4, 16)}) {
        const Handle handle = selection.handle();
        const Filled made = seedFill(image, handle, {4, 2, 1, 100});
        const Handle around(CreateMagicMaskFromDib(handle, 4, 2, 0, 100, 100, 100));
        EXPECT_EQ(bytesOf(made.mask), bytesOf(around)) << selection.header.biBitCount;
    }
}

/// 8-bit selections of few colours: their rows lie behind those.
TEST(SeedFill, SelectionsOfFewColors)
{
    Pieces selection = paletted(4, 3, 8, 2);
    selection.palette = {0, 0, 0, 0, 255, 255, 255, 0};
    selection.rows = {1, 1, 0, 0, 1, 0, 0, 0, 1, 0, 0, 0};
    const Handle image = grayRows({{5, 8, 5, 5}, {5, 8, 5, 5}, {5, 8, 5, 5}}).handle(),
                 handle = selection.handle();
    EXPECT_EQ(drawing(seedFill(image, handle, {0, 2, 1, 1}).mask), (Rows{"#...", "#...", "#..."}));
    EXPECT_EQ(drawing(seedFill(image, handle, {3, 2, 1, 1}).mask), (Rows{"..##", ".###", ".###"}));
}

TEST(SeedFill, FailedParts)
{
    const NothingLost check;
    const Restore restore;
    const Handle selected(CreateDib(4, 3, 8, 0, 0xFFFFFF)), clear(CreateDib(4, 3, 8, 0, 0));
    // No image: with the selection's pixel set nothing is made, else its mask alone is.
    Filled made = seedFill(nullptr, selected, {1, 1, 1, 5});
    EXPECT_EQ(made.answer, 1);
    EXPECT_FALSE(made.image);
    EXPECT_FALSE(made.mask);
    made = seedFill(nullptr, clear, {1, 1, 1, 5});
    EXPECT_FALSE(made.image);
    EXPECT_EQ(drawing(made.mask), Rows(3, "####"));
    made = seedFill(nullptr, nullptr, {1, 1, 1, 5});
    EXPECT_EQ(made.answer, 1);
    EXPECT_FALSE(made.image);
    EXPECT_FALSE(made.mask);
    // Disjoint areas.
    const Handle image = kAreas.handle();
    int local = 0;
    made = seedFill(image, &local, {1, 1, 1, 5});
    EXPECT_FALSE(made.image);
    EXPECT_FALSE(made.mask);
    // A depth that cannot be painted has a mask all the same.
    const Handle colors = paletted(5, 3, 8, 256).handle();
    made = seedFill(colors, nullptr, {1, 1, 1, 5});
    EXPECT_FALSE(made.image);
    EXPECT_TRUE(made.mask);
}

TEST(SeedFill, Slots)
{
    const Handle image = kAreas.handle();
    void *slot = nullptr;
    EXPECT_EQ(ProcessSeedFill(image, nullptr, 0, 0, 1, 2, 2, 2, kColor, nullptr, &slot), 0);
    const Handle mask(slot);
    EXPECT_TRUE(mask);
    const long before = memory_hooks::counts().blocks;
    EXPECT_EQ(ProcessSeedFill(image, nullptr, 0, 0, 1, 2, 2, 2, kColor, &slot, nullptr), 1);
    const Handle filledImage(slot);
    EXPECT_TRUE(filledImage);
    EXPECT_EQ(memory_hooks::counts().blocks, before + 2) << "the mask stays";
}

TEST(SeedFill, PollsAndReports)
{
    const Handle selection(CreateDib(4, 3, 8, 0, 0xFFFFFF)), image = kAreas.handle();
    RecordingHost host;
    Filled made = seedFill(image, nullptr, {0, 0, 1, 2});
    EXPECT_EQ(host.events, joined({{"poll", "poll", "poll"}, rowEvents(3), {"100%"}}));
    host.events.clear();
    made = seedFill(image, selection, {0, 0, 1, 2});
    EXPECT_EQ(host.events, joined({Events(5, "poll"), rowEvents(3), {"100%"}}));
    // An abort at the fill: a mask and no image.
    host.events.clear();
    host.abortFromPoll(5);
    made = seedFill(image, nullptr, {0, 0, 1, 2});
    EXPECT_EQ(made.answer, 1);
    EXPECT_FALSE(made.image);
    EXPECT_TRUE(made.mask);
}

TEST(SeedFill, FailuresAtEachAllocationAndLock)
{
    const Handle selection(CreateDib(4, 3, 8, 0, 0xFFFFFF)), image = kAreas.handle();
    for (const auto order : {memory_hooks::failAllocation, memory_hooks::failLock})
        for (int n = 1; n < 40; ++n) {
            const NothingLost check;
            order(n);
            const Filled made = seedFill(image, selection, {0, 0, 1, 2});
            order(0);
            EXPECT_EQ(made.answer, 1);
            EXPECT_TRUE(made.mask || !made.image);
            EXPECT_EQ(memory_hooks::locksOn(image), 0);
            EXPECT_EQ(memory_hooks::locksOn(selection), 0);
        }
}

} // namespace

} // namespace velmont::testing
