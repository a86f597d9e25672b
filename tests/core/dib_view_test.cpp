#include "core/dib_view.h"
#include "platform/memory.h"
#include "tests/support/images.h"
#include "tests/support/recording_host.h"
#include <algorithm>
#include <climits>
#include <cstring>
#include <functional>
#include <gtest/gtest.h>
#include <type_traits>

namespace velmont::testing {

namespace {

class DibViewTest : public ::testing::Test {
protected:
    ~DibViewTest() override { memory_hooks::failLock(0); }

    NothingLost nothingLost_;
};

/// A block with `header` at its start and `tail` behind its 40 bytes.
Handle blockWith(const DibHeader &header, const Bytes &tail)
{
    return blockOf(makeBlock(header, {}, tail));
}

Bytes concat(std::initializer_list<Bytes> parts)
{
    Bytes all;
    for (const Bytes &part : parts)
        all.insert(all.end(), part.begin(), part.end());
    return all;
}

/// A zero-filled block, as results are set up in.
Handle zeroBlock(std::size_t bytes)
{
    return Handle(KelMemAlloc(KEL_MEM_MOVEABLE | KEL_MEM_ZERO, bytes));
}

/// Overwrites the header of a block, as somebody else would.
void writeHeader(void *handle, const DibHeader &header)
{
    const BlockLock lock(handle);
    std::memcpy(lock.bytes(), &header, sizeof header);
}

/// Every operation answers as one on an empty view.
void expectEmpty(DibView &view)
{
    const auto expectFieldsEmpty = [&view] {
        EXPECT_EQ(view.palette, nullptr);
        EXPECT_EQ(view.header, nullptr);
        EXPECT_EQ(view.handle, nullptr);
        EXPECT_EQ(view.rowBytes, 0u);
        EXPECT_EQ(view.bitCount, 0u);
        EXPECT_EQ(view.isGray, 0);
        EXPECT_EQ(view.bits, nullptr);
    };
    expectFieldsEmpty();
    EXPECT_EQ(view.GetWidth(), 0);
    EXPECT_EQ(view.GetHeight(), 0);
    EXPECT_EQ(view.GetBitCount(), -1);
    EXPECT_EQ(view.GetRowBytes(), 0u);
    EXPECT_EQ(view.GetPaletteBytes(), 0u);
    EXPECT_EQ(view.GetTotalBytes(), 0u);
    EXPECT_EQ(view.GetBits(), nullptr);
    EXPECT_EQ(view.GetPixel(0, 0), 0u);
    EXPECT_EQ(view.SetPixel(0, 0, 0), 0);
    EXPECT_EQ(view.GetPixel24(0, 0), 0u);
    view.SetPixel24(0, 0, 1, 2, 3);
    const Handle other = grayNoise(2, 2);
    const Bytes before = bytesOf(other);
    DibView otherView(other);
    EXPECT_EQ(view.CopyHeaderFrom(&otherView), 0);
    EXPECT_EQ(view.CopyPaletteFrom(&otherView), 0);
    EXPECT_EQ(view.CopyAllFrom(&otherView), 0);
    EXPECT_EQ(otherView.CopyHeaderFrom(&view), 0);
    EXPECT_EQ(otherView.CopyPaletteFrom(&view), 0);
    EXPECT_EQ(otherView.CopyAllFrom(&view), 0);
    EXPECT_EQ(view.CopyAllFrom(&view), 0);
    view.Refresh();
    expectFieldsEmpty();
    EXPECT_EQ(bytesOf(other), before);
}

uint32_t colorValue(unsigned red, unsigned green, unsigned blue)
{
    return red + 256 * green + 65536 * blue;
}

} // namespace

// Life

TEST_F(DibViewTest, OnlyTheDestructorIsVirtualAndNothingIsCopied)
{
    EXPECT_TRUE(std::has_virtual_destructor_v<DibView>);
    EXPECT_FALSE(std::is_copy_constructible_v<DibView>);
    EXPECT_FALSE(std::is_copy_assignable_v<DibView>);
}

TEST_F(DibViewTest, FieldsStandInTheirOrder)
{
    const DibView view(nullptr);
    const void *const fields[] = {&view.palette,  &view.header, &view.handle, &view.rowBytes,
                                  &view.bitCount, &view.isGray, &view.bits};
    EXPECT_TRUE(std::is_sorted(std::begin(fields), std::end(fields), std::less<>()));
}

TEST_F(DibViewTest, LocksForItsLife)
{
    const Handle dib = grayNoise(3, 2);
    const Bytes before = bytesOf(dib);
    const BlockLock held(dib);
    {
        const DibView view(dib);
        EXPECT_EQ(memory_hooks::locksOn(dib), 2);
        const DibView second(dib);
        EXPECT_EQ(memory_hooks::locksOn(dib), 3);
        EXPECT_EQ(view.handle, dib);
        EXPECT_EQ(view.header, held.bytes());
        EXPECT_EQ(second.header, held.bytes());
    }
    EXPECT_EQ(memory_hooks::locksOn(dib), 1);
    EXPECT_EQ(bytesOf(dib), before);
}

TEST_F(DibViewTest, ViewsOfNoBlockAreEmpty)
{
    DibView ofNull(nullptr);
    expectEmpty(ofNull);
    void *const stale = KelMemAlloc(KEL_MEM_MOVEABLE, 2000);
    KelMemFree(stale);
    DibView ofStale(stale);
    expectEmpty(ofStale);
    int noBlock = 0;
    DibView ofForeign(&noBlock);
    expectEmpty(ofForeign);
    const Handle dib = grayNoise(3, 2);
    memory_hooks::failLock(1);
    {
        DibView unlocked(dib);
        expectEmpty(unlocked);
    }
    EXPECT_EQ(memory_hooks::locksOn(dib), 0);
}

TEST_F(DibViewTest, ViewsOfBlocksWithoutRoomForAHeaderAreEmpty)
{
    for (const std::size_t size : {0, 1, 39}) {
        const Handle block = blockOf(Bytes(size, 8));
        DibView view(block);
        EXPECT_EQ(memory_hooks::locksOn(block), 0) << size;
        expectEmpty(view);
    }
    const Handle headerOnly = blockOf(Bytes(40, 0));
    const DibView view(headerOnly);
    EXPECT_EQ(view.handle, headerOnly);
    EXPECT_EQ(memory_hooks::locksOn(headerOnly), 1);
}

// What the header says

TEST_F(DibViewTest, ReadsGrayImages)
{
    const Handle dib = grayNoise(5, 3);
    const DibView view(dib);
    EXPECT_EQ(view.GetWidth(), 5);
    EXPECT_EQ(view.GetHeight(), 3);
    EXPECT_EQ(view.GetBitCount(), 8);
    EXPECT_EQ(view.GetRowBytes(), 8u);
    EXPECT_EQ(view.GetPaletteBytes(), 1024u);
    EXPECT_EQ(view.GetTotalBytes(), 1088u);
    EXPECT_EQ(view.GetBits(), view.header + 1064);
    EXPECT_EQ(view.palette, view.header + 40);
    EXPECT_EQ(view.bits, view.header + 1064);
    EXPECT_EQ(view.rowBytes, 8u);
    EXPECT_EQ(view.bitCount, 8u);
    EXPECT_EQ(view.isGray, 1);
}

TEST_F(DibViewTest, ReadsImagesOf24Bits)
{
    const Handle dib = noiseImage(5, 3, 24, 0);
    const DibView view(dib);
    EXPECT_EQ(view.GetBitCount(), 24);
    EXPECT_EQ(view.GetRowBytes(), 16u);
    EXPECT_EQ(view.GetPaletteBytes(), 0u);
    EXPECT_EQ(view.GetTotalBytes(), 88u);
    EXPECT_EQ(view.GetBits(), view.header + 40);
    EXPECT_EQ(view.bits, view.header + 40);
    EXPECT_EQ(view.rowBytes, 16u);
    EXPECT_EQ(view.bitCount, 24u);
    EXPECT_EQ(view.isGray, 0);
}

TEST_F(DibViewTest, RowBytesAreWholeFours)
{
    for (int width = 1; width < 70; ++width)
        for (const int bits : {1, 4, 8, 16, 24, 32}) {
            const Handle dib = blockWith(makeHeader(width, 1, bits, 0), {});
            const DibView view(dib);
            EXPECT_EQ(view.GetRowBytes(), strideFor(width, bits)) << width << ", " << bits;
            EXPECT_EQ(view.rowBytes, strideFor(width, bits));
        }
}

TEST_F(DibViewTest, ALongerHeaderMovesPaletteAndRows)
{
    DibHeader header = makeHeader(4, 2, 8, 3);
    header.biSize = 64;
    const Handle dib = blockWith(header, Bytes(24 + 12 + 8, 0));
    const DibView view(dib);
    EXPECT_EQ(view.palette, view.header + 64);
    EXPECT_EQ(view.bits, view.header + 76);
    EXPECT_EQ(view.GetBits(), view.header + 76);
    EXPECT_EQ(view.GetTotalBytes(), 84u);
}

TEST_F(DibViewTest, PaletteBytes)
{
    const auto paletteBytes = [](int bits, uint32_t colorsUsed, uint32_t compression) {
        DibHeader header = makeHeader(1, 1, bits, colorsUsed);
        header.biCompression = compression;
        const Handle dib = blockWith(header, {});
        return DibView(dib).GetPaletteBytes();
    };
    for (const uint32_t compression : {0u, 1u, 3u}) {
        EXPECT_EQ(paletteBytes(1, 0, compression), 4u) << "2 >> 1 entries";
        EXPECT_EQ(paletteBytes(4, 0, compression), 0u) << "2 >> 4 entries";
        EXPECT_EQ(paletteBytes(8, 0, compression), 0u) << "2 >> 8 entries";
        EXPECT_EQ(paletteBytes(2, 0, compression), 0u);
        EXPECT_EQ(paletteBytes(1, 2, compression), 8u);
        EXPECT_EQ(paletteBytes(1, 1, compression), 4u);
        EXPECT_EQ(paletteBytes(4, 16, compression), 64u);
        EXPECT_EQ(paletteBytes(8, 256, compression), 1024u);
        EXPECT_EQ(paletteBytes(8, 7, compression), 28u);
        EXPECT_EQ(paletteBytes(8, 1000, compression), 4000u);
    }
    for (const int bits : {9, 15, 16})
        for (const uint32_t colors : {0u, 256u}) {
            EXPECT_EQ(paletteBytes(bits, colors, 0), 0u) << bits;
            EXPECT_EQ(paletteBytes(bits, colors, 3), 4u) << bits;
        }
    for (const int bits : {17, 24, 32})
        for (const uint32_t compression : {0u, 3u}) {
            EXPECT_EQ(paletteBytes(bits, 0, compression), 0u) << bits;
            EXPECT_EQ(paletteBytes(bits, 256, compression), 0u) << bits;
        }
}

TEST_F(DibViewTest, WhereTheRowsStart)
{
    const auto rowsStart = [](int bits, uint32_t colorsUsed, uint32_t compression) {
        DibHeader header = makeHeader(1, 1, bits, colorsUsed);
        header.biCompression = compression;
        const Handle dib = blockWith(header, Bytes(2000, 0));
        const DibView view(dib);
        EXPECT_EQ(view.bits, view.GetBits());
        return view.bits - view.header;
    };
    EXPECT_EQ(rowsStart(1, 2, 0), 48);
    EXPECT_EQ(rowsStart(1, 0, 0), 44);
    EXPECT_EQ(rowsStart(4, 0, 0), 40);
    EXPECT_EQ(rowsStart(8, 0, 0), 40);
    EXPECT_EQ(rowsStart(8, 10, 0), 80);
    EXPECT_EQ(rowsStart(16, 0, 3), 44);
    EXPECT_EQ(rowsStart(24, 10, 0), 40);
    EXPECT_EQ(rowsStart(32, 0, 3), 40);
}

TEST_F(DibViewTest, TotalBytesCountRowsPaletteAndHeader)
{
    const auto totalBytes = [](const DibHeader &header) {
        const Handle dib = blockWith(header, {});
        return DibView(dib).GetTotalBytes();
    };
    EXPECT_EQ(totalBytes(makeHeader(33, 7, 1, 2)), 40u + 8 + 8 * 7);
    EXPECT_EQ(totalBytes(makeHeader(9, 7, 4, 16)), 40u + 64 + 8 * 7);
    EXPECT_EQ(totalBytes(makeHeader(9, 7, 8, 0)), 40u + 12 * 7);
    EXPECT_EQ(totalBytes(makeHeader(9, 7, 32, 0)), 40u + 36 * 7);
    DibHeader longer = makeHeader(9, 7, 24, 0);
    longer.biSize = 108;
    EXPECT_EQ(totalBytes(longer), 108u + 28 * 7);
}

// The gray test of the view

TEST_F(DibViewTest, GrayOrderDoesNotMatter)
{
    Bytes palette;
    for (int i = 0; i < 256; ++i) {
        const auto level = static_cast<uint8_t>(i * 77 + 5);
        palette.insert(palette.end(), {level, level, level, static_cast<uint8_t>(i)});
    }
    for (const uint32_t colors : {256u, 0u}) {
        const Handle dib = blockWith(makeHeader(4, 1, 8, colors), concat({palette, Bytes(4, 0)}));
        EXPECT_EQ(DibView(dib).isGray, 1) << colors;
    }
}

TEST_F(DibViewTest, GrayWantsEqualChannelsFromEntry1On)
{
    Bytes palette = grayRamp();
    for (std::size_t i = 0; i < palette.size(); ++i) {
        palette[i] ^= 0x08;
        const Handle dib = blockWith(makeHeader(4, 1, 8, 256), concat({palette, Bytes(4, 0)}));
        EXPECT_EQ(DibView(dib).isGray, i < 4 || i % 4 == 3 ? 1 : 0) << "byte " << i;
        palette[i] ^= 0x08;
    }
}

TEST_F(DibViewTest, GrayWants256ColorsOrNone)
{
    for (const uint32_t colors : {1u, 2u, 255u, 257u, 512u}) {
        Bytes palette = concat({grayRamp(), Bytes(1024, 0)});
        const Handle dib = blockWith(makeHeader(4, 1, 8, colors), concat({palette, Bytes(4, 0)}));
        EXPECT_EQ(DibView(dib).isGray, 0) << colors;
    }
    // Of none 256 are read all the same; here they are the rows.
    const Handle rampInRows = blockWith(makeHeader(4, 256, 8, 0), grayRamp());
    EXPECT_EQ(DibView(rampInRows).isGray, 1);
    const Handle noiseInRows = blockWith(makeHeader(4, 256, 8, 0), noise(1024, 3));
    EXPECT_EQ(DibView(noiseInRows).isGray, 0);
}

TEST_F(DibViewTest, GrayWants8Bits)
{
    for (const int bits : {1, 4, 16, 24, 32}) {
        const Handle dib = blockWith(makeHeader(1, 1, bits, 256), concat({grayRamp(), Bytes(4, 0)}));
        EXPECT_EQ(DibView(dib).isGray, 0) << bits;
    }
}

TEST_F(DibViewTest, APaletteThatIsNotThereIsNotGray)
{
    Bytes palette = grayRamp();
    palette.resize(1023);
    for (const uint32_t colors : {256u, 0u}) {
        const Handle dib = blockWith(makeHeader(1, 1, 8, colors), palette);
        EXPECT_EQ(DibView(dib).isGray, 0) << colors;
    }
}

// Refresh

TEST_F(DibViewTest, RefreshDoesNothingOnceRowBytesAreKnown)
{
    const Handle dib = grayNoise(6, 4);
    DibView view(dib);
    const uint8_t *const bits = view.bits;
    writeHeader(dib, makeHeader(2, 2, 24, 0));
    view.Refresh();
    EXPECT_EQ(view.rowBytes, 8u);
    EXPECT_EQ(view.bitCount, 8u);
    EXPECT_EQ(view.isGray, 1);
    EXPECT_EQ(view.bits, bits);
    EXPECT_EQ(view.GetBitCount(), 24) << "the operations read the header";
    EXPECT_EQ(view.GetWidth(), 2);
    EXPECT_EQ(view.GetRowBytes(), 8u);
    EXPECT_EQ(view.GetBits(), view.header + 40);
    view.rowBytes = 0;
    view.Refresh();
    EXPECT_EQ(view.rowBytes, 8u);
    EXPECT_EQ(view.bitCount, 24u);
    EXPECT_EQ(view.isGray, 0);
    EXPECT_EQ(view.bits, view.header + 40);
}

TEST_F(DibViewTest, RowBytesStayOpenWhileTheHeaderIsZero)
{
    const Handle dib = zeroBlock(1100);
    DibView view(dib);
    EXPECT_EQ(view.rowBytes, 0u);
    EXPECT_EQ(view.bitCount, 0u);
    writeHeader(dib, makeHeader(5, 3, 24, 0));
    view.Refresh();
    EXPECT_EQ(view.rowBytes, 16u);
    EXPECT_EQ(view.bitCount, 24u);
    EXPECT_EQ(view.bits, view.header + 40);
}

// Pixels

TEST_F(DibViewTest, GetPixelReplicatesGray)
{
    const Handle dib =
        blockWith(makeHeader(3, 2, 8, 256), concat({grayRamp(), {1, 2, 3, 0, 0x80, 0xFE, 0xFF, 0}}));
    const DibView view(dib);
    EXPECT_EQ(view.GetPixel(0, 0), 0x010101u);
    EXPECT_EQ(view.GetPixel(2, 0), 0x030303u);
    EXPECT_EQ(view.GetPixel(0, 1), 0x808080u);
    EXPECT_EQ(view.GetPixel(2, 1), 0xFFFFFFu);
}

TEST_F(DibViewTest, GetPixelOfAGrayViewIsTheIndexWhateverThePalette)
{
    Bytes palette;
    for (int i = 0; i < 256; ++i) {
        const auto level = static_cast<uint8_t>(255 - i);
        palette.insert(palette.end(), {level, level, level, 0});
    }
    const Handle dib = blockWith(makeHeader(4, 1, 8, 256), concat({palette, {10, 0, 255, 0}}));
    const DibView view(dib);
    ASSERT_EQ(view.isGray, 1);
    EXPECT_EQ(view.GetPixel(0, 0), 0x0A0A0Au);
    EXPECT_EQ(view.GetPixel(2, 0), 0xFFFFFFu);
}

TEST_F(DibViewTest, GetPixelLooksColorsUp)
{
    const Handle dib = blockWith(makeHeader(4, 1, 8, 3), {1, 2, 3, 99, 4, 5, 6, 99, 7, 8, 9, 99, 0, 2, 1, 0});
    const DibView view(dib);
    EXPECT_EQ(view.GetPixel(0, 0), 0x010203u) << "blue is highest";
    EXPECT_EQ(view.GetPixel(1, 0), 0x070809u);
    EXPECT_EQ(view.GetPixel(2, 0), 0x040506u);
}

TEST_F(DibViewTest, GetPixelReads24Bits)
{
    const Handle dib =
        blockWith(makeHeader(2, 2, 24, 0), {1, 2, 3, 4, 5, 6, 0, 0, 7, 8, 9, 10, 11, 12, 0, 0});
    const DibView view(dib);
    EXPECT_EQ(view.GetPixel(0, 0), 0x010203u);
    EXPECT_EQ(view.GetPixel(1, 0), 0x040506u);
    EXPECT_EQ(view.GetPixel(0, 1), 0x070809u);
    EXPECT_EQ(view.GetPixel(1, 1), 0x0A0B0Cu);
}

TEST_F(DibViewTest, OtherDepthsHaveNoPixels)
{
    for (const int bits : {1, 4, 16, 32}) {
        const Handle dib = blockWith(makeHeader(2, 2, bits, 0), Bytes(100, 0x77));
        const Bytes before = bytesOf(dib);
        DibView view(dib);
        EXPECT_EQ(view.GetPixel(0, 0), 0u) << bits;
        EXPECT_EQ(view.SetPixel(0, 0, 0), 0) << bits;
        EXPECT_EQ(bytesOf(dib), before) << bits;
    }
}

TEST_F(DibViewTest, SetPixelStoresRedInGray)
{
    const Handle dib = blockWith(makeHeader(3, 2, 8, 256), concat({grayRamp(), Bytes(8, 9)}));
    DibView view(dib);
    EXPECT_EQ(view.SetPixel(1, 0, colorValue(0x12, 0x34, 0x56)), 1);
    EXPECT_EQ(view.SetPixel(2, 1, 0xFFFFFF00u), 1);
    const Bytes block = bytesOf(dib);
    EXPECT_EQ(Bytes(block.begin() + 1064, block.end()), (Bytes{9, 0x12, 9, 9, 9, 9, 0, 9}));
}

TEST_F(DibViewTest, SetPixelStoresInGrayWithoutColorsToo)
{
    const Handle dib = blockWith(makeHeader(4, 256, 8, 0), grayRamp());
    DibView view(dib);
    ASSERT_EQ(view.isGray, 1);
    EXPECT_EQ(view.SetPixel(1, 255, 0x21), 1);
    EXPECT_EQ(bytesOf(dib).at(40 + 4 * 255 + 1), 0x21);
}

TEST_F(DibViewTest, SetPixelStoresTheFirstEntryOfEqualRed)
{
    // Reds 10, 20, 20, 30; blue and green of no account.
    const Bytes palette{1, 1, 10, 0, 2, 2, 20, 0, 20, 20, 20, 0, 3, 3, 30, 0};
    const Handle dib = blockWith(makeHeader(4, 1, 8, 4), concat({palette, Bytes(4, 99)}));
    DibView view(dib);
    EXPECT_EQ(view.SetPixel(0, 0, colorValue(20, 20, 20)), 1);
    EXPECT_EQ(view.SetPixel(1, 0, colorValue(30, 200, 7)), 1);
    EXPECT_EQ(view.SetPixel(2, 0, colorValue(10, 2, 2)), 1);
    EXPECT_EQ(view.SetPixel(3, 0, colorValue(2, 2, 20)), 0) << "no such red";
    const Bytes block = bytesOf(dib);
    EXPECT_EQ(Bytes(block.begin() + 56, block.end()), (Bytes{1, 3, 0, 99}));
}

TEST_F(DibViewTest, SetPixelLooksAtNoMoreColorsThanAreUsed)
{
    const Bytes palette{1, 1, 10, 0, 2, 2, 20, 0};
    for (const auto &[colors, result] : {std::pair{1u, 0}, {2u, 1}}) {
        const Handle dib = blockWith(makeHeader(4, 1, 8, colors), concat({palette, Bytes(8, 99)}));
        DibView view(dib);
        EXPECT_EQ(view.SetPixel(0, 0, 20), result) << colors;
    }
    const Handle none = blockWith(makeHeader(4, 256, 8, 0), noise(1024, 8));
    const Bytes before = bytesOf(none);
    DibView view(none);
    ASSERT_EQ(view.isGray, 0);
    for (uint32_t red = 0; red < 256; ++red)
        EXPECT_EQ(view.SetPixel(0, 0, red), 0);
    EXPECT_EQ(bytesOf(none), before);
}

TEST_F(DibViewTest, SetPixelStoresTheLowByteOfAHighIndex)
{
    Bytes palette(4 * 300, 0);
    palette[4 * 260 + 2] = 50;
    const Handle dib = blockWith(makeHeader(4, 1, 8, 300), concat({palette, Bytes(4, 99)}));
    DibView view(dib);
    EXPECT_EQ(view.SetPixel(3, 0, 50), 1);
    EXPECT_EQ(bytesOf(dib).back(), 4);
}

TEST_F(DibViewTest, SetPixelWrites24Bits)
{
    const Handle dib = blockWith(makeHeader(2, 2, 24, 0), Bytes(16, 9));
    DibView view(dib);
    EXPECT_EQ(view.SetPixel(1, 1, 0xFF010203u), 1);
    const Bytes block = bytesOf(dib);
    EXPECT_EQ(Bytes(block.begin() + 40, block.end()),
              (Bytes{9, 9, 9, 9, 9, 9, 9, 9, 9, 9, 9, 1, 2, 3, 9, 9}));
    EXPECT_EQ(view.GetPixel(1, 1), 0x010203u);
}

TEST_F(DibViewTest, SetPixelRefuses24BitsWithColors)
{
    const Handle dib = blockWith(makeHeader(2, 2, 24, 1), Bytes(16, 9));
    const Bytes before = bytesOf(dib);
    DibView view(dib);
    EXPECT_EQ(view.SetPixel(0, 0, 0x010203), 0);
    EXPECT_EQ(bytesOf(dib), before);
    EXPECT_EQ(view.GetPixel(0, 0), 0x090909u) << "reading is not refused";
}

TEST_F(DibViewTest, Pixel24IsReadAndWrittenAsItLies)
{
    const Handle dib =
        blockWith(makeHeader(2, 2, 24, 0), {1, 2, 3, 4, 5, 6, 0, 0, 7, 8, 9, 10, 11, 12, 0, 0});
    DibView view(dib);
    EXPECT_EQ(view.GetPixel24(0, 0), 0x010203u);
    EXPECT_EQ(view.GetPixel24(1, 1), 0x0A0B0Cu);
    view.SetPixel24(1, 0, 0xAA, 0xBB, 0xCC);
    const Bytes block = bytesOf(dib);
    EXPECT_EQ(Bytes(block.begin() + 40, block.end()),
              (Bytes{1, 2, 3, 0xAA, 0xBB, 0xCC, 0, 0, 7, 8, 9, 10, 11, 12, 0, 0}));
    EXPECT_EQ(view.GetPixel24(1, 0), 0xAABBCCu);
}

TEST_F(DibViewTest, Pixel24LiesAt40WhateverTheHeaderSays)
{
    // 8 bits, a header of 44 bytes, a palette: the place is reckoned as in a plain 24-bit block all the same.
    DibHeader header = makeHeader(4, 3, 8, 2);
    header.biSize = 44;
    const Handle dib = blockWith(
        header, Bytes{0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15, 16, 17, 18, 19, 20, 21, 22, 23});
    DibView view(dib);
    EXPECT_EQ(view.rowBytes, 4u);
    EXPECT_EQ(view.GetPixel24(0, 0), 0x000102u);
    EXPECT_EQ(view.GetPixel24(1, 2), 0x0B0C0Du); // 4 * 2 + 3 * 1
    view.SetPixel24(0, 1, 91, 92, 93);
    EXPECT_EQ(bytesOf(dib).at(44), 91);
    EXPECT_EQ(bytesOf(dib).at(46), 93);
}

TEST_F(DibViewTest, PixelsOutsideTheImageButInTheBlockAreReached)
{
    // No bounds of the image: (3, 0) is the first padding byte, (0, -1) the palette's end.
    const Handle dib = blockWith(makeHeader(3, 2, 8, 256), concat({grayRamp(), {1, 2, 3, 4, 5, 6, 7, 8}}));
    DibView view(dib);
    EXPECT_EQ(view.GetPixel(3, 0), 0x040404u);
    EXPECT_EQ(view.GetPixel(4, 0), 0x050505u);
    EXPECT_EQ(view.GetPixel(-1, 1), 0x040404u);
    EXPECT_EQ(view.GetPixel(0, -1), 0xFFFFFFu);
    EXPECT_EQ(view.SetPixel(3, 1, 0x66), 1);
    EXPECT_EQ(bytesOf(dib).back(), 0x66);
}

TEST_F(DibViewTest, PixelsOutsideTheBlockAreNotThere)
{
    for (const int bits : {8, 24}) {
        const Handle dib = bits == 8 ? grayNoise(4, 2) : noiseImage(4, 2, 24, 0);
        const Bytes before = bytesOf(dib);
        DibView view(dib);
        const int rowsBefore = static_cast<int>((view.bits - view.header) / view.rowBytes) + 1;
        for (const auto &[x, y] : {std::pair{0, 2},
                                   {4, 1},
                                   {0, -rowsBefore},
                                   {INT_MAX, 0},
                                   {INT_MIN, 0},
                                   {0, INT_MAX},
                                   {0, INT_MIN},
                                   {INT_MAX, INT_MAX},
                                   {INT_MIN, INT_MIN}}) {
            EXPECT_EQ(view.GetPixel(x, y), 0u) << bits << ": " << x << ", " << y;
            EXPECT_EQ(view.SetPixel(x, y, 0x5A5A5A), 0) << bits << ": " << x << ", " << y;
        }
        for (const auto &[x, y] :
             {std::pair{0, INT_MAX}, {0, INT_MIN}, {INT_MAX, 0}, {INT_MIN, INT_MIN}, {0, 1000}, {0, -1000}}) {
            EXPECT_EQ(view.GetPixel24(x, y), 0u);
            view.SetPixel24(x, y, 1, 2, 3);
        }
        EXPECT_EQ(bytesOf(dib), before);
    }
}

TEST_F(DibViewTest, APixelHalfInTheBlockIsNotThere)
{
    const Handle dib = blockWith(makeHeader(2, 1, 24, 0), {1, 2, 3, 4, 5}); // one byte short
    const Bytes before = bytesOf(dib);
    DibView view(dib);
    EXPECT_EQ(view.GetPixel(0, 0), 0x010203u);
    EXPECT_EQ(view.GetPixel(1, 0), 0u);
    EXPECT_EQ(view.GetPixel24(1, 0), 0u);
    EXPECT_EQ(view.SetPixel(1, 0, 0), 0);
    view.SetPixel24(1, 0, 0, 0, 0);
    EXPECT_EQ(bytesOf(dib), before);
}

TEST_F(DibViewTest, AnEntryOutsideTheBlockIsNoColor)
{
    // Three entries and no room for another behind them and the rows.
    const Handle dib = blockWith(makeHeader(4, 1, 8, 3), concat({Bytes(12, 0), {0, 1, 255, 0}}));
    const DibView view(dib);
    EXPECT_EQ(view.GetPixel(2, 0), 0u) << "entry 255";
    const Handle shorter = blockWith(makeHeader(4, 1, 8, 1), {7, 8, 9, 0, 0, 1, 2, 0});
    const DibView shorterView(shorter);
    EXPECT_EQ(shorterView.GetPixel(0, 0), 0x070809u);
    EXPECT_EQ(shorterView.GetPixel(1, 0), 0x000102u) << "entry 1 is not used and yet in the block";
    EXPECT_EQ(shorterView.GetPixel(2, 0), 0u) << "entry 2 is not";
}

// Lying headers

TEST_F(DibViewTest, RowsBehindTheBlockAreNotThere)
{
    for (const int bits : {8, 24}) {
        DibHeader header = makeHeader(4, 2, bits, bits == 8 ? 1000 : 0);
        if (bits == 24)
            header.biSize = 1000;
        const Handle dib = blockWith(header, Bytes(60, 0x44));
        const Bytes before = bytesOf(dib);
        DibView view(dib);
        EXPECT_EQ(view.bits, nullptr);
        EXPECT_EQ(view.GetBits(), nullptr);
        EXPECT_EQ(view.rowBytes, bits == 8 ? 4u : 12u);
        for (const auto &[x, y] : {std::pair{0, 0}, {-1, 0}, {0, -1}, {-4, -4}, {INT_MIN, 0}}) {
            EXPECT_EQ(view.GetPixel(x, y), 0u);
            EXPECT_EQ(view.SetPixel(x, y, 0x444444), 0);
        }
        EXPECT_EQ(bytesOf(dib), before);
    }
}

TEST_F(DibViewTest, APaletteBehindTheBlockIsNotThere)
{
    DibHeader header = makeHeader(4, 2, 8, 256);
    header.biSize = UINT32_MAX;
    const Handle dib = blockWith(header, Bytes(2000, 0));
    const Bytes before = bytesOf(dib);
    DibView view(dib);
    EXPECT_EQ(view.palette, nullptr);
    EXPECT_EQ(view.isGray, 0);
    const Handle other = grayNoise(4, 2);
    DibView otherView(other);
    EXPECT_EQ(view.CopyPaletteFrom(&otherView), 1) << "nothing to copy to is no refusal";
    EXPECT_EQ(bytesOf(dib), before);
    const Bytes otherBefore = bytesOf(other);
    EXPECT_EQ(otherView.CopyPaletteFrom(&view), 1);
    EXPECT_EQ(bytesOf(other), otherBefore);
}

TEST_F(DibViewTest, NegativeSizesAreHandedOutAsTheyStand)
{
    DibHeader header = makeHeader(4, 2, 8, 0);
    header.biWidth = -3;
    header.biHeight = -7;
    const Handle dib = blockWith(header, Bytes(64, 1));
    DibView view(dib);
    EXPECT_EQ(view.GetWidth(), -3);
    EXPECT_EQ(view.GetHeight(), -7);
    view.GetTotalBytes();
    EXPECT_EQ(view.GetPixel(INT_MAX, INT_MAX), 0u);
    EXPECT_EQ(view.GetPixel(INT_MIN, INT_MIN), 0u);
}

TEST_F(DibViewTest, RandomHeadersStayInsideTheBlock)
{
    const Handle good = grayNoise(4, 4);
    const DibView goodView(good);
    for (uint32_t seed = 0; seed < 4000; ++seed) {
        Bytes block = noise(40 + seed % 1100, seed);
        block[0] = static_cast<uint8_t>(seed % 100);
        if (seed % 4 != 0)
            block[1] = block[2] = block[3] = 0;
        block[14] = seed % 3 == 0 ? 8 : seed % 3 == 1 ? 24 : block[14];
        block[15] = 0;
        if (seed % 5 != 0)
            block[5] = block[6] = block[7] = block[34] = block[35] = 0;
        const Handle dib = blockOf(block);
        const Handle guard = blockOf(Bytes(64, 0xEE));
        DibView view(dib);
        view.GetTotalBytes();
        for (const int at : {0, 3, -5, 200, INT_MAX, INT_MIN}) {
            view.GetPixel(at, 1);
            view.GetPixel(1, at);
            view.SetPixel(at, 0, seed);
            view.SetPixel(0, at, seed);
            view.GetPixel24(at, 1);
            view.SetPixel24(1, at, 1, 2, 3);
        }
        view.CopyPaletteFrom(&goodView);
        DibView guardView(guard);
        guardView.CopyPaletteFrom(&view);
        guardView.CopyAllFrom(&view);
        guardView.CopyHeaderFrom(&view);
        ASSERT_EQ(KelMemSize(dib), block.size());
        ASSERT_EQ(KelMemSize(guard), 64u);
    }
    EXPECT_EQ(bytesOf(good), bytesOf(grayNoise(4, 4)));
}

// Copies

TEST_F(DibViewTest, NothingIsCopiedFromNull)
{
    const Handle dib = grayNoise(3, 2);
    const Bytes before = bytesOf(dib);
    DibView view(dib);
    EXPECT_EQ(view.CopyHeaderFrom(nullptr), 0);
    EXPECT_EQ(view.CopyPaletteFrom(nullptr), 0);
    EXPECT_EQ(view.CopyAllFrom(nullptr), 0);
    EXPECT_EQ(bytesOf(dib), before);
}

TEST_F(DibViewTest, AResultIsSetUpInAZeroFilledBlock)
{
    const Handle source = noiseImage(5, 3, 8, 256);
    const Bytes sourceBytes = bytesOf(source);
    const DibView sourceView(source);
    ASSERT_EQ(sourceView.isGray, 0);
    const Handle result = zeroBlock(sourceView.GetTotalBytes());
    DibView view(result);
    EXPECT_EQ(view.rowBytes, 0u);
    EXPECT_EQ(view.palette, view.header);
    EXPECT_EQ(view.CopyHeaderFrom(&sourceView), 1);
    EXPECT_EQ(view.palette, view.header + 40);
    EXPECT_EQ(view.rowBytes, 8u);
    EXPECT_EQ(view.bitCount, 8u);
    EXPECT_EQ(view.bits, view.header + 1064);
    EXPECT_EQ(view.isGray, 1) << "the palette was all zero when it was looked at";
    EXPECT_EQ(view.CopyPaletteFrom(&sourceView), 1);
    EXPECT_EQ(view.isGray, 1) << "and it is not looked at again";
    Bytes expected = sourceBytes;
    std::fill(expected.begin() + 1064, expected.end(), 0);
    EXPECT_EQ(bytesOf(result), expected);
    EXPECT_EQ(bytesOf(source), sourceBytes);
}

TEST_F(DibViewTest, CopyHeaderKeepsWhatAViewFoundAtFirst)
{
    const Handle dib = grayNoise(6, 4);
    DibView view(dib);
    const Bytes before = bytesOf(dib);
    const Handle other = noiseImage(3, 2, 24, 0);
    const DibView otherView(other);
    EXPECT_EQ(view.CopyHeaderFrom(&otherView), 1);
    EXPECT_EQ(view.rowBytes, 8u);
    EXPECT_EQ(view.bitCount, 8u);
    EXPECT_EQ(view.isGray, 1);
    EXPECT_EQ(view.bits, view.header + 1064);
    EXPECT_EQ(view.GetBitCount(), 24);
    const Bytes after = bytesOf(dib);
    const Bytes otherBytes = bytesOf(other);
    EXPECT_TRUE(std::equal(after.begin(), after.begin() + 40, otherBytes.begin()));
    EXPECT_TRUE(std::equal(after.begin() + 40, after.end(), before.begin() + 40)) << "40 bytes only";
}

TEST_F(DibViewTest, CopyHeaderPointsThePaletteBehindTheNewHeader)
{
    DibHeader header = makeHeader(2, 2, 8, 2);
    header.biSize = 52;
    const Handle other = blockWith(header, Bytes(100, 0));
    const DibView otherView(other);
    const Handle dib = grayNoise(6, 4);
    DibView view(dib);
    view.CopyHeaderFrom(&otherView);
    EXPECT_EQ(view.palette, view.header + 52);
}

TEST_F(DibViewTest, CopyPaletteTakesTheOthersBytesToThisViewsPlace)
{
    DibHeader longer = makeHeader(2, 2, 8, 2);
    longer.biSize = 48;
    const Handle other =
        blockWith(longer, {0, 0, 0, 0, 0, 0, 0, 0, 1, 2, 3, 4, 5, 6, 7, 8, 90, 91, 92, 93, 94, 95, 96, 97});
    const DibView otherView(other);
    const Handle dib = blockWith(makeHeader(2, 2, 24, 0), Bytes(20, 50));
    DibView view(dib);
    EXPECT_EQ(view.CopyPaletteFrom(&otherView), 1);
    Bytes expected = makeBlock(makeHeader(2, 2, 24, 0), {}, Bytes(20, 50));
    const Bytes colors{1, 2, 3, 4, 5, 6, 7, 8};
    std::copy(colors.begin(), colors.end(), expected.begin() + 40);
    EXPECT_EQ(bytesOf(dib), expected);
    // Without a palette there is nothing to copy.
    const Handle plain = noiseImage(2, 2, 24, 0);
    const DibView plainView(plain);
    EXPECT_EQ(view.CopyPaletteFrom(&plainView), 1);
    EXPECT_EQ(bytesOf(dib), expected);
}

TEST_F(DibViewTest, CopyPaletteOfOneBitWithoutColorsTakes4Bytes)
{
    const Handle other = blockWith(makeHeader(8, 1, 1, 0), {1, 2, 3, 4, 5, 6, 7, 8});
    const DibView otherView(other);
    const Handle dib = blockWith(makeHeader(2, 1, 24, 0), Bytes(8, 50));
    DibView view(dib);
    view.CopyPaletteFrom(&otherView);
    EXPECT_EQ(bytesOf(dib), makeBlock(makeHeader(2, 1, 24, 0), {}, Bytes{1, 2, 3, 4, 50, 50, 50, 50}));
}

TEST_F(DibViewTest, CopyPaletteStopsAtEitherBlocksEnd)
{
    const Handle full = noiseImage(2, 1, 8, 256);
    const DibView fullView(full);
    const Bytes fullBytes = bytesOf(full);
    const Handle small = blockWith(makeHeader(2, 1, 8, 256), Bytes(10, 50));
    DibView smallView(small);
    EXPECT_EQ(smallView.CopyPaletteFrom(&fullView), 1);
    EXPECT_EQ(bytesOf(small),
              makeBlock(makeHeader(2, 1, 8, 256), {}, Bytes(fullBytes.begin() + 40, fullBytes.begin() + 50)));
    const Handle target = blockWith(makeHeader(2, 1, 8, 256), Bytes(1028, 60));
    DibView targetView(target);
    EXPECT_EQ(targetView.CopyPaletteFrom(&smallView), 1);
    const Bytes copied = bytesOf(target);
    EXPECT_TRUE(std::equal(fullBytes.begin() + 40, fullBytes.begin() + 50, copied.begin() + 40));
    EXPECT_EQ(Bytes(copied.begin() + 50, copied.end()), Bytes(1018, 60));
}

TEST_F(DibViewTest, CopyAllTakesTheWholeImage)
{
    for (const int bits : {1, 4, 8, 24}) {
        const Handle source = noiseImage(7, 5, bits, bits == 24 ? 0 : 1u << bits);
        const DibView sourceView(source);
        const Bytes sourceBytes = bytesOf(source);
        const Handle result = zeroBlock(sourceBytes.size() + 20);
        DibView view(result);
        EXPECT_EQ(view.CopyAllFrom(&sourceView), 1);
        Bytes expected = sourceBytes;
        expected.resize(expected.size() + 20);
        EXPECT_EQ(bytesOf(result), expected) << bits;
        EXPECT_EQ(view.palette, view.header + 40);
        EXPECT_EQ(view.rowBytes, sourceView.rowBytes);
        EXPECT_EQ(view.bitCount, sourceView.bitCount);
        EXPECT_EQ(view.bits - view.header, sourceView.bits - sourceView.header);
        EXPECT_EQ(view.isGray, 0);
    }
}

TEST_F(DibViewTest, CopyAllLooksAtTheCopiedPalette)
{
    const Handle source = grayNoise(7, 5);
    const DibView sourceView(source);
    const Handle result = zeroBlock(sourceView.GetTotalBytes());
    DibView view(result);
    view.CopyAllFrom(&sourceView);
    EXPECT_EQ(view.isGray, 1);
    EXPECT_EQ(view.GetPixel(3, 4), sourceView.GetPixel(3, 4));
    const Handle colored = noiseImage(7, 5, 8, 256);
    const DibView coloredView(colored);
    const Handle second = zeroBlock(coloredView.GetTotalBytes());
    DibView secondView(second);
    secondView.CopyAllFrom(&coloredView);
    EXPECT_EQ(secondView.isGray, 0);
    EXPECT_EQ(secondView.GetPixel(3, 4), coloredView.GetPixel(3, 4));
}

TEST_F(DibViewTest, CopyAllKeepsWhatAViewFoundAtFirst)
{
    DibHeader header = makeHeader(2, 2, 24, 0);
    header.biSize = 60;
    const Handle source = blockWith(header, Bytes(20 + 16, 1));
    const DibView sourceView(source);
    const Handle dib = grayNoise(6, 4);
    DibView view(dib);
    EXPECT_EQ(view.CopyAllFrom(&sourceView), 1);
    EXPECT_EQ(view.rowBytes, 8u);
    EXPECT_EQ(view.bitCount, 8u);
    EXPECT_EQ(view.isGray, 1);
    EXPECT_EQ(view.bits, view.header + 1064);
    EXPECT_EQ(view.palette, view.header + 60) << "the palette follows the header";
}

TEST_F(DibViewTest, CopyAllTakesTheTotalByTheHeaderNotTheBlock)
{
    const Bytes rows = noise(8, 1);
    const Handle source = blockOf(concat({makeBlock(makeHeader(2, 1, 24, 0), {}, rows), Bytes(30, 9)}));
    const DibView sourceView(source);
    const Handle result = zeroBlock(100);
    DibView view(result);
    view.CopyAllFrom(&sourceView);
    Bytes expected = makeBlock(makeHeader(2, 1, 24, 0), {}, rows);
    expected.resize(100);
    EXPECT_EQ(bytesOf(result), expected);
}

TEST_F(DibViewTest, CopyAllStopsAtEitherBlocksEnd)
{
    const Handle source = grayNoise(7, 5);
    const DibView sourceView(source);
    const Bytes sourceBytes = bytesOf(source);
    for (const std::size_t size : {40, 41, 500, 1070}) {
        const Handle small = zeroBlock(size);
        DibView view(small);
        EXPECT_EQ(view.CopyAllFrom(&sourceView), 1);
        EXPECT_EQ(bytesOf(small), Bytes(sourceBytes.begin(), sourceBytes.begin() + static_cast<long>(size)));
    }
    // A source that claims more rows than it has.
    const Handle lying = blockWith(makeHeader(100, 100, 24, 0), Bytes(10, 7));
    const DibView lyingView(lying);
    const Handle result = zeroBlock(1000);
    DibView view(result);
    EXPECT_EQ(view.CopyAllFrom(&lyingView), 1);
    Bytes expected = bytesOf(lying);
    expected.resize(1000);
    EXPECT_EQ(bytesOf(result), expected);
}

TEST_F(DibViewTest, AViewMayBeCopiedFromItself)
{
    const Handle dib = noiseImage(5, 4, 8, 256);
    const Bytes before = bytesOf(dib);
    DibView view(dib);
    DibView second(dib);
    EXPECT_EQ(view.CopyHeaderFrom(&view), 1);
    EXPECT_EQ(view.CopyPaletteFrom(&second), 1);
    EXPECT_EQ(view.CopyAllFrom(&second), 1);
    EXPECT_EQ(bytesOf(dib), before);
}

} // namespace velmont::testing
