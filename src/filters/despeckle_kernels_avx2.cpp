// Compiled for AVX2: only intrinsics and functions of this file, so that nothing shared is compiled for it.
#include "core/simd_avx2.h"
#include "filters/despeckle_kernels.h"

namespace velmont::kernels {

namespace {

/// Sixteen samples, widened.
__m256i samples(const uint8_t *from)
{
    return _mm256_cvtepu8_epi16(loadHalf(from));
}

/// Sixteen results, in 16 bits each.
__m256i sixteen(const ThreeRows &rows, std::size_t i)
{
    const auto twice = [](__m256i value) { return _mm256_slli_epi16(value, 1); };
    const auto plus = [](__m256i a, __m256i b) { return _mm256_add_epi16(a, b); };
    const auto minus = [](__m256i a, __m256i b) { return _mm256_sub_epi16(a, b); };
    const std::size_t left = i - rows.step, right = i + rows.step;
    const __m256i a = samples(rows.above + left), b = samples(rows.above + i),
                  c = samples(rows.above + right);
    const __m256i d = samples(rows.current + left), e = samples(rows.current + i),
                  f = samples(rows.current + right);
    const __m256i g = samples(rows.below + left), h = samples(rows.below + i),
                  k = samples(rows.below + right);
    // Both slopes have k - a; the rest is c - g, once added and once taken away.
    const __m256i down = minus(k, a), across = minus(c, g);
    const __m256i downwards = plus(twice(minus(h, b)), minus(down, across));
    const __m256i rightwards = plus(twice(minus(f, d)), plus(down, across));
    const __m256i slopes = plus(_mm256_abs_epi16(downwards), _mm256_abs_epi16(rightwards));
    const __m256i isEdge = _mm256_cmpgt_epi16(slopes, _mm256_set1_epi16(127));
    const __m256i sum = plus(plus(plus(a, b), plus(c, d)), plus(plus(plus(e, f), plus(g, h)), k));
    const __m256i mean = _mm256_mulhi_epu16(plus(sum, _mm256_set1_epi16(4)), _mm256_set1_epi16(7282));
    return _mm256_blendv_epi8(mean, e, isEdge);
}

} // namespace

void despeckleAvx2(uint8_t *to, const ThreeRows &rows)
{
    std::size_t i = rows.step;
    despeckleRange(to, rows, 0, i < rows.bytes ? i : rows.bytes);
    for (; i + 32 + rows.step <= rows.bytes; i += 32) {
        const __m256i packed = _mm256_packus_epi16(sixteen(rows, i), sixteen(rows, i + 16));
        store(to + i, _mm256_permute4x64_epi64(packed, 0b11011000));
    }
    despeckleRange(to, rows, i, rows.bytes);
}

} // namespace velmont::kernels
