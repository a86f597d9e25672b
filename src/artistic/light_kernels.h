#pragma once

/// \file
/// Kernels of lights that are painted over a picture.

#include <cstddef>
#include <cstdint>

namespace velmont {

/// How a light falls off with the distance from its middle.
enum class LightShape {
    Disc,  ///< from the middle to its radius, squared
    Cone,  ///< the same, not squared
    Plate, ///< even, with a soft edge
    Bowl,  ///< strongest near its edge
    Rim,   ///< a thin ring inside its radius
    Halo,  ///< a thin ring on both sides of its radius
};

/// A light with its middle at a whole column and row; all numbers in pixels.
struct Light {
    LightShape shape;
    double column, row;
    double radius;
    double color[3]; ///< strength in each byte of a pixel, 1 being white
};

/// Paints a light on pixels of three bytes that start at this column and row: each byte goes its strength's share of
/// the way to 255. What is more than a byte holds keeps its low 8 bits.
using ShineRun = void (*)(uint8_t *pixels, const Light &light, int column, int row, std::size_t count);
ShineRun shineRun();

namespace kernels {

void shinePlain(uint8_t *pixels, const Light &light, int column, int row, std::size_t count);
#if defined(__x86_64__)
void shineAvx2(uint8_t *pixels, const Light &light, int column, int row, std::size_t count);
#endif

} // namespace kernels

} // namespace velmont
