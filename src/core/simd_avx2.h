#pragma once

/// \file
/// Loads and stores for the sources compiled for AVX2 and above; no other source includes it.

#include <cstddef>
#include <cstdint>
#include <immintrin.h>

namespace velmont::kernels {

// Internal linkage: a copy compiled for AVX2 must not be picked by the linker for anybody else.
namespace {

[[maybe_unused]] inline __m256i load(const uint8_t *from)
{
    return _mm256_loadu_si256(reinterpret_cast<const __m256i *>(from));
}

[[maybe_unused]] inline void store(uint8_t *to, __m256i value)
{
    _mm256_storeu_si256(reinterpret_cast<__m256i *>(to), value);
}

/// `to` on a multiple of 32.
[[maybe_unused]] inline void storePastCaches(uint8_t *to, __m256i value)
{
    _mm256_stream_si256(reinterpret_cast<__m256i *>(to), value);
}

/// Bytes up to the next multiple of 32, at most `limit`.
[[maybe_unused]] inline std::size_t bytesToAlignment(const uint8_t *to, std::size_t limit)
{
    const std::size_t bytes = (32 - reinterpret_cast<std::uintptr_t>(to) % 32) % 32;
    return bytes < limit ? bytes : limit;
}

[[maybe_unused]] inline __m128i loadHalf(const uint8_t *from)
{
    return _mm_loadu_si128(reinterpret_cast<const __m128i *>(from));
}

/// Bytes of `ground` + `a` - `b`, held to 0 to 255.
[[maybe_unused]] inline __m256i plusDifference(__m256i ground, __m256i a, __m256i b)
{
    // One of the differences is 0.
    return _mm256_subs_epu8(_mm256_adds_epu8(ground, _mm256_subs_epu8(a, b)), _mm256_subs_epu8(b, a));
}

/// Thirty-two 24-bit pixels, taken apart into a vector for each byte of a pixel. In memory they are two runs
/// of sixteen pixels or 48 bytes; each half of a vector holds what one run has.
struct Pixels {
    __m256i channel[3];
};

/// For each byte of a half the byte of another half that goes there; -1 gives 0.
struct Places {
    alignas(16) int8_t place[16];

    template <typename Place>
    constexpr explicit Places(Place placeOf) : place()
    {
        for (int i = 0; i < 16; ++i) {
            const int chosen = placeOf(i);
            place[i] = static_cast<int8_t>(chosen >= 0 && chosen < 16 ? chosen : -1);
        }
    }
    __m256i from(__m256i bytes) const
    {
        const __m128i half = _mm_load_si128(reinterpret_cast<const __m128i *>(place));
        return _mm256_shuffle_epi8(bytes, _mm256_broadcastsi128_si256(half));
    }
};

/// What a channel of a run has in 16 bytes of it, [channel][part], and the way back.
template <int channel, int part>
constexpr Places kChannelOfPart([](int pixel) { return 3 * pixel + channel - 16 * part; });
template <int channel, int part>
constexpr Places kPartOfChannel([](int i) {
    return (16 * part + i) % 3 == channel ? (16 * part + i) / 3 : -1;
});

template <int channel>
__m256i channelOf(const __m256i (&parts)[3])
{
    return _mm256_or_si256(
        _mm256_or_si256(kChannelOfPart<channel, 0>.from(parts[0]), kChannelOfPart<channel, 1>.from(parts[1])),
        kChannelOfPart<channel, 2>.from(parts[2]));
}

[[maybe_unused]] inline Pixels loadPixels(const uint8_t *from)
{
    __m256i parts[3];
    for (int i = 0; i < 3; ++i)
        parts[i] = _mm256_inserti128_si256(_mm256_castsi128_si256(loadHalf(from + 16 * i)),
                                           loadHalf(from + 48 + 16 * i), 1);
    return {{channelOf<0>(parts), channelOf<1>(parts), channelOf<2>(parts)}};
}

template <int part>
void storePart(uint8_t *to, const Pixels &pixels)
{
    const __m256i bytes = _mm256_or_si256(_mm256_or_si256(kPartOfChannel<0, part>.from(pixels.channel[0]),
                                                          kPartOfChannel<1, part>.from(pixels.channel[1])),
                                          kPartOfChannel<2, part>.from(pixels.channel[2]));
    _mm_storeu_si128(reinterpret_cast<__m128i *>(to + 16 * part), _mm256_castsi256_si128(bytes));
    _mm_storeu_si128(reinterpret_cast<__m128i *>(to + 48 + 16 * part), _mm256_extracti128_si256(bytes, 1));
}

[[maybe_unused]] inline void storePixels(uint8_t *to, const Pixels &pixels)
{
    storePart<0>(to, pixels);
    storePart<1>(to, pixels);
    storePart<2>(to, pixels);
}

} // namespace

} // namespace velmont::kernels
