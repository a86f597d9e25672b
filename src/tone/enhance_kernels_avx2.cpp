// Compiled for AVX2: only intrinsics and functions of this file, so that nothing shared is compiled for it.
#include "tone/enhance_kernels.h"
#include <immintrin.h>

namespace velmont::kernels {

namespace {

/// Sixteen samples, widened.
__m256i samples(const uint8_t *from)
{
    return _mm256_cvtepu8_epi16(_mm_loadu_si128(reinterpret_cast<const __m128i *>(from)));
}

__m256i sumOfThree(const uint8_t *from, std::size_t step)
{
    return _mm256_add_epi16(samples(from), _mm256_add_epi16(samples(from - step), samples(from + step)));
}

/// gain * |difference| / 800: first a 32nd of the product, then a 25th of that, both rounded down, which is
/// exact. 5243 / 2^17 is a 25th exactly below 43699; parts stay below 16257.
__m256i shareOf(__m256i difference, __m256i gain)
{
    const __m256i size = _mm256_abs_epi16(difference);
    const __m256i part = _mm256_mulhi_epu16(gain, _mm256_slli_epi16(size, 3));
    return _mm256_srli_epi16(_mm256_mulhi_epu16(part, _mm256_set1_epi16(5243)), 1);
}

} // namespace

void sharpenAvx2(uint8_t *to, const SharpenRows &rows, const SharpenTable &table)
{
    const __m256i gain = _mm256_set1_epi16(static_cast<short>(table.gain << 8));
    const __m256i whiteInBlack = _mm256_set1_epi16(SharpenTable::kMiddle);
    const std::size_t step = rows.step;
    // The first two columns and the last one have neighbours of their own.
    std::size_t i = 2 * step;
    sharpenRange(to, rows, table, 0, i);
    for (; i + 16 + step <= rows.bytes; i += 16) {
        const __m256i sample = samples(rows.current + i);
        const __m256i box = _mm256_add_epi16(
            sumOfThree(rows.current + i, step),
            _mm256_add_epi16(sumOfThree(rows.above + i, step), sumOfThree(rows.below + i, step)));
        const __m256i nineTimes = _mm256_add_epi16(_mm256_slli_epi16(sample, 3), sample);
        const __m256i difference = _mm256_sub_epi16(nineTimes, box);
        const __m256i share = _mm256_sign_epi16(shareOf(difference, gain), difference);
        const __m256i added = _mm256_andnot_si256(_mm256_cmpeq_epi16(difference, whiteInBlack), share);
        const __m256i bytes = _mm256_packus_epi16(_mm256_add_epi16(sample, added), _mm256_setzero_si256());
        _mm_storeu_si128(reinterpret_cast<__m128i *>(to + i),
                         _mm256_castsi256_si128(_mm256_permute4x64_epi64(bytes, 0b1000)));
    }
    sharpenRange(to, rows, table, i, rows.bytes);
}

} // namespace velmont::kernels
