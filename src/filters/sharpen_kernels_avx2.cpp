// Compiled for AVX2: only intrinsics and functions of this file, so that nothing shared is compiled for it.
#include "core/simd_avx2.h"
#include "filters/sharpen_kernels.h"

namespace velmont::kernels {

namespace {

void linearSharpen(uint8_t *to, const uint8_t *before, const uint8_t *center, const uint8_t *after,
                   std::size_t bytes)
{
    std::size_t i = 0;
    for (; i + 32 <= bytes; i += 32) {
        // (4c - p - n) / 2 rounded down is 2c less (p + n) / 2 rounded up.
        const __m256i c = load(center + i);
        store(to + i, plusDifference(c, c, _mm256_avg_epu8(load(before + i), load(after + i))));
    }
    linearSharpenPlain(to + i, before + i, center + i, after + i, bytes - i);
}

/// (amount * difference + 50) / 100 of sixteen differences; what comes to 255 and more may be any such number.
__m256i boosted(__m256i difference, __m256i amount)
{
    const __m256i exceeds =
        _mm256_cmpgt_epi16(_mm256_mulhi_epu16(difference, amount), _mm256_setzero_si256());
    const __m256i product = _mm256_or_si256(_mm256_mullo_epi16(difference, amount), exceeds);
    const __m256i rounded = _mm256_adds_epu16(product, _mm256_set1_epi16(50));
    // 41944 / 2^20 is a 25th of numbers up to 43690.
    const __m256i quarter = _mm256_srli_epi16(rounded, 2);
    return _mm256_srli_epi16(_mm256_mulhi_epu16(quarter, _mm256_set1_epi16(static_cast<short>(41944))), 4);
}

void unsharp(uint8_t *blurred, const uint8_t *source, std::size_t bytes, const Boost &boost)
{
    const __m256i amount = _mm256_set1_epi16(static_cast<short>(boost.amount()));
    const __m256i threshold = _mm256_set1_epi8(static_cast<char>(boost.threshold()));
    const __m256i zero = _mm256_setzero_si256(), one = _mm256_set1_epi8(1);
    std::size_t i = 0;
    for (; i + 32 <= bytes; i += 32) {
        const __m256i from = load(source + i), blur = load(blurred + i);
        const __m256i lighter = _mm256_subs_epu8(from, blur);
        const __m256i darker = _mm256_subs_epu8(_mm256_subs_epu8(blur, from), one);
        const __m256i difference = _mm256_or_si256(lighter, darker); // one of them is 0
        const __m256i counts = _mm256_cmpeq_epi8(_mm256_max_epu8(difference, threshold), difference);
        const __m256i lower = boosted(_mm256_unpacklo_epi8(difference, zero), amount);
        const __m256i upper = boosted(_mm256_unpackhi_epi8(difference, zero), amount);
        const __m256i step = _mm256_and_si256(_mm256_packus_epi16(lower, upper), counts);
        const __m256i isDarker = _mm256_cmpeq_epi8(lighter, zero);
        store(blurred + i,
              _mm256_blendv_epi8(_mm256_adds_epu8(from, step), _mm256_subs_epu8(from, step), isDarker));
    }
    unsharpPlain(blurred + i, source + i, bytes - i, boost);
}

} // namespace

SharpenKernels sharpenAvx2()
{
    return {linearSharpen, unsharp};
}

} // namespace velmont::kernels
