#pragma once

/// \file
/// The arithmetic of the hue kernels over runs of pixels, as loops that a compiler turns into vectors. For the
/// sources compiled for an instruction set: all of it has internal linkage and calls nothing outside.

#include "tone/hue_kernels.h"

namespace velmont::kernels {

namespace {

/// Pixels of a run.
constexpr int kRun = 64;

/// A run taken apart: blue, green, red.
struct Run {
    alignas(64) uint8_t channel[3][kRun];
};

constexpr int largerOf(int a, int b)
{
    return a > b ? a : b;
}
constexpr int smallerOf(int a, int b)
{
    return a < b ? a : b;
}
/// A choice without a branch, which would keep the loops from becoming vectors.
constexpr int choose(bool condition, int ifTrue, int ifFalse)
{
    return ifFalse ^ ((ifTrue ^ ifFalse) & -static_cast<int>(condition));
}
/// The same for finite numbers: nothing is rounded, since one of the products is the number and the other 0.
constexpr double chooseDouble(bool condition, double ifTrue, double ifFalse)
{
    const double isTrue = static_cast<double>(static_cast<int>(condition));
    return ifTrue * isTrue + ifFalse * (1 - isTrue);
}

/// HueShift::pull by arithmetic: the dividend and the rounded quotient's distance from the next whole number are
/// small and large enough for single precision.
inline int pullOf(int level, int saturationShare)
{
    return static_cast<int>(static_cast<float>(level * saturationShare + 50) / 100.0f);
}

/// A channel's level by the sixth counted from its own place on the circle: largest in the first and the last
/// one, smallest in the two opposite. As distances, since tests of single numbers become tables of bits.
constexpr int dealt(int sixth, int smallest, int middle, int largest)
{
    const int twice = 2 * sixth - 5;
    const int distance = largerOf(twice, -twice);
    return choose(distance > 4, largest, choose(distance > 2, middle, smallest));
}

/// HueShift::apply. A hue of 0 deals the same colour again, and so does a neutral colour, whose sixths are empty.
[[maybe_unused]] inline void shiftRun(Run &run, const HueShift &shift)
{
    const int hue = shift.hue, share = 128 * shift.saturation;
    for (int i = 0; i < kRun; ++i) {
        const int blue = run.channel[0][i], green = run.channel[1][i], red = run.channel[2][i];
        const int largest = largerOf(largerOf(blue, green), red);
        const int smallest = smallerOf(smallerOf(blue, green), red);
        const int delta = largest - smallest, sixth = 60 * delta;
        const int ofRed = 60 * (green - blue);
        const int ofGreen = 2 * sixth + 60 * (blue - red);
        const int ofBlue = 60 * (red - green) - 2 * sixth;
        int place = choose(red == largest, ofRed, choose(green == largest, ofGreen, ofBlue));
        place += delta * hue;
        place += choose(place < 0, 6 * sixth, 0);
        // The quotient counts the sixths that are full: a loop or a division would keep this from becoming vectors.
        const int q = (place >= sixth) + (place >= 2 * sixth) + (place >= 3 * sixth) + (place >= 4 * sixth) +
                      (place >= 5 * sixth) + (place >= 6 * sixth);
        int rest = place - q * sixth;
        rest = choose((q & 1) != 0, rest, sixth - rest);
        // 34953 / 2^21 is a 60th closely enough up to 15330.
        const int middle = largest - ((rest + 30) * 34953 >> 21);

        const int pullOfLargest = pullOf(largest, share);
        const int middleMoved = (largerOf(0, 128 * middle - pullOf(middle, share) + pullOfLargest)) >> 7;
        const int smallestMoved =
            (largerOf(0, 128 * smallest - pullOf(smallest, share) + pullOfLargest)) >> 7;
        const int low = smallerOf(smallestMoved, 255), mid = smallerOf(middleMoved, 255);
        run.channel[0][i] = static_cast<uint8_t>(dealt(q - 4 + choose(q < 4, 6, 0), low, mid, largest));
        run.channel[1][i] = static_cast<uint8_t>(dealt(q - 2 + choose(q < 2, 6, 0), low, mid, largest));
        run.channel[2][i] = static_cast<uint8_t>(dealt(q, low, mid, largest));
    }
}

/// A run as hue, lightness and saturation.
struct HlsRun {
    alignas(64) int32_t hue[kRun], lightness[kRun], saturation[kRun];
};

/// rgbToHls. Lightness and saturation are whole quotients, exact in single precision; the hue has to be worked out
/// in double precision, since the rounding errors of that show.
inline void toHls(HlsRun &to, const Run &run)
{
    alignas(64) int32_t difference[kRun], divisor[kRun], sixths[kRun];
    for (int i = 0; i < kRun; ++i) {
        const int blue = run.channel[0][i], green = run.channel[1][i], red = run.channel[2][i];
        const int largest = largerOf(largerOf(blue, green), red);
        const int smallest = smallerOf(smallerOf(blue, green), red);
        const int delta = largest - smallest, sum = largest + smallest;
        const int share = largerOf(smallerOf(sum, 511 - sum), 1);
        to.lightness[i] = sum >> 1;
        to.saturation[i] = static_cast<int>(static_cast<float>(255 * delta) / static_cast<float>(share));
        // A neutral colour is at the start of the reds.
        const bool isRed = red == largest, isGreen = green == largest;
        difference[i] = choose(isRed, green - blue, choose(isGreen, blue - red, red - green));
        sixths[i] = choose(isRed, 0, choose(isGreen, 2, 4));
        divisor[i] = largerOf(delta, 1);
    }
    for (int i = 0; i < kRun; ++i) {
        const double quotient = static_cast<double>(difference[i]) / static_cast<double>(divisor[i]);
        const double hue = (quotient + static_cast<double>(sixths[i])) * 42.5;
        const int turn = choose((sixths[i] == 0) & (difference[i] < 0), 255, 0);
        to.hue[i] = static_cast<int>(hue + static_cast<double>(turn));
    }
}

/// hlsToRgb. Of the three channels one is m2 or the top, one is m1 or the bottom, and one on a ramp between, up in
/// the first half of each third of the circle and down in the second.
inline void fromHls(Run &run, const HlsRun &from)
{
    constexpr double kPerLevel = 0.00392156862745098, kPerSquaredLevel = 1.5378700499807768e-5;
    constexpr double kTwicePerLevel = 0.00784313725490196, kPerSixth = 0.023529411764705882;
    alignas(64) int32_t top[kRun], bottom[kRun], ramp[kRun];
    for (int i = 0; i < kRun; ++i) {
        const int hue = from.hue[i], lightness = from.lightness[i], saturation = from.saturation[i];
        const double light = (static_cast<double>(saturation + lightness) -
                              static_cast<double>(saturation * lightness) * kPerLevel) *
                             kPerLevel;
        const double dark = static_cast<double>((saturation + 255) * lightness) * kPerSquaredLevel;
        const double m2 = chooseDouble(lightness >= 128, light, dark);
        const double m1 = static_cast<double>(lightness) * kTwicePerLevel - m2;
        const int inThird = hue - 85 * ((hue >= 85) + (hue >= 170));
        const bool isRising = inThird <= 42;
        const double place = static_cast<double>(choose(isRising, inThird, 85 - inThird));
        const double up = (m2 - m1) * place * kPerSixth;
        const double down = place * kPerSixth * (m2 - m1);
        top[i] = static_cast<int>(m2 * 255);
        bottom[i] = static_cast<int>(m1 * 255);
        ramp[i] = static_cast<int>((chooseDouble(isRising, up, down) + m1) * 255);
    }
    for (int i = 0; i < kRun; ++i) {
        const int hue = from.hue[i];
        const bool isSecond = hue >= 85, isThird = hue >= 170;
        const int inThird = hue - 85 * (isSecond + isThird);
        const bool isRising = inThird <= 42, isNeutral = from.saturation[i] == 0;
        // In the order of the thirds: red, green, blue; green, blue, red; blue, red, green.
        const int first = choose(isNeutral, from.lightness[i], choose(isRising, top[i], ramp[i]));
        const int second = choose(isNeutral, from.lightness[i], choose(isRising, ramp[i], top[i]));
        const int third = choose(isNeutral, from.lightness[i], bottom[i]);
        run.channel[0][i] = static_cast<uint8_t>(choose(isThird, first, choose(isSecond, second, third)));
        run.channel[1][i] = static_cast<uint8_t>(choose(isThird, third, choose(isSecond, first, second)));
        run.channel[2][i] = static_cast<uint8_t>(choose(isThird, second, choose(isSecond, third, first)));
    }
}

inline int sectorOfHue(int hue)
{
    return (hue >= 43) + (hue >= 85) + (hue >= 128) + (hue >= 171) + (hue >= 213);
}

[[maybe_unused]] inline void adjustRun(Run &run, const SectorTables &tables)
{
    HlsRun hls;
    toHls(hls, run);
    alignas(64) int32_t sector[kRun];
    for (int i = 0; i < kRun; ++i)
        sector[i] = 256 * sectorOfHue(hls.hue[i]);
    const uint8_t *const lightness = tables.lightness[0], *const saturation = tables.saturation[0];
    for (int i = 0; i < kRun; ++i) {
        hls.hue[i] = tables.hue[hls.hue[i]];
        hls.lightness[i] = lightness[sector[i] + hls.lightness[i]];
        hls.saturation[i] = saturation[sector[i] + hls.saturation[i]];
    }
    fromHls(run, hls);
}

/// Gives the run the lightness of another.
[[maybe_unused]] inline void takeLightness(Run &run, const Run &source)
{
    HlsRun hls;
    toHls(hls, run);
    for (int i = 0; i < kRun; ++i) {
        const int blue = source.channel[0][i], green = source.channel[1][i], red = source.channel[2][i];
        hls.lightness[i] =
            (largerOf(largerOf(blue, green), red) + smallerOf(smallerOf(blue, green), red)) >> 1;
    }
    fromHls(run, hls);
}

} // namespace

} // namespace velmont::kernels
