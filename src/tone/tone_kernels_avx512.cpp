// Compiled for AVX-512: only intrinsics and functions of this file, so that nothing shared is compiled for
// it.
#include "core/simd_avx512.h"
#include "tone/tone_kernels.h"

namespace velmont::kernels {

namespace {

/// The same sixteen bits all over, two bytes that weigh the bytes of a pair: the lower one first.
__m512i weights(int lower, int upper)
{
    return _mm512_set1_epi16(static_cast<short>(upper << 8 | lower));
}

/// Which of thirty-two pixels are above. Channels are moved by -128 beforehand, so that the weighted sum,
/// moved by 255 * -128, fits 16 bits.
__mmask32 above(__m512i bluesAndGreens, __m512i reds, __m512i limit)
{
    const __m512i sum = _mm512_add_epi16(_mm512_maddubs_epi16(weights(29, 150), bluesAndGreens),
                                         _mm512_maddubs_epi16(weights(76, 0), reds));
    return _mm512_cmpgt_epi16_mask(sum, limit);
}

/// Pixel 0 to 31 (half 0) or 32 to 63 (half 1): their blue and green, or their red in the lower byte, out of
/// two vectors that start 64 * half bytes into the run.
struct PairPlaces {
    alignas(64) uint8_t bluesAndGreens[64], reds[64];

    constexpr explicit PairPlaces(int half) : bluesAndGreens(), reds()
    {
        for (int i = 0; i < 64; ++i) {
            const int pixel = 3 * (32 * half + i / 2) - 64 * half;
            bluesAndGreens[i] = static_cast<uint8_t>(pixel + i % 2);
            reds[i] = static_cast<uint8_t>(pixel + 2);
        }
    }
};
constexpr PairPlaces kPairs[2] = {PairPlaces(0), PairPlaces(1)};

/// The pixel that each byte of vector `part` out of three belongs to.
struct PixelPlaces {
    alignas(64) uint8_t pixel[64];

    constexpr explicit PixelPlaces(int part) : pixel()
    {
        for (int i = 0; i < 64; ++i)
            pixel[i] = static_cast<uint8_t>((64 * part + i) / 3);
    }
};
constexpr PixelPlaces kPixelOf[3] = {PixelPlaces(0), PixelPlaces(1), PixelPlaces(2)};

__mmask32 aboveInHalf(int half, __m512i first, __m512i second, __m512i limit)
{
    const __m512i bluesAndGreens =
        _mm512_permutex2var_epi8(first, _mm512_load_si512(kPairs[half].bluesAndGreens), second);
    const __m512i reds = _mm512_permutex2var_epi8(first, _mm512_load_si512(kPairs[half].reds), second);
    return above(bluesAndGreens, reds, limit);
}

/// The high halves of products with bytes that stand in pairs with 0.
__m512i shareOf(__m512i distance, __m512i share)
{
    const __m512i zero = _mm512_setzero_si512();
    return _mm512_packus_epi16(_mm512_mulhi_epu16(_mm512_unpacklo_epi8(distance, zero), share),
                               _mm512_mulhi_epu16(_mm512_unpackhi_epi8(distance, zero), share));
}

} // namespace

void thresholdAvx512(uint8_t *to, const uint8_t *from, std::size_t pixels, int threshold)
{
    const __m512i sign = _mm512_set1_epi8(static_cast<char>(0x80));
    const __m512i limit = _mm512_set1_epi16(static_cast<short>(255 * (threshold - 128)));
    std::size_t x = 0;
    for (; x + 64 <= pixels; x += 64) {
        const uint8_t *const run = from + 3 * x;
        const __m512i a = _mm512_xor_si512(_mm512_loadu_si512(run), sign),
                      b = _mm512_xor_si512(_mm512_loadu_si512(run + 64), sign),
                      c = _mm512_xor_si512(_mm512_loadu_si512(run + 128), sign);
        const __mmask64 mask =
            aboveInHalf(0, a, b, limit) | static_cast<__mmask64>(aboveInHalf(1, b, c, limit)) << 32;
        const __m512i white = _mm512_movm_epi8(mask);
        // The selection of all bytes: the plain form of this intrinsic warns of its own unset operand.
        for (int part = 0; part < 3; ++part)
            _mm512_storeu_si512(
                to + 3 * x + 64 * part,
                _mm512_maskz_permutexvar_epi8(~__mmask64{0}, _mm512_load_si512(kPixelOf[part].pixel), white));
    }
    thresholdPlain(to + 3 * x, from + 3 * x, pixels - x, threshold);
}

void tintAvx512(uint8_t *to, const uint8_t *from, std::size_t pixels, const Tint &tint)
{
    const __m512i share = _mm512_set1_epi16(static_cast<short>(tint.share));
    std::size_t x = 0;
    for (; x + 64 <= pixels; x += 64) {
        const auto [blue, green, red] = loadPixels(from + 3 * x).channel;
        const __m512i largest = _mm512_max_epu8(_mm512_max_epu8(blue, green), red);
        const __m512i smallest = _mm512_min_epu8(_mm512_min_epu8(blue, green), red);
        const __m512i between = _mm512_add_epi8(smallest, shareOf(_mm512_sub_epi8(largest, smallest), share));
        if (tint.largestBlue)
            storePixels(to + 3 * x, {{largest, between, smallest}});
        else
            storePixels(to + 3 * x, {{smallest, between, largest}});
    }
    tintPlain(to + 3 * x, from + 3 * x, pixels - x, tint);
}

void levelColorAvx512(uint8_t *to, const uint8_t *from, std::size_t pixels, const LevelColors &colors)
{
    const Table blueShare(colors.share[0]), greenShare(colors.share[1]), redShare(colors.share[2]);
    const Table blue(colors.channel[0]), green(colors.channel[1]), red(colors.channel[2]);
    std::size_t x = 0;
    for (; x + 64 <= pixels; x += 64) {
        const auto [b, g, r] = loadPixels(from + 3 * x).channel;
        const __m512i level =
            _mm512_add_epi8(_mm512_add_epi8(blueShare.lookUp(b), greenShare.lookUp(g)), redShare.lookUp(r));
        storePixels(to + 3 * x, {{blue.lookUp(level), green.lookUp(level), red.lookUp(level)}});
    }
    levelColorPlain(to + 3 * x, from + 3 * x, pixels - x, colors);
}

} // namespace velmont::kernels
