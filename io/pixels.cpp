#include "io/pixels.h"
#include <algorithm>
#include <cstring>
#include <utility>

namespace velmont::io {

void unpackIndices(const uint8_t *row, std::size_t width, unsigned bits, uint8_t *indices)
{
    if (bits == 8) {
        std::memcpy(indices, row, width);
        return;
    }
    const unsigned perByte = 8 / bits;
    const unsigned mask = (1u << bits) - 1;
    for (std::size_t x = 0; x < width; ++x) {
        const auto shift = static_cast<unsigned>(8 - bits - bits * (x % perByte));
        indices[x] = static_cast<uint8_t>(row[x / perByte] >> shift & mask);
    }
}

unsigned highestIndex(const uint8_t *row, std::size_t width, unsigned bits)
{
    if (bits == 8)
        return *std::max_element(row, row + width);
    const unsigned perByte = 8 / bits;
    const unsigned mask = (1u << bits) - 1;
    unsigned highest = 0;
    for (std::size_t x = 0; x < width; ++x) {
        const auto shift = static_cast<unsigned>(8 - bits - bits * (x % perByte));
        highest = std::max(highest, row[x / perByte] >> shift & mask);
    }
    return highest;
}

void clearPadding(uint8_t *row, std::size_t width, unsigned bits)
{
    const auto used = static_cast<std::size_t>(rowBytes(width, bits));
    const auto stride = static_cast<std::size_t>(strideOf(width, bits));
    if (const auto tail = static_cast<unsigned>(width * bits % 8); tail != 0)
        row[used - 1] &= static_cast<uint8_t>(0xFF00u >> tail);
    std::memset(row + used, 0, stride - used);
}

void swapRedAndBlue(uint8_t *pixels, std::size_t width, unsigned step)
{
    for (std::size_t x = 0; x < width; ++x)
        std::swap(pixels[step * x], pixels[step * x + 2]);
}

void inksToColor(const uint8_t *inks, std::size_t width, unsigned flip, uint8_t *row)
{
    for (std::size_t x = 0; x < width; ++x) {
        const uint8_t *const ink = inks + 4 * x;
        const unsigned black = ink[3] ^ flip;
        for (unsigned i = 0; i < 3; ++i)
            row[3 * x + i] = static_cast<uint8_t>(((ink[2 - i] ^ flip) * black + 127) / 255);
    }
}

void widenTwoBits(const uint8_t *source, std::size_t width, uint8_t *row)
{
    for (std::size_t x = 0; x < width; x += 2) {
        const unsigned pair = source[x / 4] >> (x % 4 == 0 ? 4 : 0);
        row[x / 2] = static_cast<uint8_t>((pair & 0xC) << 2 | (pair & 0x3));
    }
}

} // namespace velmont::io
