#pragma once

/// \file
/// Kernels of the mode filter: each pixel takes the most frequent coarse colour of its neighbourhood.

#include <cstddef>
#include <cstdint>

namespace velmont {

/// What a row of the filter reads and writes.
struct ModeRow {
    uint8_t *to;           ///< the rows that are written, laid out like those at `pixels`
    const uint8_t *pixels; ///< the rows, with all of their padding
    const uint8_t *bins;   ///< the bin of each pixel, modeBin() at 24 bits, the pixel itself at 8
    std::size_t bytes;     ///< of all rows
    std::size_t stride, binStride;
    int64_t width, radius; ///< the radius from 0 on; the rows that far up and down are there
    int64_t y;
};

/// 256 coarse colours: three bits of red, three of green and two of blue.
inline constexpr std::size_t kModeBins = 256;

struct ModeKernels {
    /// The bins of a row of `count` pixels of 24 bits.
    void (*bins)(uint8_t *to, const uint8_t *pixels, std::size_t count);
    /// One row at 24 bits: a pixel takes the colour that entered its fullest bin last.
    void (*colors)(const ModeRow &row);
    /// One row at 8 bits: a pixel takes the number of its fullest bin.
    void (*levels)(const ModeRow &row);
};
/// The versions for windows of this radius.
ModeKernels modeKernels(int64_t radius);

namespace kernels {

/// Up to these radii counts above the number of a bin fit 16 and 32 bits.
inline constexpr int64_t kLargestShortKey = 5, kLargestWideKey = 1447;

ModeKernels modePlain(int64_t radius);
#if defined(__x86_64__)
ModeKernels modeAvx2(int64_t radius);
#endif

} // namespace kernels

} // namespace velmont
