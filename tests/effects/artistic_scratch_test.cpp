// Dust and scratches: the rank, the first pixel, the threshold, and every kernel against windows that are sorted.

#include "filters/median_kernels.h"
#include "platform/memory.h"
#include "tests/effects/filter_testing.h"
#include "tests/effects/warp_testing.h"
#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <gtest/gtest.h>
#include <velmont/effects.h>
#include <velmont/restoration.h>

namespace velmont::testing {

namespace {

Effect scratch(int threshold, int radius)
{
    return [=](void *dib) {
        tagScratchParam record{threshold, radius};
        return ProcessScratch(dib, &record);
    };
}

/// A 24-bit image's bytes with zero padding.
Bytes withoutPadding(Bytes block)
{
    DibHeader header;
    if (block.size() < sizeof header)
        return block;
    std::memcpy(&header, block.data(), sizeof header);
    const std::size_t stride = strideFor(header.biWidth, 24),
                      used = 3 * static_cast<std::size_t>(header.biWidth);
    for (std::size_t row = sizeof header; row < block.size(); row += stride)
        std::fill(block.begin() + static_cast<std::ptrdiff_t>(row + used),
                  block.begin() + static_cast<std::ptrdiff_t>(row + stride), uint8_t{0});
    return block;
}

Bytes cleaned(const Pieces &image, int threshold, int radius)
{
    return withoutPadding(resultOf(image, scratch(threshold, radius)));
}

/// The least value that so many samples of the window lie at or below as the rank asks for.
int medianAt(Samples &samples, int x, int y, int channel, int radius)
{
    std::vector<int> window;
    for (int j = -radius; j <= radius; ++j)
        for (int i = -radius; i <= radius; ++i)
            window.push_back(samples.of(x + i, y + j, channel));
    const int rank = (radius + 1) * radius * 2;
    const auto place = window.begin() + (rank - 1);
    std::nth_element(window.begin(), place, window.end());
    return *place;
}

Bytes plainScratch(const Pieces &image, int threshold, int radius)
{
    Samples samples = samplesOf(image), result = samples;
    for (int y = 0; y < samples.height; ++y)
        for (int x = 0; x < samples.width; ++x) {
            int medians[3];
            bool isReplaced = false;
            for (int channel = 0; channel < 3; ++channel) {
                medians[channel] = x == 0 && y == 0 ? 255
                                   : radius == 0    ? 0
                                                    : medianAt(samples, x, y, channel, radius);
                isReplaced = isReplaced || std::abs(samples.of(x, y, channel) - medians[channel]) > threshold;
            }
            for (int channel = 0; channel < 3 && isReplaced; ++channel)
                result.of(x, y, channel) = medians[channel];
        }
    return withSamples(image, result);
}

Events scratchEvents(int height, int radius)
{
    Events events{"wait", "poll"};
    for (int y = radius; y < height + radius; ++y) {
        events.push_back("poll");
        events.push_back(std::to_string(y * 100 / (height + radius)) + "%");
    }
    return joined({events, {"arrow", "100%"}});
}

class Scratch : public ::testing::Test {
protected:
    void expectOnEveryLevel(const Pieces &image, int threshold, int radius)
    {
        const Bytes expected = plainScratch(image, threshold, radius);
        for (const CpuLevel level : cpuLevels()) {
            limitCpuLevel(level);
            ASSERT_EQ(cleaned(image, threshold, radius), expected)
                << image.header.biWidth << " x " << image.header.biHeight << ", radius " << radius
                << ", threshold " << threshold;
        }
    }

