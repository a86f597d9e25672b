// Run-length coded BMP files.
#include "tests/io/picture_view.h"
#include <gtest/gtest.h>

namespace velmont::io {

namespace {

using samples::bmpFile;
using samples::BmpRecipe;
using testing::Bytes;
using testing::errorOf;
using testing::Lines;
using testing::viewOf;

Bytes rle8(int width, int height, const Bytes &data)
{
    return bmpFile({.width = width,
                    .height = height,
                    .bits = 8,
                    .compression = 1,
                    .palette = Bytes(1024, 7),
                    .pixels = data});
}

Bytes rle4(int width, int height, const Bytes &data)
{
    return bmpFile({.width = width,
                    .height = height,
                    .bits = 4,
                    .compression = 2,
                    .palette = Bytes(64, 7),
                    .pixels = data});
}

TEST(BmpRle, Runs)
{
    EXPECT_EQ(viewOf(rle8(3, 2, {3, 5, 0, 0, 1, 6, 2, 7, 0, 1})).indices(), (Lines{{6, 7, 7}, {5, 5, 5}}));
    EXPECT_EQ(viewOf(rle4(5, 1, {5, 0x12, 0, 1})).indices(), (Lines{{1, 2, 1, 2, 1}}));
}

TEST(BmpRle, ARunThatStartsInTheMiddleOfAByte)
{
    EXPECT_EQ(viewOf(rle4(5, 1, {1, 0x30, 4, 0x12, 0, 1})).indices(), (Lines{{3, 1, 2, 1, 2}}));
}

TEST(BmpRle, PixelsAsTheyAreArePaddedToWords)
{
    // Three bytes and a padding byte, then a run.
    EXPECT_EQ(viewOf(rle8(4, 1, {0, 3, 1, 2, 3, 0xEE, 1, 9, 0, 1})).indices(), (Lines{{1, 2, 3, 9}}));
    EXPECT_EQ(viewOf(rle8(5, 1, {0, 4, 1, 2, 3, 4, 1, 9, 0, 1})).indices(), (Lines{{1, 2, 3, 4, 9}}));
    // Five nibbles are three bytes; six are too; seven are four.
    EXPECT_EQ(viewOf(rle4(6, 1, {0, 5, 0x12, 0x34, 0x50, 0xEE, 1, 0x90, 0, 1})).indices(),
              (Lines{{1, 2, 3, 4, 5, 9}}));
    EXPECT_EQ(viewOf(rle4(7, 1, {0, 6, 0x12, 0x34, 0x56, 0xEE, 1, 0x90, 0, 1})).indices(),
              (Lines{{1, 2, 3, 4, 5, 6, 9}}));
    EXPECT_EQ(viewOf(rle4(8, 1, {0, 7, 0x12, 0x34, 0x56, 0x70, 1, 0x90, 0, 1})).indices(),
              (Lines{{1, 2, 3, 4, 5, 6, 7, 9}}));
}

TEST(BmpRle, JumpsLeaveTheFirstColor)
{
    EXPECT_EQ(viewOf(rle8(4, 3, {1, 5, 0, 2, 2, 1, 1, 6, 0, 1})).indices(),
              (Lines{{0, 0, 0, 0}, {0, 0, 0, 6}, {5, 0, 0, 0}}));
    EXPECT_EQ(viewOf(rle4(4, 2, {1, 0x50, 0, 2, 0, 1, 2, 0x67, 0, 1})).indices(),
              (Lines{{0, 6, 7, 0}, {5, 0, 0, 0}}));
}

TEST(BmpRle, RowsMayStopShort)
{
    EXPECT_EQ(viewOf(rle8(3, 3, {1, 5, 0, 0, 0, 0, 1, 6, 0, 0, 0, 1})).indices(),
              (Lines{{6, 0, 0}, {0, 0, 0}, {5, 0, 0}}));
}

TEST(BmpRle, TheImageMayStopShort)
{
    EXPECT_EQ(viewOf(rle8(2, 2, {0, 1})).indices(), (Lines{{0, 0}, {0, 0}}));
}

TEST(BmpRle, NothingBehindTheEndIsRead)
{
    EXPECT_EQ(viewOf(rle8(2, 1, {2, 5, 0, 1, 200, 6})).indices(), (Lines{{5, 5}}));
}

TEST(BmpRle, TheEndMarkMayBeMissingBehindTheLastPixel)
{
    EXPECT_EQ(viewOf(rle8(2, 1, {2, 5})).indices(), (Lines{{5, 5}}));
    EXPECT_EQ(viewOf(rle8(2, 2, {2, 5, 0, 0, 2, 6, 0, 0})).indices(), (Lines{{6, 6}, {5, 5}}));
    EXPECT_EQ(viewOf(rle8(3, 1, {0, 3, 1, 2, 3})).indices(), (Lines{{1, 2, 3}}));
}

TEST(BmpRle, DataThatEndsEarly)
{
    const std::string line = "BMP: the file ends early";
    EXPECT_EQ(errorOf(rle8(3, 1, {})), line);
    EXPECT_EQ(errorOf(rle8(3, 1, {2, 5})), line);
    EXPECT_EQ(errorOf(rle8(3, 1, {3})), line);
    EXPECT_EQ(errorOf(rle8(3, 2, {3, 5, 0, 0})), line);
    EXPECT_EQ(errorOf(rle8(3, 1, {0, 3, 1, 2})), line);
    EXPECT_EQ(errorOf(rle8(9, 1, {0, 3, 1, 2, 3})), line);
    EXPECT_EQ(errorOf(rle8(3, 1, {0, 2, 1})), line);
    EXPECT_EQ(errorOf(rle8(3, 1, {0})), line);
}

TEST(BmpRle, RowsMayBePaddedBeforeTheyAreCoded)
{
    // To four pixels at 8 bits, to eight at 4 bits.
    EXPECT_EQ(viewOf(rle8(3, 2, {4, 5, 0, 0, 2, 6, 2, 7, 0, 1})).indices(), (Lines{{6, 6, 7}, {5, 5, 5}}));
    EXPECT_EQ(viewOf(rle4(3, 1, {8, 0x12, 0, 1})).indices(), (Lines{{1, 2, 1}}));
}

TEST(BmpRle, RunsThatEndOutside)
{
    EXPECT_EQ(errorOf(rle8(3, 1, {5, 5, 0, 1})),
              "BMP: a run of 5 pixels at column 0 of row 0 ends outside the image");
    EXPECT_EQ(errorOf(rle8(3, 1, {2, 5, 0, 3, 1, 2, 3, 0, 0, 1})),
              "BMP: a run of 3 pixels at column 2 of row 0 ends outside the image");
    EXPECT_EQ(errorOf(rle4(3, 1, {9, 0x12, 0, 1})),
              "BMP: a run of 9 pixels at column 0 of row 0 ends outside the image");
    EXPECT_EQ(errorOf(rle8(3, 1, {3, 5, 0, 0, 1, 5, 0, 1})),
              "BMP: a run of 1 pixels at column 0 of row 1 ends outside the image");
    EXPECT_EQ(errorOf(rle4(3, 1, {255, 5})),
              "BMP: a run of 255 pixels at column 0 of row 0 ends outside the image");
}

TEST(BmpRle, JumpsThatEndOutside)
{
    EXPECT_EQ(errorOf(rle8(3, 2, {1, 5, 0, 2, 3, 0, 0, 1})),
              "BMP: a jump from column 1 of row 0 ends outside the image");
    EXPECT_EQ(errorOf(rle8(3, 2, {4, 5, 0, 2, 0, 1, 0, 1})),
              "BMP: a jump from column 4 of row 0 ends outside the image");
    EXPECT_EQ(errorOf(rle8(3, 2, {0, 2, 0, 2, 0, 1})),
              "BMP: a jump from column 0 of row 0 ends outside the image");
    EXPECT_EQ(errorOf(rle8(3, 1, {0, 0, 0, 2, 0, 0, 0, 1})),
              "BMP: a jump from column 0 of row 1 ends outside the image");
}

TEST(BmpRle, LinesBehindTheLastOneAreNoDanger)
{
    EXPECT_EQ(viewOf(rle8(1, 1, {1, 5, 0, 0, 0, 0, 0, 0, 0, 1})).indices(), (Lines{{5}}));
}

TEST(BmpRle, AFewBytesCannotDemandAHugeImage)
{
    EXPECT_EQ(errorOf(rle8(16000, 16000, {0, 1})), "BMP: 2 bytes cannot hold 16000x16000 pixels");
}

} // namespace

} // namespace velmont::io
