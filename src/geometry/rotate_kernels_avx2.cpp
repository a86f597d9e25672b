// Compiled for AVX2: only intrinsics and functions of this file, so that nothing shared is compiled for it.
#include "core/simd_avx2.h"
#include "geometry/rotate_kernels.h"
#include <cstring>

namespace velmont::kernels {

namespace {

/// Eight places on a row of the result.
struct Places8 {
    __m256i x, y, stepX, stepY;

    Places8(SamplePlace start, SamplePlace step)
        : x(places(start.x, step.x)), y(places(start.y, step.y)),
          stepX(_mm256_set1_epi32(static_cast<int>(8 * step.x))),
          stepY(_mm256_set1_epi32(static_cast<int>(8 * step.y)))
    {
    }
    void advance()
    {
        x = _mm256_add_epi32(x, stepX);
        y = _mm256_add_epi32(y, stepY);
    }
    /// Bytes from the picture's first pixel to those at the places, below 2^31.
    __m256i offsets(const SampleRows &from, int pixelBytes) const
    {
        const __m256i rows = _mm256_mullo_epi32(_mm256_srli_epi32(y, kPlaceBits),
                                                _mm256_set1_epi32(static_cast<int>(from.stride)));
        const __m256i columns =
            _mm256_mullo_epi32(_mm256_srli_epi32(x, kPlaceBits), _mm256_set1_epi32(pixelBytes));
        return _mm256_add_epi32(rows, columns);
    }
    static __m256i eighths(__m256i place)
    {
        return _mm256_and_si256(_mm256_srli_epi32(place, kPlaceBits - 3), _mm256_set1_epi32(7));
    }

private:
    static __m256i places(uint32_t start, uint32_t step)
    {
        const __m256i numbers = _mm256_setr_epi32(0, 1, 2, 3, 4, 5, 6, 7);
        return _mm256_add_epi32(_mm256_set1_epi32(static_cast<int>(start)),
                                _mm256_mullo_epi32(numbers, _mm256_set1_epi32(static_cast<int>(step))));
    }
};

__m256i gather(const uint8_t *from, __m256i offsets)
{
    return _mm256_i32gather_epi32(reinterpret_cast<const int *>(from), offsets, 1);
}

/// Two pixels and their right neighbours, six bytes in the lower half of each lane.
__m256i loadPairs(const uint8_t *first, const uint8_t *second)
{
    const __m128i a = _mm_loadl_epi64(reinterpret_cast<const __m128i *>(first));
    const __m128i b = _mm_loadl_epi64(reinterpret_cast<const __m128i *>(second));
    return _mm256_inserti128_si256(_mm256_castsi128_si256(a), b, 1);
}

/// The weights of eight pixels: in each 16 bits of a pixel's 32 the same.
struct Weights8 {
    __m256i left, right; ///< words
    __m256i rows;        ///< bytes: upper, lower

