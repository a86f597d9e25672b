#pragma once

/// \file
/// Kernels of the colour pencil.

#include <cstddef>
#include <cstdint>

namespace velmont {

/// No edge is stronger than this: two slopes of up to 1020, one of which may be a whole strength already.
inline constexpr std::size_t kLargestStrength = 1767;

/// Three neighbouring rows, each with an empty pixel before it and behind it.
struct PencilLines {
    const uint8_t *before, *row, *behind; ///< at the first pixel
    std::size_t pixels, channels;
};

/// What starts in one row of a picture, for one channel of a run of pixels.
struct PencilStrokes {
    const int32_t *starts; ///< -1 for a pixel where a stroke starts, else 0
    const double *share;   ///< what the start adds to each pixel of its stroke
    double color;          ///< what the pencil adds
    std::size_t pixels;
};

inline constexpr double kPencilOriginShare = 0.2, kPencilTargetShare = 0.4;

struct PencilKernels {
    /// The slopes of two operators at each pixel: magnitudes, of which the mean of the channels, rounded down.
    void (*slopes)(int16_t *first, int16_t *second, const PencilLines &lines);
    /// Their lengths together, rounded down.
    void (*strengths)(int16_t *to, const int16_t *first, const int16_t *second, std::size_t pixels);
    /// Draws one pixel of each stroke.
    void (*draw)(int32_t *targets, const PencilStrokes &strokes);
    /// How many of the strengths lie below a limit.
    std::size_t (*countBelow)(const int16_t *strengths, std::size_t pixels, int16_t limit);
};
PencilKernels pencilKernels();

namespace kernels {

PencilKernels pencilPlain();
#if defined(__x86_64__)
PencilKernels pencilAvx2();
PencilKernels pencilAvx512();
#endif

} // namespace kernels

} // namespace velmont
