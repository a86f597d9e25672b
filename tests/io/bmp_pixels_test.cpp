// Pixels of every depth of BMP files, worked out by hand.
#include "tests/io/picture_view.h"
#include <gtest/gtest.h>

namespace velmont::io {

namespace {

using samples::bmpFile;
using samples::BmpRecipe;
using testing::Bytes;
using testing::Lines;
using testing::PictureView;
using testing::viewOf;

using Colors = std::vector<unsigned>;

// Blue, green, red of the two colours; the fourth byte of an entry is not kept.
const Bytes kTwoColors = {0x10, 0x20, 0x30, 0xFF, 0x40, 0x50, 0x60, 0xFF};

TEST(BmpPixels, OneBit)
{
    BmpRecipe recipe{.width = 10, .height = 2, .bits = 1, .palette = kTwoColors};
    recipe.pixels = {0xA5, 0x7F, 0xFF, 0xFF, 0x01, 0x80, 0, 0};
    const PictureView view = viewOf(bmpFile(recipe));
    EXPECT_EQ(view.header().biBitCount, 1);
    EXPECT_EQ(view.palette(), (Colors{0x302010, 0x605040}));
    EXPECT_EQ(view.indices(), (Lines{{0, 0, 0, 0, 0, 0, 0, 1, 1, 0}, {1, 0, 1, 0, 0, 1, 0, 1, 0, 1}}));
}

TEST(BmpPixels, OneBitWithASingleColorGetsABlackOne)
{
    BmpRecipe recipe{.width = 2, .height = 1, .bits = 1, .colorsUsed = 1, .palette = {1, 2, 3, 0}};
    recipe.pixels = {0x40, 0, 0, 0};
    const PictureView view = viewOf(bmpFile(recipe));
    EXPECT_EQ(view.palette(), (Colors{0x030201, 0}));
    EXPECT_EQ(view.colors(), (Lines{{0x030201, 0}}));
}

TEST(BmpPixels, TwoBitsBecomeFour)
{
    BmpRecipe recipe{.width = 5, .height = 1, .bits = 2};
    recipe.palette = {0, 0, 0, 0, 1, 1, 1, 0, 2, 2, 2, 0, 3, 3, 3, 0};
    recipe.pixels = {0x1B, 0xBF, 0xFF, 0xFF}; // 0 1 2 3, 2 and padding
    const PictureView view = viewOf(bmpFile(recipe));
    EXPECT_EQ(view.header().biBitCount, 4);
    EXPECT_EQ(view.palette(), (Colors{0, 0x010101, 0x020202, 0x030303}));
    EXPECT_EQ(view.indices(), (Lines{{0, 1, 2, 3, 2}}));
}

TEST(BmpPixels, FourBits)
{
    BmpRecipe recipe{.width = 3, .height = 2, .bits = 4, .colorsUsed = 3};
    recipe.palette = {0xFF, 0, 0, 0, 0, 0xFF, 0, 0, 0, 0, 0xFF, 0};
    recipe.pixels = {0x01, 0x2F, 0xFF, 0xFF, 0x21, 0x00, 0, 0};
    const PictureView view = viewOf(bmpFile(recipe));
    EXPECT_EQ(view.header().biClrUsed, 3u);
    EXPECT_EQ(view.colors(), (Lines{{0xFF0000, 0x00FF00, 0x0000FF}, {0x0000FF, 0x00FF00, 0xFF0000}}));
}

TEST(BmpPixels, EightBitsKeepTheNumberOfTheirColors)
{
    BmpRecipe recipe{.width = 3, .height = 1, .bits = 8, .colorsUsed = 2, .palette = kTwoColors};
    recipe.pixels = {1, 0, 1, 0xEE};
    const PictureView view = viewOf(bmpFile(recipe));
    EXPECT_EQ(view.header().biClrUsed, 2u);
    EXPECT_EQ(view.header().biClrImportant, 2u);
    EXPECT_EQ(view.colors(), (Lines{{0x605040, 0x302010, 0x605040}}));
}

TEST(BmpPixels, AnIndexBehindThePaletteIsBlack)
{
    BmpRecipe recipe{.width = 3, .height = 1, .bits = 8, .colorsUsed = 2, .palette = kTwoColors};
    recipe.pixels = {1, 4, 0, 0xEE};
    const PictureView view = viewOf(bmpFile(recipe));
    EXPECT_EQ(view.palette(), (Colors{0x302010, 0x605040, 0, 0, 0}));
    EXPECT_EQ(view.indices(), (Lines{{1, 4, 0}}));
}

TEST(BmpPixels, SixteenBitsHaveFiveForEachColor)
{
    BmpRecipe recipe{.width = 4, .height = 1, .bits = 16};
    // Red, green and blue alone and full; then 16, 1 and 31: 16 * 255 / 31 = 131.6, 255 / 31 = 8.2.
    recipe.pixels = {0x00, 0x7C, 0xE0, 0x03, 0x1F, 0x00, 0x3F, 0x40};
    const PictureView view = viewOf(bmpFile(recipe));
    EXPECT_EQ(view.header().biBitCount, 24);
    EXPECT_EQ(view.colors(), (Lines{{0xFF0000, 0x00FF00, 0x0000FF, 0x8408FF}}));
}

TEST(BmpPixels, SixteenBitsWithMasks)
{
    BmpRecipe recipe{.width = 3, .height = 1, .bits = 16, .compression = 3};
    recipe.masks = {0x00, 0xF8, 0, 0, 0xE0, 0x07, 0, 0, 0x1F, 0, 0, 0};
    // Green has six bits: 1 * 255 / 63 = 4.05.
    recipe.pixels = {0x00, 0xF8, 0x20, 0x00, 0x1F, 0x00, 0, 0};
    EXPECT_EQ(viewOf(bmpFile(recipe)).colors(), (Lines{{0xFF0000, 0x000400, 0x0000FF}}));
}

TEST(BmpPixels, TwentyFourBits)
{
    BmpRecipe recipe{.width = 2, .height = 2, .bits = 24};
    recipe.pixels = {1, 2, 3, 4, 5, 6, 0xEE, 0xEE, 7, 8, 9, 10, 11, 12, 0xEE, 0xEE};
    const PictureView view = viewOf(bmpFile(recipe));
    EXPECT_EQ(view.header().biSizeImage, 16u);
    EXPECT_EQ(view.colors(), (Lines{{0x090807, 0x0C0B0A}, {0x030201, 0x060504}}));
}

TEST(BmpPixels, TopDown)
{
    BmpRecipe recipe{.width = 1, .height = -2, .bits = 24, .pixels = {1, 2, 3, 0, 4, 5, 6, 0}};
    const PictureView view = viewOf(bmpFile(recipe));
    EXPECT_EQ(view.header().biHeight, 2);
    EXPECT_EQ(view.colors(), (Lines{{0x030201}, {0x060504}}));
}

TEST(BmpPixels, TheFourthByteWithoutMasksIsNoAlpha)
{
    BmpRecipe recipe{.width = 2, .height = 1, .bits = 32, .pixels = {1, 2, 3, 128, 4, 5, 6, 0}};
    const PictureView view = viewOf(bmpFile(recipe));
    EXPECT_EQ(view.colors(), (Lines{{0x030201, 0x060504}}));
    EXPECT_EQ(view.alpha(), Lines{});
}

TEST(BmpPixels, AlphaByMask)
{
    for (const uint32_t headerBytes : {56u, 108u, 124u}) {
        BmpRecipe recipe{.width = 1, .height = 2, .bits = 32, .compression = 3, .headerBytes = headerBytes};
        recipe.masks = {0, 0, 0xFF, 0, 0, 0xFF, 0, 0, 0xFF, 0, 0, 0, 0, 0, 0, 0xFF};
        recipe.pixels = {1, 2, 3, 128, 4, 5, 6, 0};
        const PictureView view = viewOf(bmpFile(recipe));
        EXPECT_EQ(view.colors(), (Lines{{0x060504}, {0x030201}})) << headerBytes;
        EXPECT_EQ(view.alpha(), (Lines{{0}, {128}})) << headerBytes;
    }
}

TEST(BmpPixels, AlphaFollowsItsRowsWhenTheyAreTurned)
{
    BmpRecipe recipe{.width = 1, .height = -2, .bits = 32, .compression = 6};
    recipe.masks = {0, 0, 0xFF, 0, 0, 0xFF, 0, 0, 0xFF, 0, 0, 0, 0, 0, 0, 0xFF};
    recipe.pixels = {1, 2, 3, 128, 4, 5, 6, 0};
    const PictureView view = viewOf(bmpFile(recipe));
    EXPECT_EQ(view.colors(), (Lines{{0x030201}, {0x060504}}));
    EXPECT_EQ(view.alpha(), (Lines{{128}, {0}}));
}

TEST(BmpPixels, ChannelsWiderThanAByteAreRounded)
{
    BmpRecipe recipe{.width = 1, .height = 1, .bits = 32, .compression = 3};
    recipe.masks = {0, 0, 0xF0, 0x3F, 0, 0xFC, 0x0F, 0, 0xFF, 0x03, 0, 0};
    // Red 1023, green 512 (127.6 of 255), blue 2 (0.499 of 255).
    recipe.pixels = {0x02, 0x00, 0xF8, 0x3F};
    EXPECT_EQ(viewOf(bmpFile(recipe)).colors(), (Lines{{0xFF8000}}));
}

TEST(BmpPixels, TheOldestHeaderHasColorsOfThreeBytes)
{
    BmpRecipe recipe{.width = 2, .height = 1, .bits = 1, .headerBytes = 12, .palette = {1, 2, 3, 4, 5, 6}};
    recipe.pixels = {0x40, 0, 0, 0};
    EXPECT_EQ(viewOf(bmpFile(recipe)).colors(), (Lines{{0x030201, 0x060504}}));
}

TEST(BmpPixels, TheOldestHeaderMayHaveFewerColorsThanItsDepth)
{
    BmpRecipe recipe{.width = 2, .height = 1, .bits = 8, .headerBytes = 12, .palette = {1, 2, 3, 4, 5, 6}};
    recipe.pixels = {1, 0, 0, 0};
    const PictureView view = viewOf(bmpFile(recipe));
    EXPECT_EQ(view.header().biClrUsed, 2u);
    EXPECT_EQ(view.colors(), (Lines{{0x060504, 0x030201}}));
}

TEST(BmpPixels, HeadersOfOs2)
{
    for (const uint32_t headerBytes : {16u, 36u, 64u}) {
        BmpRecipe recipe{.width = 1, .height = 2, .bits = 24, .headerBytes = headerBytes};
        recipe.pixels = {1, 2, 3, 0, 4, 5, 6, 0};
        EXPECT_EQ(viewOf(bmpFile(recipe)).colors(), (Lines{{0x060504}, {0x030201}})) << headerBytes;
    }
}

} // namespace

} // namespace velmont::io
