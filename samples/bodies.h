#pragma once

/// \file
/// The solid things of the picture and what they are made of. Metres; y up, the lake is y = 0, z into the
/// picture.

#include "vec.h"
#include <span>

namespace velmont::samples {

enum class Material {
    Deck,
    Timber,
    Rope,
    Buoy,
    Bowl,
    Orange,
    Apple,
    Lemon,
    Plum,
    Leaf,
    Hull,
    Cabin,
    Wall,
    Roof,
    Skin,
    Hair,
    Shirt,
    Shorts,
    Straw,
    Ribbon
};

/// The nearest surface of a body.
struct Surface {
    float distance;
    Material material;
};

inline Surface nearer(Surface a, Surface b)
{
    return b.distance < a.distance ? b : a;
}

struct Body {
    Vec3 low, high; ///< a box around all of it
    Surface (*surface)(Vec3 p);
    bool castsShadow; ///< near enough for its shadow to be seen
};

std::span<const Body> bodies();

/// What the light meets on a surface.
struct Finish {
    Rgb color;
    float gloss;  ///< strength of the highlight
    int hardness; ///< its smallness, as doublings of the exponent
    float soft;   ///< light that goes round the edge, as in skin
};

Finish finish(Material material, Vec3 p, Vec3 normal);

/// The woman who sits on the edge of the jetty.
Surface figureSurface(Vec3 p);
Finish figureFinish(Material material, Vec3 p);

/// The deck of the jetty.
inline constexpr float kDeckTop = 0.5f, kDeckLeft = 0.55f, kDeckRight = 2.55f, kDeckEnd = 9.2f;

/// The boat's own coordinates of a point, x to the bow.
Vec3 boatFrame(Vec3 p);
/// A direction in the boat's coordinates.
Vec3 boatTurn(Vec3 direction);

} // namespace velmont::samples
