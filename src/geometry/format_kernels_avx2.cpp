// Compiled for AVX2: only intrinsics and functions of this file, so that nothing shared is compiled for it.
#include "core/simd_avx2.h"
#include "geometry/format_kernels.h"

namespace velmont::kernels {

namespace {

/// (weight * v + 127) / 255 of sixteen values, truncated; the quotient of any 16-bit number by 255 is the
/// high half of its product with 0x8081, shifted by 7.
__m256i share(__m256i values, short weight)
{
    const __m256i sum =
        _mm256_add_epi16(_mm256_mullo_epi16(values, _mm256_set1_epi16(weight)), _mm256_set1_epi16(127));
    return _mm256_srli_epi16(_mm256_mulhi_epu16(sum, _mm256_set1_epi16(static_cast<short>(0x8081))), 7);
}

__m256i grayOfPixels(__m256i blue, __m256i green, __m256i red)
{
    return _mm256_add_epi16(_mm256_add_epi16(share(red, 76), share(green, 150)), share(blue, 29));
}

} // namespace

void bgrToGrayAvx2(uint8_t *to, const uint8_t *from, std::size_t pixels)
{
    const __m256i zero = _mm256_setzero_si256();
    std::size_t x = 0;
    for (; x + 32 <= pixels; x += 32) {
        const auto [blue, green, red] = loadPixels(from + 3 * x).channel;
        const __m256i low = grayOfPixels(_mm256_unpacklo_epi8(blue, zero), _mm256_unpacklo_epi8(green, zero),
                                         _mm256_unpacklo_epi8(red, zero));
        const __m256i high = grayOfPixels(_mm256_unpackhi_epi8(blue, zero), _mm256_unpackhi_epi8(green, zero),
                                          _mm256_unpackhi_epi8(red, zero));
        store(to + x, _mm256_packus_epi16(low, high));
    }
    bgrToGrayPlain(to + x, from + 3 * x, pixels - x);
}

void grayToBgrAvx2(uint8_t *to, const uint8_t *from, std::size_t pixels, const ColorTable &table)
{
    const __m128i first = _mm_setr_epi8(0, 0, 0, 1, 1, 1, 2, 2, 2, 3, 3, 3, 4, 4, 4, 5);
    const __m128i second = _mm_setr_epi8(5, 5, 6, 6, 6, 7, 7, 7, 8, 8, 8, 9, 9, 9, 10, 10);
    const __m128i third = _mm_setr_epi8(10, 11, 11, 11, 12, 12, 12, 13, 13, 13, 14, 14, 14, 15, 15, 15);
    std::size_t x = 0;
    for (; x + 16 <= pixels; x += 16) {
        const __m128i gray = loadHalf(from + x);
        auto *const out = reinterpret_cast<__m128i *>(to + 3 * x);
        _mm_storeu_si128(out, _mm_shuffle_epi8(gray, first));
        _mm_storeu_si128(out + 1, _mm_shuffle_epi8(gray, second));
        _mm_storeu_si128(out + 2, _mm_shuffle_epi8(gray, third));
    }
    indexToBgrPlain(to + 3 * x, from + x, pixels - x, table);
}

void aboveThresholdAvx2(uint8_t *to, const uint8_t *from, std::size_t pixels, int threshold)
{
    // The mask of a comparison takes its lowest bit from the first byte: turn each eight around beforehand.
    // Signed comparison of bytes moved by 128 compares them as unsigned.
    const __m256i reversed =
        _mm256_broadcastsi128_si256(_mm_setr_epi8(7, 6, 5, 4, 3, 2, 1, 0, 15, 14, 13, 12, 11, 10, 9, 8));
    const __m256i sign = _mm256_set1_epi8(static_cast<char>(0x80));
    const __m256i limit = _mm256_xor_si256(_mm256_set1_epi8(static_cast<char>(threshold)), sign);
    std::size_t x = 0;
    for (; x + 32 <= pixels; x += 32) {
        const __m256i values = _mm256_xor_si256(_mm256_shuffle_epi8(load(from + x), reversed), sign);
        const auto bits = static_cast<uint32_t>(_mm256_movemask_epi8(_mm256_cmpgt_epi8(values, limit)));
        for (int i = 0; i < 4; ++i)
            to[x / 8 + static_cast<std::size_t>(i)] = static_cast<uint8_t>(bits >> 8 * i);
    }
    aboveThresholdPlain(to + x / 8, from + x, pixels - x, threshold);
}

} // namespace velmont::kernels
