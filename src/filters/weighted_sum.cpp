#include "filters/weighted_sum.h"
#include "core/cpu.h"

namespace velmont {

namespace kernels {

void weightedSumRange(uint8_t *to, const uint8_t *const *lines, std::size_t first, std::size_t bytes,
                      const Taps &taps)
{
    constexpr int32_t kHalf = 1 << (Taps::kFractionBits - 1);
    for (std::size_t i = first; i < bytes; ++i) {
        int32_t sum = kHalf;
        for (int k = 0; k < taps.count; ++k)
            sum += taps.of[k] * lines[k][i];
        to[i] = static_cast<uint8_t>(sum >> Taps::kFractionBits);
    }
}

void weightedSumPlain(uint8_t *to, const uint8_t *const *lines, std::size_t bytes, const Taps &taps)
{
    weightedSumRange(to, lines, 0, bytes, taps);
}

} // namespace kernels

WeightedSumRow weightedSumRow()
{
#if defined(__x86_64__)
    if (cpuLevel() >= CpuLevel::Avx512)
        return kernels::weightedSumAvx512;
    if (cpuLevel() >= CpuLevel::Avx2)
        return kernels::weightedSumAvx2;
#endif
    return kernels::weightedSumPlain;
}

} // namespace velmont
