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

} // namespace velmont
