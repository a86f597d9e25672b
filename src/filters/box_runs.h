#pragma once

/// \file
/// The loops of the narrow box, compiled once for each instruction set: internal linkage, and nothing from elsewhere
/// that the linker could pick for another.

#include "filters/box_kernels.h"
#include "filters/window_sums.h"

namespace velmont::kernels {

namespace {

/// NarrowBoxRounding in the open, as loops that are vectorised want it.
struct Rounding {
    uint16_t half, factor;
    int before;

    explicit Rounding(const NarrowBoxRounding &rounding)
        : half(rounding.half), factor(rounding.factor), before(rounding.before)
    {
    }
    uint8_t of(uint16_t sum) const
    {
        const auto shifted = static_cast<uint16_t>((sum + half) << before);
        return static_cast<uint8_t>(static_cast<uint16_t>(uint32_t{shifted} * factor >> 16) >> 7);
    }
};

/// The windows of up to kWindowChunk samples.
void boxChunk(uint8_t *__restrict to, const uint8_t *__restrict widened, std::size_t bytes,
              std::size_t channels, unsigned size, Rounding rounding)
{
    uint16_t sums[kWindowChunk];
    for (std::size_t i = 0; i < bytes; ++i)
        sums[i] = rounding.half;
    rounding.half = 0;
    addWindows(sums, widened, bytes, channels, size);
    for (std::size_t i = 0; i < bytes; ++i)
        to[i] = rounding.of(sums[i]);
}

void boxRowRun(uint8_t *to, const uint8_t *widened, std::size_t bytes, std::size_t channels, unsigned size,
               const NarrowBoxRounding &narrow)
{
    const Rounding rounding(narrow);
    for (std::size_t i = 0; i < bytes; i += kWindowChunk)
        boxChunk(to + i, widened + i, bytes - i < kWindowChunk ? bytes - i : kWindowChunk, channels, size,
                 rounding);
}

void boxColumnsRun(uint8_t *__restrict to, uint16_t *__restrict sums, const uint8_t *__restrict enter,
                   const uint8_t *__restrict leave, std::size_t bytes, const NarrowBoxRounding &narrow)
{
    const Rounding rounding(narrow);
    for (std::size_t i = 0; i < bytes; ++i) {
        const uint16_t sum = sums[i];
        to[i] = rounding.of(sum);
        sums[i] = static_cast<uint16_t>(sum + enter[i] - leave[i]);
    }
}

void boxMixedRun(uint8_t *__restrict to, uint16_t *__restrict sums, const uint8_t *__restrict enter,
                 const uint8_t *__restrict leave, const uint8_t *__restrict other, uint16_t weight,
                 std::size_t bytes, const NarrowBoxRounding &narrow)
{
    const Rounding rounding(narrow);
    for (std::size_t i = 0; i < bytes; ++i) {
        const uint16_t sum = sums[i];
        to[i] = rounding.of(static_cast<uint16_t>(sum + static_cast<uint16_t>(weight * other[i])));
        sums[i] = static_cast<uint16_t>(sum + enter[i] - leave[i]);
    }
}

} // namespace

} // namespace velmont::kernels
