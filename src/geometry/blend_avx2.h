#pragma once

/// \file
/// Blending of neighbours for the sources compiled for AVX2; no other source includes it.

#include "core/simd_avx2.h"
#include <cstring>

namespace velmont::kernels {

// Internal linkage: a copy compiled for AVX2 must not be picked by the linker for anybody else.
namespace {

/// Words of which each lane has a pixel of three and its right neighbour, blended with weights in 64ths altogether.
[[maybe_unused]] inline __m256i blendNeighbours(__m256i words, __m256i left, __m256i right)
{
    const __m256i sum = _mm256_add_epi16(_mm256_mullo_epi16(words, left),
                                         _mm256_mullo_epi16(_mm256_srli_si256(words, 6), right));
    return _mm256_srli_epi16(_mm256_add_epi16(sum, _mm256_set1_epi16(32)), 6);
}

/// Where pixel k of eight goes among the vectors of storeEight: 0 and 2, 1 and 3, 4 and 6, 5 and 7 share one, so that
/// neighbours meet in a lane as vectors are packed.
constexpr int firstOfPair(int pair)
{
    return pair / 2 * 4 + pair % 2;
}
constexpr int secondOfPair(int pair)
{
    return firstOfPair(pair) + 2;
}

/// Stores eight pixels, 24 bytes. Vector k has pixels firstOfPair(k) and secondOfPair(k) as words from 0 to 255,
/// three at the start of a lane each.
[[maybe_unused]] inline void storeEight(uint8_t *to, const __m256i (&words)[4])
{
    const __m256i close =
        _mm256_broadcastsi128_si256(_mm_setr_epi8(0, 1, 2, 8, 9, 10, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1));
    const __m256i first = _mm256_shuffle_epi8(_mm256_packus_epi16(words[0], words[1]), close);
    const __m256i second = _mm256_shuffle_epi8(_mm256_packus_epi16(words[2], words[3]), close);
    // Eight bytes a pair of pixels, the next pair over the last two; the last pair without them.
    const auto put = [to](std::size_t at, __m128i pair, std::size_t bytes) {
        const auto low = static_cast<uint64_t>(_mm_cvtsi128_si64(pair));
        std::memcpy(to + at, &low, bytes);
    };
    put(0, _mm256_castsi256_si128(first), 8);
    put(6, _mm256_extracti128_si256(first, 1), 8);
    put(12, _mm256_castsi256_si128(second), 8);
    put(18, _mm256_extracti128_si256(second, 1), 6);
}

} // namespace

} // namespace velmont::kernels
