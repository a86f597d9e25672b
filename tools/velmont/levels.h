#pragma once

/// \file
/// Alpha and selections as bytes, one a pixel, and as images that the library works on.

#include "io/dib_handle.h"
#include <cstdint>
#include <span>
#include <vector>

namespace velmont::cli {

/// The levels as an 8-bit gray image.
/// \param levels width * height of them, the stored rows one behind the other
/// \throws std::bad_alloc
io::DibHandle grayOf(std::span<const uint8_t> levels, int width, int height);

/// The levels of an 8-bit gray image.
std::vector<uint8_t> levelsOf(void *gray);

} // namespace velmont::cli
