#pragma once

/// \file
/// Repeatable noise: integer hashes of lattice points, and smooth fields between them.

#include "vec.h"

namespace velmont::samples {

inline uint32_t hash(int32_t x, int32_t y, uint32_t seed)
{
    uint32_t h =
        static_cast<uint32_t>(x) * 0x9E3779B1u ^ static_cast<uint32_t>(y) * 0x85EBCA77u ^ seed * 0xC2B2AE3Du;
    h = (h ^ h >> 15) * 0x2C1B3C6Du;
    h = (h ^ h >> 12) * 0x297A2D39u;
    return h ^ h >> 15;
}

/// 0 to 1, one value for each lattice point and seed. The 24 bits kept are exact in a float.
inline float random(int32_t x, int32_t y, uint32_t seed)
{
    return static_cast<float>(hash(x, y, seed) >> 8) * (1.0f / 16777216);
}

/// 0 to 1, smooth, one hill or hollow for each unit square.
inline float noise(Vec2 p, uint32_t seed)
{
    const int32_t x = floorToInt(p.x), y = floorToInt(p.y);
    const float tx = p.x - static_cast<float>(x), ty = p.y - static_cast<float>(y);
    const float sx = tx * tx * (3 - 2 * tx), sy = ty * ty * (3 - 2 * ty);
    const float low = mix(random(x, y, seed), random(x + 1, y, seed), sx);
    const float high = mix(random(x, y + 1, seed), random(x + 1, y + 1, seed), sx);
    return mix(low, high, sy);
}

/// 0 to 1: octaves of noise, each turned so that the lattices do not show, finer and fainter by half.
inline float fractal(Vec2 p, int octaves, uint32_t seed)
{
    float sum = 0, weight = 0.5f;
    for (int i = 0; i < octaves; ++i, weight *= 0.5f) {
        sum += weight * noise(p, seed + static_cast<uint32_t>(i));
        p = {1.6f * p.x + 1.2f * p.y + 3.7f, 1.6f * p.y - 1.2f * p.x + 1.3f};
    }
    return sum / (1 - 2 * weight);
}

/// Octaves along a line.
inline float outline(float x, int octaves, uint32_t seed)
{
    float sum = 0, weight = 0.5f;
    for (int i = 0; i < octaves; ++i, weight *= 0.5f, x = x * 2 + 0.37f)
        sum += weight * noise({x, 0.5f}, seed + static_cast<uint32_t>(i));
    return sum / (1 - 2 * weight);
}

} // namespace velmont::samples
