#pragma once

/// \file
/// Vectors and the few smooth functions the picture is made of. Nothing here calls the transcendental
/// functions of the C library, whose last bits differ between machines; square roots and divisions are exact
/// everywhere.

#include <algorithm>
#include <cmath>
#include <cstdint>

namespace velmont::samples {

struct Vec2 {
    float x, y;
};

struct Vec3 {
    float x, y, z;
};

/// Linear light; 1 is the brightest diffuse white, suns and sparkles lie above.
using Rgb = Vec3;

inline Vec2 operator+(Vec2 a, Vec2 b)
{
    return {a.x + b.x, a.y + b.y};
}
inline Vec2 operator-(Vec2 a, Vec2 b)
{
    return {a.x - b.x, a.y - b.y};
}
inline Vec2 operator*(Vec2 a, float k)
{
    return {a.x * k, a.y * k};
}
inline float dot(Vec2 a, Vec2 b)
{
    return a.x * b.x + a.y * b.y;
}
inline float length(Vec2 a)
{
    return std::sqrt(dot(a, a));
}

inline Vec3 operator+(Vec3 a, Vec3 b)
{
    return {a.x + b.x, a.y + b.y, a.z + b.z};
}
inline Vec3 operator-(Vec3 a, Vec3 b)
{
    return {a.x - b.x, a.y - b.y, a.z - b.z};
}
inline Vec3 operator*(Vec3 a, Vec3 b)
{
    return {a.x * b.x, a.y * b.y, a.z * b.z};
}
inline Vec3 operator*(Vec3 a, float k)
{
    return {a.x * k, a.y * k, a.z * k};
}
inline float dot(Vec3 a, Vec3 b)
{
    return a.x * b.x + a.y * b.y + a.z * b.z;
}
inline float length(Vec3 a)
{
    return std::sqrt(dot(a, a));
}
inline Vec3 normalize(Vec3 a)
{
    return a * (1 / length(a));
}
inline Vec3 reflect(Vec3 d, Vec3 n)
{
    return d - n * (2 * dot(d, n));
}

inline float clamp01(float x)
{
    return std::clamp(x, 0.0f, 1.0f);
}
inline float mix(float a, float b, float t)
{
    return a + (b - a) * t;
}
inline Vec3 mix(Vec3 a, Vec3 b, float t)
{
    return a + (b - a) * t;
}

/// The largest integer not above x, for x that an int32_t holds; no call, unlike std::floor on the oldest processors.
inline int32_t floorToInt(float x)
{
    const auto whole = static_cast<int32_t>(x);
    return whole - (static_cast<float>(whole) > x);
}
inline float fraction(float x)
{
    return x - static_cast<float>(floorToInt(x));
}

/// 0 below `from`, 1 above `to`, an S-curve between; `from` may be the larger.
inline float ramp(float from, float to, float x)
{
    const float t = clamp01((x - from) / (to - from));
    return t * t * (3 - 2 * t);
}

/// A bell around 0: 1 there, 1/2 at `width`.
inline float bell(float x, float width)
{
    return 1 / (1 + x * x / (width * width));
}

/// Falls from 1 at 0 towards 0, close to an exponential.
inline float fade(float x)
{
    return 1 / (1 + x * (1 + x * (0.5f + x * 0.1667f)));
}

/// x to the power of 2^doublings.
inline float sharpen(float x, int doublings)
{
    x = std::max(x, 0.0f);
    while (doublings-- > 0)
        x *= x;
    return x;
}

/// A sine of period 1, by two parabolas and a correction.
inline float wave(float t)
{
    const float x = 2 * fraction(t) - 1;
    const float y = -4 * x * (1 - std::fabs(x));
    return y + 0.225f * (y * std::fabs(y) - y);
}

/// Light of a colour as it is written for the screen, 0xRRGGBB. The screen's curve is taken as a square.
inline Rgb paint(uint32_t rgb)
{
    const auto channel = [rgb](int shift) {
        const float c = static_cast<float>(rgb >> shift & 255) / 255;
        return c * c;
    };
    return {channel(16), channel(8), channel(0)};
}

} // namespace velmont::samples
