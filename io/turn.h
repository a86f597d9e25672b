#pragma once

/// \file
/// Puts a picture upright that lies in its file another way.

#include "io/picture.h"

namespace velmont::io {

/// Turns and mirrors pixels and alpha as an orientation of 1 to 8 asks for: 2 mirrored left to right, 3 turned
/// by 180 degrees, 4 mirrored top to bottom, 5 along the main diagonal, 6 turned right, 7 along the other
/// diagonal, 8 turned left. A quarter turn exchanges the resolutions.
/// \throws Error when there is no memory.
void turnUpright(Picture &picture, unsigned orientation);

} // namespace velmont::io
