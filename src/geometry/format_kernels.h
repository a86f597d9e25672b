#pragma once

/// \file
/// Kernels of the format conversions, over one row of pixels. See core/byte_kernels.h for the rules.

#include <cstddef>
#include <cstdint>

namespace velmont {

/// The share of a channel with this weight in the gray, out of 255, rounded by itself.
constexpr uint8_t grayShare(unsigned weight, unsigned value)
{
    return static_cast<uint8_t>((weight * value + 127) / 255);
}
/// The gray of a colour. The three rounded shares of white are 255 exactly.
constexpr unsigned grayOf(unsigned blue, unsigned green, unsigned red)
{
    return grayShare(76, red) + grayShare(150, green) + grayShare(29, blue);
}

using PixelRow = void (*)(uint8_t *to, const uint8_t *from, std::size_t pixels);
using BitRow = void (*)(uint8_t *to, const uint8_t *from, std::size_t pixels, int threshold);

/// The colours of a palette for every index that a byte can hold, as three channels and a spare byte.
struct ColorTable {
    alignas(64) uint8_t entry[256][4];
};
using ColorRow = void (*)(uint8_t *to, const uint8_t *from, std::size_t pixels, const ColorTable &table);

/// 24-bit pixels to gray bytes.
PixelRow bgrToGrayRow();
/// Bytes to 24-bit pixels through a palette. Writes only the pixels.
ColorRow indexToBgrRow(const ColorTable &table);
/// A bit for each byte above the threshold, the leftmost pixel highest; spare bits of the last byte are 0.
BitRow aboveThresholdRow(int threshold);

/// Unpacks pixels of 1 or 4 bits into one byte each.
void unpackRow(uint8_t *to, const uint8_t *from, std::size_t pixels, int bitCount);

namespace kernels {

void bgrToGrayPlain(uint8_t *to, const uint8_t *from, std::size_t pixels);
void indexToBgrPlain(uint8_t *to, const uint8_t *from, std::size_t pixels, const ColorTable &table);
void aboveThresholdPlain(uint8_t *to, const uint8_t *from, std::size_t pixels, int threshold);
#if defined(__x86_64__)
void bgrToGrayAvx2(uint8_t *to, const uint8_t *from, std::size_t pixels);
/// For tables that are the gray ramp.
void grayToBgrAvx2(uint8_t *to, const uint8_t *from, std::size_t pixels, const ColorTable &table);
/// For thresholds from 0 to 254.
void aboveThresholdAvx2(uint8_t *to, const uint8_t *from, std::size_t pixels, int threshold);
void bgrToGrayAvx512(uint8_t *to, const uint8_t *from, std::size_t pixels);
void indexToBgrAvx512(uint8_t *to, const uint8_t *from, std::size_t pixels, const ColorTable &table);
#endif

} // namespace kernels

} // namespace velmont
