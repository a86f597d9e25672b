#pragma once

/// \file
/// The loops of the motion blur, written for a compiler to turn into vectors; each source that includes them
/// compiles them for its instruction set. All of it has internal linkage and calls nothing outside.

#include "filters/edge_row.h"
#include "filters/motion_kernels.h"
#include "filters/short_division.h"
#include <cstring>

namespace velmont::kernels {

namespace {

inline void divideRun(uint8_t *__restrict to, const uint16_t *__restrict sums, std::size_t count, int divisor)
{
    const Division by = divisionBy(divisor);
    for (std::size_t i = 0; i < count; ++i)
        to[i] = dividedBy(by, sums[i]);
}

/// to[i] = a[i] + b[i]
inline void addRun(uint16_t *__restrict to, const uint16_t *a, const uint16_t *b, std::size_t count)
{
    for (std::size_t i = 0; i < count; ++i)
        to[i] = static_cast<uint16_t>(a[i] + b[i]);
}

/// Sums of 2, 4, 8 ... samples from those of half as many; a distance is put together from its powers of two.
inline void rayRow(uint8_t *to, const uint8_t *from, std::size_t pixels, std::size_t channels, int distance,
                   bool isForward)
{
    constexpr std::size_t kChunk = 1536, kRoom = kChunk + 3 * kLongestRay;
    if (distance == 1) {
        std::memcpy(to, from, pixels * channels);
        return;
    }
    alignas(64) uint8_t samples[kRoom];
    alignas(64) uint16_t powers[2][kRoom], sums[2][kChunk];
    const std::size_t bytes = pixels * channels, reach = static_cast<std::size_t>(distance - 1) * channels;
    for (std::size_t start = 0; start < bytes; start += kChunk) {
        const std::size_t count = bytes - start < kChunk ? bytes - start : kChunk;
        std::size_t length = count + reach;
        copyWithEdges(samples, from, bytes, channels,
                      static_cast<std::ptrdiff_t>(start) - static_cast<std::ptrdiff_t>(isForward ? 0 : reach),
                      length);
        uint16_t *power = powers[0], *nextPower = powers[1], *sum = nullptr, *nextSum = sums[0];
        for (std::size_t i = 0; i < length; ++i)
            power[i] = samples[i];
        std::size_t done = 0; // samples in the sum, those with the lowest places
        for (int taken = 1; taken <= distance; taken *= 2) {
            if ((distance & taken) != 0) {
                const uint16_t *const part = power + done * channels;
                if (sum) {
                    addRun(nextSum, sum, part, count);
                    uint16_t *const freed = sum;
                    sum = nextSum;
                    nextSum = freed;
                } else {
                    std::memcpy(nextSum, part, count * sizeof *part);
                    sum = nextSum;
                    nextSum = sums[1];
                }
                done += static_cast<std::size_t>(taken);
            }
            if (2 * taken > distance)
                break;
            length -= static_cast<std::size_t>(taken) * channels;
            addRun(nextPower, power, power + static_cast<std::size_t>(taken) * channels, length);
            uint16_t *const freed = power;
            power = nextPower;
            nextPower = freed;
        }
        divideRun(to + start, sum, count, distance);
    }
}

inline void slideRun(uint8_t *__restrict to, uint16_t *__restrict sums, const uint8_t *entering,
                     const uint8_t *leaving, std::size_t count, int divisor)
{
    if (entering && leaving) {
        for (std::size_t i = 0; i < count; ++i)
            sums[i] = static_cast<uint16_t>(sums[i] + entering[i] - leaving[i]);
    } else if (entering) {
        for (std::size_t i = 0; i < count; ++i)
            sums[i] = static_cast<uint16_t>(sums[i] + entering[i]);
    } else if (leaving) {
        for (std::size_t i = 0; i < count; ++i)
            sums[i] = static_cast<uint16_t>(sums[i] - leaving[i]);
    }
    if (to)
        divideRun(to, sums, count, divisor);
}

inline void rayColumns(uint8_t *to, const uint8_t *from, std::ptrdiff_t step, int height, std::size_t bytes,
                       int distance)
{
    const auto row = [&](int64_t y) { return from + step * (y < height ? y : height - 1); };
    if (distance == 1) {
        for (int y = 0; y < height; ++y)
            std::memcpy(to + step * y, row(y), bytes);
        return;
    }
    const Division by = divisionBy(distance);
    alignas(64) uint16_t sums[kRayStrip];
    std::memset(sums, 0, sizeof sums);
    for (int y = 0; y + 1 < distance; ++y)
        slideRun(nullptr, sums, row(y), nullptr, bytes, distance);
    for (int64_t y = 0; y < height; ++y) {
        const uint8_t *const entering = row(y + distance - 1), *const leaving = row(y);
        uint8_t *__restrict const out = to + step * y;
        for (std::size_t i = 0; i < bytes; ++i) {
            const auto sum = static_cast<uint16_t>(sums[i] + entering[i]);
            out[i] = dividedBy(by, sum);
            sums[i] = static_cast<uint16_t>(sum - leaving[i]);
        }
    }
}

} // namespace

} // namespace velmont::kernels
