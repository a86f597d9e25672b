#pragma once

/// \file
/// Kernels of random noise: what becomes of pixels by the numbers that were drawn for them.

#include "core/generator.h"

namespace velmont {

/// Pixels that one call takes at most.
inline constexpr std::size_t kNoiseRun = 512;

struct NoiseKernels {
    /// Bytes times a factor of the pixel that they are of, held to 0 to 255. The factors come from four numbers for each
    /// pixel, which in their sum are close to a bell around 1.
    void (*brighten)(uint8_t *to, const uint8_t *from, const uint16_t *numbers, std::size_t pixels,
                     std::size_t channels, double amount);
    /// to = from + half of the range - the number's place in it, one number for each pixel, held to 0 to 255.
    void (*grain)(uint8_t *to, const uint8_t *from, const uint16_t *numbers, std::size_t pixels,
                  std::size_t channels, const NumberRange &range);
};
NoiseKernels noiseKernels();

namespace kernels {

NoiseKernels noisePlain();
#if defined(__x86_64__)
NoiseKernels noiseAvx2();
#endif

} // namespace kernels

} // namespace velmont
