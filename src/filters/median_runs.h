#pragma once

/// \file
/// The median by ranks, in vectors of the compiler; each source that includes this compiles it for its instruction
/// set. All of it has internal linkage and calls nothing outside.

#include "filters/median_kernels.h"
#include <cstring>

namespace velmont::kernels {

namespace {

#if defined(__AVX2__)
constexpr std::size_t kLaneCount = 32;
#else
constexpr std::size_t kLaneCount = 16;
#endif
/// Levels with their highest bit turned over, so that they compare as signed bytes; results of comparisons.
typedef int8_t Lanes __attribute__((vector_size(kLaneCount)));

constexpr int kLargestByRanks = 15; // 225 samples, which a byte can count
constexpr std::size_t kMedianChunk = 512;
constexpr std::size_t kGatheredBytes = kMedianChunk + 3 * kLargestByRanks + kLaneCount;

/// What a chunk's windows cover, edges repeated.
struct Gathered {
    alignas(64) int8_t row[kLargestByRanks][kGatheredBytes];
};

inline void gather(Gathered &to, const MedianRows &rows, std::size_t firstPixel, std::size_t bytes)
{
    const std::size_t channels = rows.channels, reach = static_cast<std::size_t>(rows.size) - 1;
    const std::size_t half = static_cast<std::size_t>(rows.size) / 2;
    const std::size_t wanted = bytes / channels + reach;
    // Columns before the image, in it and behind it.
    const std::size_t before = firstPixel < half ? half - firstPixel : 0;
    const std::size_t left = firstPixel + before - half;
    const std::size_t inside = rows.pixels - left < wanted - before ? rows.pixels - left : wanted - before;
    for (int j = 0; j < rows.size; ++j) {
        const uint8_t *const from = rows.row[static_cast<std::size_t>(j)];
        int8_t *const line = to.row[j];
        std::size_t at = 0;
        for (std::size_t x = 0; x < before; ++x)
            for (std::size_t channel = 0; channel < channels; ++channel)
                line[at++] = static_cast<int8_t>(from[channel] ^ 0x80);
        for (std::size_t i = 0; i < inside * channels; ++i)
            line[at + i] = static_cast<int8_t>(from[left * channels + i] ^ 0x80);
        at += inside * channels;
        const uint8_t *const last = from + (rows.pixels - 1) * channels;
        for (std::size_t x = before + inside; x < wanted; ++x)
            for (std::size_t channel = 0; channel < channels; ++channel)
                line[at++] = static_cast<int8_t>(last[channel] ^ 0x80);
        std::memset(line + at, 0, kGatheredBytes - at);
    }
}

inline void loadLanes(Lanes &to, const int8_t *from)
{
    std::memcpy(&to, from, sizeof to);
}

/// What a row's walk may rest on: from v[rank] to max(v[rank], v[rank + 1] - 1), as signed bytes.
struct Bounds {
    alignas(64) int8_t low[kMedianChunk + kLaneCount];
    alignas(64) int8_t high[kMedianChunk + kLaneCount];
};

/// Any size: v[rank] is found bit by bit, from the highest, by counting the samples below it.
inline void boundsBySearch(Bounds &bounds, const Gathered &samples, std::size_t bytes, std::size_t channels,
                           int size)
{
    const int rank = (size * size + 1) / 2;
    const auto taps = static_cast<std::size_t>(size);
    // Counts are kept 128 lower than they are, so that they compare as signed bytes.
    const Lanes fewEnough = Lanes{} + static_cast<int8_t>(rank - 1 - 128);
    const Lanes start = Lanes{} + static_cast<int8_t>(-128);
    for (std::size_t at = 0; at < bytes; at += kLaneCount) {
        Lanes low = start;
        for (int bit = 128; bit != 0; bit /= 2) {
            const Lanes tried = low ^ static_cast<int8_t>(bit);
            Lanes count = start;
            for (std::size_t j = 0; j < taps; ++j)
                for (std::size_t i = 0; i < taps; ++i) {
                    Lanes sample;
                    loadLanes(sample, &samples.row[j][at + i * channels]);
                    count -= sample < tried;
                }
            const Lanes reached = count > fewEnough; // all ones where v[rank] is below
            low = (low & reached) | (tried & ~reached);
        }
        Lanes count = start, above = Lanes{} + static_cast<int8_t>(127);
        for (std::size_t j = 0; j < taps; ++j)
            for (std::size_t i = 0; i < taps; ++i) {
                Lanes sample;
                loadLanes(sample, &samples.row[j][at + i * channels]);
                const Lanes isAbove = sample > low;
                count -= ~isAbove;
                const Lanes lower = isAbove & (sample < above);
                above = (above & ~lower) | (sample & lower);
            }
        const Lanes isSame = count > fewEnough + static_cast<int8_t>(1); // v[rank + 1] is v[rank]
        const Lanes high = (low & isSame) | ((above - static_cast<int8_t>(1)) & ~isSame);
        std::memcpy(bounds.low + at, &low, sizeof low);
        std::memcpy(bounds.high + at, &high, sizeof high);
    }
}

inline int8_t lower(int8_t a, int8_t b)
{
    return a < b ? a : b;
}
inline int8_t higher(int8_t a, int8_t b)
{
    return a > b ? a : b;
}

/// Size 3: the columns in order first, which neighbours share, then across them the ranks 5 and 6 of the nine.
inline void boundsOfThree(Bounds &bounds, const Gathered &samples, std::size_t bytes, std::size_t channels)
{
    alignas(64) int8_t low[kGatheredBytes], middle[kGatheredBytes], high[kGatheredBytes];
    const int8_t *const a = samples.row[0], *const b = samples.row[1], *const c = samples.row[2];
    for (std::size_t i = 0; i < bytes + 2 * channels; ++i) {
        const int8_t first = lower(a[i], b[i]), second = higher(a[i], b[i]);
        low[i] = lower(first, c[i]);
        high[i] = higher(second, c[i]);
        middle[i] = higher(first, lower(second, c[i]));
    }
    const std::size_t two = 2 * channels;
    for (std::size_t i = 0; i < bytes; ++i) {
        const int8_t l = higher(higher(low[i], low[i + channels]), low[i + two]);
        const int8_t m1 = lower(middle[i], middle[i + channels]),
                     m2 = higher(middle[i], middle[i + channels]);
        const int8_t m = higher(m1, lower(m2, middle[i + two])), mostM = higher(m2, middle[i + two]);
        const int8_t h1 = lower(high[i], high[i + channels]), h2 = higher(high[i], high[i + channels]);
        const int8_t h = lower(h1, high[i + two]), middleH = higher(h1, lower(h2, high[i + two]));
        // The fifth is the middle of l, m and h; the sixth the lowest of the largest of them and their followers.
        const int8_t lm = lower(l, m), lM = higher(l, m);
        const int8_t fifth = higher(lm, lower(lM, h));
        const int8_t sixth = lower(higher(lM, h), lower(mostM, middleH));
        bounds.low[i] = fifth;
        bounds.high[i] = higher(fifth, static_cast<int8_t>(sixth - (sixth > fifth ? 1 : 0)));
    }
}

/// The walk along a chunk, from `carried`, one value a channel.
template <std::size_t channels>
void holdToBounds(uint8_t *to, const Bounds &bounds, std::size_t bytes, int (&carried)[3])
{
    int value[channels];
    for (std::size_t channel = 0; channel < channels; ++channel)
        value[channel] = carried[channel];
    for (std::size_t i = 0; i < bytes; i += channels)
        for (std::size_t channel = 0; channel < channels; ++channel) {
            const int low = bounds.low[i + channel], high = bounds.high[i + channel];
            const int held = value[channel] < high ? value[channel] : high;
            value[channel] = held > low ? held : low;
            to[i + channel] = static_cast<uint8_t>(value[channel] + 128);
        }
    for (std::size_t channel = 0; channel < channels; ++channel)
        carried[channel] = value[channel];
}

inline void medianByRanks(uint8_t *to, const MedianRows &rows)
{
    Gathered samples;
    Bounds bounds;
    int carried[3] = {-128, -128, -128}; // below all: the first output of a row is v[rank]
    const std::size_t bytes = rows.pixels * rows.channels;
    const std::size_t chunk = kMedianChunk / rows.channels * rows.channels;
    for (std::size_t start = 0; start < bytes; start += chunk) {
        const std::size_t count = bytes - start < chunk ? bytes - start : chunk;
        gather(samples, rows, start / rows.channels, count);
        if (rows.size == 3)
            boundsOfThree(bounds, samples, count, rows.channels);
        else
            boundsBySearch(bounds, samples, count, rows.channels, rows.size);
        if (rows.channels == 3)
            holdToBounds<3>(to + start, bounds, count, carried);
        else
            holdToBounds<1>(to + start, bounds, count, carried);
    }
}

} // namespace

} // namespace velmont::kernels
