#pragma once

/// \file
/// Kernels of oil paint: the samples of each column of the window's rows counted by bin, and windows that slide along
/// the row over those counts, a column in and a column out.

#include <cstddef>
#include <cstdint>

namespace velmont {

/// Bins of eight levels each.
inline constexpr std::size_t kOilBins = 32;
inline constexpr int kOilBinShift = 3;
/// The largest window, whose columns a byte can count.
inline constexpr int kLargestOilWindow = 201;

/// A row of windows. What they cover outside the columns is the nearest one.
struct OilWindows {
    std::size_t pixels, channels;
    int64_t before; ///< from the first column of a window to the pixel that it is for
    int size;       ///< 3 to 201

    /// The column at this place of the row or the nearest.
    std::size_t columnAt(int64_t x) const
    {
        const auto last = static_cast<int64_t>(pixels) - 1;
        return static_cast<std::size_t>(x < 0 ? 0 : x > last ? last : x);
    }
};

/// columns[kOilBins * i + bin of from[i]] += count, in bytes.
void countOilRow(uint8_t *columns, const uint8_t *from, std::size_t bytes, int count);
/// A row out and a row in.
void exchangeOilRows(uint8_t *columns, const uint8_t *leaving, const uint8_t *entering, std::size_t bytes);

/// The lowest level of each window's fullest bin, the lower of equal ones.
using OilRow = void (*)(uint8_t *to, const uint8_t *columns, const OilWindows &windows);
/// The version for windows of this size.
OilRow oilRow(int size);

namespace kernels {

void oilRowPlain(uint8_t *to, const uint8_t *columns, const OilWindows &windows);
#if defined(__x86_64__)
/// Counts in bytes: sizes up to 15.
void oilRowNarrowAvx2(uint8_t *to, const uint8_t *columns, const OilWindows &windows);
void oilRowAvx2(uint8_t *to, const uint8_t *columns, const OilWindows &windows);
#endif

} // namespace kernels

} // namespace velmont
