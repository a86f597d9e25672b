// Pictures that lie in their file another way, put upright.
#include "io/turn.h"
#include "tests/io/picture_view.h"
#include <gtest/gtest.h>

namespace velmont::io {

namespace {

using testing::Lines;
using testing::noisePicture;
using testing::PictureView;

/// What a viewer shows of lines that lie as an orientation says, step by step as the tag is defined: where the
/// first line and the first column of the file belong.
Lines upright(const Lines &lines, unsigned orientation)
{
    const std::size_t height = lines.size(), width = lines.front().size();
    const bool isTurned = orientation >= 5;
    Lines result(isTurned ? width : height, std::vector<unsigned>(isTurned ? height : width));
    // The file's first line is the top, bottom, left or right side, its first column likewise.
    const bool lineAtEnd = orientation == 3 || orientation == 4 || orientation == 6 || orientation == 7;
    const bool columnAtEnd = orientation == 2 || orientation == 3 || orientation == 7 || orientation == 8;
    for (std::size_t line = 0; line < height; ++line) {
        for (std::size_t column = 0; column < width; ++column) {
            const std::size_t a = lineAtEnd ? height - 1 - line : line;
            const std::size_t b = columnAtEnd ? width - 1 - column : column;
            result[isTurned ? b : a][isTurned ? a : b] = lines[line][column];
        }
    }
    return result;
}

TEST(Turn, EveryOrientationDepthAndSize)
{
    for (unsigned orientation = 1; orientation <= 8; ++orientation) {
        for (const unsigned bits : {1u, 4u, 8u, 24u}) {
            for (const auto &[width, height] : {std::pair(1, 1), {1, 9}, {9, 1}, {5, 3}, {8, 8}, {67, 131}}) {
                Picture picture = noisePicture(width, height, bits, bits == 24 ? 0 : 1u << bits, true);
                const PictureView before(picture);
                turnUpright(picture, orientation);
                const PictureView after(picture);
                const std::string name = std::to_string(orientation) + ", " + std::to_string(bits) + " bits";
                ASSERT_EQ(after.colors(), upright(before.colors(), orientation)) << name;
                ASSERT_EQ(after.alpha(), upright(before.alpha(), orientation)) << name;
                ASSERT_EQ(after.palette(), before.palette()) << name;
            }
        }
    }
}

TEST(Turn, AQuarterTurnExchangesTheResolutions)
{
    for (unsigned orientation = 1; orientation <= 8; ++orientation) {
        Picture picture = noisePicture(3, 2, 24, 0, false);
        auto *const header = static_cast<DibHeader *>(KelMemLock(picture.dib.get()));
        header->biXPelsPerMeter = 1000;
        header->biYPelsPerMeter = 2000;
        KelMemUnlock(picture.dib.get());
        turnUpright(picture, orientation);
        const DibHeader after = PictureView(picture).header();
        EXPECT_EQ(after.biXPelsPerMeter, orientation < 5 ? 1000 : 2000) << orientation;
        EXPECT_EQ(after.biYPelsPerMeter, orientation < 5 ? 2000 : 1000) << orientation;
    }
}

TEST(Turn, NumbersThatAreNoOrientationTurnNothing)
{
    for (const unsigned orientation : {0u, 1u, 9u, 65535u, 4294967295u}) {
        Picture picture = noisePicture(3, 2, 8, 256, true);
        const PictureView before(picture);
        turnUpright(picture, orientation);
        EXPECT_EQ(PictureView(picture).block(), before.block());
        EXPECT_EQ(PictureView(picture).alpha(), before.alpha());
    }
}

} // namespace

} // namespace velmont::io
