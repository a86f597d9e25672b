#include "core/cpu.h"
#include <algorithm>
#include <atomic>

namespace velmont {

namespace {

std::atomic<CpuLevel> limit{CpuLevel::Avx512};

CpuLevel detect()
{
#if defined(__x86_64__)
    __builtin_cpu_init();
    if (!__builtin_cpu_supports("avx2"))
        return CpuLevel::Baseline;
    const bool avx512 = __builtin_cpu_supports("avx512f") && __builtin_cpu_supports("avx512bw") &&
                        __builtin_cpu_supports("avx512vl") && __builtin_cpu_supports("avx512vbmi") &&
                        __builtin_cpu_supports("avx512vnni");
    return avx512 ? CpuLevel::Avx512 : CpuLevel::Avx2;
#else
    return CpuLevel::Baseline;
#endif
}

} // namespace

CpuLevel cpuLevel()
{
    static const CpuLevel detected = detect();
    return std::min(detected, limit.load(std::memory_order_relaxed));
}

void limitCpuLevel(CpuLevel highest)
{
    limit.store(highest, std::memory_order_relaxed);
}

} // namespace velmont
