#pragma once

/// \file
/// The loops of noise, written for a compiler to turn into vectors; each source that includes them compiles them for
/// its instruction set. All of it has internal linkage and calls nothing outside.

#include "artistic/noise_kernels.h"

namespace velmont::kernels {

namespace {

/// A value of each pixel for each of its bytes.
template <typename Value>
inline void spreadOut(Value *__restrict to, const Value *__restrict from, std::size_t pixels,
                      std::size_t channels)
{
    if (channels == 1)
        for (std::size_t i = 0; i < pixels; ++i)
            to[i] = from[i];
    else
        for (std::size_t i = 0; i < pixels; ++i)
            to[3 * i] = to[3 * i + 1] = to[3 * i + 2] = from[i];
}

inline void brighten(uint8_t *__restrict to, const uint8_t *__restrict from,
                     const uint16_t *__restrict numbers, std::size_t pixels, std::size_t channels,
                     double amount)
{
    alignas(64) double factors[kNoiseRun], ofBytes[3 * kNoiseRun];
    for (std::size_t i = 0; i < pixels; ++i) {
        const int sum = numbers[4 * i] + numbers[4 * i + 1] + numbers[4 * i + 2] + numbers[4 * i + 3];
        const double noise = sum * 5.28596089837e-5 - 3.46410161514;
        factors[i] = (noise * amount * 127 + 256) * 0.00390625;
    }
    spreadOut(ofBytes, factors, pixels, channels);
    for (std::size_t i = 0; i < pixels * channels; ++i) {
        const double level = from[i] * ofBytes[i];
        const double positive = level > 0 ? level : 0; // 0 too for what is not a number
        to[i] = static_cast<uint8_t>(static_cast<int>(positive < 255 ? positive : 255));
    }
}

inline void grain(uint8_t *__restrict to, const uint8_t *__restrict from, const uint16_t *__restrict numbers,
                  std::size_t pixels, std::size_t channels, const NumberRange &range)
{
    alignas(64) int16_t added[kNoiseRun], toBytes[3 * kNoiseRun];
    const NumberRange remainder = range;
    const auto half = static_cast<int32_t>(remainder.range() >> 1);
    for (std::size_t i = 0; i < pixels; ++i)
        added[i] = static_cast<int16_t>(half - static_cast<int32_t>(remainder(numbers[i])));
    spreadOut(toBytes, added, pixels, channels);
    for (std::size_t i = 0; i < pixels * channels; ++i) {
        const auto level = static_cast<int16_t>(from[i] + toBytes[i]);
        const int16_t positive = level > 0 ? level : int16_t{0};
        to[i] = static_cast<uint8_t>(positive < 255 ? positive : int16_t{255});
    }
}

} // namespace

} // namespace velmont::kernels
