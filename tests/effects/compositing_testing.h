#pragma once

/// \file
/// What the tests of compositing share: images that are written to in place, and the plain loops.

#include "tests/effects/tone_testing.h"
#include <functional>
#include <optional>

namespace velmont::testing {

/// The bytes of pixel x, y.
uint8_t *pixelOf(Pieces &image, int64_t x, int64_t y);
const uint8_t *pixelOf(const Pieces &image, int64_t x, int64_t y);

/// The destination after a plain copy, pixel by pixel. The source may be null: the destination itself.
Pieces copiedIn(Pieces destination, const Pieces *source, int64_t x, int64_t y, bool wrap);
/// The destination after a copy through a mask, pixel by pixel. Null is the destination itself.
Pieces composited(Pieces destination, const Pieces *alpha, const Pieces *source, int64_t x, int64_t y,
                  bool blend, bool inverted);

/// Gray or 24 bits.
Pieces sampled(int bits, int width, int height, uint32_t seed);
/// A gray mask of mostly 0 and 255, in runs.
Pieces runMask(int width, int height, uint32_t seed);

/// An image as CreateDib makes it, worked out for itself: of one colour.
Pieces canvas(int bits, int width, int height, int resolution, uint32_t color);
/// The pieces of an image of the library's own.
Pieces piecesOf(void *dib);

/// An image as a call left it, and what the call answered.
struct Changed {
    bool answer;
    Bytes bytes;

    bool operator==(const Changed &) const = default;
};
Changed changedBy(const Pieces &image, const std::function<bool(void *)> &call);

} // namespace velmont::testing
