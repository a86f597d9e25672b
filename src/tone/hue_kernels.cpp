#include "tone/hue_kernels.h"
#include "core/cpu.h"
#include "tone/hls.h"
#include <algorithm>

namespace velmont {

namespace {

/// The hue circle in sixths of 60 * delta each: red at 0, green at 2, blue at 4.
int placeOnCircle(int blue, int green, int red, int largest, int delta)
{
    if (red == largest)
        return 60 * (green - blue);
    if (green == largest)
        return 2 * 60 * delta + 60 * (blue - red);
    return 60 * (red - green) - 2 * 60 * delta;
}

/// Which of smallest, middle and largest (0, 1, 2) blue, green and red are in each sixth; the seventh is the
/// first again.
constexpr uint8_t kDeal[7][3] = {{0, 1, 2}, {0, 2, 1}, {1, 2, 0}, {2, 1, 0}, {2, 0, 1}, {1, 0, 2}, {0, 1, 2}};

void turnHue(uint8_t *color, int hue, int largest, int smallest)
{
    const int delta = largest - smallest, sixth = 60 * delta;
    int place = placeOnCircle(color[0], color[1], color[2], largest, delta) + delta * hue;
    if (place < 0)
        place += 6 * sixth;
    const int q = place / sixth;
    int rest = place % sixth;
    if (q % 2 == 0)
        rest = sixth - rest;
    const int levels[3] = {smallest, largest - (rest + 30) / 60, largest};
    for (int channel = 0; channel < 3; ++channel)
        color[channel] = static_cast<uint8_t>(levels[kDeal[q][channel]]);
}

Rgb pixelAt(const uint8_t *row, std::size_t x)
{
    return {row[3 * x + 2], row[3 * x + 1], row[3 * x]};
}

void setPixel(uint8_t *row, std::size_t x, const Rgb &color)
{
    row[3 * x] = static_cast<uint8_t>(color.blue);
    row[3 * x + 1] = static_cast<uint8_t>(color.green);
    row[3 * x + 2] = static_cast<uint8_t>(color.red);
}

} // namespace

HueShift::HueShift(int hueDegrees, int saturationPercent) : hue(hueDegrees), saturation(saturationPercent)
{
    for (int level = 0; level < 256; ++level)
        pull[level] = (128 * level * saturation + 50) / 100;
}

void HueShift::apply(uint8_t *color) const
{
    const int largest = std::max({color[0], color[1], color[2]});
    const int smallest = std::min({color[0], color[1], color[2]});
    if (largest == smallest)
        return;
    if (hue != 0)
        turnHue(color, hue, largest, smallest);
    for (int channel = 0; channel < 3; ++channel) {
        const int level = color[channel];
        const int moved = std::max(0, 128 * level - pull[level] + pull[largest]);
        color[channel] = static_cast<uint8_t>(std::min(moved >> 7, 255));
    }
}

namespace kernels {

void hueShiftPlain(uint8_t *to, const uint8_t *from, std::size_t pixels, const HueShift &shift)
{
    for (std::size_t x = 0; x < pixels; ++x) {
        uint8_t color[3] = {from[3 * x], from[3 * x + 1], from[3 * x + 2]};
        shift.apply(color);
        for (std::size_t channel = 0; channel < 3; ++channel)
            to[3 * x + channel] = color[channel];
    }
}

void sectorPlain(uint8_t *to, const uint8_t *from, std::size_t pixels, const SectorTables &tables)
{
    for (std::size_t x = 0; x < pixels; ++x) {
        const Hls old = rgbToHls(pixelAt(from, x));
        const int sector = sectorOf(old.hue);
        setPixel(to, x,
                 hlsToRgb({tables.hue[old.hue], tables.lightness[sector][old.lightness],
                           tables.saturation[sector][old.saturation]}));
    }
}

void lightnessPlain(uint8_t *to, const uint8_t *from, const uint8_t *source, std::size_t pixels)
{
    for (std::size_t x = 0; x < pixels; ++x) {
        Hls color = rgbToHls(pixelAt(from, x));
        color.lightness = lightnessOf(pixelAt(source, x));
        setPixel(to, x, hlsToRgb(color));
    }
}

} // namespace kernels

HueShiftRow hueShiftRow()
{
#if defined(__x86_64__)
    if (cpuLevel() >= CpuLevel::Avx512)
        return kernels::hueShiftAvx512;
    if (cpuLevel() >= CpuLevel::Avx2)
        return kernels::hueShiftAvx2;
#endif
    return kernels::hueShiftPlain;
}

SectorRow sectorRow()
{
#if defined(__x86_64__)
    if (cpuLevel() >= CpuLevel::Avx512)
        return kernels::sectorAvx512;
    if (cpuLevel() >= CpuLevel::Avx2)
        return kernels::sectorAvx2;
#endif
    return kernels::sectorPlain;
}

LightnessRow lightnessRow()
{
#if defined(__x86_64__)
    if (cpuLevel() >= CpuLevel::Avx512)
        return kernels::lightnessAvx512;
    if (cpuLevel() >= CpuLevel::Avx2)
        return kernels::lightnessAvx2;
#endif
    return kernels::lightnessPlain;
}

} // namespace velmont
