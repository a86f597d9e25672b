#pragma once

/// \file
/// The sum of a filter of up to 32 taps with 20 fractional bits, over lines of bytes. See core/byte_kernels.h for
/// the rules.

#include <cstddef>
#include <cstdint>

namespace velmont {

/// Taps from 0 to 2^20 that add up to about 2^20.
struct Taps {
    static constexpr int kMost = 32;
    static constexpr int kFractionBits = 20;

    int count = 0;
    int32_t of[kMost] = {};
};

/// to[i] is the rounded sum of taps.of[k] * lines[k][i]. The lines may overlap each other, but not `to`.
using WeightedSumRow = void (*)(uint8_t *to, const uint8_t *const *lines, std::size_t bytes,
                                const Taps &taps);
WeightedSumRow weightedSumRow();

namespace kernels {

void weightedSumPlain(uint8_t *to, const uint8_t *const *lines, std::size_t bytes, const Taps &taps);
/// The bytes from `first` on.
void weightedSumRange(uint8_t *to, const uint8_t *const *lines, std::size_t first, std::size_t bytes,
                      const Taps &taps);
#if defined(__x86_64__)
void weightedSumAvx2(uint8_t *to, const uint8_t *const *lines, std::size_t bytes, const Taps &taps);
void weightedSumAvx512(uint8_t *to, const uint8_t *const *lines, std::size_t bytes, const Taps &taps);
#endif

} // namespace kernels

} // namespace velmont
