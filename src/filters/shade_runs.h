#pragma once

/// \file
/// The loops of the shades, written for a compiler to turn into vectors; each source that includes them compiles
/// them for its instruction set. All of it has internal linkage and calls nothing outside.

#include "filters/shade_kernels.h"

namespace velmont::kernels {

namespace {

inline uint8_t shaded(uint8_t level, uint8_t lighter, uint8_t darker)
{
    const auto room = static_cast<uint8_t>(255 - lighter);
    const auto lit = static_cast<uint8_t>((level < room ? level : room) + lighter);
    return static_cast<uint8_t>((lit > darker ? lit : darker) - darker);
}

inline void shadeRun(uint8_t *__restrict to, const uint8_t *__restrict from, std::size_t bytes, int shade)
{
    const auto lighter = static_cast<uint8_t>(shade > 0 ? shade : 0);
    const auto darker = static_cast<uint8_t>(shade < 0 ? -shade : 0);
    for (std::size_t i = 0; i < bytes; ++i)
        to[i] = shaded(from[i], lighter, darker);
}

/// All bits of a byte where it holds.
inline uint8_t allIf(bool holds)
{
    return holds ? 255 : 0;
}

inline void shadeTiles(uint8_t *__restrict to, const uint8_t *__restrict from, const TilePlaces &places,
                       std::size_t bytes)
{
    const uint8_t *__restrict const column = places.column;
    const uint8_t *__restrict const walk = places.walk;
    const uint8_t mask = places.mask, near = static_cast<uint8_t>(mask - 1), shade = places.shade;
    const uint8_t addToColumn = places.addToColumn, addToWalk = places.addToWalk;
    for (std::size_t i = 0; i < bytes; ++i) {
        const auto p = static_cast<uint8_t>((column[i] + addToColumn) & mask);
        const auto n = static_cast<uint8_t>((walk[i] + addToWalk) & mask);
        const auto line =
            static_cast<uint8_t>(allIf(p == 0) | allIf(p == mask) | allIf(n == 0) | allIf(n == mask));
        const uint8_t first = allIf(p == 1), last = allIf(p == near);
        const auto light = static_cast<uint8_t>(last | (allIf(n == 1) & ~first));
        const auto dark = static_cast<uint8_t>(first | (allIf(n == near) & ~last));
        to[i] = shaded(from[i], static_cast<uint8_t>(light & ~line & shade),
                       static_cast<uint8_t>(dark & ~line & shade));
    }
}

} // namespace

} // namespace velmont::kernels
