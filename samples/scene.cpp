#include "scene.h"
#include "bodies.h"
#include "cards.h"
#include "sky.h"
#include "water.h"

namespace velmont::samples {

namespace {

constexpr Vec3 kEye = {0, 1.5f, 0};
constexpr float kFocus = 1.25f;   ///< distance of the picture plane, in picture heights
constexpr float kHorizon = 0.07f; ///< above the middle of the picture
constexpr float kFar = 1e9f;
constexpr Rgb kSunColor = {2.7f, 1.62f, 0.82f};

/// Light on the solid things comes from a little higher and further to the left than the disc in the sky,
/// from the bright clouds about it, so that forms are modelled and not only outlined.
Vec3 keyLight()
{
    static const Vec3 direction = normalize({-0.74f, 0.44f, 0.52f});
    return direction;
}

struct Span {
    float from, to;
};

/// Where a ray is inside a box; empty when `to` is below `from`.
Span within(const Ray &ray, const Body &body)
{
    Span span = {0, kFar};
    const auto slab = [&span](float origin, float direction, float low, float high) {
        const float inverse = 1 / (std::fabs(direction) > 1e-7f ? direction : 1e-7f);
        const float a = (low - origin) * inverse, b = (high - origin) * inverse;
        span = {std::max(span.from, std::min(a, b)), std::min(span.to, std::max(a, b))};
    };
    slab(ray.origin.x, ray.direction.x, body.low.x, body.high.x);
    slab(ray.origin.y, ray.direction.y, body.low.y, body.high.y);
    slab(ray.origin.z, ray.direction.z, body.low.z, body.high.z);
    return span;
}

struct Hit {
    float distance = kFar;
    const Body *body = nullptr;
    Material material = {};
};

/// Walks along the ray, as far each time as is certainly free.
void march(Hit &hit, const Ray &ray, const Body &body)
{
    const Span span = within(ray, body);
    float t = span.from;
    for (int step = 0; step < 110 && t <= span.to && t < hit.distance; ++step) {
        const Surface s = body.surface(ray.origin + ray.direction * t);
        if (s.distance < 0.25f * ray.spread * t + 1e-4f) {
            hit = {t, &body, s.material};
            return;
        }
        t += s.distance;
    }
}

Hit nearestHit(const Ray &ray)
{
    Hit hit;
    for (const Body &body : bodies())
        march(hit, ray, body);
    return hit;
}

/// Slope of the distance, from the corners of a tetrahedron.
Vec3 normalAt(const Body &body, Vec3 p, float step)
{
    Vec3 sum = {0, 0, 0};
    for (const Vec3 corner : {Vec3{1, -1, -1}, Vec3{-1, -1, 1}, Vec3{-1, 1, -1}, Vec3{1, 1, 1}})
        sum = sum + corner * body.surface(p + corner * step).distance;
    return normalize(sum);
}

/// How much of the sun reaches a point: 1 all, 0 none, with a penumbra that widens away from what casts it.
float sunlight(Vec3 p, Vec3 normal)
{
    const Ray ray = {p + normal * 0.006f, keyLight(), 0};
    float light = 1;
    for (const Body &body : bodies()) {
        if (!body.castsShadow)
            continue;
        const Span span = within(ray, body);
        float t = std::max(span.from, 0.004f);
        for (int step = 0; step < 60 && t <= span.to && light > 0.01f; ++step) {
            const float d = body.surface(ray.origin + ray.direction * t).distance;
            light = std::min(light, std::max(d, 0.0f) * 22 / t);
            t += std::max(d, 0.004f);
        }
    }
    return ramp(0.0f, 1.0f, light);
}

/// How open a point lies: what stands near its normal takes the light of the sky away.
float openness(Vec3 p, Vec3 normal)
{
    float open = 1;
    for (const Body &body : bodies()) {
        if (!body.castsShadow)
            continue;
        for (const float reach : {0.025f, 0.07f, 0.15f}) {
            const Vec3 q = p + normal * reach;
            const Vec3 r = {std::clamp(q.x, body.low.x, body.high.x),
                            std::clamp(q.y, body.low.y, body.high.y),
                            std::clamp(q.z, body.low.z, body.high.z)};
            if (length(q - r) < reach)
                open -= 0.34f * clamp01(1 - body.surface(q).distance / reach);
        }
    }
    return std::max(open, 0.08f);
}

/// Sky from above, warm light from the lake and the sunset, and a soft rose fill from behind the viewer.
Rgb ambient(Vec3 n)
{
    const Rgb above = Rgb{0.33f, 0.36f, 0.52f} * (0.5f + 0.5f * n.y);
    const Rgb ahead = Rgb{0.34f, 0.21f, 0.14f} * (0.5f + 0.5f * n.z);
    const Rgb behind = Rgb{0.26f, 0.21f, 0.22f} * (0.5f - 0.5f * n.z);
    return above + ahead + behind;
}

/// The sky in a glossy surface, brightest where it is seen flat.
Rgb sheen(const Ray &ray, Vec3 n, const Finish &f)
{
    if (f.gloss < 0.3f)
        return {0, 0, 0};
    Vec3 mirrored = reflect(ray.direction, n);
    mirrored.y = std::fabs(mirrored.y);
    return sky(mirrored, 0.02f) * (f.gloss * (0.06f + 0.22f * sharpen(1 + dot(n, ray.direction), 1)));
}

Rgb lit(const Ray &ray, const Hit &hit)
{
    const Vec3 p = ray.origin + ray.direction * hit.distance;
    const Vec3 n = normalAt(*hit.body, p, 0.0006f + 0.0003f * hit.distance);
    const Finish f = finish(hit.material, p, n);
    const bool near = hit.body->castsShadow;
    const float shadow = near ? sunlight(p, n) : 1;
    const float open = near ? openness(p, n) : 0.5f + 0.5f * ramp(-0.1f, 0.5f, p.y);
    const float facing = dot(n, keyLight());
    const float direct = clamp01((facing + f.soft) / (1 + f.soft)) * mix(shadow, 1, 0.15f * f.soft);
    const Rgb bleed = Rgb{0.35f, 0.06f, 0.02f} * (f.soft * bell(facing, 0.3f) * shadow);
    const Vec3 half = normalize(keyLight() - ray.direction);
    const Rgb highlight = kSunColor * (f.gloss * 1.6f * sharpen(dot(n, half), f.hardness) * shadow);
    const Rgb c =
        f.color * (kSunColor * direct + ambient(n) * open + bleed) + highlight + sheen(ray, n, f) * open;
    return mix(c, haze(ray.direction), 0.55f * (1 - fade(hit.distance / 260)));
}

/// All that a ray above the water meets.
Rgb aboveWater(const Ray &ray)
{
    const Hit hit = nearestHit(ray);
    Rgb c = hit.body ? lit(ray, hit) : sky(ray.direction, ray.spread);
    c = addForest(c, ray, hit.distance);
    return addRig(c, ray, hit.distance);
}

/// What shows through the surface: green depth, and near the shore the pebbles, shaken by the ripples.
Rgb below(Vec2 place, Vec3 n, float out)
{
    const Rgb deep = paint(0x14343A);
    if (out > 1.5f)
        return deep;
    const Rgb ground = pebbles(place + Vec2{n.x, n.z} * 0.5f, 0.4f) * Rgb{0.42f, 0.52f, 0.45f};
    return mix(ground, deep, ramp(0.0f, 1.5f, out));
}

/// The share of light that the surface throws back, small seen steeply and nearly all seen flat.
float mirroring(const Ray &ray, Vec3 n)
{
    const float slant = clamp01(1 + dot(ray.direction, n));
    return mix(0.07f, 0.94f, slant * slant * slant * (0.35f + 0.65f * slant));
}

/// Lake and shore: a mirror of the sky where seen flat, green depth where seen steeply.
Rgb waterSurface(const Ray &ray, float t)
{
    const Vec3 p = ray.origin + ray.direction * t;
    const Vec2 place = {p.x, p.z};
    const float footprint = t * ray.spread / std::max(-ray.direction.y, 0.02f);
    const float out = t < 12 ? shoreDistance(place) : 9;
    if (out < 0)
        return pebbles(place, 1) * mix(1, 0.38f, ramp(-0.16f, -0.03f, out));
    const Vec3 n = waterNormal(place, footprint);
    Vec3 mirrored = reflect(ray.direction, n);
    mirrored.y = std::fabs(mirrored.y) + 0.002f;
    mirrored = normalize(mirrored);
    const Rgb glitter = kSunColor * (1.6f * sharpen(dot(mirrored, sunDirection()), 9));
    const Rgb image = aboveWater({p, mirrored, ray.spread * 2}) + glitter;
    const Rgb c = mix(below(place, n, out), image, mirroring(ray, n));
    const float foam = bell(out - 0.02f, 0.012f);
    return mix(mix(c, paint(0xF6E3CC), 0.28f * foam), haze(ray.direction), 0.6f * (1 - fade(t / 220)));
}

} // namespace

Rgb scene(Vec2 at, float size)
{
    const Ray ray = {kEye, normalize({at.x, at.y - kHorizon, kFocus}), size / kFocus};
    const float t = ray.direction.y < -1e-4f ? -kEye.y / ray.direction.y : kFar;
    const Hit hit = nearestHit(ray);
    Rgb c;
    if (hit.distance < t)
        c = lit(ray, hit);
    else
        c = t < kFar ? waterSurface(ray, t)
                     : sky({ray.direction.x, std::fabs(ray.direction.y), ray.direction.z}, ray.spread);
    const float distance = std::min(hit.distance, t);
    c = addRig(addForest(addGulls(c, at, size), ray, distance), ray, distance);
    return addGrass(c, at, size);
}

Rgb develop(Rgb light)
{
    const auto channel = [](float x) {
        constexpr float kShoulder = 0.55f;
        if (x > kShoulder) {
            const float over = (x - kShoulder) / (1 - kShoulder);
            x = kShoulder + (1 - kShoulder) * over / (1 + over);
        }
        return std::sqrt(std::max(x, 0.0f));
    };
    return {channel(light.x), channel(light.y), channel(light.z)};
}

} // namespace velmont::samples
