#pragma once

/// \file
/// The colours of a gradient. A pixel is a number whose low bytes are those of the pixel in memory: blue, green, red, or
/// the level of a gray image.

#include "core/dib_layout.h"
#include "core/scratch_block.h"
#include <algorithm>
#include <velmont/geometry.h>

namespace velmont {

/// What the host asks for.
struct Gradient {
    tagPOINT p1, p2;
    int colorMode, repeatMode, sourcePercent, repeats, shape;
    unsigned long color1, color2;

    bool isSawtooth() const { return repeatMode == 2; }
};

/// A whole number of items in scratch memory.
template <typename Item>
class ScratchItems {
public:
    explicit ScratchItems(std::size_t count) : block_(uint64_t{count} * sizeof(Item)) {}

    /// Null where there is no memory.
    Item *items() const { return reinterpret_cast<Item *>(block_.bytes()); }

private:
    ScratchBlock block_;
};

/// The colours from color2, where a band starts, towards color1, which its end does not quite reach.
class GradientRamp {
public:
    GradientRamp(const Dib &source, const Gradient &gradient);

    /// The pixel at place `index` of a band of `length` places.
    uint32_t at(int64_t index, int64_t length) const;
    /// The pixels of the colours themselves, which a ramp through hue can miss.
    uint32_t startColor() const { return startColor_; }
    uint32_t endColor() const { return endColor_; }

private:
    /// One number that runs from `start` over `difference`.
    struct Component {
        int start, difference;
        int at(int64_t index, int64_t length) const;
    };

    bool isHue_;
    Component components_[3]; ///< blue, green and red, or hue, saturation and value; the level is the first
    uint32_t startColor_, endColor_;
};

/// Bands of one length, one after the other, and the colour behind them.
struct GradientBands {
    const GradientRamp &ramp;
    int64_t length;
    int64_t count; ///< below 1 for none
    bool isSawtooth;
    uint32_t outside;

    GradientBands(const GradientRamp &colors, int64_t bandLength, int64_t repeats, bool sawtooth)
        : ramp(colors), length(bandLength), count(repeats), isSawtooth(sawtooth),
          outside(sawtooth || repeats % 2 != 0 ? colors.endColor() : colors.startColor())
    {
    }

    /// The pixel at a distance of 0 or more.
    uint32_t at(int64_t distance) const;
    /// Behind so many places the colours come again, as long as there are bands.
    int64_t period() const { return isSawtooth ? length : 2 * length; }
};

/// A range of distances, ends included.
struct Distances {
    int64_t first, last;

    std::size_t count() const { return static_cast<std::size_t>(last - first + 1); }
};

/// The distances from `center` of the places 0 to count - 1 along a side of the picture.
inline Distances distancesFrom(int64_t center, int64_t count)
{
    const int64_t before = -center, behind = center - (count - 1);
    return {std::max<int64_t>({0, before, behind}), std::max(center, count - 1 - center)};
}

/// The pixels of the distances that occur in a picture, so that colours are worked out once for each of them and never
/// for a pixel.
class GradientTable {
public:
    GradientTable(const GradientBands &bands, Distances distances);

    bool isReady() const { return pixels_.items() != nullptr; }
    int64_t first() const { return distances_.first; }
    int64_t last() const { return distances_.last; }
    uint32_t at(int64_t distance) const { return pixels_.items()[distance - distances_.first]; }
    /// That of the first distance and those behind it.
    const uint32_t *pixels() const { return pixels_.items(); }

private:
    Distances distances_;
    ScratchItems<uint32_t> pixels_;
};

} // namespace velmont
