// Compiled for AVX2. Counts are kept as the largest number less themselves, so that the fullest bin has the smallest
// of them, which the processor finds among eight words in one step.
#include "core/simd_avx2.h"
#include "filters/oil_kernels.h"

namespace velmont::kernels {

namespace {

/// A window of up to 255 samples: a byte for each bin.
class NarrowCounts {
public:
    void add(const uint8_t *column) { left_ = _mm256_sub_epi8(left_, load(column)); }
    void remove(const uint8_t *column) { left_ = _mm256_add_epi8(left_, load(column)); }
    int fullest() const
    {
        const __m128i half = _mm_min_epu8(_mm256_castsi256_si128(left_), _mm256_extracti128_si256(left_, 1));
        // The low byte of each word is the smaller one of both, the high byte 0.
        const __m128i words = _mm_min_epu8(half, _mm_srli_epi16(half, 8));
        const __m256i smallest = _mm256_broadcastb_epi8(_mm_minpos_epu16(words));
        return __builtin_ctz(static_cast<unsigned>(_mm256_movemask_epi8(_mm256_cmpeq_epi8(left_, smallest))));
    }

private:
    __m256i left_ = _mm256_set1_epi8(-1);
};

/// A window of up to 65535 samples: a word for each bin, the lower sixteen bins first.
class WideCounts {
public:
    void add(const uint8_t *column)
    {
        low_ = _mm256_sub_epi16(low_, _mm256_cvtepu8_epi16(loadHalf(column)));
        high_ = _mm256_sub_epi16(high_, _mm256_cvtepu8_epi16(loadHalf(column + 16)));
    }
    void remove(const uint8_t *column)
    {
        low_ = _mm256_add_epi16(low_, _mm256_cvtepu8_epi16(loadHalf(column)));
        high_ = _mm256_add_epi16(high_, _mm256_cvtepu8_epi16(loadHalf(column + 16)));
    }
    int fullest() const
    {
        const __m256i eachHalf = _mm256_min_epu16(low_, high_);
        const __m256i smallest = _mm256_broadcastw_epi16(_mm_minpos_epu16(
            _mm_min_epu16(_mm256_castsi256_si128(eachHalf), _mm256_extracti128_si256(eachHalf, 1))));
        // Packing goes by halves: the four quarters are put back in their order.
        const __m256i found = _mm256_permute4x64_epi64(
            _mm256_packs_epi16(_mm256_cmpeq_epi16(low_, smallest), _mm256_cmpeq_epi16(high_, smallest)),
            0b11'01'10'00);
        return __builtin_ctz(static_cast<unsigned>(_mm256_movemask_epi8(found)));
    }

private:
    __m256i low_ = _mm256_set1_epi16(-1), high_ = _mm256_set1_epi16(-1);
};

template <typename Counts, std::size_t channels>
void oilRowOf(uint8_t *to, const uint8_t *columns, const OilWindows &windows)
{
    const auto last = static_cast<int64_t>(windows.pixels) - 1;
    const auto columnAt = [=](int64_t x) {
        const int64_t inside = x < 0 ? 0 : x > last ? last : x;
        return columns + kOilBins * channels * static_cast<std::size_t>(inside);
    };
    Counts counts[channels];
    for (int i = 0; i < windows.size; ++i)
        for (std::size_t channel = 0; channel < channels; ++channel)
            counts[channel].add(columnAt(i - windows.before) + kOilBins * channel);
    for (int64_t x = 0; x <= last; ++x) {
        const uint8_t *const leaving = columnAt(x - windows.before);
        const uint8_t *const entering = columnAt(x - windows.before + windows.size);
        for (std::size_t channel = 0; channel < channels; ++channel) {
            *to++ = static_cast<uint8_t>(counts[channel].fullest() << kOilBinShift);
            counts[channel].remove(leaving + kOilBins * channel);
            counts[channel].add(entering + kOilBins * channel);
        }
    }
}

template <typename Counts>
void oilRowOf(uint8_t *to, const uint8_t *columns, const OilWindows &windows)
{
    if (windows.channels == 3)
        oilRowOf<Counts, 3>(to, columns, windows);
    else
        oilRowOf<Counts, 1>(to, columns, windows);
}

} // namespace

void oilRowNarrowAvx2(uint8_t *to, const uint8_t *columns, const OilWindows &windows)
{
    oilRowOf<NarrowCounts>(to, columns, windows);
}

void oilRowAvx2(uint8_t *to, const uint8_t *columns, const OilWindows &windows)
{
    oilRowOf<WideCounts>(to, columns, windows);
}

} // namespace velmont::kernels
