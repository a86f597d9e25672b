#pragma once

/// \file
/// Sums of two doubles, about 106 bits long, by exact sums and products (T. J. Dekker, D. E. Knuth). Their arguments must
/// be far from overflow and underflow.

namespace velmont {

struct DoubleDouble {
    double high; ///< the sum, rounded
    double low = 0;
};

/// a + b exactly, where a is not the smaller one.
constexpr DoubleDouble quickTwoSum(double a, double b)
{
    const double sum = a + b;
    return {sum, b - (sum - a)};
}

/// a + b exactly.
constexpr DoubleDouble twoSum(double a, double b)
{
    const double sum = a + b, partOfB = sum - a;
    return {sum, (a - (sum - partOfB)) + (b - partOfB)};
}

/// The upper 26 bits of a number, so that the product of two such is exact.
constexpr double upperHalf(double a)
{
    const double scaled = a * 134217729.0; // 2^27 + 1
    return scaled - (scaled - a);
}

/// a * b exactly.
constexpr DoubleDouble twoProduct(double a, double b)
{
    const double product = a * b;
    const double aHigh = upperHalf(a), aLow = a - aHigh, bHigh = upperHalf(b), bLow = b - bHigh;
    return {product, ((aHigh * bHigh - product) + aHigh * bLow + aLow * bHigh) + aLow * bLow};
}

constexpr DoubleDouble operator-(DoubleDouble a)
{
    return {-a.high, -a.low};
}

constexpr DoubleDouble operator+(DoubleDouble a, DoubleDouble b)
{
    const DoubleDouble high = twoSum(a.high, b.high), low = twoSum(a.low, b.low);
    const DoubleDouble sum = quickTwoSum(high.high, high.low + low.high);
    return quickTwoSum(sum.high, sum.low + low.low);
}

constexpr DoubleDouble operator-(DoubleDouble a, DoubleDouble b)
{
    return a + -b;
}

constexpr DoubleDouble operator*(DoubleDouble a, DoubleDouble b)
{
    const DoubleDouble product = twoProduct(a.high, b.high);
    return quickTwoSum(product.high, product.low + (a.high * b.low + a.low * b.high));
}

constexpr DoubleDouble operator/(DoubleDouble a, DoubleDouble b)
{
    const double quotient = a.high / b.high;
    const DoubleDouble rest = a - DoubleDouble{quotient} * b;
    return quickTwoSum(quotient, rest.high / b.high);
}

} // namespace velmont
