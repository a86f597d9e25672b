#pragma once

/// \file
/// Run-length coded pixels of BMP files.

#include "io/dib_target.h"
#include <cstdint>
#include <span>

namespace velmont::io {

/// Decodes RLE8 into an 8-bit target and RLE4 into a 4-bit one. Pixels that the data leaves out stay 0.
/// \throws Error for data that ends before its image does and for data that goes outside the image.
void decodeBmpRuns(std::span<const uint8_t> data, const DibTarget &target);

} // namespace velmont::io
