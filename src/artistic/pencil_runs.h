#pragma once

/// \file
/// The loops of the colour pencil, written for a compiler to turn into vectors; each source that includes them compiles
/// them for its instruction set. All of it has internal linkage and calls nothing outside.

#include "artistic/pencil_kernels.h"

namespace velmont::kernels {

namespace {

constexpr std::size_t kSlopeChunk = 3 * 128;

/// The magnitudes of both operators for `count` samples. Their weights are not symmetric about the middle: hosts rely
/// on them.
inline void slopeSamples(int16_t *__restrict first, int16_t *__restrict second,
                         const uint8_t *__restrict before, const uint8_t *__restrict row,
                         const uint8_t *__restrict behind, std::ptrdiff_t count, std::ptrdiff_t channels)
{
    for (std::ptrdiff_t i = 0; i < count; ++i) {
        const int corners = behind[i + channels] - before[i + channels];
        const int others = before[i - channels] - behind[i - channels];
        const int a = 2 * (row[i + channels] - behind[i]) + corners + others;
        const int b = 2 * (before[i] - row[i - channels]) + corners - others;
        first[i] = static_cast<int16_t>(a < 0 ? -a : a);
        second[i] = static_cast<int16_t>(b < 0 ? -b : b);
    }
}

inline void meansOfThree(int16_t *__restrict to, const int16_t *__restrict from, std::size_t pixels)
{
    for (std::size_t x = 0; x < pixels; ++x)
        to[x] = static_cast<int16_t>((from[3 * x] + from[3 * x + 1] + from[3 * x + 2]) / 3);
}

inline void slopes(int16_t *first, int16_t *second, const PencilLines &lines)
{
    if (lines.channels == 1)
        return slopeSamples(first, second, lines.before, lines.row, lines.behind,
                            static_cast<std::ptrdiff_t>(lines.pixels), 1);
    int16_t samples[2][kSlopeChunk];
    for (std::size_t x = 0; x < lines.pixels; x += kSlopeChunk / 3) {
        const std::size_t rest = lines.pixels - x, count = rest < kSlopeChunk / 3 ? rest : kSlopeChunk / 3;
        slopeSamples(samples[0], samples[1], lines.before + 3 * x, lines.row + 3 * x, lines.behind + 3 * x,
                     static_cast<std::ptrdiff_t>(3 * count), 3);
        meansOfThree(first + x, samples[0], count);
        meansOfThree(second + x, samples[1], count);
    }
}

inline void strengths(int16_t *__restrict to, const int16_t *__restrict first,
                      const int16_t *__restrict second, std::size_t pixels)
{
    // The squares come to less than 2^24, where a root that rounds up to a whole number is exact.
    for (std::size_t x = 0; x < pixels; ++x) {
        const float square = static_cast<float>(first[x] * first[x] + second[x] * second[x]);
        to[x] = static_cast<int16_t>(static_cast<int32_t>(__builtin_sqrtf(square)));
    }
}

inline void draw(int32_t *__restrict targets, const PencilStrokes &strokes)
{
    const int32_t *__restrict starts = strokes.starts;
    const double *__restrict share = strokes.share;
    const double color = strokes.color;
    const std::size_t pixels = strokes.pixels;
    for (std::size_t i = 0; i < pixels; ++i) {
        const auto drawn = static_cast<int32_t>(share[i] + targets[i] * kPencilTargetShare + color);
        targets[i] = (drawn & starts[i]) | (targets[i] & ~starts[i]);
    }
}

inline std::size_t countBelow(const int16_t *strengths, std::size_t pixels, int16_t limit)
{
    std::size_t count = 0;
    for (std::size_t x = 0; x < pixels; ++x)
        count += strengths[x] < limit ? 1 : 0;
    return count;
}

inline PencilKernels pencilLoops()
{
    return {slopes, strengths, draw, countBelow};
}

} // namespace

} // namespace velmont::kernels
