#pragma once

/// \file
/// A `Dib` in the making: what every decoder fills.

#include "io/dib_handle.h"
#include "io/dib_lock.h"
#include <cstddef>
#include <cstdint>
#include <vector>
#include <velmont/dib.h>

namespace velmont::io {

/// What a decoder knows of its image before the first pixel. The size has passed checkSize.
struct DibShape {
    int width = 0;
    int height = 0;
    unsigned bits = 0; ///< 1, 4, 8 or 24
    /// At most 2^bits colours, none at 24 bits. At 1 bit black is added to make it two.
    std::vector<DibColor> palette;
    int32_t xPelsPerMeter = 0;
    int32_t yPelsPerMeter = 0;
};

/// A new block of zero pixels behind header and palette, locked until it is finished.
class DibTarget {
public:
    /// \throws Error when there is no memory or the block would have 4 GiB or more.
    explicit DibTarget(DibShape shape);

    int width() const { return shape_.width; }
    int height() const { return shape_.height; }
    unsigned bits() const { return shape_.bits; }
    /// A stored row, row 0 the bottom line of the picture.
    uint8_t *row(int y) const { return lock_.bytes() + pixelOffset_ + stride_ * static_cast<std::size_t>(y); }
    /// A line of the picture, line 0 the top one.
    uint8_t *line(int y) const { return row(height() - 1 - y); }

    /// The finished `Dib`; the target is empty then. Whatever lies behind the last pixel of a row becomes 0,
    /// and the palette grows by black where a pixel names an entry behind its end.
    DibHandle finish();

private:
    /// Palette entries that the pixels need.
    std::size_t colorsNeeded() const;

    DibShape shape_;
    std::size_t stride_;
    std::size_t pixelOffset_;
    DibHandle dib_;
    DibLock lock_;
};

} // namespace velmont::io
