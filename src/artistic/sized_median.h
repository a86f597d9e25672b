#pragma once

#include "filters/sample_rows.h"

namespace velmont {

/// Each sample becomes the median of the square of side n that starts n / 2 samples before it, the lower one of an
/// even number of samples, each channel by itself; what lies outside the picture is its nearest sample. Padding is left
/// alone, but an n of 1 copies the rows with it.
/// \param to rows laid out like `source`, another piece of memory
/// \return false, with nothing written, for an n outside 1 to 32
bool applyMedianSized(uint8_t *to, const SampleRows &source, int n);

} // namespace velmont
