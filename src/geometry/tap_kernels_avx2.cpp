// Compiled for AVX2: only intrinsics and functions of this file, so that nothing shared is compiled for it.
#include "core/simd_avx2.h"
#include "geometry/tap_kernels.h"

namespace velmont::kernels {

void weightedTapsAvx2(uint8_t *to, const uint8_t *from, std::size_t step, const TapRecord &record,
                      std::size_t bytes)
{
    const __m256i zero = _mm256_setzero_si256(), half = _mm256_set1_epi32(32768);
    const Tap *const taps = record.taps;
    std::size_t i = 0;
    for (; i + 32 <= bytes; i += 32) {
        __m256i sums[4] = {half, half, half, half};
        // Two taps at a time: their samples side by side, as the products of words are added up in pairs.
        for (std::size_t k = 0; k < record.count; k += 2) {
            const __m256i first = load(from + static_cast<std::size_t>(taps[k].source) * step + i);
            const __m256i second = load(from + static_cast<std::size_t>(taps[k + 1].source) * step + i);
            const auto pair = (static_cast<uint32_t>(taps[k].weight) & 0xFFFF) |
                              static_cast<uint32_t>(taps[k + 1].weight) << 16;
            const __m256i weights = _mm256_set1_epi32(static_cast<int>(pair));
            const __m256i low = _mm256_unpacklo_epi8(first, second),
                          high = _mm256_unpackhi_epi8(first, second);
            const auto add = [&](__m256i &sum, __m256i samples) {
                sum = _mm256_add_epi32(sum, _mm256_madd_epi16(samples, weights));
            };
            add(sums[0], _mm256_unpacklo_epi8(low, zero));
            add(sums[1], _mm256_unpackhi_epi8(low, zero));
            add(sums[2], _mm256_unpacklo_epi8(high, zero));
            add(sums[3], _mm256_unpackhi_epi8(high, zero));
        }
        for (__m256i &sum : sums)
            sum = _mm256_srai_epi32(sum, 16);
        store(to + i, _mm256_packus_epi16(_mm256_packs_epi32(sums[0], sums[1]),
                                          _mm256_packs_epi32(sums[2], sums[3])));
    }
    weightedTapsPlain(to + i, from + i, step, record, bytes - i);
}

} // namespace velmont::kernels
