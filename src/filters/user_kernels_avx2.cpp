// Compiled for AVX2: only intrinsics and functions of this file, so that nothing shared is compiled for it.
//
// The table's products are rounded one by one, so that their sum is not quite the quotient of the plain sum and the
// divisor: it differs by less than 0.5 to either side for a tap above 0, and by 0 to 1.5 for one below, in steps of
// 2^-18: all in all by -12.5 to 37.5 of these. The quotient of floats below 2^12 adds less than 2^-12. So the quotient
// rounds to the table's level but where it lies within kDoubt of halfway between two levels; such samples are taken
// from the table.
#include "core/simd_avx2.h"
#include "filters/user_kernels.h"

namespace velmont::kernels {

namespace {

constexpr float kDoubt = 1.0F / 2048; // more than 2^-12 + 37.5 / 2^18

/// Two taps side by side for products with pairs of samples.
int pairOf(int32_t first, int32_t second)
{
    return static_cast<int>(static_cast<uint32_t>(first & 0xFFFF) | static_cast<uint32_t>(second) << 16);
}

/// What levels are made of.
struct Levels {
    __m256 divisor, lowest, highest, bias;
    /// Products without a fraction, and quotients no nearer to halfway than these reach: the sum is no less than the
    /// quotient, so that above 0 halfway always rounds up.
    bool areWhole;

    explicit Levels(const UserTaps &taps)
        : divisor(_mm256_set1_ps(static_cast<float>(taps.divisor))),
          lowest(_mm256_set1_ps(static_cast<float>(-taps.bias))),
          highest(_mm256_set1_ps(static_cast<float>(255 - taps.bias))),
          bias(_mm256_set1_ps(static_cast<float>(taps.bias))),
          areWhole(taps.divisor >= -1024 && taps.divisor <= 1024)
    {
        for (int k = 0; k < taps.count; ++k)
            areWhole =
                areWhole && (int64_t{taps.coefficient[k]} << UserTaps::kFractionBits) % taps.divisor == 0;
    }

    /// Eight sums' levels, and in `doubtful` the places of those that are to be taken from the table.
    __m256i of(__m256i sums, int &doubtful) const
    {
        const __m256 quotient = _mm256_div_ps(_mm256_cvtepi32_ps(sums), divisor);
        const __m256 below = _mm256_floor_ps(quotient);
        const __m256 fromHalf = _mm256_sub_ps(_mm256_sub_ps(quotient, below), _mm256_set1_ps(0.5F));
        const __m256 zero = _mm256_setzero_ps();
        const __m256 distance = _mm256_max_ps(fromHalf, _mm256_sub_ps(zero, fromHalf));
        __m256 doubt = _mm256_cmp_ps(distance, _mm256_set1_ps(kDoubt), _CMP_LE_OQ);
        // Where both levels lie outside 0 to 255 it makes no difference which of them it is.
        doubt = _mm256_and_ps(doubt, _mm256_cmp_ps(below, lowest, _CMP_GE_OQ));
        doubt = _mm256_and_ps(doubt, _mm256_cmp_ps(below, highest, _CMP_LT_OQ));
        if (areWhole)
            doubt = _mm256_and_ps(doubt, _mm256_cmp_ps(quotient, zero, _CMP_LT_OQ));
        doubtful = _mm256_movemask_ps(doubt);
        const __m256 roundsUp = _mm256_cmp_ps(fromHalf, zero, _CMP_GE_OQ);
        const __m256 level = _mm256_add_ps(below, _mm256_and_ps(roundsUp, _mm256_set1_ps(1)));
        return _mm256_cvttps_epi32(_mm256_add_ps(level, bias));
    }
};

/// The sample of 32 that unpacking puts into this element of this vector: within lanes, four to a vector.
std::size_t placeOf(int vector, int element)
{
    return static_cast<std::size_t>(16 * (element / 4) + 4 * vector + element % 4);
}

} // namespace

void userFilterAvx2(uint8_t *to, const uint8_t *const *lines, std::size_t bytes, const UserTaps &taps)
{
    const __m256i zero = _mm256_setzero_si256();
    const Levels levels(taps);
    __m256i pairs[(UserTaps::kMost + 1) / 2];
    const int pairCount = (taps.count + 1) / 2;
    for (int k = 0; k < pairCount; ++k)
        pairs[k] = _mm256_set1_epi32(
            pairOf(taps.coefficient[2 * k], 2 * k + 1 < taps.count ? taps.coefficient[2 * k + 1] : 0));
    std::size_t i = 0;
    for (; i + 32 <= bytes; i += 32) {
        __m256i sums[4] = {zero, zero, zero, zero};
        for (int k = 0; k < pairCount; ++k) {
            // An odd count ends with a tap of 0 on any line.
            const __m256i first = load(lines[2 * k] + i);
            const __m256i second = load(lines[2 * k + 1 < taps.count ? 2 * k + 1 : 2 * k] + i);
            const __m256i lower = _mm256_unpacklo_epi8(first, second);
            const __m256i upper = _mm256_unpackhi_epi8(first, second);
            const auto add = [&](__m256i &sum, __m256i samples) {
                sum = _mm256_add_epi32(sum, _mm256_madd_epi16(samples, pairs[k]));
            };
            add(sums[0], _mm256_unpacklo_epi8(lower, zero));
            add(sums[1], _mm256_unpackhi_epi8(lower, zero));
            add(sums[2], _mm256_unpacklo_epi8(upper, zero));
            add(sums[3], _mm256_unpackhi_epi8(upper, zero));
        }
        int doubtful[4];
        for (int vector = 0; vector < 4; ++vector)
            sums[vector] = levels.of(sums[vector], doubtful[vector]);
        store(to + i, _mm256_packus_epi16(_mm256_packs_epi32(sums[0], sums[1]),
                                          _mm256_packs_epi32(sums[2], sums[3])));
        if ((doubtful[0] | doubtful[1] | doubtful[2] | doubtful[3]) != 0)
            for (int vector = 0; vector < 4; ++vector)
                for (int rest = doubtful[vector]; rest != 0; rest &= rest - 1) {
                    const std::size_t at = i + placeOf(vector, __builtin_ctz(static_cast<unsigned>(rest)));
                    to[at] = userSample(lines, at, taps);
                }
    }
    for (; i < bytes; ++i)
        to[i] = userSample(lines, i, taps);
}

} // namespace velmont::kernels
