// Compiled for AVX-512: only intrinsics and functions of this file, so that nothing shared is compiled for it.
#include "filters/weighted_sum.h"
#include <immintrin.h>

namespace velmont::kernels {

namespace {

/// A tap is in three digits of 7 bits, as products of bytes have one factor with a sign.
constexpr int kDigits = 3, kDigitBits = 7;

/// Four taps side by side for products with as many samples, by digit.
struct FourTaps {
    __m512i digit[kDigits];

    explicit FourTaps(const int32_t (&taps)[4])
    {
        for (int i = 0; i < kDigits; ++i) {
            uint32_t bytes = 0;
            for (int k = 0; k < 4; ++k)
                bytes |= (static_cast<uint32_t>(taps[k]) >> (kDigitBits * i) & 127u) << (8 * k);
            digit[i] = _mm512_set1_epi32(static_cast<int>(bytes));
        }
    }
    FourTaps() = default;
};

/// Sums of sixteen samples, by digit.
struct Sums {
    __m512i digit[kDigits];

    void add(__m512i samples, const FourTaps &taps)
    {
        for (int i = 0; i < kDigits; ++i)
            digit[i] = _mm512_dpbusd_epi32(digit[i], samples, taps.digit[i]);
    }
    __m512i rounded() const
    {
        // The masked shifts: compilers take the others' source of unused lanes for uninitialised.
        constexpr __mmask16 kAll = 0xFFFF;
        __m512i sum = digit[0];
        for (int i = 1; i < kDigits; ++i)
            sum = _mm512_add_epi32(
                sum, _mm512_maskz_slli_epi32(kAll, digit[i], static_cast<unsigned>(kDigitBits * i)));
        return _mm512_maskz_srli_epi32(kAll, sum, Taps::kFractionBits);
    }
};

} // namespace

void weightedSumAvx512(uint8_t *to, const uint8_t *const *lines, std::size_t bytes, const Taps &taps)
{
    FourTaps fours[Taps::kMost / 4];
    const uint8_t *of[Taps::kMost]; // what is missing from the last four is a tap of 0 on any line
    const int count = (taps.count + 3) / 4;
    for (int k = 0; k < count; ++k) {
        int32_t four[4];
        for (int i = 0; i < 4; ++i) {
            const int tap = 4 * k + i;
            four[i] = tap < taps.count ? taps.of[tap] : 0;
            of[tap] = lines[tap < taps.count ? tap : 0];
        }
        fours[k] = FourTaps(four);
    }
    const __m512i zero = _mm512_setzero_si512();
    const __m512i half = _mm512_set1_epi32(1 << (Taps::kFractionBits - 1));
    std::size_t i = 0;
    for (; i + 64 <= bytes; i += 64) {
        const Sums start{{half, zero, zero}};
        Sums sums[4] = {start, start, start, start};
        for (int k = 0; k < count; ++k) {
            const uint8_t *const *const four = of + 4 * k;
            const __m512i a = _mm512_loadu_si512(four[0] + i), b = _mm512_loadu_si512(four[1] + i),
                          c = _mm512_loadu_si512(four[2] + i), d = _mm512_loadu_si512(four[3] + i);
            const __m512i lowerAB = _mm512_unpacklo_epi8(a, b), upperAB = _mm512_unpackhi_epi8(a, b);
            const __m512i lowerCD = _mm512_unpacklo_epi8(c, d), upperCD = _mm512_unpackhi_epi8(c, d);
            sums[0].add(_mm512_unpacklo_epi16(lowerAB, lowerCD), fours[k]);
            sums[1].add(_mm512_unpackhi_epi16(lowerAB, lowerCD), fours[k]);
            sums[2].add(_mm512_unpacklo_epi16(upperAB, upperCD), fours[k]);
            sums[3].add(_mm512_unpackhi_epi16(upperAB, upperCD), fours[k]);
        }
        _mm512_storeu_si512(to + i,
                            _mm512_packus_epi16(_mm512_packus_epi32(sums[0].rounded(), sums[1].rounded()),
                                                _mm512_packus_epi32(sums[2].rounded(), sums[3].rounded())));
    }
    weightedSumRange(to, lines, i, bytes, taps);
}

} // namespace velmont::kernels