    explicit Weights8(const Places8 &places)
    {
        const __m256i eight = _mm256_set1_epi32(8), both = _mm256_set1_epi32(0x10001);
        const __m256i fx = Places8::eighths(places.x), fy = Places8::eighths(places.y);
        left = _mm256_mullo_epi32(_mm256_sub_epi32(eight, fx), both);
        right = _mm256_mullo_epi32(fx, both);
        rows =
            _mm256_mullo_epi32(_mm256_or_si256(_mm256_sub_epi32(eight, fy), _mm256_slli_epi32(fy, 8)), both);
    }
};

/// Two blended pixels as words, three in each lane.
__m256i blendTwo(__m256i upper, __m256i lower, const Weights8 &weights, __m256i which)
{
    const __m256i columns = _mm256_maddubs_epi16(_mm256_unpacklo_epi8(upper, lower),
                                                 _mm256_permutevar8x32_epi32(weights.rows, which));
    const __m256i left = _mm256_mullo_epi16(columns, _mm256_permutevar8x32_epi32(weights.left, which));
    const __m256i right =
        _mm256_mullo_epi16(_mm256_srli_si256(columns, 6), _mm256_permutevar8x32_epi32(weights.right, which));
    const __m256i sum = _mm256_add_epi16(_mm256_add_epi16(left, right), _mm256_set1_epi16(32));
    return _mm256_srli_epi16(sum, 6);
}

/// Stores eight pixels of which `words` holds two a vector.
void storeEight(uint8_t *to, const __m256i (&words)[4])
{
    // Bytes 0 to 2 of a half have a pixel of the first vector, bytes 8 to 10 of the second.
    const __m256i close =
        _mm256_broadcastsi128_si256(_mm_setr_epi8(0, 1, 2, 8, 9, 10, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1));
    const __m256i first = _mm256_shuffle_epi8(_mm256_packus_epi16(words[0], words[1]), close);
    const __m256i second = _mm256_shuffle_epi8(_mm256_packus_epi16(words[2], words[3]), close);
    alignas(16) uint8_t bytes[32];
    const auto put = [&bytes](std::size_t at, __m128i six) {
        _mm_storeu_si128(reinterpret_cast<__m128i *>(bytes + at), six);
    };
    // Lane 0 has pixels 0 and 2 of a group of four, as the callers load them: 0 and 1, 2 and 3 of the result.
    put(0, _mm256_castsi256_si128(first));
    put(6, _mm256_extracti128_si256(first, 1));
    put(12, _mm256_castsi256_si128(second));
    const __m128i last = _mm256_extracti128_si256(second, 1);
    std::memcpy(to, bytes, 18);
    const auto low = static_cast<uint64_t>(_mm_cvtsi128_si64(last));
    std::memcpy(to + 18, &low, 6);
}

} // namespace

void blendBytesAvx2(uint8_t *to, std::size_t count, const SampleRows &from, SamplePlace start,
                    SamplePlace step)
{
    Places8 places(start, step);
    const __m256i eight = _mm256_set1_epi32(8), low = _mm256_set1_epi32(0xFFFF);
    std::size_t i = 0;
    for (; i + 8 <= count; i += 8, places.advance()) {
        const __m256i offsets = places.offsets(from, 1);
        const __m256i upper = gather(from.first, offsets), lower = gather(from.first + from.stride, offsets);
        const __m256i square = _mm256_or_si256(_mm256_and_si256(upper, low), _mm256_slli_epi32(lower, 16));
        const __m256i fx = Places8::eighths(places.x), fy = Places8::eighths(places.y);
        // Bytes: (8 - fx) and fx, times (8 - fy) in the lower and fy in the upper half.
        const __m256i columns = _mm256_or_si256(_mm256_sub_epi32(eight, fx), _mm256_slli_epi32(fx, 8));
        const __m256i rows = _mm256_or_si256(_mm256_sub_epi32(eight, fy), _mm256_slli_epi32(fy, 16));
        const __m256i weights =
            _mm256_mullo_epi16(_mm256_or_si256(columns, _mm256_slli_epi32(columns, 16)), rows);
        const __m256i halves = _mm256_maddubs_epi16(square, weights);
        const __m256i sum =
            _mm256_add_epi32(_mm256_madd_epi16(halves, _mm256_set1_epi16(1)), _mm256_set1_epi32(32));
        const __m256i blended = _mm256_srli_epi32(sum, 6);
        const __m128i words =
            _mm_packus_epi32(_mm256_castsi256_si128(blended), _mm256_extracti128_si256(blended, 1));
        _mm_storel_epi64(reinterpret_cast<__m128i *>(to + i), _mm_packus_epi16(words, words));
    }
    blendBytesPlain(to + i, count - i, from, start.plus(step, static_cast<uint32_t>(i)), step);
}

void blendPixelsAvx2(uint8_t *to, std::size_t count, const SampleRows &from, SamplePlace start,
                     SamplePlace step)
{
    Places8 places(start, step);
    std::size_t i = 0;
    for (; i + 8 <= count; i += 8, places.advance()) {
        alignas(32) uint32_t offsets[8];
        _mm256_store_si256(reinterpret_cast<__m256i *>(offsets), places.offsets(from, 3));
        const Weights8 weights(places);
        __m256i words[4];
        // Pixels 0 and 2, then 1 and 3 of each four, so that neighbours meet in a lane.
        for (int k = 0; k < 4; ++k) {
            const int first = k / 2 * 4 + k % 2, second = first + 2;
            const uint8_t *const a = from.first + offsets[first], *const b = from.first + offsets[second];
            const __m256i which =
                _mm256_setr_epi32(first, first, first, first, second, second, second, second);
            words[k] = blendTwo(loadPairs(a, b), loadPairs(a + from.stride, b + from.stride), weights, which);
        }
        storeEight(to + 3 * i, words);
    }
    blendPixelsPlain(to + 3 * i, count - i, from, start.plus(step, static_cast<uint32_t>(i)), step);
}

} // namespace velmont::kernels
