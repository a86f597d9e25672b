// Compiled for AVX2: only intrinsics and functions of this file, so that nothing shared is compiled for it.
#include "core/simd_avx2.h"
#include "masks/composite_kernels.h"

namespace velmont::kernels {

namespace {

constexpr std::size_t kPixels = 32; ///< at a time

/// The mean of bytes and of others weighted by alpha, of which each lane's low or high half is given twice over.
__m256i blendWords(__m256i sourceAndDestination, __m256i weights)
{
    // Samples less 128 are signed bytes, and the sum of the products stays within a signed word:
    // source * alpha + destination * (255 - alpha) - 128 * 255.
    const __m256i centred = _mm256_xor_si256(sourceAndDestination, _mm256_set1_epi8(-128));
    const __m256i sum = _mm256_maddubs_epi16(weights, centred);
    // t = sum + 128 * 255 + 127 is below 65535, where t / 255 = (t + 1 + (t >> 8)) >> 8.
    const __m256i next = _mm256_add_epi16(sum, _mm256_set1_epi16(-32768)); // t + 1
    const __m256i t = _mm256_sub_epi16(next, _mm256_set1_epi16(1));
    return _mm256_srli_epi16(_mm256_add_epi16(next, _mm256_srli_epi16(t, 8)), 8);
}

template <AlphaUse use>
__m256i composed(__m256i source, __m256i destination, __m256i alpha)
{
    if constexpr (use == AlphaUse::Stamp) {
        return _mm256_blendv_epi8(source, destination, _mm256_cmpeq_epi8(alpha, _mm256_setzero_si256()));
    } else {
        const __m256i rest = _mm256_xor_si256(alpha, _mm256_set1_epi8(-1));
        return _mm256_packus_epi16(
            blendWords(_mm256_unpacklo_epi8(source, destination), _mm256_unpacklo_epi8(alpha, rest)),
            blendWords(_mm256_unpackhi_epi8(source, destination), _mm256_unpackhi_epi8(alpha, rest)));
    }
}

/// Whether all pixels are those of the source.
template <AlphaUse use>
bool isWhole(__m256i alpha)
{
    if constexpr (use == AlphaUse::Stamp)
        return _mm256_testz_si256(_mm256_cmpeq_epi8(alpha, _mm256_setzero_si256()), _mm256_set1_epi8(-1));
    else
        return _mm256_testc_si256(alpha, _mm256_set1_epi8(-1));
}

/// The pixel of 16 that each of 48 bytes belongs to.
struct PixelOfByte {
    alignas(16) uint8_t pixel[48];

    constexpr PixelOfByte() : pixel()
    {
        for (int i = 0; i < 48; ++i)
            pixel[i] = static_cast<uint8_t>(i / 3);
    }
    __m128i part(int i) const { return _mm_load_si128(reinterpret_cast<const __m128i *>(pixel + 16 * i)); }
};
constexpr PixelOfByte kPixelOfByte;

/// The alpha of each byte of the pixels.
template <int channels>
struct Spread {
    __m256i bytes[channels];

    explicit Spread(__m256i alpha)
    {
        if constexpr (channels == 1) {
            bytes[0] = alpha;
        } else {
            const __m128i first = kPixelOfByte.part(0), second = kPixelOfByte.part(1),
                          third = kPixelOfByte.part(2);
            const __m256i low = _mm256_permute2x128_si256(alpha, alpha, 0x00);
            const __m256i high = _mm256_permute2x128_si256(alpha, alpha, 0x11);
            bytes[0] = _mm256_shuffle_epi8(low, _mm256_set_m128i(second, first));
            bytes[1] = _mm256_shuffle_epi8(alpha, _mm256_set_m128i(first, third));
            bytes[2] = _mm256_shuffle_epi8(high, _mm256_set_m128i(third, second));
        }
    }
};

/// Masks are mostly empty or full: vectors of such alphas are passed over or copied.
template <int channels, AlphaUse use>
void composite(uint8_t *to, const uint8_t *from, const uint8_t *alpha, std::size_t pixels, uint8_t flip)
{
    const __m256i flips = _mm256_set1_epi8(static_cast<char>(flip));
    for (; pixels >= kPixels; pixels -= kPixels) {
        const __m256i a = _mm256_xor_si256(load(alpha), flips);
        if (isWhole<use>(a)) {
            for (int i = 0; i < channels; ++i)
                store(to + 32 * i, load(from + 32 * i));
        } else if (!_mm256_testz_si256(a, a)) {
            const Spread<channels> spread(a);
            for (int i = 0; i < channels; ++i)
                store(to + 32 * i, composed<use>(load(from + 32 * i), load(to + 32 * i), spread.bytes[i]));
        }
        to += kPixels * channels;
        from += kPixels * channels;
        alpha += kPixels;
    }
    compositePlain(channels, use)(to, from, alpha, pixels, flip);
}

} // namespace

CompositeRow compositeAvx2(int channels, AlphaUse use)
{
    if (use == AlphaUse::Blend)
        return channels == 1 ? composite<1, AlphaUse::Blend> : composite<3, AlphaUse::Blend>;
    return channels == 1 ? composite<1, AlphaUse::Stamp> : composite<3, AlphaUse::Stamp>;
}

} // namespace velmont::kernels
