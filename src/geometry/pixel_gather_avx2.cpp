#include "geometry/pixel_gather.h"
#include <cstring>
#include <immintrin.h>

namespace velmont::kernels {

namespace {

/// Eight pixels of a run, each in the four bytes that end with it.
__m256i pixelsFrom(const PixelRows &from, const PixelPlaces &places, std::size_t i, int pixelBytes)
{
    const __m256i row = _mm256_loadu_si256(reinterpret_cast<const __m256i *>(&places.row[i]));
    const __m256i column = _mm256_loadu_si256(reinterpret_cast<const __m256i *>(&places.column[i]));
    const __m256i stride = _mm256_set1_epi32(static_cast<int>(from.stride));
    const __m256i inRow = _mm256_mullo_epi32(column, _mm256_set1_epi32(pixelBytes));
    const __m256i place = _mm256_add_epi32(_mm256_mullo_epi32(row, stride), inRow);
    // Gathers take signed places: they are counted from the middle of what 32 bits reach.
    const __m256i middle = _mm256_set1_epi32(INT32_MIN);
    const auto *const base =
        reinterpret_cast<const int *>(reinterpret_cast<std::uintptr_t>(from.first) +
                                      (std::uintptr_t{1} << 31) - static_cast<unsigned>(4 - pixelBytes));
    return _mm256_i32gather_epi32(base, _mm256_xor_si256(place, middle), 1);
}

} // namespace

void gatherTriplesAvx2(uint8_t *to, const PixelRows &from, const PixelPlaces &places, std::size_t count)
{
    const __m256i packed = _mm256_setr_epi8(1, 2, 3, 5, 6, 7, 9, 10, 11, 13, 14, 15, -1, -1, -1, -1, //
                                            1, 2, 3, 5, 6, 7, 9, 10, 11, 13, 14, 15, -1, -1, -1, -1);
    const __m256i together = _mm256_setr_epi32(0, 1, 2, 4, 5, 6, 7, 7);
    const __m256i whole = _mm256_setr_epi32(-1, -1, -1, -1, -1, -1, 0, 0);
    std::size_t i = 0;
    for (; i + 8 <= count; i += 8) {
        const __m256i pixels = _mm256_shuffle_epi8(pixelsFrom(from, places, i, 3), packed);
        _mm256_maskstore_epi32(reinterpret_cast<int *>(to + 3 * i), whole,
                               _mm256_permutevar8x32_epi32(pixels, together));
    }
    for (; i < count; ++i)
        std::memcpy(to + 3 * i,
                    from.first + static_cast<std::size_t>(places.row[i]) * from.stride +
                        static_cast<std::size_t>(places.column[i]) * 3,
                    3);
}

void gatherBytesAvx2(uint8_t *to, const PixelRows &from, const PixelPlaces &places, std::size_t count)
{
    const __m256i packed = _mm256_setr_epi8(3, 7, 11, 15, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, //
                                            3, 7, 11, 15, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1);
    std::size_t i = 0;
    for (; i + 8 <= count; i += 8) {
        const __m256i pixels = _mm256_shuffle_epi8(pixelsFrom(from, places, i, 1), packed);
        const __m128i eight =
            _mm_unpacklo_epi32(_mm256_castsi256_si128(pixels), _mm256_extracti128_si256(pixels, 1));
        _mm_storel_epi64(reinterpret_cast<__m128i *>(to + i), eight);
    }
    for (; i < count; ++i)
        to[i] = from.first[static_cast<std::size_t>(places.row[i]) * from.stride +
                           static_cast<std::size_t>(places.column[i])];
}

} // namespace velmont::kernels
