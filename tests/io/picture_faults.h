#pragma once

/// \file
/// What every decoded picture must keep to, whatever its file looked like.

#include "io/picture.h"
#include <string>

namespace velmont::io::samples {

/// What is wrong with a decoded picture: header, palette, size of the block, padding, indices, alpha. Empty
/// when nothing is.
std::string faultOf(const Picture &picture);

} // namespace velmont::io::samples
