#pragma once

/// \file
/// The pixels that a leaded window is made of.

#include "geometry/pixel_access.h"
#include <algorithm>

namespace velmont {

/// A picture's rows without padding, and behind them a few that no picture was loaded into: panes of tiny pictures may
/// reach there. Places are counted through, so that a column beyond the last one lies in the next row: hosts rely on
/// it. They may be anywhere; what lies beyond the pixels is black, and nothing can be painted there.
class GlassPixels {
public:
    static constexpr int64_t kPixelBytes = 3;

    static uint64_t bytesFor(int width, int height)
    {
        return static_cast<uint64_t>(countOf(width, height) * kPixelBytes);
    }
    GlassPixels(uint8_t *bytes, int width, int height)
        : bytes_(bytes), width_(width), height_(height), count_(countOf(width, height))
    {
        const int64_t loaded = place(height, 0);
        std::memset(bytes + loaded * kPixelBytes, 0,
                    static_cast<std::size_t>((count_ - loaded) * kPixelBytes));
    }

    uint8_t *bytes() const { return bytes_; }
    int width() const { return width_; }
    int height() const { return height_; }
    int64_t count() const { return count_; }
    std::size_t rowBytes() const { return static_cast<std::size_t>(width_ * kPixelBytes); }
    int64_t place(int64_t row, int64_t column) const { return row * width_ + column; }
    uint8_t *at(int64_t place) const { return bytes_ + place * kPixelBytes; }
    uint8_t *row(int64_t y) const { return at(place(y, 0)); }
    PixelValue read(int64_t row, int64_t column) const
    {
        const int64_t from = place(row, column);
        return from >= 0 && from < count_ ? pixelAt<24>(at(from), 0) : 0;
    }

private:
    /// A wide picture of a few rows has points as far as six widths beside it, in its first six rows.
    static constexpr int64_t kSpareRows = 12;

    /// For hosts there are width^2 + height^2 pixels. What of them lies behind the spare rows stays black, for nothing is
    /// painted there, and takes no memory.
    static int64_t countOf(int64_t width, int64_t height)
    {
        return std::min(width * width + height * height, width * (height + kSpareRows));
    }

    uint8_t *bytes_;
    int width_, height_;
    int64_t count_;
};

} // namespace velmont
