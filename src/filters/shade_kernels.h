#pragma once

/// \file
/// Kernels that make pixels lighter and darker by whole levels, held to 0 to 255. See core/byte_kernels.h for the
/// rules.

#include <cstddef>
#include <cstdint>

namespace velmont {

/// Tiles: each byte's place in its tile both ways, as numbers of which the lowest bits count.
struct TilePlaces {
    const uint8_t *column;
    const uint8_t *walk;
    uint8_t addToColumn, addToWalk;
    uint8_t mask; ///< size of a tile - 1
    uint8_t shade;
};

struct ShadeKernels {
    /// The same shade all along, -255 to 255.
    void (*run)(uint8_t *to, const uint8_t *from, std::size_t bytes, int shade);
    /// A row of raised tiles.
    void (*tiles)(uint8_t *to, const uint8_t *from, const TilePlaces &places, std::size_t bytes);
};
ShadeKernels shadeKernels();

namespace kernels {

ShadeKernels shadePlain();
#if defined(__x86_64__)
ShadeKernels shadeAvx2();
#endif

} // namespace kernels

} // namespace velmont
