#pragma once

/// \file
/// The plain loops of the gradients' kernels, compiled for each instruction set by the source that includes it.

#include "masks/gradient_kernels.h"
#include <algorithm>
#include <cmath>
#include <cstring>

namespace velmont::kernels {

// Internal linkage: a copy compiled for AVX2 must not be picked by the linker for anybody else.
namespace {

void linePlaces(int32_t *places, std::size_t count, const LineRun &run)
{
    LineDistance at = run.start;
    for (std::size_t i = 0; i < count; ++i) {
        places[i] = static_cast<int32_t>(at.whole);
        at.whole += run.step.whole;
        at.rest += run.step.rest;
        if (at.rest >= run.length) {
            at.rest -= run.length;
            ++at.whole;
        }
    }
}

void roundPlaces(int32_t *places, std::size_t count, const RoundRun &run)
{
    for (std::size_t i = 0; i < count; ++i) {
        const double distance = std::sqrt(run.columnParts[i] + run.rowPart) + 0.5;
        // What is taken away is whole: the difference truncates where the distance would.
        places[i] = static_cast<int32_t>(std::min(distance, run.last) - run.first);
    }
}

void colorsAt(uint8_t *to, const int32_t *places, const uint32_t *pixels, std::size_t count)
{
    // Four bytes a store: the next pixel covers the last of them.
    for (std::size_t i = 0; i + 1 < count; ++i)
        std::memcpy(to + 3 * i, pixels + places[i], 4);
    if (count > 0)
        std::memcpy(to + 3 * (count - 1), pixels + places[count - 1], 3);
}

void levelsAt(uint8_t *to, const int32_t *places, const uint32_t *pixels, std::size_t count)
{
    for (std::size_t i = 0; i < count; ++i)
        to[i] = static_cast<uint8_t>(pixels[places[i]]);
}

void mixBytes(uint8_t *__restrict to, const uint8_t *__restrict from, const uint8_t *__restrict gradient,
              std::size_t bytes, MixShares shares)
{
    for (std::size_t i = 0; i < bytes; ++i) {
        const int mixed = (from[i] * shares.source + gradient[i] * shares.gradient) / 100;
        to[i] = static_cast<uint8_t>(std::clamp(mixed, 0, 255));
    }
}

} // namespace

} // namespace velmont::kernels
