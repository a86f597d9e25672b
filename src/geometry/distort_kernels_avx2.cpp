// Compiled for AVX2: four places at once, and the channels of a 24-bit pixel or eight gray pixels together.
#include "geometry/distort_kernels.h"
#include <cstring>
#include <immintrin.h>

namespace velmont {

namespace kernels {

namespace {

void store(int32_t *to, __m128i value)
{
    _mm_store_si128(reinterpret_cast<__m128i *>(to), value);
}

/// 8 * (whole + 1) - 8 * place + 0.5, truncated.
__m128i weightOf(__m128i whole, __m256d place)
{
    const __m256d eight = _mm256_set1_pd(8);
    const __m256d next = _mm256_add_pd(_mm256_cvtepi32_pd(whole), _mm256_set1_pd(1));
    const __m256d left = _mm256_sub_pd(_mm256_mul_pd(eight, next), _mm256_mul_pd(eight, place));
    return _mm256_cvttpd_epi32(_mm256_add_pd(left, _mm256_set1_pd(0.5)));
}

/// All ones where 0 <= value < size.
__m128i isWithin(__m128i value, __m128i size)
{
    return _mm_andnot_si128(_mm_cmpgt_epi32(_mm_setzero_si128(), value), _mm_cmpgt_epi32(size, value));
}

/// What is not a number of 32 bits is truncated to the lowest there is, which lies outside.
void places4(DistortPlaces &places, const DistortMap &map, int32_t u, int32_t v, int count)
{
    const __m128i lanes = _mm_setr_epi32(0, 1, 2, 3);
    __m128i us = _mm_add_epi32(_mm_set1_epi32(u), _mm_mullo_epi32(lanes, _mm_set1_epi32(map.uStep)));
    __m128i vs = _mm_add_epi32(_mm_set1_epi32(v), _mm_mullo_epi32(lanes, _mm_set1_epi32(map.vStep)));
    const __m128i uStep = _mm_slli_epi32(_mm_set1_epi32(map.uStep), 2),
                  vStep = _mm_slli_epi32(_mm_set1_epi32(map.vStep), 2);
    const __m256d x0 = _mm256_set1_pd(map.x0), xu = _mm256_set1_pd(map.xu), y0 = _mm256_set1_pd(map.y0),
                  yv = _mm256_set1_pd(map.yv), half = _mm256_set1_pd(0.5);
    const __m128i width = _mm_set1_epi32(map.width), height = _mm_set1_epi32(map.height);
    for (int i = 0; i < count; i += 4) { // the arrays have room for what is too much
        const __m256d ui = _mm256_cvtepi32_pd(us), vi = _mm256_cvtepi32_pd(vs);
        const __m256d x = _mm256_add_pd(_mm256_mul_pd(_mm256_add_pd(x0, _mm256_mul_pd(ui, xu)), vi), half);
        const __m256d y = _mm256_add_pd(_mm256_mul_pd(_mm256_add_pd(y0, _mm256_mul_pd(vi, yv)), ui), half);
        const __m128i column = _mm256_cvttpd_epi32(x), row = _mm256_cvttpd_epi32(y);
        const __m128i inside = _mm_and_si128(isWithin(column, width), isWithin(row, height));
        store(places.column + i, _mm_or_si128(column, _mm_xor_si128(inside, _mm_set1_epi32(-1))));
        store(places.row + i, row);
        // Outside they are 0, so that they still add up to 8.
        store(places.columnWeight + i, _mm_and_si128(inside, weightOf(column, x)));
        store(places.rowWeight + i, _mm_and_si128(inside, weightOf(row, y)));
        us = _mm_add_epi32(us, uStep);
        vs = _mm_add_epi32(vs, vStep);
    }
}

/// The weights as the products take them, a pixel in 32 bits.
struct Weights {
    alignas(32) int32_t across[kDistortRun]; ///< a byte for each column, the same for both rows
    alignas(32) int32_t down[kDistortRun];   ///< 16 bits for each row

    Weights(const DistortPlaces &places, int count)
    {
        const __m256i eight = _mm256_set1_epi32(8), byte = _mm256_set1_epi32(0xFF),
                      word = _mm256_set1_epi32(0xFFFF);
        for (int i = 0; i < count; i += 8) {
            const __m256i left = loadInts(places.columnWeight + i), lower = loadInts(places.rowWeight + i);
            const __m256i right = _mm256_and_si256(_mm256_sub_epi32(eight, left), byte);
            const __m256i pair = _mm256_or_si256(left, _mm256_slli_epi32(right, 8));
            storeInts(across + i, _mm256_or_si256(pair, _mm256_slli_epi32(pair, 16)));
            const __m256i upper = _mm256_sub_epi32(eight, lower);
            storeInts(down + i, _mm256_or_si256(_mm256_and_si256(lower, word), _mm256_slli_epi32(upper, 16)));
        }
    }

