#include "filters/ray_kernels.h"
#include "core/cpu.h"
#include "filters/ray_runs.h"

namespace velmont {

namespace kernels {

RayKernels rayPlain()
{
    return {slideRays, sumAlong, smallestRay};
}

} // namespace kernels

RayKernels rayKernels()
{
#if defined(__x86_64__)
    if (cpuLevel() >= CpuLevel::Avx512)
        return kernels::rayAvx512();
    if (cpuLevel() >= CpuLevel::Avx2)
        return kernels::rayAvx2();
#endif
    return kernels::rayPlain();
}

} // namespace velmont
