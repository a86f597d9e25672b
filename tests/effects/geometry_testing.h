#pragma once

/// \file
/// What the tests of the effects that move pixels share: images of every depth, pixel by pixel.

#include "tests/effects/tone_testing.h"

namespace velmont::testing {

/// One pixel: its index, or at 24 bits its bytes, the first in memory lowest.
uint32_t pixelIn(const Pieces &image, int x, int y);
/// Puts a pixel where there is 0.
void putPixel(Pieces &image, int x, int y, uint32_t pixel);
/// An image of another size with the same header and palette, all pixels and padding 0.
Pieces blankOf(const Pieces &source, int width, int height);
/// The same with each pixel as pixelAt(x, y) says.
Pieces painted(const Pieces &source, int width, int height, const std::function<uint32_t(int, int)> &pixelAt);
/// Whether the pixels are samples, which can be blended.
bool isSampled(const Pieces &image);
/// Noise of every depth and kind of palette.
std::vector<Pieces> everyDepth(int width, int height, uint32_t seed = 1);
/// Gray, each row of the same length.
Pieces grayRows(const std::vector<Bytes> &rows);

} // namespace velmont::testing
