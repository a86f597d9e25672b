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

/// pull(entry, dx, dy, sourceX, sourceY) tells the pixel by its doubled place from the centre.
template <typename Pull>
inline void findPlaces(uint32_t *__restrict places, const EllipseRow &row, int first, int count, Pull pull)
{
    const int32_t *__restrict const columnParts = row.columnParts + first;
    const auto dy = 2 * static_cast<uint32_t>(row.y) + 1 - static_cast<uint32_t>(row.height);
    const auto firstDx = 2 * static_cast<uint32_t>(first) + 1 - static_cast<uint32_t>(row.width);
    const auto rowPart = static_cast<uint32_t>(row.rowPart);
    const uint32_t own =
        static_cast<uint32_t>(row.y) * row.stride + static_cast<uint32_t>(first) * row.pixelBytes;
    const EllipseRow shape = row;
    for (int i = 0; i < count; ++i) {
        const auto along = static_cast<uint32_t>(i);
        const auto index = static_cast<int32_t>(rowPart + static_cast<uint32_t>(columnParts[i]));
        int32_t sourceX, sourceY;
        pull(held(index, 1, kEllipseEntries - 1), firstDx + 2 * along, dy, sourceX, sourceY);
        const uint32_t pulled =
            static_cast<uint32_t>(sourceY) * shape.stride + static_cast<uint32_t>(sourceX) * shape.pixelBytes;
        places[i] = index < kEllipseEntries ? pulled : own + along * shape.pixelBytes;
    }
}

inline void radialPlaces(uint32_t *places, const EllipseRow &row, int first, int count,
                         const RadialWarp &table)
{
    const int32_t *const factors = table.factor.data();
    const int32_t width = row.width, height = row.height;
    findPlaces(places, row, first, count,
               [=](int32_t entry, uint32_t dx, uint32_t dy, int32_t &sourceX, int32_t &sourceY) {
                   const auto factor = static_cast<uint32_t>(factors[entry]);
                   sourceX = placeOf(factor * dx, width);
                   sourceY = placeOf(factor * dy, height);
               });
}

inline void angularPlaces(uint32_t *places, const EllipseRow &row, int first, int count,
                          const AngularWarp &table)
{
    const int32_t *const cosines = table.cosine.data(), *const sines = table.sine.data();
    const int32_t width = row.width, height = row.height;
    findPlaces(places, row, first, count,
               [=](int32_t entry, uint32_t dx, uint32_t dy, int32_t &sourceX, int32_t &sourceY) {
                   const auto cosine = static_cast<uint32_t>(cosines[entry]);
                   const auto sine = static_cast<uint32_t>(sines[entry]);
                   sourceX = placeOf(cosine * dx - sine * dy, width);
                   sourceY = placeOf(sine * dx + cosine * dy, height);
               });
}

} // namespace

} // namespace velmont::kernels
