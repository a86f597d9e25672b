// Motion blur.

#include "filters/motion_kernels.h"
#include "platform/memory.h"
#include "tests/effects/tone_testing.h"
#include <algorithm>
#include <gtest/gtest.h>
#include <velmont/effects.h>
#include <velmont/filters.h>

namespace velmont::testing {

namespace {

Effect motion(int direction, int distance)
{
    return [=](void *dib) {
        tagParamMotionBlur record{direction, distance};
        return ProcessMotionBlur(dib, &record);
    };
}

bool isDiagonal(int direction)
{
    return direction == 1 || direction == 3 || direction == 6 || direction == 8;
}
bool isUpright(int direction)
{
    return direction == 2 || direction == 7;
}

/// The blur, ray by ray.
Bytes blurred(const Pieces &source, int direction, int distance)
{
    const int channels = source.header.biBitCount / 8, width = source.header.biWidth,
              height = source.header.biHeight;
    const std::size_t stride = strideFor(width, source.header.biBitCount);
    const int dx = direction == 1 || direction == 4 || direction == 6   ? 1
                   : direction == 3 || direction == 5 || direction == 8 ? -1
                                                                        : 0;
    const int dy = direction <= 3 ? -1 : direction >= 6 ? 1 : 0;
    if (width <= distance || height <= distance)
        distance = std::min(width, height);
    Pieces image = source;
    std::fill(image.rows.begin(), image.rows.end(), uint8_t{0});
    for (int y = 0; y < height; ++y)
        for (int x = 0; x < width; ++x)
            for (int channel = 0; channel < channels; ++channel) {
                const auto place = [&](int column, int row) {
                    return static_cast<std::size_t>(row) * stride +
                           static_cast<std::size_t>(column * channels + channel);
                };
                int sum = 0, count = 0;
                for (int k = 0; k < distance; ++k) {
                    int column = x + k * dx, row = y + k * dy;
                    if (isDiagonal(direction) && (column < 0 || column >= width || row < 0 || row >= height))
                        break;
                    column = std::clamp(column, 0, width - 1);
                    row = std::clamp(row, 0, height - 1);
                    sum += source.rows[place(column, row)];
                    ++count;
                }
                image.rows[place(x, y)] = static_cast<uint8_t>(sum / count);
            }
    return image.bytes();
}

/// The gray image with these rows, each of the same length.
Pieces levels(const std::vector<Bytes> &rows)
{
    const int width = static_cast<int>(rows[0].size()), height = static_cast<int>(rows.size());
    Pieces image{makeHeader(width, height, 8, 256), grayRamp(), {}};
    for (Bytes row : rows) {
        row.resize(strideFor(width, 8));
        image.rows.insert(image.rows.end(), row.begin(), row.end());
    }
    return image;
}

/// Each row, or column, polls, and every sixteenth reports its part of `of`.
Events stepEvents(int steps, int of)
{
    Events events;
    for (int i = 0; i < steps; ++i) {
        events.push_back("poll");
        if (of != 0 && i % 16 == 0)
            events.push_back(std::to_string(i * 100 / of) + "%");
    }
    return events;
}

class MotionBlur : public ::testing::Test {
protected:
    NothingLost check_;
    Restore restore_;
};

TEST_F(MotionBlur, Refusals)
{
    const Handle image = gray(5, 4).handle();
    for (const int bad : {0, 9, -1, INT32_MIN, INT32_MAX}) {
        EXPECT_EQ(eventsOfRefusal(image, motion(bad, 5)), Events{}) << bad;
        EXPECT_EQ(eventsOfRefusal(nullptr, motion(bad, 5)), Events{}) << bad;
    }
    for (const int bad : {0, 1, 33, -1, INT32_MIN, INT32_MAX})
        EXPECT_EQ(eventsOfRefusal(image, motion(4, bad)), Events{}) << bad;
    EXPECT_EQ(eventsOfRefusal(nullptr, motion(4, 5)), Events{});
    EXPECT_EQ(eventsOfRefusal(image, [](void *dib) { return ProcessMotionBlur(dib, nullptr); }), Events{});
    EXPECT_EQ(EnhanceAndEffects(image, 53, 0), nullptr);
    for (const Pieces &other : {paletted(5, 4, 8, 256), paletted(5, 4, 8, 9), paletted(5, 4, 4, 16),
                                paletted(5, 4, 1, 2), paletted(5, 4, 16, 0), paletted(5, 4, 32, 0)})
        for (int direction = 1; direction <= 8; ++direction)
            EXPECT_EQ(eventsOfRefusal(other.handle(), motion(direction, 5)), Events{});
    expectLiesRefused(motion(4, 5));
    expectLiesRefused(motion(1, 5));
}

TEST_F(MotionBlur, FlatImagesStay)
{
    for (Pieces image : {gray(39, 37), trueColor(39, 37)})
        for (const uint8_t level : {0, 1, 77, 254, 255}) {
            std::fill(image.rows.begin(), image.rows.end(), level);
            const Bytes expected = blurred(image, 4, 2);
            for (int direction = 1; direction <= 8; ++direction)
                for (int distance = 2; distance <= 32; ++distance)
                    ASSERT_EQ(resultOf(image, motion(direction, distance)), expected)
                        << direction << ", " << distance;
        }
}

TEST_F(MotionBlur, ByHand)
{
    const Pieces image = levels({{1, 2, 30}, {4, 50, 6}, {70, 8, 9}});
    // Truncated, and the edge repeated: (1 + 2) / 2 is 1.
    EXPECT_EQ(resultOf(image, motion(4, 2)), levels({{1, 16, 30}, {27, 28, 6}, {39, 8, 9}}).bytes());
    EXPECT_EQ(resultOf(image, motion(5, 2)), levels({{1, 1, 16}, {4, 27, 28}, {70, 39, 8}}).bytes());
    EXPECT_EQ(resultOf(image, motion(7, 2)), levels({{2, 26, 18}, {37, 29, 7}, {70, 8, 9}}).bytes());
    EXPECT_EQ(resultOf(image, motion(2, 2)), levels({{1, 2, 30}, {2, 26, 18}, {37, 29, 7}}).bytes());
    // Diagonal rays end at the edge: 1 + 50 + 9 over 3.
    EXPECT_EQ(resultOf(image, motion(6, 3)), levels({{20, 4, 30}, {6, 29, 6}, {70, 8, 9}}).bytes());
    EXPECT_EQ(resultOf(image, motion(8, 3)), levels({{1, 3, 50}, {4, 60, 7}, {70, 8, 9}}).bytes());
    EXPECT_EQ(resultOf(image, motion(1, 3)), levels({{1, 2, 30}, {3, 40, 6}, {50, 7, 9}}).bytes());
    EXPECT_EQ(resultOf(image, motion(3, 3)), levels({{1, 2, 30}, {4, 25, 4}, {70, 6, 20}}).bytes());
}

TEST_F(MotionBlur, EdgesOfARow)
{
    // The last pixel keeps its value; the one before it is (pixel + (distance - 1) * last) / distance.
    std::vector<Bytes> rows(6, Bytes{9, 80, 7, 60, 5, 200, 11});
    const Bytes result = resultOf(levels(rows), motion(4, 5));
    EXPECT_EQ(result[1064 + 6], 11);
    EXPECT_EQ(result[1064 + 5], (200 + 4 * 11) / 5);
}

TEST_F(MotionBlur, DistanceIsCutByTheSmallerSide)
{
    for (const auto &[width, height] : {std::pair{10, 100}, {100, 10}, {5, 5}, {20, 50}, {1, 40}, {40, 1}})
        for (const Pieces &image : {gray(width, height), trueColor(width, height)})
            for (int direction = 1; direction <= 8; ++direction)
                EXPECT_EQ(resultOf(image, motion(direction, 20)),
                          blurred(image, direction, std::min(width, height)))
                    << width << " x " << height << ", " << direction;
}

TEST_F(MotionBlur, EveryMeasureAsThePlainLoop)
{
    for (const CpuLevel level : cpuLevels()) {
        limitCpuLevel(level);
        int next = 2;
        for (int width = 1; width <= 40; ++width)
            for (int height = 1; height <= 18; ++height)
                for (const Pieces &image : {gray(width, height), trueColor(width, height)})
                    for (int direction = 1; direction <= 8; ++direction) {
                        next = next == 32 ? 2 : next + 1;
                        ASSERT_EQ(resultOf(image, motion(direction, next)), blurred(image, direction, next))
                            << width << " x " << height << ", direction " << direction << ", distance "
                            << next;
                    }
    }
}

TEST_F(MotionBlur, EveryDistanceOnLargeImages)
{
    for (const auto &[width, height] : {std::pair{1100, 35}, {71, 67}, {34, 90}})
        for (const Pieces &image : {gray(width, height), trueColor(width, height)})
            for (int direction = 1; direction <= 8; ++direction)
                for (int distance = 2; distance <= 32; distance += width > 1000 ? 7 : 1) {
                    const Bytes expected = blurred(image, direction, distance);
                    for (const CpuLevel level : cpuLevels()) {
                        limitCpuLevel(level);
                        ASSERT_EQ(resultOf(image, motion(direction, distance)), expected)
                            << direction << ", " << distance;
                    }
                }
}

TEST_F(MotionBlur, ColumnsBeyondOneStrip)
{
    const auto strip = static_cast<int>(kRayStrip);
    for (const Pieces &image : {gray(strip, 5), gray(strip + 1, 5), trueColor(strip / 3 + 1, 5)})
        for (const int direction : {2, 7}) {
            const Bytes expected = blurred(image, direction, 4);
            for (const CpuLevel level : cpuLevels()) {
                limitCpuLevel(level);
                ASSERT_EQ(resultOf(image, motion(direction, 4)), expected) << direction;
            }
        }
}

TEST_F(MotionBlur, Events)
{
    for (const Pieces &image : {gray(35, 53), trueColor(35, 53)})
        for (int direction = 1; direction <= 8; ++direction) {
            const Events steps = isDiagonal(direction)  ? joined({stepEvents(53 - 7, 53), stepEvents(7, 0)})
                                 : isUpright(direction) ? stepEvents(35, 35)
                                                        : stepEvents(53, 53);
            EXPECT_EQ(eventsOf(image, motion(direction, 7)),
                      joined({{"wait", "poll"}, steps, {"100%", "arrow"}}))
                << direction;
        }
    // No row is far enough from the border: nothing is reported before the end.
    for (const int direction : {1, 3, 6, 8})
        for (const int distance : {5, 32})
            EXPECT_EQ(eventsOf(gray(5, 5), motion(direction, distance)),
                      joined({{"wait", "poll"}, Events(5, "poll"), {"100%", "arrow"}}));
    EXPECT_EQ(eventsOf(gray(1, 9), motion(6, 5)),
              joined({{"wait", "poll"}, {"poll", "0%"}, Events(8, "poll"), {"100%", "arrow"}}));
}

TEST_F(MotionBlur, AbortsAndFailures)
{
    for (const Pieces &image : {gray(19, 18), trueColor(19, 18)})
        for (int direction = 1; direction <= 8; ++direction) {
            expectAborts(image, motion(direction, 6), 1);
            expectFailuresSurvived(image, motion(direction, 6));
        }
}

TEST_F(MotionBlur, WithoutScratchMemoryAsWithoutAResult)
{
    const Handle image = gray(19, 18).handle();
    memory_hooks::failAllocation(2);
    EXPECT_EQ(eventsOfRefusal(image, motion(6, 5)), (Events{"wait", "arrow"}));
    memory_hooks::failAllocation(0);
}

TEST_F(MotionBlur, ByCode)
{
    const Pieces image = trueColor(13, 9);
    EXPECT_EQ(resultOf(image,
                       [](void *dib) {
                           tagParamMotionBlur record{6, 5};
                           return EnhanceAndEffects(dib, 53, reinterpret_cast<long>(&record));
                       }),
              resultOf(image, motion(6, 5)));
}

} // namespace

} // namespace velmont::testing
