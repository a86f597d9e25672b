#pragma once

/// \file
/// The host's histogram record, from inside.

#include "core/dib_layout.h"
#include <velmont/tone.h>

namespace velmont {

/// Counts a gray or 24-bit image, with wait and arrow cursor.
/// \return the record, for DelHistogram; null without memory
HistogramRecord *makeHistogram(const Dib &source);

} // namespace velmont
