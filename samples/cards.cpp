#include "cards.h"
#include "bodies.h"
#include "noise.h"
#include "shapes.h"
#include "sky.h"

namespace velmont::samples {

namespace {

/// One row of trees, far to near.
struct Row {
    float distance, from, rise, height, spacing;
    uint32_t color;
    float veil;
};

constexpr Row kRows[] = {
    {190, -45, 70, 20, 1.5f, 0x35474F, 0.60f},
    {130, -8, 40, 21, 1.4f, 0x263A3F, 0.38f},
    {90, 5, 26, 20, 1.0f, 0x152423, 0.15f},
    {64, 8, 15, 16, 0.75f, 0x091311, 0.02f},
};

/// One spruce: the height of its outline at `x` from the stem, boughs hanging in steps.
float spruce(float x, float height, float y, float phase)
{
    const float steps = y * (0.95f + 0.4f * phase) + 9 * phase;
    const float bough = fraction(steps);
    const float reach = (height - y) * (0.10f + 0.06f * (1 - bough));
    if (std::fabs(x) > 1.35f * reach)
        return std::fabs(x) - 1.3f * reach;
    return std::fabs(x) - reach * (0.7f + 0.6f * noise({x * 5, y * 6}, 30));
}

/// Distance to the outline of a row of trees, negative inside.
float treeLine(const Row &row, Vec2 p, uint32_t seed)
{
    const int32_t cell = floorToInt(p.x / row.spacing);
    float d = 1e9f;
    for (int step = -3; step <= 3; ++step) {
        const int32_t tree = cell + step;
        const float root = (static_cast<float>(tree) + random(tree, 0, seed)) * row.spacing;
        const float envelope = row.height * ramp(row.from - 2, row.from + row.rise, root);
        const float height = envelope * (0.35f + 0.65f * random(tree, 1, seed));
        if (height > 0.3f)
            d = std::min(d, spruce(p.x - root, height, p.y, random(tree, 2, seed)));
    }
    const float bush = row.height * 0.16f * ramp(row.from - 4, row.from + row.rise * 0.8f, p.x);
    if (p.y > 2 * bush) // well above its tallest
        return std::min(d, p.y - 1.4f * bush);
    return std::min(d, p.y - bush * (0.6f + 0.8f * outline(p.x * 0.7f, 5, seed + 3)));
}

Rgb addRow(Rgb behind, const Ray &ray, float distance, const Row &row, uint32_t seed)
{
    const float t = (row.distance - ray.origin.z) / ray.direction.z;
    if (t <= 0 || t > distance)
        return behind;
    const Vec3 p = ray.origin + ray.direction * t;
    if (p.y < 0 || p.y > row.height * 1.3f || p.x < row.from - 6)
        return behind;
    const float cover = coverage(treeLine(row, {p.x, p.y}, seed), t * ray.spread);
    if (cover <= 0)
        return behind;
    const float needles = 0.55f + 0.9f * fractal({p.x * 1.7f, p.y * 2.4f}, 4, seed + 8);
    const float mist = clamp01(row.veil * (1 + 1.1f * ramp(7.0f, 0.0f, p.y)));
    return mix(behind, mix(paint(row.color) * needles, haze(ray.direction), mist), cover);
}

void lay(Rgb &under, Rgb over, float distance, float size)
{
    under = mix(under, over, coverage(distance, size));
}

/// Cloth with the low sun behind it: brighter where it bellies, darker along its seams.
Rgb cloth(Rgb dye, float belly, float seam)
{
    const float crease = 1 - 0.16f * ramp(0.06f, 0.0f, std::fabs(fraction(seam + 0.5f) - 0.5f));
    return dye * (0.16f + 0.95f * belly * belly) * crease;
}

/// The flat picture of the rig; x to the bow, y up.
Rgb rig(Rgb c, Vec2 p, float size)
{
    const Vec2 mast = {0.55f, 0.8f}, top = {0.42f, 6.6f}, boomEnd = {-2.15f, 1.18f}, bow = {2.45f, 0.78f};
    const float rope = 0.014f;
    lay(c, paint(0x3B3034), segment(p, top, bow) - rope, size);
    lay(c, paint(0x3B3034), segment(p, top, {-2.25f, 0.62f}) - rope, size);
    // The leech of a full sail curves outwards.
    const Vec2 head = {0.36f, 6.35f}, tack = {0.46f, 1.3f};
    const float leech = 0.42f * (p.y - 1.2f) * (6.35f - p.y) / 6.6f;
    const float main =
        triangle({p.x + std::max(leech, 0.0f) * clamp01((0.45f - p.x) / 2), p.y}, head, boomEnd, tack);
    const float belly = clamp01(0.42f + 0.55f * bell(p.x + 0.65f + 0.06f * p.y, 0.75f) + 0.03f * (p.y - 2));
    lay(c, cloth(paint(0xDE2A1E), belly, p.y * 0.95f + 0.1f * p.x), main, size);
    lay(c, cloth(paint(0xF5E9D2), belly, 0.5f), std::max(main, std::fabs(p.y - 3.1f - 0.08f * p.x) - 0.21f),
        size);
    const float jib = triangle(p, {0.6f, 5.3f}, {0.72f, 1.15f}, {2.28f, 0.98f});
    lay(c, cloth(paint(0xF6C21C), clamp01(0.35f + 0.7f * bell(p.x - 0.95f, 0.6f)), p.y * 0.9f - 0.3f * p.x),
        jib, size);
    lay(c, paint(0x6B4528), segment(p, {0.5f, 1.2f}, boomEnd) - 0.045f, size);
    lay(c, paint(0x8A5A34), segment(p, mast, top) - 0.05f, size);
    const float flutter = 0.07f * wave(p.x * 1.1f) * (0.4f - p.x);
    const float pennant = triangle({p.x, p.y + flutter}, {0.42f, 6.62f}, {-0.55f, 6.45f}, {0.42f, 6.28f});
    lay(c, paint(0x1B5FD0) * 1.3f, pennant, size);
    return c;
}

struct Gull {
    Vec2 place;
    float span, bank;
};

/// Distance to two bent wings, thick at the shoulder.
float wings(const Gull &gull, Vec2 at)
{
    const Vec2 q = (at - gull.place) * (1 / gull.span);
    const Vec2 p = {std::fabs(q.x), q.y - gull.bank * q.x};
    if (p.x > 1)
        return gull.span;
    const float arch = 0.72f * p.x - 0.82f * p.x * p.x;
    return (std::fabs(p.y - arch) - 0.10f * (1 - p.x) - 0.015f) * gull.span * 0.8f;
}

struct Blade {
    float root, height, lean, width;
    float dryness; ///< 0 green, 1 straw
};

/// Bounds of a blade's lean: within the cells that addGrass looks through.
constexpr float kLeanLeft = -0.045f, kLeanRight = 0.07f;

/// Taller towards the corner of the picture, shorter in the nearer layers.
Blade blade(int32_t index, float spacing, uint32_t seed)
{
    const float root = (static_cast<float>(index) + random(index, 0, seed)) * spacing;
    const float corner = ramp(-0.20f, -0.80f, root);
    const float height = (0.05f * ramp(-0.12f, -0.3f, root) + 0.36f * corner * corner) *
                         (0.3f + 0.8f * random(index, 1, seed));
    const float lean = std::clamp((random(index, 2, seed) - 0.4f) * 0.62f * height, kLeanLeft, kLeanRight);
    const float dry = random(index, 4, seed);
    return {root, height, lean, 0.0012f + 0.0030f * random(index, 3, seed) * (0.35f + corner),
            dry * dry * dry};
}

void layBlade(Rgb &c, const Blade &b, Vec2 at, float size, float tone)
{
    if (b.height < 0.002f || at.y + 0.5f >= b.height)
        return;
    const float up = (at.y + 0.5f) / b.height;
    const float offset = at.x - b.root - b.lean * up * up;
    const float width = b.width * (1 - up * up);
    if (std::fabs(offset) > width + size)
        return;
    // The sun stands behind, to the right: tips and right edges shine through.
    const float lit = clamp01(0.30f + 0.45f * offset / b.width + 0.55f * up) * tone * (0.25f + 0.75f * up);
    const Rgb dye = mix(paint(0x86A032), paint(0xD8B266), b.dryness);
    const Rgb shade = mix(paint(0x0D1710), dye, lit);
    lay(c, mix(shade, paint(0xFFD98A), 0.6f * lit * lit * up), std::fabs(offset) - width, size);
}

/// A reed mace on its stem.
void layReed(Rgb &c, Vec2 root, Vec2 tip, Vec2 at, float size)
{
    const float up = clamp01((at.y - root.y) / (tip.y - root.y));
    const float bend = (tip.x - root.x) * up * up - (tip.x - root.x) * up;
    const Vec2 p = {at.x - bend, at.y};
    lay(c, paint(0x4D5A22), segment(p, root, tip) - 0.0014f, size);
    const Vec2 along = (tip - root) * (1 / length(tip - root));
    const Vec2 low = tip - along * 0.065f, high = tip - along * 0.022f;
    const float head = segment(p, low, high) - 0.0072f;
    const float round = clamp01((p.x - tip.x) / 0.0144f + 0.5f);
    const float fuzz = 0.8f + 0.4f * noise(at * 700, 57);
    lay(c, mix(paint(0x2A150B), paint(0xA8652E), round * round) * fuzz, head, size);
}

} // namespace

Rgb addForest(Rgb behind, const Ray &ray, float distance)
{
    if (ray.direction.z <= 0.01f)
        return behind;
    uint32_t seed = 31;
    for (const Row &row : kRows)
        behind = addRow(behind, ray, distance, row, seed += 40);
    return behind;
}

Rgb addRig(Rgb behind, const Ray &ray, float distance)
{
    const Vec3 origin = boatFrame(ray.origin), direction = boatTurn(ray.direction);
    const float t = -origin.z / direction.z;
    if (!(t > 0 && t < distance))
        return behind;
    const Vec3 p = origin + direction * t;
    if (std::fabs(p.x) > 3 || p.y < 0.3f || p.y > 7)
        return behind;
    return rig(behind, {p.x, p.y}, t * ray.spread);
}

Rgb addGulls(Rgb c, Vec2 at, float size)
{
    constexpr Gull kGulls[] = {
        {{-0.005f, 0.355f}, 0.030f, 0.12f}, {{0.075f, 0.385f}, 0.022f, -0.1f},
        {{0.120f, 0.335f}, 0.017f, 0.22f},  {{-0.075f, 0.300f}, 0.013f, 0.05f},
        {{0.205f, 0.362f}, 0.012f, -0.2f},
    };
    for (const Gull &gull : kGulls)
        lay(c, paint(0x3A3550), wings(gull, at), size);
    return c;
}

Rgb addGrass(Rgb c, Vec2 at, float size)
{
    // Above the tallest that could lean to this place there is nothing to look for.
    if (at.x > -0.10f || at.y + 0.5f > 0.06f + 0.5f * ramp(-0.20f, -0.80f, at.x - kLeanRight))
        return c;
    layReed(c, {-0.655f, -0.5f}, {-0.628f, -0.055f}, at, size);
    layReed(c, {-0.70f, -0.5f}, {-0.715f, -0.015f}, at, size);
    layReed(c, {-0.60f, -0.5f}, {-0.553f, -0.14f}, at, size);
    for (uint32_t layer = 0; layer < 3; ++layer) {
        const float spacing = 0.0062f - 0.0008f * static_cast<float>(layer);
        const int32_t cell = floorToInt(at.x / spacing);
        for (int32_t step = -16; step <= 10; ++step)
            layBlade(c, blade(cell + step, spacing, 50 + layer), at, size,
                     0.75f + 0.2f * static_cast<float>(layer));
    }
    return c;
}

} // namespace velmont::samples
