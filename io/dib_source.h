#pragma once

/// \file
/// A picture about to be written: its `Dib`, examined once, and its alpha.

#include "io/dib_lock.h"
#include "io/picture.h"
#include <array>
#include <cstddef>
#include <cstdint>
#include <velmont/dib.h>

namespace velmont::io {

/// Locks the `Dib` of a picture for as long as it lives.
class DibSource {
public:
    /// \throws Error when there is no `Dib`, when its header does not fit its block, at a depth other than 1,
    /// 4, 8 and 24 bits, and when the alpha is not of the picture's size.
    explicit DibSource(const Picture &picture);

    int width() const { return header_.biWidth; }
    int height() const { return header_.biHeight; }
    unsigned bits() const { return header_.biBitCount; }
    std::size_t stride() const { return stride_; }
    /// Pixels a metre; 0 when unknown.
    uint32_t xPelsPerMeter() const { return resolution(header_.biXPelsPerMeter); }
    uint32_t yPelsPerMeter() const { return resolution(header_.biYPelsPerMeter); }

    /// A stored row, row 0 the bottom line of the picture.
    const uint8_t *row(int y) const { return rows_ + stride_ * static_cast<std::size_t>(y); }
    bool hasAlpha() const { return alpha_ != nullptr; }
    /// The alpha of a stored row; only with hasAlpha.
    const uint8_t *alphaRow(int y) const
    {
        return alpha_ + static_cast<std::size_t>(width()) * static_cast<std::size_t>(y);
    }
    /// The stored row of a line of the picture, line 0 the top one.
    int rowOfLine(int line) const { return height() - 1 - line; }

    /// The palette; black where the `Dib` has no colour.
    const std::array<DibColor, 256> &palette() const { return palette_; }
    /// How many colours of it a file needs: those of the `Dib` and any that a pixel names; 0 at 24 bits.
    unsigned colors() const { return colors_; }
    /// Whether the palette is the even ramp from black to white of its depth, so that indices are gray
    /// levels.
    bool isGrayRamp() const;
    /// Whether all colours are gray.
    bool hasGrayPalette() const;

    /// A stored row as one gray level a pixel; for a gray palette.
    void grayRow(int y, uint8_t *gray) const;
    /// A stored row as blue, green, red of each pixel, at any depth. Pixels are `step` bytes apart; with 4
    /// the alpha (255 without one) becomes the fourth byte.
    void colorRow(int y, uint8_t *pixels, unsigned step) const;

private:
    static uint32_t resolution(int32_t value) { return value > 0 ? static_cast<uint32_t>(value) : 0; }
    void readHeader(std::size_t blockBytes);
    void readPalette();
    unsigned highestColor() const;

    DibLock lock_;
    DibHeader header_{};
    std::size_t stride_ = 0;
    const uint8_t *rows_ = nullptr;
    const uint8_t *alpha_ = nullptr;
    std::array<DibColor, 256> palette_{};
    unsigned colors_ = 0;
};

} // namespace velmont::io
