#pragma once

/// \file
/// The plane y = 0: the lake and the pebbles of its near shore.

#include "vec.h"

namespace velmont::samples {

/// How far a point of the plane lies out in the water; negative on the shore.
float shoreDistance(Vec2 p);

/// The surface of the lake, ripples and all.
/// \param footprint size of what one sample sees of it; finer ripples are left out
Vec3 waterNormal(Vec2 p, float footprint);

/// Light from the pebbles, on land and below shallow water.
Rgb pebbles(Vec2 p, float sunlight);

} // namespace velmont::samples
