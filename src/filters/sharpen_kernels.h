#pragma once

/// \file
/// Kernels of the sharpening effects, over one row. See core/byte_kernels.h for the rules.

#include <cstddef>
#include <cstdint>

namespace velmont {

/// What the unsharp mask adds for each difference of a sample and its blur.
class Boost {
public:
    Boost(int amount, int threshold);
    int operator[](int difference) const { return table_[difference + 256]; }

    int amount() const { return amount_; }
    int threshold() const { return threshold_; }

private:
    int amount_, threshold_;
    int32_t table_[512];
};

struct SharpenKernels {
    /// to[i] = (4 * center[i] - before[i] - after[i]) / 2, rounded down and held to 0 to 255.
    void (*linear)(uint8_t *to, const uint8_t *before, const uint8_t *center, const uint8_t *after,
                   std::size_t bytes);
    /// Blurred samples become those of `source` plus their boost.
    void (*unsharp)(uint8_t *blurred, const uint8_t *source, std::size_t bytes, const Boost &boost);
};
SharpenKernels sharpenKernels();

namespace kernels {

void linearSharpenPlain(uint8_t *to, const uint8_t *before, const uint8_t *center, const uint8_t *after,
                        std::size_t bytes);
void unsharpPlain(uint8_t *blurred, const uint8_t *source, std::size_t bytes, const Boost &boost);
#if defined(__x86_64__)
SharpenKernels sharpenAvx2();
#endif

} // namespace kernels

} // namespace velmont
