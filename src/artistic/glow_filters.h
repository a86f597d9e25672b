#pragma once

/// \file
/// The filters of glowing edges, over rows of samples with the channels of a pixel beside one another.

#include <cstddef>
#include <cstdint>
#include <functional>

namespace velmont {

/// The squares of the gradients' lengths: to[i] is that of the sample i + channels of `current`.
void squaredGradients(uint32_t *to, const uint8_t *above, const uint8_t *current, const uint8_t *below,
                      std::size_t count, std::size_t channels);

/// Three rows of levels, of which the first or the last is null at the end of a picture.
struct LevelRows {
    const uint8_t *above, *current, *below;
};
/// The upper medians of 3 by 3 samples: more than half of the others rank no higher. Only samples inside the picture
/// count, and none of its last column from the fourth column on: hosts rely on it. At least three columns and rows, or
/// all levels 0.
void upperMedians(uint8_t *to, const LevelRows &rows, std::size_t width, std::size_t channels);

/// A window of 2 * radius + 1 columns and rows.
struct DilationShape {
    std::size_t width, channels;
    int radius; ///< from 0
};
/// Scratch bytes that dilateRow needs.
uint64_t dilatedRowScratch(const DilationShape &shape);
/// The largest codes of the windows along one row. Where the row is longer than a window its last column counts in none,
/// hosts rely on it; what has no column at all gets code 1.
void dilateRow(uint8_t *to, const uint8_t *from, const DilationShape &shape, uint8_t *scratch);

/// Rows of so many bytes that lie `stride` bytes apart.
struct DilationRows {
    uint8_t *top;
    std::size_t stride;
    int height;
    std::size_t bytes;

    uint8_t *row(int64_t y) const { return top + stride * static_cast<std::size_t>(y); }
};
/// What becomes of a row of largest codes, at its place.
using DilatedRow = std::function<void(uint8_t *to, const uint8_t *codes)>;
/// Scratch bytes that dilateColumns needs.
uint64_t dilatedColumnsScratch(int height, int radius, std::size_t bytes);
/// The largest codes of windows down the columns, in place, row by row.
void dilateColumns(const DilationRows &rows, int radius, uint8_t *scratch, const DilatedRow &done);

} // namespace velmont
