// The conversions between pixel formats, against plain loops of the test's own.

#include "platform/memory.h"
#include "tests/effects/watching_host.h"
#include <algorithm>
#include <climits>
#include <gtest/gtest.h>
#include <velmont/geometry.h>

namespace velmont::testing {

namespace {

class FormatConversion : public ::testing::Test {
protected:
    NothingLost check_;
    Restore restore_;
};

/// A header of which every field is told apart from what a conversion writes.
DibHeader oddHeader(int width, int height, int bits, uint32_t colorsUsed)
{
    DibHeader header = makeHeader(width, height, bits, colorsUsed);
    header.biSizeImage = 99;
    header.biXPelsPerMeter = 3937;
    header.biYPelsPerMeter = -7;
    header.biClrImportant = 77;
    return header;
}

int grayOfColor(int blue, int green, int red)
{
    return (76 * red + 127) / 255 + (150 * green + 127) / 255 + (29 * blue + 127) / 255;
}

struct Color {
    uint8_t blue, green, red;
};

/// The colour of a pixel of a source row, black without a palette entry.
Color colorAt(const DibHeader &header, const Bytes &palette, const uint8_t *row, int x)
{
    if (header.biBitCount == 24)
        return {row[3 * x], row[3 * x + 1], row[3 * x + 2]};
    const int index = header.biBitCount == 8   ? row[x]
                      : header.biBitCount == 4 ? nibbleAt(row, x)
                                               : bitAt(row, x);
    if (static_cast<uint32_t>(index) >= header.biClrUsed)
        return {0, 0, 0};
    const uint8_t *const entry = palette.data() + 4 * index;
    return {entry[0], entry[1], entry[2]};
}

/// The rows of a result: `write(row, source row, x)` for each pixel of zero-filled rows.
template <typename Write>
Bytes convertedRows(const DibHeader &header, const Bytes &rows, int bits, Write write)
{
    const std::size_t from = strideFor(header.biWidth, header.biBitCount),
                      to = strideFor(header.biWidth, bits);
    Bytes pixels(to * static_cast<std::size_t>(header.biHeight), 0);
    for (std::size_t y = 0; y < static_cast<std::size_t>(header.biHeight); ++y)
        for (int x = 0; x < header.biWidth; ++x)
            write(pixels.data() + to * y, rows.data() + from * y, x);
    return pixels;
}

Bytes grayBlock(const DibHeader &header, const Bytes &palette, const Bytes &rows)
{
    const Bytes pixels = convertedRows(header, rows, 8, [&](uint8_t *to, const uint8_t *from, int x) {
        const Color color = colorAt(header, palette, from, x);
        to[x] = static_cast<uint8_t>(grayOfColor(color.blue, color.green, color.red));
    });
    DibHeader expected = header;
    expected.biBitCount = 8;
    expected.biClrUsed = 256;
    expected.biSizeImage = static_cast<uint32_t>(pixels.size());
    return makeBlock(expected, grayRamp(), pixels);
}

Bytes trueColorBlock(const DibHeader &header, const Bytes &palette, const Bytes &rows)
{
    const Bytes pixels = convertedRows(header, rows, 24, [&](uint8_t *to, const uint8_t *from, int x) {
        const Color color = colorAt(header, palette, from, x);
        to[3 * x] = color.blue;
        to[3 * x + 1] = color.green;
        to[3 * x + 2] = color.red;
    });
    DibHeader expected = header;
    expected.biBitCount = 24;
    expected.biClrUsed = 0;
    expected.biSizeImage = static_cast<uint32_t>(pixels.size());
    return makeBlock(expected, {}, pixels);
}

Bytes bitBlock(const DibHeader &header, const Bytes &rows, int threshold)
{
    const Bytes pixels = convertedRows(header, rows, 1, [&](uint8_t *to, const uint8_t *from, int x) {
        if (from[x] > threshold)
            to[x / 8] |= static_cast<uint8_t>(1 << (7 - x % 8));
    });
    DibHeader expected = header;
    expected.biBitCount = 1;
    expected.biClrUsed = 2;
    expected.biSizeImage = static_cast<uint32_t>(pixels.size() + 48);
    return makeBlock(expected, Bytes{0, 0, 0, 0, 255, 255, 255, 255}, pixels);
}

/// The rows of a gray or 24-bit result.
Bytes rowsOf(void *handle, std::size_t offset)
{
    const Bytes bytes = bytesOf(handle);
    return bytes.size() > offset ? Bytes(bytes.begin() + static_cast<std::ptrdiff_t>(offset), bytes.end())
                                 : Bytes{};
}

/// An image and the pieces that it was made of.
struct Source {
    DibHeader header;
    Bytes palette, rows;
    Handle handle;

