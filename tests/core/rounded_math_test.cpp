#include "core/rounded_math.h"
#include <cmath>
#include <cstdint>
#include <gtest/gtest.h>
#include <limits>

namespace velmont {
namespace {

constexpr double kInfinity = std::numeric_limits<double>::infinity();

// Digits that many sources print, of arguments that quick reductions get wrong.
TEST(RoundedMath, ReducesLargeAngles)
{
    EXPECT_EQ(rounded::sin(1e22), -0.8522008497671888);
    EXPECT_EQ(rounded::cos(1e22), 0.52321478539513894549759442588);
    EXPECT_EQ(rounded::sin(3.141592653589793), 1.2246467991473532e-16);
    EXPECT_EQ(rounded::cos(1.5707963267948966), 6.123233995736766e-17);
    // The double of all that lies nearest to a multiple of half pi.
    EXPECT_EQ(rounded::cos(0x1.6ac5b262ca1ffp+849), -4.68716592425462761112e-19);
}

TEST(RoundedMath, KnowsSimpleAngles)
{
    EXPECT_EQ(rounded::sin(0.0), 0);
    EXPECT_EQ(rounded::cos(0.0), 1);
    EXPECT_EQ(rounded::asin(1.0), 1.5707963267948966);
    EXPECT_EQ(rounded::asin(-1.0), -1.5707963267948966);
    EXPECT_EQ(rounded::asin(0.5), 0.5235987755982989); // pi / 6
    EXPECT_EQ(rounded::atan(1.0), 0.7853981633974483);
    EXPECT_EQ(rounded::atan2(1, -1), 2.356194490192345);
    EXPECT_EQ(rounded::atan2(-1, -1), -2.356194490192345);
    EXPECT_EQ(rounded::atan2(0, -1), 3.141592653589793);
    EXPECT_EQ(rounded::atan2(-2, 0), -1.5707963267948966);
    EXPECT_EQ(rounded::atan(kInfinity), 1.5707963267948966);
}

TEST(RoundedMath, KeepsTheSignOfNothing)
{
    EXPECT_TRUE(std::signbit(rounded::sin(-0.0)));
    EXPECT_TRUE(std::signbit(rounded::asin(-0.0)));
    EXPECT_TRUE(std::signbit(rounded::atan2(-0.0, 1)));
}

TEST(RoundedMath, LogarithmsOfPowersOfTwoAreMultiples)
{
    EXPECT_EQ(rounded::log(1.0), 0);
    for (int i = 1; i < 1000; ++i) {
        const double least = i * 0.6931471805599453;
        EXPECT_NEAR(rounded::log(std::ldexp(1, i)), least, least * 0x1p-52) << i;
        EXPECT_EQ(rounded::log(std::ldexp(1, -i)), -rounded::log(std::ldexp(1, i))) << i;
    }
}

TEST(RoundedMath, PowersOfWholeNumbersAreExact)
{
    for (int base = 2; base < 200; ++base) {
        EXPECT_EQ(rounded::pow(static_cast<double>(base) * base, 0.5), base);
        double power = 1;
        for (int exponent = 1; (power *= base) < 0x1p53; ++exponent) {
            EXPECT_EQ(rounded::pow(base, exponent), power) << base << '^' << exponent;
            EXPECT_EQ(rounded::pow(-base, exponent), exponent % 2 != 0 ? -power : power);
        }
    }
}

// z^3 has 54 bits and its last one is set: the middle between two doubles, from which the even one is taken.
TEST(RoundedMath, PowersInTheMiddleGoToTheEvenDouble)
{
    for (uint64_t z = 208065; z < 209000; z += 2) {
        const uint64_t cube = z * z * z;
        ASSERT_EQ(cube >> 53, 1u);
        const uint64_t below = cube - 1, above = cube + 1; // doubles both
        const auto even = static_cast<double>(below / 2 % 2 == 0 ? below : above);
        EXPECT_EQ(rounded::pow(static_cast<double>(z), 3), even) << z;
        EXPECT_EQ(rounded::pow(static_cast<double>(z * z), 1.5), even) << z;
    }
}

TEST(RoundedMath, PowersAtTheEndsOfTheRange)
{
    EXPECT_EQ(rounded::pow(2, -1074), std::numeric_limits<double>::denorm_min());
    EXPECT_EQ(rounded::pow(2, -1075), 0); // the middle, and 0 is even
    EXPECT_EQ(rounded::pow(3, -680), 0);
    EXPECT_EQ(rounded::pow(2, 1023), 0x1p1023);
    EXPECT_EQ(rounded::pow(2, 1024), kInfinity);
    EXPECT_EQ(rounded::pow(10, 400), kInfinity);
    EXPECT_EQ(rounded::pow(0.5, kInfinity), 0);
    EXPECT_EQ(rounded::pow(0, 0), 1);
    EXPECT_EQ(rounded::pow(0, 0.3), 0);
    EXPECT_EQ(rounded::pow(0, -0.3), kInfinity);
}

TEST(RoundedMath, AnswersNoNumberWhereThereIsNone)
{
    EXPECT_TRUE(std::isnan(rounded::sin(kInfinity)));
    EXPECT_TRUE(std::isnan(rounded::cos(-kInfinity)));
    EXPECT_TRUE(std::isnan(rounded::asin(1.0000000000000002)));
    EXPECT_TRUE(std::isnan(rounded::log(-1.0)));
    EXPECT_TRUE(std::isnan(rounded::pow(-2, 0.5)));
    EXPECT_EQ(rounded::log(0.0), -kInfinity);
}

} // namespace
} // namespace velmont
