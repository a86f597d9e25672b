#include "filters/user_kernels.h"
#include "core/cpu.h"
#include <algorithm>
#include <cstdlib>

namespace velmont {

namespace kernels {

uint8_t userSample(const uint8_t *const *lines, std::size_t i, const UserTaps &taps)
{
    constexpr uint32_t kHalf = uint32_t{1} << (UserTaps::kFractionBits - 1);
    uint32_t sum = 0; // beyond 32 bits it wraps
    for (int k = 0; k < taps.count; ++k)
        sum += static_cast<uint32_t>(taps.products[256 * k + lines[k][i]]);
    const auto shifted = [](uint32_t value) {
        return static_cast<int32_t>(value) >> UserTaps::kFractionBits;
    };
    const int32_t level = static_cast<int32_t>(sum) < 0 ? -shifted(kHalf - sum) : shifted(sum + kHalf);
    return static_cast<uint8_t>(std::clamp(level + taps.bias, 0, 255));
}

void userFilterPlain(uint8_t *to, const uint8_t *const *lines, std::size_t bytes, const UserTaps &taps)
{
    for (std::size_t i = 0; i < bytes; ++i)
        to[i] = userSample(lines, i, taps);
}

bool sumsAreNarrow(const UserTaps &taps)
{
    int64_t gain = 0;
    for (int k = 0; k < taps.count; ++k)
        gain += std::abs(int64_t{taps.coefficient[k]});
    // Sums stay below 2^23, which a float holds exactly, coefficients within 16 bits, levels below 2^12 and with
    // them the products within 32 bits.
    return gain <= INT16_MAX && gain <= 16 * std::abs(int64_t{taps.divisor});
}

} // namespace kernels

UserFilterRow userFilterRow([[maybe_unused]] const UserTaps &taps)
{
#if defined(__x86_64__)
    if (cpuLevel() >= CpuLevel::Avx2 && kernels::sumsAreNarrow(taps))
        return kernels::userFilterAvx2;
#endif
    return kernels::userFilterPlain;
}

} // namespace velmont
