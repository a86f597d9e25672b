// What is written for each kind of picture, and what cannot be written.
#include "platform/memory.h"
#include "tests/io/picture_view.h"
#include <algorithm>
#include <cstring>
#include <gtest/gtest.h>

namespace velmont::io {

namespace {

using testing::Bytes;
using testing::errorOf;
using testing::Lines;
using testing::makePicture;
using testing::noisePicture;
using testing::PictureView;
using testing::viewOf;

constexpr Format kFormats[] = {Format::Bmp, Format::Jpeg, Format::Png, Format::Tiff, Format::Webp};

/// A picture whose header is changed by a function.
template <typename Change>
Picture changed(Picture picture, const Change &change)
{
    auto *const header = static_cast<DibHeader *>(KelMemLock(picture.dib.get()));
    change(*header);
    KelMemUnlock(picture.dib.get());
    return picture;
}

Picture redPixel()
{
    return makePicture(1, 1, 24, {}, {0, 0, 255, 0});
}

TEST(Encode, BmpIsTheDibBehindAFileHeader)
{
    const Bytes file = {'B', 'M', 66, 0, 0, 0, 0, 0, 0, 0, 62, 0, 0, 0};
    const Bytes size = {40, 0, 0, 0, 3, 0, 0, 0, 1, 0, 0, 0};
    const Bytes kind = {1, 0, 1, 0, 0, 0, 0, 0, 4, 0, 0, 0};
    const Bytes resolution = {19, 11, 0, 0, 19, 11, 0, 0};
    const Bytes colors = {2, 0, 0, 0, 2, 0, 0, 0, 3, 2, 1, 0, 6, 5, 4, 0};
    const Bytes row = {0xA0, 0, 0, 0};
    Bytes expected;
    for (const Bytes &piece : {file, size, kind, resolution, colors, row})
        expected.insert(expected.end(), piece.begin(), piece.end());
    EXPECT_EQ(encode(makePicture(3, 1, 1, {0x010203, 0x040506}, row), Format::Bmp), expected);
}

TEST(Encode, BmpWithAlpha)
{
    Picture picture = makePicture(1, 2, 8, {0x010203, 0x040506}, {0, 0, 0, 0, 1, 0, 0, 0});
    picture.alpha = {9, 8};
    const Bytes file = encode(picture, Format::Bmp);
    ASSERT_EQ(file.size(), 14u + 108 + 8);
    EXPECT_EQ(file[10], 122); // where the pixels start
    EXPECT_EQ(file[14], 108);
    EXPECT_EQ(file[28], 32);
    EXPECT_EQ(file[30], 3);
    EXPECT_EQ(Bytes(file.begin() + 54, file.begin() + 70),
              (Bytes{0, 0, 255, 0, 0, 255, 0, 0, 255, 0, 0, 0, 0, 0, 0, 255}));
    EXPECT_EQ(Bytes(file.begin() + 122, file.end()), (Bytes{3, 2, 1, 9, 6, 5, 4, 8}));
}

/// Depth and colour type in the header of a PNG file.
std::pair<int, int> pngKind(const Picture &picture)
{
    const Bytes file = encode(picture, Format::Png);
    return {file.at(24), file.at(25)};
}

TEST(Encode, PngAtTheDepthOfThePicture)
{
    using Kind = std::pair<int, int>;
    EXPECT_EQ(pngKind(noisePicture(3, 2, 1, 2, false)), Kind(1, 3));
    EXPECT_EQ(pngKind(makePicture(1, 1, 1, {0, 0xFFFFFF}, {0, 0, 0, 0})), Kind(1, 0));
    EXPECT_EQ(pngKind(noisePicture(3, 2, 4, 16, false)), Kind(4, 3));
    EXPECT_EQ(pngKind(noisePicture(3, 2, 8, 256, false)), Kind(8, 3));
    EXPECT_EQ(pngKind(makePicture(1, 1, 8, testing::grayRamp(), {0, 0, 0, 0})), Kind(8, 0));
    EXPECT_EQ(pngKind(noisePicture(3, 2, 24, 0, false)), Kind(8, 2));
    EXPECT_EQ(pngKind(noisePicture(3, 2, 24, 0, true)), Kind(8, 6));
    EXPECT_EQ(pngKind(noisePicture(3, 2, 8, 256, true)), Kind(8, 6));
    EXPECT_EQ(pngKind(noisePicture(3, 2, 1, 2, true)), Kind(8, 6));
    Picture gray = makePicture(1, 1, 8, testing::grayRamp(), {0, 0, 0, 0});
    gray.alpha = {1};
    EXPECT_EQ(pngKind(gray), Kind(8, 4));
}

/// Components and the first one's sampling in the frame header of a JPEG file.
std::pair<int, int> jpegKind(const Picture &picture, int quality)
{
    const Bytes file = encode(picture, Format::Jpeg, {quality});
    const Bytes mark = {0xFF, 0xC0};
    const auto frame = std::search(file.begin(), file.end(), mark.begin(), mark.end());
    return {frame[9], frame[11]};
}

TEST(Encode, JpegIsGrayOrColor)
{
    using Kind = std::pair<int, int>;
    EXPECT_EQ(jpegKind(makePicture(1, 1, 8, testing::grayRamp(), {0, 0, 0, 0}), 95), Kind(1, 0x11));
    EXPECT_EQ(jpegKind(makePicture(1, 1, 1, {0x777777, 0x222222}, {0, 0, 0, 0}), 50), Kind(1, 0x11));
    EXPECT_EQ(jpegKind(makePicture(1, 1, 4, {0x777777, 0x222223}, {0, 0, 0, 0}), 95), Kind(3, 0x11));
    EXPECT_EQ(jpegKind(redPixel(), 90), Kind(3, 0x11));
    EXPECT_EQ(jpegKind(redPixel(), 89), Kind(3, 0x22));
}

TEST(Encode, JpegShowsThePaletteAndNotTheIndices)
{
    Bytes rows;
    for (int y = 0; y < 16; ++y)
        rows.insert(rows.end(), {0x00, 0x00, 0xFF, 0xFF}); // 16 columns and padding
    const Picture picture = makePicture(16, 16, 1, {0x646464, 0x1E1E1E}, rows);
    const PictureView view = viewOf(encode(picture, Format::Jpeg, {100}));
    EXPECT_EQ(view.indices(), Lines(16, std::vector<unsigned>(16, 0x64)));
}

TEST(Encode, JpegQuality)
{
    EXPECT_EQ(errorOf([] { encode(redPixel(), Format::Jpeg, {0}); }),
              "JPEG: a quality of 0 is not in 1 to 100");
    EXPECT_EQ(errorOf([] { encode(redPixel(), Format::Jpeg, {101}); }),
              "JPEG: a quality of 101 is not in 1 to 100");
    const Picture noise = noisePicture(64, 64, 24, 0, false);
    EXPECT_LT(encode(noise, Format::Jpeg, {10}).size(), encode(noise, Format::Jpeg, {100}).size());
}

TEST(Encode, JpegOfAWidthThatItCannotHold)
{
    EXPECT_EQ(errorOf([] { encode(noisePicture(65501, 1, 1, 2, false), Format::Jpeg); }),
              "JPEG: an image of 65501x1 is too large, at most 65500 pixels each way can be written");
    EXPECT_EQ(viewOf(encode(noisePicture(65500, 1, 1, 2, false), Format::Jpeg)).header().biWidth, 65500);
}

TEST(Encode, JpegDropsTheAlpha)
{
    EXPECT_FALSE(keepsAlpha(Format::Jpeg));
    EXPECT_TRUE(keepsAlpha(Format::Png));
    EXPECT_TRUE(keepsAlpha(Format::Bmp));
    EXPECT_EQ(viewOf(encode(noisePicture(3, 3, 24, 0, true), Format::Jpeg)).alpha(), Lines{});
}

TEST(Encode, IndicesBehindThePaletteAreBlack)
{
    // Two colours, and pixels that name the colours 0, 1 and 200 (4 bits: 0, 1 and 12).
    const Picture eight = makePicture(3, 1, 8, {0x010203, 0x040506}, {0, 1, 200, 0});
    const Picture four = makePicture(3, 1, 4, {0x010203, 0x040506}, {0x01, 0xC0, 0, 0});
    const Lines colors = {{0x010203, 0x040506, 0}};
    for (const Format format : {Format::Bmp, Format::Png, Format::Tiff}) {
        EXPECT_EQ(viewOf(encode(eight, format)).colors(), colors);
        EXPECT_EQ(viewOf(encode(four, format)).colors(), colors);
        EXPECT_EQ(viewOf(encode(eight, format)).header().biClrUsed, 201u);
        EXPECT_EQ(viewOf(encode(four, format)).header().biClrUsed, 13u);
    }
    EXPECT_NO_THROW(encode(eight, Format::Jpeg));
}

TEST(Encode, WithoutAnyPaletteEverythingIsBlack)
{
    for (const unsigned bits : {1u, 4u, 8u}) {
        const Picture picture = makePicture(2, 1, bits, {}, {0xFF, 0xFF, 0, 0});
        for (const Format format : {Format::Bmp, Format::Png, Format::Tiff})
            EXPECT_EQ(viewOf(encode(picture, format)).colors(), (Lines{{0, 0}}));
        EXPECT_EQ(viewOf(encode(picture, Format::Jpeg)).colors(), (Lines{{0, 0}}));
    }
}

TEST(Encode, APaletteLongerThanItsDepth)
{
    const std::vector<unsigned> colors(300, 0x010203);
    const Picture picture = makePicture(2, 1, 8, colors, {255, 0, 0, 0});
    for (const Format format : {Format::Bmp, Format::Png, Format::Tiff})
        EXPECT_EQ(viewOf(encode(picture, format)).colors(), (Lines{{0x010203, 0x010203}}));
}

TEST(Encode, NoImage)
{
    for (const Format format : kFormats)
        EXPECT_EQ(errorOf([&] { encode(Picture{}, format); }), "there is no image to write");
}

TEST(Encode, HeadersThatDoNotFitTheirBlock)
{
    const std::string line = "the image's header does not fit its block of 44 bytes";
    const auto errorWith = [](const auto &change) {
        return errorOf([&] { encode(changed(redPixel(), change), Format::Png); });
    };
    EXPECT_EQ(errorWith([](DibHeader &header) { header.biHeight = 2; }), line);
    EXPECT_EQ(errorWith([](DibHeader &header) { header.biWidth = 2; }), line);
    EXPECT_EQ(errorWith([](DibHeader &header) { header.biWidth = INT32_MAX; }), line);
    EXPECT_EQ(errorWith([](DibHeader &header) { header.biWidth = header.biHeight = INT32_MAX; }), line);
    EXPECT_EQ(errorWith([](DibHeader &header) { header.biHeight = 0; }), line);
    EXPECT_EQ(errorWith([](DibHeader &header) { header.biHeight = -1; }), line);
    EXPECT_EQ(errorWith([](DibHeader &header) { header.biWidth = 0; }), line);
    EXPECT_EQ(errorWith([](DibHeader &header) { header.biSize = 39; }), line);
    EXPECT_EQ(errorWith([](DibHeader &header) { header.biSize = 45; }), line);
    const auto withColors = [](uint32_t colors) {
        return [colors](DibHeader &header) {
            header.biBitCount = 8;
            header.biClrUsed = colors;
        };
    };
    EXPECT_EQ(errorWith(withColors(1)), line);
    EXPECT_EQ(errorWith(withColors(UINT32_MAX)), line);
    EXPECT_EQ(errorWith(withColors(0)), "");
    const Picture tiny{DibHandle(KelMemAlloc(KEL_MEM_ZERO, 39)), {}};
    EXPECT_EQ(errorOf([&] { encode(tiny, Format::Bmp); }),
              "the image's header does not fit its block of 39 bytes");
}

TEST(Encode, DepthsThatCannotBeWritten)
{
    for (const uint16_t bits : {0, 2, 16, 32}) {
        const auto setBits = [&](DibHeader &header) { header.biBitCount = bits; };
        EXPECT_EQ(errorOf([&] { encode(changed(redPixel(), setBits), Format::Bmp); }),
                  "an image of " + std::to_string(bits) +
                      " bits a pixel cannot be written, only of 1, 4, 8 and 24");
    }
}

TEST(Encode, AlphaOfAnotherSize)
{
    Picture picture = redPixel();
    picture.alpha = {1, 2};
    EXPECT_EQ(errorOf([&] { encode(picture, Format::Png); }),
              "the alpha has 2 values, the image has 1 pixels");
}

TEST(Encode, ColorsUsedAtTwentyFourBitsMoveNothing)
{
    const Picture picture = changed(redPixel(), [](DibHeader &header) { header.biClrUsed = 7; });
    EXPECT_EQ(viewOf(encode(picture, Format::Bmp)).colors(), (Lines{{0xFF0000}}));
}

TEST(Memory, AnAllocationThatFails)
{
    for (const samples::Sample &sample : samples::sampleFiles()) {
        memory_hooks::failAllocation(1);
        const std::string line = errorOf(sample.file);
        memory_hooks::failAllocation(0);
        EXPECT_TRUE(line.starts_with("not enough memory for a ")) << sample.name << ": " << line;
    }
}

TEST(Memory, NoBlockAndNoLockIsLeftBehind)
{
    const memory_hooks::Counts before = memory_hooks::counts();
    for (const samples::Sample &sample : samples::sampleFiles()) {
        for (const std::size_t length : {sample.file.size(), sample.file.size() - 3}) {
            try {
                const Picture picture = decode(std::span(sample.file).first(length));
                for (const Format format : kFormats)
                    encode(picture, format);
                EXPECT_EQ(memory_hooks::locksOn(picture.dib.get()), 0) << sample.name;
            } catch (const Error &) {
                EXPECT_LT(length, sample.file.size()) << sample.name;
            }
        }
    }
    EXPECT_EQ(memory_hooks::counts().blocks, before.blocks);
    EXPECT_EQ(memory_hooks::counts().locks, before.locks);
}

} // namespace

} // namespace velmont::io
