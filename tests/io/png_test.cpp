// PNG files of every kind, put together sample by sample.
#include "tests/io/picture_view.h"
#include <gtest/gtest.h>

namespace velmont::io {

namespace {

using samples::ByteList;
using samples::pngFile;
using samples::PngRecipe;
using testing::Bytes;
using testing::errorOf;
using testing::Lines;
using testing::PictureView;
using testing::viewOf;

using Colors = std::vector<unsigned>;

TEST(Png, GrayOfOneBit)
{
    PngRecipe recipe{.width = 3, .height = 2, .depth = 1, .samples = {1, 0, 1, 0, 0, 1}};
    const PictureView view = viewOf(pngFile(recipe));
    EXPECT_EQ(view.header().biBitCount, 1);
    EXPECT_EQ(view.palette(), (Colors{0, 0xFFFFFF}));
    EXPECT_EQ(view.indices(), (Lines{{1, 0, 1}, {0, 0, 1}}));
}

TEST(Png, GrayOfTwoBitsBecomesFour)
{
    PngRecipe recipe{.width = 5, .height = 1, .depth = 2, .samples = {3, 2, 1, 0, 2}};
    const PictureView view = viewOf(pngFile(recipe));
    EXPECT_EQ(view.header().biBitCount, 4);
    EXPECT_EQ(view.palette(), (Colors{0, 0x555555, 0xAAAAAA, 0xFFFFFF}));
    EXPECT_EQ(view.indices(), (Lines{{3, 2, 1, 0, 2}}));
}

TEST(Png, GrayOfFourBits)
{
    PngRecipe recipe{.width = 3, .height = 1, .depth = 4, .samples = {15, 1, 8}};
    const PictureView view = viewOf(pngFile(recipe));
    EXPECT_EQ(view.header().biBitCount, 4);
    EXPECT_EQ(view.header().biClrUsed, 16u);
    EXPECT_EQ(view.colors(), (Lines{{0xFFFFFF, 0x111111, 0x888888}}));
}

TEST(Png, GrayOfEightBits)
{
    PngRecipe recipe{.width = 1, .height = 3, .samples = {0, 100, 255}};
    const PictureView view = viewOf(pngFile(recipe));
    EXPECT_EQ(view.palette(), testing::grayRamp());
    EXPECT_EQ(view.indices(), (Lines{{0}, {100}, {255}}));
}

TEST(Png, SixteenBitsAreRounded)
{
    // A level of 8 bits is 257 of 16: 255 is 0.99, 32767 is 127.498, 32768 is 127.502.
    PngRecipe recipe{.width = 5, .height = 1, .depth = 16, .samples = {0, 255, 32767, 32768, 65535}};
    EXPECT_EQ(viewOf(pngFile(recipe)).indices(), (Lines{{0, 1, 127, 128, 255}}));
    recipe = {.width = 1, .height = 1, .depth = 16, .colorType = 2, .samples = {255, 32767, 65535}};
    EXPECT_EQ(viewOf(pngFile(recipe)).colors(), (Lines{{0x017FFF}}));
}

TEST(Png, GrayWithAlpha)
{
    PngRecipe recipe{.width = 2, .height = 2, .colorType = 4, .samples = {10, 0, 20, 255, 30, 128, 40, 1}};
    const PictureView view = viewOf(pngFile(recipe));
    EXPECT_EQ(view.header().biBitCount, 8);
    EXPECT_EQ(view.indices(), (Lines{{10, 20}, {30, 40}}));
    EXPECT_EQ(view.alpha(), (Lines{{0, 255}, {128, 1}}));
    recipe.depth = 16;
    recipe.samples = {0x0A0A, 0, 0x1414, 0xFFFF, 0x1E1E, 0x8080, 0x2828, 0x0101};
    const PictureView deep = viewOf(pngFile(recipe));
    EXPECT_EQ(deep.block(), view.block());
    EXPECT_EQ(deep.alpha(), view.alpha());
}

TEST(Png, Rgb)
{
    PngRecipe recipe{.width = 1, .height = 2, .colorType = 2, .samples = {1, 2, 3, 4, 5, 6}};
    const PictureView view = viewOf(pngFile(recipe));
    EXPECT_EQ(view.header().biBitCount, 24);
    EXPECT_EQ(view.colors(), (Lines{{0x010203}, {0x040506}}));
    EXPECT_EQ(view.alpha(), Lines{});
}

TEST(Png, RgbWithAlpha)
{
    PngRecipe recipe{.width = 1, .height = 2, .colorType = 6, .samples = {1, 2, 3, 0, 4, 5, 6, 200}};
    const PictureView view = viewOf(pngFile(recipe));
    EXPECT_EQ(view.colors(), (Lines{{0x010203}, {0x040506}}));
    EXPECT_EQ(view.alpha(), (Lines{{0}, {200}}));
}

TEST(Png, AnOpaqueAlphaChannelIsKept)
{
    PngRecipe recipe{.width = 1, .height = 1, .colorType = 6, .samples = {1, 2, 3, 255}};
    EXPECT_EQ(viewOf(pngFile(recipe)).alpha(), (Lines{{255}}));
}

TEST(Png, PalettesKeepTheNumberOfTheirColors)
{
    for (const unsigned depth : {2u, 4u, 8u}) {
        PngRecipe recipe{.width = 3, .height = 1, .depth = depth, .colorType = 3, .samples = {2, 0, 1}};
        recipe.chunks = {{"PLTE", {1, 2, 3, 4, 5, 6, 7, 8, 9}}};
        const PictureView view = viewOf(pngFile(recipe));
        EXPECT_EQ(view.header().biBitCount, depth == 8 ? 8 : 4);
        EXPECT_EQ(view.palette(), (Colors{0x010203, 0x040506, 0x070809}));
        EXPECT_EQ(view.indices(), (Lines{{2, 0, 1}}));
    }
}

TEST(Png, PaletteOfOneBit)
{
    PngRecipe recipe{.width = 2, .height = 1, .depth = 1, .colorType = 3, .samples = {1, 0}};
    recipe.chunks = {{"PLTE", {1, 2, 3, 4, 5, 6}}};
    EXPECT_EQ(viewOf(pngFile(recipe)).colors(), (Lines{{0x040506, 0x010203}}));
    recipe.chunks = {{"PLTE", {1, 2, 3}}};
    EXPECT_EQ(viewOf(pngFile(recipe)).palette(), (Colors{0x010203, 0}));
}

TEST(Png, AnIndexBehindThePaletteIsBlack)
{
    PngRecipe recipe{.width = 2, .height = 1, .colorType = 3, .samples = {0, 3}};
    recipe.chunks = {{"PLTE", {1, 2, 3}}};
    const PictureView view = viewOf(pngFile(recipe));
    EXPECT_EQ(view.palette(), (Colors{0x010203, 0, 0, 0}));
    EXPECT_EQ(view.indices(), (Lines{{0, 3}}));
}

TEST(Png, AlphaOfAPalette)
{
    for (const unsigned depth : {1u, 2u, 4u, 8u}) {
        PngRecipe recipe{.width = 2, .height = 2, .depth = depth, .colorType = 3, .samples = {0, 1, 1, 1}};
        recipe.chunks = {{"PLTE", {1, 2, 3, 4, 5, 6}}, {"tRNS", {77}}};
        const PictureView view = viewOf(pngFile(recipe));
        EXPECT_EQ(view.colors(), (Lines{{0x010203, 0x040506}, {0x040506, 0x040506}}));
        EXPECT_EQ(view.alpha(), (Lines{{77, 255}, {255, 255}}));
    }
}

TEST(Png, ATransparentGray)
{
    for (const unsigned depth : {1u, 2u, 4u, 8u, 16u}) {
        PngRecipe recipe{.width = 2, .height = 1, .depth = depth, .samples = {0, 1}};
        recipe.chunks = {{"tRNS", {0, 1}}};
        EXPECT_EQ(viewOf(pngFile(recipe)).alpha(), (Lines{{255, 0}})) << depth;
    }
}

TEST(Png, ATransparentColor)
{
    PngRecipe recipe{.width = 2, .height = 1, .colorType = 2, .samples = {1, 2, 3, 1, 2, 4}};
    recipe.chunks = {{"tRNS", {0, 1, 0, 2, 0, 3}}};
    EXPECT_EQ(viewOf(pngFile(recipe)).alpha(), (Lines{{0, 255}}));
    // At 16 bits all of them count, not only those that are kept.
    recipe.depth = 16;
    recipe.samples = {1, 2, 3, 1, 2, 4};
    const PictureView view = viewOf(pngFile(recipe));
    EXPECT_EQ(view.alpha(), (Lines{{0, 255}}));
    EXPECT_EQ(view.colors(), (Lines{{0, 0}}));
}

TEST(Png, InterlacedFilesAreTheSame)
{
    int compared = 0;
    const std::vector<samples::Sample> all = samples::sampleFiles();
    for (const samples::Sample &sample : all) {
        for (const samples::Sample &other : all) {
            if (other.name != sample.name + "-interlaced")
                continue;
            EXPECT_EQ(viewOf(sample.file).block(), viewOf(other.file).block()) << sample.name;
            EXPECT_EQ(viewOf(sample.file).alpha(), viewOf(other.file).alpha()) << sample.name;
            ++compared;
        }
    }
    EXPECT_EQ(compared, 26);
}

TEST(Png, Resolution)
{
    PngRecipe recipe{.samples = {0}};
    recipe.chunks = {{"pHYs", ByteList().big32(2835).big32(3780).byte(1).bytes()}};
    EXPECT_EQ(viewOf(pngFile(recipe)).header().biXPelsPerMeter, 2835);
    EXPECT_EQ(viewOf(pngFile(recipe)).header().biYPelsPerMeter, 3780);
    // A mere ratio says nothing about metres.
    recipe.chunks = {{"pHYs", ByteList().big32(2).big32(1).byte(0).bytes()}};
    EXPECT_EQ(viewOf(pngFile(recipe)).header().biXPelsPerMeter, 0);
}

TEST(Png, ChunksThatDoNotMatterAreNotRead)
{
    PngRecipe recipe{.samples = {9}};
    recipe.chunks = {
        {"iCCP", Bytes(50, 0xFF)}, {"tEXt", {}}, {"gAMA", {1}}, {"zTXt", {'a', 0, 0, 0x78, 0x9C}}};
    EXPECT_EQ(viewOf(pngFile(recipe)).indices(), (Lines{{9}}));
}

TEST(Png, WhatLiesBehindTheEndDoesNotMatter)
{
    Bytes file = pngFile({.samples = {9}});
    file.resize(file.size() + 100, 0xAB);
    EXPECT_EQ(viewOf(file).indices(), (Lines{{9}}));
}

TEST(Png, ADamagedHeader)
{
    Bytes file = pngFile({.samples = {9}});
    file[19] = 2; // width, with the checksum of another
    EXPECT_EQ(errorOf(file), "PNG: IHDR: CRC error");
}

TEST(Png, APaletteThatIsMissing)
{
    EXPECT_EQ(errorOf(pngFile({.colorType = 3, .samples = {0}})), "PNG: IDAT: Missing PLTE before IDAT");
}

TEST(Png, AnImageWithoutPixels)
{
    EXPECT_EQ(errorOf(pngFile({.width = 1, .height = 0})), "PNG: Invalid IHDR data");
}

TEST(Png, ADeclaredSizeThatTheFileCannotHold)
{
    EXPECT_EQ(errorOf(pngFile({.width = 16000, .height = 16000, .omitsPixels = true})),
              "PNG: the file ends early");
    EXPECT_EQ(
        errorOf(pngFile({.width = 100000, .height = 100000, .omitsPixels = true})),
        "PNG: an image of 100000x100000 is too large, at most 268435456 pixels are read (--max-pixels)");
}

} // namespace

} // namespace velmont::io
