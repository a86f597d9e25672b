// Compiled for AVX2: thirty-two pixels at a time. Sums of bytes are kept as those of the even and of the odd lanes.
#include "core/simd_avx2.h"
#include "filters/smart_kernels.h"

namespace velmont::kernels {

namespace {

constexpr int kLanes = 32;

inline __m256i evenLanes(__m256i bytes)
{
    return _mm256_and_si256(bytes, _mm256_set1_epi16(0xFF));
}
inline __m256i oddLanes(__m256i bytes)
{
    return _mm256_srli_epi16(bytes, 8);
}
inline __m256i fromLanes(__m256i even, __m256i odd)
{
    return _mm256_or_si256(even, _mm256_slli_epi16(odd, 8));
}

/// bytes * times * factor / 2^16, for a factor that is a little more than 2^16 over a small divisor.
inline __m256i weighted(__m256i bytes, int16_t times, int16_t factor)
{
    const auto half = [=](__m256i lanes) {
        return _mm256_mulhi_epu16(_mm256_mullo_epi16(lanes, _mm256_set1_epi16(times)),
                                  _mm256_set1_epi16(factor));
    };
    return fromLanes(half(evenLanes(bytes)), half(oddLanes(bytes)));
}

/// sums / counts in words, up to 65535 each. Exact: quotients of two such numbers that are no whole number lie
/// further below the next one than a float is rounded, as long as the counts are small.
inline __m256i quotients(__m256i sums, __m256i counts)
{
    const __m256i zero = _mm256_setzero_si256();
    const auto divide = [](__m256i sum, __m256i count) {
        return _mm256_cvttps_epi32(_mm256_div_ps(_mm256_cvtepi32_ps(sum), _mm256_cvtepi32_ps(count)));
    };
    return _mm256_packus_epi32(
        divide(_mm256_unpacklo_epi16(sums, zero), _mm256_unpacklo_epi16(counts, zero)),
        divide(_mm256_unpackhi_epi16(sums, zero), _mm256_unpackhi_epi16(counts, zero)));
}

inline __m256i distance(__m256i a, __m256i b)
{
    return _mm256_or_si256(_mm256_subs_epu8(a, b), _mm256_subs_epu8(b, a));
}

/// The samples of a box that is not cut at the sides, as offsets from its pixel.
struct Offsets {
    static constexpr int kMost = 15 * 15;

    std::ptrdiff_t of[kMost];
    int count = 0;

