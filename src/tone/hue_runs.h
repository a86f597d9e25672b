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

/// HueShift::pull by arithmetic: the dividend and the rounded quotient's distance from the next whole number are
/// small and large enough for single precision.
inline int pullOf(int level, int saturationShare)
{
    return static_cast<int>(static_cast<float>(level * saturationShare + 50) / 100.0f);
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
        int place = red == largest ? ofRed : green == largest ? ofGreen : ofBlue;
        place += delta * hue;
        place += place < 0 ? 6 * sixth : 0;
        int q = 0;
        for (int k = 1; k <= 6; ++k)
            q += place >= k * sixth ? 1 : 0;
        int rest = place - q * sixth;
        rest = q & 1 ? rest : sixth - rest;
        // 34953 / 2^21 is a 60th closely enough up to 15330.
        const int middle = largest - ((rest + 30) * 34953 >> 21);

        const int pullOfLargest = pullOf(largest, share);
        const int middleMoved = (largerOf(0, 128 * middle - pullOf(middle, share) + pullOfLargest)) >> 7;
        const int smallestMoved =
            (largerOf(0, 128 * smallest - pullOf(smallest, share) + pullOfLargest)) >> 7;
        const int low = smallerOf(smallestMoved, 255), mid = smallerOf(middleMoved, 255);
        q = q == 6 ? 0 : q;
        const int newBlue = q < 2 ? low : (q == 2) | (q == 5) ? mid : largest;
        const int newGreen = (q == 0) | (q == 3) ? mid : q < 3 ? largest : low;
        const int newRed = (q == 0) | (q == 5) ? largest : (q == 1) | (q == 4) ? mid : low;
        run.channel[0][i] = static_cast<uint8_t>(newBlue);
        run.channel[1][i] = static_cast<uint8_t>(newGreen);
        run.channel[2][i] = static_cast<uint8_t>(newRed);
    }
}

} // namespace

} // namespace velmont::kernels
