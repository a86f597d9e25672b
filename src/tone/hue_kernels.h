#pragma once

/// \file
/// Kernels of the hue, saturation and balance effects, over one row. See core/byte_kernels.h for the rules.

#include <cstddef>
#include <cstdint>

namespace velmont {

/// The integer hue and saturation shift.
struct HueShift {
    int hue;           ///< degrees, from -180 to 180
    int saturation;    ///< -100 to 100
    int32_t pull[256]; ///< 128 * level * saturation / 100: how far a level pulls, in 128ths

    HueShift(int hueDegrees, int saturationPercent);
    /// One colour, blue, green, red, in place.
    void apply(uint8_t *color) const;
};
using HueShiftRow = void (*)(uint8_t *to, const uint8_t *from, std::size_t pixels, const HueShift &shift);
HueShiftRow hueShiftRow();

namespace kernels {

void hueShiftPlain(uint8_t *to, const uint8_t *from, std::size_t pixels, const HueShift &shift);
#if defined(__x86_64__)
void hueShiftAvx2(uint8_t *to, const uint8_t *from, std::size_t pixels, const HueShift &shift);
void hueShiftAvx512(uint8_t *to, const uint8_t *from, std::size_t pixels, const HueShift &shift);
#endif

} // namespace kernels

} // namespace velmont
