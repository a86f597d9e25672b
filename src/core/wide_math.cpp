#include "core/wide_math.h"
#include <array>
#include <cmath>
#include <iterator>

namespace velmont {

namespace {

/// The bits of 2 / pi behind the point.
constexpr uint32_t kTwoOverPi[] = {
    0xA2F9836E, 0x4E441529, 0xFC2757D1, 0xF534DDC0, 0xDB629599, 0x3C439041, 0xFE5163AB, 0xDEBBC561,
    0xB7246E3A, 0x424DD2E0, 0x06492EEA, 0x09D1921C, 0xFE1DEB1C, 0xB129A73E, 0xE88235F5, 0x2EBB4484,
    0xE99C7026, 0xB45F7E41, 0x3991D639, 0x835339F4, 0x9C845F8B, 0xBDF9283B, 0x1FF897FF, 0xDE05980F,
    0xEF2F118B, 0x5A0A6D1F, 0x6D367ECF, 0x27CB09B7, 0x4F463F66, 0x9E5FEA2D, 0x7527BAC7, 0xEBE5F17B,
    0x3D0739F7, 0x8A5292EA, 0x6BFB5FB1, 0x1F8D5D08, 0x56033046, 0xFC7B6BAB, 0xF0CFBC20, 0x9AF4361D};

/// 32 of those bits from a place on; 0 before the point.
uint32_t bitsFrom(int place)
{
    const int word = place >> 5;
    uint64_t pair = 0;
    for (int i = word; i <= word + 1; ++i)
        pair = pair << 32 | (i >= 0 && i < static_cast<int>(std::size(kTwoOverPi)) ? kTwoOverPi[i] : 0u);
    return static_cast<uint32_t>(pair >> (32 - (place & 31)));
}

/// Two bits of whole right angles and 254 behind the point, 60 of which may cancel.
using Quarters = std::array<uint32_t, 8>;

/// to += bits * factor, one word higher where asked for, without what goes beyond.
void addProduct(Quarters &to, const Quarters &bits, uint32_t factor, std::size_t higher)
{
    uint64_t carry = 0;
    for (std::size_t i = bits.size(); i-- > higher;) {
        carry += uint64_t{bits[i]} * factor + to[i - higher];
        to[i - higher] = static_cast<uint32_t>(carry);
        carry >>= 32;
    }
}

void negate(Quarters &number)
{
    uint64_t carry = 1;
    for (std::size_t i = number.size(); i-- > 0;) {
        carry += static_cast<uint32_t>(~number[i]);
        number[i] = static_cast<uint32_t>(carry);
        carry >>= 32;
    }
}

} // namespace

WideAngle reduceAngle(double angle)
{
    constexpr double kEighth = 0x1.921fb54442d18p-1;
    if (std::fabs(angle) <= kEighth)
        return {0, angle};
    int exponent;
    const double fraction = std::frexp(std::fabs(angle), &exponent);
    const auto mantissa = static_cast<uint64_t>(std::ldexp(fraction, 53));
    Quarters bits, product{};
    // |angle| is the mantissa times 2^(exponent - 53). Earlier bits than these make whole turns.
    for (std::size_t i = 0; i < bits.size(); ++i)
        bits[i] = bitsFrom(exponent - 53 - 2 + 32 * static_cast<int>(i));
    addProduct(product, bits, static_cast<uint32_t>(mantissa), 0);
    addProduct(product, bits, static_cast<uint32_t>(mantissa >> 32), 1);

    unsigned quarters = product[0] >> 30;
    product[0] &= 0x3FFFFFFF;
    bool isNegative = angle < 0;
    if (product[0] >> 29 != 0) { // the rest of the next right angle
        ++quarters;
        negate(product);
        product[0] &= 0x3FFFFFFF;
        isNegative = !isNegative;
    }
    Wide rest = 0;
    for (const uint32_t word : product)
        rest = rest * 0x1p32 + word;
    rest *= Wide{0x1p-254} * (kWidePi / 2);
    return {angle < 0 ? 0 - quarters : quarters, isNegative ? -rest : rest};
}

} // namespace velmont
