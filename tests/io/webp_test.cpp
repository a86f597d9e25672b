// WebP files of every kind.
#include "tests/io/picture_view.h"
#include <cstdlib>
#include <gtest/gtest.h>

namespace velmont::io {

namespace {

using samples::webpFile;
using samples::webpImage;
using testing::Bytes;
using testing::errorOf;
using testing::Lines;
using testing::noisePicture;
using testing::PictureView;
using testing::viewOf;

TEST(Webp, WithoutLoss)
{
    const PictureView view =
        viewOf(webpFile(webpImage(2, 2, {3, 2, 1, 255, 6, 5, 4, 255, 9, 8, 7, 255, 12, 11, 10, 255}, true)));
    EXPECT_EQ(view.header().biBitCount, 24);
    EXPECT_EQ(view.colors(), (Lines{{0x010203, 0x040506}, {0x070809, 0x0A0B0C}}));
    EXPECT_TRUE(view.alpha().empty());
}

TEST(Webp, Alpha)
{
    const PictureView view =
        viewOf(webpFile(webpImage(2, 2, {3, 2, 1, 9, 6, 5, 4, 255, 9, 8, 7, 1, 12, 11, 10, 77}, true)));
    EXPECT_EQ(view.colors(), (Lines{{0x010203, 0x040506}, {0x070809, 0x0A0B0C}}));
    EXPECT_EQ(view.alpha(), (Lines{{9, 255}, {1, 77}}));
}

TEST(Webp, WithLoss)
{
    Bytes pixels;
    for (int i = 0; i < 16 * 16; ++i)
        pixels.insert(pixels.end(), {50, 100, 200, 255});
    for (const std::vector<unsigned> &line : viewOf(webpFile(webpImage(16, 16, pixels, false))).colors())
        for (const unsigned pixel : line)
            for (const unsigned shift : {0u, 8u, 16u})
                EXPECT_LE(std::abs(static_cast<int>(pixel >> shift & 255) -
                                   static_cast<int>(0xC86432 >> shift & 255)),
                          4);
}

TEST(Webp, TheFirstImageOfAnAnimation)
{
    const Bytes pixels = {3, 2, 1, 255, 6, 5, 4, 128};
    const Bytes file = samples::webpAnimation(5, 6, 2, 1, pixels);
    const PictureView view = viewOf(file);
    EXPECT_EQ(view.header().biWidth, 5);
    EXPECT_EQ(view.header().biHeight, 6);
    Lines colors(6, std::vector<unsigned>(5)), alpha(6, std::vector<unsigned>(5));
    colors[4][2] = 0x010203, colors[4][3] = 0x040506;
    alpha[4][2] = 255, alpha[4][3] = 128;
    EXPECT_EQ(view.colors(), colors);
    EXPECT_EQ(view.alpha(), alpha);
    EXPECT_EQ(decode(file).notices, std::vector<std::string>{"2 frames: only the first is read"});
}

/// Whether a picture comes back as it was.
bool isExact(const Picture &picture, const EncodeOptions &options)
{
    const PictureView view = viewOf(encode(picture, Format::Webp, options));
    return view.colors() == PictureView(picture).colors() && view.alpha() == PictureView(picture).alpha();
}

TEST(Webp, DrawingsLoseNothing)
{
    for (const bool hasAlpha : {false, true}) {
        EXPECT_TRUE(isExact(noisePicture(19, 7, 1, 2, hasAlpha), {}));
        EXPECT_TRUE(isExact(noisePicture(19, 7, 4, 16, hasAlpha), {}));
        EXPECT_TRUE(isExact(noisePicture(19, 7, 8, 256, hasAlpha), {.quality = 10}));
        EXPECT_TRUE(isExact(noisePicture(19, 7, 24, 0, hasAlpha), {.quality = 100}));
        EXPECT_FALSE(isExact(noisePicture(19, 7, 24, 0, hasAlpha), {}));
    }
    Bytes levels(64 * 64);
    for (std::size_t i = 0; i < levels.size(); ++i)
        levels[i] = static_cast<uint8_t>(i * 31 / 7 % 16 * 16);
    EXPECT_TRUE(isExact(testing::makePicture(64, 64, 8, testing::grayRamp(), levels), {}));
    for (std::size_t i = 0; i < levels.size(); ++i)
        levels[i] = static_cast<uint8_t>(i * i * 31 / 7);
    EXPECT_FALSE(isExact(testing::makePicture(64, 64, 8, testing::grayRamp(), levels), {}));
}

TEST(Webp, Quality)
{
    const Picture noise = noisePicture(64, 64, 24, 0, false);
    EXPECT_LT(encode(noise, Format::Webp, {10}).size(), encode(noise, Format::Webp).size());
    EXPECT_EQ(encode(noise, Format::Webp), encode(noise, Format::Webp, {90}));
    EXPECT_EQ(errorOf([&] { encode(noise, Format::Webp, {0}); }), "WebP: a quality of 0 is not in 1 to 100");
}

TEST(Webp, AWidthThatItCannotHold)
{
    EXPECT_EQ(errorOf([] { encode(noisePicture(16384, 1, 1, 2, false), Format::Webp); }),
              "WebP: an image of 16384x1 is too large, at most 16383 pixels each way can be written");
}

TEST(Webp, LimitsOnSize)
{
    const Bytes file = webpFile(webpImage(2, 2, Bytes(16, 255), true));
    EXPECT_EQ(errorOf([&] { decode(file, {.maxPixels = 3}); }),
              "WebP: an image of 2x2 is too large, at most 3 pixels are read (--max-pixels)");
    EXPECT_EQ(decode(file, {.maxPixels = 4}).notices.size(), 0u);
    // A canvas that the bytes behind it cannot fill.
    const Bytes canvas = samples::ByteList()
                             .append(samples::webpHeader(0, 16384, 16384))
                             .append(webpImage(2, 2, Bytes(16, 255), true))
                             .bytes();
    EXPECT_EQ(errorOf(webpFile(canvas)).substr(0, 6), "WebP: ");
}

TEST(Webp, AFileThatEndsEarly)
{
    Bytes file = webpFile(webpImage(9, 9, Bytes(9 * 9 * 4, 77), false));
    file.resize(file.size() - 1);
    EXPECT_EQ(errorOf(file), "WebP: the file ends early");
    file.resize(12);
    EXPECT_EQ(errorOf(file), "WebP: the file ends early");
}

} // namespace

} // namespace velmont::io
