#include "core/classify_dib.h"
#include "platform/memory.h"
#include "tests/support/images.h"
#include "tests/support/recording_host.h"
#include <algorithm>
#include <climits>
#include <cstdlib>
#include <cstring>
#include <gtest/gtest.h>
#include <velmont/dib.h>

namespace velmont::testing {

namespace {

constexpr std::size_t kMiB = std::size_t{1} << 20;

class DibTest : public ::testing::Test {
protected:
    ~DibTest() override
    {
        memory_hooks::failAllocation(0);
        memory_hooks::failLock(0);
    }

    NothingLost nothingLost_;
};

/// Handles that name no block.
std::vector<void *> badHandles()
{
    static int noBlock = 0;
    void *const stale = KelMemAlloc(KEL_MEM_MOVEABLE, 100);
    KelMemFree(stale);
    return {nullptr, stale, &noBlock, reinterpret_cast<void *>(1)};
}

unsigned long rgb(unsigned red, unsigned green, unsigned blue)
{
    return red + 256ul * green + 65536ul * blue;
}

Bytes concat(std::initializer_list<Bytes> parts)
{
    Bytes all;
    for (const Bytes &part : parts)
        all.insert(all.end(), part.begin(), part.end());
    return all;
}

void put32(Bytes &block, std::size_t offset, uint32_t value)
{
    for (int i = 0; i < 4; ++i)
        block.at(offset + static_cast<std::size_t>(i)) = static_cast<uint8_t>(value >> 8 * i);
}

void put16(Bytes &block, std::size_t offset, unsigned value)
{
    block.at(offset) = static_cast<uint8_t>(value);
    block.at(offset + 1) = static_cast<uint8_t>(value >> 8);
}

/// A block of header, palette and rows; biSizeImage and all else is filled in.
Handle dibOf(int width, int height, int bits, const Bytes &palette, const Bytes &rows)
{
    return blockOf(
        makeBlock(makeHeader(width, height, bits, static_cast<uint32_t>(palette.size() / 4)), palette, rows));
}

/// What CreateDib is to make, byte by byte.
Bytes plainImage(int width, int height, int bits, int resolution, unsigned long color)
{
    const std::size_t stride = strideFor(width, bits);
    const auto entries = bits == 1 ? 2u : bits == 8 ? 256u : 0u;
    Bytes block(40 + 4 * entries);
    put32(block, 0, 40);
    put32(block, 4, static_cast<uint32_t>(width));
    put32(block, 8, static_cast<uint32_t>(height));
    put16(block, 12, 1);
    put16(block, 14, static_cast<unsigned>(bits));
    put32(block, 20, static_cast<uint32_t>(stride) * static_cast<uint32_t>(height));
    put32(block, 24, static_cast<uint32_t>(resolution));
    put32(block, 28, static_cast<uint32_t>(resolution));
    put32(block, 32, entries);
    put32(block, 36, entries);
    for (unsigned i = 0; i < entries; ++i)
        for (unsigned channel = 0; channel < 3; ++channel)
            block[40 + 4 * i + channel] = static_cast<uint8_t>(bits == 1 ? 255 * i : i);
    const unsigned red = color % 256, green = color / 256 % 256, blue = color / 65536 % 256;
    const bool neutral = red == green && green == blue;
    for (int y = 0; y < height; ++y)
        for (std::size_t i = 0; i < stride; ++i) {
            unsigned byte = 0;
            if (bits == 1)
                byte = color != 0 ? 255 : 0;
            else if (neutral)
                byte = red;
            else if (bits == 8 && i < static_cast<std::size_t>(width))
                byte = (76 * red + 150 * green + 29 * blue) / 255;
            else if (bits == 24 && i < 3 * static_cast<std::size_t>(width))
                byte = i % 3 == 0 ? blue : i % 3 == 1 ? green : red;
            block.push_back(static_cast<uint8_t>(byte));
        }
    return block;
}

} // namespace

// CreateDib

TEST_F(DibTest, CreateDibWritesHeaderAndPixelsAt24Bits)
{
    const Handle dib(CreateDib(3, 1, 24, 0x01020304, 0x000000FF));
    EXPECT_EQ(bytesOf(dib), (Bytes{40,   0,    0,    0,    3, 0,   0,  0, 1,   0, 0,    0,    1,    0,
                                   24,   0,    0,    0,    0, 0,   12, 0, 0,   0, 0x04, 0x03, 0x02, 0x01,
                                   0x04, 0x03, 0x02, 0x01, 0, 0,   0,  0, 0,   0, 0,    0, // no palette
                                   0,    0,    255,  0,    0, 255, 0,  0, 255, 0, 0,    0}));
}

TEST_F(DibTest, CreateDibWritesTwoColorsAt1Bit)
{
    const Handle dib(CreateDib(33, 2, 1, -1, 0));
    EXPECT_EQ(bytesOf(dib),
              (Bytes{40, 0, 0, 0, 33,  0,   0,   0,   2,   0,   0,   0,   1, 0, 1, 0, 0, 0, 0, 0,
                     16, 0, 0, 0, 255, 255, 255, 255, 255, 255, 255, 255, 2, 0, 0, 0, 2, 0, 0, 0, // header
                     0,  0, 0, 0, 255, 255, 255, 0,                                               // palette
                     0,  0, 0, 0, 0,   0,   0,   0,   0,   0,   0,   0,   0, 0, 0, 0}));
}

TEST_F(DibTest, CreateDibWritesTheGrayRampAt8Bits)
{
    const Handle dib(CreateDib(2, 1, 8, 5, 0x00070707));
    Bytes header{40, 0, 0, 0, 2, 0, 0, 0, 1, 0, 0, 0, 1, 0, 8, 0, 0, 0, 0, 0,
                 4,  0, 0, 0, 5, 0, 0, 0, 5, 0, 0, 0, 0, 1, 0, 0, 0, 1, 0, 0};
    EXPECT_EQ(bytesOf(dib), concat({header, grayRamp(), {7, 7, 7, 7}}));
}

TEST_F(DibTest, CreateDibFillsThePaddingWithNeutralColorsOnly)
{
    const auto rowsOf = [](void *dib, std::size_t offset) {
        const Bytes block = bytesOf(dib);
        return Bytes(block.begin() + static_cast<long>(offset), block.end());
    };
    const Handle neutral8(CreateDib(5, 1, 8, 0, 0x00808080));
    EXPECT_EQ(rowsOf(neutral8, 1064), Bytes(8, 0x80));
    const Handle blue8(CreateDib(5, 2, 8, 0, 0x00FF0000)); // 29 * 255 / 255
    EXPECT_EQ(rowsOf(blue8, 1064), (Bytes{29, 29, 29, 29, 29, 0, 0, 0, 29, 29, 29, 29, 29, 0, 0, 0}));
    const Handle neutral24(CreateDib(1, 2, 24, 0, 0x00050505));
    EXPECT_EQ(rowsOf(neutral24, 40), Bytes(8, 5));
    const Handle colored24(CreateDib(1, 2, 24, 0, 0x00010203));
    EXPECT_EQ(rowsOf(colored24, 40), (Bytes{1, 2, 3, 0, 1, 2, 3, 0}));
    const Handle black(CreateDib(1, 1, 24, 0, 0));
    EXPECT_EQ(rowsOf(black, 40), Bytes(4, 0)) << "written, not found";
}

TEST_F(DibTest, CreateDibWeighsGray)
{
    const auto gray = [](unsigned long color) {
        const Handle dib(CreateDib(1, 1, 8, 0, color));
        return static_cast<int>(bytesOf(dib).at(1064));
    };
    EXPECT_EQ(gray(rgb(255, 0, 0)), 76);
    EXPECT_EQ(gray(rgb(0, 255, 0)), 150);
    EXPECT_EQ(gray(rgb(0, 0, 255)), 29);
    EXPECT_EQ(gray(rgb(255, 255, 0)), 226);
    EXPECT_EQ(gray(rgb(255, 255, 254)), 254); // 64996 / 255 = 254.88
    EXPECT_EQ(gray(rgb(10, 20, 30)), 18);     // 4630 / 255 = 18.2
    EXPECT_EQ(gray(rgb(1, 0, 0)), 0);
}

TEST_F(DibTest, CreateDibAt1BitSetsAllForAnyColorButZero)
{
    for (const unsigned long color : {1ul, 0x00FF0000ul, 0x00FFFFFFul, 0xFF000000ul}) {
        const Handle dib(CreateDib(3, 2, 1, 0, color));
        const Bytes block = bytesOf(dib);
        EXPECT_EQ(Bytes(block.begin() + 48, block.end()), Bytes(8, 0xFF)) << color;
    }
}

TEST_F(DibTest, CreateDibIgnoresTheColorsTopByteAbove1Bit)
{
    const Handle neutral(CreateDib(2, 1, 24, 0, 0xAB070707));
    EXPECT_EQ(bytesOf(neutral), plainImage(2, 1, 24, 0, 0x00070707));
    const Handle colored(CreateDib(2, 1, 8, 0, 0xAB070809));
    EXPECT_EQ(bytesOf(colored), plainImage(2, 1, 8, 0, 0x00070809));
}

TEST_F(DibTest, CreateDibMakesTheWholeBlock)
{
    for (int width = 1; width <= 40; ++width)
        for (const int height : {1, 2, 5})
            for (const int bits : {1, 8, 24})
                for (const unsigned long color : {0ul, 0x010203ul, 0xFFFFFFul, 0x7F7F80ul, 0x333333ul}) {
                    const Handle dib(CreateDib(width, height, bits, width * 100, color));
                    ASSERT_EQ(bytesOf(dib), plainImage(width, height, bits, width * 100, color))
                        << width << " x " << height << ", " << bits << " bits, " << color;
                    ASSERT_EQ(memory_hooks::locksOn(dib), 0);
                    ASSERT_EQ(memory_hooks::counts().lastFlags, 2u);
                }
}

TEST_F(DibTest, CreateDibRefusesOtherDepthsAndSizes)
{
    const long allocations = memory_hooks::counts().allocations;
    for (int bits = -1; bits <= 64; ++bits)
        if (bits != 1 && bits != 8 && bits != 24) {
            EXPECT_EQ(CreateDib(4, 4, bits, 0, 0), nullptr) << bits;
        }
    EXPECT_EQ(CreateDib(4, 4, 8 + 65536, 0, 0), nullptr);
    for (const int bits : {1, 8, 24})
        for (const int size : {0, -1, -8, INT_MIN}) {
            EXPECT_EQ(CreateDib(size, 4, bits, 0, 0), nullptr) << size;
            EXPECT_EQ(CreateDib(4, size, bits, 0, 0), nullptr) << size;
            EXPECT_EQ(CreateDib(size, size, bits, 0, 0), nullptr) << size;
        }
    EXPECT_EQ(memory_hooks::counts().allocations, allocations) << "refused before anything is allocated";
}

TEST_F(DibTest, CreateDibRefuses4GiB)
{
    const long allocations = memory_hooks::counts().allocations;
    EXPECT_EQ(CreateDib(65536, 65536, 8, 0, 0), nullptr);
    for (const int bits : {1, 8, 24})
        EXPECT_EQ(CreateDib(INT_MAX, INT_MAX, bits, 0, 0), nullptr);
    EXPECT_EQ(CreateDib(INT_MAX, 1, 24, 0, 0), nullptr);
    // 40 + 4 * 1073741814 = 2^32
    EXPECT_EQ(CreateDib(1, 1073741814, 24, 0, 0), nullptr);
    EXPECT_EQ(memory_hooks::counts().allocations, allocations);
    // One row less is asked for. Nobody needs to see so large a block.
    memory_hooks::failAllocation(1);
    EXPECT_EQ(CreateDib(1, 1073741813, 24, 0, 0), nullptr);
    EXPECT_EQ(memory_hooks::counts().allocations, allocations + 1);
    EXPECT_EQ(memory_hooks::counts().lastBytes, 4294967292u);
}

TEST_F(DibTest, CreateDibWithoutMemoryLeavesNothingBehind)
{
    memory_hooks::failAllocation(1);
    EXPECT_EQ(CreateDib(4, 4, 8, 0, 0), nullptr);
}

TEST(DibLeakTest, CreateDibKeepsTheBlockThatItCannotLock)
{
    const memory_hooks::Counts before = memory_hooks::counts();
    memory_hooks::failLock(1);
    EXPECT_EQ(CreateDib(4, 4, 8, 0, 0), nullptr);
    EXPECT_EQ(memory_hooks::counts().blocks, before.blocks + 1);
    EXPECT_EQ(memory_hooks::counts().locks, before.locks);
}

// GetDibSize

TEST_F(DibTest, GetDibSizeStoresWhereItCan)
{
    const Handle dib(CreateDib(7, 5, 24, 0, 0));
    int width = -1, height = -1;
    EXPECT_EQ(GetDibSize(dib, &width, &height), 1);
    EXPECT_EQ(width, 7);
    EXPECT_EQ(height, 5);
    width = height = -1;
    EXPECT_EQ(GetDibSize(dib, &width, nullptr), 1);
    EXPECT_EQ(width, 7);
    EXPECT_EQ(GetDibSize(dib, nullptr, &height), 1);
    EXPECT_EQ(height, 5);
    EXPECT_EQ(GetDibSize(dib, nullptr, nullptr), 1);
    EXPECT_EQ(memory_hooks::locksOn(dib), 0);
}

TEST_F(DibTest, GetDibSizeStoresNothingWhereThereIsNoHeader)
{
    int width = -1, height = -2;
    for (void *const bad : badHandles())
        EXPECT_EQ(GetDibSize(bad, &width, &height), 0);
    for (const std::size_t size : {0, 1, 11, 12, 39}) {
        const Handle block = blockOf(Bytes(size, 9));
        EXPECT_EQ(GetDibSize(block, &width, &height), 0) << size;
        EXPECT_EQ(memory_hooks::locksOn(block), 0);
    }
    const Handle dib(CreateDib(7, 5, 24, 0, 0));
    memory_hooks::failLock(1);
    EXPECT_EQ(GetDibSize(dib, &width, &height), 0);
    EXPECT_EQ(width, -1);
    EXPECT_EQ(height, -2);
}

TEST_F(DibTest, GetDibSizeHandsOutTheFieldsAsTheyStand)
{
    for (const auto &[fieldWidth, fieldHeight] :
         {std::pair{-5, 0}, {INT_MAX, INT_MIN}, {0, -1}, {100000, 100000}}) {
        DibHeader header = makeHeader(4, 4, 17, 12345);
        header.biSize = 3;
        header.biWidth = fieldWidth;
        header.biHeight = fieldHeight;
        const Handle block = blockOf(makeBlock(header, {}, {}));
        int width = -1, height = -1;
        EXPECT_EQ(GetDibSize(block, &width, &height), 1);
        EXPECT_EQ(width, fieldWidth);
        EXPECT_EQ(height, fieldHeight);
    }
}

// GetPixelValue

TEST_F(DibTest, GetPixelValueReplicatesTheIndexAt8Bits)
{
    const Handle gray = dibOf(3, 2, 8, grayRamp(), {1, 2, 3, 99, 0x80, 0xFE, 0xFF, 99});
    EXPECT_EQ(GetPixelValue(gray, 0, 0), 0x010101);
    EXPECT_EQ(GetPixelValue(gray, 1, 0), 0x020202);
    EXPECT_EQ(GetPixelValue(gray, 2, 0), 0x030303);
    EXPECT_EQ(GetPixelValue(gray, 0, 1), 0x808080);
    EXPECT_EQ(GetPixelValue(gray, 1, 1), 0xFEFEFE);
    EXPECT_EQ(GetPixelValue(gray, 2, 1), 0xFFFFFF);
    const Handle colored = noiseImage(1, 1, 8, 256);
    EXPECT_EQ(GetPixelValue(colored, 0, 0), 0x010101 * bytesOf(colored).at(1064))
        << "the index, not the palette's colour";
    EXPECT_EQ(memory_hooks::locksOn(colored), 0);
}

TEST_F(DibTest, GetPixelValueIsMinusOneOutsideTheImage)
{
    for (const int bits : {1, 4, 8}) {
        const Handle dib = noiseImage(3, 2, bits, 1u << bits);
        for (const auto &[x, y] : {std::pair{-1, 0},
                                   {3, 0},
                                   {0, -1},
                                   {0, 2},
                                   {3, 2},
                                   {INT_MIN, 0},
                                   {INT_MAX, 0},
                                   {0, INT_MIN},
                                   {0, INT_MAX}})
            EXPECT_EQ(GetPixelValue(dib, x, y), -1) << bits << ": " << x << ", " << y;
        EXPECT_NE(GetPixelValue(dib, 2, 1), -1) << bits;
    }
}

TEST_F(DibTest, GetPixelValueSeesEveryEighthColumnAt1Bit)
{
    Bytes rows(8 * 256);
    for (std::size_t i = 0; i < 256; ++i)
        rows[8 * i] = rows[8 * i + 4] = static_cast<uint8_t>(i);
    const Handle dib = dibOf(40, 256, 1, Bytes(8, 1), rows);
    for (int y = 0; y < 256; ++y)
        for (int x = 0; x < 40; ++x) {
            const bool seen = (x == 7 || x == 39) && y % 2 == 1;
            ASSERT_EQ(GetPixelValue(dib, x, y), seen ? 0x808080 : 0) << x << ", " << y;
        }
}

TEST_F(DibTest, GetPixelValueSeesOneBitOfAPixelAt4Bits)
{
    Bytes rows(4 * 256);
    for (std::size_t i = 0; i < 256; ++i)
        rows[4 * i] = static_cast<uint8_t>(i);
    const Handle dib = dibOf(2, 256, 4, Bytes(64, 1), rows);
    for (int y = 0; y < 256; ++y) {
        ASSERT_EQ(GetPixelValue(dib, 0, y), y / 8 % 2 == 1 ? 0x808080 : 0) << y;
        ASSERT_EQ(GetPixelValue(dib, 1, y), y / 4 % 2 == 1 ? 0x404040 : 0) << y;
    }
    const Handle wide = dibOf(5, 1, 4, Bytes(64, 1), {0, 0x08, 0x04, 0});
    EXPECT_EQ(GetPixelValue(wide, 1, 0), 0);
    EXPECT_EQ(GetPixelValue(wide, 2, 0), 0x808080);
    EXPECT_EQ(GetPixelValue(wide, 3, 0), 0);
    EXPECT_EQ(GetPixelValue(wide, 4, 0), 0);
}

TEST_F(DibTest, GetPixelValueFindsNothingAt24Bits)
{
    const Handle dib = noiseImage(50, 40, 24, 0);
    EXPECT_EQ(GetPixelValue(dib, 0, 0), -1);
    EXPECT_EQ(GetPixelValue(dib, 49, 39), -1);
}

TEST_F(DibTest, GetPixelValueLooks64MiBFurtherAt24Bits)
{
    const std::size_t start = 40 + 64 * kMiB; // behind 2^24 palette entries
    const std::size_t bytes = start + 12 + 9; // row 1 ends where its three pixels do
    const Handle dib(KelMemAlloc(KEL_MEM_MOVEABLE | KEL_MEM_ZERO, bytes));
    {
        const BlockLock lock(dib);
        const DibHeader header = makeHeader(3, 2, 24, 0);
        std::memcpy(lock.bytes(), &header, sizeof header);
        const Bytes rows{1, 2, 3, 4, 5, 6, 7, 8, 9, 0, 0, 0, 11, 12, 13, 14, 15, 16, 17, 18, 19};
        std::copy(rows.begin(), rows.end(), lock.bytes() + start);
    }
    EXPECT_EQ(GetPixelValue(dib, 0, 0), 0x030201) << "red is highest";
    EXPECT_EQ(GetPixelValue(dib, 2, 0), 0x090807);
    EXPECT_EQ(GetPixelValue(dib, 1, 1), 0x100F0E);
    EXPECT_EQ(GetPixelValue(dib, 2, 1), 0x131211);
    EXPECT_EQ(GetPixelValue(dib, 3, 0), -1);
    ASSERT_EQ(KelMemReAlloc(dib, bytes - 1, 0), dib);
    EXPECT_EQ(GetPixelValue(dib, 1, 1), 0x100F0E);
    EXPECT_EQ(GetPixelValue(dib, 2, 1), -1) << "its last byte lies outside the block";
}

TEST_F(DibTest, GetPixelValueExpectsAFullPalette)
{
    // 4 * 300 bytes of rows at 40, looked for at 1064: row y there is row 256 + y here.
    const Bytes rows = noise(1200, 11);
    const Handle shifted = dibOf(4, 300, 8, {}, rows);
    EXPECT_EQ(GetPixelValue(shifted, 0, 0), 0x010101 * rows[1024]);
    EXPECT_EQ(GetPixelValue(shifted, 3, 43), 0x010101 * rows[1024 + 4 * 43 + 3]);
    EXPECT_EQ(GetPixelValue(shifted, 0, 44), -1) << "behind the block";
    EXPECT_EQ(GetPixelValue(shifted, 3, 299), -1);
    const Handle outside = noiseImage(4, 4, 8, 16);
    EXPECT_EQ(GetPixelValue(outside, 0, 0), -1);
    const Handle shortPalette = dibOf(16, 1, 4, Bytes(8, 0), noise(8, 2));
    EXPECT_EQ(GetPixelValue(shortPalette, 0, 0), -1) << "rows at 48, looked for at 104";
    // At 1 bit the full palette is 8 bytes: without one, row 1 is read for row 0 when a row has 8 bytes.
    const Handle noPalette = dibOf(40, 2, 1, {}, {0, 0, 0, 0, 0, 0, 0, 0, 1, 0, 0, 0, 0, 0, 0, 0});
    EXPECT_EQ(GetPixelValue(noPalette, 7, 0), 0x808080);
    EXPECT_EQ(GetPixelValue(noPalette, 7, 1), -1);
    EXPECT_EQ(GetPixelValue(noPalette, 0, 1), -1) << "no value, even where it would be 0";
}

TEST_F(DibTest, GetPixelValueRefusesOtherDepths)
{
    for (const int bits : {0, 2, 3, 15, 16, 25, 31, 32, 33, 48, 63, 64, 65, 65535}) {
        DibHeader header = makeHeader(1, 1, 24, 0);
        header.biBitCount = static_cast<uint16_t>(bits);
        const Handle dib = blockOf(makeBlock(header, {}, Bytes(300000, 1)));
        EXPECT_EQ(GetPixelValue(dib, 0, 0), -1) << bits;
    }
}

TEST_F(DibTest, GetPixelValueIsMinusOneWithoutALock)
{
    for (void *const bad : badHandles())
        EXPECT_EQ(GetPixelValue(bad, 0, 0), -1);
    const Handle dib = grayNoise(2, 2);
    memory_hooks::failLock(1);
    EXPECT_EQ(GetPixelValue(dib, 0, 0), -1);
    EXPECT_NE(GetPixelValue(dib, 0, 0), -1);
}

// IsDibGray

TEST_F(DibTest, IsDibGrayKnowsTheRamp)
{
    const Handle gray = grayNoise(3, 3);
    EXPECT_EQ(IsDibGray(gray), 1);
    EXPECT_EQ(memory_hooks::locksOn(gray), 0);
    const Handle made(CreateDib(2, 2, 8, 0, 0x123456));
    EXPECT_EQ(IsDibGray(made), 1);
}

TEST_F(DibTest, IsDibGrayWantsEveryEntryOfTheRamp)
{
    Bytes palette = grayRamp();
    for (std::size_t i = 0; i < palette.size(); ++i) {
        palette[i] ^= 0x10;
        const Handle dib = dibOf(1, 1, 8, palette, Bytes(4, 0));
        EXPECT_EQ(IsDibGray(dib), i % 4 == 3 ? 1 : 0) << "byte " << i;
        palette[i] ^= 0x10;
    }
}

TEST_F(DibTest, IsDibGrayWantsExactly256Colors)
{
    for (const uint32_t colors : {0u, 1u, 255u, 257u, 512u}) {
        Bytes palette = concat({grayRamp(), Bytes(1024, 0)});
        palette.resize(std::max<std::size_t>(1024, 4 * colors)); // the ramp is there all the same
        const Handle dib = blockOf(makeBlock(makeHeader(4, 1, 8, colors), palette, Bytes(4, 0)));
        EXPECT_EQ(IsDibGray(dib), 0) << colors;
    }
}

TEST_F(DibTest, IsDibGrayWants8Bits)
{
    for (const int bits : {1, 4, 24, 16, 32}) {
        const Handle dib = blockOf(makeBlock(makeHeader(4, 1, bits, 256), grayRamp(), Bytes(16, 0)));
        EXPECT_EQ(IsDibGray(dib), 0) << bits;
    }
}

TEST_F(DibTest, IsDibGrayIsZeroWithoutALock)
{
    for (void *const bad : badHandles())
        EXPECT_EQ(IsDibGray(bad), 0);
    const Handle dib = grayNoise(2, 2);
    memory_hooks::failLock(1);
    EXPECT_EQ(IsDibGray(dib), 0);
    EXPECT_EQ(IsDibGray(dib), 1);
}

TEST_F(DibTest, LocksOfTheCallerStay)
{
    const Handle dib = grayNoise(2, 2);
    const BlockLock held(dib);
    int width = 0;
    IsDibGray(dib);
    GetColorIndex(dib, 0);
    CheckDibColor(dib, 0);
    GetPixelValue(dib, 0, 0);
    GetDibSize(dib, &width, nullptr);
    ClassifyDib(dib);
    TuDibGetType(dib);
    EXPECT_EQ(memory_hooks::locksOn(dib), 1);
}

// GetColorIndex

TEST_F(DibTest, GetColorIndexIsZeroAt24Bits)
{
    const Handle dib = noiseImage(2, 2, 24, 0);
    for (const unsigned long color : {0ul, 1ul, 0xFFFFFFul, 0x123456ul})
        EXPECT_EQ(GetColorIndex(dib, color), 0);
    const Handle withColors = blockOf(makeBlock(makeHeader(1, 1, 24, 5), Bytes(20, 1), Bytes(4, 1)));
    EXPECT_EQ(GetColorIndex(withColors, 0), 0);
}

TEST_F(DibTest, GetColorIndexIsTheLuminanceOnARamp)
{
    const Handle dib = grayNoise(2, 2);
    EXPECT_EQ(GetColorIndex(dib, 0x00FFFFFF), 255);
    EXPECT_EQ(GetColorIndex(dib, 0x000000FF), 77); // 76.5 + 0.5
    EXPECT_EQ(GetColorIndex(dib, 0), 0);
    EXPECT_EQ(GetColorIndex(dib, rgb(0, 255, 0)), 150);    // 150.45 + 0.5
    EXPECT_EQ(GetColorIndex(dib, rgb(0, 0, 255)), 28);     // 28.05 + 0.5
    EXPECT_EQ(GetColorIndex(dib, rgb(10, 20, 30)), 18);    // 3.3 + 11.8 + 3 + 0.5
    EXPECT_EQ(GetColorIndex(dib, rgb(200, 100, 50)), 125); // 5.5 + 59 + 60 + 0.5
    EXPECT_EQ(GetColorIndex(dib, 0xFF000000), 0) << "the top byte is no colour";
}

TEST_F(DibTest, GetColorIndexSumsBlueGreenRed)
{
    const Handle dib = grayNoise(2, 2);
    // 4.84 + 2.36 + 0.3 + 0.5 is 8 exactly; in doubles, summed in this order, it stays just below.
    EXPECT_EQ(GetColorIndex(dib, rgb(1, 4, 44)), 7);
    // Likewise 0.88 + 4.72 + 0.9 + 0.5 = 7, which this order reaches and red first does not.
    EXPECT_EQ(GetColorIndex(dib, rgb(3, 8, 8)), 7);
}

TEST_F(DibTest, GetColorIndexOfManyColorsOnARamp)
{
    const Handle dib = grayNoise(1, 1);
    for (unsigned red = 0; red < 256; red += 7)
        for (unsigned green = 0; green < 256; green += 5)
            for (unsigned blue = 0; blue < 256; blue += 3) {
                // In hundredths; whole numbers are left to the test of the order.
                const unsigned hundredths = 11 * blue + 59 * green + 30 * red + 50;
                if (hundredths % 100 != 0) {
                    ASSERT_EQ(GetColorIndex(dib, rgb(red, green, blue)), static_cast<int>(hundredths / 100))
                        << red << ' ' << green << ' ' << blue;
                }
            }
}

TEST_F(DibTest, GetColorIndexTakesTheRampWithMoreColorsBehindIt)
{
    const Handle dib = dibOf(1, 1, 8, concat({grayRamp(), {0, 0, 255, 0}}), Bytes(4, 0));
    EXPECT_EQ(GetColorIndex(dib, 0x000000FF), 77) << "though entry 256 is the colour itself";
}

TEST_F(DibTest, GetColorIndexTakesAShorterRampAsAnyPalette)
{
    Bytes palette = grayRamp();
    palette.resize(4 * 255);
    const Handle dib = dibOf(1, 1, 8, palette, Bytes(4, 0));
    EXPECT_EQ(GetColorIndex(dib, 0x00FFFFFF), 254);
    // |i - 0| + |i - 0| + |i - 255| is smallest at 0: 255. Luminance would give 77.
    EXPECT_EQ(GetColorIndex(dib, 0x000000FF), 0);
    palette.resize(4);
    const Handle one = dibOf(1, 1, 8, palette, Bytes(4, 0));
    EXPECT_EQ(GetColorIndex(one, 0x00FFFFFF), 0) << "765 still beats the start value";
}

TEST_F(DibTest, GetColorIndexTakesTheFirstOfTheNearest)
{
    // blue, green, red: distances to (100, 100, 100) are 30, 10, 10, 9, 9.
    const Bytes palette{110, 110, 110, 0,  100, 110, 100, 0,   90, 100,
                        100, 0,   103, 97, 103, 9,   100, 100, 91, 0};
    for (const int bits : {1, 4, 8}) {
        const Handle dib = dibOf(8, 1, bits, palette, Bytes(8, 0));
        EXPECT_EQ(GetColorIndex(dib, rgb(100, 100, 100)), 3) << bits;
        EXPECT_EQ(GetColorIndex(dib, rgb(110, 110, 110)), 0) << bits;
        EXPECT_EQ(GetColorIndex(dib, rgb(91, 100, 100)), 4) << bits << ": red is the third byte";
        EXPECT_EQ(GetColorIndex(dib, rgb(100, 100, 90)), 2) << bits << ": blue is the first";
        EXPECT_EQ(GetColorIndex(dib, rgb(100, 110, 100)), 1) << bits;
    }
}

TEST_F(DibTest, GetColorIndexOfManyColorsOnAPalette)
{
    for (const auto &[bits, colors] : {std::pair{1, 2}, {4, 16}, {4, 9}, {8, 256}, {8, 77}, {1, 300}}) {
        const Handle dib = noiseImage(8, 1, bits, static_cast<uint32_t>(colors), 21);
        const Bytes block = bytesOf(dib);
        for (unsigned i = 0; i < 2000; ++i) {
            const unsigned red = i * 37 % 256, green = i * 91 % 256, blue = i * 203 % 256;
            int nearest = -1, distance = 766;
            for (int entry = colors - 1; entry >= 0; --entry) { // backwards: the first of equals comes last
                const uint8_t *const color = &block[40 + 4 * static_cast<std::size_t>(entry)];
                const int here = std::abs(static_cast<int>(blue) - color[0]) +
                                 std::abs(static_cast<int>(green) - color[1]) +
                                 std::abs(static_cast<int>(red) - color[2]);
                if (here <= distance) {
                    nearest = entry;
                    distance = here;
                }
            }
            ASSERT_EQ(GetColorIndex(dib, rgb(red, green, blue)), nearest) << bits << " bits, " << i;
        }
    }
}

TEST_F(DibTest, GetColorIndexIsMinusOneWithoutColors)
{
    for (const int bits : {1, 4, 8}) {
        const Handle dib = dibOf(4, 1, bits, {}, Bytes(4, 0));
        EXPECT_EQ(GetColorIndex(dib, 0), -1) << bits;
    }
    for (const int bits : {16, 32}) {
        const Handle dib = dibOf(1, 1, bits, {}, Bytes(4, 0));
        EXPECT_EQ(GetColorIndex(dib, 0), -1) << bits;
    }
}

TEST_F(DibTest, GetColorIndexIsMinusOneWithoutALock)
{
    for (void *const bad : badHandles())
        EXPECT_EQ(GetColorIndex(bad, 0), -1);
    const Handle dib = grayNoise(2, 2);
    memory_hooks::failLock(1);
    EXPECT_EQ(GetColorIndex(dib, 0), -1);
    EXPECT_EQ(GetColorIndex(dib, 0), 0);
}

// CheckDibColor

TEST_F(DibTest, CheckDibColorComparesLuminanceAt8Bits)
{
    const Handle uniform = dibOf(3, 2, 8, grayRamp(), {77, 77, 77, 1, 77, 77, 77, 2});
    EXPECT_EQ(CheckDibColor(uniform, 0x000000FF), 0) << "padding does not count";
    EXPECT_EQ(CheckDibColor(uniform, rgb(77, 77, 77)), 0);
    EXPECT_EQ(CheckDibColor(uniform, rgb(78, 78, 78)), 1);
    EXPECT_EQ(memory_hooks::locksOn(uniform), 0);
    for (const std::size_t changed : {0, 2, 4, 6}) {
        Bytes rows{77, 77, 77, 77, 77, 77, 77, 77};
        rows[changed] = 78;
        const Handle dib = dibOf(3, 2, 8, grayRamp(), rows);
        EXPECT_EQ(CheckDibColor(dib, rgb(77, 77, 77)), 1) << changed;
    }
    // What CreateDib fills with 29 has the luminance 28.
    const Handle made(CreateDib(4, 4, 8, 0, 0x00FF0000));
    EXPECT_EQ(CheckDibColor(made, 0x00FF0000), 1);
}

TEST_F(DibTest, CheckDibColorComparesBitsAt1Bit)
{
    const Bytes blackAndWhite{0, 0, 0, 0, 255, 255, 255, 0};
    const Handle white = dibOf(10, 2, 1, blackAndWhite, {0xFF, 0xC0, 0, 9, 0xFF, 0xFF, 0, 9});
    EXPECT_EQ(CheckDibColor(white, 0x00FFFFFF), 0) << "padding does not count";
    EXPECT_EQ(CheckDibColor(white, 0x00808080), 0) << "nearer to white";
    EXPECT_EQ(CheckDibColor(white, 0), 1);
    const Handle black = dibOf(10, 2, 1, blackAndWhite, {0, 0x3F, 0xFF, 9, 0, 0, 0xFF, 9});
    EXPECT_EQ(CheckDibColor(black, 0), 0);
    EXPECT_EQ(CheckDibColor(black, 0x00FFFFFF), 1);
    for (int x = 0; x < 10; ++x)
        for (std::size_t y = 0; y < 2; ++y) {
            Bytes rows{0, 0, 0, 0, 0, 0, 0, 0};
            rows[4 * y + static_cast<std::size_t>(x) / 8] = static_cast<uint8_t>(128 >> x % 8);
            const Handle dib = dibOf(10, 2, 1, blackAndWhite, rows);
            EXPECT_EQ(CheckDibColor(dib, 0), 1) << x << ", " << y;
            for (uint8_t &byte : rows)
                byte = static_cast<uint8_t>(~byte);
            const Handle inverse = dibOf(10, 2, 1, blackAndWhite, rows);
            EXPECT_EQ(CheckDibColor(inverse, 0x00FFFFFF), 1) << x << ", " << y;
        }
}

TEST_F(DibTest, CheckDibColorFollowsThePaletteAt1Bit)
{
    const Bytes whiteFirst{255, 255, 255, 0, 0, 0, 0, 0};
    const Handle dib = dibOf(8, 1, 1, whiteFirst, {0, 0, 0, 0});
    EXPECT_EQ(CheckDibColor(dib, 0x00FFFFFF), 0);
    EXPECT_EQ(CheckDibColor(dib, 0), 1);
}

TEST_F(DibTest, CheckDibColorNeverMissesOtherIndicesAt1Bit)
{
    const Handle noColors = dibOf(8, 3, 1, {}, noise(12, 5));
    EXPECT_EQ(CheckDibColor(noColors, 0), 0) << "index -1";
    EXPECT_EQ(CheckDibColor(noColors, 0x00FFFFFF), 0);
    const Handle third = dibOf(8, 1, 1, {0, 0, 0, 0, 255, 255, 255, 0, 7, 7, 7, 0}, {0x55, 0, 0, 0});
    EXPECT_EQ(CheckDibColor(third, rgb(7, 7, 7)), 0) << "index 2";
    EXPECT_EQ(CheckDibColor(third, 0), 1);
}

TEST_F(DibTest, CheckDibColorTakesTheIndexAsAByteAt1Bit)
{
    // The colour is entry 256, taken as 0. The rows are looked for behind two entries, in the palette.
    Bytes palette(4 * 257, 0);
    palette[4 * 256] = 200;
    const Handle clear = dibOf(8, 1, 1, palette, {0xFF, 0, 0, 0});
    EXPECT_EQ(GetColorIndex(clear, rgb(0, 0, 200)), 256);
    EXPECT_EQ(CheckDibColor(clear, rgb(0, 0, 200)), 0);
    palette[8] = 0x10; // the fourth pixel of row 0 as it is looked for
    const Handle set = dibOf(8, 1, 1, palette, {0, 0, 0, 0});
    EXPECT_EQ(GetColorIndex(set, rgb(0, 0, 200)), 256);
    EXPECT_EQ(CheckDibColor(set, rgb(0, 0, 200)), 1);
}

TEST_F(DibTest, CheckDibColorStaysInsideTheBlockAt1Bit)
{
    // With one entry the rows lie at 44 and are looked for at 48.
    const Bytes rows{0xFF, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0};
    const Handle exact = dibOf(8, 3, 1, Bytes(4, 0), rows);
    EXPECT_EQ(CheckDibColor(exact, 0), 1) << "the last row is not there to match";
    const Handle roomy = blockOf(makeBlock(makeHeader(8, 3, 1, 1), Bytes(4, 0), concat({rows, Bytes(1, 0)})));
    EXPECT_EQ(CheckDibColor(roomy, 0), 0) << "the one byte that is looked at is there";
}

TEST_F(DibTest, CheckDibColorPassesNeutralColorsAt24Bits)
{
    for (const int width : {1, 2, 5}) {
        const Handle dib(CreateDib(width, 3, 24, 0, 0x00404040));
        EXPECT_EQ(CheckDibColor(dib, 0x00404040), 0);
        EXPECT_EQ(CheckDibColor(dib, 0x00404041), 1);
        EXPECT_EQ(CheckDibColor(dib, 0x00404140), 1);
        EXPECT_EQ(CheckDibColor(dib, 0x00414040), 1);
    }
}

TEST_F(DibTest, CheckDibColorFailsUniformColorsAt24Bits)
{
    for (const unsigned long color : {0x000000FFul, 0x0000FF00ul, 0x00FF0000ul, 0x00404041ul}) {
        const Handle dib(CreateDib(4, 2, 24, 0, color));
        EXPECT_EQ(CheckDibColor(dib, color), 1) << color;
    }
}

TEST_F(DibTest, CheckDibColorStartsWithGreenAt24Bits)
{
    // One pixel is compared as green, blue, red with the bytes 1, 2, 3.
    const Handle dib = dibOf(1, 1, 24, {}, {1, 2, 3, 9});
    EXPECT_EQ(CheckDibColor(dib, rgb(3, 1, 2)), 0);
    EXPECT_EQ(CheckDibColor(dib, rgb(3, 2, 1)), 1);
    EXPECT_EQ(CheckDibColor(dib, rgb(2, 1, 3)), 1);
    // A block whose blue and green are equal passes at width 1, not further.
    const Handle narrow(CreateDib(1, 2, 24, 0, rgb(9, 4, 4)));
    EXPECT_EQ(CheckDibColor(narrow, rgb(9, 4, 4)), 0);
    const Handle wide(CreateDib(2, 2, 24, 0, rgb(9, 4, 4)));
    EXPECT_EQ(CheckDibColor(wide, rgb(9, 4, 4)), 1);
}

TEST_F(DibTest, CheckDibColorSeesTwoBytesMoreThanTheWidthAt24Bits)
{
    for (std::size_t changed = 0; changed < 36; ++changed) { // 3 rows of 4 pixels
        Bytes rows(36, 50);
        rows[changed] = 51;
        const Handle dib = dibOf(4, 3, 24, {}, rows);
        EXPECT_EQ(CheckDibColor(dib, rgb(50, 50, 50)), changed % 12 < 6 ? 1 : 0) << changed;
    }
}

TEST_F(DibTest, CheckDibColorTakesRowsAt40At24BitsWhateverTheColorsUsed)
{
    const Handle dib = blockOf(makeBlock(makeHeader(1, 1, 24, 3), {}, Bytes{6, 6, 6, 0}));
    EXPECT_EQ(CheckDibColor(dib, rgb(6, 6, 6)), 0);
}

TEST_F(DibTest, CheckDibColorRefusesOtherImages)
{
    for (const int bits : {4, 16, 32}) {
        const Handle dib = dibOf(2, 2, bits, {}, Bytes(16, 0));
        EXPECT_EQ(CheckDibColor(dib, 0), -2) << bits;
    }
    const Handle colored = noiseImage(2, 2, 8, 256);
    EXPECT_EQ(CheckDibColor(colored, 0), -2);
    const Handle noColors = blockOf(makeBlock(makeHeader(2, 2, 8, 0), grayRamp(), Bytes(8, 0)));
    EXPECT_EQ(CheckDibColor(noColors, 0), -2);
}

TEST_F(DibTest, CheckDibColorIsMinusOneWithoutALock)
{
    for (void *const bad : badHandles())
        EXPECT_EQ(CheckDibColor(bad, 0), -1);
    const Handle dib(CreateDib(2, 2, 24, 0, 0));
    memory_hooks::failLock(1);
    EXPECT_EQ(CheckDibColor(dib, 0), -1);
    EXPECT_EQ(CheckDibColor(dib, 0), 0);
}

TEST_F(DibTest, CheckDibColorLeavesTheImageAlone)
{
    for (const int bits : {1, 24}) {
        const Handle dib = noiseImage(9, 4, bits, bits == 1 ? 2 : 0);
        const Bytes before = bytesOf(dib);
        CheckDibColor(dib, 0x123456);
        EXPECT_EQ(bytesOf(dib), before);
    }
}

// ClassifyDib and TuDibGetType

TEST_F(DibTest, KindsOfImages)
{
    const auto expectKinds = [](void *dib, int kind, int type) {
        EXPECT_EQ(ClassifyDib(dib), kind);
        EXPECT_EQ(TuDibGetType(dib), type);
        EXPECT_EQ(memory_hooks::locksOn(dib), 0);
    };
    expectKinds(grayNoise(3, 2), 1, 1);
    expectKinds(noiseImage(3, 2, 24, 0), 2, 2);
    expectKinds(noiseImage(3, 2, 8, 256), 3, 3);
    expectKinds(noiseImage(3, 2, 8, 16), 3, 3);
    expectKinds(noiseImage(3, 2, 8, 0), 3, 3);
    expectKinds(noiseImage(3, 2, 4, 16), 4, 4);
    expectKinds(noiseImage(3, 2, 1, 2), 5, 5);
    expectKinds(noiseImage(3, 2, 16, 0), 0, 6);
    expectKinds(noiseImage(3, 2, 32, 0), 0, 8);
    expectKinds(noiseImage(3, 2, 0, 0), 0, 7);
    for (const int bits : {2, 3, 5, 7, 9, 15, 17, 23, 25, 31, 33, 64})
        expectKinds(noiseImage(3, 2, bits, 0), 0, 0);
}

TEST_F(DibTest, KindsDifferOnRampsOfMoreThan256Colors)
{
    const Handle more = dibOf(1, 1, 8, concat({grayRamp(), {1, 2, 3, 4}}), Bytes(4, 0));
    EXPECT_EQ(ClassifyDib(more), 3) << "gray is exactly 256";
    EXPECT_EQ(TuDibGetType(more), 1) << "gray is at least 256";
    const Handle none = blockOf(makeBlock(makeHeader(1, 1, 8, 0), grayRamp(), Bytes(4, 0)));
    EXPECT_EQ(ClassifyDib(none), 3);
    EXPECT_EQ(TuDibGetType(none), 3);
    Bytes palette = grayRamp();
    palette.resize(4 * 255);
    const Handle fewer = dibOf(1, 1, 8, palette, Bytes(4, 0));
    EXPECT_EQ(ClassifyDib(fewer), 3);
    EXPECT_EQ(TuDibGetType(fewer), 3);
}

TEST_F(DibTest, KindsWantEveryEntryOfTheRamp)
{
    Bytes palette = grayRamp();
    for (const std::size_t i : {0, 1, 2, 3, 510, 1020, 1021, 1022, 1023}) {
        palette[i] ^= 0x40;
        const Handle dib = dibOf(1, 1, 8, palette, Bytes(4, 0));
        EXPECT_EQ(ClassifyDib(dib), i % 4 == 3 ? 1 : 3) << i;
        EXPECT_EQ(TuDibGetType(dib), i % 4 == 3 ? 1 : 3) << i;
        palette[i] ^= 0x40;
    }
}

TEST_F(DibTest, NoBlockHasNoKind)
{
    for (void *const bad : badHandles()) {
        EXPECT_EQ(ClassifyDib(bad), 0);
        EXPECT_EQ(TuDibGetType(bad), 0);
    }
    const Handle dib = grayNoise(2, 2);
    memory_hooks::failLock(1);
    EXPECT_EQ(ClassifyDib(dib), 0);
    memory_hooks::failLock(1);
    EXPECT_EQ(TuDibGetType(dib), 0);
}

// Headers that do not fit their block

namespace {

struct Lie {
    const char *name;
    std::size_t offset; ///< of a 32-bit field
    uint32_t value;
};

const Lie kLies[] = {
    {"biSize 0", 0, 0},
    {"biSize 39", 0, 39},
    {"biSize 2^32 - 1", 0, UINT32_MAX},
    {"width 0", 4, 0},
    {"width -1", 4, UINT32_MAX},
    {"width 2^31 - 1", 4, INT_MAX},
    {"width -2^31", 4, 0x80000000},
    {"width 2^30", 4, 1u << 30},
    {"height 0", 8, 0},
    {"height -1", 8, UINT32_MAX},
    {"height 2^31 - 1", 8, INT_MAX},
    {"height -2^31", 8, 0x80000000},
    {"one row too many", 8, 6},
};

const Lie kPaletteLies[] = {
    {"2^32 - 1 colours", 32, UINT32_MAX},
    {"2^30 colours", 32, 1u << 30},
    {"2^30 - 10 colours, 2^32 with the header", 32, (1u << 30) - 10},
    {"2^31 colours", 32, 1u << 31},
    {"257 colours", 32, 257},
};

void expectRefused(const Bytes &bytes)
{
    const Handle block = blockOf(bytes);
    EXPECT_EQ(GetPixelValue(block, 0, 0), -1);
    EXPECT_EQ(IsDibGray(block), 0);
    EXPECT_EQ(GetColorIndex(block, 0), -1);
    EXPECT_EQ(CheckDibColor(block, 0), -2);
    EXPECT_EQ(ClassifyDib(block), 0);
    EXPECT_EQ(TuDibGetType(block), 0);
    EXPECT_EQ(memory_hooks::locksOn(block), 0);
    EXPECT_EQ(bytesOf(block), bytes);
}

Bytes goodBlock(int bits)
{
    return bits == 8 ? bytesOf(grayNoise(9, 5)) : bytesOf(noiseImage(9, 5, bits, bits <= 4 ? 1u << bits : 0));
}

} // namespace

TEST_F(DibTest, LyingHeadersAreRefused)
{
    for (const int bits : {1, 4, 8, 24, 32}) {
        for (const Lie &lie : kLies) {
            SCOPED_TRACE(std::to_string(bits) + " bits, " + lie.name);
            Bytes block = goodBlock(bits);
            ASSERT_NE(TuDibGetType(blockOf(block)), 0);
            put32(block, lie.offset, lie.value);
            expectRefused(block);
        }
    }
    for (const int bits : {1, 4, 8})
        for (const Lie &lie : kPaletteLies) {
            SCOPED_TRACE(std::to_string(bits) + " bits, " + lie.name);
            Bytes block = goodBlock(bits);
            put32(block, lie.offset, lie.value);
            expectRefused(block);
        }
}

TEST_F(DibTest, ABlockOneByteTooShortIsRefused)
{
    for (const int bits : {1, 4, 8, 24, 32}) {
        SCOPED_TRACE(bits);
        Bytes block = goodBlock(bits);
        block.pop_back();
        expectRefused(block);
    }
}

TEST_F(DibTest, ABlockWithoutRoomForAHeaderIsRefused)
{
    for (const std::size_t size : {0, 1, 4, 16, 39}) {
        SCOPED_TRACE(size);
        Bytes block = goodBlock(24);
        block.resize(size);
        expectRefused(block);
    }
    Bytes headerOnly = goodBlock(24);
    headerOnly.resize(40);
    expectRefused(headerOnly);
}

TEST_F(DibTest, WhatTheHeaderSaysOfColorsMeansNothingAbove8Bits)
{
    for (const int bits : {24, 32})
        for (const Lie &lie : kPaletteLies) {
            Bytes block = goodBlock(bits);
            put32(block, lie.offset, lie.value);
            EXPECT_EQ(TuDibGetType(blockOf(block)), bits == 24 ? 2 : 8) << lie.name;
        }
}

TEST_F(DibTest, ARoomierBlockIsFine)
{
    for (const int bits : {1, 4, 8, 24}) {
        Bytes block = goodBlock(bits);
        block.insert(block.end(), 1000, 0xFF);
        EXPECT_NE(ClassifyDib(blockOf(block)), 0) << bits;
    }
}

TEST_F(DibTest, RandomHeadersAreAnswered)
{
    for (uint32_t seed = 0; seed < 3000; ++seed) {
        Bytes block = goodBlock(seed % 2 ? 8 : 24);
        const Bytes random = noise(40, seed);
        for (std::size_t i = 0; i < 40; ++i)
            if (random[(i + 7) % 40] < 60)
                block[i] = random[i];
        put16(block, 14,
              seed % 5 == 0   ? 1
              : seed % 5 == 1 ? 4
              : seed % 5 == 2 ? 8
              : seed % 5 == 3 ? 24
                              : random[0]);
        const Handle dib = blockOf(block);
        const int x = random[1] % 12 - 1, y = random[2] % 8 - 1;
        GetPixelValue(dib, x, y);
        CheckDibColor(dib, seed * 12345);
        EXPECT_TRUE(IsDibGray(dib) == 0 || ClassifyDib(dib) == 1);
        EXPECT_LT(GetColorIndex(dib, seed), 256);
        EXPECT_TRUE(ClassifyDib(dib) == 0 || ClassifyDib(dib) == TuDibGetType(dib));
        EXPECT_EQ(bytesOf(dib), block);
    }
}

} // namespace velmont::testing
