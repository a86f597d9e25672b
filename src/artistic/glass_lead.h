#pragma once

#include "artistic/glass_grid.h"
#include "artistic/glass_pixels.h"
#include <velmont/painting.h>

namespace velmont {

/// Draws the lead between the panes, and leaves in the record what its lines were drawn with.
void drawLeadLines(const GlassPixels &pixels, const StainedGlassGrid &grid, tagStainedGlassParam &param);

} // namespace velmont