    Offsets(const SmartPlanes &planes, int y, const SmartBox &box)
    {
        for (int dy = -box.back; dy <= box.forward; ++dy) {
            if (y + dy < 0 || y + dy >= planes.height)
                continue;
            for (int64_t dx = int64_t{(y + dy) % box.step} - box.back; dx <= box.forward; dx += box.step)
                of[count++] = dy * std::ptrdiff_t{planes.width} + static_cast<std::ptrdiff_t>(dx);
        }
    }
};

/// The means of the pixels from `at` on in the planes; `old` where no sample counts.
template <bool isPicky>
__m256i meansAt(const SmartPlanes &planes, std::size_t at, const Offsets &offsets, __m256i limit, __m256i old)
{
    const uint8_t *const blue = planes.weights[0] + at, *const green = planes.weights[1] + at,
                         *const red = planes.weights[2] + at, *const gray = planes.gray + at;
    const __m256i ownBlue = load(blue), ownGreen = load(green), ownRed = load(red);
    __m256i even = _mm256_setzero_si256(), odd = even, count = even;
    for (int i = 0; i < offsets.count; ++i) {
        const std::ptrdiff_t offset = offsets.of[i];
        __m256i sample = load(gray + offset);
        if constexpr (isPicky) {
            const __m256i sum = _mm256_add_epi8(_mm256_add_epi8(distance(load(blue + offset), ownBlue),
                                                                distance(load(green + offset), ownGreen)),
                                                distance(load(red + offset), ownRed));
            const __m256i counts = _mm256_cmpeq_epi8(_mm256_min_epu8(sum, limit), sum);
            sample = _mm256_and_si256(sample, counts);
            count = _mm256_sub_epi8(count, counts);
        }
        even = _mm256_add_epi16(even, evenLanes(sample));
        odd = _mm256_add_epi16(odd, oddLanes(sample));
    }
    if constexpr (!isPicky)
        count = _mm256_set1_epi8(static_cast<char>(offsets.count));
    const __m256i means =
        fromLanes(evenLanes(quotients(even, evenLanes(count))), quotients(odd, oddLanes(count)));
    return _mm256_blendv_epi8(means, old, _mm256_cmpeq_epi8(count, _mm256_setzero_si256()));
}

/// The pixels from `first` up to `end`, at least kLanes, whose boxes are not cut at the sides. The last ones may be
/// worked on twice.
template <bool isPicky>
void meansOf(uint8_t *mean, const uint8_t *choices, const SmartPlanes &planes, int y, const SmartBox &box,
             int first, int end)
{
    const Offsets offsets(planes, y, box);
    const __m256i limit = _mm256_set1_epi8(static_cast<char>(box.limit));
    const __m256i choice = _mm256_set1_epi8(static_cast<char>(box.choice));
    for (int next = first; next < end && offsets.count > 0; next += kLanes) {
        const int x = next < end - kLanes ? next : end - kLanes;
        const __m256i chosen = _mm256_cmpeq_epi8(load(choices + x), choice);
        if (_mm256_testz_si256(chosen, chosen))
            continue;
        const __m256i old = load(mean + x);
        const __m256i means = meansAt<isPicky>(planes, planes.at(x, y), offsets, limit, old);
        store(mean + x, _mm256_blendv_epi8(old, means, chosen));
    }
}

} // namespace

void smartSplitAvx2(const SmartPlanes &planes, int y, const uint8_t *from)
{
    int x = 0;
    for (; x + kLanes <= planes.width; x += kLanes) {
        const Pixels pixels = loadPixels(from + 3 * std::ptrdiff_t{x});
        const __m256i blue = weighted(pixels.channel[0], 1, 6554), // a little more than 2^16 / 10
            green = weighted(pixels.channel[1], 3, 13108),         // and than 2^16 / 5
            red = weighted(pixels.channel[2], 3, 6554);
        const std::size_t at = planes.at(x, y);
        store(planes.weights[0] + at, blue);
        store(planes.weights[1] + at, green);
        store(planes.weights[2] + at, red);
        store(planes.gray + at, _mm256_add_epi8(_mm256_add_epi8(blue, green), red));
    }
    smartSplitRange(planes, y, from, x, planes.width);
}

void smartMeansAvx2(uint8_t *mean, const uint8_t *choices, const SmartPlanes &planes, int y,
                    const SmartBox &box)
{
    const int first = box.back, end = planes.width - box.forward;
    if (end - first < kLanes)
        return smartMeansPlain(mean, choices, planes, y, box);
    smartMeansRange(mean, choices, planes, y, box, 0, first);
    if (box.isPicky)
        meansOf<true>(mean, choices, planes, y, box, first, end);
    else
        meansOf<false>(mean, choices, planes, y, box, first, end);
    smartMeansRange(mean, choices, planes, y, box, end, planes.width);
}

void smartShiftAvx2(uint8_t *to, const uint8_t *from, const uint8_t *mean, const uint8_t *gray,
                    std::size_t pixels)
{
    std::size_t x = 0;
    for (; x + kLanes <= pixels; x += kLanes) {
        const __m256i up = _mm256_subs_epu8(load(mean + x), load(gray + x));
        const __m256i down = _mm256_subs_epu8(load(gray + x), load(mean + x));
        Pixels block = loadPixels(from + 3 * x);
        for (__m256i &channel : block.channel)
            channel = _mm256_subs_epu8(_mm256_adds_epu8(channel, up), down);
        storePixels(to + 3 * x, block);
    }
    smartShiftPlain(to + 3 * x, from + 3 * x, mean + x, gray + x, pixels - x);
}

} // namespace velmont::kernels
