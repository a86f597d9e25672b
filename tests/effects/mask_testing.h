#pragma once

/// \file
/// What the tests of masks and fills share: bit masks drawn by hand.

#include "tests/effects/geometry_testing.h"

namespace velmont::testing {

/// A bit mask, black and white, with these bits and zero padding.
Pieces bitMask(int width, int height, const std::function<bool(int, int)> &isSet);
/// The same from rows of '#' and '.', the first stored row first.
Pieces drawnMask(const std::vector<std::string> &rows);
/// Noise, in the padding too.
Pieces noiseMask(int width, int height, uint32_t seed = 1);
/// A mask's rows as text.
std::vector<std::string> drawing(void *mask);

} // namespace velmont::testing