    static __m256i loadInts(const int32_t *from)
    {
        return _mm256_load_si256(reinterpret_cast<const __m256i *>(from));
    }
    static void storeInts(int32_t *to, __m256i value)
    {
        _mm256_store_si256(reinterpret_cast<__m256i *>(to), value);
    }
};

/// Where a pixel comes from, and whether it is copied: there is no next column or row.
struct Spot {
    const uint8_t *here;
    bool isCopied;

    Spot(const DistortSource &source, int32_t column, int32_t row, std::size_t channels)
        : here(source.rows + source.stride * static_cast<std::size_t>(row) +
               channels * static_cast<std::size_t>(column)),
          isCopied(column == source.width - 1 || row == source.height - 1)
    {
    }
};

/// A pixel, the next, and those below them.
uint32_t blendFour(const uint8_t *here, std::size_t stride, int32_t across, int32_t down)
{
    // Two bytes more than the upper pixels are read behind them, and before the lower ones: both lie in the image.
    const __m128i upper = _mm_loadl_epi64(reinterpret_cast<const __m128i *>(here));
    const __m128i lower = _mm_loadl_epi64(reinterpret_cast<const __m128i *>(here + stride - 2));
    const __m128i channels =
        _mm_shuffle_epi8(_mm_unpacklo_epi64(upper, lower),
                         _mm_setr_epi8(0, 3, 10, 13, 1, 4, 11, 14, 2, 5, 12, 15, -1, -1, -1, -1));
    const __m128i rows = _mm_maddubs_epi16(channels, _mm_set1_epi32(across));
    const __m128i sums = _mm_srli_epi32(_mm_madd_epi16(rows, _mm_set1_epi32(down)), 6);
    const __m128i bytes =
        _mm_shuffle_epi8(sums, _mm_setr_epi8(0, 4, 8, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1));
    return static_cast<uint32_t>(_mm_cvtsi128_si32(bytes));
}

void blendPixels(uint8_t *to, const DistortSource &source, const DistortPlaces &places, int count,
                 uint32_t background)
{
    const Weights weights(places, count);
    const DistortSource image = source;
    for (int i = 0; i < count; ++i, to += 3) {
        if (places.column[i] < 0) {
            std::memcpy(to, &background, 3);
            continue;
        }
        const Spot spot(image, places.column[i], places.row[i], 3);
        if (spot.isCopied) {
            std::memcpy(to, spot.here, 3);
            continue;
        }
        const uint32_t pixel = blendFour(spot.here, image.stride, weights.across[i], weights.down[i]);
        std::memcpy(to, &pixel, 3);
    }
}

/// The four bytes that a gray pixel is blended of; four times the same where it is not blended, as the weights add up
/// to 64.
uint32_t grayFour(const DistortSource &source, int32_t column, int32_t row, uint32_t background)
{
    constexpr uint32_t kFourTimes = 0x01010101;
    if (column < 0)
        return (background & 0xFF) * kFourTimes;
    const Spot spot(source, column, row, 1);
    if (spot.isCopied)
        return *spot.here * kFourTimes;
    uint16_t upper, lower;
    std::memcpy(&upper, spot.here, 2);
    std::memcpy(&lower, spot.here + source.stride, 2);
    return upper | uint32_t{lower} << 16;
}

void blendGrays(uint8_t *to, const DistortSource &source, const DistortPlaces &places, int count,
                uint32_t background)
{
    const Weights weights(places, count);
    const DistortSource image = source;
    alignas(32) int32_t fours[kDistortRun];
    alignas(8) uint8_t grays[8];
    for (int i = 0; i < count; ++i)
        fours[i] = static_cast<int32_t>(grayFour(image, places.column[i], places.row[i], background));
    const __m256i lowBytes = _mm256_broadcastsi128_si256(
        _mm_setr_epi8(0, 4, 8, 12, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1));
    for (int i = 0; i < count; i += 8) {
        const __m256i rows =
            _mm256_maddubs_epi16(Weights::loadInts(fours + i), Weights::loadInts(weights.across + i));
        const __m256i sums =
            _mm256_srli_epi32(_mm256_madd_epi16(rows, Weights::loadInts(weights.down + i)), 6);
        const __m256i bytes = _mm256_shuffle_epi8(sums, lowBytes);
        const __m128i both =
            _mm_unpacklo_epi32(_mm256_castsi256_si128(bytes), _mm256_extracti128_si256(bytes, 1));
        _mm_storel_epi64(reinterpret_cast<__m128i *>(grays), both);
        std::memcpy(to + i, grays, static_cast<std::size_t>(count - i < 8 ? count - i : 8));
    }
}

} // namespace

DistortKernels distortAvx2()
{
    return {places4, blendPixels, blendGrays};
}

} // namespace kernels

} // namespace velmont
