// Compiled for AVX2: only intrinsics and functions of this file, so that nothing shared is compiled for it.
#include "geometry/bilinear_kernels.h"
#include "geometry/blend_avx2.h"

namespace velmont::kernels {

namespace {

__m128i loadEight(const uint16_t *from)
{
    return _mm_loadu_si128(reinterpret_cast<const __m128i *>(from));
}

__m256i loadNumbers(const void *from)
{
    return _mm256_loadu_si256(static_cast<const __m256i *>(from));
}

} // namespace

void blendRowsAvx2(uint16_t *sums, const uint8_t *upper, const uint8_t *lower, std::size_t count,
                   uint32_t weights)
{
    const __m256i first = _mm256_set1_epi16(static_cast<short>(weights));
    const __m256i second = _mm256_set1_epi16(static_cast<short>(weights >> 16));
    std::size_t i = 0;
    for (; i + 16 <= count; i += 16) {
        const __m256i a = _mm256_mullo_epi16(_mm256_cvtepu8_epi16(loadHalf(upper + i)), first);
        const __m256i b = _mm256_mullo_epi16(_mm256_cvtepu8_epi16(loadHalf(lower + i)), second);
        _mm256_storeu_si256(reinterpret_cast<__m256i *>(sums + i), _mm256_add_epi16(a, b));
    }
    blendRowsPlain(sums + i, upper + i, lower + i, count - i, weights);
}

void blendColumnsOfBytesAvx2(uint8_t *to, const uint16_t *sums, const int32_t *columns,
                             const uint32_t *weights, std::size_t pixels)
{
    // The bytes of eight numbers' lowest, four in each lane.
    const __m256i lowest = _mm256_broadcastsi128_si256(
        _mm_setr_epi8(0, 4, 8, 12, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1));
    std::size_t x = 0;
    for (; x + 8 <= pixels; x += 8) {
        const __m256i pairs =
            _mm256_i32gather_epi32(reinterpret_cast<const int *>(sums), loadNumbers(columns + x), 2);
        // Signed products of what is meant modulo 2^16 differ by multiples of 2^16.
        const __m256i sum =
            _mm256_add_epi32(_mm256_madd_epi16(pairs, loadNumbers(weights + x)), _mm256_set1_epi32(32));
        const __m256i bytes = _mm256_shuffle_epi8(_mm256_srli_epi32(sum, 6), lowest);
        const auto low = static_cast<uint32_t>(_mm256_extract_epi32(bytes, 0));
        const auto high = static_cast<uint32_t>(_mm256_extract_epi32(bytes, 4));
        std::memcpy(to + x, &low, sizeof low);
        std::memcpy(to + x + 4, &high, sizeof high);
    }
    blendColumnsOfBytesPlain(to + x, sums, columns + x, weights + x, pixels - x);
}

void blendColumnsOfPixelsAvx2(uint8_t *to, const uint16_t *sums, const int32_t *columns,
                              const uint32_t *weights, std::size_t pixels)
{
    const __m256i byte = _mm256_set1_epi16(0xFF);
    const __m256i low = _mm256_broadcastsi128_si256(_mm_set1_epi16(0x0100));
    const __m256i high = _mm256_broadcastsi128_si256(_mm_set1_epi16(0x0302));
    std::size_t x = 0;
    for (; x + 8 <= pixels; x += 8) {
        __m256i words[4];
        for (int pair = 0; pair < 4; ++pair) {
            const std::size_t a = x + static_cast<std::size_t>(firstOfPair(pair));
            const std::size_t b = x + static_cast<std::size_t>(secondOfPair(pair));
            const __m256i both = _mm256_inserti128_si256(
                _mm256_castsi128_si256(loadEight(sums + 3 * static_cast<std::size_t>(columns[a]))),
                loadEight(sums + 3 * static_cast<std::size_t>(columns[b])), 1);
            const __m256i of = _mm256_inserti128_si256(
                _mm256_castsi128_si256(_mm_cvtsi32_si128(static_cast<int>(weights[a]))),
                _mm_cvtsi32_si128(static_cast<int>(weights[b])), 1);
            words[pair] = _mm256_and_si256(
                blendNeighbours(both, _mm256_shuffle_epi8(of, low), _mm256_shuffle_epi8(of, high)), byte);
        }
        storeEight(to + 3 * x, words);
    }
    blendColumnsOfPixelsPlain(to + 3 * x, sums, columns + x, weights + x, pixels - x);
}

} // namespace velmont::kernels
