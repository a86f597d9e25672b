#include "filters/shade_kernels.h"
#include "core/cpu.h"
#include "filters/shade_runs.h"

namespace velmont {

namespace kernels {

ShadeKernels shadePlain()
{
    return {shadeRun, shadeTiles};
}

} // namespace kernels

ShadeKernels shadeKernels()
{
#if defined(__x86_64__)
    if (cpuLevel() >= CpuLevel::Avx2)
        return kernels::shadeAvx2();
#endif
    return kernels::shadePlain();
}

} // namespace velmont
