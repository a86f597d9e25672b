#pragma once

/// \file
/// Kernels of the bilinear resampling: each row of the result from two rows of the source, blended first with each
/// other and then along the row. Weights are in eighths. All sums are taken modulo 2^16, of which the stored byte
/// keeps bits 6 to 13, so that weights above 8 and below 0 come out as in wider numbers. See core/byte_kernels.h for
/// the rules.

#include <cstddef>
#include <cstdint>

namespace velmont {

/// The two weights of an axis for one coordinate, modulo 2^16; the first neighbour's is lower.
constexpr uint32_t pairOfWeights(uint32_t first)
{
    return (first & 0xFFFF) | (8 - first) << 16;
}

/// sums[i] = upper[i] * first weight + lower[i] * second weight
using BlendedRows = void (*)(uint16_t *sums, const uint8_t *upper, const uint8_t *lower, std::size_t count,
                             uint32_t weights);
/// Pixels of the result: sums at columns[x] and its right neighbour with weights[x]. Eight sums behind the last
/// pixel are read.
using BlendedColumns = void (*)(uint8_t *to, const uint16_t *sums, const int32_t *columns,
                                const uint32_t *weights, std::size_t pixels);
inline constexpr std::size_t kSumsBehind = 8;

struct BilinearKernels {
    BlendedRows rows;
    BlendedColumns columns;
};
/// Those of a depth of 8 or 24 bits.
BilinearKernels bilinearKernels(int bitCount);

namespace kernels {

void blendRowsPlain(uint16_t *sums, const uint8_t *upper, const uint8_t *lower, std::size_t count,
                    uint32_t weights);
void blendColumnsOfBytesPlain(uint8_t *to, const uint16_t *sums, const int32_t *columns,
                              const uint32_t *weights, std::size_t pixels);
void blendColumnsOfPixelsPlain(uint8_t *to, const uint16_t *sums, const int32_t *columns,
                               const uint32_t *weights, std::size_t pixels);
#if defined(__x86_64__)
void blendRowsAvx2(uint16_t *sums, const uint8_t *upper, const uint8_t *lower, std::size_t count,
                   uint32_t weights);
void blendColumnsOfBytesAvx2(uint8_t *to, const uint16_t *sums, const int32_t *columns,
                             const uint32_t *weights, std::size_t pixels);
void blendColumnsOfPixelsAvx2(uint8_t *to, const uint16_t *sums, const int32_t *columns,
                              const uint32_t *weights, std::size_t pixels);
#endif

} // namespace kernels

} // namespace velmont
