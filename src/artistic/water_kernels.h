#pragma once

/// \file
/// Kernels of the water paper.

#include <cstddef>
#include <cstdint>

namespace velmont {

inline constexpr double kWaterUnit = 0.00392156862745098;

/// Gives pixels of 24 bits another brightness and leaves hue and saturation: values[level] is the new one, from 0 to 1,
/// where the largest of a pixel's samples is `level`.
using WaterToneRow = void (*)(uint8_t *pixels, std::size_t count, const double *values);
WaterToneRow waterToneRow();

namespace kernels {

void waterTonePlain(uint8_t *pixels, std::size_t count, const double *values);
#if defined(__x86_64__)
void waterToneAvx2(uint8_t *pixels, std::size_t count, const double *values);
void waterToneAvx512(uint8_t *pixels, std::size_t count, const double *values);
#endif

} // namespace kernels

} // namespace velmont
