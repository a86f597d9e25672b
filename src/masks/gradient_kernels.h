#pragma once

/// \file
/// Kernels of the gradients: from a run of pixels to their distances, from those to colours, and the mix with the
/// picture. See core/byte_kernels.h for the rules.

#include <cstddef>
#include <cstdint>

namespace velmont {

/// A distance along a line in pixels: a whole number of them and `rest` of the line's length.
struct LineDistance {
    int64_t whole, rest; ///< rest from 0 to length - 1
};

/// Distances that grow by `step` from pixel to pixel, of which whole pixels count.
struct LineRun {
    LineDistance start, step;
    int64_t length;
};

/// Distances from a point in a row: the root of a column's and the row's part, rounded, no more than `last`.
struct RoundRun {
    const double *columnParts;
    double rowPart;
    double last;
    double first; ///< what is taken away from each distance
};

/// A pixel is the source's times `source` plus the gradient's times `gradient`, in hundredths.
struct MixShares {
    int source, gradient;

    /// Any percentage. Far outside 0 to 100 each pixel is the gradient's, 0 or 255, and a share held to what
    /// has products of 32 bits gives the same.
    static MixShares ofPercent(int sourcePercent)
    {
        constexpr int kFar = 100000;
        const int held = sourcePercent < -kFar ? -kFar : sourcePercent > kFar ? kFar : sourcePercent;
        return {held, 100 - held};
    }
    bool isMean() const { return source >= 0 && gradient >= 0; }
};

struct GradientKernels {
    void (*line)(int32_t *places, std::size_t count, const LineRun &run);
    void (*round)(int32_t *places, std::size_t count, const RoundRun &run);
    /// to[i] = the low three bytes of pixels[places[i]]
    void (*colors)(uint8_t *to, const int32_t *places, const uint32_t *pixels, std::size_t count);
    /// to[i] = the low byte of pixels[places[i]]
    void (*levels)(uint8_t *to, const int32_t *places, const uint32_t *pixels, std::size_t count);
    /// Held to 0 to 255.
    void (*mix)(uint8_t *to, const uint8_t *from, const uint8_t *gradient, std::size_t bytes,
                MixShares shares);
};
GradientKernels gradientKernels();

namespace kernels {

GradientKernels gradientPlain();
#if defined(__x86_64__)
GradientKernels gradientAvx2();
#endif

} // namespace kernels

} // namespace velmont
