// Compiled for AVX2: only intrinsics and functions of this file, so that nothing shared is compiled for it. The ends
// of rows are left to the plain versions.
#include "core/simd_avx2.h"
#include "filters/relief_kernels.h"

namespace velmont::kernels {

namespace {

/// Bytes of 32 pixels.
constexpr std::size_t kPixelRun = 96;

RowsAbout movedBy(const RowsAbout &rows, std::size_t bytes)
{
    return {rows.previous + bytes, rows.current + bytes, rows.next + bytes, rows.step};
}

void relief(uint8_t *to, const uint8_t *ground, const uint8_t *plus, const uint8_t *minus, std::size_t bytes)
{
    std::size_t i = 0;
    for (; i + 32 <= bytes; i += 32)
        store(to + i, plusDifference(load(ground + i), load(plus + i), load(minus + i)));
    reliefPlain().relief(to + i, ground + i, plus + i, minus + i, bytes - i);
}

/// Sums of 32 pixels' channels, in the two vectors that unpacking makes.
struct ChannelSums {
    __m256i lower, upper;

    explicit ChannelSums(const Pixels &pixels)
    {
        const __m256i zero = _mm256_setzero_si256();
        const auto sum = [&](auto unpack) {
            return _mm256_add_epi16(
                _mm256_add_epi16(unpack(pixels.channel[0], zero), unpack(pixels.channel[1], zero)),
                unpack(pixels.channel[2], zero));
        };
        lower = sum([](__m256i a, __m256i b) { return _mm256_unpacklo_epi8(a, b); });
        upper = sum([](__m256i a, __m256i b) { return _mm256_unpackhi_epi8(a, b); });
    }
};

/// A third of -765 to 765, rounded toward zero.
__m256i third(__m256i sums)
{
    const __m256i down = _mm256_mulhi_epi16(sums, _mm256_set1_epi16(21846));
    return _mm256_sub_epi16(down, _mm256_srai_epi16(sums, 15));
}

void meanRelief(uint8_t *to, const uint8_t *ground, const uint8_t *plus, const uint8_t *minus,
                std::size_t bytes)
{
    const __m256i zero = _mm256_setzero_si256();
    std::size_t i = 0;
    for (; i + kPixelRun <= bytes; i += kPixelRun) {
        const ChannelSums more(loadPixels(plus + i)), less(loadPixels(minus + i));
        const __m256i lower = third(_mm256_sub_epi16(more.lower, less.lower));
        const __m256i upper = third(_mm256_sub_epi16(more.upper, less.upper));
        const __m256i gain = _mm256_packus_epi16(lower, upper);
        const __m256i loss =
            _mm256_packus_epi16(_mm256_sub_epi16(zero, lower), _mm256_sub_epi16(zero, upper));
        Pixels pixels = loadPixels(ground + i);
        for (__m256i &channel : pixels.channel)
            channel = _mm256_subs_epu8(_mm256_adds_epu8(channel, gain), loss);
        storePixels(to + i, pixels);
    }
    reliefPlain().meanRelief(to + i, ground + i, plus + i, minus + i, bytes - i);
}

void contour(uint8_t *to, const RowsAbout &rows, const uint8_t *limits, std::size_t bytes)
{
    // a <= b where the smaller of them is a.
    const auto isUpTo = [](__m256i a, __m256i b) { return _mm256_cmpeq_epi8(_mm256_min_epu8(a, b), a); };
    std::size_t i = 0;
    for (; i + 32 <= bytes; i += 32) {
        const uint8_t *const here = rows.current + i;
        const __m256i limit = load(limits + i);
        const __m256i darkest =
            _mm256_min_epu8(_mm256_min_epu8(load(here - rows.step), load(here + rows.step)),
                            _mm256_min_epu8(load(rows.previous + i), load(rows.next + i)));
        store(to + i, _mm256_andnot_si256(isUpTo(load(here), limit), isUpTo(darkest, limit)));
    }
    reliefPlain().contour(to + i, movedBy(rows, i), limits + i, bytes - i);
}

/// Sixteen samples, widened.
__m256i samples(const uint8_t *from)
{
    return _mm256_cvtepu8_epi16(loadHalf(from));
}

/// Both slopes of sixteen samples.
__m256i sixteenSlopes(const RowsAbout &rows, std::size_t i)
{
    const auto twice = [](__m256i value) { return _mm256_slli_epi16(value, 1); };
    const auto plus = [](__m256i a, __m256i b) { return _mm256_add_epi16(a, b); };
    const auto minus = [](__m256i a, __m256i b) { return _mm256_sub_epi16(a, b); };
    const uint8_t *const previous = rows.previous + i, *const current = rows.current + i,
                         *const next = rows.next + i;
    // Both slopes have the same two diagonals: once added and once taken away.
    const __m256i falling = minus(samples(next + rows.step), samples(previous - rows.step));
    const __m256i rising = minus(samples(previous + rows.step), samples(next - rows.step));
    const __m256i down = plus(twice(minus(samples(next), samples(previous))), minus(falling, rising));
    const __m256i across =
        plus(twice(minus(samples(current + rows.step), samples(current - rows.step))), plus(falling, rising));
    return plus(_mm256_abs_epi16(across), _mm256_min_epi16(_mm256_abs_epi16(down), _mm256_set1_epi16(255)));
}

/// Both slopes of 32 samples, held to 255.
__m256i slopes(const RowsAbout &rows, std::size_t i)
{
    const __m256i packed = _mm256_packus_epi16(sixteenSlopes(rows, i), sixteenSlopes(rows, i + 16));
    return _mm256_permute4x64_epi64(packed, 0b11011000);
}

struct Drawing {
    __m256i threshold, ground;

    explicit Drawing(Pencil pencil)
        : threshold(_mm256_set1_epi8(static_cast<char>(pencil.threshold))),
          ground(_mm256_set1_epi8(static_cast<char>(pencil.ground)))
    {
    }
    __m256i of(__m256i slopes) const
    {
        const __m256i counts = _mm256_cmpeq_epi8(_mm256_max_epu8(slopes, threshold), slopes);
        return _mm256_xor_si256(_mm256_and_si256(slopes, counts), ground);
    }
};

void sketch(uint8_t *to, const RowsAbout &rows, Pencil pencil, std::size_t bytes)
{
    const Drawing drawing(pencil);
    std::size_t i = 0;
    for (; i + 32 <= bytes; i += 32)
        store(to + i, drawing.of(slopes(rows, i)));
    reliefPlain().sketch(to + i, movedBy(rows, i), pencil, bytes - i);
}

void meanSketch(uint8_t *to, const RowsAbout &rows, Pencil pencil, std::size_t bytes)
{
    const Drawing drawing(pencil);
    std::size_t i = 0;
    for (; i + kPixelRun <= bytes; i += kPixelRun) {
        uint8_t run[kPixelRun];
        for (std::size_t part = 0; part < kPixelRun; part += 32)
            store(run + part, slopes(rows, i + part));
        const ChannelSums sums(loadPixels(run));
        const __m256i mean = drawing.of(_mm256_packus_epi16(third(sums.lower), third(sums.upper)));
        storePixels(to + i, {{mean, mean, mean}});
    }
    reliefPlain().meanSketch(to + i, movedBy(rows, i), pencil, bytes - i);
}

} // namespace

ReliefKernels reliefAvx2()
{
    return {relief, meanRelief, contour, sketch, meanSketch};
}

} // namespace velmont::kernels
