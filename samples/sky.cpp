#include "sky.h"
#include "noise.h"

namespace velmont::samples {

namespace {

constexpr uint32_t kCloudSeed = 11, kMountainSeed = 41;

/// From the horizon up: apricot, rose, mauve, the blue of the coming night.
Rgb gradient(float height)
{
    Rgb c = mix(paint(0xFBC586), paint(0xEFA78B), ramp(0.0f, 0.07f, height));
    c = mix(c, paint(0xB08FB0), ramp(0.05f, 0.17f, height));
    return mix(c, paint(0x45659F), ramp(0.13f, 0.34f, height));
}

/// The disc, its aureole and the wide warm glow about it.
Rgb sunGlow(float towards)
{
    const Rgb wide = paint(0xFF9A4A) * (0.55f * sharpen(towards, 4));
    const Rgb near = paint(0xFFC06A) * (0.9f * sharpen(towards, 7));
    const Rgb aureole = paint(0xFFE2A8) * (1.6f * sharpen(towards, 10));
    const Rgb disc = paint(0xFFF3D6) * (9 * ramp(0.99972f, 0.99985f, towards));
    return wide + near + aureole + disc;
}

/// Thickness of the wisps, drawn out by the wind and torn at their edges.
float cloudAt(Vec2 p)
{
    const Vec2 torn = {p.x * 0.55f + 1.4f * noise(p * 0.9f, kCloudSeed), p.y * 1.5f};
    const float curl = 0.35f * noise({torn.x * 3, torn.y * 3}, kCloudSeed + 8);
    const float sheet = fractal({torn.x + curl, torn.y - curl}, 7, kCloudSeed + 1);
    return ramp(0.44f, 0.74f, sheet + 0.22f * (noise(p * 0.33f, kCloudSeed + 9) - 0.5f));
}

/// Lays the clouds over the sky: bright rims towards the sun, violet shade on the far side.
Rgb addClouds(Rgb behind, Vec3 d, float towards)
{
    constexpr float kLowest = 0.015f;
    if (d.y <= kLowest)
        return behind;
    const Vec2 p = Vec2{d.x, d.z} * (0.55f / (d.y + 0.045f));
    const float here = cloudAt(p);
    if (here <= 0)
        return behind;
    const float shade = clamp01(0.5f + 1.7f * (here - cloudAt(p + Vec2{-0.10f, 0.16f})));
    const float warmth = sharpen(towards, 4);
    const Rgb lit = mix(paint(0xF2B4A6), paint(0xFFDFA6) * 1.35f, warmth);
    const Rgb dark = mix(paint(0x7E6E93), paint(0xC77E6C), warmth);
    const float body = here * ramp(kLowest, 0.10f, d.y);
    return mix(behind, mix(dark, lit, shade), 0.88f * body);
}

struct Range {
    float base, height, frequency, softness;
    uint32_t color;
    float veil; ///< how much of it is air
};

/// Far to near.
constexpr Range kRanges[] = {
    {0.042f, 0.105f, 3.1f, 0.0045f, 0x6A6C93, 0.62f},
    {0.020f, 0.085f, 4.7f, 0.0020f, 0x4F587F, 0.42f},
    {0.004f, 0.048f, 7.9f, 0.0010f, 0x36466A, 0.25f},
};

/// One range before the sky: lit flanks, and mist that rises from the lake.
Rgb addRange(Rgb behind, const Range &range, Vec3 d, uint32_t seed, float footprint)
{
    const float across = d.x / d.z, up = d.y / d.z;
    const float peaks = outline(across * range.frequency + 5, 7, seed);
    const float crest = range.base + range.height * ramp(0.15f, 0.9f, peaks);
    const float soft = std::max(range.softness, footprint);
    const float cover = ramp(crest + soft, crest - soft, up);
    if (cover <= 0)
        return behind;
    const float flank = fractal({across * 26 + up * 30, up * 55 - across * 8}, 5, seed + 20) - 0.5f;
    const Rgb rock = paint(range.color) * (1 + 0.75f * flank);
    const float mist = clamp01(range.veil + 0.55f * ramp(0.6f * crest, 0.0f, up));
    return mix(behind, mix(rock, haze(d), mist), cover);
}

} // namespace

Vec3 sunDirection()
{
    static const Vec3 direction = normalize({-0.215f, 0.142f, 1.25f});
    return direction;
}

Rgb haze(Vec3 d)
{
    const float towards = dot(normalize({d.x, 0.04f, d.z}), sunDirection());
    return mix(paint(0xC79BA6), paint(0xFFC88C), sharpen(towards, 4));
}

Rgb sky(Vec3 d, float footprint)
{
    const float towards = std::max(dot(d, sunDirection()), 0.0f);
    Rgb c = gradient(d.y) + sunGlow(towards);
    c = addClouds(c, d, towards);
    if (d.z <= 0.05f)
        return c;
    uint32_t seed = kMountainSeed;
    for (const Range &range : kRanges)
        c = addRange(c, range, d, seed++, footprint);
    return c;
}

} // namespace velmont::samples
