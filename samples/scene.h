#pragma once

/// \file
/// The picture as a function of the place.

#include "vec.h"

namespace velmont::samples {

/// The part of the plane that the picture shows: height 1 and this width, about (0, 0), y up.
inline constexpr float kSceneWidth = 1.5f;

/// Light at one point.
/// \param size width and height of the sample
Rgb scene(Vec2 at, float size);

/// Light as bytes of the screen would have it, 0 to 1: bright light is bent softly towards white.
Rgb develop(Rgb light);

} // namespace velmont::samples
