#pragma once

/// \file
/// Kernels of the tone effects, over one row. See core/byte_kernels.h for the rules.

#include <cstddef>
#include <cstdint>

namespace velmont {

/// The luminance that thresholds are held against: 255 times a level, at most 65025.
constexpr unsigned weightedLuminance(unsigned blue, unsigned green, unsigned red)
{
    return 76 * red + 150 * green + 29 * blue;
}

/// White where a pixel's weighted luminance is above 255 times the threshold, from 0 to 255; else black.
using ThresholdRow = void (*)(uint8_t *to, const uint8_t *from, std::size_t pixels, int threshold);
ThresholdRow thresholdRow();

/// A tint keeps a pixel's largest and smallest channel as two channels of the new pixel; green lies between.
struct Tint {
    uint16_t share;   ///< how far green lies above the smallest, out of 65536 of the distance, rounded down
    bool largestBlue; ///< the largest becomes blue and the smallest red, else the other way round

    uint8_t between(unsigned largest, unsigned smallest) const
    {
        return static_cast<uint8_t>(smallest + ((largest - smallest) * share >> 16));
    }
};
using TintRow = void (*)(uint8_t *to, const uint8_t *from, std::size_t pixels, const Tint &tint);
TintRow tintRow();

/// A level as the sum of a share of each channel, and the colour of each level.
struct LevelColors {
    /// Of blue, green and red. No three shares add up to more than 255.
    alignas(64) uint8_t share[3][256] = {};
    /// The colours twice, as the kernels want them: by channel, and by level with a spare byte.
    alignas(64) uint8_t channel[3][256] = {};
    alignas(64) uint8_t color[256][4] = {};

    void setColor(int level, int blue, int green, int red)
    {
        const uint8_t value[3] = {static_cast<uint8_t>(blue), static_cast<uint8_t>(green),
                                  static_cast<uint8_t>(red)};
        for (int i = 0; i < 3; ++i)
            color[level][i] = channel[i][level] = value[i];
    }
};
using LevelColorRow = void (*)(uint8_t *to, const uint8_t *from, std::size_t pixels,
                               const LevelColors &colors);
LevelColorRow levelColorRow();

/// Bytes from 128 up become 255 minus themselves.
void solarizeRow(uint8_t *to, const uint8_t *from, std::size_t bytes);
/// 255 where a byte is above the threshold, else 0.
void aboveRow(uint8_t *to, const uint8_t *from, std::size_t bytes, int threshold);

namespace kernels {

void thresholdPlain(uint8_t *to, const uint8_t *from, std::size_t pixels, int threshold);
void tintPlain(uint8_t *to, const uint8_t *from, std::size_t pixels, const Tint &tint);
void levelColorPlain(uint8_t *to, const uint8_t *from, std::size_t pixels, const LevelColors &colors);
#if defined(__x86_64__)
void thresholdAvx2(uint8_t *to, const uint8_t *from, std::size_t pixels, int threshold);
void tintAvx2(uint8_t *to, const uint8_t *from, std::size_t pixels, const Tint &tint);
void thresholdAvx512(uint8_t *to, const uint8_t *from, std::size_t pixels, int threshold);
void tintAvx512(uint8_t *to, const uint8_t *from, std::size_t pixels, const Tint &tint);
void levelColorAvx512(uint8_t *to, const uint8_t *from, std::size_t pixels, const LevelColors &colors);
#endif

} // namespace kernels

} // namespace velmont
