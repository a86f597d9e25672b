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

/// New hues, lightnesses and saturations; the latter two by the sector of the old hue.
struct SectorTables {
    uint8_t hue[256];
    uint8_t lightness[6][256];
    uint8_t saturation[6][256];
};
using SectorRow = void (*)(uint8_t *to, const uint8_t *from, std::size_t pixels, const SectorTables &tables);
SectorRow sectorRow();

/// Hue and saturation of `from`, lightness of `source`.
using LightnessRow = void (*)(uint8_t *to, const uint8_t *from, const uint8_t *source, std::size_t pixels);
LightnessRow lightnessRow();

namespace kernels {

void hueShiftPlain(uint8_t *to, const uint8_t *from, std::size_t pixels, const HueShift &shift);
void sectorPlain(uint8_t *to, const uint8_t *from, std::size_t pixels, const SectorTables &tables);
void lightnessPlain(uint8_t *to, const uint8_t *from, const uint8_t *source, std::size_t pixels);
#if defined(__x86_64__)
void hueShiftAvx2(uint8_t *to, const uint8_t *from, std::size_t pixels, const HueShift &shift);
void sectorAvx2(uint8_t *to, const uint8_t *from, std::size_t pixels, const SectorTables &tables);
void lightnessAvx2(uint8_t *to, const uint8_t *from, const uint8_t *source, std::size_t pixels);
void hueShiftAvx512(uint8_t *to, const uint8_t *from, std::size_t pixels, const HueShift &shift);
void sectorAvx512(uint8_t *to, const uint8_t *from, std::size_t pixels, const SectorTables &tables);
void lightnessAvx512(uint8_t *to, const uint8_t *from, const uint8_t *source, std::size_t pixels);
#endif

} // namespace kernels

} // namespace velmont
