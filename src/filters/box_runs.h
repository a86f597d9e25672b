#pragma once

/// \file
/// The loops of the box, compiled once for each instruction set: internal linkage, and nothing from elsewhere
/// that the linker could pick for another.

#include "filters/box_kernels.h"
#include "filters/window_sums.h"

namespace velmont::kernels {

namespace {

/// The windows of up to kWindowChunk samples.
void boxChunk(uint8_t *__restrict to, const uint8_t *__restrict widened, std::size_t bytes,
              std::size_t channels, unsigned size, NarrowBoxRounding rounding)
{
    uint16_t sums[kWindowChunk];
    for (std::size_t i = 0; i < bytes; ++i)
        sums[i] = rounding.half;
    rounding.half = 0;
    addWindows(sums, widened, bytes, channels, size);
    for (std::size_t i = 0; i < bytes; ++i)
        to[i] = rounding(sums[i]);
}

void boxRowRun(uint8_t *to, const uint8_t *widened, std::size_t bytes, std::size_t channels, unsigned size,
               const NarrowBoxRounding &rounding)
{
    for (std::size_t i = 0; i < bytes; i += kWindowChunk)
        boxChunk(to + i, widened + i, bytes - i < kWindowChunk ? bytes - i : kWindowChunk, channels, size,
                 rounding);
}

void boxColumnsRun(uint8_t *__restrict to, uint16_t *__restrict sums, const uint8_t *__restrict enter,
                   const uint8_t *__restrict leave, std::size_t bytes, const NarrowBoxRounding &shared)
{
    const NarrowBoxRounding rounding = shared;
    for (std::size_t i = 0; i < bytes; ++i) {
        const uint16_t sum = sums[i];
        to[i] = rounding(sum);
        sums[i] = static_cast<uint16_t>(sum + enter[i] - leave[i]);
    }
}

void boxMixedRun(uint8_t *__restrict to, uint16_t *__restrict sums, const uint8_t *__restrict enter,
                 const uint8_t *__restrict leave, const uint8_t *__restrict other, uint16_t weight,
                 std::size_t bytes, const NarrowBoxRounding &shared)
{
    const NarrowBoxRounding rounding = shared;
    for (std::size_t i = 0; i < bytes; ++i) {
        const uint16_t sum = sums[i];
        to[i] = rounding(static_cast<uint16_t>(sum + static_cast<uint16_t>(weight * other[i])));
        sums[i] = static_cast<uint16_t>(sum + enter[i] - leave[i]);
    }
}

void boxMiddleRun(uint8_t *__restrict to, uint32_t *__restrict sums, const uint8_t *__restrict enter,
                  const uint8_t *__restrict leave, const uint8_t *__restrict other, uint32_t weight,
                  std::size_t bytes, const MiddleBoxRounding &shared)
{
    const MiddleBoxRounding rounding = shared;
    for (std::size_t i = 0; i < bytes; ++i) {
        const uint32_t sum = sums[i];
        to[i] = rounding(sum + weight * other[i]);
        sums[i] = sum + enter[i] - leave[i];
    }
}

} // namespace

} // namespace velmont::kernels
