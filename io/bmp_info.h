#pragma once

/// \file
/// The headers of a BMP file.

#include "io/codec.h"
#include <array>
#include <cstdint>
#include <span>
#include <vector>
#include <velmont/dib.h>

namespace velmont::io {

inline constexpr std::size_t kBmpFileHeaderBytes = 14;

enum class BmpCoding { Plain, RunLength4, RunLength8 };

/// Where one channel lies in a 16- or 32-bit pixel.
struct BmpChannel {
    uint32_t mask = 0; ///< bits in a row, or none
    unsigned shift = 0;
    uint32_t maximum = 0; ///< of the channel's value

    /// The channel of a pixel, scaled to 0 to 255 and rounded.
    uint8_t of(uint32_t pixel) const
    {
        const uint32_t value = (pixel & mask) >> shift;
        return static_cast<uint8_t>(maximum == 255 ? value : (uint64_t{value} * 255 + maximum / 2) / maximum);
    }
};

/// All that the headers say about the pixels.
struct BmpInfo {
    uint32_t width = 0;
    uint32_t height = 0;
    bool isTopDown = false;
    unsigned bits = 0; ///< 1, 2, 4, 8, 16, 24 or 32
    BmpCoding coding = BmpCoding::Plain;
    std::vector<DibColor> palette;        ///< up to 8 bits
    std::array<BmpChannel, 4> channels{}; ///< blue, green, red, alpha; at 16 and 32 bits
    std::span<const uint8_t> pixels;      ///< from the first pixel to the end of the file
    int32_t xPelsPerMeter = 0;
    int32_t yPelsPerMeter = 0;

    bool hasAlpha() const { return channels[3].mask != 0; }
};

/// Reads file header, information header of any kind, channel masks and palette.
/// \throws Error for what is wrong with them, and for uncompressed pixels that the file is too short for.
BmpInfo readBmpInfo(const EncodedFile &file);

} // namespace velmont::io
