#pragma once

/// \file
/// What the tests of the warps share: pixels moved one at a time, and random numbers of the tests' own.

#include "tests/effects/tone_testing.h"
#include <functional>
#include <optional>

namespace velmont::testing {

struct Place {
    int x, y;
};

/// The samples of a pixel of 8 or 24 bits.
Bytes pixelOf(const Pieces &image, int x, int y);
void setPixel(Pieces &image, int x, int y, const Bytes &samples);

/// The image with each pixel taken from elsewhere, where from() tells a place, else in the colour 0x00BBGGRR; zero
/// padding.
Pieces movedPixels(const Pieces &source, uint32_t color,
                   const std::function<std::optional<Place>(int x, int y)> &from);

/// The gray image with these rows of levels, each of the same length; zero padding.
Pieces levels(const std::vector<Bytes> &rows);

/// The stream of the library's generator from a state on, by its recurrence.
class Numbers {
public:
    explicit Numbers(uint32_t state) : state_(state) {}
    int next()
    {
        state_ = static_cast<uint32_t>((uint64_t{state_} * 214013 + 2531011) % (uint64_t{1} << 32));
        return static_cast<int>(state_ / 65536 % 32768);
    }

private:
    uint32_t state_;
};

} // namespace velmont::testing
