#pragma once

/// \file
/// Flat things that stand upright in the picture, partly see-through at their edges: the forest on the shore,
/// the sails and ropes of the boat, and the grass before the viewer.

#include "vec.h"

namespace velmont::samples {

struct Ray {
    Vec3 origin, direction;
    float spread; ///< width of one sample at distance 1
};

/// Lays the forest over what lies behind it, unless that is nearer than the trees.
Rgb addForest(Rgb behind, const Ray &ray, float distance);
/// Likewise the mast, the sails and the ropes.
Rgb addRig(Rgb behind, const Ray &ray, float distance);
/// A few gulls over the lake, placed like the grass.
Rgb addGulls(Rgb behind, Vec2 at, float size);
/// Grass and reeds in the corner of the picture; `at` in picture heights from the middle, `size` that of a
/// sample.
Rgb addGrass(Rgb behind, Vec2 at, float size);

} // namespace velmont::samples
