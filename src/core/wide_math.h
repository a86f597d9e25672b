#pragma once

/// \file
/// Functions of mathematics to more than 100 bits, for tables and for what a quick reckoning leaves open. They are
/// slow: the compiler's own runtime reckons numbers of 113 bits with integers.

#include "core/double_double.h"

namespace velmont {

#ifdef __SIZEOF_FLOAT128__
using Wide = __float128;
#else
using Wide = long double;
#endif
static_assert(sizeof(Wide) == 16);

constexpr Wide wideSum(double first, double second, double third)
{
    return Wide{first} + Wide{second} + Wide{third};
}

inline constexpr Wide kWidePi = wideSum(0x1.921fb54442d18p+1, 0x1.1a62633145c07p-53, -0x1.f1976b7ed8fbcp-109);
inline constexpr Wide kWideLog2 =
    wideSum(0x1.62e42fefa39efp-1, 0x1.abc9e3b39803fp-56, 0x1.7b57a079a1934p-111);

constexpr DoubleDouble toDoubleDouble(Wide value)
{
    const auto high = static_cast<double>(value);
    return {high, static_cast<double>(value - high)};
}

/// From a number that the root is near to.
constexpr Wide wideRoot(Wide square, double near)
{
    Wide root = near;
    for (int i = 0; i < 7; ++i) // from two digits on these are more than enough
        root = (root + square / root) / 2;
    return root;
}

/// e^x for |x| up to a half or so.
constexpr Wide wideSmallExp(Wide x)
{
    Wide term = 1, sum = 1;
    for (int i = 1; i <= 32; ++i)
        sum += term = term * x / i;
    return sum;
}

/// The logarithm of what is near to 1.
constexpr Wide wideSmallLog(Wide x)
{
    const Wide z = (x - 1) / (x + 1), square = z * z;
    Wide power = z, sum = z;
    for (int i = 3; i <= 51; i += 2) {
        power *= square;
        sum += power / i;
    }
    return 2 * sum;
}

/// Of an eighth of a turn at most.
constexpr Wide wideSmallSin(Wide x)
{
    Wide term = x, sum = x;
    for (int i = 2; i <= 30; i += 2)
        sum += term = -term * x * x / (i * (i + 1));
    return sum;
}

constexpr Wide wideSmallCos(Wide x)
{
    Wide term = 1, sum = 1;
    for (int i = 1; i <= 31; i += 2)
        sum += term = -term * x * x / (i * (i + 1));
    return sum;
}

/// The angle of a tangent from 0 to 1, by that of a quarter of the angle.
constexpr Wide wideSmallAtan(Wide tangent)
{
    Wide x = tangent;
    for (int i = 0; i < 2; ++i)
        x = x / (1 + wideRoot(1 + x * x, 1.2));
    const Wide square = x * x;
    Wide power = x, sum = x;
    for (int i = 3; i <= 51; i += 2) {
        power *= -square;
        sum += power / i;
    }
    return 4 * sum;
}

/// An angle as so many right angles, of which the last two bits count, and a rest of half of one either way.
struct WideAngle {
    unsigned quarters;
    Wide rest;
};

/// Of any finite angle (M. H. Payne, R. N. Hanek): its 53 bits times those bits of 2 / pi that count.
WideAngle reduceAngle(double angle);

} // namespace velmont