    NothingLost check_;
    Restore restore_;
};

TEST_F(Scratch, Refusals)
{
    const Handle image = trueColor(5, 4).handle();
    EXPECT_EQ(eventsOfRefusal(image, [](void *dib) { return ProcessScratch(dib, nullptr); }), Events{});
    EXPECT_EQ(eventsOfRefusal(nullptr, scratch(10, 2)), Events{});
    EXPECT_EQ(EnhanceAndEffects(image, 4714, 0), nullptr);
    for (const int radius : {-1, 125, INT32_MIN, INT32_MAX})
        EXPECT_EQ(eventsOfRefusal(image, scratch(10, radius)), Events{}) << radius;
    for (const Pieces &other : {gray(5, 4), paletted(5, 4, 8, 256), paletted(5, 4, 4, 16),
                                paletted(5, 4, 1, 2), paletted(5, 4, 16, 0), paletted(5, 4, 32, 0)})
        EXPECT_EQ(eventsOfRefusal(other.handle(), scratch(10, 2)), Events{});
    expectLiesRefused(scratch(10, 2));
}

TEST_F(Scratch, TheCodeReachesIt)
{
    const Handle image = trueColor(8, 7).handle(); // no padding
    tagScratchParam record{10, 2};
    const Handle direct(ProcessScratch(image, &record));
    const Handle coded(EnhanceAndEffects(image, 4714, reinterpret_cast<long>(&record)));
    ASSERT_NE(static_cast<void *>(coded), nullptr);
    EXPECT_EQ(bytesOf(direct), bytesOf(coded));
}

// Nine samples 1 to 9: the fourth lowest counts, not the fifth.
TEST_F(Scratch, OneRankBelowTheMiddle)
{
    Pieces image = trueColor(4, 3);
    for (int y = 0; y < 3; ++y)
        for (int x = 0; x < 4; ++x)
            setPixel(image, x, y, Bytes(3, static_cast<uint8_t>(x == 0 ? 200 : 3 * y + x)));
    const Bytes result = cleaned(image, -1, 1);
    EXPECT_EQ(result[40 + 12 + 3 * 2], 4);
}

TEST_F(Scratch, ASpeckGoesAndWhatIsInLineStays)
{
    Pieces image = flat(trueColor(9, 9), 100);
    setPixel(image, 4, 4, {100, 111, 100}); // one channel is out of line: all become the medians
    setPixel(image, 6, 2, {110, 90, 100});  // just within the threshold
    Pieces expected = image;
    setPixel(expected, 4, 4, {100, 100, 100});
    setPixel(expected, 0, 0, {255, 255, 255});
    EXPECT_EQ(cleaned(image, 10, 1), withoutPadding(expected.bytes()));
}

TEST_F(Scratch, TheFirstPixelIsHeldAgainstWhite)
{
    const std::size_t first = 40;
    Pieces image = flat(trueColor(6, 5), 200);
    for (const int radius : {0, 1, 2, 6}) {
        EXPECT_EQ(cleaned(image, 54, radius)[first], 255) << radius;
        EXPECT_EQ(cleaned(image, 55, radius)[first], 200) << radius;
    }
    setPixel(image, 0, 0, {255, 200, 255});
    EXPECT_EQ(cleaned(image, 54, 3)[first + 1], 255);
    EXPECT_EQ(cleaned(flat(trueColor(1, 1), 7), 10, 4)[first], 255);
}

TEST_F(Scratch, WithoutARadiusBrightPixelsTurnBlack)
{
    Pieces image = flat(trueColor(4, 2), 30);
    setPixel(image, 2, 1, {30, 31, 30});
    Pieces expected = image;
    setPixel(expected, 2, 1, {0, 0, 0});
    setPixel(expected, 0, 0, {255, 255, 255});
    EXPECT_EQ(cleaned(image, 30, 0), withoutPadding(expected.bytes()));
}

TEST_F(Scratch, Thresholds)
{
    const Pieces image = trueColor(17, 11);
    for (const int threshold : {255, 256, INT32_MAX})
        EXPECT_EQ(cleaned(image, threshold, 2), withoutPadding(image.bytes())) << threshold;
    for (const int threshold : {INT32_MIN, -300, -1, 0, 1, 40, 128, 254})
        expectOnEveryLevel(image, threshold, 2);
}

TEST_F(Scratch, AsSortedWindows)
{
    for (int width = 1; width <= 40; ++width)
        for (int height = 1; height <= 18; ++height) {
            const int radius = (width + height) % 6;
            expectOnEveryLevel(trueColor(width, height, static_cast<uint32_t>(width * 100 + height)),
                               (width * 3 + height) % 60, radius);
        }
}

TEST_F(Scratch, EachRadiusOfTheRankKernels)
{
    for (int radius = 1; radius <= 6; ++radius)
        for (const int width : {1, 2, 127, 129, 300})
            expectOnEveryLevel(trueColor(width, 5, static_cast<uint32_t>(width)), -1, radius);
}

/// Few levels: windows of many equal samples.
Pieces coarse(Pieces image)
{
    for (uint8_t &byte : image.rows)
        byte = static_cast<uint8_t>(byte / 64 * 85);
    return image;
}

TEST_F(Scratch, LargeWindows)
{
    for (const int radius : {15, 16, 63, 64, 90, 91, 123, 124})
        for (const Pieces &image : {trueColor(9, 7), coarse(trueColor(23, 4)), flat(trueColor(5, 5), 255)})
            expectOnEveryLevel(image, -1, radius);
}

TEST_F(Scratch, FewLevels)
{
    for (const int radius : {1, 2, 3, 4, 5, 8})
        expectOnEveryLevel(coarse(trueColor(67, 19)), 10, radius);
}

TEST_F(Scratch, WithoutCountsTheRowsAreCountedAnew)
{
    const Pieces image = trueColor(31, 12);
    const Handle source = image.handle();
    memory_hooks::failAllocation(3); // result, row, counts
    const Handle result(scratch(5, 7)(source));
    memory_hooks::failAllocation(0);
    ASSERT_NE(static_cast<void *>(result), nullptr);
    EXPECT_EQ(withoutPadding(bytesOf(result)), plainScratch(image, 5, 7));
}

TEST_F(Scratch, PollsAndReports)
{
    for (const int radius : {0, 1, 2, 9, 124})
        for (const int height : {1, 17, 40})
            EXPECT_EQ(eventsOf(trueColor(5, height), scratch(10, radius)), scratchEvents(height, radius))
                << radius;
}

TEST_F(Scratch, TheArrowComesBeforeTheLocksGo)
{
    const Handle source = trueColor(5, 1).handle();
    WatchingHost host(source);
    const Handle result(scratch(10, 7)(source));
    ASSERT_EQ(host.sights.size(), 6u);
    EXPECT_EQ(host.sights[0], (Sight{"wait", 1, 0, 1}));
    EXPECT_EQ(host.sights[4], (Sight{"arrow", 1, 1, 2}));
    EXPECT_EQ(host.sights[5], (Sight{"100%", 0, 1, 0}));
}

TEST_F(Scratch, AbortsAndFailures)
{
    for (const int radius : {0, 2, 7}) {
        expectAborts(trueColor(5, 18), scratch(10, radius), 1, {"arrow", "100%"});
        expectFailuresSurvived(trueColor(5, 18), scratch(10, radius));
    }
    const Handle source = trueColor(5, 18).handle();
    for (int n = 1; n <= 2; ++n) {
        memory_hooks::failAllocation(n);
        EXPECT_EQ(eventsOfRefusal(source, scratch(10, 2)), (Events{"wait", "arrow"})) << n;
    }
    memory_hooks::failAllocation(0);
}

TEST_F(Scratch, TheResultIsAskedForWithoutFlags)
{
    const Handle source = trueColor(5, 4).handle();
    memory_hooks::failAllocation(1);
    EXPECT_EQ(scratch(10, 2)(source), nullptr);
    EXPECT_EQ(memory_hooks::counts().lastFlags, 0u);
    EXPECT_EQ(memory_hooks::counts().lastBytes, 40u + 16 * 4);
}

// What lies behind 40 bytes of a longer header are rows, and padding that nobody writes.
TEST_F(Scratch, OfALongHeaderFortyBytesAreCopied)
{
    memory_hooks::setFillByte(0x5A);
    Pieces image = flat(trueColor(1, 6), 77);
    image.header.biSize = 48;
    const Bytes result = resultOf(image, scratch(255, 2));
    Bytes expected = image.bytes();
    for (std::size_t y = 0; y < 6; ++y)
        expected[40 + 4 * y + 3] = 0x5A;
    EXPECT_EQ(result, expected);
}

TEST_F(Scratch, ThePaddingIsNotWritten)
{
    memory_hooks::setFillByte(0x5A);
    const Bytes result = resultOf(trueColor(5, 4), scratch(10, 2));
    for (std::size_t y = 0; y < 4; ++y)
        EXPECT_EQ(result[40 + 16 * y + 15], 0x5A);
}

} // namespace

} // namespace velmont::testing
