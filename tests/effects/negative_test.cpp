// The negative, block for block.

#include "core/byte_kernels.h"
#include "platform/memory.h"
#include "tests/effects/watching_host.h"
#include <algorithm>
#include <gtest/gtest.h>
#include <velmont/tone.h>

namespace velmont::testing {

namespace {

class Negative : public ::testing::Test {
protected:
    /// The result's bytes behind the header; checks that the header is the source's.
    static Bytes bodyOfNegative(const DibHeader &header, const Bytes &palette, const Bytes &rows)
    {
        const Handle source = blockOf(makeBlock(header, palette, rows));
        const Bytes before = bytesOf(source);
        const Handle result(ProcessNegative(source));
        EXPECT_EQ(bytesOf(source), before);
        EXPECT_EQ(memory_hooks::locksOn(source), 0);
        Bytes bytes = bytesOf(result);
        if (bytes.size() < 40)
            return {};
        EXPECT_TRUE(std::equal(bytes.begin(), bytes.begin() + 40, before.begin())) << "header";
        return Bytes(bytes.begin() + 40, bytes.end());
    }

    NothingLost check_;
    Restore restore_;
};

Bytes joined(const Bytes &first, const Bytes &second)
{
    Bytes all = first;
    all.insert(all.end(), second.begin(), second.end());
    return all;
}

TEST_F(Negative, TrueColorComplementsRowsWithTheirPadding)
{
    const Bytes rows{0x00, 0x01, 0x02, 0x7F, 0x80, 0xFF, 0x00, 0x00,  //
                     0x10, 0x20, 0x30, 0x40, 0x50, 0x60, 0xAB, 0xCD}; //
    const Bytes expected{0xFF, 0xFE, 0xFD, 0x80, 0x7F, 0x00, 0xFF, 0xFF,
                         0xEF, 0xDF, 0xCF, 0xBF, 0xAF, 0x9F, 0x54, 0x32};
    EXPECT_EQ(bodyOfNegative(makeHeader(2, 2, 24, 0), {}, rows), expected);
}

TEST_F(Negative, TrueColorHasNoPaletteWhateverTheCount)
{
    const Bytes rows{1, 2, 3, 0};
    DibHeader header = makeHeader(1, 1, 24, 0);
    for (const uint32_t count : {1u, 2u, 256u, 0xFFFFFFFFu}) {
        header.biClrUsed = count;
        EXPECT_EQ(bodyOfNegative(header, {}, rows), (Bytes{0xFE, 0xFD, 0xFC, 0xFF})) << count;
    }
}

TEST_F(Negative, GrayComplementsRowsAndKeepsThePalette)
{
    const Bytes rows{0x00, 0x55, 0xFF, 0x00, 0x01, 0x80, 0xFE, 0x99};
    const Bytes expected{0xFF, 0xAA, 0x00, 0xFF, 0xFE, 0x7F, 0x01, 0x66};
    EXPECT_EQ(bodyOfNegative(makeHeader(3, 2, 8, 256), grayRamp(), rows), joined(grayRamp(), expected));
}

TEST_F(Negative, GrayRampKeepsItsReservedBytes)
{
    Bytes ramp = grayRamp();
    for (std::size_t i = 3; i < ramp.size(); i += 4)
        ramp[i] = static_cast<uint8_t>(i);
    EXPECT_EQ(bodyOfNegative(makeHeader(2, 1, 8, 256), ramp, {1, 2, 3, 4}),
              joined(ramp, {0xFE, 0xFD, 0xFC, 0xFB}));
}

TEST_F(Negative, PaletteComplementsColorsAndKeepsReservedBytesAndPixels)
{
    const Bytes palette{0x00, 0x10, 0x20, 0x30, 0xFF, 0xFE, 0x7F, 0x80, 0x01, 0x02, 0x03, 0xFF};
    const Bytes expected{0xFF, 0xEF, 0xDF, 0x30, 0x00, 0x01, 0x80, 0x80, 0xFE, 0xFD, 0xFC, 0xFF};
    const Bytes rows{0, 1, 2, 0xAA, 2, 200, 0, 0xBB};
    EXPECT_EQ(bodyOfNegative(makeHeader(3, 2, 8, 3), palette, rows), joined(expected, rows));
}

TEST_F(Negative, FourBitsGoThroughThePaletteToo)
{
    const Bytes palette{0x00, 0x10, 0x20, 0x30, 0xFF, 0xFE, 0x7F, 0x80};
    const Bytes expected{0xFF, 0xEF, 0xDF, 0x30, 0x00, 0x01, 0x80, 0x80};
    const Bytes rows{0x01, 0x1F, 0xEE, 0xDD};
    EXPECT_EQ(bodyOfNegative(makeHeader(3, 1, 4, 2), palette, rows), joined(expected, rows));
}

TEST_F(Negative, OneBitComplementsRowsWithTheirPaddingAndKeepsThePalette)
{
    const Bytes palette{1, 2, 3, 4, 5, 6, 7, 8};
    const Bytes rows{0xA0, 0x00, 0xFF, 0x12, 0x60, 0x00, 0x00, 0x00};
    EXPECT_EQ(bodyOfNegative(makeHeader(3, 2, 1, 2), palette, rows),
              joined(palette, {0x5F, 0xFF, 0x00, 0xED, 0x9F, 0xFF, 0xFF, 0xFF}));
}

// The block is as large as the count asks for; the rows are read and written behind 8 bytes all the same, and
// what lies behind them is zero.
TEST_F(Negative, OneBitHasTwoColorsWhateverTheCount)
{
    for (const uint32_t count : {2u, 3u, 16u, 100u, 256u, 300u}) {
        DibHeader header = makeHeader(35, 3, 1, count);
        const Bytes body = noise(4 * std::size_t{count} + 24, count);
        Bytes expected(body.begin(), body.begin() + 8);
        for (std::size_t i = 8; i < 8 + 24; ++i)
            expected.push_back(static_cast<uint8_t>(255 - body[i]));
        expected.resize(body.size(), 0);
        EXPECT_EQ(bodyOfNegative(header, {}, body), expected) << count;
    }
}

TEST_F(Negative, OneBitWithFewerThanTwoColorsNeedsTheirBytes)
{
    for (const uint32_t count : {0u, 1u}) {
        const DibHeader header = makeHeader(35, 3, 1, count);
        const Bytes body = noise(8 + 24, count);
        Bytes expected(body.begin(), body.begin() + 8);
        for (std::size_t i = 8; i < body.size(); ++i)
            expected.push_back(static_cast<uint8_t>(255 - body[i]));
        EXPECT_EQ(bodyOfNegative(header, {}, body), expected) << count;

        RecordingHost host;
        const Handle tooSmall = blockOf(makeBlock(header, {}, Bytes(body.begin(), body.end() - 1)));
        EXPECT_EQ(ProcessNegative(tooSmall), nullptr) << count;
        EXPECT_EQ(host.events, Events{});
        EXPECT_EQ(memory_hooks::locksOn(tooSmall), 0);
    }
}

TEST_F(Negative, PalettedImagesOfAnyCount)
{
    for (const int bits : {4, 8})
        for (const uint32_t count : {0u, 1u, 2u, 3u, 16u, 100u, 256u, 300u}) {
            const DibHeader header = makeHeader(5, 3, bits, count);
            const Bytes palette = noise(4 * std::size_t{count}, 7), rows = noise(header.biSizeImage, 8);
            Bytes expected;
            for (std::size_t i = 0; i < palette.size(); ++i)
                expected.push_back(i % 4 == 3 ? palette[i] : static_cast<uint8_t>(255 - palette[i]));
            EXPECT_EQ(bodyOfNegative(header, palette, rows), joined(expected, rows)) << bits << ", " << count;
        }
}

TEST_F(Negative, RampsOfAnotherCountAreOrdinaryPalettes)
{
    for (const uint32_t count : {255u, 257u}) {
        Bytes ramp = grayRamp();
        ramp.resize(4 * std::size_t{count}, 0);
        const Bytes body = bodyOfNegative(makeHeader(1, 1, 8, count), ramp, {5, 6, 7, 8});
        ASSERT_EQ(body.size(), 4 * std::size_t{count} + 4);
        EXPECT_EQ(body[4], 254) << "entry 1";
        EXPECT_EQ(Bytes(body.end() - 4, body.end()), (Bytes{5, 6, 7, 8}));
    }
}

TEST_F(Negative, OneColorOffTheRampMakesAPalette)
{
    for (const std::size_t place : {std::size_t{0}, std::size_t{4 * 100 + 1}, std::size_t{4 * 255 + 2}}) {
        Bytes ramp = grayRamp();
        ramp[place] ^= 1;
        const Bytes body = bodyOfNegative(makeHeader(1, 1, 8, 256), ramp, {5, 6, 7, 8});
        EXPECT_EQ(body[place], 255 - ramp[place]);
        EXPECT_EQ(Bytes(body.end() - 4, body.end()), (Bytes{5, 6, 7, 8}));
    }
}

TEST_F(Negative, LongHeadersAreOverwrittenByPaletteAndRows)
{
    DibHeader header = makeHeader(2, 2, 24, 0);
    header.biSize = 52;
    EXPECT_EQ(bodyOfNegative(header, {}, Bytes(16, 0x0F)), Bytes(16, 0xF0));

    header = makeHeader(3, 1, 8, 256);
    header.biSize = 108;
    EXPECT_EQ(bodyOfNegative(header, grayRamp(), {1, 2, 3, 4}), joined(grayRamp(), {0xFE, 0xFD, 0xFC, 0xFB}));

    header = makeHeader(3, 1, 1, 2);
    header.biSize = 50;
    EXPECT_EQ(bodyOfNegative(header, {1, 2, 3, 4, 5, 6, 7, 8}, {0, 1, 2, 3}),
              (Bytes{1, 2, 3, 4, 5, 6, 7, 8, 0xFF, 0xFE, 0xFD, 0xFC}));
}

TEST_F(Negative, BytesBehindTheImageAreNotCarriedOver)
{
    const Handle source = blockOf(makeBlock(makeHeader(1, 1, 24, 0), {}, Bytes{1, 2, 3, 4, 5, 6, 7, 8}));
    EXPECT_EQ(KelMemSize(Handle(ProcessNegative(source))), 44u);
}

TEST_F(Negative, TwiceGivesBackTheSource)
{
    for (const auto &source : {noiseImage(7, 5, 24, 0), grayNoise(7, 5), noiseImage(7, 5, 8, 100),
                               noiseImage(7, 5, 8, 1), noiseImage(7, 5, 4, 16), noiseImage(7, 5, 1, 2)}) {
        const Handle once(ProcessNegative(source));
        EXPECT_NE(bytesOf(once), bytesOf(source));
        EXPECT_EQ(bytesOf(Handle(ProcessNegative(once))), bytesOf(source));
    }
}

TEST_F(Negative, AsksForOneBlock)
{
    const Handle source = noiseImage(5, 3, 1, 100);
    const long allocations = memory_hooks::counts().allocations;
    EXPECT_NE(Handle(ProcessNegative(source)), nullptr);
    EXPECT_EQ(memory_hooks::counts().allocations, allocations + 1);
    EXPECT_EQ(memory_hooks::counts().lastFlags, 66u);
    EXPECT_EQ(memory_hooks::counts().lastBytes, 40u + 400 + 12);
}

TEST_F(Negative, EventsAtEachDepth)
{
    for (const auto &source : {noiseImage(3, 17, 24, 0), grayNoise(3, 17), noiseImage(3, 17, 8, 9),
                               noiseImage(3, 17, 4, 16), noiseImage(3, 17, 1, 2)}) {
        RecordingHost host;
        EXPECT_NE(Handle(ProcessNegative(source)), nullptr);
        Events expected{"wait", "poll", "poll", "0%"};
        expected.insert(expected.end(), 15, "poll");
        expected.insert(expected.end(), {"poll", "94%", "100%", "arrow"});
        EXPECT_EQ(host.events, expected);
    }
}

TEST_F(Negative, AbortFreesTheResult)
{
    const Handle source = noiseImage(3, 17, 8, 9);
    for (int poll = 2; poll <= 18; ++poll) {
        WatchingHost host(source, poll);
        EXPECT_EQ(ProcessNegative(source), nullptr) << poll;
        const std::vector<Sight> lastTwo(host.sights.end() - 2, host.sights.end());
        EXPECT_EQ(lastTwo, (std::vector<Sight>{{"100%", 0, 0, 0}, {"arrow", 0, 0, 0}})) << poll;
    }
}

TEST_F(Negative, OtherDepthsTouchNoCursor)
{
    RecordingHost host;
    EXPECT_EQ(ProcessNegative(nullptr), nullptr);
    for (const int bits : {0, 2, 3, 5, 16, 32, 64}) {
        const Handle source = noiseImage(4, 3, bits, 4);
        EXPECT_EQ(ProcessNegative(source), nullptr) << bits;
        EXPECT_EQ(memory_hooks::locksOn(source), 0) << bits;
    }
    EXPECT_EQ(host.events, Events{});
}

TEST_F(Negative, FailedAllocationAndLock)
{
    const Handle source = grayNoise(3, 2);
    RecordingHost host;
    memory_hooks::failAllocation(1);
    EXPECT_EQ(ProcessNegative(source), nullptr);
    EXPECT_EQ(host.events, (Events{"wait", "arrow"}));
    memory_hooks::failLock(2);
    EXPECT_EQ(ProcessNegative(source), nullptr);
    EXPECT_EQ(host.events, (Events{"wait", "arrow", "wait", "arrow"}));
    EXPECT_EQ(memory_hooks::locksOn(source), 0);
}

TEST_F(Negative, WidthsAndLevels)
{
    for (const CpuLevel level : cpuLevels()) {
        limitCpuLevel(level);
        for (int width = 1; width <= 67; ++width)
            for (const int bits : {1, 8, 24}) {
                const DibHeader header = makeHeader(width, 3, bits, bits == 1 ? 2 : bits == 8 ? 256 : 0);
                const Bytes palette = bits == 1 ? noise(8, 3) : bits == 8 ? grayRamp() : Bytes{};
                const Bytes rows = noise(header.biSizeImage, static_cast<uint32_t>(width));
                Bytes expected = palette;
                for (const uint8_t byte : rows)
                    expected.push_back(static_cast<uint8_t>(255 - byte));
                ASSERT_EQ(bodyOfNegative(header, palette, rows), expected)
                    << width << " pixels of " << bits << " bits, level " << static_cast<int>(level);
            }
    }
}

TEST_F(Negative, LargeImagesAtEachLevel)
{
    // Large enough to be stored past the caches; a stride that is no multiple of 32 moves every row's start.
    const DibHeader header = makeHeader(3001, 2801, 24, 0);
    ASSERT_EQ(storesFor(header.biSizeImage), Stores::Streaming);
    const Bytes rows = noise(header.biSizeImage, 5);
    Bytes expected = rows;
    for (uint8_t &byte : expected)
        byte = static_cast<uint8_t>(255 - byte);
    for (const CpuLevel level : cpuLevels()) {
        limitCpuLevel(level);
        EXPECT_TRUE(bodyOfNegative(header, {}, rows) == expected) << static_cast<int>(level);
    }
    const DibHeader paletted = makeHeader(6001, 4201, 8, 3);
    ASSERT_EQ(storesFor(paletted.biSizeImage), Stores::Streaming);
    const Bytes palette(12, 0), indices = noise(paletted.biSizeImage, 6);
    for (const CpuLevel level : cpuLevels()) {
        limitCpuLevel(level);
        const Bytes body = bodyOfNegative(paletted, palette, indices);
        ASSERT_EQ(body.size(), 12 + indices.size());
        EXPECT_TRUE(std::equal(body.begin() + 12, body.end(), indices.begin())) << static_cast<int>(level);
    }
}

} // namespace

} // namespace velmont::testing
