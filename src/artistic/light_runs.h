#pragma once

/// \file
/// The loops of lights, written for a compiler to turn into vectors; each source that includes them compiles them for
/// its instruction set. All of it has internal linkage and calls nothing outside.

#include "artistic/light_kernels.h"
#include <cmath>

namespace velmont::kernels {

namespace {

/// Pixels whose strengths are worked out together.
constexpr std::size_t kLitTogether = 64;

/// The strength at a distance from the middle; 0 where the light does not show, which leaves a pixel as it is.
template <LightShape shape>
inline double strengthAt(double distance, double radius)
{
    if constexpr (shape == LightShape::Disc || shape == LightShape::Cone) {
        const double part = (radius - distance) / radius;
        const double shown = part > 0 ? part : 0;
        return shape == LightShape::Disc ? shown * shown : shown;
    } else if constexpr (shape == LightShape::Plate) {
        const double part = (radius - distance) / (radius * 0.15);
        return part > 0 ? (part < 5 ? part : 5) : 0;
    } else if constexpr (shape == LightShape::Bowl) {
        const double part = (radius - distance) / (radius * 0.12);
        return part > 0 ? (part > 5 ? 5 - part * 0.12 : part) : 0;
    } else if constexpr (shape == LightShape::Rim) {
        const double part = std::fabs((distance - radius) / (radius * 0.04));
        return part < 4 ? 4 - part : 0;
    } else {
        const double part = std::fabs(distance - radius) / (radius * 0.07);
        return part < 3 ? 3 - part : 0;
    }
}

template <LightShape shape>
inline void shineShape(uint8_t *pixels, const Light &light, int column, int row, std::size_t count)
{
    const double rise = static_cast<double>(row) - light.row, square = rise * rise, radius = light.radius;
    for (std::size_t start = 0; start < count; start += kLitTogether) {
        const std::size_t part = count - start < kLitTogether ? count - start : kLitTogether;
        uint8_t *const from = pixels + 3 * start;
        alignas(64) double strength[kLitTogether];
        alignas(64) int32_t levels[3][kLitTogether] = {};
        const double run = static_cast<double>(column) - light.column + static_cast<double>(start);
        for (int i = 0; i < static_cast<int>(kLitTogether); ++i) {
            const double x = run + i;
            strength[i] = strengthAt<shape>(std::sqrt(x * x + square), radius);
        }
        for (std::size_t i = 0; i < part; ++i)
            for (std::size_t byte = 0; byte < 3; ++byte)
                levels[byte][i] = from[3 * i + byte];
        for (std::size_t byte = 0; byte < 3; ++byte) {
            const double color = light.color[byte];
            int32_t *const level = levels[byte];
            for (std::size_t i = 0; i < kLitTogether; ++i)
                level[i] = static_cast<int32_t>((255 - level[i]) * color * strength[i] + level[i]);
        }
        for (std::size_t i = 0; i < part; ++i)
            for (std::size_t byte = 0; byte < 3; ++byte)
                from[3 * i + byte] = static_cast<uint8_t>(levels[byte][i]);
    }
}

inline void shine(uint8_t *pixels, const Light &light, int column, int row, std::size_t count)
{
    switch (light.shape) {
    case LightShape::Disc:
        return shineShape<LightShape::Disc>(pixels, light, column, row, count);
    case LightShape::Cone:
        return shineShape<LightShape::Cone>(pixels, light, column, row, count);
    case LightShape::Plate:
        return shineShape<LightShape::Plate>(pixels, light, column, row, count);
    case LightShape::Bowl:
        return shineShape<LightShape::Bowl>(pixels, light, column, row, count);
    case LightShape::Rim:
        return shineShape<LightShape::Rim>(pixels, light, column, row, count);
    case LightShape::Halo:
        return shineShape<LightShape::Halo>(pixels, light, column, row, count);
    }
}

} // namespace

} // namespace velmont::kernels
