#pragma once

/// \file
/// Sums over windows along a line, for loops that are compiled once for each instruction set: internal linkage.

#include <cstddef>
#include <cstdint>

namespace velmont::kernels {

namespace {

/// Samples that one call takes at most, and the room that all windows take beyond them.
constexpr std::size_t kWindowChunk = 1024, kWindowRoom = 3 * 128;

/// sums[i] += the `size` samples from[i], from[i + channels] and so on; size - 1 times `channels` are kWindowRoom
/// at most. Sums of 1, 2, 4 ... samples come from each other, and those that the bits of the size name make up the
/// window.
inline void addWindows(uint16_t *__restrict sums, const uint8_t *__restrict from, std::size_t count,
                       std::size_t channels, unsigned size)
{
    uint16_t powers[kWindowChunk + kWindowRoom];
    const std::size_t all = count + (size - 1) * channels;
    for (std::size_t i = 0; i < all; ++i)
        powers[i] = from[i];
    std::size_t start = 0, valid = all;
    for (unsigned power = 1; power <= size; power *= 2) {
        const std::size_t reach = power * channels;
        if ((size & power) != 0) {
            const uint16_t *const part = powers + start;
            for (std::size_t i = 0; i < count; ++i)
                sums[i] = static_cast<uint16_t>(sums[i] + part[i]);
            start += reach;
        }
        if (power * 2 > size)
            break;
        valid -= reach;
        for (std::size_t i = 0; i < valid; ++i)
            powers[i] = static_cast<uint16_t>(powers[i] + powers[i + reach]);
    }
}

} // namespace

} // namespace velmont::kernels
