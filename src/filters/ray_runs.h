#pragma once

/// \file
/// The loops of the soft edge, written for a compiler to turn into vectors; each source that includes them compiles
/// them for its instruction set. All of it has internal linkage and calls nothing outside.

#include "filters/ray_kernels.h"
#include "filters/short_division.h"
#include "filters/window_sums.h"

namespace velmont::kernels {

namespace {

inline void slideRays(uint16_t *__restrict to, const uint16_t *__restrict sums,
                      const uint8_t *__restrict entering, const uint8_t *__restrict leaving,
                      std::size_t count)
{
    for (std::size_t i = 0; i < count; ++i)
        to[i] = static_cast<uint16_t>(sums[i] + entering[i] - leaving[i]);
}

inline void sumAlong(uint16_t *__restrict sums, const uint8_t *__restrict row, std::size_t count,
                     std::size_t samples)
{
    for (std::size_t i = 0; i < count; ++i)
        sums[i] = 0;
    for (std::size_t i = 0; i < count; i += kWindowChunk)
        addWindows(sums + i, row + i - (samples - 1), count - i < kWindowChunk ? count - i : kWindowChunk, 1,
                   static_cast<unsigned>(samples));
}

inline uint16_t smallerOf(uint16_t a, uint16_t b)
{
    return a < b ? a : b;
}

inline void smallestRay(uint8_t *__restrict to, const uint8_t *__restrict pixels,
                        const uint16_t *const (&rays)[kRays], std::size_t count, int divisor)
{
    const Division by = divisionBy(divisor);
    const uint16_t *const a = rays[0], *const b = rays[1], *const c = rays[2], *const d = rays[3];
    const uint16_t *const e = rays[4], *const f = rays[5], *const g = rays[6], *const h = rays[7];
    for (std::size_t i = 0; i < count; ++i) {
        const uint16_t first = smallerOf(smallerOf(a[i], b[i]), smallerOf(c[i], d[i]));
        const uint16_t second = smallerOf(smallerOf(e[i], f[i]), smallerOf(g[i], h[i]));
        const uint8_t mean = dividedBy(by, smallerOf(first, second));
        to[i] = pixels[i] != 0 ? mean : uint8_t{0};
    }
}

} // namespace

} // namespace velmont::kernels
