#include "geometry/zig_zag_kernels.h"
#include <immintrin.h>

namespace velmont::kernels {

namespace {

__m256d all(double value)
{
    return _mm256_set1_pd(value);
}

/// Sine and cosine of up to 1000 radians, each within 2^-50. Reduced to an eighth of a turn either way; the polynomials
/// are the usual minimax ones.
void findSineAndCosine(__m256d angle, __m256d &sine, __m256d &cosine)
{
    const __m256d quarters =
        _mm256_round_pd(angle * all(0.63661977236758134308), _MM_FROUND_TO_NEAREST_INT | _MM_FROUND_NO_EXC);
    // A quarter of a turn in two parts, the first of few enough bits for its product to be exact.
    const __m256d r =
        angle - quarters * all(1.57079632673412561417) - quarters * all(6.07710050650619224932e-11);
    const __m256d z = r * r;
    const __m256d s =
        r +
        r * z *
            (all(-1.66666666666666324348e-01) +
             z * (all(8.33333333332248946124e-03) +
                  z * (all(-1.98412698298579493134e-04) +
                       z * (all(2.75573137070700676789e-06) +
                            z * (all(-2.50507602534068634195e-08) + z * all(1.58969099521155010221e-10))))));
    const __m256d c =
        all(1) - z * all(0.5) +
        z * z *
            (all(4.16666666666666019037e-02) +
             z * (all(-1.38888888888741095749e-03) +
                  z * (all(2.48015872894767294178e-05) +
                       z * (all(-2.75573143513906633035e-07) +
                            z * (all(2.08757232129817482790e-09) + z * all(-1.13596475577881948265e-11))))));
    // By quarters the two change places and signs.
    const __m256i quarter = _mm256_cvtepi32_epi64(_mm256_cvtpd_epi32(quarters));
    const __m256d swapped = _mm256_castsi256_pd(_mm256_slli_epi64(quarter, 63));
    const __m256i two = _mm256_set1_epi64x(2);
    const __m256i sineSign = _mm256_slli_epi64(_mm256_and_si256(quarter, two), 62);
    const __m256i next = _mm256_add_epi64(quarter, _mm256_set1_epi64x(1));
    const __m256i cosineSign = _mm256_slli_epi64(_mm256_and_si256(next, two), 62);
    sine = _mm256_xor_pd(_mm256_blendv_pd(s, c, swapped), _mm256_castsi256_pd(sineSign));
    cosine = _mm256_xor_pd(_mm256_blendv_pd(c, s, swapped), _mm256_castsi256_pd(cosineSign));
}

/// The plain version's angleAt, operation by operation.
__m256d anglesAt(const Twist &twist, __m256d distance)
{
    const __m256d band = all(twist.bandWidth), rise = all(twist.rise), one = all(1);
    const __m256d ring = _mm256_round_pd(distance / band, _MM_FROUND_TO_ZERO | _MM_FROUND_NO_EXC);
    const __m256d within = distance - ring * band, behindTop = within - rise;
    const __m256d falling = one - behindTop / all(twist.fall), rising = one - (rise - within) / rise;
    const __m256d part = _mm256_blendv_pd(rising, falling, _mm256_cmp_pd(behindTop, all(0), _CMP_GT_OQ));
    return part / (ring + one) * all(twist.mostAngle);
}

/// Where a coordinate lies so close to the border of two pixels that an error in its sine or cosine might count.
__m256d isNearBorder(__m256d coordinate)
{
    const __m256d border = _mm256_round_pd(coordinate, _MM_FROUND_TO_NEAREST_INT | _MM_FROUND_NO_EXC);
    const __m256d distance = _mm256_andnot_pd(all(-0.0), coordinate - border);
    return _mm256_cmp_pd(distance, all(1e-6), _CMP_LT_OQ);
}

__m128i pixelsAt(__m256d coordinate, int32_t last)
{
    return _mm256_cvttpd_epi32(_mm256_min_pd(_mm256_max_pd(coordinate, all(0)), all(last)));
}

void store(int32_t *to, __m128i places)
{
    _mm_storeu_si128(reinterpret_cast<__m128i *>(to), places);
}
void storeReversed(int32_t *to, __m128i places)
{
    store(to, _mm_shuffle_epi32(places, 0x1B));
}

} // namespace

void sineAndCosineAvx2(const double *angles, double *sines, double *cosines)
{
    __m256d sine, cosine;
    findSineAndCosine(_mm256_loadu_pd(angles), sine, cosine);
    _mm256_storeu_pd(sines, sine);
    _mm256_storeu_pd(cosines, cosine);
}

void twistRunAvx2(const Twist &twist, int first, int y, std::size_t count, PixelPlaces &places,
                  PixelPlaces &mirrored)
{
    const __m256d ownY = all(y), dy = all((y - twist.middleY) * twist.stretchY);
    const __m256d middleX = all(twist.middleX), middleY = all(twist.middleY);
    const __m256d stretchX = all(twist.stretchX), stretchY = all(twist.stretchY);
    std::size_t i = 0;
    for (; i + 4 <= count; i += 4) {
        const __m256d ownX = all(first + static_cast<int>(i)) + _mm256_setr_pd(0, 1, 2, 3);
        const __m256d dx = (ownX - middleX) * stretchX;
        const __m256d squared = dx * dx + dy * dy;
        const __m256d isReached = _mm256_cmp_pd(squared, all(twist.squaredRadius), _CMP_LT_OQ);
        __m256d x = ownX, y4 = ownY;
        if (_mm256_movemask_pd(isReached) != 0) {
            __m256d sine, cosine;
            findSineAndCosine(anglesAt(twist, _mm256_sqrt_pd(squared)), sine, cosine);
            x = (cosine * dx - sine * dy) / stretchX + middleX;
            y4 = (cosine * dy + sine * dx) / stretchY + middleY;
            const __m256d isNear = _mm256_or_pd(isNearBorder(x), isNearBorder(y4));
            if (_mm256_movemask_pd(_mm256_and_pd(isNear, isReached)) != 0) {
                twistPartPlain(twist, first, y, count, i, i + 4, places, mirrored);
                continue;
            }
            x = _mm256_blendv_pd(ownX, x, isReached);
            y4 = _mm256_blendv_pd(ownY, y4, isReached);
        }
        const std::size_t opposite = count - 4 - i;
        store(&places.column[i], pixelsAt(x, twist.lastColumn));
        store(&places.row[i], pixelsAt(y4, twist.lastRow));
        storeReversed(&mirrored.column[opposite], pixelsAt(all(2) * middleX - x, twist.lastColumn));
        storeReversed(&mirrored.row[opposite], pixelsAt(all(2) * middleY - y4, twist.lastRow));
    }
    twistPartPlain(twist, first, y, count, i, count, places, mirrored);
}

} // namespace velmont::kernels
