// Compiled for AVX-512: only intrinsics and functions of this file, so that nothing shared is compiled for it.
#include "filters/weighted_sum.h"
#include <immintrin.h>

namespace velmont::kernels {

namespace {

/// Two taps side by side for products with pairs of samples, in two digits: a tap is 2^11 * high + low.
struct PairOfTaps {
    __m512i low, high;
};
constexpr int kDigitBits = 11;

int pairOf(int32_t first, int32_t second)
{
    return static_cast<int>(static_cast<uint32_t>(first) | static_cast<uint32_t>(second) << 16);
}

/// Sums of sixteen samples, by digit.
struct Sums {
    __m512i low, high;

    void add(__m512i samples, const PairOfTaps &taps)
    {
        low = _mm512_add_epi32(low, _mm512_madd_epi16(samples, taps.low));
        high = _mm512_add_epi32(high, _mm512_madd_epi16(samples, taps.high));
    }
    __m512i rounded() const
    {
        // The masked shifts: compilers take the others' source of unused lanes for uninitialised.
        constexpr __mmask16 kAll = 0xFFFF;
        const __m512i sum = _mm512_add_epi32(low, _mm512_maskz_slli_epi32(kAll, high, kDigitBits));
        return _mm512_maskz_srli_epi32(kAll, sum, Taps::kFractionBits);
    }
};

} // namespace

void weightedSumAvx512(uint8_t *to, const uint8_t *const *lines, std::size_t bytes, const Taps &taps)
{
    constexpr int32_t kDigit = (1 << kDigitBits) - 1;
    PairOfTaps pairs[Taps::kMost / 2];
    const int pairCount = (taps.count + 1) / 2;
    for (int k = 0; k < pairCount; ++k) {
        const int32_t first = taps.of[2 * k], second = 2 * k + 1 < taps.count ? taps.of[2 * k + 1] : 0;
        pairs[k].low = _mm512_set1_epi32(pairOf(first & kDigit, second & kDigit));
        pairs[k].high = _mm512_set1_epi32(pairOf(first >> kDigitBits, second >> kDigitBits));
    }
    const __m512i zero = _mm512_setzero_si512();
    const __m512i half = _mm512_set1_epi32(1 << (Taps::kFractionBits - 1));
    std::size_t i = 0;
    for (; i + 64 <= bytes; i += 64) {
        Sums sums[4] = {{half, zero}, {half, zero}, {half, zero}, {half, zero}};
        for (int k = 0; k < pairCount; ++k) {
            // An odd count ends with a tap of 0 on any line.
            const __m512i first = _mm512_loadu_si512(lines[2 * k] + i);
            const __m512i second = _mm512_loadu_si512(lines[2 * k + 1 < taps.count ? 2 * k + 1 : 2 * k] + i);
            const __m512i lower = _mm512_unpacklo_epi8(first, second);
            const __m512i upper = _mm512_unpackhi_epi8(first, second);
            sums[0].add(_mm512_unpacklo_epi8(lower, zero), pairs[k]);
            sums[1].add(_mm512_unpackhi_epi8(lower, zero), pairs[k]);
            sums[2].add(_mm512_unpacklo_epi8(upper, zero), pairs[k]);
            sums[3].add(_mm512_unpackhi_epi8(upper, zero), pairs[k]);
        }
        _mm512_storeu_si512(to + i,
                            _mm512_packus_epi16(_mm512_packus_epi32(sums[0].rounded(), sums[1].rounded()),
                                                _mm512_packus_epi32(sums[2].rounded(), sums[3].rounded())));
    }
    weightedSumRange(to, lines, i, bytes, taps);
}

} // namespace velmont::kernels
