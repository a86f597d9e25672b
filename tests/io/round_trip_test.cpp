// Pictures written and read again.
#include "tests/io/picture_view.h"
#include <gtest/gtest.h>

namespace velmont::io {

namespace {

using testing::noisePicture;
using testing::PictureView;
using testing::viewOf;

struct Kind {
    unsigned bits;
    unsigned colors;
};

constexpr Kind kKinds[] = {{1, 2}, {4, 16}, {8, 256}, {24, 0}};

TEST(RoundTrip, EveryDepthAndWidthKeepsEveryByte)
{
    for (const Format format : {Format::Bmp, Format::Png, Format::Tiff}) {
        for (const Kind &kind : kKinds) {
            for (int width = 1; width <= 35; ++width) {
                const Picture picture = noisePicture(width, 3, kind.bits, kind.colors, false);
                EXPECT_TRUE(viewOf(encode(picture, format)).block() == PictureView(picture).block())
                    << formatName(format) << " of " << kind.bits << " bits, " << width << " columns";
            }
        }
    }
}

TEST(RoundTrip, FewColorsStayFew)
{
    for (const Format format : {Format::Bmp, Format::Png, Format::Tiff}) {
        const Picture eight = testing::makePicture(3, 1, 8, {1, 2, 3}, {2, 0, 1, 0});
        EXPECT_EQ(viewOf(encode(eight, format)).block(), PictureView(eight).block());
        const Picture four = testing::makePicture(3, 1, 4, {1, 2, 3}, {0x20, 0x10, 0, 0});
        EXPECT_EQ(viewOf(encode(four, format)).block(), PictureView(four).block());
    }
}

TEST(RoundTrip, GrayStaysGray)
{
    testing::Bytes rows;
    for (unsigned i = 0; i < 64; ++i)
        rows.push_back(static_cast<uint8_t>(i * 3));
    const Picture picture = testing::makePicture(16, 4, 8, testing::grayRamp(), rows);
    for (const Format format : {Format::Bmp, Format::Png, Format::Tiff})
        EXPECT_EQ(viewOf(encode(picture, format)).block(), PictureView(picture).block());
    EXPECT_EQ(viewOf(encode(picture, Format::Jpeg)).palette(), testing::grayRamp());
}

TEST(RoundTrip, AlphaKeepsEveryByte)
{
    for (const Format format : {Format::Bmp, Format::Png, Format::Tiff}) {
        for (const Kind &kind : kKinds) {
            for (int width = 1; width <= 9; ++width) {
                const Picture picture = noisePicture(width, 3, kind.bits, kind.colors, true);
                const PictureView view = viewOf(encode(picture, format));
                EXPECT_EQ(view.colors(), PictureView(picture).colors()) << formatName(format);
                EXPECT_EQ(view.alpha(), PictureView(picture).alpha()) << formatName(format);
                EXPECT_EQ(view.header().biBitCount, 24);
            }
        }
    }
}

TEST(RoundTrip, GrayWithAlphaStaysGray)
{
    Picture picture = testing::makePicture(2, 1, 8, testing::grayRamp(), {9, 200, 0, 0});
    picture.alpha = {5, 6};
    const PictureView view = viewOf(encode(picture, Format::Png));
    EXPECT_EQ(view.block(), PictureView(picture).block());
    EXPECT_EQ(view.alpha(), PictureView(picture).alpha());
}

/// The resolution after a round trip.
void expectResolution(Format format, int32_t x, int32_t y, int32_t expectedX, int32_t expectedY)
{
    Picture picture = noisePicture(3, 3, 24, 0, false);
    auto *const header = static_cast<DibHeader *>(KelMemLock(picture.dib.get()));
    header->biXPelsPerMeter = x;
    header->biYPelsPerMeter = y;
    KelMemUnlock(picture.dib.get());
    const DibHeader first = viewOf(encode(picture, format)).header();
    EXPECT_EQ(first.biXPelsPerMeter, expectedX) << formatName(format);
    EXPECT_EQ(first.biYPelsPerMeter, expectedY) << formatName(format);
}

TEST(RoundTrip, Resolution)
{
    for (const Format format : {Format::Bmp, Format::Jpeg, Format::Png, Format::Tiff, Format::Webp}) {
        // 72, 96, 300, 600 and 1200 dots an inch; 118 and 2 dots a centimetre.
        for (const int32_t value : {2835, 3780, 11811, 23622, 47244, 11800, 200})
            expectResolution(format, value, value, value, value);
        expectResolution(format, 2835, 11811, 2835, 11811);
        expectResolution(format, 0, 0, 0, 0);
        expectResolution(format, -5, -5, 0, 0);
    }
}

TEST(RoundTrip, AResolutionThatJpegHasNoNumberFor)
{
    // 2834 pixels a metre are 71.98 an inch and 28.34 a centimetre.
    expectResolution(Format::Jpeg, 2834, 2834, 2835, 2835);
    expectResolution(Format::Jpeg, 2000000000, 2000000000, 0, 0);
    expectResolution(Format::Jpeg, 1, 1, 0, 0);
}

} // namespace

} // namespace velmont::io
