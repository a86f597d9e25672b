#include "tone/hls.h"
#include <algorithm>

namespace velmont {

Hls rgbToHls(const Rgb &color)
{
    const double red = color.red, green = color.green, blue = color.blue;
    const double largest = std::max({red, green, blue}), smallest = std::min({red, green, blue});
    const double delta = largest - smallest;
    const double lightness = (largest + smallest) * 0.5;
    if (delta == 0)
        return {0, static_cast<int>(lightness), 0};
    const double saturation =
        lightness < 128 ? delta * 255 / (largest + smallest) : delta * 255 / (511 - largest - smallest);
    double hue; // in sixths, then in 255ths
    if (red == largest)
        hue = (green - blue) / delta;
    else if (green == largest)
        hue = (blue - red) / delta + 2;
    else
        hue = (red - green) / delta + 4;
    hue *= 42.5;
    if (hue < 0)
        hue += 255;
    if (hue > 255)
        hue -= 255;
    return {static_cast<int>(hue), static_cast<int>(lightness), static_cast<int>(saturation)};
}

int lightnessOf(const Rgb &color)
{
    return static_cast<int>(
        (std::max({color.red, color.green, color.blue}) + std::min({color.red, color.green, color.blue})) *
        0.5);
}

namespace {

/// One channel of a colour between m1 and m2; its hue is counted from the channel's own place.
int channelAt(double m1, double m2, int hue)
{
    constexpr double kPerSixth = 0.023529411764705882; // 6 / 255
    if (hue > 255)
        hue -= 255;
    if (hue < 0)
        hue += 255;
    double value = m1;
    if (hue < 42.5)
        value = (m2 - m1) * hue * kPerSixth + m1;
    else if (hue < 127.5)
        value = m2;
    else if (hue < 170)
        value = (170 - hue) * kPerSixth * (m2 - m1) + m1;
    return static_cast<int>(value * 255);
}

} // namespace

Rgb hlsToRgb(const Hls &color)
{
    const auto [hue, lightness, saturation] = color;
    if (saturation == 0)
        return {lightness, lightness, lightness};
    constexpr double kPerLevel = 0.00392156862745098;          // 1 / 255
    constexpr double kPerSquaredLevel = 1.5378700499807768e-5; // 1 / 65025
    constexpr double kTwicePerLevel = 0.00784313725490196;     // 2 / 255
    const double m2 = lightness >= 128
                          ? (saturation + lightness - saturation * lightness * kPerLevel) * kPerLevel
                          : (saturation + 255) * lightness * kPerSquaredLevel;
    const double m1 = lightness * kTwicePerLevel - m2;
    return {channelAt(m1, m2, hue + 85), channelAt(m1, m2, hue), channelAt(m1, m2, hue - 85)};
}

int sectorOf(int hue)
{
    return (hue >= 43) + (hue >= 85) + (hue >= 128) + (hue >= 171) + (hue >= 213);
}

} // namespace velmont
