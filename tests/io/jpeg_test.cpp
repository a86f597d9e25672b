// JPEG files of every kind. Images of one colour survive the coding exactly, or nearly so where colours are
// converted.
#include "tests/io/picture_view.h"
#include <algorithm>
#include <gtest/gtest.h>

namespace velmont::io {

namespace {

using samples::jpegFile;
using samples::JpegRecipe;
using testing::Bytes;
using testing::errorOf;
using testing::Lines;
using testing::PictureView;
using testing::viewOf;

/// A file of 16x16 pixels of one colour.
JpegRecipe flat(const Bytes &color)
{
    JpegRecipe recipe{.width = 16, .height = 16, .components = static_cast<int>(color.size())};
    for (int i = 0; i < 16 * 16; ++i)
        recipe.samples.insert(recipe.samples.end(), color.begin(), color.end());
    return recipe;
}

/// Whether every pixel is within `most` of a colour, channel by channel.
::testing::AssertionResult isNear(const PictureView &view, unsigned color, int most)
{
    for (const std::vector<unsigned> &line : view.colors())
        for (const unsigned pixel : line)
            for (const unsigned shift : {0u, 8u, 16u})
                if (std::abs(static_cast<int>(pixel >> shift & 255) -
                             static_cast<int>(color >> shift & 255)) > most)
                    return ::testing::AssertionFailure() << std::hex << pixel << " is not near " << color;
    return ::testing::AssertionSuccess();
}

TEST(Jpeg, Gray)
{
    const PictureView view = viewOf(jpegFile(flat({77})));
    EXPECT_EQ(view.header().biBitCount, 8);
    EXPECT_EQ(view.palette(), testing::grayRamp());
    EXPECT_TRUE(isNear(view, 0x4D4D4D, 0));
}

TEST(Jpeg, TheTopLineIsTheLastRow)
{
    JpegRecipe recipe = flat({0});
    std::fill(recipe.samples.begin() + 8 * 16, recipe.samples.end(), uint8_t{255});
    const Lines lines = viewOf(jpegFile(recipe)).indices();
    EXPECT_EQ(lines.front(), std::vector<unsigned>(16, 0));
    EXPECT_EQ(lines.back(), std::vector<unsigned>(16, 255));
}

TEST(Jpeg, Color)
{
    const PictureView view = viewOf(jpegFile(flat({200, 100, 50})));
    EXPECT_EQ(view.header().biBitCount, 24);
    EXPECT_TRUE(isNear(view, 0xC86432, 2));
}

TEST(Jpeg, ColorStoredAsItIs)
{
    JpegRecipe recipe = flat({200, 100, 50});
    recipe.asRgb = true;
    EXPECT_TRUE(isNear(viewOf(jpegFile(recipe)), 0xC86432, 0));
}

TEST(Jpeg, InksWithAnAdobeMarkerAreInverted)
{
    // The light that the colours leave times the light that black leaves: 200 * 128 / 255 = 100.4.
    EXPECT_TRUE(isNear(viewOf(jpegFile(flat({200, 100, 50, 255}))), 0xC86432, 0));
    EXPECT_TRUE(isNear(viewOf(jpegFile(flat({200, 100, 50, 128}))), 0x643219, 0));
    EXPECT_TRUE(isNear(viewOf(jpegFile(flat({200, 100, 50, 0}))), 0, 0));
}

TEST(Jpeg, InksWithoutAnAdobeMarkerAreNot)
{
    JpegRecipe recipe = flat({55, 155, 205, 127});
    recipe.hasAdobe = false;
    EXPECT_TRUE(isNear(viewOf(jpegFile(recipe)), 0x643219, 0));
}

TEST(Jpeg, InksStoredAsLuminanceAndChrominance)
{
    JpegRecipe recipe = flat({200, 100, 50, 255});
    recipe.asYcck = true;
    EXPECT_TRUE(isNear(viewOf(jpegFile(recipe)), 0xC86432, 2));
}

TEST(Jpeg, ProgressiveAndArithmeticFiles)
{
    JpegRecipe recipe = flat({200, 100, 50});
    const Bytes plain = viewOf(jpegFile(recipe)).block();
    recipe.isProgressive = true;
    EXPECT_EQ(viewOf(jpegFile(recipe)).block(), plain);
    recipe.isArithmetic = true;
    EXPECT_EQ(viewOf(jpegFile(recipe)).block(), plain);
    recipe.isProgressive = false;
    EXPECT_EQ(viewOf(jpegFile(recipe)).block(), plain);
}

int32_t resolutionOf(unsigned unit, unsigned density)
{
    JpegRecipe recipe = flat({77});
    recipe.densityUnit = unit;
    recipe.density = density;
    const PictureView view = viewOf(jpegFile(recipe));
    EXPECT_EQ(view.header().biXPelsPerMeter, view.header().biYPelsPerMeter);
    return view.header().biXPelsPerMeter;
}

TEST(Jpeg, Resolution)
{
    EXPECT_EQ(resolutionOf(0, 1), 0);
    EXPECT_EQ(resolutionOf(1, 72), 2835);   // 2834.6
    EXPECT_EQ(resolutionOf(1, 96), 3780);   // 3779.5
    EXPECT_EQ(resolutionOf(1, 300), 11811); // 11811.02
    EXPECT_EQ(resolutionOf(2, 118), 11800);
}

TEST(Jpeg, TwoComponentsAreNoImage)
{
    EXPECT_EQ(errorOf(jpegFile(flat({1, 2}))), "JPEG: 2 components are no gray, RGB or CMYK image");
}

TEST(Jpeg, AFileThatEndsEarly)
{
    Bytes file = jpegFile(flat({77}));
    file.pop_back();
    EXPECT_EQ(errorOf(file), "JPEG: the file ends early");
    file.resize(20);
    EXPECT_EQ(errorOf(file), "JPEG: the file ends early");
    file.resize(2);
    EXPECT_EQ(errorOf(file), "JPEG: the file ends early");
}

TEST(Jpeg, AnEndMarkThatComesEarly)
{
    JpegRecipe recipe{.width = 16, .height = 16};
    for (unsigned i = 0; i < 256; ++i)
        recipe.samples.push_back(static_cast<uint8_t>(i * i * 31));
    Bytes file = jpegFile(recipe);
    file.erase(file.end() - 100, file.end() - 2);
    EXPECT_EQ(errorOf(file), "JPEG: the file ends early");
}

TEST(Jpeg, WhatLiesBehindTheEndDoesNotMatter)
{
    Bytes file = jpegFile(flat({77}));
    file.resize(file.size() + 100, 0xAB);
    EXPECT_TRUE(isNear(viewOf(file), 0x4D4D4D, 0));
}

/// Where a marker stands in a file.
Bytes::iterator findMarker(Bytes &file, uint8_t marker)
{
    const Bytes wanted = {0xFF, marker};
    return std::search(file.begin(), file.end(), wanted.begin(), wanted.end());
}

TEST(Jpeg, ADeclaredSizeThatTheFileCannotHold)
{
    Bytes file = jpegFile(flat({77}));
    const auto frame = findMarker(file, 0xC0);
    std::fill(frame + 5, frame + 9, uint8_t{0x3C});
    EXPECT_EQ(errorOf(file), "JPEG: the file ends early");
}

TEST(Jpeg, EndlessScansAreRefused)
{
    JpegRecipe recipe = flat({77});
    recipe.isProgressive = true;
    Bytes file = jpegFile(recipe);
    Bytes::iterator last = file.end();
    const Bytes scanMark = {0xFF, 0xDA};
    last = std::find_end(file.begin(), file.end(), scanMark.begin(), scanMark.end());
    const Bytes scan(last, file.end() - 2);
    const Bytes end(file.end() - 2, file.end());
    file.erase(file.end() - 2, file.end());
    for (int i = 0; i < 600; ++i)
        file.insert(file.end(), scan.begin(), scan.end());
    file.insert(file.end(), end.begin(), end.end());
    EXPECT_EQ(errorOf(file), "JPEG: more than 500 scans");
}

} // namespace

} // namespace velmont::io
