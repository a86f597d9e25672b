// Compiled for AVX2: only intrinsics and functions of this file, so that nothing shared is compiled for it.
#include "core/simd_avx2.h"
#include "geometry/turn_kernels.h"

namespace velmont::kernels {

namespace {

/// Four pixels of a row and four of the row four further on, each as a number with a spare byte.
__m256i loadFours(const uint8_t *first, std::ptrdiff_t step)
{
    const __m256i spread =
        _mm256_broadcastsi128_si256(_mm_setr_epi8(0, 1, 2, -1, 3, 4, 5, -1, 6, 7, 8, -1, 9, 10, 11, -1));
    const __m256i both =
        _mm256_inserti128_si256(_mm256_castsi128_si256(loadHalf(first)), loadHalf(first + 4 * step), 1);
    return _mm256_shuffle_epi8(both, spread);
}

/// Stores eight pixels, and four bytes of nothing behind them.
void storeFours(uint8_t *to, __m256i numbers)
{
    const __m256i close =
        _mm256_broadcastsi128_si256(_mm_setr_epi8(0, 1, 2, 4, 5, 6, 8, 9, 10, 12, 13, 14, -1, -1, -1, -1));
    const __m256i pixels = _mm256_shuffle_epi8(numbers, close);
    _mm_storeu_si128(reinterpret_cast<__m128i *>(to), _mm256_castsi256_si128(pixels));
    _mm_storeu_si128(reinterpret_cast<__m128i *>(to + 12), _mm256_extracti128_si256(pixels, 1));
}

} // namespace

void transposePixelsAvx2(uint8_t *to, std::ptrdiff_t toStep, const uint8_t *from, std::ptrdiff_t fromStep,
                         std::size_t tiles)
{
    for (std::size_t tile = 0; tile < tiles; ++tile, to += 4 * toStep, from += 12) {
        const __m256i a = loadFours(from, fromStep), b = loadFours(from + fromStep, fromStep);
        const __m256i c = loadFours(from + 2 * fromStep, fromStep),
                      d = loadFours(from + 3 * fromStep, fromStep);
        const __m256i upper = _mm256_unpacklo_epi32(a, b), lower = _mm256_unpacklo_epi32(c, d);
        const __m256i upperRight = _mm256_unpackhi_epi32(a, b), lowerRight = _mm256_unpackhi_epi32(c, d);
        storeFours(to, _mm256_unpacklo_epi64(upper, lower));
        storeFours(to + toStep, _mm256_unpackhi_epi64(upper, lower));
        storeFours(to + 2 * toStep, _mm256_unpacklo_epi64(upperRight, lowerRight));
        storeFours(to + 3 * toStep, _mm256_unpackhi_epi64(upperRight, lowerRight));
    }
}

} // namespace velmont::kernels
