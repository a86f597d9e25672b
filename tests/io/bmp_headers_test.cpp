// What the headers of BMP files say, and what they are refused for.
#include "tests/io/picture_view.h"
#include <gtest/gtest.h>

namespace velmont::io {

namespace {

using samples::bmpFile;
using samples::BmpRecipe;
using testing::Bytes;
using testing::errorOf;
using testing::viewOf;

const Bytes kFourBytes = {0, 0, 0, 0};

std::string errorOfRecipe(const BmpRecipe &recipe)
{
    return errorOf(bmpFile(recipe));
}

/// A good file of one black pixel with some bytes at a place exchanged.
Bytes patched(std::size_t place, const Bytes &bytes)
{
    Bytes file = bmpFile({.pixels = kFourBytes});
    std::copy(bytes.begin(), bytes.end(), file.begin() + static_cast<std::ptrdiff_t>(place));
    return file;
}

TEST(BmpHeaders, ResolutionIsKept)
{
    const auto view = viewOf(bmpFile({.resolution = 11811, .pixels = kFourBytes}));
    EXPECT_EQ(view.header().biXPelsPerMeter, 11811);
    EXPECT_EQ(view.header().biYPelsPerMeter, 11811);
}

TEST(BmpHeaders, ANegativeResolutionIsNone)
{
    EXPECT_EQ(viewOf(bmpFile({.resolution = 0x80000001, .pixels = kFourBytes})).header().biXPelsPerMeter, 0);
}

TEST(BmpHeaders, WhatLiesBehindThePixelsDoesNotMatter)
{
    Bytes file = bmpFile({.pixels = kFourBytes});
    file.resize(file.size() + 1000, 0xAB);
    EXPECT_EQ(viewOf(file).header().biWidth, 1);
}

TEST(BmpHeaders, AGapBeforeThePixelsIsSkipped)
{
    Bytes file = patched(10, {64});
    file.resize(64);
    file.insert(file.end(), {1, 2, 3, 0});
    EXPECT_EQ(viewOf(file).colors(), (testing::Lines{{0x030201}}));
}

TEST(BmpHeaders, UnknownHeader)
{
    EXPECT_EQ(errorOf(patched(14, {41})), "BMP: the pixels start at byte 54, inside the headers of 55 bytes");
    EXPECT_EQ(errorOf(patched(14, {80})),
              "BMP: a header of 80 bytes is of no known kind (12, 16 to 64, 108, 124)");
}

TEST(BmpHeaders, Sizes)
{
    EXPECT_EQ(errorOf(patched(18, {0})), "BMP: the image has no pixels (0x1)");
    EXPECT_EQ(errorOf(patched(18, {0, 0, 0, 0x80})), "BMP: the width is negative");
    EXPECT_EQ(errorOf(patched(18, {0, 0, 1, 0, 0, 0, 1, 0})),
              "BMP: an image of 65536x65536 is too large, at most 268435456 pixels are read (--max-pixels)");
    EXPECT_EQ(errorOf(patched(22, {0, 0, 0, 0x80})),
              "BMP: an image of 1x2147483648 is too large, at most 268435456 pixels are read (--max-pixels)");
}

TEST(BmpHeaders, ADeclaredSizeThatTheFileCannotHold)
{
    EXPECT_EQ(errorOfRecipe({.width = 20, .height = 20, .bits = 24, .pixels = Bytes(480)}),
              "BMP: 24-bit rows need 1200 bytes, the file has 480");
    EXPECT_EQ(errorOfRecipe({.width = 15000, .height = 15000, .bits = 24, .pixels = Bytes(4)}),
              "BMP: 24-bit rows need 675000000 bytes, the file has 4");
}

TEST(BmpHeaders, PlanesAndDepth)
{
    EXPECT_EQ(errorOf(patched(26, {3})), "BMP: the image has 3 planes instead of 1");
    EXPECT_EQ(errorOf(patched(28, {5})), "BMP: 5 bits a pixel are none of 1, 2, 4, 8, 16, 24 and 32");
    EXPECT_EQ(errorOf(patched(28, {0})), "BMP: 0 bits a pixel are none of 1, 2, 4, 8, 16, 24 and 32");
}

TEST(BmpHeaders, Compression)
{
    EXPECT_EQ(errorOf(patched(30, {1})), "BMP: compression 1 does not go with 24 bits a pixel");
    EXPECT_EQ(errorOf(patched(30, {3})), "BMP: compression 3 does not go with 24 bits a pixel");
    EXPECT_EQ(errorOf(patched(30, {4})), "BMP: an embedded JPEG image is not supported");
    EXPECT_EQ(errorOf(patched(30, {5})), "BMP: an embedded PNG image is not supported");
    EXPECT_EQ(errorOf(patched(30, {0, 1})), "BMP: compression 256 is not known");
    EXPECT_EQ(errorOfRecipe({.bits = 1, .compression = 3, .headerBytes = 64, .pixels = kFourBytes}),
              "BMP: compression 3 of OS/2 is not supported");
    EXPECT_EQ(
        errorOfRecipe({.height = -1, .bits = 8, .compression = 1, .palette = Bytes(1024), .pixels = {0, 1}}),
        "BMP: a run-length coded image cannot be stored from the top down");
}

BmpRecipe withMasks(const Bytes &masks)
{
    return {.bits = 16, .compression = 3, .masks = masks, .pixels = kFourBytes};
}

TEST(BmpHeaders, Masks)
{
    EXPECT_EQ(errorOfRecipe(withMasks({0, 0xF8, 0, 0, 0xE0, 0x0F, 0, 0, 0x1F, 0, 0, 0})),
              "BMP: channel masks overlap");
    EXPECT_EQ(errorOfRecipe(withMasks({0, 0xF8, 0, 0, 0x20, 0x01, 0, 0, 0x1F, 0, 0, 0})),
              "BMP: a channel mask is not one run of the pixel's bits");
    EXPECT_EQ(errorOfRecipe(withMasks({0, 0, 0xFF, 0, 0x20, 0, 0, 0, 0x1F, 0, 0, 0})),
              "BMP: a channel mask is not one run of the pixel's bits");
    EXPECT_EQ(errorOfRecipe(withMasks({0, 0, 0, 0, 0xE0, 0x07, 0, 0, 0x1F, 0, 0, 0})),
              "BMP: a colour's channel mask is empty");
}

TEST(BmpHeaders, AMaskOfAllBits)
{
    BmpRecipe recipe = withMasks({0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0, 0, 0, 0xFF, 0, 0, 0});
    recipe.bits = 32;
    EXPECT_EQ(errorOfRecipe(recipe), "BMP: channel masks overlap");
}

TEST(BmpHeaders, PaletteWithoutRoom)
{
    EXPECT_EQ(errorOfRecipe({.bits = 8, .palette = Bytes(40), .pixels = kFourBytes}),
              "BMP: the palette needs 256 colours, there is room for 10 before the pixels");
    EXPECT_EQ(errorOfRecipe({.bits = 4, .colorsUsed = 11, .palette = Bytes(40), .pixels = kFourBytes}),
              "BMP: the palette needs 11 colours, there is room for 10 before the pixels");
    EXPECT_EQ(errorOfRecipe({.bits = 1, .headerBytes = 12, .pixels = kFourBytes}),
              "BMP: the palette needs 1 colours, there is room for 0 before the pixels");
}

TEST(BmpHeaders, MoreColorsThanTheDepthHasAreDropped)
{
    const auto view =
        viewOf(bmpFile({.bits = 1, .colorsUsed = 100, .palette = Bytes(400, 1), .pixels = kFourBytes}));
    EXPECT_EQ(view.palette(), (std::vector<unsigned>{0x010101, 0x010101}));
}

TEST(BmpHeaders, ColorsDeclaredAtTwentyFourBitsAreSkipped)
{
    const auto view = viewOf(bmpFile({.colorsUsed = 2, .palette = Bytes(8, 9), .pixels = {1, 2, 3, 0}}));
    EXPECT_EQ(view.header().biClrUsed, 0u);
    EXPECT_EQ(view.colors(), (testing::Lines{{0x030201}}));
}

TEST(BmpHeaders, PixelsInsideTheHeaders)
{
    EXPECT_EQ(errorOf(patched(10, {20})), "BMP: the pixels start at byte 20, inside the headers of 54 bytes");
}

TEST(BmpHeaders, PixelsBehindTheFile)
{
    EXPECT_EQ(errorOf(patched(10, {200})), "BMP: the file ends early");
}

} // namespace

} // namespace velmont::io
