#include "water.h"
#include "bodies.h"
#include "noise.h"

namespace velmont::samples {

namespace {

/// Height of the ripples, long across the view; each octave fades once samples are too coarse for it.
float ripples(Vec2 p, float footprint)
{
    float sum = 0, frequency = 0.8f, weight = 0.050f;
    for (uint32_t octave = 0; octave < 5; ++octave, frequency *= 2.05f, weight *= 0.44f) {
        const float blur = footprint * frequency;
        const Vec2 q = {(p.x + 0.25f * p.y) * frequency * 0.55f, (p.y - 0.12f * p.x) * frequency * 1.5f};
        sum += weight * noise(q, 21 + octave) / (1 + 0.6f * blur * blur);
    }
    // Gusts roughen some stretches and leave others smooth.
    return sum / (1 + 1.3f * footprint) *
           (0.35f + 0.9f * ramp(0.3f, 0.7f, noise({p.x * 0.10f, p.y * 0.22f}, 29)));
}

struct Pebble {
    Vec2 offset;  ///< from its middle
    float radius; ///< 0 when none is near
    uint32_t id;
};

/// The pebble whose middle is nearest, and half the way to the next as its radius.
Pebble pebbleAt(Vec2 p, uint32_t seed)
{
    const int32_t column = floorToInt(p.x), row = floorToInt(p.y);
    Pebble best = {{0, 0}, 0, 0};
    float first = 1e9f, second = 1e9f;
    for (int dy = -1; dy <= 1; ++dy)
        for (int dx = -1; dx <= 1; ++dx) {
            const int32_t x = column + dx, y = row + dy;
            const Vec2 middle = {static_cast<float>(x) + random(x, y, seed),
                                 static_cast<float>(y) + random(x, y, seed + 1)};
            const float d = length(p - middle);
            if (d < first) {
                second = first;
                first = d;
                best = {p - middle, 0, hash(x, y, seed + 2)};
            } else
                second = std::min(second, d);
        }
    best.radius = (first + second) / 2;
    return best;
}

Rgb stone(uint32_t id)
{
    constexpr uint32_t kTones[] = {0x8A8078, 0x6E6A6C, 0xA8917C, 0x5B5A63,
                                   0xB7A899, 0x7A5F52, 0x93969C, 0x4C4A4E};
    return paint(kTones[id & 7]) * (0.75f + static_cast<float>(id >> 8 & 255) / 510);
}

} // namespace

float shoreDistance(Vec2 p)
{
    const float line = (p.x + 0.55f) * 0.73f + (p.y - 3.0f) * 0.68f;
    return line + 0.35f * (noise(p * 1.3f, 25) - 0.5f) + 0.12f * (noise(p * 5, 26) - 0.5f);
}

Vec3 waterNormal(Vec2 p, float footprint)
{
    const float step = 0.01f + 0.25f * footprint;
    const float here = ripples(p, footprint);
    const float dx = (ripples(p + Vec2{step, 0}, footprint) - here) / step;
    const float dz = (ripples(p + Vec2{0, step}, footprint) - here) / step;
    return normalize({-dx, 1, -dz});
}

Rgb pebbles(Vec2 p, float sunlight)
{
    const float coarse = 8.5f, fine = 21;
    Pebble pebble = pebbleAt(p * coarse, 27);
    float scale = 1;
    // Gravel where the large ones leave room.
    if ((pebble.id >> 16 & 3) == 0) {
        pebble = pebbleAt(p * fine, 33);
        scale = 0.8f;
    }
    const float out = length(pebble.offset) / std::max(pebble.radius, 1e-3f);
    const Vec2 slope = pebble.offset * (0.85f / std::max(pebble.radius, 1e-3f));
    const Vec3 normal = normalize({slope.x, 0.75f, slope.y});
    const float direct = std::max(dot(normal, normalize({-0.60f, 0.36f, 0.70f})), 0.0f);
    const float gap = ramp(1.0f, 0.78f, out);
    const float speckle = 0.8f + 0.4f * noise(p * 160, 35);
    const Rgb light =
        Rgb{0.46f, 0.46f, 0.55f} * (0.4f + 0.6f * normal.y) + Rgb{1.9f, 1.15f, 0.62f} * (direct * sunlight);
    return stone(pebble.id) * light * (speckle * scale * (0.12f + 0.88f * gap));
}

} // namespace velmont::samples
