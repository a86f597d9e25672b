#pragma once

/// \file
/// The loops of the pattern kernels, compiled once for each instruction set: internal linkage. All numbers fit 16 bits.

#include <cstddef>
#include <cstdint>

namespace velmont::kernels {

namespace {

inline void mixRun(uint8_t *__restrict to, const uint8_t *__restrict from, const uint8_t *__restrict tiles,
                   std::size_t bytes, int percent)
{
    const auto share = static_cast<uint16_t>(percent);
    for (std::size_t i = 0; i < bytes; ++i) {
        const uint8_t least = from[i] < tiles[i] ? from[i] : tiles[i];
        const uint8_t most = from[i] < tiles[i] ? tiles[i] : from[i];
        const auto hundredths = static_cast<uint16_t>((most - least) * share + 50);
        const auto step = static_cast<uint8_t>(static_cast<uint16_t>(hundredths / 100));
        to[i] = static_cast<uint8_t>(from[i] < tiles[i] ? from[i] + step : from[i] - step);
    }
}

/// Percent of what a level lies below 128, truncated towards 0.
inline int16_t heightOf(uint16_t level, int16_t percent)
{
    return static_cast<int16_t>(static_cast<int16_t>((128 - level) * percent) / 100);
}

inline uint8_t raised(uint8_t level, int16_t height)
{
    const auto sum = static_cast<int16_t>(level + height);
    return static_cast<uint8_t>(sum < 0 ? 0 : sum > 255 ? 255 : sum);
}

inline void grayReliefRun(uint8_t *__restrict to, const uint8_t *__restrict from,
                          const uint8_t *__restrict tiles, std::size_t pixels, int percent)
{
    const auto share = static_cast<int16_t>(percent);
    for (std::size_t x = 0; x < pixels; ++x)
        to[x] = raised(from[x], heightOf(tiles[x], share));
}

inline void colorReliefRun(uint8_t *__restrict to, const uint8_t *__restrict from,
                           const uint8_t *__restrict tiles, std::size_t pixels, int percent)
{
    const auto share = static_cast<int16_t>(percent);
    for (std::size_t x = 0; x < pixels; ++x) {
        const auto sum = static_cast<uint16_t>(tiles[3 * x] + tiles[3 * x + 1] + tiles[3 * x + 2]);
        const int16_t height = heightOf(static_cast<uint16_t>(sum / 3), share);
        to[3 * x] = raised(from[3 * x], height);
        to[3 * x + 1] = raised(from[3 * x + 1], height);
        to[3 * x + 2] = raised(from[3 * x + 2], height);
    }
}

} // namespace

} // namespace velmont::kernels
