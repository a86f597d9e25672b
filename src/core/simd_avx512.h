#pragma once

/// \file
/// What the sources compiled for AVX-512 share; no other source includes it.

#include <cstdint>
#include <immintrin.h>

namespace velmont::kernels {

// Internal linkage: a copy compiled for AVX-512 must not be picked by the linker for anybody else.
namespace {

/// A table of 256 bytes in four registers.
struct Table {
    __m512i quarter[4];

    explicit Table(const uint8_t *table)
    {
        for (int i = 0; i < 4; ++i)
            quarter[i] = _mm512_loadu_si512(table + 64 * i);
    }
    /// Two lookups of seven bits each; the eighth bit chooses.
    __m512i lookUp(__m512i index) const
    {
        const __m512i low = _mm512_permutex2var_epi8(quarter[0], index, quarter[1]);
        const __m512i high = _mm512_permutex2var_epi8(quarter[2], index, quarter[3]);
        return _mm512_mask_blend_epi8(_mm512_movepi8_mask(index), low, high);
    }
};

} // namespace

} // namespace velmont::kernels
