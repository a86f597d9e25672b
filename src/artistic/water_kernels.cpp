#include "artistic/water_kernels.h"
#include "artistic/water_runs.h"
#include "core/cpu.h"

namespace velmont {

namespace kernels {

void waterTonePlain(uint8_t *pixels, std::size_t count, const double *values)
{
    waterTone(pixels, count, values);
}

} // namespace kernels

WaterToneRow waterToneRow()
{
#if defined(__x86_64__)
    if (cpuLevel() >= CpuLevel::Avx512)
        return kernels::waterToneAvx512;
    if (cpuLevel() >= CpuLevel::Avx2)
        return kernels::waterToneAvx2;
#endif
    return kernels::waterTonePlain;
}

} // namespace velmont
