#pragma once

/// \file
/// The 5 x 5 kernel of the caller's, over one row. See core/byte_kernels.h for the rules.

#include <cstddef>
#include <cstdint>

namespace velmont {

/// The taps that are not 0, each with its products.
struct UserTaps {
    static constexpr int kRows = 5;
    static constexpr int kMost = kRows * kRows;
    static constexpr int kFractionBits = 18;

    int count = 0;
    int32_t divisor = 1;
    int32_t bias = 0; ///< of what matters: samples lie far within
    int32_t coefficient[kMost];
    int place[kMost];                  ///< row * 5 + column in stored order
    const int32_t *products = nullptr; ///< 256 a tap

    /// Room for the products, in bytes.
    static constexpr std::size_t kProductBytes = std::size_t{kMost} * 256 * sizeof(int32_t);
};

/// to[i] is the filtered sample whose neighbour at tap k is lines[k][i]. The lines do not overlap `to`.
using UserFilterRow = void (*)(uint8_t *to, const uint8_t *const *lines, std::size_t bytes,
                               const UserTaps &taps);
UserFilterRow userFilterRow(const UserTaps &taps);

namespace kernels {

/// From the table of products, for any taps.
void userFilterPlain(uint8_t *to, const uint8_t *const *lines, std::size_t bytes, const UserTaps &taps);
/// One sample of it.
uint8_t userSample(const uint8_t *const *lines, std::size_t i, const UserTaps &taps);
/// Whether sums of samples times coefficients, in 16 and 32 bits, lead to the same samples: see the kernel.
bool sumsAreNarrow(const UserTaps &taps);
#if defined(__x86_64__)
/// For taps whose sums are narrow.
void userFilterAvx2(uint8_t *to, const uint8_t *const *lines, std::size_t bytes, const UserTaps &taps);
#endif

} // namespace kernels

} // namespace velmont
