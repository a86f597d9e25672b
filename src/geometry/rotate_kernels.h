#pragma once

/// \file
/// Kernels of the free rotation: samples between the pixels, in steps of an eighth. See core/byte_kernels.h for the
/// rules.

#include <cstddef>
#include <cstdint>

namespace velmont {

/// A place in a picture, or a step, with 17 fractional bits. Sums wrap at 32 bits.
struct SamplePlace {
    uint32_t x, y;

    SamplePlace &operator+=(const SamplePlace &step)
    {
        x += step.x;
        y += step.y;
        return *this;
    }
    SamplePlace plus(const SamplePlace &step, uint32_t times) const
    {
        return {x + step.x * times, y + step.y * times};
    }
};
inline constexpr int kPlaceBits = 17;

/// A picture of samples: one byte a pixel, or three.
struct SampleRows {
    const uint8_t *first;
    std::size_t stride;
    int width, height;
};

/// `count` pixels from `start` on, each blended of four; in the last column and row the pixel itself.
using BlendedRun = void (*)(uint8_t *to, std::size_t count, const SampleRows &from, SamplePlace start,
                            SamplePlace step);

struct RotateKernels {
    BlendedRun anywhere; ///< for places inside the picture
    /// For places of which at least `reach` pixels of the row, the one at the place included, and a row behind it
    /// lie inside the picture.
    BlendedRun inner;
    int reach;
};
/// Those of a depth of 8 or 24 bits.
RotateKernels rotateKernels(int bitCount);

namespace kernels {

void blendBytesPlain(uint8_t *to, std::size_t count, const SampleRows &from, SamplePlace start,
                     SamplePlace step);
void blendPixelsPlain(uint8_t *to, std::size_t count, const SampleRows &from, SamplePlace start,
                      SamplePlace step);
#if defined(__x86_64__)
inline constexpr int kBytesReachAvx2 = 4, kPixelsReachAvx2 = 3;
void blendBytesAvx2(uint8_t *to, std::size_t count, const SampleRows &from, SamplePlace start,
                    SamplePlace step);
void blendPixelsAvx2(uint8_t *to, std::size_t count, const SampleRows &from, SamplePlace start,
                     SamplePlace step);
#endif

} // namespace kernels

} // namespace velmont
