#pragma once

/// \file
/// Kernels that bring a row of tiles into a row of the image. See core/byte_kernels.h for the rules.

#include <cstddef>
#include <cstdint>

namespace velmont {

/// Whether the kernels take a percentage, so that 16 bits hold all products with it.
constexpr bool isShortPercent(int percent)
{
    return percent >= 0 && percent <= 100;
}

using PatternRow = void (*)(uint8_t *to, const uint8_t *from, const uint8_t *tiles, std::size_t count,
                            int percent);

struct PatternKernels {
    /// Bytes: moved towards those of the tiles by so many percent, rounded.
    PatternRow mix;
    /// Gray pixels: raised by so many percent of what the tiles lie below 128, and held to bytes.
    PatternRow grayRelief;
    /// 24-bit pixels, by the means of those of the tiles.
    PatternRow colorRelief;
};
PatternKernels patternKernels();

namespace kernels {

PatternKernels patternPlain();
#if defined(__x86_64__)
PatternKernels patternAvx2();
#endif

} // namespace kernels

} // namespace velmont
