#pragma once

/// \file
/// Division of sums of bytes by how many they are, for loops that are compiled once for each instruction set: internal
/// linkage.

#include <cstdint>

namespace velmont::kernels {

namespace {

/// Division by 2 to 181 through a product: (sum * factor >> 16) >> shift. Exact for the sums of as many samples, which
/// stay below 256 * divisor: factor is less than 1 above 2^(16 + shift) / divisor, and for a power of two just that;
/// for the others 256 * divisor^2 is below 2^(16 + shift).
struct Division {
    uint16_t factor;
    uint16_t shift;
};

inline Division divisionBy(int divisor)
{
    Division by{0, 0};
    while (2 << by.shift < divisor)
        ++by.shift;
    const auto number = static_cast<uint32_t>(divisor);
    by.factor = static_cast<uint16_t>(((uint32_t{65536} << by.shift) + number - 1) / number);
    return by;
}

inline uint8_t dividedBy(Division by, uint16_t sum)
{
    const auto high = static_cast<uint16_t>(uint32_t{sum} * by.factor >> 16);
    return static_cast<uint8_t>(high >> by.shift);
}

} // namespace

} // namespace velmont::kernels
