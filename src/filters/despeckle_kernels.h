#pragma once

/// \file
/// The kernel of despeckle, over one row. See core/byte_kernels.h for the rules.

#include <cstddef>
#include <cstdint>

namespace velmont {

/// Three neighbouring rows of `bytes` bytes, samples of one channel `step` bytes apart. Columns outside the rows
/// are taken as their ends.
struct ThreeRows {
    const uint8_t *above, *current, *below;
    std::size_t bytes, step;
};
/// The mean of nine samples, but the sample itself where the two slopes across it come to 128 or more.
using DespeckleRow = void (*)(uint8_t *to, const ThreeRows &rows);
DespeckleRow despeckleRow();

namespace kernels {

void despecklePlain(uint8_t *to, const ThreeRows &rows);
/// The bytes from `first` up to `last`.
void despeckleRange(uint8_t *to, const ThreeRows &rows, std::size_t first, std::size_t last);
#if defined(__x86_64__)
void despeckleAvx2(uint8_t *to, const ThreeRows &rows);
#endif

} // namespace kernels

} // namespace velmont
