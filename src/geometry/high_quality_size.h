#pragma once

#include "core/dib_layout.h"

namespace velmont {

/// Whether ProcessResampleHighQuality takes the image to this size on, so that only an abort and a lack of memory can
/// still end it.
bool resamplesHighQuality(const Dib &source, int newWidth, int newHeight);

} // namespace velmont
