#pragma once

/// \file
/// Kernels of the cylinder: pixels between two columns of a row.

#include <cstddef>
#include <cstdint>

namespace velmont {

/// Where a column is taken from: between a pixel and the next, in 1/256.
struct CylinderColumn {
    uint16_t place;
    int16_t fraction;
};

/// A row of `width` pixels. The last column is never mixed with what lies behind the row: of several columns the last
/// is taken from before the last pixel, or from that pixel itself, and an only one has the fraction 0.
using CylinderRow = void (*)(uint8_t *to, const uint8_t *from, const CylinderColumn *columns, int width);
CylinderRow cylinderRow(int bitCount);

namespace kernels {

void cylinder24Plain(uint8_t *to, const uint8_t *from, const CylinderColumn *columns, int width);
void cylinder8Plain(uint8_t *to, const uint8_t *from, const CylinderColumn *columns, int width);
#if defined(__x86_64__)
void cylinder24Avx2(uint8_t *to, const uint8_t *from, const CylinderColumn *columns, int width);
#endif

} // namespace kernels

} // namespace velmont
