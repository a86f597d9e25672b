#include "geometry/tap_kernels.h"
#include "core/cpu.h"

namespace velmont {

namespace kernels {

void weightedTapsPlain(uint8_t *to, const uint8_t *from, std::size_t step, const TapRecord &record,
                       std::size_t bytes)
{
    constexpr std::size_t kRun = 32;
    for (std::size_t start = 0; start < bytes; start += kRun) {
        const std::size_t count = bytes - start < kRun ? bytes - start : kRun;
        int32_t sums[kRun];
        for (int32_t &sum : sums)
            sum = 32768;
        for (std::size_t k = 0; k < record.count; ++k) {
            const uint8_t *const line = from + static_cast<std::size_t>(record.taps[k].source) * step + start;
            const auto weight = static_cast<int16_t>(record.taps[k].weight);
            for (std::size_t i = 0; i < count; ++i)
                sums[i] += int16_t{line[i]} * weight;
        }
        for (std::size_t i = 0; i < count; ++i) {
            const int32_t value = sums[i] >> 16;
            to[start + i] = static_cast<uint8_t>(value < 0 ? 0 : value > 255 ? 255 : value);
        }
    }
}

} // namespace kernels

WeightedTaps weightedTaps()
{
#if defined(__x86_64__)
    if (cpuLevel() >= CpuLevel::Avx2)
        return kernels::weightedTapsAvx2;
#endif
    return kernels::weightedTapsPlain;
}

} // namespace velmont
