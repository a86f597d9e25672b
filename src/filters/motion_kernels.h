#pragma once

/// \file
/// Kernels of the motion blur: means over short rays, rounded down.

#include <cstddef>
#include <cstdint>

namespace velmont {

inline constexpr int kLongestRay = 32;

/// Bytes that one call of RayColumns takes at most.
inline constexpr std::size_t kRayStrip = 6144;

struct MotionKernels {
    /// Rays along one row, forward or backward; they repeat the row's last sample.
    void (*row)(uint8_t *to, const uint8_t *from, std::size_t pixels, std::size_t channels, int distance,
                bool isForward);
    /// Rays along the columns of up to kRayStrip bytes. `step` leads from a row to the next on the ray, in both
    /// images; the rays repeat the last row.
    void (*columns)(uint8_t *to, const uint8_t *from, std::ptrdiff_t step, int height, std::size_t bytes,
                    int distance);
    /// sums[i] += entering[i] - leaving[i], and to[i] = sums[i] / divisor where there is a `to`. Null rows count
    /// as 0; the divisor is 2 or more.
    void (*slide)(uint8_t *to, uint16_t *sums, const uint8_t *entering, const uint8_t *leaving,
                  std::size_t bytes, int divisor);
};
MotionKernels motionKernels();

namespace kernels {

MotionKernels motionPlain();
#if defined(__x86_64__)
MotionKernels motionAvx2();
MotionKernels motionAvx512();
#endif

} // namespace kernels

} // namespace velmont
