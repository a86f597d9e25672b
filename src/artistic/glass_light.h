#pragma once

#include "artistic/glass_pixels.h"

namespace velmont {

/// Adds a light that is strongest at the image's centre and ends on a regular octagon with its corners on the axes.
/// \param light in tenths of full scale, any value
void addOctagonLight(const GlassPixels &pixels, int light);

} // namespace velmont
