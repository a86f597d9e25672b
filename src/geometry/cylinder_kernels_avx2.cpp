// Compiled for AVX2: two pixels at once, the channels of each together.
#include "geometry/cylinder_runs.h"
#include <cstring>
#include <immintrin.h>

namespace velmont {

namespace kernels {

namespace {

/// A pixel and the next, in 8 bytes.
__m128i loadTwo(const uint8_t *from, CylinderColumn column)
{
    return _mm_loadl_epi64(reinterpret_cast<const __m128i *>(from + 3 * std::size_t{column.place}));
}

/// What both pixels weigh.
int32_t weightsOf(CylinderColumn column)
{
    return static_cast<int32_t>(static_cast<uint16_t>(256 - column.fraction) |
                                static_cast<uint32_t>(static_cast<uint16_t>(column.fraction)) << 16);
}

} // namespace

void cylinder24Avx2(uint8_t *to, const uint8_t *from, const CylinderColumn *columns, int width)
{
    // Columns whose 8 bytes reach behind the row are left to the plain loop: places grow with the column.
    int count = width;
    while (count > 0 && 3 * columns[count - 1].place + 8 > 3 * width)
        --count;
    // Blue, green and red of the pixel and of the next one, side by side.
    const __m256i paired =
        _mm256_broadcastsi128_si256(_mm_setr_epi8(0, -1, 3, -1, 1, -1, 4, -1, 2, -1, 5, -1, -1, -1, -1, -1));
    const __m256i lowBytes = _mm256_broadcastsi128_si256(
        _mm_setr_epi8(0, 4, 8, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1));
    int x = 0;
    for (; x + 2 <= count; x += 2) {
        const CylinderColumn first = columns[x], second = columns[x + 1];
        const __m256i pixels = _mm256_shuffle_epi8(
            _mm256_inserti128_si256(_mm256_castsi128_si256(loadTwo(from, first)), loadTwo(from, second), 1),
            paired);
        const __m256i weights = _mm256_inserti128_si256(
            _mm256_castsi128_si256(_mm_set1_epi32(weightsOf(first))), _mm_set1_epi32(weightsOf(second)), 1);
        const __m256i mixed =
            _mm256_shuffle_epi8(_mm256_srai_epi32(_mm256_madd_epi16(pixels, weights), 8), lowBytes);
        const int32_t both[] = {_mm_cvtsi128_si32(_mm256_castsi256_si128(mixed)),
                                _mm_cvtsi128_si32(_mm256_extracti128_si256(mixed, 1))};
        uint8_t *const at = to + 3 * static_cast<std::size_t>(x);
        std::memcpy(at, &both[0], 4); // its last byte is the second pixel's
        std::memcpy(at + 3, &both[1], 3);
    }
    bendColumns<3>(to, from, columns, x, width);
}

} // namespace kernels

} // namespace velmont
