#pragma once

/// \file
/// Kernels of the box filter for divisors of up to 128, and down the columns of up to 65535. See core/byte_kernels.h for the rules.

#include "filters/box_filter.h"

namespace velmont {

struct BoxKernels {
    /// One row's means. `widened` is the row with what lies outside it: size - 1 pixels more.
    void (*row)(uint8_t *to, const uint8_t *widened, std::size_t bytes, std::size_t channels, unsigned size,
                const NarrowBoxRounding &rounding);
    /// The means of a row of sums, which then slide on by one row.
    void (*columns)(uint8_t *to, uint16_t *sums, const uint8_t *enter, const uint8_t *leave,
                    std::size_t bytes, const NarrowBoxRounding &rounding);
    /// The same with `weight` times another row among the samples.
    void (*mixed)(uint8_t *to, uint16_t *sums, const uint8_t *enter, const uint8_t *leave,
                  const uint8_t *other, uint16_t weight, std::size_t bytes,
                  const NarrowBoxRounding &rounding);
    /// The same for larger divisors; the weight may be 0.
    void (*middle)(uint8_t *to, uint32_t *sums, const uint8_t *enter, const uint8_t *leave,
                   const uint8_t *other, uint32_t weight, std::size_t bytes,
                   const MiddleBoxRounding &rounding);
};
BoxKernels boxKernels();

namespace kernels {

#if defined(__x86_64__)
BoxKernels boxKernelsAvx2();
BoxKernels boxKernelsAvx512();
#endif

} // namespace kernels

} // namespace velmont
