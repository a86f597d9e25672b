#pragma once

/// \file
/// What the tests of the painting effects share.

#include "platform/memory.h"
#include "tests/effects/tone_testing.h"
#include "tests/effects/warp_testing.h"
#include <algorithm>
#include <cmath>
#include <gtest/gtest.h>

namespace velmont::testing {

/// The rows of a picture byte by byte, with measures as numbers that may go below 0.
struct Canvas {
    int64_t width, height, channels, stride;
    std::vector<int> bytes;

    explicit Canvas(const Pieces &image)
        : width(image.header.biWidth), height(image.header.biHeight), channels(image.header.biBitCount / 8),
          stride(static_cast<int64_t>(strideFor(image.header.biWidth, image.header.biBitCount))),
          bytes(image.rows.begin(), image.rows.end())
    {
    }
    int64_t place(int64_t y, int64_t x, int64_t channel = 0) const
    {
        return y * stride + x * channels + channel;
    }
    bool has(int64_t at) const { return at >= 0 && at < static_cast<int64_t>(bytes.size()); }
    int &at(int64_t y, int64_t x, int64_t channel = 0)
    {
        return bytes[static_cast<std::size_t>(place(y, x, channel))];
    }
    int at(int64_t y, int64_t x, int64_t channel = 0) const
    {
        return bytes[static_cast<std::size_t>(place(y, x, channel))];
    }
    Canvas cleared() const
    {
        Canvas empty = *this;
        std::fill(empty.bytes.begin(), empty.bytes.end(), 0);
        return empty;
    }
};

inline Bytes bytesWith(Pieces image, const Canvas &canvas)
{
    std::transform(canvas.bytes.begin(), canvas.bytes.end(), image.rows.begin(),
                   [](int byte) { return static_cast<uint8_t>(byte); });
    return image.bytes();
}

/// The block with zero padding.
inline Bytes withoutPadding(const Pieces &image, Bytes block)
{
    if (block.empty())
        return block;
    const std::size_t stride = strideFor(image.header.biWidth, image.header.biBitCount);
    const std::size_t used = static_cast<std::size_t>(image.header.biWidth * image.header.biBitCount / 8);
    const std::size_t offset = block.size() - image.rows.size();
    for (std::size_t row = offset; row < block.size(); row += stride)
        std::fill_n(block.begin() + static_cast<std::ptrdiff_t>(row + used), stride - used, uint8_t{0});
    return block;
}

/// The median of a square by ordering it.
inline Canvas sortedMedian(const Canvas &source, Canvas to, int n)
{
    if (n == 1)
        return source;
    if (n < 2 || n > 32)
        return to;
    for (int64_t y = 0; y < source.height; ++y)
        for (int64_t x = 0; x < source.width; ++x)
            for (int64_t channel = 0; channel < source.channels; ++channel) {
                std::vector<int> window;
                for (int64_t j = y - n / 2; j < y - n / 2 + n; ++j)
                    for (int64_t i = x - n / 2; i < x - n / 2 + n; ++i)
                        window.push_back(source.at(std::clamp<int64_t>(j, 0, source.height - 1),
                                                   std::clamp<int64_t>(i, 0, source.width - 1), channel));
                const auto middle = window.begin() + (n * n + 1) / 2 - 1;
                std::nth_element(window.begin(), middle, window.end());
                to.at(y, x, channel) = *middle;
            }
    return to;
}

/// A gray picture whose palette is none and whose biClrUsed says less than there are.
inline Pieces otherPalette(int width, int height)
{
    Pieces image = gray(width, height);
    image.palette = noise(1024, 77);
    image.header.biClrUsed = 10;
    return image;
}

/// Which pictures are refused, and how; that other palettes make no difference; that the header is copied.
inline void expectPaintingRules(const Effect &effect)
{
    const NothingLost check;
    EXPECT_EQ(eventsOfRefusal(nullptr, effect), Events{});
    const Events refusal{"wait", "arrow"};
    for (const Pieces &other : {paletted(5, 4, 8, 9), paletted(5, 4, 4, 16), paletted(5, 4, 1, 2),
                                paletted(5, 4, 16, 0), paletted(5, 4, 32, 0)})
        EXPECT_EQ(eventsOfRefusal(other.handle(), effect), refusal);
    Bytes shortBlock = otherPalette(9, 7).bytes();
    shortBlock.pop_back();
    EXPECT_EQ(eventsOfRefusal(blockOf(shortBlock), effect), refusal);
    expectLiesRefused(effect);
    for (const Pieces &image : {trueColor(9, 7), gray(9, 7), otherPalette(9, 7)}) {
        const Bytes result = resultOf(image, effect), whole = image.bytes();
        ASSERT_EQ(result.size(), whole.size());
        const auto offset = static_cast<std::ptrdiff_t>(whole.size() - image.rows.size());
        EXPECT_TRUE(std::equal(whole.begin(), whole.begin() + offset, result.begin()));
    }
}

/// Without working memory, from the second allocation to the one numbered `last`, a lock stays on the source and the
/// block of the result stays behind; without the result's nothing does.
inline void expectLostWithoutScratch(const Pieces &image, const Effect &effect, int last,
                                     const Events &events)
{
    const NothingLost check;
    const Restore restore;
    {
        const Handle source = image.handle();
        memory_hooks::failAllocation(1);
        EXPECT_EQ(eventsOfRefusal(source, effect), (Events{"wait", "arrow"}));
        memory_hooks::failLock(2);
        EXPECT_EQ(eventsOfRefusal(source, effect), (Events{"wait", "arrow"}));
        memory_hooks::failLock(0);
    }
    for (const bool isLock : {false, true})
        for (int n = 2; n <= last; ++n) {
            const Handle source = image.handle();
            const std::vector<void *> before = memory_hooks::liveBlocks();
            if (isLock)
                memory_hooks::failLock(n + 1);
            else
                memory_hooks::failAllocation(n);
            RecordingHost host;
            EXPECT_EQ(effect(source), nullptr) << n;
            memory_hooks::failAllocation(0);
            memory_hooks::failLock(0);
            EXPECT_EQ(host.events, events) << n;
            EXPECT_EQ(memory_hooks::locksOn(source), 1) << n;
            EXPECT_EQ(bytesOf(source), image.bytes());
            std::vector<void *> left;
            for (void *const handle : memory_hooks::liveBlocks())
                if (std::find(before.begin(), before.end(), handle) == before.end())
                    left.push_back(handle);
            ASSERT_EQ(left.size(), 1u) << n;
            EXPECT_EQ(memory_hooks::locksOn(left[0]), 1);
            EXPECT_EQ(KelMemSize(left[0]), image.bytes().size());
            KelMemFree(left[0]);
        }
}

} // namespace velmont::testing
