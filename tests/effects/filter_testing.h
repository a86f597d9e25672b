#pragma once

/// \file
/// What the tests of the filters share: samples to work on one by one, and the rules that all filters keep to.

#include "platform/memory.h"
#include "tests/effects/tone_testing.h"
#include <algorithm>
#include <gtest/gtest.h>
#include <string>
#include <vector>

namespace velmont::testing {

/// An image's samples without padding, and the way back to zero padding.
struct Samples {
    int width, height, channels;
    std::vector<int> at;

    int &of(int x, int y, int channel)
    {
        const int column = std::clamp(x, 0, width - 1), row = std::clamp(y, 0, height - 1);
        return at[static_cast<std::size_t>((row * width + column) * channels + channel)];
    }
};

inline Samples samplesOf(const Pieces &image)
{
    Samples samples{image.header.biWidth, image.header.biHeight, image.header.biBitCount / 8, {}};
    const std::size_t stride = strideFor(samples.width, image.header.biBitCount);
    for (int y = 0; y < samples.height; ++y)
        for (int i = 0; i < samples.width * samples.channels; ++i)
            samples.at.push_back(
                image.rows[stride * static_cast<std::size_t>(y) + static_cast<std::size_t>(i)]);
    return samples;
}

inline Bytes withSamples(Pieces image, const Samples &samples)
{
    const std::size_t stride = strideFor(samples.width, image.header.biBitCount);
    const auto rowBytes = static_cast<std::size_t>(samples.width * samples.channels);
    image.rows.assign(image.rows.size(), 0);
    for (std::size_t i = 0; i < samples.at.size(); ++i)
        image.rows[i / rowBytes * stride + i % rowBytes] = static_cast<uint8_t>(samples.at[i]);
    return image.bytes();
}

/// Each sample by sample(x, y, channel).
template <typename Sample>
Samples mapped(const Samples &like, Sample sample)
{
    Samples result{like.width, like.height, like.channels, {}};
    for (int y = 0; y < like.height; ++y)
        for (int x = 0; x < like.width; ++x)
            for (int channel = 0; channel < like.channels; ++channel)
                result.at.push_back(sample(x, y, channel));
    return result;
}

/// The rows of a gray image's result.
inline Bytes levelsOf(const Pieces &image, const Effect &effect)
{
    const Bytes result = resultOf(image, effect);
    return result.size() > 1064 ? Bytes(result.begin() + 1064, result.end()) : Bytes{};
}

/// A gray image of one column.
inline Pieces levelColumn(const Bytes &levels)
{
    const DibHeader header = makeHeader(1, static_cast<int>(levels.size()), 8, 256);
    Bytes rows(levels.size() * 4, 0);
    for (std::size_t y = 0; y < levels.size(); ++y)
        rows[4 * y] = levels[y];
    return {header, grayRamp(), rows};
}

inline Pieces flat(Pieces image, uint8_t level)
{
    std::fill(image.rows.begin(), image.rows.end(), level);
    return image;
}

/// The rows and the columns of an effect of two passes.
inline Events twoPassEvents(int width, int height)
{
    Events events{"wait", "poll"};
    for (int y = 0; y < height; ++y) {
        events.push_back("poll");
        if (y % 16 == 0)
            events.push_back(std::to_string(y * 50 / height) + "%");
    }
    for (int x = 0; x < width; ++x) {
        events.push_back("poll");
        if (x % 16 == 0)
            events.push_back(std::to_string(x * 50 / width + 50) + "%");
    }
    return joined({events, {"100%", "arrow"}});
}

/// What every filter keeps to: one dropped poll, zero padding, samples only.
inline void expectFilterRules(const Effect &effect)
{
    const Restore restore;
    for (const Pieces &image : {trueColor(5, 18), gray(18, 5)}) {
        expectAborts(image, effect, 1);
        expectFailuresSurvived(image, effect);
        // Header, palette with its reserved bytes, and zero padding.
        const Bytes result = resultOf(image, effect), whole = image.bytes();
        ASSERT_EQ(result.size(), whole.size());
        const auto offset = static_cast<std::ptrdiff_t>(whole.size() - image.rows.size());
        EXPECT_TRUE(std::equal(whole.begin(), whole.begin() + offset, result.begin()));
    }
    expectLiesRefused(effect);
    const Handle without = noiseImage(5, 3, 8, 0), short8 = noiseImage(5, 3, 8, 255);
    const Handle colours = noiseImage(5, 3, 8, 256), nibbles = noiseImage(5, 3, 4, 16);
    const Handle bits = noiseImage(5, 3, 1, 2);
    for (void *refused : std::initializer_list<void *>{nullptr, without, short8, colours, nibbles, bits})
        EXPECT_EQ(eventsOfRefusal(refused, effect), Events{});
}

/// Scratch memory that cannot be had is a result that cannot be had.
inline void expectScratchIsLikeTheResult(const Effect &effect)
{
    const NothingLost check;
    const Restore restore;
    const Handle source = trueColor(5, 18).handle();
    for (int n = 1; n <= 2; ++n) {
        memory_hooks::failAllocation(n);
        EXPECT_EQ(eventsOfRefusal(source, effect), (Events{"wait", "arrow"})) << n;
    }
    memory_hooks::failAllocation(0);
}

} // namespace velmont::testing
