#include "bodies.h"
#include "noise.h"
#include "shapes.h"

namespace velmont::samples {

namespace {

constexpr float kPosts[] = {5.7f, 8.9f}; ///< how far away the mooring posts stand, on both sides of the deck
constexpr float kPostTop = 1.02f;
constexpr Vec3 kBowl = {1.16f, kDeckTop, 2.66f};
constexpr Vec3 kNearBuoy = {-1.25f, 0.07f, 6.6f}, kFarBuoy = {-0.55f, 0.06f, 11.5f};
constexpr Vec3 kBoat = {-5.7f, 0, 15.5f}, kBow = {-0.92f, 0, -0.392f}, kPort = {0.392f, 0, -0.92f};
constexpr Vec3 kHouse = {17.5f, 0, 40.0f}, kHouseHalf = {2.3f, 1.35f, 3.4f};
constexpr Vec2 kHouseTurn = {0.954f, 0.3f};

Surface deck(Vec3 p)
{
    const Vec3 middle = {(kDeckLeft + kDeckRight) / 2, kDeckTop - 0.09f, kDeckEnd / 2};
    return {box(p, middle, {(kDeckRight - kDeckLeft) / 2, 0.09f, kDeckEnd / 2}), Material::Deck};
}

/// A rope that hangs between two posts on one side of the deck.
float swag(Vec3 p, float x)
{
    const float t = clamp01((p.z - kPosts[0]) / (kPosts[1] - kPosts[0]));
    const float y = kPostTop - 0.16f - 1.5f * t * (1 - t);
    const float twist = 0.004f * wave(p.z * 9 + p.y * 7);
    return length(Vec2{p.x - x, (p.y - y) * 0.8f}) - 0.02f - twist;
}

Surface posts(Vec3 p)
{
    Surface s = {1e9f, Material::Timber};
    for (const float z : kPosts)
        for (const float x : {kDeckLeft - 0.06f, kDeckRight + 0.06f}) {
            s = nearer(s, {post(p, {x, z}, 0.095f, kPostTop), Material::Timber});
            const Vec3 wound = {p.x, p.y - kPostTop + 0.17f, p.z};
            const float coil =
                length(Vec2{length(Vec2{p.x - x, p.z - z}) - 0.1f, std::fabs(wound.y) - 0.022f});
            s = nearer(s, {coil - 0.024f, Material::Rope});
        }
    for (const float x : {kDeckLeft - 0.06f, kDeckRight + 0.06f})
        s = nearer(s, {std::max(swag(p, x), std::fabs(p.z - 7.3f) - 1.6f), Material::Rope});
    return s;
}

/// The piles the deck stands on.
Surface piles(Vec3 p)
{
    float d = 1e9f;
    for (const float z : {3.1f, 4.6f, 7.2f})
        d = std::min(d, post(p, {kDeckLeft + 0.16f, z}, 0.085f, kDeckTop - 0.1f));
    return {d, Material::Timber};
}

/// A shell cut open at the rim, with fruit heaped in it.
Surface bowl(Vec3 world)
{
    const Vec3 p = world - kBowl;
    const float outer = ellipsoid(p, {0, 0.15f, 0}, {0.19f, 0.15f, 0.19f});
    const float shell = std::max(std::fabs(outer + 0.006f) - 0.006f, p.y - 0.115f) - 0.002f;
    Surface s = {std::min(shell, post(p, {0, 0}, 0.075f, 0.02f)), Material::Bowl};
    s = nearer(s, {sphere(p, {-0.088f, 0.122f, -0.055f}, 0.063f), Material::Orange});
    s = nearer(s, {sphere(p, {0.09f, 0.12f, 0.055f}, 0.063f), Material::Orange});
    const float dimple = 0.016f * bell(length(Vec2{p.x - 0.042f, p.z + 0.068f}), 0.02f);
    s = nearer(s, {sphere(p, {0.042f, 0.132f, -0.068f}, 0.066f) + dimple, Material::Apple});
    s = nearer(s, {ellipsoid(p, {-0.015f, 0.19f, 0.02f}, {0.072f, 0.05f, 0.05f}), Material::Lemon});
    s = nearer(s, {sphere(p, {-0.075f, 0.13f, 0.07f}, 0.055f), Material::Plum});
    s = nearer(
        s, {limb(p, {0.042f, 0.18f, -0.068f}, {0.055f, 0.215f, -0.075f}, 0.005f, 0.004f), Material::Hair});
    return nearer(s, {ellipsoid(p, {0.088f, 0.207f, -0.08f}, {0.036f, 0.006f, 0.017f}), Material::Leaf});
}

Surface buoy(Vec3 p, Vec3 centre, float radius)
{
    const float neck = post(p, {centre.x, centre.z}, 0.3f * radius, centre.y + 1.22f * radius);
    const Vec3 q = {p.x - centre.x, p.y - centre.y - 1.32f * radius, 0};
    const float eye = length(Vec2{length(q) - 0.16f * radius, p.z - centre.z}) - 0.06f * radius;
    return {std::min(blend(sphere(p, centre, radius), neck, 0.06f), eye), Material::Buoy};
}

Surface nearBuoy(Vec3 p)
{
    return buoy(p, kNearBuoy, 0.2f);
}
Surface farBuoy(Vec3 p)
{
    return buoy(p, kFarBuoy, 0.24f);
}

/// Full amidships, sharp at the bow, cut off at the stern, with a low cabin.
Surface hull(Vec3 world)
{
    const Vec3 p = boatFrame(world);
    const float run = (p.x + 0.6f) / 3.2f;
    const float sheer = 0.5f + 0.28f * run * run;
    const float depth = clamp01((sheer - p.y) / 0.95f);
    const float along = (p.x + 0.6f) / (3.2f - 0.9f * depth); // the stem rakes forward
    const float breadth = 0.82f * (1 - along * along) * (1 - 0.55f * depth * depth);
    const float side = std::fabs(p.z) - breadth;
    const float body = std::max({side * 0.8f, p.y - sheer, -2.45f + 0.3f * depth - p.x, -p.y - 0.3f});
    const float cabin = box(p, {0.1f, 0.68f, 0}, {0.75f - 0.4f * (p.y - 0.6f), 0.2f, 0.36f}) - 0.05f;
    return nearer({body * 0.8f, Material::Hull}, {cabin * 0.9f, Material::Cabin});
}

/// The house's own coordinates: turned a little to show two of its sides.
Vec3 houseFrame(Vec3 p)
{
    const Vec3 q = p - kHouse;
    return {kHouseTurn.x * q.x + kHouseTurn.y * q.z, q.y, kHouseTurn.x * q.z - kHouseTurn.y * q.x};
}

Surface boathouse(Vec3 world)
{
    const Vec3 p = houseFrame(world);
    const float gable = 0.78f * (std::fabs(p.x) - kHouseHalf.x) + 0.62f * (p.y - 3.15f);
    const float walls = std::max(box(p, {0, 2.3f, 0}, {kHouseHalf.x, 1.9f, kHouseHalf.z}), gable);
    const float slab = std::max(std::fabs(gable - 0.1f) - 0.1f, box(p, {0, 3.7f, 0}, {2.8f, 1.4f, 3.8f}));
    Surface s = nearer({walls, Material::Wall}, {slab * 0.95f, Material::Roof});
    s = nearer(s, {box(p, {0.6f, 4.9f, 1.2f}, {0.28f, 0.9f, 0.28f}), Material::Timber});
    s = nearer(s, {box(p, {0, 0.35f, -0.8f}, {2.7f, 0.1f, 4.4f}), Material::Timber});
    const Vec2 pile = {std::fabs(std::fabs(p.x) - 1.3f) - 1.2f,
                       std::fabs(std::fabs(p.z + 0.8f) - 2.2f) - 2.0f};
    return nearer(s, {std::max(length(pile) - 0.14f, p.y - 0.35f), Material::Timber});
}

constexpr Body kBodies[] = {
    {{kDeckLeft, kDeckTop - 0.18f, 0}, {kDeckRight, kDeckTop, kDeckEnd}, deck, true},
    {{0.3f, -0.4f, 5.5f}, {2.8f, kPostTop, 9.1f}, posts, true},
    {{0.5f, -0.4f, 3.0f}, {0.85f, kDeckTop - 0.1f, 7.4f}, piles, false},
    {{0.02f, 0.03f, 3.2f}, {1.05f, 1.5f, 4.2f}, figureSurface, true},
    {{0.95f, kDeckTop, 2.45f}, {1.37f, kDeckTop + 0.26f, 2.87f}, bowl, true},
    {{-1.46f, -0.2f, 6.39f}, {-1.04f, 0.4f, 6.81f}, nearBuoy, false},
    {{-0.8f, -0.2f, 11.25f}, {-0.3f, 0.45f, 11.75f}, farBuoy, false},
    {{-8.6f, -0.3f, 13.5f}, {-3.2f, 1.0f, 17.5f}, hull, false},
    {{12.8f, -0.3f, 35.0f}, {22.2f, 5.85f, 45.5f}, boathouse, false},
};

/// Long streaks and the odd knot.
float grain(Vec2 along, uint32_t seed)
{
    const float bend = 0.6f * noise(along * 2.3f, seed);
    const float streak = fractal({along.x * 2.2f, along.y * 85 + bend * 9}, 4, seed + 1);
    const float ring = wave(along.y * 30 + 4 * noise({along.x * 1.1f, along.y * 6}, seed + 7));
    return 0.75f * streak + 0.12f * ring + 0.13f;
}

Rgb buoyColor(Vec3 p)
{
    const bool near = p.z < 9;
    const float height = (p.y - (near ? kNearBuoy.y : kFarBuoy.y)) / (near ? 0.2f : 0.24f);
    const float band = ramp(0.30f, 0.27f, std::fabs(height - 0.42f));
    const Rgb paintwork = near ? paint(0xF2480C) : paint(0xF6B90A);
    const Rgb wet = mix(paintwork, paint(0x35402C), 0.7f * ramp(0.12f, -0.15f, height));
    return mix(wet, paint(0xF4EFE6), near ? band : 0);
}

/// White above a broad blue side, a gold line between, red below the water line.
Rgb hullColor(Vec3 world)
{
    const Vec3 p = boatFrame(world);
    const float along = (p.x + 0.6f) / 3.2f;
    const float below = 0.5f + 0.28f * along * along - p.y;
    if (below < 0.015f)
        return paint(0xB98450);
    if (below < 0.11f)
        return paint(0xF2EEE4);
    if (below < 0.145f)
        return paint(0xE9B63C);
    return p.y > 0.09f ? paint(0x1450A8) : paint(0xA32018);
}

Rgb cabinColor(Vec3 world)
{
    const Vec3 p = boatFrame(world);
    const float port =
        std::max(std::fabs(std::fabs(p.x - 0.05f) - 0.36f) - 0.2f, std::fabs(p.y - 0.72f) - 0.07f);
    return port < 0 && std::fabs(p.z) > 0.3f ? paint(0x18222E) : paint(0xEFE9DC);
}

Rgb fruitColor(Material material, Vec3 p)
{
    const Vec3 q = p - kBowl;
    const float fleck = noise({q.x * 420, (q.y + q.z) * 420}, 83);
    switch (material) {
    case Material::Orange:
        return paint(0xF57A05) * (0.82f + 0.36f * fleck);
    case Material::Apple:
        return mix(paint(0xC3121B), paint(0xE8A51F),
                   0.6f * ramp(0.5f, 0.9f, fractal({q.x * 30, q.y * 12}, 3, 84)));
    case Material::Lemon:
        return paint(0xFBD914) * (0.9f + 0.2f * fleck);
    case Material::Plum:
        return mix(paint(0x4A1552), paint(0x7A5AA0), 0.35f * fleck);
    default:
        return paint(0x3F8A22);
    }
}

/// Blue glaze with a white rim and a white garland.
Rgb bowlColor(Vec3 p)
{
    const float height = p.y - kBowl.y;
    const bool white =
        height > 0.104f || std::fabs(height - 0.072f + 0.008f * wave((p.x - p.z) * 14)) < 0.005f;
    return white ? paint(0xF3F1EA) : paint(0x124AA0);
}

Finish deckFinish(Vec3 p)
{
    constexpr float kPlank = 0.165f;
    const int32_t number = floorToInt(p.z / kPlank);
    const auto index = static_cast<float>(number);
    const float across = p.z - (index + 0.5f) * kPlank;
    const float tone = 0.55f + 0.75f * random(number, 0, 61);
    const float streak =
        grain({p.x + 7 * random(number, 1, 61), across + p.y}, 62 + static_cast<uint32_t>(number) * 16);
    Rgb c = mix(paint(0x77604E), paint(0xB69878), ramp(0.15f, 0.85f, streak)) * tone;
    const float crack = ramp(0.79f, 0.86f, noise({p.x * 1.3f + index * 5, across * 120}, 66));
    c = c * (1 - 0.55f * crack);
    if (p.y < kDeckTop - 0.035f) // the beam under the boards
        return {mix(paint(0x3A2A20), paint(0x6E5542), grain({p.z, p.y}, 65)), 0, 1, 0};
    const float gap = kPlank / 2 - std::fabs(across);
    c = c * mix(0.04f, 1, ramp(0.006f, 0.013f, gap + 0.002f * noise({p.x * 30, index}, 67)));
    for (const float nail : {kDeckLeft + 0.14f, kDeckRight - 0.14f}) {
        const float d = length(Vec2{p.x - nail, std::fabs(across) - 0.04f});
        c = mix(c, paint(0x2B211C), ramp(0.011f, 0.007f, d));
    }
    return {c, 0.10f * streak, 3, 0};
}

Finish boathouseFinish(Material material, Vec3 world, Vec3 normal)
{
    const Vec3 p = houseFrame(world), n = {kHouseTurn.x * normal.x + kHouseTurn.y * normal.z, normal.y, 0};
    if (material == Material::Roof) {
        const float tile = std::fabs(wave(p.y * 1.3f)) * 0.5f + 0.5f * noise({p.z * 5, p.y * 9}, 91);
        return {mix(paint(0x2E2A30), paint(0x5C5358), tile), 0.05f, 3, 0};
    }
    const bool front = std::fabs(n.x) < 0.5f;
    const float across = front ? p.x : p.z, end = front ? kHouseHalf.x : kHouseHalf.z;
    const float board = fraction(across * 5);
    Rgb c = paint(0x93231C) *
            (0.7f + 0.3f * ramp(0.02f, 0.14f, board) + 0.2f * noise({across * 9, p.y * 1.5f}, 92));
    const Vec2 opening = front ? Vec2{across, p.y - 1.35f} : Vec2{std::fabs(across) - 1.5f, p.y - 1.9f};
    const Vec2 half = front ? Vec2{0.85f, 0.95f} : Vec2{0.42f, 0.5f};
    const float window = std::max(std::fabs(opening.x) - half.x, std::fabs(opening.y) - half.y);
    if (end - std::fabs(across) < 0.16f || (window > 0 && window < 0.13f))
        c = paint(0xF0E8DC);
    if (window < 0)
        c = front ? paint(0x3D1512) : paint(0xFF9A2A) * 1.5f;
    if (!front && window < 0 && std::min(std::fabs(opening.x), std::fabs(opening.y)) < 0.04f)
        c = paint(0xF0E8DC);
    return {c, 0, 1, 0};
}

} // namespace

std::span<const Body> bodies()
{
    return kBodies;
}

Vec3 boatTurn(Vec3 d)
{
    return {dot(d, kBow), d.y, dot(d, kPort)};
}
Vec3 boatFrame(Vec3 p)
{
    return boatTurn(p - kBoat);
}

Finish finish(Material material, Vec3 p, Vec3 normal)
{
    switch (material) {
    case Material::Deck:
        return deckFinish(p);
    case Material::Timber:
        return {mix(paint(0x3E2E24), paint(0x94785E), grain({p.y, p.x + p.z}, 63)), 0.04f, 3, 0};
    case Material::Rope:
        return {paint(0xD8BE92) * (0.75f + 0.3f * wave(p.z * 30 + p.y * 22 + p.x * 20)), 0, 1, 0.2f};
    case Material::Buoy:
        return {buoyColor(p), 1.1f, 6, 0};
    case Material::Bowl:
        return {bowlColor(p), 1.5f, 7, 0};
    case Material::Orange:
    case Material::Lemon:
        return {fruitColor(material, p), 0.35f, 5, 0.15f};
    case Material::Apple:
    case Material::Plum:
    case Material::Leaf:
        return {fruitColor(material, p), 1.0f, 6, 0.05f};
    case Material::Hull:
        return {hullColor(p), 0.5f, 5, 0};
    case Material::Cabin:
        return {cabinColor(p), 0.4f, 5, 0};
    case Material::Wall:
    case Material::Roof:
        return boathouseFinish(material, p, normal);
    default:
        return figureFinish(material, p);
    }
}

} // namespace velmont::samples
