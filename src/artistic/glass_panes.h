#pragma once

#include "artistic/glass_grid.h"
#include "artistic/glass_pixels.h"

namespace velmont {

/// Gives each pane of a window one colour, which it takes from the pixels as the panes before have left them.
void fillGlassPanes(const GlassPixels &pixels, const StainedGlassGrid &grid);

} // namespace velmont
