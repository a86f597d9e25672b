#pragma once

/// \file
/// Kernels of the soft edge: sums over rays and the smallest of them. See core/byte_kernels.h for the rules.

#include <cstddef>
#include <cstdint>

namespace velmont {

/// The eight rays of a pixel.
inline constexpr std::size_t kRays = 8;

struct RayKernels {
    /// to[i] = sums[i] + entering[i] - leaving[i]
    void (*slide)(uint16_t *to, const uint16_t *sums, const uint8_t *entering, const uint8_t *leaving,
                  std::size_t count);
    /// sums[i] = the sum of the `samples` bytes that end at row[i]; those before the row are read too.
    void (*along)(uint16_t *sums, const uint8_t *row, std::size_t count, std::size_t samples);
    /// The smallest of a pixel's rays over `divisor`, 2 to 181; 0 where the pixel is 0.
    void (*smallest)(uint8_t *to, const uint8_t *pixels, const uint16_t *const (&rays)[kRays],
                     std::size_t count, int divisor);
};
RayKernels rayKernels();

namespace kernels {

RayKernels rayPlain();
#if defined(__x86_64__)
RayKernels rayAvx2();
RayKernels rayAvx512();
#endif

} // namespace kernels

} // namespace velmont
