#pragma once

/// \file
/// The loops of the water paper, written for a compiler to turn into vectors; each source that includes them compiles
/// them for its instruction set. All of it has internal linkage and calls nothing outside.
///
/// The conversions between red, green, blue and hue, saturation, value are this effect's own: hosts rely on their
/// rounding, which is that of each step in double precision.

#include "artistic/water_kernels.h"

namespace velmont::kernels {

namespace {

constexpr std::size_t kWaterChunk = 128;
constexpr double kWaterSmall = 1e-6;

struct WaterPixels {
    double red[kWaterChunk], green[kWaterChunk], blue[kWaterChunk], value[kWaterChunk];
};

inline void waterLoad(WaterPixels &to, const uint8_t *__restrict pixels, std::size_t count,
                      const double *__restrict values)
{
    for (std::size_t i = 0; i < count; ++i) {
        const uint8_t blue = pixels[3 * i], green = pixels[3 * i + 1], red = pixels[3 * i + 2];
        const uint8_t larger = blue > green ? blue : green;
        to.red[i] = red * kWaterUnit;
        to.green[i] = green * kWaterUnit;
        to.blue[i] = blue * kWaterUnit;
        to.value[i] = values[larger > red ? larger : red];
    }
}

inline void waterStore(uint8_t *__restrict pixels, std::size_t count, const WaterPixels &from)
{
    for (std::size_t i = 0; i < count; ++i) {
        pixels[3 * i] = static_cast<uint8_t>(static_cast<int32_t>(from.blue[i] * 255.0));
        pixels[3 * i + 1] = static_cast<uint8_t>(static_cast<int32_t>(from.green[i] * 255.0));
        pixels[3 * i + 2] = static_cast<uint8_t>(static_cast<int32_t>(from.red[i] * 255.0));
    }
}

/// All ways are gone and one is taken, so that pixels go through side by side.
inline void waterConvert(WaterPixels &pixels)
{
    for (std::size_t i = 0; i < kWaterChunk; ++i) {
        const double r = pixels.red[i], g = pixels.green[i], b = pixels.blue[i];
        const double larger = r > g ? r : g, smaller = r < g ? r : g;
        const double max = larger > b ? larger : b, min = smaller < b ? smaller : b;
        const double difference = max - min;
        const double s = max >= kWaterSmall ? difference / max : 0;
        const bool isGray = s < kWaterSmall;
        const double divisor = isGray ? 1 : difference;
        const double rc = (max - r) / divisor, gc = (max - g) / divisor, bc = (max - b) / divisor;
        const double ofRed = bc - gc, ofGreen = rc + 2 - bc, ofBlue = gc + 4 - rc;
        const double sixth = max - r < kWaterSmall ? ofRed : max - g < kWaterSmall ? ofGreen : ofBlue;
        const double degrees = sixth * 60;
        const double positive = degrees < 0 ? degrees + 360 : degrees;
        const double h = (positive == 360.0 ? 0 : positive) * 0.016666666666666666;
        const auto sector = static_cast<double>(static_cast<int32_t>(h));
        const double f = h - sector, v = pixels.value[i];
        const double p = (1 - s) * v, q = (1 - f * s) * v, t = (1 - (1 - f) * s) * v;
        const double red = sector < 1 ? v : sector < 2 ? q : sector < 4 ? p : sector < 5 ? t : v;
        const double green = sector < 1 ? t : sector < 3 ? v : sector < 4 ? q : p;
        const double blue = sector < 2 ? p : sector < 3 ? t : sector < 5 ? v : q;
        pixels.red[i] = isGray ? v : red;
        pixels.green[i] = isGray ? v : green;
        pixels.blue[i] = isGray ? v : blue;
    }
}

inline void waterTone(uint8_t *pixels, std::size_t count, const double *values)
{
    WaterPixels chunk{};
    for (std::size_t i = 0; i < count; i += kWaterChunk) {
        const std::size_t some = count - i < kWaterChunk ? count - i : kWaterChunk;
        waterLoad(chunk, pixels + 3 * i, some, values);
        waterConvert(chunk);
        waterStore(pixels + 3 * i, some, chunk);
    }
}

} // namespace

} // namespace velmont::kernels
