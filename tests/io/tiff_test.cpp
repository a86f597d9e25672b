// TIFF files of every kind, put together byte by byte.
#include "tests/io/picture_view.h"
#include <algorithm>
#include <gtest/gtest.h>

namespace velmont::io {

namespace {

using samples::tiffFile;
using samples::TiffRecipe;
using samples::TiffTags;
using samples::tiffTags;
using testing::Bytes;
using testing::errorOf;
using testing::Lines;
using testing::PictureView;
using testing::viewOf;

Bytes fileOf(const TiffTags &tags, const Bytes &pixels, bool isBig = false)
{
    return tiffFile({.isBig = isBig, .tags = tags, .pieces = {pixels}});
}

/// The tags with more of them.
TiffTags with(TiffTags tags, const TiffTags &more)
{
    tags.insert(tags.end(), more.begin(), more.end());
    return tags;
}

using Notices = std::vector<std::string>;

TEST(Tiff, GrayOfFewBitsKeepsThem)
{
    for (const bool isBig : {false, true}) {
        const PictureView one = viewOf(fileOf(tiffTags(3, 2, {1}, 1), {0xA0, 0x40}, isBig));
        EXPECT_EQ(one.header().biBitCount, 1);
        EXPECT_EQ(one.colors(), (Lines{{0xFFFFFF, 0, 0xFFFFFF}, {0, 0xFFFFFF, 0}}));
        const PictureView two = viewOf(fileOf(tiffTags(4, 1, {2}, 1), {0x1B}, isBig));
        EXPECT_EQ(two.header().biBitCount, 4);
        EXPECT_EQ(two.colors(), (Lines{{0, 0x555555, 0xAAAAAA, 0xFFFFFF}}));
        const PictureView four = viewOf(fileOf(tiffTags(3, 1, {4}, 1), {0x0F, 0x10}, isBig));
        EXPECT_EQ(four.header().biBitCount, 4);
        EXPECT_EQ(four.colors(), (Lines{{0, 0xFFFFFF, 0x111111}}));
        const PictureView eight = viewOf(fileOf(tiffTags(2, 1, {8}, 1), {7, 200}, isBig));
        EXPECT_EQ(eight.palette(), testing::grayRamp());
        EXPECT_EQ(eight.indices(), (Lines{{7, 200}}));
    }
}

TEST(Tiff, WhereZeroIsWhiteTheRampStaysAndTheIndicesTurn)
{
    EXPECT_EQ(viewOf(fileOf(tiffTags(3, 1, {1}, 0), {0xA0})).indices(), (Lines{{0, 1, 0}}));
    EXPECT_EQ(viewOf(fileOf(tiffTags(2, 1, {4}, 0), {0x0E})).indices(), (Lines{{15, 1}}));
    const PictureView eight = viewOf(fileOf(tiffTags(2, 1, {8}, 0), {0, 250}));
    EXPECT_EQ(eight.palette(), testing::grayRamp());
    EXPECT_EQ(eight.indices(), (Lines{{255, 5}}));
}

TEST(Tiff, ManyBitsAreRoundedToEight)
{
    for (const bool isBig : {false, true}) {
        const auto number = [&](unsigned value) {
            return samples::ByteList().number16(value, isBig).bytes();
        };
        samples::ByteList pixels;
        for (const unsigned value : {0u, 128u, 129u, 65535u, 0x8000u})
            pixels.append(number(value));
        const Bytes file = fileOf(tiffTags(5, 1, {16}, 1), pixels.bytes(), isBig);
        // 128 / 257 is 0.498, 129 / 257 is 0.502, 32768 / 257 is 127.5019.
        EXPECT_EQ(viewOf(file).indices(), (Lines{{0, 0, 1, 255, 128}}));
        EXPECT_EQ(decode(file).notices, Notices{"16 bits a sample are reduced to 8"});
    }
    // 0xFFF is 255, 0x800 is 127.53.
    const Bytes twelve = fileOf(tiffTags(2, 1, {12}, 1), {0xFF, 0xF8, 0x00});
    EXPECT_EQ(viewOf(twelve).indices(), (Lines{{255, 128}}));
    EXPECT_EQ(decode(twelve).notices, Notices{"12 bits a sample are reduced to 8"});
}

TEST(Tiff, Palettes)
{
    TiffTags tags = with(tiffTags(2, 1, {4}, 3), {{320, std::vector<uint32_t>(48)}});
    std::vector<uint32_t> &map = tags.back().second;
    map[1] = 0xAB00, map[17] = 0xCDFF, map[33] = 0xEF12;
    const PictureView view = viewOf(fileOf(tags, {0x10}));
    EXPECT_EQ(view.header().biBitCount, 4);
    EXPECT_EQ(view.palette(), (std::vector<unsigned>{0, 0xABCDEF}));
    EXPECT_EQ(view.colors(), (Lines{{0xABCDEF, 0}}));
    // Bytes in place of numbers of 16 bits.
    map[1] = 0xAB, map[17] = 0xCD, map[33] = 0xEF;
    EXPECT_EQ(viewOf(fileOf(tags, {0x10})).colors(), (Lines{{0xABCDEF, 0}}));
}

TEST(Tiff, Colors)
{
    const Bytes pixels = {1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12};
    EXPECT_EQ(viewOf(fileOf(tiffTags(2, 2, {8, 8, 8}, 2), pixels)).colors(),
              (Lines{{0x010203, 0x040506}, {0x070809, 0x0A0B0C}}));
    const TiffTags planes = with(tiffTags(2, 1, {8, 8, 8}, 2), {{284, {2}}});
    const TiffRecipe recipe{.tags = planes, .pieces = {{1, 4}, {2, 5}, {3, 6}}};
    EXPECT_EQ(viewOf(tiffFile(recipe)).colors(), (Lines{{0x010203, 0x040506}}));
}

TEST(Tiff, Strips)
{
    const TiffTags tags = with(tiffTags(2, 3, {8}, 1), {{278, {2}}});
    EXPECT_EQ(viewOf(tiffFile({.tags = tags, .pieces = {{1, 2, 3, 4}, {5, 6}}})).indices(),
              (Lines{{1, 2}, {3, 4}, {5, 6}}));
}

TEST(Tiff, Tiles)
{
    // Four tiles of 16x16 hold 17x18 pixels; a pixel is the number of its tile and its place in it.
    for (const unsigned bits : {1u, 8u}) {
        const TiffTags tags = with(tiffTags(17, 18, {bits}, 1), {{322, {16}}, {323, {16}}});
        TiffRecipe recipe{.isTiled = true, .tags = tags};
        for (unsigned tile = 0; tile < 4; ++tile) {
            recipe.pieces.emplace_back(bits == 1 ? 32 : 256);
            for (unsigned i = 0; i < recipe.pieces.back().size(); ++i)
                recipe.pieces.back()[i] =
                    static_cast<uint8_t>(bits == 1 ? i * 37 + tile * 11 : tile * 60 + i % 60);
        }
        const Lines lines = viewOf(tiffFile(recipe)).indices();
        for (unsigned y = 0; y < 18; ++y) {
            for (unsigned x = 0; x < 17; ++x) {
                const Bytes &tile = recipe.pieces[y / 16 * 2 + x / 16];
                const unsigned at = y % 16 * 16 + x % 16;
                ASSERT_EQ(lines[y][x], bits == 8 ? tile[at] : tile[at / 8] >> (7 - at % 8) & 1u)
                    << x << ", " << y;
            }
        }
    }
}

TEST(Tiff, AlphaThatIsApart)
{
    const PictureView color =
        viewOf(fileOf(with(tiffTags(2, 1, {8, 8, 8, 8}, 2), {{338, {2}}}), {1, 2, 3, 0, 4, 5, 6, 9}));
    EXPECT_EQ(color.colors(), (Lines{{0x010203, 0x040506}}));
    EXPECT_EQ(color.alpha(), (Lines{{0, 9}}));
    const PictureView gray = viewOf(fileOf(with(tiffTags(2, 1, {8, 8}, 1), {{338, {2}}}), {1, 2, 3, 4}));
    EXPECT_EQ(gray.header().biBitCount, 8);
    EXPECT_EQ(gray.indices(), (Lines{{1, 3}}));
    EXPECT_EQ(gray.alpha(), (Lines{{2, 4}}));
}

TEST(Tiff, AlphaThatColorsAreMultipliedByIsTakenOut)
{
    // 50 of 100 is half: 127.5. 101 of 100 cannot be.
    const Bytes pixels = {50, 101, 100, 100, 7, 7, 7, 0, 9, 10, 11, 255};
    const PictureView view = viewOf(fileOf(with(tiffTags(3, 1, {8, 8, 8, 8}, 2), {{338, {1}}}), pixels));
    EXPECT_EQ(view.colors(), (Lines{{0x80FFFF, 0, 0x090A0B}}));
    EXPECT_EQ(view.alpha(), (Lines{{100, 0, 255}}));
}

TEST(Tiff, OtherChannelsAreNotKept)
{
    const Bytes file = fileOf(with(tiffTags(1, 1, {8, 8, 8, 8}, 2), {{338, {0}}}), {1, 2, 3, 4});
    EXPECT_EQ(viewOf(file).colors(), (Lines{{0x010203}}));
    EXPECT_TRUE(viewOf(file).alpha().empty());
    EXPECT_EQ(decode(file).notices, Notices{"channels besides colour and alpha are not kept"});
}

TEST(Tiff, InksBecomeLight)
{
    const Bytes file = fileOf(tiffTags(2, 1, {8, 8, 8, 8}, 5), {55, 155, 205, 0, 55, 155, 205, 127});
    // 200 * 128 / 255 is 100.4.
    EXPECT_EQ(viewOf(file).colors(), (Lines{{0xC86432, 0x643219}}));
    EXPECT_EQ(decode(file).notices, Notices{"CMYK is converted to RGB without its colour profile"});
    const TiffTags planes = with(tiffTags(1, 1, {8, 8, 8, 8}, 5), {{284, {2}}});
    EXPECT_EQ(viewOf(tiffFile({.tags = planes, .pieces = {{55}, {155}, {205}, {127}}})).colors(),
              (Lines{{0x643219}}));
}

TEST(Tiff, LuminanceAndChrominance)
{
    const TiffTags tags = with(tiffTags(2, 1, {8, 8, 8}, 6), {{530, {1, 1}}});
    EXPECT_EQ(viewOf(fileOf(tags, {100, 128, 128, 255, 128, 128})).colors(), (Lines{{0x646464, 0xFFFFFF}}));
}

TEST(Tiff, Resolution)
{
    const auto resolutionOf = [](uint32_t unit, uint32_t x, uint32_t y) {
        const TiffTags tags = with(tiffTags(1, 1, {8}, 1), {{282, {x, 10}}, {283, {y, 10}}, {296, {unit}}});
        const DibHeader header = viewOf(fileOf(tags, {0})).header();
        return std::pair(header.biXPelsPerMeter, header.biYPelsPerMeter);
    };
    EXPECT_EQ(resolutionOf(2, 720, 3000), std::pair(2835, 11811));
    EXPECT_EQ(resolutionOf(3, 720, 3000), std::pair(7200, 30000));
    EXPECT_EQ(resolutionOf(1, 720, 3000), std::pair(0, 0));
    EXPECT_EQ(resolutionOf(2, 4294967295u, 0), std::pair(0, 0));
}

TEST(Tiff, ItsOrientationIsApplied)
{
    const TiffTags tags =
        with(tiffTags(2, 1, {8}, 1), {{274, {6}}, {282, {1, 1}}, {283, {2, 1}}, {296, {3}}});
    const PictureView view = viewOf(fileOf(tags, {1, 2}));
    EXPECT_EQ(view.indices(), (Lines{{1}, {2}}));
    EXPECT_EQ(view.header().biXPelsPerMeter, 200);
    EXPECT_EQ(view.header().biYPelsPerMeter, 100);
    // What libtiff itself converts is not turned twice.
    const TiffTags luminance = with(tiffTags(2, 1, {8, 8, 8}, 6), {{274, {3}}, {530, {1, 1}}});
    EXPECT_EQ(viewOf(fileOf(luminance, {100, 128, 128, 255, 128, 128})).colors(),
              (Lines{{0xFFFFFF, 0x646464}}));
}

TEST(Tiff, TheFirstOfSeveralPages)
{
    const Bytes file = tiffFile({.pages = 3, .tags = tiffTags(1, 1, {8}, 1), .pieces = {{9}}});
    EXPECT_EQ(viewOf(file).indices(), (Lines{{9}}));
    EXPECT_EQ(decode(file).notices, Notices{"3 pages: only the first is read"});
}

TEST(Tiff, PagesInACircleEnd)
{
    Bytes file = fileOf(tiffTags(1, 1, {8}, 1), {9});
    std::copy(file.begin() + 4, file.begin() + 8, file.end() - 4);
    EXPECT_EQ(viewOf(file).indices(), (Lines{{9}}));
}

TEST(Tiff, WhatIsNotSupported)
{
    EXPECT_EQ(errorOf(fileOf(with(tiffTags(1, 1, {8}, 1), {{339, {2}}}), {1})),
              "TIFF: samples other than whole numbers from 0 on are not supported");
    EXPECT_EQ(errorOf(fileOf(tiffTags(1, 1, {32}, 1), {1, 2, 3, 4})),
              "TIFF: 1 samples of 32 bits a pixel are not supported");
    TiffTags tags = tiffTags(1, 1, {8}, 1);
    tags[3].second = {60000};
    EXPECT_EQ(errorOf(fileOf(tags, {1})), "TIFF: compression 60000 is not supported");
}

TEST(Tiff, LimitsOnSize)
{
    const Bytes file = fileOf(tiffTags(20000, 20000, {8}, 1), {1});
    EXPECT_EQ(errorOf(file),
              "TIFF: an image of 20000x20000 is too large, at most 268435456 pixels are read (--max-pixels)");
    EXPECT_EQ(errorOf([&] {
                  decode(file, {.maxPixels = uint64_t{1} << 40});
              }).find("bytes cannot hold 20000x20000"),
              10u);
    EXPECT_EQ(errorOf(fileOf(tiffTags(0, 5, {8}, 1), {1})).substr(0, 6), "TIFF: ");
    TiffRecipe tiles{.isTiled = true,
                     .tags = with(tiffTags(1, 1, {8}, 1), {{322, {4294967280u}}, {323, {4294967280u}}})};
    tiles.pieces = {{1}};
    EXPECT_EQ(errorOf(tiffFile(tiles)).substr(0, 6), "TIFF: ");
}

TEST(Tiff, PixelsThatAreMissing)
{
    EXPECT_EQ(errorOf(fileOf(tiffTags(90, 90, {8}, 1), {1, 2, 3})).substr(0, 6), "TIFF: ");
    Bytes file = fileOf(tiffTags(2, 2, {8}, 1), {1, 2, 3, 4});
    file.resize(8);
    EXPECT_EQ(errorOf(file), "TIFF: the file ends early");
}

} // namespace

} // namespace velmont::io
