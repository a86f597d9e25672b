// Compiled for AVX2: only intrinsics and functions of this file, so that nothing shared is compiled for it.
#include "core/simd_avx2.h"
#include "filters/weighted_sum.h"

namespace velmont::kernels {

namespace {

/// Two taps side by side for products with pairs of samples, in two digits: a tap is 2^11 * high + low.
struct PairOfTaps {
    __m256i low, high;
};
constexpr int kDigitBits = 11;

int pairOf(int32_t first, int32_t second)
{
    return static_cast<int>(static_cast<uint32_t>(first) | static_cast<uint32_t>(second) << 16);
}

/// Sums of eight samples, by digit.
struct Sums {
    __m256i low, high;

    void add(__m256i samples, const PairOfTaps &taps)
    {
        low = _mm256_add_epi32(low, _mm256_madd_epi16(samples, taps.low));
        high = _mm256_add_epi32(high, _mm256_madd_epi16(samples, taps.high));
    }
    __m256i rounded() const
    {
        return _mm256_srli_epi32(_mm256_add_epi32(low, _mm256_slli_epi32(high, kDigitBits)),
                                 Taps::kFractionBits);
    }
};

} // namespace

void weightedSumAvx2(uint8_t *to, const uint8_t *const *lines, std::size_t bytes, const Taps &taps)
{
    constexpr int32_t kDigit = (1 << kDigitBits) - 1;
    PairOfTaps pairs[Taps::kMost / 2];
    const int pairCount = (taps.count + 1) / 2;
    for (int k = 0; k < pairCount; ++k) {
        const int32_t first = taps.of[2 * k], second = 2 * k + 1 < taps.count ? taps.of[2 * k + 1] : 0;
        pairs[k].low = _mm256_set1_epi32(pairOf(first & kDigit, second & kDigit));
        pairs[k].high = _mm256_set1_epi32(pairOf(first >> kDigitBits, second >> kDigitBits));
    }
    const __m256i zero = _mm256_setzero_si256();
    const __m256i half = _mm256_set1_epi32(1 << (Taps::kFractionBits - 1));
    std::size_t i = 0;
    for (; i + 32 <= bytes; i += 32) {
        Sums sums[4] = {{half, zero}, {half, zero}, {half, zero}, {half, zero}};
        for (int k = 0; k < pairCount; ++k) {
            // An odd count ends with a tap of 0 on any line.
            const __m256i first = load(lines[2 * k] + i);
            const __m256i second = load(lines[2 * k + 1 < taps.count ? 2 * k + 1 : 2 * k] + i);
            const __m256i lower = _mm256_unpacklo_epi8(first, second);
            const __m256i upper = _mm256_unpackhi_epi8(first, second);
            sums[0].add(_mm256_unpacklo_epi8(lower, zero), pairs[k]);
            sums[1].add(_mm256_unpackhi_epi8(lower, zero), pairs[k]);
            sums[2].add(_mm256_unpacklo_epi8(upper, zero), pairs[k]);
            sums[3].add(_mm256_unpackhi_epi8(upper, zero), pairs[k]);
        }
        store(to + i, _mm256_packus_epi16(_mm256_packus_epi32(sums[0].rounded(), sums[1].rounded()),
                                          _mm256_packus_epi32(sums[2].rounded(), sums[3].rounded())));
    }
    weightedSumRange(to, lines, i, bytes, taps);
}

} // namespace velmont::kernels
