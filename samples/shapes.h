#pragma once

/// \file
/// Signed distances to simple shapes: negative inside, positive outside, growing by no more than 1 a unit.

#include "vec.h"

namespace velmont::samples {

inline float sphere(Vec3 p, Vec3 centre, float radius)
{
    return length(p - centre) - radius;
}

/// A good estimate near the surface, which is where it counts.
inline float ellipsoid(Vec3 p, Vec3 centre, Vec3 radii)
{
    const Vec3 q = p - centre;
    const Vec3 unit = {q.x / radii.x, q.y / radii.y, q.z / radii.z};
    const Vec3 slope = {unit.x / radii.x, unit.y / radii.y, unit.z / radii.z};
    const float k = length(unit);
    return k * (k - 1) / std::max(length(slope), 1e-6f);
}

inline float box(Vec3 p, Vec3 centre, Vec3 half)
{
    const Vec3 q = {std::fabs(p.x - centre.x) - half.x, std::fabs(p.y - centre.y) - half.y,
                    std::fabs(p.z - centre.z) - half.z};
    const Vec3 outside = {std::max(q.x, 0.0f), std::max(q.y, 0.0f), std::max(q.z, 0.0f)};
    return length(outside) + std::min(std::max({q.x, q.y, q.z}), 0.0f);
}

/// An upright cylinder with a slightly rounded rim.
inline float post(Vec3 p, Vec2 axis, float radius, float top)
{
    const float side = length(Vec2{p.x - axis.x, p.z - axis.y}) - radius + 0.01f;
    const float cap = p.y - top + 0.01f;
    return length(Vec2{std::max(side, 0.0f), std::max(cap, 0.0f)}) + std::min(std::max(side, cap), 0.0f) -
           0.01f;
}

/// A limb: a rounded bar from `a` to `b` whose thickness changes on the way.
inline float limb(Vec3 p, Vec3 a, Vec3 b, float radiusA, float radiusB)
{
    const Vec3 along = b - a;
    const float t = clamp01(dot(p - a, along) / dot(along, along));
    return length(p - a - along * t) - mix(radiusA, radiusB, t);
}

inline float segment(Vec2 p, Vec2 a, Vec2 b)
{
    const Vec2 along = b - a;
    const float t = clamp01(dot(p - a, along) / dot(along, along));
    return length(p - a - along * t);
}

/// A triangle with its corners counterclockwise; distances beyond a corner come out short.
inline float triangle(Vec2 p, Vec2 a, Vec2 b, Vec2 c)
{
    const auto edge = [p](Vec2 from, Vec2 to) {
        const Vec2 d = to - from;
        return (d.y * (p.x - from.x) - d.x * (p.y - from.y)) / length(d);
    };
    return std::max({edge(a, b), edge(b, c), edge(c, a)});
}

/// Two shapes grown together, with a fillet of about `radius`.
inline float blend(float a, float b, float radius)
{
    const float h = std::max(radius - std::fabs(a - b), 0.0f) / radius;
    return std::min(a, b) - h * h * radius * 0.25f;
}

/// How much of a sample of this size a shape covers.
inline float coverage(float distance, float size)
{
    return clamp01(0.5f - distance / size);
}

} // namespace velmont::samples
