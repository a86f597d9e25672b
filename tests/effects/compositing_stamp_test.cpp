// Stamps.

#include "platform/memory.h"
#include "tests/effects/compositing_testing.h"
#include "tests/effects/geometry_testing.h"
#include <algorithm>
#include <climits>
#include <gtest/gtest.h>
#include <velmont/compositing.h>

namespace velmont::testing {

namespace {

constexpr uint32_t kColor = 0x00204080;

/// What a call is given beside its images.
struct Print {
    tagRECT rect;
    uint32_t color = kColor;
    int polarity = 1, blend = 1, strength = 100;
    int failingAllocation = 0; ///< 0 none
};

/// What a call did.
struct Printed {
    int answer;
    Bytes destination;
    std::vector<Bytes> left; ///< blocks that stayed allocated, now freed
    Events events;
};

Printed print(const Pieces &destination, const Pieces &stamp, const Print &how)
{
    const Handle to = destination.handle(), from = stamp.handle();
    const std::vector<void *> before = memory_hooks::liveBlocks();
    RecordingHost host;
    Printed printed;
    memory_hooks::failAllocation(how.failingAllocation);
    printed.answer = ProcessLoadStamp(to, from, how.rect, how.color, how.polarity, how.blend, how.strength);
    memory_hooks::failAllocation(0);
    printed.events = host.events;
    printed.destination = bytesOf(to);
    for (void *const handle : memory_hooks::liveBlocks())
        if (std::find(before.begin(), before.end(), handle) == before.end()) {
            EXPECT_EQ(memory_hooks::locksOn(handle), 0);
            printed.left.push_back(bytesOf(handle));
            KelMemFree(handle);
        }
    EXPECT_EQ(bytesOf(from), stamp.bytes());
    EXPECT_EQ(memory_hooks::locksOn(to) + memory_hooks::locksOn(from), 0);
    return printed;
}

/// The stamp at its new size in gray, and what the host sees meanwhile.
Pieces resized(const Pieces &stamp, int width, int height, int resolution, Events &events)
{
    const Handle source = stamp.handle();
    RecordingHost host;
    Handle result(ProcessResample(source, width, height, resolution));
    if (!IsDibGray(result))
        result = Handle(ProcessConvertToGrayScale(result));
    events = host.events;
    return piecesOf(result);
}

void expectPrint(const Pieces &destination, const Pieces &stamp, const Print &how)
{
    const Printed printed = print(destination, stamp, how);
    const int width = std::abs(how.rect.right - how.rect.left);
    const int height = std::abs(how.rect.bottom - how.rect.top);
    const int resolution = destination.header.biXPelsPerMeter;
    Events events;
    Pieces alpha = resized(stamp, width, height, resolution, events);
    for (uint8_t &level : alpha.rows)
        level = static_cast<uint8_t>(int64_t{level} * how.strength / 100 & 255);
    const Pieces ink = canvas(destination.header.biBitCount, width, height, resolution, how.color);
    const Pieces expected =
        composited(destination, &alpha, &ink, how.rect.left, how.rect.top, how.blend != 0, how.polarity == 0);
    ASSERT_EQ(printed.answer, 1);
    ASSERT_TRUE(printed.destination == expected.bytes()) << width << " x " << height;
    EXPECT_EQ(printed.events, events);
    ASSERT_EQ(printed.left.size(), 2u);
    for (const Bytes &block : {ink.bytes(), alpha.bytes()})
        EXPECT_NE(std::find(printed.left.begin(), printed.left.end(), block), printed.left.end());
}

class Stamp : public ::testing::Test {
protected:
    NothingLost check_;
    Restore restore_;
};

TEST_F(Stamp, ByHand)
{
    // Of its own size the stamp stays as it is; of the ink 0x00204080 blue comes first.
    const Pieces destination = pixelRow({10, 20, 30, 10, 20, 30, 10, 20, 30, 10, 20, 30});
    const Pieces stamp = levelRow({0, 255, 51});
    // (0x20 * 51 + 10 * 204 + 127) / 255 = 14.9, (0x40 * 51 + 20 * 204 + 127) / 255 = 29.3,
    // (0x80 * 51 + 30 * 204 + 127) / 255 = 50.1.
    EXPECT_EQ(print(destination, stamp, {.rect = {1, 0, 4, 1}}).destination,
              pixelRow({10, 20, 30, 10, 20, 30, 0x20, 0x40, 0x80, 14, 29, 50}).bytes());
    // Half of the alpha: 127 and 25.
    EXPECT_EQ(print(levelRow({100, 100, 100}), stamp,
                    {.rect = {0, 0, 3, 1}, .color = 0, .polarity = 1, .blend = 1, .strength = 50})
                  .destination,
              levelRow({100, (100 * 128 + 127) / 255, (100 * 230 + 127) / 255}).bytes());
    // In a gray image the ink is its gray: (76 * 128 + 150 * 64 + 29 * 32) / 255 = 79.4.
    EXPECT_EQ(print(levelRow({100, 100, 100}), stamp, {.rect = {0, 0, 3, 1}, .blend = 0}).destination,
              levelRow({100, 79, 79}).bytes());
}

TEST_F(Stamp, WithoutStrengthNothingOrAllIsPrinted)
{
    const Pieces destination = trueColor(9, 6), stamp = gray(4, 3);
    const Print nothing{.rect = {2, 1, 7, 4}, .strength = 0};
    EXPECT_EQ(print(destination, stamp, nothing).destination, destination.bytes());
    Print all = nothing;
    all.polarity = 0;
    const Pieces ink = canvas(24, 5, 3, 0, kColor);
    EXPECT_EQ(print(destination, stamp, all).destination, copiedIn(destination, &ink, 2, 1, false).bytes());
}

TEST_F(Stamp, EverySize)
{
    for (int width = 1; width <= 40; ++width)
        for (int height = 1; height <= 18; ++height) {
            const auto seed = static_cast<uint32_t>(100 * width + height);
            const int left = width % 7 - 3, top = height % 5 - 2;
            Pieces destination = sampled(seed % 2 ? 8 : 24, 30, 12, seed);
            destination.header.biXPelsPerMeter = width;
            const Pieces stamp = sampled(seed % 3 ? 8 : 24, 1 + width % 13, 1 + height % 7, seed);
            expectPrint(destination, stamp,
                        {.rect = {left, top, left + width, top + height},
                         .color = seed * 12345 & 0xFFFFFF,
                         .polarity = width % 2,
                         .blend = height % 2,
                         .strength = width * 5});
        }
}

TEST_F(Stamp, OfEveryDepth)
{
    for (const int bits : {8, 24})
        for (const Pieces &stamp : everyDepth(9, 18))
            for (const int size : {5, 20})
                expectPrint(sampled(bits, 25, 21, 1), stamp, {.rect = {1, 2, 1 + size, 2 + size}});
}

TEST_F(Stamp, ARectangleTheWrongWayRound)
{
    const Pieces destination = trueColor(25, 21), stamp = gray(7, 5);
    for (const tagRECT rect : {tagRECT{9, 3, 4, 8}, {4, 8, 9, 3}, {9, 8, 4, 3}, {20, 20, -4, -9}})
        expectPrint(destination, stamp, {.rect = rect});
}

TEST_F(Stamp, OutsideTheDestination)
{
    const Pieces destination = gray(5, 4), stamp = gray(7, 5);
    for (const tagRECT rect :
         {tagRECT{-3, -3, 4, 3}, {5, 0, 9, 4}, {INT_MAX - 3, 0, INT_MAX, 2}, {0, INT_MIN, 3, INT_MIN + 2}})
        for (const int polarity : {0, 1})
            expectPrint(destination, stamp, {.rect = rect, .polarity = polarity});
}

// No strength is refused: of the product the low 8 bits count.
TEST_F(Stamp, AnyStrength)
{
    const Pieces destination = gray(16, 16), stamp = gray(16, 16, 2);
    for (const int strength : {INT_MIN, -1000, -100, -1, 1, 99, 101, 200, 1000, 123456789, INT_MAX})
        expectPrint(destination, stamp, {.rect = {0, 0, 16, 16}, .strength = strength});
}

TEST_F(Stamp, APaletteOrBitsAreLeftAloneButAnswered)
{
    const Pieces stamp = gray(7, 5);
    for (const Pieces &destination : {paletted(9, 8, 8, 256), paletted(9, 8, 8, 9), paletted(9, 8, 1, 2)}) {
        const Printed printed = print(destination, stamp, {.rect = {0, 0, 4, 3}});
        EXPECT_EQ(printed.answer, 1);
        EXPECT_EQ(printed.destination, destination.bytes());
        EXPECT_EQ(printed.left.size(), 2u);
    }
}

TEST_F(Stamp, OtherDepthsAreRefused)
{
    const Pieces stamp = gray(7, 5), image = trueColor(9, 8);
    const Print how{.rect = {0, 0, 4, 3}};
    for (const int bits : {0, 2, 4, 16, 32}) {
        const Pieces other = paletted(9, 8, bits, 0);
        const Printed onto = print(other, stamp, how);
        EXPECT_EQ(onto.answer, 0);
        EXPECT_EQ(onto.destination, other.bytes());
        EXPECT_TRUE(onto.left.empty());
        if (bits != 4) {
            const Printed with = print(image, other, how);
            EXPECT_EQ(with.answer, 0);
            EXPECT_EQ(with.destination, image.bytes());
            EXPECT_TRUE(with.left.empty());
            EXPECT_EQ(with.events, Events{});
        }
    }
}

TEST_F(Stamp, RectanglesThatCannotBe)
{
    const Pieces stamp = gray(7, 5), destination = trueColor(9, 8);
    for (const tagRECT rect : {tagRECT{0, 0, 0, 5},
                               {0, 3, 5, 3},
                               {-1, -1, -1, -1},
                               {INT_MIN, 0, INT_MAX, 1},
                               {0, INT_MAX, 1, INT_MIN},
                               {0, 0, INT_MAX, INT_MAX},
                               {INT_MIN, 0, 0, 1}}) {
        const Printed printed = print(destination, stamp, {.rect = rect});
        EXPECT_EQ(printed.answer, 0);
        EXPECT_EQ(printed.destination, destination.bytes());
        EXPECT_TRUE(printed.left.empty());
        EXPECT_EQ(printed.events, Events{});
    }
}

TEST_F(Stamp, AnImageStampsItself)
{
    const Pieces image = gray(9, 8);
    const Handle handle = image.handle();
    const std::vector<void *> before = memory_hooks::liveBlocks();
    EXPECT_EQ(ProcessLoadStamp(handle, handle, {2, 1, 11, 9}, 0x000000, 1, 1, 100), 1);
    const Pieces ink = canvas(8, 9, 8, 0, 0);
    EXPECT_EQ(bytesOf(handle), composited(image, &image, &ink, 2, 1, true, false).bytes());
    for (void *const left : memory_hooks::liveBlocks())
        if (std::find(before.begin(), before.end(), left) == before.end())
            KelMemFree(left);
}

TEST_F(Stamp, BadHandlesAreRefused)
{
    const Handle good = trueColor(5, 4).handle();
    int local = 0;
    RecordingHost host;
    for (void *const bad : {static_cast<void *>(nullptr), static_cast<void *>(&local)}) {
        EXPECT_EQ(ProcessLoadStamp(bad, good, {0, 0, 3, 3}, 0, 1, 1, 100), 0);
        EXPECT_EQ(ProcessLoadStamp(good, bad, {0, 0, 3, 3}, 0, 1, 1, 100), 0);
    }
    EXPECT_EQ(memory_hooks::locksOn(good), 0);
    EXPECT_EQ(host.events, Events{});
}

TEST_F(Stamp, EachAllocationAndLockMayFail)
{
    for (const Pieces &stamp : {gray(7, 5), trueColor(7, 5)}) {
        const Pieces destination = trueColor(9, 8);
        const int allocations = stamp.header.biBitCount == 8 ? 3 : 4; // ink, stamp, its tables, its gray form
        for (int n = 1; n <= allocations + 1; ++n) {
            const Printed printed = print(destination, stamp, {.rect = {0, 0, 6, 4}, .failingAllocation = n});
            EXPECT_EQ(printed.answer, n > allocations ? 1 : 0) << n;
            EXPECT_EQ(printed.left.size(), n > allocations ? 2u : 0u) << n;
            EXPECT_EQ(printed.destination == destination.bytes(), n <= allocations);
        }
    }
    const Pieces image = trueColor(9, 8);
    const Handle to = image.handle(), from = gray(7, 5).handle();
    int answered = 0;
    for (int n = 1; n < 40; ++n) {
        const std::vector<void *> before = memory_hooks::liveBlocks();
        memory_hooks::failLock(n);
        const int answer = ProcessLoadStamp(to, from, {0, 0, 6, 4}, kColor, 1, 1, 100);
        memory_hooks::failLock(0);
        answered += answer;
        std::size_t left = 0;
        for (void *const handle : memory_hooks::liveBlocks())
            if (std::find(before.begin(), before.end(), handle) == before.end()) {
                ++left;
                EXPECT_EQ(memory_hooks::locksOn(handle), 0);
                KelMemFree(handle);
            }
        // Ink that could not be locked as it was made stays allocated.
        EXPECT_TRUE(answer == 1 ? left == 2 : left <= 1) << n;
        EXPECT_EQ(memory_hooks::locksOn(to) + memory_hooks::locksOn(from), 0) << n;
        if (n <= 3) {
            EXPECT_EQ(answer, 0) << n;
        }
    }
    EXPECT_GT(answered, 10);
}

TEST_F(Stamp, AbortsPrintNothing)
{
    const Handle to = trueColor(9, 8).handle(), from = trueColor(7, 5).handle();
    const Bytes before = bytesOf(to);
    // A dropped poll and five rows to resize, and as many to convert.
    for (const int n : {2, 6, 8, 12}) {
        const NothingLost check;
        RecordingHost host;
        host.abortFromPoll(n);
        EXPECT_EQ(ProcessLoadStamp(to, from, {0, 0, 6, 5}, kColor, 1, 1, 100), 0) << n;
        EXPECT_EQ(bytesOf(to), before);
        EXPECT_EQ(host.polls(), n) << n;
    }
}

} // namespace

} // namespace velmont::testing
