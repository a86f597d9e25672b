// The soft edge of masks.

#include "platform/memory.h"
#include "tests/effects/tone_testing.h"
#include <algorithm>
#include <climits>
#include <gtest/gtest.h>
#include <velmont/effects.h>
#include <velmont/filters.h>

namespace velmont::testing {

namespace {

Effect softEdge(uint32_t radius)
{
    return [=](void *dib) {
        tagParamSoftEdge record{radius};
        return ProcessSoftEdge(dib, &record);
    };
}

/// A gray image with the rows of a mask: mostly 255, some 0, some in between, so that many rays are whole.
Pieces mask(int width, int height, uint32_t seed = 1)
{
    Pieces image = gray(width, height, seed);
    for (uint8_t &level : image.rows)
        level = level < 8 ? uint8_t{0} : level < 200 ? uint8_t{255} : level;
    return image;
}

/// Ray by ray, pixel by pixel. The block has its rows at byte 1064.
Bytes softened(const Pieces &source, uint32_t radius)
{
    const Bytes block = source.bytes();
    const int width = source.header.biWidth, height = source.header.biHeight;
    const std::size_t stride = strideFor(width, 8);
    const auto levelAt = [&](int x, int y) {
        return block[1064 + static_cast<std::size_t>(y) * stride + static_cast<std::size_t>(x)];
    };
    Bytes result(block.begin(), block.begin() + 1064);
    result.resize(1064 + stride * static_cast<std::size_t>(height));
    for (int y = 0; y < height; ++y)
        for (int x = 0; x < width; ++x) {
            int smallest = levelAt(x, y) == 0 ? 0 : 255;
            for (int dy = -1; dy <= 1 && smallest > 0; ++dy)
                for (int dx = -1; dx <= 1; ++dx) {
                    if (dx == 0 && dy == 0)
                        continue;
                    int sum = 0;
                    for (int k = 0; k <= static_cast<int>(radius); ++k) {
                        const int column = x + k * dx, row = y + k * dy;
                        if (column < 0 || column >= width || row < 0 || row >= height)
                            break;
                        sum += levelAt(column, row);
                    }
                    smallest = std::min(smallest, sum / (static_cast<int>(radius) + 1));
                }
            result[1064 + static_cast<std::size_t>(y) * stride + static_cast<std::size_t>(x)] =
                static_cast<uint8_t>(smallest);
        }
    return result;
}

class SoftEdge : public ::testing::Test {
protected:
    NothingLost check_;
    Restore restore_;
};

TEST_F(SoftEdge, Refusals)
{
    const Handle image = gray(5, 4).handle();
    for (const uint32_t bad : {0u, 129u, 0x80000000u, UINT_MAX}) {
        EXPECT_EQ(eventsOfRefusal(image, softEdge(bad)), Events{}) << bad;
        EXPECT_EQ(eventsOfRefusal(nullptr, softEdge(bad)), Events{}) << bad;
    }
    EXPECT_EQ(eventsOfRefusal(nullptr, softEdge(5)), Events{});
    EXPECT_EQ(eventsOfRefusal(image, [](void *dib) { return ProcessSoftEdge(dib, nullptr); }), Events{});
    for (const Pieces &other : {trueColor(5, 4), trueColor(50, 40), paletted(5, 4, 4, 16),
                                paletted(5, 4, 1, 2), paletted(5, 4, 16, 0), paletted(5, 4, 32, 0)})
        EXPECT_EQ(eventsOfRefusal(other.handle(), softEdge(5)), Events{});
    expectLiesRefused(softEdge(5));
}

TEST_F(SoftEdge, ReadsAtByte1064)
{
    // Nine colours, and rows where those of 256 colours are: the header and all before the rows come along.
    Pieces image = paletted(5, 4, 8, 256);
    image.header.biClrUsed = 9;
    EXPECT_EQ(resultOf(image, softEdge(2)), softened(image, 2));
    image.header.biClrUsed = 0;
    EXPECT_EQ(resultOf(image, softEdge(2)), softened(image, 2));
    Bytes block = image.bytes();
    block.pop_back();
    EXPECT_EQ(eventsOfRefusal(blockOf(block), softEdge(2)), Events{});
    EXPECT_EQ(eventsOfRefusal(paletted(5, 4, 8, 9).handle(), softEdge(2)), Events{});
}

TEST_F(SoftEdge, WhiteByHand)
{
    Pieces image = gray(9, 9);
    std::fill(image.rows.begin(), image.rows.end(), uint8_t{255});
    const Bytes result = resultOf(image, softEdge(3));
    const auto levelAt = [&](int x, int y) {
        return result[1064 + static_cast<std::size_t>(y * 12) + static_cast<std::size_t>(x)];
    };
    EXPECT_EQ(levelAt(0, 0), 63); // 255 / 4, rounded down
    EXPECT_EQ(levelAt(8, 8), 63);
    EXPECT_EQ(levelAt(0, 4), 63);
    EXPECT_EQ(levelAt(1, 4), 127);
    EXPECT_EQ(levelAt(4, 2), 191);
    EXPECT_EQ(levelAt(3, 3), 255);
    EXPECT_EQ(levelAt(5, 5), 255);
    EXPECT_EQ(levelAt(6, 5), 191);
    EXPECT_EQ(result[1064 + 9], 0) << "padding";
}

TEST_F(SoftEdge, EachRayCounts)
{
    // One black pixel two steps away in each of the eight directions: 2 of 3 samples are left.
    for (int dy = -1; dy <= 1; ++dy)
        for (int dx = -1; dx <= 1; ++dx) {
            Pieces image = gray(9, 9);
            std::fill(image.rows.begin(), image.rows.end(), uint8_t{255});
            image.rows[static_cast<std::size_t>((4 + 2 * dy) * 12 + 4 + 2 * dx)] = 0;
            const Bytes result = resultOf(image, softEdge(2));
            EXPECT_EQ(result[1064 + 4 * 12 + 4], dx == 0 && dy == 0 ? 0 : 170) << dx << ", " << dy;
        }
}

TEST_F(SoftEdge, BlackStays)
{
    Pieces image = gray(20, 10);
    std::fill(image.rows.begin(), image.rows.end(), uint8_t{0});
    for (const uint32_t radius : {1u, 5u, 128u})
        EXPECT_EQ(resultOf(image, softEdge(radius)), image.bytes());
}

TEST_F(SoftEdge, EveryMeasureAsThePlainLoop)
{
    uint32_t next = 0;
    for (int width = 1; width <= 40; ++width)
        for (int height = 1; height <= 18; ++height)
            for (const Pieces &image :
                 {gray(width, height), mask(width, height), paletted(width, height, 8, 256)}) {
                next = next % 128 + 1;
                const uint32_t radius = next % 2 == 0 ? next % 19 + 1 : next;
                const Bytes expected = softened(image, radius);
                for (const CpuLevel level : cpuLevels()) {
                    limitCpuLevel(level);
                    ASSERT_EQ(resultOf(image, softEdge(radius)), expected)
                        << width << " x " << height << ", " << radius;
                }
            }
}

TEST_F(SoftEdge, EveryRadiusOnLargerImages)
{
    // White but for noise far from the middle, so that whole rays of every length come out.
    for (const auto &[width, height] : {std::pair{290, 21}, {23, 280}, {70, 75}}) {
        Pieces image = mask(width, height);
        for (uint32_t radius = 1; radius <= 128; radius += width == 70 ? 1 : 9)
            ASSERT_EQ(resultOf(image, softEdge(radius)), softened(image, radius)) << radius;
    }
    Pieces white = gray(300, 280);
    std::fill(white.rows.begin(), white.rows.end(), uint8_t{255});
    for (const uint32_t radius : {1u, 2u, 63u, 64u, 65u, 127u, 128u})
        EXPECT_EQ(resultOf(white, softEdge(radius)), softened(white, radius)) << radius;
}

TEST_F(SoftEdge, CursorsAlone)
{
    const Pieces image = gray(19, 35);
    EXPECT_EQ(eventsOf(image, softEdge(4)), (Events{"wait", "arrow"}));
    expectFailuresSurvived(image, softEdge(4));
    const Handle handle = image.handle();
    for (const int allocation : {1, 2}) {
        memory_hooks::failAllocation(allocation);
        EXPECT_EQ(eventsOfRefusal(handle, softEdge(4)), (Events{"wait", "arrow"}));
    }
    memory_hooks::failAllocation(0);
}

TEST_F(SoftEdge, ByCode)
{
    const Pieces image = mask(37, 35);
    EXPECT_EQ(resultOf(image,
                       [](void *dib) {
                           tagParamSoftEdge record{6};
                           return EnhanceAndEffects(dib, 68, reinterpret_cast<long>(&record));
                       }),
              softened(image, 6));
}

} // namespace

} // namespace velmont::testing
