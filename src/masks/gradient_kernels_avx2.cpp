#include "core/simd_avx2.h"
#include "masks/gradient_runs.h"

namespace velmont {

namespace kernels {

namespace {

constexpr int kLanes = 8;

LineDistance stepped(const LineDistance &at, const LineDistance &step, int64_t length)
{
    const int64_t rest = at.rest + step.rest;
    const bool carries = rest >= length;
    return {at.whole + step.whole + (carries ? 1 : 0), carries ? rest - length : rest};
}

/// Eight pixels beside each other, each stepping over eight at a time.
void linePlacesAvx2(int32_t *places, std::size_t count, const LineRun &run)
{
    constexpr int64_t kLongest = int64_t{1} << 30; // sums of two rests fit 32 bits
    if (run.length >= kLongest || count < 2 * kLanes)
        return linePlaces(places, count, run);
    alignas(32) int32_t wholes[kLanes], rests[kLanes];
    LineDistance at = run.start, step{0, 0};
    for (int lane = 0; lane < kLanes; ++lane) {
        wholes[lane] = static_cast<int32_t>(at.whole);
        rests[lane] = static_cast<int32_t>(at.rest);
        at = stepped(at, run.step, run.length);
        step = stepped(step, run.step, run.length);
    }
    const auto vectorOf = [](const int32_t *lanes) {
        return _mm256_load_si256(reinterpret_cast<const __m256i *>(lanes));
    };
    __m256i whole = vectorOf(wholes), rest = vectorOf(rests);
    const __m256i wholeStep = _mm256_set1_epi32(static_cast<int32_t>(step.whole)),
                  restStep = _mm256_set1_epi32(static_cast<int32_t>(step.rest)),
                  length = _mm256_set1_epi32(static_cast<int32_t>(run.length)),
                  lastRest = _mm256_set1_epi32(static_cast<int32_t>(run.length - 1));
    std::size_t i = 0;
    for (; i + kLanes <= count; i += kLanes) {
        _mm256_storeu_si256(reinterpret_cast<__m256i *>(places + i), whole);
        rest = _mm256_add_epi32(rest, restStep);
        const __m256i carries = _mm256_cmpgt_epi32(rest, lastRest); // -1 where it does
        rest = _mm256_sub_epi32(rest, _mm256_and_si256(carries, length));
        whole = _mm256_sub_epi32(_mm256_add_epi32(whole, wholeStep), carries);
    }
    _mm256_store_si256(reinterpret_cast<__m256i *>(wholes), whole);
    std::copy_n(wholes, count - i, places + i);
}

void roundPlacesAvx2(int32_t *places, std::size_t count, const RoundRun &run)
{
    const __m256d rowPart = _mm256_set1_pd(run.rowPart), half = _mm256_set1_pd(0.5),
                  last = _mm256_set1_pd(run.last), first = _mm256_set1_pd(run.first);
    std::size_t i = 0;
    for (; i + 4 <= count; i += 4) {
        const __m256d sum = _mm256_add_pd(_mm256_loadu_pd(run.columnParts + i), rowPart);
        const __m256d distance = _mm256_min_pd(_mm256_add_pd(_mm256_sqrt_pd(sum), half), last);
        _mm_storeu_si128(reinterpret_cast<__m128i *>(places + i),
                         _mm256_cvttpd_epi32(_mm256_sub_pd(distance, first)));
    }
    RoundRun remaining = run;
    remaining.columnParts += i;
    roundPlaces(places + i, count - i, remaining);
}

/// A mean of two bytes in hundredths; the product's upper half times 8 is the quotient up to 43698.
__m256i hundredths(__m256i from, __m256i gradient, __m256i source, __m256i rest)
{
    const __m256i sum =
        _mm256_add_epi16(_mm256_mullo_epi16(from, source), _mm256_mullo_epi16(gradient, rest));
    return _mm256_srli_epi16(_mm256_mulhi_epu16(sum, _mm256_set1_epi16(5243)), 3);
}

void mixBytesAvx2(uint8_t *to, const uint8_t *from, const uint8_t *gradient, std::size_t bytes,
                  MixShares shares)
{
    std::size_t i = 0;
    if (shares.isMean()) {
        const __m256i zero = _mm256_setzero_si256();
        const __m256i source = _mm256_set1_epi16(static_cast<int16_t>(shares.source)),
                      rest = _mm256_set1_epi16(static_cast<int16_t>(shares.gradient));
        for (; i + 32 <= bytes; i += 32) {
            const __m256i a = load(from + i), b = load(gradient + i);
            const __m256i low =
                hundredths(_mm256_unpacklo_epi8(a, zero), _mm256_unpacklo_epi8(b, zero), source, rest);
            const __m256i high =
                hundredths(_mm256_unpackhi_epi8(a, zero), _mm256_unpackhi_epi8(b, zero), source, rest);
            store(to + i, _mm256_packus_epi16(low, high));
        }
    }
    mixBytes(to + i, from + i, gradient + i, bytes - i, shares);
}

} // namespace

GradientKernels gradientAvx2()
{
    return {linePlacesAvx2, roundPlacesAvx2, colorsAt, levelsAt, mixBytesAvx2};
}

} // namespace kernels

} // namespace velmont
