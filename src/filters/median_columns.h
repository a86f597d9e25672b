#pragma once

/// \file
/// The median of large windows, from counts of each column of samples that slide from row to row: the work on a
/// sample does not grow with the window.

#include "filters/median_kernels.h"

namespace velmont {

/// Counts of a column's samples at or below a value, in two levels: of those up to the end of each sixteenth of all
/// values, and within each sixteenth of those up to each of its values. A count fits a byte.
struct ColumnCounts {
    static constexpr std::size_t kParts = 16;

    uint8_t *bytes; ///< bytesFor(columns), all 0 at first
    std::size_t columns;

    static uint64_t bytesFor(std::size_t columns) { return uint64_t{columns} * kParts * (kParts + 1); }
    uint8_t *coarse(std::size_t column) const { return bytes + column * kParts; }
    uint8_t *fine(std::size_t part, std::size_t column) const
    {
        return bytes + ((part + 1) * columns + column) * kParts;
    }
};

/// A row's medians. The rows of a picture come one after the other: the counts are those of the row before, whose
/// windows started with the row `leaving`. It is null for the first row. Rows of either kind.
using MedianOfColumns = void (*)(uint8_t *to, const MedianRows &rows, const ColumnCounts &counts,
                                 const uint8_t *leaving);
/// The version for a window of this size; null where medianRow is as good.
MedianOfColumns medianOfColumns(int size);

namespace kernels {

#if defined(__x86_64__)
void medianOfColumnsAvx2(uint8_t *to, const MedianRows &rows, const ColumnCounts &counts,
                         const uint8_t *leaving);
#endif

} // namespace kernels

} // namespace velmont
