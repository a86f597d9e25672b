#pragma once

/// \file
/// Kernels of the warps of an ellipse: from a run of pixels to the places that they are taken from.

#include <array>
#include <cstddef>
#include <cstdint>

namespace velmont {

/// Entry i stands for a squared distance from the centre of i / kEllipseEntries, which is 1 on the ellipse. Entry 0
/// is never used.
inline constexpr int kEllipseEntries = 512;
/// What 1 is in the tables.
inline constexpr double kEllipseUnit = 16384;
using EllipseTable = std::array<int32_t, kEllipseEntries>;

/// Scales the way from the centre.
struct RadialWarp {
    EllipseTable factor;
};
/// Turns the way from the centre, and scales it where cosine and sine are not those of an angle.
struct AngularWarp {
    EllipseTable cosine, sine;
};

/// One row of an image.
struct EllipseRow {
    const int32_t *columnParts; ///< what each column adds to the index
    int32_t rowPart;            ///< what the row adds
    int y;
    int width, height;
    uint32_t stride, pixelBytes;
};

struct EllipseKernels {
    /// The places of `count` pixels from column `first` on, in bytes from the first pixel of the image.
    void (*radial)(uint32_t *places, const EllipseRow &row, int first, int count, const RadialWarp &table);
    void (*angular)(uint32_t *places, const EllipseRow &row, int first, int count, const AngularWarp &table);
};
EllipseKernels ellipseKernels();

namespace kernels {

EllipseKernels ellipsePlain();
#if defined(__x86_64__)
EllipseKernels ellipseAvx2();
#endif

} // namespace kernels

} // namespace velmont
