#include "bodies.h"
#include "noise.h"
#include "shapes.h"

namespace velmont::samples {

namespace {

constexpr Vec3 kSeat = {0.66f, kDeckTop, 3.75f};
constexpr Vec3 kHead = {0.045f, 0.755f, 0};

/// The sitter's own coordinates: x the way she looks, y up from the deck, z to her left, away from the
/// viewer.
Vec3 figureFrame(Vec3 p)
{
    constexpr float kCosine = 0.866f, kSine = 0.5f;
    const Vec3 q = p - kSeat;
    return {-kCosine * q.x - kSine * q.z, q.y, -kSine * q.x + kCosine * q.z};
}

/// Skull, cheeks, chin, nose and neck in one skin.
float head(Vec3 p)
{
    float d = ellipsoid(p, kHead, {0.093f, 0.112f, 0.078f});
    d = blend(d, ellipsoid(p, kHead + Vec3{0.032f, -0.056f, 0}, {0.054f, 0.06f, 0.05f}), 0.05f);
    d = blend(d, limb(p, kHead + Vec3{0.086f, 0.012f, 0}, kHead + Vec3{0.108f, -0.024f, 0}, 0.008f, 0.0115f),
              0.02f);
    d = blend(d, ellipsoid(p, kHead + Vec3{0.081f, -0.058f, 0}, {0.0135f, 0.012f, 0.022f}), 0.016f);
    d = blend(d, sphere(p, kHead + Vec3{0.064f, -0.094f, 0}, 0.018f), 0.03f);
    d = blend(d, ellipsoid(p, kHead + Vec3{-0.012f, -0.012f, -0.080f}, {0.018f, 0.027f, 0.012f}), 0.01f);
    return blend(d, limb(p, {-0.012f, 0.52f, 0}, {0.008f, 0.67f, 0}, 0.05f, 0.041f), 0.03f);
}

/// From the shoulder to the planted hand on her right, to the lap on her left.
float arms(Vec3 p)
{
    const Vec3 elbow = {-0.215f, 0.285f, -0.225f}, wrist = {-0.27f, 0.055f, -0.215f};
    float d = limb(p, {-0.025f, 0.49f, -0.165f}, elbow, 0.05f, 0.04f);
    d = blend(d, limb(p, elbow, wrist, 0.041f, 0.026f), 0.05f);
    d = blend(d, limb(p, wrist, {-0.24f, 0.02f, -0.215f}, 0.024f, 0.02f), 0.02f);
    for (const float spread : {-0.028f, -0.009f, 0.011f, 0.03f})
        d = blend(
            d, limb(p, {-0.24f, 0.02f, -0.215f}, {-0.165f, 0.008f, -0.215f + spread * 1.5f}, 0.012f, 0.008f),
            0.012f);
    const Vec3 farElbow = {0.06f, 0.27f, 0.245f}, farWrist = {0.27f, 0.195f, 0.12f};
    d = std::min(d, limb(p, {-0.02f, 0.49f, 0.165f}, farElbow, 0.047f, 0.037f));
    d = blend(d, limb(p, farElbow, farWrist, 0.037f, 0.026f), 0.025f);
    return blend(d, limb(p, farWrist, {0.36f, 0.175f, 0.1f}, 0.027f, 0.018f), 0.02f);
}

/// One bare leg over the edge of the jetty; `side` is -1 for her right.
float leg(Vec3 p, float side, float swing)
{
    const Vec3 knee = {0.45f, 0.085f, side * 0.105f}, ankle = {0.42f + swing, -0.315f, side * 0.10f};
    const Vec3 calf = {0.405f + swing * 0.4f, -0.08f, side * 0.102f};
    float d = limb(p, {0.1f, 0.085f, side * 0.095f}, knee, 0.082f, 0.057f);
    d = blend(d, limb(p, knee, ankle, 0.05f, 0.03f), 0.035f);
    d = blend(d, ellipsoid(p, calf, {0.045f, 0.11f, 0.045f}), 0.04f);
    return blend(
        d, limb(p, ankle + Vec3{-0.015f, -0.035f, 0}, ankle + Vec3{0.13f, -0.085f, 0}, 0.033f, 0.02f), 0.03f);
}

float shirt(Vec3 p)
{
    float d = ellipsoid(p, {-0.005f, 0.40f, 0}, {0.112f, 0.17f, 0.155f});
    d = blend(d, ellipsoid(p, {0.0f, 0.16f, 0}, {0.115f, 0.13f, 0.15f}), 0.1f);
    d = blend(d, limb(p, {-0.02f, 0.5f, -0.13f}, {-0.02f, 0.5f, 0.13f}, 0.058f, 0.058f), 0.07f);
    d = blend(d, limb(p, {-0.025f, 0.495f, -0.155f}, {-0.088f, 0.42f, -0.184f}, 0.061f, 0.058f), 0.03f);
    d = blend(d, limb(p, {-0.02f, 0.495f, 0.155f}, {0.01f, 0.42f, 0.187f}, 0.056f, 0.053f), 0.03f);
    // Folds where the cloth gathers at the waist.
    return d + 0.0035f * wave(p.y * 9 + p.x * 3 + 0.5f * p.z) * ramp(0.42f, 0.2f, p.y);
}

float shorts(Vec3 p)
{
    float d = ellipsoid(p, {0.0f, 0.075f, 0}, {0.15f, 0.095f, 0.175f});
    for (const float side : {-1.0f, 1.0f})
        d = blend(d, limb(p, {0.05f, 0.088f, side * 0.093f}, {0.25f, 0.09f, side * 0.102f}, 0.09f, 0.085f),
                  0.04f);
    return d;
}

/// The hair under the hat, and a plait over her back.
float hair(Vec3 p)
{
    float d = ellipsoid(p, kHead + Vec3{-0.026f, 0.008f, 0}, {0.09f, 0.118f, 0.0875f});
    d = std::max(d, p.x - kHead.x - 0.05f + 0.55f * std::max(kHead.y + 0.03f - p.y, 0.0f));
    const float strand = 0.006f * std::fabs(wave(p.y * 9));
    return blend(d, limb(p, {-0.07f, 0.69f, -0.01f}, {-0.15f, 0.42f, -0.05f}, 0.045f, 0.022f) + strand,
                 0.03f);
}

/// The hat's own coordinates, the brim in y = 0: it sits tilted back a little.
Vec3 hatFrame(Vec3 p)
{
    const Vec3 q = p - (kHead + Vec3{-0.012f, 0.062f, 0});
    return {q.x * 0.97f + q.y * 0.243f, q.y * 0.97f - q.x * 0.243f, q.z};
}

float brim(Vec3 q)
{
    const float sag = 1.1f * (q.z * q.z - 0.55f * q.x * q.x);
    return ellipsoid({q.x, q.y + sag, q.z}, {0, 0, 0}, {0.205f, 0.011f, 0.195f});
}

float crown(Vec3 q)
{
    return std::max(ellipsoid(q, {0, 0.0f, 0}, {0.112f, 0.118f, 0.106f}), -q.y);
}

/// Lips, eyes, brows and a little blood in the cheeks, painted on the skin.
Rgb faceColor(Vec3 p)
{
    const Vec3 q = p - kHead;
    const Vec2 face = {std::fabs(q.z), q.y};
    Rgb c = paint(0xE2A27A);
    const float front = ramp(0.015f, 0.05f, q.x) * ramp(-0.14f, -0.11f, q.y);
    if (front <= 0)
        return c;
    const Rgb plain = c;
    c = mix(c, paint(0xD9805F), 0.65f * bell(length(face - Vec2{0.048f, -0.035f}), 0.025f));
    c = mix(c, paint(0xB04A4A),
            0.7f * ramp(1.3f, 0.7f, length(Vec2{q.z / 0.024f, (q.y + 0.058f) / 0.0088f})));
    c = mix(c, paint(0x8E5F47), 0.5f * bell(length(face - Vec2{0.036f, 0.014f}), 0.016f));
    const Vec2 eye = face - Vec2{0.037f, 0.008f};
    c = mix(c, paint(0x23160F), ramp(1.3f, 0.8f, length(Vec2{eye.x / 0.016f, eye.y / 0.0065f})));
    const Vec2 brow = face - Vec2{0.037f, 0.033f};
    c = mix(c, paint(0x4A2B1B),
            0.8f * ramp(1.3f, 0.8f, length(Vec2{brow.x / 0.021f, (brow.y + brow.x * 0.15f) / 0.005f})));
    return mix(plain, c, front);
}

/// Navy stripes around a cream shirt.
Rgb shirtColor(Vec3 p)
{
    const float stripe = std::fabs(fraction((p.y + 0.25f * p.x * p.x) * 24) - 0.5f);
    const float weave = 0.94f + 0.12f * noise({(p.x + p.z) * 220, p.y * 260}, 71);
    return mix(paint(0xF3EAD8), paint(0x1C2A58), ramp(0.31f, 0.34f, stripe)) * weave;
}

/// Rings of plaited straw.
Rgb strawColor(Vec3 p)
{
    const Vec3 q = hatFrame(p);
    const float ring = length(Vec2{q.x, q.z}) + q.y;
    const float plait = wave(ring * 70) * 0.5f +
                        wave((q.x + q.z) * 60 + static_cast<float>(floorToInt(ring * 70)) * 0.5f) * 0.35f;
    return paint(0xE2BE74) * (0.88f + 0.22f * plait);
}

Surface headAndHat(Vec3 p)
{
    const Vec3 hat = hatFrame(p);
    Surface s = nearer({head(p), Material::Skin}, {hair(p), Material::Hair});
    s = nearer(s, {brim(hat), Material::Straw});
    return nearer(s, {crown(hat), hat.y < 0.038f ? Material::Ribbon : Material::Straw});
}

Surface body(Vec3 p)
{
    const Surface s = nearer({arms(p), Material::Skin}, {shirt(p), Material::Shirt});
    return nearer(s, {shorts(p), Material::Shorts});
}

Surface legs(Vec3 p)
{
    return {std::min(leg(p, -1, -0.02f), leg(p, 1, 0.07f)), Material::Skin};
}

/// A part, or while that is far away a sphere around it, which is sooner measured.
Surface guarded(Vec3 p, Vec3 centre, float radius, Surface (*part)(Vec3))
{
    const float outside = sphere(p, centre, radius);
    return outside > 0.1f ? Surface{outside, Material::Skin} : part(p);
}

} // namespace

Surface figureSurface(Vec3 world)
{
    const Vec3 p = figureFrame(world);
    Surface s = guarded(p, {0.02f, 0.24f, 0}, 0.45f, body);
    s = nearer(s, guarded(p, {-0.02f, 0.7f, 0}, 0.36f, headAndHat));
    s = nearer(s, guarded(p, {0.32f, -0.12f, 0}, 0.45f, legs));
    s.distance *= 0.85f; // some of the shapes are estimates
    return s;
}

Finish figureFinish(Material material, Vec3 world)
{
    const Vec3 p = figureFrame(world);
    switch (material) {
    case Material::Skin:
        return {faceColor(p), 0.16f, 4, 0.35f};
    case Material::Hair:
        return {mix(paint(0x3A1E10), paint(0x8A4B22), noise({p.z * 260 + p.x * 90, p.y * 22}, 73)), 0.25f, 4,
                0.1f};
    case Material::Shirt:
        return {shirtColor(p), 0, 1, 0.15f};
    case Material::Shorts:
        return {paint(0xB8252B) * (0.9f + 0.2f * noise({p.x * 300, (p.z + p.y) * 300}, 72)), 0.03f, 3, 0.1f};
    case Material::Ribbon:
        return {paint(0xC01F35), 0.2f, 4, 0.1f};
    default:
        return {strawColor(p), 0.08f, 3, 0.25f};
    }
}

} // namespace velmont::samples
