#include "artistic/light_runs.h"
#include "core/cpu.h"

namespace velmont {

namespace kernels {

void shinePlain(uint8_t *pixels, const Light &light, int column, int row, std::size_t count)
{
    shine(pixels, light, column, row, count);
}

} // namespace kernels

ShineRun shineRun()
{
#if defined(__x86_64__)
    if (cpuLevel() >= CpuLevel::Avx2)
        return kernels::shineAvx2;
#endif
    return kernels::shinePlain;
}

} // namespace velmont
