// Compiled for AVX2: only intrinsics and functions of this file, so that nothing shared is compiled for it.
#include "core/simd_avx2.h"
#include "tone/tone_kernels.h"

namespace velmont::kernels {

namespace {

/// The same sixteen bits all over, two bytes that weigh the bytes of a pair: the lower one first.
__m256i weights(int lower, int upper)
{
    return _mm256_set1_epi16(static_cast<short>(upper << 8 | lower));
}

/// Which of sixteen pixels are above. Channels are moved by -128 beforehand, so that the weighted sum, moved
/// by 255 * -128, fits 16 bits.
__m256i above(__m256i bluesAndGreens, __m256i reds, __m256i limit)
{
    const __m256i sum = _mm256_add_epi16(_mm256_maddubs_epi16(weights(29, 150), bluesAndGreens),
                                         _mm256_maddubs_epi16(weights(76, 0), reds));
    return _mm256_cmpgt_epi16(sum, limit);
}

/// The high halves of products with bytes that stand in pairs with 0.
__m256i shareOf(__m256i distance, __m256i share)
{
    const __m256i zero = _mm256_setzero_si256();
    return _mm256_packus_epi16(_mm256_mulhi_epu16(_mm256_unpacklo_epi8(distance, zero), share),
                               _mm256_mulhi_epu16(_mm256_unpackhi_epi8(distance, zero), share));
}

} // namespace

void thresholdAvx2(uint8_t *to, const uint8_t *from, std::size_t pixels, int threshold)
{
    const __m256i sign = _mm256_set1_epi8(static_cast<char>(0x80));
    const __m256i limit = _mm256_set1_epi16(static_cast<short>(255 * (threshold - 128)));
    std::size_t x = 0;
    for (; x + 32 <= pixels; x += 32) {
        const Pixels run = loadPixels(from + 3 * x);
        const __m256i blue = _mm256_xor_si256(run.channel[0], sign),
                      green = _mm256_xor_si256(run.channel[1], sign),
                      red = _mm256_xor_si256(run.channel[2], sign);
        const __m256i low = above(_mm256_unpacklo_epi8(blue, green), _mm256_unpacklo_epi8(red, red), limit);
        const __m256i high = above(_mm256_unpackhi_epi8(blue, green), _mm256_unpackhi_epi8(red, red), limit);
        const __m256i white = _mm256_packs_epi16(low, high);
        storePixels(to + 3 * x, {{white, white, white}});
    }
    thresholdPlain(to + 3 * x, from + 3 * x, pixels - x, threshold);
}

void tintAvx2(uint8_t *to, const uint8_t *from, std::size_t pixels, const Tint &tint)
{
    const __m256i share = _mm256_set1_epi16(static_cast<short>(tint.share));
    std::size_t x = 0;
    for (; x + 32 <= pixels; x += 32) {
        const auto [blue, green, red] = loadPixels(from + 3 * x).channel;
        const __m256i largest = _mm256_max_epu8(_mm256_max_epu8(blue, green), red);
        const __m256i smallest = _mm256_min_epu8(_mm256_min_epu8(blue, green), red);
        const __m256i between = _mm256_add_epi8(smallest, shareOf(_mm256_sub_epi8(largest, smallest), share));
        if (tint.largestBlue)
            storePixels(to + 3 * x, {{largest, between, smallest}});
        else
            storePixels(to + 3 * x, {{smallest, between, largest}});
    }
    tintPlain(to + 3 * x, from + 3 * x, pixels - x, tint);
}

} // namespace velmont::kernels
