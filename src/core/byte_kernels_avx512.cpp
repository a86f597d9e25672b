// Compiled for AVX-512: only intrinsics and functions of this file, so that nothing shared is compiled for
// it.
#include "core/byte_kernels.h"
#include <immintrin.h>

namespace velmont::kernels {

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

void tableAvx512(uint8_t *to, const uint8_t *from, std::size_t bytes, const uint8_t table[256])
{
    const Table entries(table);
    std::size_t i = 0;
    for (; i + 64 <= bytes; i += 64)
        _mm512_storeu_si512(to + i, entries.lookUp(_mm512_loadu_si512(from + i)));
    const __mmask64 rest = (__mmask64{1} << (bytes - i)) - 1;
    _mm512_mask_storeu_epi8(to + i, rest, entries.lookUp(_mm512_maskz_loadu_epi8(rest, from + i)));
}

} // namespace velmont::kernels
