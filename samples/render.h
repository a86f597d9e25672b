#pragma once

/// \file
/// The picture as an image of any size.

#include "io/picture.h"

namespace velmont::samples {

/// Renders the scene, 24 bits at 100 dpi; what does not fit the proportions is cut off. The pixels do not depend on the
/// number of processors, all of which are used.
/// \param width from 1 \param height from 1
/// \throws io::Error when there is no memory for the picture
io::Picture render(int width, int height);

} // namespace velmont::samples
