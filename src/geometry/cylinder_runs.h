#pragma once

/// \file
/// The loop of the cylinder for any source that includes it. It has internal linkage and calls nothing outside.

#include "geometry/cylinder_kernels.h"

namespace velmont::kernels {

namespace {

/// Columns `first` to width - 1.
template <int channels>
inline void bendColumns(uint8_t *to, const uint8_t *from, const CylinderColumn *columns, int first, int width)
{
    for (int x = first; x < width; ++x) {
        const int here = columns[x].place, fraction = columns[x].fraction;
        const int next = here + 1 < width ? here + 1 : here;
        const uint8_t *const left = from + channels * static_cast<std::size_t>(here);
        const uint8_t *const right = from + channels * static_cast<std::size_t>(next);
        uint8_t *const pixel = to + channels * static_cast<std::size_t>(x);
        for (int channel = 0; channel < channels; ++channel) {
            const int mixed = ((256 - fraction) * left[channel] + fraction * right[channel]) >> 8;
            pixel[channel] = static_cast<uint8_t>(mixed > 255 ? 255 : mixed);
        }
    }
}

} // namespace

} // namespace velmont::kernels
