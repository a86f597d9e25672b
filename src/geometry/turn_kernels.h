#pragma once

/// \file
/// Kernels of the turns by whole quarters: pixels of 1, 4, 8 and 24 bits change their places. See
/// core/byte_kernels.h for the rules.

#include <cstddef>
#include <cstdint>

namespace velmont {

/// Rows of a picture or of a part of it, in the order in which they are wanted: from the bottom up with a negative
/// step.
template <typename Byte>
struct RowsOf {
    Byte *first;
    std::ptrdiff_t step; ///< bytes from a row to the next

    Byte *row(std::size_t y) const { return first + static_cast<std::ptrdiff_t>(y) * step; }
};

/// Pixel x of row y becomes pixel y of row x, for x below `width` and y below `height`. At 1 and 4 bits all rows
/// start with a byte, and spare bits of the last byte become 0.
using Transposition = void (*)(const RowsOf<uint8_t> &to, const RowsOf<const uint8_t> &from,
                               std::size_t width, std::size_t height);
/// Pixel x becomes pixel `width` - 1 - x. At 1 and 4 bits spare bits of the last byte become 0.
using MirroredRow = void (*)(uint8_t *to, const uint8_t *from, std::size_t width);

struct TurnKernels {
    Transposition transpose;
    MirroredRow mirror;
};
/// Those of a depth of 1, 4, 8 or 24 bits.
TurnKernels turnKernels(int bitCount);

namespace kernels {

#if defined(__x86_64__)
/// Columns and rows of 24-bit pixels that transposePixelsAvx2 takes at once, and those that must lie behind them.
inline constexpr std::size_t kPixelColumnsAvx2 = 4, kPixelRowsAvx2 = 8, kPixelsBehindAvx2 = 2;
/// The transposition of a number of such tiles side by side, from rows below each other to columns; steps as in
/// RowsOf.
void transposePixelsAvx2(uint8_t *to, std::ptrdiff_t toStep, const uint8_t *from, std::ptrdiff_t fromStep,
                         std::size_t tiles);
#endif

} // namespace kernels

} // namespace velmont
