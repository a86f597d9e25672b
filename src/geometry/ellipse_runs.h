#pragma once

/// \file
/// The loops of the warps of an ellipse, written for a compiler to turn into vectors; each source that includes them
/// compiles them for its instruction set. All of it has internal linkage and calls nothing outside.

#include "geometry/ellipse_kernels.h"

namespace velmont::kernels {

namespace {

inline int32_t held(int32_t value, int32_t lowest, int32_t highest)
{
    const int32_t raised = value < lowest ? lowest : value;
    return raised > highest ? highest : raised;
}

/// A doubled place from the centre, times the unit of the tables, as a pixel's place; rounded down. The sums wrap at 32
/// bits.
inline int32_t placeOf(uint32_t scaledFromCentre, int32_t size)
{
    const uint32_t centre = (static_cast<uint32_t>(size) << 14) - 8192;
    return held(static_cast<int32_t>(scaledFromCentre + centre) >> 15, 0, size - 1);
}

/// A radial warp has cosines alone.
template <bool isTurned>
inline void findPlaces(uint32_t *__restrict places, const EllipseRow &row, int first, int count,
                       const int32_t *__restrict cosines, const int32_t *__restrict sines)
{
    const int32_t *__restrict const columnParts = row.columnParts + first;
    const int32_t width = row.width, height = row.height;
    const uint32_t stride = row.stride, pixelBytes = row.pixelBytes;
    const auto rowPart = static_cast<uint32_t>(row.rowPart);
    const auto dy = 2 * static_cast<uint32_t>(row.y) + 1 - static_cast<uint32_t>(height);
    const auto firstDx = 2 * static_cast<uint32_t>(first) + 1 - static_cast<uint32_t>(width);
    const uint32_t own = static_cast<uint32_t>(row.y) * stride + static_cast<uint32_t>(first) * pixelBytes;
    for (int i = 0; i < count; ++i) {
        const auto along = static_cast<uint32_t>(i);
        const uint32_t dx = firstDx + 2 * along;
        const auto index = static_cast<int32_t>(rowPart + static_cast<uint32_t>(columnParts[i]));
        const int32_t entry = held(index, 1, kEllipseEntries - 1);
        const auto cosine = static_cast<uint32_t>(cosines[entry]);
        const uint32_t sine = isTurned ? static_cast<uint32_t>(sines[entry]) : 0;
        const auto sourceX = static_cast<uint32_t>(placeOf(cosine * dx - sine * dy, width));
        const auto sourceY = static_cast<uint32_t>(placeOf(sine * dx + cosine * dy, height));
        const uint32_t pulled = sourceY * stride + sourceX * pixelBytes;
        places[i] = index < kEllipseEntries ? pulled : own + along * pixelBytes;
    }
}

inline void radialPlaces(uint32_t *places, const EllipseRow &row, int first, int count,
                         const RadialWarp &table)
{
    findPlaces<false>(places, row, first, count, table.factor.data(), nullptr);
}

inline void angularPlaces(uint32_t *places, const EllipseRow &row, int first, int count,
                          const AngularWarp &table)
{
    findPlaces<true>(places, row, first, count, table.cosine.data(), table.sine.data());
}

} // namespace

} // namespace velmont::kernels