    Source(const DibHeader &itsHeader, const Bytes &itsPalette, const Bytes &itsRows)
        : header(itsHeader), palette(itsPalette), rows(itsRows),
          handle(blockOf(makeBlock(header, palette, rows)))
    {
    }
};

Source noiseSource(int width, int height, int bits, uint32_t colorsUsed, uint32_t seed)
{
    const DibHeader header = oddHeader(width, height, bits, colorsUsed);
    const std::size_t bytes = strideFor(width, bits) * static_cast<std::size_t>(height);
    return {header, noise(std::size_t{4} * colorsUsed, seed + 1), noise(bytes, seed)};
}

// --- to gray ---

TEST_F(FormatConversion, GraysOfKnownColors)
{
    // blue, green, red: white, red, green, blue, black, (1, 1, 1), (2, 3, 4), and two bytes of padding.
    const Bytes rows{255, 255, 255, 0, 0, 255, 0, 255, 0, 255, 0, 0, 0, 0, 0, 1, 1, 1, 2, 3, 4, 9, 9, 9};
    const Handle source = blockOf(makeBlock(makeHeader(7, 1, 24, 0), {}, rows));
    // (1, 1, 1): 203 / 255, 277 / 255 and 156 / 255 give 0 + 1 + 0; (2, 3, 4): 431 / 255, 577 / 255 and
    // 185 / 255 give 1 + 2 + 0.
    EXPECT_EQ(rowsOf(Handle(ProcessConvertToGrayScale(source)), 1064), (Bytes{255, 76, 150, 29, 0, 1, 3, 0}));
}

TEST_F(FormatConversion, GrayOfBlackAndWhite)
{
    const Bytes palette{0, 0, 0, 0, 255, 255, 255, 0};
    const Handle source = blockOf(makeBlock(makeHeader(10, 1, 1, 2), palette, Bytes{0xA5, 0x7F, 0xFF, 0xFF}));
    EXPECT_EQ(rowsOf(Handle(ProcessConvertToGrayScale(source)), 1064),
              (Bytes{255, 0, 255, 0, 0, 255, 0, 255, 0, 255, 0, 0}));
}

TEST_F(FormatConversion, GrayOfOddWidthsAtFourBitsStaysAligned)
{
    // Entry i is the gray 255 for i = 1, 76 for i = 2, 29 for i = 3; the spare nibbles would be white.
    const Bytes palette{0, 0, 0, 0, 255, 255, 255, 0, 0, 0, 255, 0, 255, 0, 0, 0};
    const Bytes rows{0x12, 0x31, 0, 0, 0x30, 0x21, 0, 0};
    const Handle source = blockOf(makeBlock(makeHeader(3, 2, 4, 4), palette, rows));
    EXPECT_EQ(rowsOf(Handle(ProcessConvertToGrayScale(source)), 1064), (Bytes{255, 76, 29, 0, 29, 0, 76, 0}));
}

TEST_F(FormatConversion, GrayImagesAreConvertedLikeAnyOther)
{
    // Through three rounded shares a level need not come back as itself: 5 gives 1 + 3 + 1 = 5, but 2 gives
    // 1 + 1 + 0, 3 gives 1 + 2 + 0, 10 gives 3 + 6 + 1, 7 gives 2 + 4 + 1, 12 gives 4 + 7 + 1, 9 gives
    // 3 + 5 + 1, 128 gives 38 + 75 + 15, 13 gives 4 + 8 + 1, 6 gives 2 + 4 + 1 = 7.
    const Bytes rows{5, 2, 3, 10, 7, 12, 9, 128, 13, 6, 255, 0};
    const Handle source = blockOf(makeBlock(makeHeader(12, 1, 8, 256), grayRamp(), rows));
    const Handle result(ProcessConvertToGrayScale(source));
    ASSERT_NE(result, nullptr);
    EXPECT_NE(static_cast<void *>(result), static_cast<void *>(source));
    EXPECT_EQ(rowsOf(result, 1064), (Bytes{5, 2, 3, 10, 7, 12, 9, 128, 13, 7, 255, 0}));
}

TEST_F(FormatConversion, GrayOfIndicesWithoutAnEntryIsBlack)
{
    const Bytes rows{0, 1, 2, 3, 254, 255, 1, 0};
    const Bytes white(8, 255);
    const Handle two = blockOf(makeBlock(makeHeader(8, 1, 8, 2), white, rows));
    EXPECT_EQ(rowsOf(Handle(ProcessConvertToGrayScale(two)), 1064), (Bytes{255, 255, 0, 0, 0, 0, 255, 255}));
    for (const int bits : {1, 4, 8}) {
        const Handle none = blockOf(makeBlock(makeHeader(6, 1, bits, 0), {}, rows));
        EXPECT_EQ(rowsOf(Handle(ProcessConvertToGrayScale(none)), 1064), Bytes(8, 0)) << bits;
    }
}

TEST_F(FormatConversion, GrayOfMoreThan256EntriesReadsTheRowsBehindAllOfThem)
{
    Bytes palette(4 * 300, 0);
    std::fill(palette.begin() + 4 * 255, palette.begin() + 4 * 256, uint8_t{255});
    const Handle source = blockOf(makeBlock(makeHeader(4, 1, 8, 300), palette, Bytes{255, 0, 255, 1}));
    EXPECT_EQ(rowsOf(Handle(ProcessConvertToGrayScale(source)), 1064), (Bytes{255, 0, 255, 0}));
}

TEST_F(FormatConversion, GrayOfOneBitNeedsItsOwnCountOfEntries)
{
    // One entry: set bits have none. Three entries: the rows start behind the third.
    const Handle one = blockOf(makeBlock(makeHeader(4, 1, 1, 1), Bytes(4, 255), Bytes{0x50, 0, 0, 0}));
    EXPECT_EQ(rowsOf(Handle(ProcessConvertToGrayScale(one)), 1064), (Bytes{255, 0, 255, 0}));
    const Bytes palette{0, 0, 0, 0, 0, 0, 255, 0, 255, 255, 255, 255};
    const Handle three = blockOf(makeBlock(makeHeader(4, 1, 1, 3), palette, Bytes{0x50, 0, 0, 0}));
    EXPECT_EQ(rowsOf(Handle(ProcessConvertToGrayScale(three)), 1064), (Bytes{0, 76, 0, 76}));
}

// --- to 24 bits ---

TEST_F(FormatConversion, ColorsThroughThePalette)
{
    const Bytes palette{1, 2, 3, 99, 4, 5, 6, 99, 7, 8, 9, 99};
    const Handle source =
        blockOf(makeBlock(makeHeader(5, 1, 8, 3), palette, Bytes{2, 0, 3, 1, 255, 1, 1, 1}));
    EXPECT_EQ(rowsOf(Handle(ProcessConvertTo24BitColor(source)), 40),
              (Bytes{7, 8, 9, 1, 2, 3, 0, 0, 0, 4, 5, 6, 0, 0, 0, 0}));
}

TEST_F(FormatConversion, ColorsOfOddWidthsAtFourBitsStayAligned)
{
    const Bytes palette{1, 2, 3, 99, 4, 5, 6, 99};
    const Bytes rows{0x10, 0x01, 0x11, 0x11, 0x01, 0x10, 0x11, 0x11};
    const Handle source = blockOf(makeBlock(makeHeader(3, 2, 4, 2), palette, rows));
    EXPECT_EQ(rowsOf(Handle(ProcessConvertTo24BitColor(source)), 40),
              (Bytes{4, 5, 6, 1, 2, 3, 1, 2, 3, 0, 0, 0, 1, 2, 3, 4, 5, 6, 4, 5, 6, 0, 0, 0}));
}

TEST_F(FormatConversion, ColorsWithoutAnEntryAreBlack)
{
    for (const int bits : {1, 4, 8}) {
        const Handle none = blockOf(makeBlock(makeHeader(4, 1, bits, 0), {}, Bytes{0xFF, 0xFF, 0xFF, 0xFF}));
        EXPECT_EQ(rowsOf(Handle(ProcessConvertTo24BitColor(none)), 40), Bytes(12, 0)) << bits;
    }
}

TEST_F(FormatConversion, ColorsOfMoreThan256EntriesReadTheRowsBehindAllOfThem)
{
    Bytes palette(4 * 300, 0);
    palette[4 * 255] = 11;
    palette[4 * 255 + 2] = 33;
    const Handle source = blockOf(makeBlock(makeHeader(2, 1, 8, 300), palette, Bytes{255, 0, 255, 255}));
    EXPECT_EQ(rowsOf(Handle(ProcessConvertTo24BitColor(source)), 40), (Bytes{11, 0, 33, 0, 0, 0, 0, 0}));
}

TEST_F(FormatConversion, TrueColorIsNotConvertedToItself)
{
    const Handle source = noiseImage(4, 4, 24, 0);
    RecordingHost host;
    EXPECT_EQ(ProcessConvertTo24BitColor(source), nullptr);
    EXPECT_EQ(host.events, Events{});
    EXPECT_EQ(memory_hooks::locksOn(source), 0);
}

// --- to 1 bit ---

TEST_F(FormatConversion, BitsAboveTheThreshold)
{
    const Bytes rows{0, 127, 128, 255, 126, 129, 127, 200, 128, 0, 255, 255};
    const Handle source = blockOf(makeBlock(makeHeader(10, 1, 8, 256), grayRamp(), rows));
    // 0011 0101, 10 and nothing of the padding
    EXPECT_EQ(rowsOf(Handle(ProcessConvertFrom8To1(source, 127)), 48), (Bytes{0x35, 0x80, 0, 0}));
}

TEST_F(FormatConversion, BitsAtTheEndsOfTheThreshold)
{
    const Bytes rows{0, 1, 254, 255, 255, 255, 255, 255};
    const Handle source = blockOf(makeBlock(makeHeader(5, 1, 8, 256), grayRamp(), rows));
    const auto firstByte = [&](int threshold) {
        return rowsOf(Handle(ProcessConvertFrom8To1(source, threshold)), 48).at(0);
    };
    EXPECT_EQ(firstByte(INT_MIN), 0xF8);
    EXPECT_EQ(firstByte(-257), 0xF8);
    EXPECT_EQ(firstByte(-1), 0xF8);
    EXPECT_EQ(firstByte(0), 0x78);
    EXPECT_EQ(firstByte(1), 0x38);
    EXPECT_EQ(firstByte(253), 0x38);
    EXPECT_EQ(firstByte(254), 0x18);
    EXPECT_EQ(firstByte(255), 0x00);
    EXPECT_EQ(firstByte(256), 0x00) << "the threshold is no byte";
    EXPECT_EQ(firstByte(256 + 127), 0x00);
    EXPECT_EQ(firstByte(INT_MAX), 0x00);
}

TEST_F(FormatConversion, BitsCompareTheStoredByteAndNotItsColor)
{
    const Bytes white(4 * 256, 255);
    const Handle source = blockOf(makeBlock(makeHeader(3, 1, 8, 256), white, Bytes{100, 101, 102, 0}));
    EXPECT_EQ(rowsOf(Handle(ProcessConvertFrom8To1(source, 101)), 48), (Bytes{0x20, 0, 0, 0}));
    const Handle none = blockOf(makeBlock(makeHeader(3, 1, 8, 0), {}, Bytes{100, 101, 102, 0}));
    EXPECT_EQ(rowsOf(Handle(ProcessConvertFrom8To1(none, 100)), 48), (Bytes{0x60, 0, 0, 0}));
}

TEST_F(FormatConversion, BitsAtEveryThresholdAndLevel)
{
    Bytes all;
    for (int value = 0; value < 256; ++value)
        all.push_back(static_cast<uint8_t>(value));
    const Source source(oddHeader(256, 1, 8, 0), {}, all);
    for (const CpuLevel level : cpuLevels()) {
        limitCpuLevel(level);
        for (int threshold = -2; threshold <= 257; ++threshold)
            ASSERT_EQ(bytesOf(Handle(ProcessConvertFrom8To1(source.handle, threshold))),
                      bitBlock(source.header, source.rows, threshold))
                << threshold << ", level " << static_cast<int>(level);
    }
}

TEST_F(FormatConversion, BitsTellTheHostNothing)
{
    const Source source = noiseSource(5, 40, 8, 3, 1);
    RecordingHost host;
    host.abortFromPoll(1);
    EXPECT_EQ(bytesOf(Handle(ProcessConvertFrom8To1(source.handle, 9))),
              bitBlock(source.header, source.rows, 9));
    memory_hooks::failAllocation(1);
    EXPECT_EQ(ProcessConvertFrom8To1(source.handle, 9), nullptr);
    EXPECT_EQ(host.events, Events{});
}

TEST_F(FormatConversion, BitsRefuseOtherDepths)
{
    RecordingHost host;
    const long allocations = memory_hooks::counts().allocations;
    EXPECT_EQ(ProcessConvertFrom8To1(nullptr, 9), nullptr);
    EXPECT_EQ(memory_hooks::counts().allocations, allocations);
    for (const int bits : {0, 1, 4, 7, 9, 16, 24, 32}) {
        const Handle source = noiseImage(4, 3, bits, bits < 9 ? 4 : 0);
        EXPECT_EQ(ProcessConvertFrom8To1(source, 9), nullptr) << bits;
        EXPECT_EQ(memory_hooks::locksOn(source), 0) << bits;
    }
    EXPECT_EQ(host.events, Events{});
}

TEST_F(FormatConversion, BitsWithoutABlockOrALock)
{
    const Handle source = grayNoise(4, 3);
    memory_hooks::failAllocation(1);
    EXPECT_EQ(ProcessConvertFrom8To1(source, 9), nullptr);
    memory_hooks::failLock(1);
    EXPECT_EQ(ProcessConvertFrom8To1(source, 9), nullptr);
    memory_hooks::failLock(2);
    EXPECT_EQ(ProcessConvertFrom8To1(source, 9), nullptr);
    EXPECT_EQ(memory_hooks::locksOn(source), 0);
}

// --- all of them ---

TEST_F(FormatConversion, HeadersKeepWhatIsNotNamed)
{
    const Source paletted = noiseSource(5, 3, 8, 10, 4);
    const DibHeader gray = headerOf(Handle(ProcessConvertToGrayScale(paletted.handle)));
    EXPECT_EQ(gray.biSize, 40u);
    EXPECT_EQ(gray.biWidth, 5);
    EXPECT_EQ(gray.biHeight, 3);
    EXPECT_EQ(gray.biPlanes, 1);
    EXPECT_EQ(gray.biBitCount, 8);
    EXPECT_EQ(gray.biCompression, 0u);
    EXPECT_EQ(gray.biSizeImage, 24u);
    EXPECT_EQ(gray.biXPelsPerMeter, 3937);
    EXPECT_EQ(gray.biYPelsPerMeter, -7);
    EXPECT_EQ(gray.biClrUsed, 256u);
    EXPECT_EQ(gray.biClrImportant, 77u);

    const DibHeader color = headerOf(Handle(ProcessConvertTo24BitColor(paletted.handle)));
    EXPECT_EQ(color.biBitCount, 24);
    EXPECT_EQ(color.biSizeImage, 48u);
    EXPECT_EQ(color.biClrUsed, 0u);
    EXPECT_EQ(color.biClrImportant, 77u);
    EXPECT_EQ(color.biYPelsPerMeter, -7);

    const DibHeader bits = headerOf(Handle(ProcessConvertFrom8To1(paletted.handle, 0)));
    EXPECT_EQ(bits.biBitCount, 1);
    EXPECT_EQ(bits.biSizeImage, 60u) << "the whole block, not its 12 bytes of rows";
    EXPECT_EQ(bits.biClrUsed, 2u);
    EXPECT_EQ(bits.biClrImportant, 77u);
    EXPECT_EQ(bits.biYPelsPerMeter, -7);
}

TEST_F(FormatConversion, FieldsThatMeanNothingAreCarriedOver)
{
    DibHeader header = oddHeader(3, 1, 8, 2);
    header.biSize = 48;
    header.biPlanes = 5;
    header.biCompression = 6;
    const Source source(header, Bytes(8, 255), {0, 1, 2, 3});
    EXPECT_EQ(bytesOf(Handle(ProcessConvertToGrayScale(source.handle))),
              grayBlock(header, source.palette, source.rows));
    EXPECT_EQ(bytesOf(Handle(ProcessConvertTo24BitColor(source.handle))),
              trueColorBlock(header, source.palette, source.rows));
    EXPECT_EQ(bytesOf(Handle(ProcessConvertFrom8To1(source.handle, 1))), bitBlock(header, source.rows, 1));
}

TEST_F(FormatConversion, WidthsDepthsAndLevels)
{
    struct Format {
        int bits;
        uint32_t colorsUsed;
    };
    for (const CpuLevel level : cpuLevels()) {
        limitCpuLevel(level);
        for (int width = 1; width <= 67; ++width)
            for (const auto &[bits, colorsUsed] : {Format{1, 0},
                                                   {1, 1},
                                                   {1, 2},
                                                   {1, 5},
                                                   {4, 0},
                                                   {4, 10},
                                                   {4, 16},
                                                   {4, 20},
                                                   {8, 0},
                                                   {8, 100},
                                                   {8, 256},
                                                   {8, 300},
                                                   {24, 0},
                                                   {24, 9}}) {
                const DibHeader header = oddHeader(width, 3, bits, colorsUsed);
                const auto seed = static_cast<uint32_t>(width);
                // At 24 bits the rows come right behind the header whatever the count says.
                const Bytes palette = bits == 24 ? Bytes{} : noise(std::size_t{4} * colorsUsed, seed + 1);
                const Source source(header, palette, noise(strideFor(width, bits) * 3, seed));
                ASSERT_EQ(bytesOf(Handle(ProcessConvertToGrayScale(source.handle))),
                          grayBlock(header, palette, source.rows))
                    << width << " pixels of " << bits << " bits, " << colorsUsed << " colours, level "
                    << static_cast<int>(level);
                if (bits == 24)
                    continue;
                ASSERT_EQ(bytesOf(Handle(ProcessConvertTo24BitColor(source.handle))),
                          trueColorBlock(header, palette, source.rows))
                    << width << " pixels of " << bits << " bits, " << colorsUsed << " colours, level "
                    << static_cast<int>(level);
                if (bits == 8) {
                    ASSERT_EQ(bytesOf(Handle(ProcessConvertFrom8To1(source.handle, 100))),
                              bitBlock(header, source.rows, 100))
                        << width << ", level " << static_cast<int>(level);
                }
                ASSERT_EQ(bytesOf(source.handle), makeBlock(header, palette, source.rows));
            }
        // The gray ramp takes a way of its own to 24 bits.
        for (int width = 1; width <= 67; ++width) {
            const Source gray(oddHeader(width, 3, 8, 256), grayRamp(), noise(strideFor(width, 8) * 3, 5));
            ASSERT_EQ(bytesOf(Handle(ProcessConvertTo24BitColor(gray.handle))),
                      trueColorBlock(gray.header, gray.palette, gray.rows))
                << width << ", level " << static_cast<int>(level);
        }
    }
}

TEST_F(FormatConversion, RowsLongerThanAnyInnerRun)
{
    for (const int width : {4095, 4096, 4097, 8192, 8199, 20001})
        for (const int bits : {1, 4}) {
            const Source source = noiseSource(width, 2, bits, 1u << bits, static_cast<uint32_t>(width));
            EXPECT_TRUE(bytesOf(Handle(ProcessConvertToGrayScale(source.handle))) ==
                        grayBlock(source.header, source.palette, source.rows))
                << width << ", " << bits;
            EXPECT_TRUE(bytesOf(Handle(ProcessConvertTo24BitColor(source.handle))) ==
                        trueColorBlock(source.header, source.palette, source.rows))
                << width << ", " << bits;
        }
}

TEST_F(FormatConversion, LargeImages)
{
    const Source source = noiseSource(3001, 3000, 8, 200, 3);
    const Handle first(ProcessConvertFrom8To1(source.handle, 100));
    EXPECT_GT(KelMemSize(first), 1u << 20);
    EXPECT_TRUE(bytesOf(first) == bitBlock(source.header, source.rows, 100));
    EXPECT_TRUE(bytesOf(Handle(ProcessConvertToGrayScale(source.handle))) ==
                grayBlock(source.header, source.palette, source.rows));
}

using Conversion = void *(*)(void *);
constexpr Conversion kFramed[] = {ProcessConvertToGrayScale, ProcessConvertTo24BitColor};

TEST_F(FormatConversion, EventsAndBlocks)
{
    for (const Conversion convert : kFramed) {
        const Handle source = noiseImage(3, 17, 8, 4);
        WatchingHost host(source);
        EXPECT_NE(Handle(convert(source)), nullptr);
        Events expected{"wait", "poll", "poll", "0%"};
        expected.insert(expected.end(), 15, "poll");
        expected.insert(expected.end(), {"poll", "94%", "100%", "arrow"});
        EXPECT_EQ(host.events(), expected);
        EXPECT_EQ(host.sights.front(), (Sight{"wait", 1, 0, 1}));
        EXPECT_EQ(host.sights.back(), (Sight{"arrow", 0, 1, 0}));
        EXPECT_EQ(memory_hooks::counts().lastFlags, 66u);
    }
}

TEST_F(FormatConversion, AbortHasStillReportedAll)
{
    for (const Conversion convert : kFramed) {
        const Handle source = noiseImage(3, 3, 8, 4);
        for (int poll = 2; poll <= 4; ++poll) {
            WatchingHost host(source, poll);
            EXPECT_EQ(convert(source), nullptr) << poll;
            const std::vector<Sight> lastTwo(host.sights.end() - 2, host.sights.end());
            EXPECT_EQ(lastTwo, (std::vector<Sight>{{"100%", 0, 0, 0}, {"arrow", 0, 0, 0}})) << poll;
        }
        WatchingHost host(source, 1);
        EXPECT_NE(Handle(convert(source)), nullptr) << "the first answer is dropped";
    }
}

TEST_F(FormatConversion, RefusedDepthsTouchNoCursor)
{
    RecordingHost host;
    for (const Conversion convert : kFramed) {
        EXPECT_EQ(convert(nullptr), nullptr);
        for (const int bits : {0, 2, 5, 16, 32}) {
            const Handle source = noiseImage(4, 3, bits, 4);
            EXPECT_EQ(convert(source), nullptr) << bits;
            EXPECT_EQ(memory_hooks::locksOn(source), 0) << bits;
        }
    }
    EXPECT_EQ(host.events, Events{});
}

TEST_F(FormatConversion, FailedAllocationShowsTheArrow)
{
    for (const Conversion convert : kFramed) {
        const Handle source = noiseImage(3, 3, 8, 4);
        WatchingHost host(source);
        memory_hooks::failAllocation(1);
        EXPECT_EQ(convert(source), nullptr);
        EXPECT_EQ(host.events(), (Events{"wait", "arrow"}));
        EXPECT_EQ(memory_hooks::locksOn(source), 0);
    }
}

} // namespace

} // namespace velmont::testing
