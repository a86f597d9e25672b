// Compiled for AVX-512: only intrinsics and functions of this file, so that nothing shared is compiled for
// it.
#include "core/simd_avx512.h"
#include "tone/enhance_kernels.h"

namespace velmont::kernels {

void saturateAvx512(uint8_t *to, const uint8_t *from, std::size_t pixels, const ToneTables &tables)
{
    const Table level(tables.level), loss(tables.loss);
    std::size_t x = 0;
    for (; x + 64 <= pixels; x += 64) {
        Pixels run = loadPixels(from + 3 * x);
        for (__m512i &channel : run.channel)
            channel = level.lookUp(channel);
        const __m512i largest =
            _mm512_max_epu8(_mm512_max_epu8(run.channel[0], run.channel[1]), run.channel[2]);
        for (__m512i &channel : run.channel)
            channel = _mm512_subs_epu8(channel, loss.lookUp(_mm512_sub_epi8(largest, channel)));
        storePixels(to + 3 * x, run);
    }
    saturatePlain(to + 3 * x, from + 3 * x, pixels - x, tables);
}

} // namespace velmont::kernels
