#pragma once

/// \file
/// Single pixels of rows of every depth, for the effects that move pixels.

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <type_traits>

namespace velmont {

/// A pixel as a number: the index at 1, 4 and 8 bits; at 24 bits its three bytes, the first in memory lowest.
using PixelValue = uint32_t;

/// A colour value 0x00BBGGRR as a pixel of 24 bits.
constexpr PixelValue pixelOfColor(unsigned long color)
{
    return static_cast<PixelValue>((color & 0xFF) << 16 | (color & 0xFF00) | (color >> 16 & 0xFF));
}

/// Pixel x of a row. At 1 bit the highest bit of a byte is leftmost, at 4 bits the high nibble.
template <int bits>
PixelValue pixelAt(const uint8_t *row, std::size_t x)
{
    static_assert(bits == 1 || bits == 4 || bits == 8 || bits == 24);
    if constexpr (bits == 1)
        return row[x / 8] >> (7 - x % 8) & 1u;
    else if constexpr (bits == 4)
        return row[x / 2] >> (x % 2 == 0 ? 4 : 0) & 15u;
    else if constexpr (bits == 8)
        return row[x];
    else
        return PixelValue{row[3 * x]} | PixelValue{row[3 * x + 1]} << 8 | PixelValue{row[3 * x + 2]} << 16;
}

/// Writes the pixels of a row from the left. At 1 and 4 bits a byte is stored when it is full or the row ends, with
/// its spare bits 0.
template <int bits>
class PixelWriter {
public:
    explicit PixelWriter(uint8_t *row) : at_(row) {}

    /// The pixel's spare bits are cut off.
    void put(PixelValue pixel)
    {
        if constexpr (bits >= 8) {
            for (int shift = 0; shift < bits; shift += 8)
                *at_++ = static_cast<uint8_t>(pixel >> shift);
        } else {
            free_ -= bits;
            packed_ |= (pixel & ((1u << bits) - 1)) << free_;
            if (free_ == 0)
                store();
        }
    }
    /// Stores a last incomplete byte.
    void endRow()
    {
        if (free_ < 8)
            store();
    }

private:
    void store()
    {
        *at_++ = static_cast<uint8_t>(packed_);
        packed_ = 0;
        free_ = 8;
    }

    uint8_t *at_;
    unsigned packed_ = 0;
    int free_ = 8; ///< bits of the byte in hand
};

/// Calls use() with the depth as a constant, one of 1, 4, 8 and 24.
template <typename Use>
void withDepth(int bitCount, Use use)
{
    switch (bitCount) {
    case 1:
        return use(std::integral_constant<int, 1>());
    case 4:
        return use(std::integral_constant<int, 4>());
    case 8:
        return use(std::integral_constant<int, 8>());
    default:
        return use(std::integral_constant<int, 24>());
    }
}

} // namespace velmont
