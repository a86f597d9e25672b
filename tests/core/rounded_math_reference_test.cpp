// Against the reckoning of any length of a library that is known for it.
#include "core/rounded_math.h"
#include <cmath>
#include <gtest/gtest.h>
#include <mpfr.h>
#include <random>

namespace velmont {
namespace {

using One = int (*)(mpfr_t, const mpfr_t, mpfr_rnd_t);
using Two = int (*)(mpfr_t, const mpfr_t, const mpfr_t, mpfr_rnd_t);

/// Numbers of 53 bits, in the range of a double.
class Reference {
public:
    Reference()
    {
        mpfr_set_emin(-1073);
        mpfr_set_emax(1024);
        mpfr_inits2(53, x_, y_, result_, static_cast<mpfr_ptr>(nullptr));
    }
    ~Reference() { mpfr_clears(x_, y_, result_, static_cast<mpfr_ptr>(nullptr)); }

    double of(One function, double x)
    {
        mpfr_set_d(x_, x, MPFR_RNDN);
        return rounded(function(result_, x_, MPFR_RNDN));
    }
    double of(Two function, double x, double y)
    {
        mpfr_set_d(x_, x, MPFR_RNDN);
        mpfr_set_d(y_, y, MPFR_RNDN);
        return rounded(function(result_, x_, y_, MPFR_RNDN));
    }

private:
    double rounded(int ternary)
    {
        mpfr_subnormalize(result_, mpfr_check_range(result_, ternary, MPFR_RNDN), MPFR_RNDN);
        return mpfr_get_d(result_, MPFR_RNDN);
    }

    mpfr_t x_, y_, result_;
};

class RoundedMathReference : public testing::Test {
protected:
    static constexpr int kValues = 20000;

    double between(double low, double high) { return low + (high - low) * unit_(numbers_); }
    int below(int end) { return std::uniform_int_distribution(0, end - 1)(numbers_); }
    /// Of many sizes, up to 2^most.
    double anySize(int least, int most)
    {
        return std::ldexp(between(-1, 1), least + below(most - least + 1));
    }
    double anyAngle(int i)
    {
        return i % 3 == 0 ? between(-20, 20) : i % 50 == 1 ? anySize(-1000, 1000) : anySize(-25, 65);
    }

    Reference reference_;

private:
    std::mt19937_64 numbers_{1};
    std::uniform_real_distribution<double> unit_;
};

TEST_F(RoundedMathReference, SinesAndCosines)
{
    for (int i = 0; i < kValues; ++i) {
        const double x = anyAngle(i);
        ASSERT_EQ(rounded::sin(x), reference_.of(mpfr_sin, x)) << std::hexfloat << x;
        ASSERT_EQ(rounded::cos(x), reference_.of(mpfr_cos, x)) << std::hexfloat << x;
    }
}

TEST_F(RoundedMathReference, ArcSines)
{
    for (int i = 0; i < kValues; ++i) {
        const double x = i % 4 == 0   ? 1 - std::ldexp(between(0, 1), -below(53))
                         : i % 9 == 1 ? anySize(-80, 0)
                                      : between(-1, 1);
        ASSERT_EQ(rounded::asin(x), reference_.of(mpfr_asin, x)) << std::hexfloat << x;
    }
}

TEST_F(RoundedMathReference, ArcTangents)
{
    for (int i = 0; i < kValues; ++i) {
        const double y = anyAngle(i), x = i % 2 == 0 ? between(-30, 30) : anySize(-30, 30);
        ASSERT_EQ(rounded::atan(y), reference_.of(mpfr_atan, y)) << std::hexfloat << y;
        ASSERT_EQ(rounded::atan2(y, x), reference_.of(mpfr_atan2, y, x)) << std::hexfloat << y << ' ' << x;
    }
    for (int y = -40; y <= 40; ++y)
        for (int x = -40; x <= 40; ++x)
            if (x != 0 || y != 0) {
                ASSERT_EQ(rounded::atan2(y, x), reference_.of(mpfr_atan2, y, x)) << y << ' ' << x;
            }
}

TEST_F(RoundedMathReference, Logarithms)
{
    for (int i = 0; i < kValues; ++i) {
        const double x = i % 3 == 0 ? 1 + std::ldexp(between(-0.3, 1), -below(50)) : std::fabs(anyAngle(i));
        ASSERT_EQ(rounded::log(x), reference_.of(mpfr_log, x)) << std::hexfloat << x;
    }
}

TEST_F(RoundedMathReference, Powers)
{
    for (int i = 0; i < kValues; ++i) {
        const double x = i % 7 == 0 ? below(300) : i % 2 == 0 ? between(0, 1000) : below(256) / 255.0;
        const double y = i % 7 == 0   ? (below(80) - 40) / 8.0
                         : i % 5 == 0 ? anySize(-10, 10)
                         : i % 3 == 0 ? between(-200, 200)
                                      : between(-8, 8);
        ASSERT_EQ(rounded::pow(x, y), reference_.of(mpfr_pow, x, y)) << std::hexfloat << x << ' ' << y;
    }
}

} // namespace
} // namespace velmont
