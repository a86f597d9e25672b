#pragma once

/// \file
/// Kernels of the distortion into a quadrilateral.

#include <cstddef>
#include <cstdint>

namespace velmont {

/// From the result to the source: x = (x0 + u * xu) * v + 0.5 and y = (y0 + v * yv) * u + 0.5, u and v being whole
/// numbers that grow by a step from pixel to pixel of a row. They wrap at 32 bits.
struct DistortMap {
    double x0, xu, y0, yv;
    int32_t uStep, vStep;
    int32_t width, height; ///< of the source
};

/// Pixels that one call takes at most.
inline constexpr int kDistortRun = 512;

/// Where a run of pixels comes from.
struct DistortPlaces {
    /// The source's pixel; column -1 outside.
    alignas(64) int32_t column[kDistortRun], row[kDistortRun];
    /// What the pixel and its row weigh in eighths, beside the next column and row. More than 8 where a place lies
    /// before the first.
    alignas(64) int32_t columnWeight[kDistortRun], rowWeight[kDistortRun];
};

/// Pixels in memory.
struct DistortSource {
    const uint8_t *rows;
    std::size_t stride;
    int32_t width, height;
};

struct DistortKernels {
    /// The places of `count` pixels, the first at u and v.
    void (*places)(DistortPlaces &places, const DistortMap &map, int32_t u, int32_t v, int count);
    /// 24-bit pixels blended of four, rounded down; outside they are the three bytes of `background`.
    void (*blend24)(uint8_t *to, const DistortSource &source, const DistortPlaces &places, int count,
                    uint32_t background);
    /// The same for 8 bits.
    void (*blend8)(uint8_t *to, const DistortSource &source, const DistortPlaces &places, int count,
                   uint32_t background);
};
DistortKernels distortKernels();

namespace kernels {

DistortKernels distortPlain();
#if defined(__x86_64__)
DistortKernels distortAvx2();
#endif

} // namespace kernels

} // namespace velmont
