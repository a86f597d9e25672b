#pragma once

/// \file
/// Random departures from a level.

#include <algorithm>
#include <cstdint>

namespace velmont {

/// A level moved up or down within a swing of so many levels by a random number, and held to a byte. The share of the
/// number is a float and the rest is reckoned in double: hosts rely on it.
inline uint8_t jitteredLevel(int level, int number, double swing)
{
    constexpr float kShare = 3.0518509e-05f; // about 1 / 32767
    const double moved = static_cast<double>(number) * kShare * swing + level - swing / 2;
    return static_cast<uint8_t>(std::clamp(static_cast<int>(moved), 0, 255));
}

} // namespace velmont
