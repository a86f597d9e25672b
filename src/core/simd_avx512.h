#pragma once

/// \file
/// What the sources compiled for AVX-512 share; no other source includes it.

#include <cstdint>
#include <immintrin.h>

namespace velmont::kernels {

// Internal linkage: a copy compiled for AVX-512 must not be picked by the linker for anybody else.
namespace {

/// A table of 256 bytes in four registers.
struct Table {
    __m512i quarter[4];

    explicit Table(const uint8_t *table)
    {
        for (int i = 0; i < 4; ++i)
            quarter[i] = _mm512_loadu_si512(table + 64 * i);
    }
    /// Two lookups of seven bits each; the eighth bit chooses.
    __m512i lookUp(__m512i index) const
    {
        const __m512i low = _mm512_permutex2var_epi8(quarter[0], index, quarter[1]);
        const __m512i high = _mm512_permutex2var_epi8(quarter[2], index, quarter[3]);
        return _mm512_mask_blend_epi8(_mm512_movepi8_mask(index), low, high);
    }
};

/// Places for a selection of bytes out of three vectors. Two steps: the first takes from vectors 0 and 1
/// (places 0 to 127), the second replaces what vector 2 holds (places 64 to 127 of the pair of the first step
/// and vector 2).
struct Selection {
    alignas(64) uint8_t first[64], second[64];

    /// `source(i)` is the place, 0 to 191, of byte i.
    template <typename Source>
    constexpr explicit Selection(Source source) : first(), second()
    {
        for (int i = 0; i < 64; ++i) {
            const int place = source(i);
            first[i] = static_cast<uint8_t>(place < 128 ? place : 0);
            second[i] = static_cast<uint8_t>(place < 128 ? i : place - 128 + 64);
        }
    }
    __m512i from(__m512i a, __m512i b, __m512i c) const
    {
        return _mm512_permutex2var_epi8(_mm512_permutex2var_epi8(a, _mm512_load_si512(first), b),
                                        _mm512_load_si512(second), c);
    }
};

/// Each byte of sixty-four 24-bit pixels by itself.
constexpr Selection kChannel[3] = {Selection([](int i) { return 3 * i; }),
                                   Selection([](int i) { return 3 * i + 1; }),
                                   Selection([](int i) { return 3 * i + 2; })};

/// Where byte k of the pixels comes from: channel k % 3 of pixel k / 3.
constexpr int placeInChannels(int k)
{
    return k % 3 * 64 + k / 3;
}
constexpr Selection kInterleaved[3] = {Selection([](int i) { return placeInChannels(i); }),
                                       Selection([](int i) { return placeInChannels(64 + i); }),
                                       Selection([](int i) { return placeInChannels(128 + i); })};

/// Sixty-four 24-bit pixels, a vector for each byte of a pixel.
struct Pixels {
    __m512i channel[3];
};

[[maybe_unused]] inline Pixels loadPixels(const uint8_t *from)
{
    const __m512i a = _mm512_loadu_si512(from), b = _mm512_loadu_si512(from + 64),
                  c = _mm512_loadu_si512(from + 128);
    return {{kChannel[0].from(a, b, c), kChannel[1].from(a, b, c), kChannel[2].from(a, b, c)}};
}

[[maybe_unused]] inline void storePixels(uint8_t *to, const Pixels &pixels)
{
    const auto [a, b, c] = pixels.channel;
    for (int i = 0; i < 3; ++i)
        _mm512_storeu_si512(to + 64 * i, kInterleaved[i].from(a, b, c));
}

} // namespace

} // namespace velmont::kernels
