#pragma once

/// \file
/// Everything at infinity: the evening sky, its clouds, the sun, the mountains behind the lake.

#include "vec.h"

namespace velmont::samples {

/// What is seen in a direction with y >= 0; z points into the picture.
/// \param footprint tangent of the angle that one sample covers
Rgb sky(Vec3 direction, float footprint);

/// The air near the horizon in a direction, which distant things fade into.
Rgb haze(Vec3 direction);

/// Towards the low sun of the picture.
Vec3 sunDirection();

} // namespace velmont::samples
