#pragma once

/// \file
/// Kernels of relief, contours and sketches, over one row. See core/byte_kernels.h for the rules.

#include <cstddef>
#include <cstdint>

namespace velmont {

/// to[i] = ground[i] and what `plus` has beyond `minus`, held to 0 to 255. The mean versions take the mean of a
/// pixel's three differences, rounded toward zero, for each of its bytes.
using ReliefRow = void (*)(uint8_t *to, const uint8_t *ground, const uint8_t *plus, const uint8_t *minus,
                           std::size_t bytes);

/// Inner pixels of neighbouring rows: pixels `step` bytes before and behind them belong to the rows too.
struct RowsAbout {
    const uint8_t *previous, *current, *next;
    std::size_t step;
};

/// 255 where a sample is above limits[i] and one of its four neighbours is not, else 0.
using ContourRow = void (*)(uint8_t *to, const RowsAbout &rows, const uint8_t *limits, std::size_t bytes);

/// How edges are drawn.
struct Pencil {
    uint8_t threshold;
    uint8_t ground; ///< 0, or 255 and the lines dark
};
/// Both slopes of each sample, drawn. The mean version draws the mean of a pixel's three.
using SketchRow = void (*)(uint8_t *to, const RowsAbout &rows, Pencil pencil, std::size_t bytes);

struct ReliefKernels {
    ReliefRow relief, meanRelief;
    ContourRow contour;
    SketchRow sketch, meanSketch;
};
ReliefKernels reliefKernels();

namespace kernels {

ReliefKernels reliefPlain();
#if defined(__x86_64__)
ReliefKernels reliefAvx2();
#endif

} // namespace kernels

} // namespace velmont
