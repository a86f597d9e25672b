// Compiled for AVX-512: only intrinsics and functions of this file, so that nothing shared is compiled for
// it.
#include "core/byte_kernels.h"
#include "core/simd_avx512.h"

namespace velmont::kernels {

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
