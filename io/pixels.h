#pragma once

/// \file
/// Rows of a `Dib`: their size and the palette indices in them.

#include <cstddef>
#include <cstdint>
#include <velmont/dib.h>

namespace velmont::io {

/// Bytes of a row without its padding.
constexpr uint64_t rowBytes(uint64_t width, unsigned bits)
{
    return (width * bits + 7) / 8;
}

/// Bytes of a row in a `Dib` and in a BMP file.
constexpr uint64_t strideOf(uint64_t width, unsigned bits)
{
    return (width * bits + 31) / 32 * 4;
}

/// Colours that an index of this many bits can name; 0 at 24 bits.
constexpr unsigned mostColors(unsigned bits)
{
    return bits <= 8 ? 1u << bits : 0;
}

/// Entry `index` of the even gray ramp of this many bits, black first.
constexpr DibColor grayOf(unsigned index, unsigned bits)
{
    const auto level = static_cast<uint8_t>(index * 255 / (mostColors(bits) - 1));
    return {level, level, level, 0};
}

/// Spreads the 1-, 2-, 4- or 8-bit indices of a row to a byte each.
void unpackIndices(const uint8_t *row, std::size_t width, unsigned bits, uint8_t *indices);

/// The highest index in a row of 1, 4 or 8 bits.
unsigned highestIndex(const uint8_t *row, std::size_t width, unsigned bits);

/// Zeroes the bits and bytes of a row behind its last pixel.
void clearPadding(uint8_t *row, std::size_t width, unsigned bits);

/// Exchanges the first and the third byte of pixels of 3 or 4 bytes: blue, green, red to red, green, blue and back.
void swapRedAndBlue(uint8_t *pixels, std::size_t width, unsigned step);

/// Light from inks: each of cyan, magenta and yellow 0 to 255 takes its part of what black leaves. Four bytes a pixel
/// become blue, green, red. `flip` is 255 for inks and 0 for the light that they leave.
void inksToColor(const uint8_t *inks, std::size_t width, unsigned flip, uint8_t *row);

/// Widens a row of 2-bit indices to 4 bits.
void widenTwoBits(const uint8_t *source, std::size_t width, uint8_t *row);

} // namespace velmont::io
