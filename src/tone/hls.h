#pragma once

/// \file
/// Hue, lightness and saturation, all from 0 to 255, in double precision. Hue and saturation of the adjustments
/// and the colour balance; RGB_TO_HSV is another conversion.
///
/// Strictly by these operations in this order: hosts rely on the levels that the rounding errors make.

namespace velmont {

struct Hls {
    int hue, lightness, saturation;
};

struct Rgb {
    int red, green, blue;
};

Hls rgbToHls(const Rgb &color);
/// Half of the largest and the smallest channel.
int lightnessOf(const Rgb &color);
Rgb hlsToRgb(const Hls &color);

/// Hues to sectors: reds, yellows, greens, cyans, blues, magentas, from 0 to 5.
int sectorOf(int hue);

} // namespace velmont
