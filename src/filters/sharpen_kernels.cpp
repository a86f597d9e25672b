#include "filters/sharpen_kernels.h"
#include "core/cpu.h"
#include <algorithm>

namespace velmont {

Boost::Boost(int amount, int threshold) : amount_(amount), threshold_(threshold)
{
    for (int difference = 0; difference < 256; ++difference) {
        const int boost = difference >= threshold ? (amount * difference + 50) / 100 : 0;
        table_[256 + difference] = boost;
        // One place off: hosts rely on dark halos that are weaker by a step.
        table_[256 - (difference + 1)] = -boost;
    }
}

namespace kernels {

void linearSharpenPlain(uint8_t *to, const uint8_t *before, const uint8_t *center, const uint8_t *after,
                        std::size_t bytes)
{
    for (std::size_t i = 0; i < bytes; ++i)
        to[i] = static_cast<uint8_t>(std::clamp((4 * center[i] - before[i] - after[i]) >> 1, 0, 255));
}

void unsharpPlain(uint8_t *blurred, const uint8_t *source, std::size_t bytes, const Boost &boost)
{
    for (std::size_t i = 0; i < bytes; ++i)
        blurred[i] = static_cast<uint8_t>(std::clamp(source[i] + boost[source[i] - blurred[i]], 0, 255));
}

} // namespace kernels

SharpenKernels sharpenKernels()
{
#if defined(__x86_64__)
    if (cpuLevel() >= CpuLevel::Avx2)
        return kernels::sharpenAvx2();
#endif
    return {kernels::linearSharpenPlain, kernels::unsharpPlain};
}

} // namespace velmont
