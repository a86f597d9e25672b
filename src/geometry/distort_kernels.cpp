#include "core/cpu.h"
#include "geometry/distort_runs.h"

namespace velmont {

namespace kernels {

DistortKernels distortPlain()
{
    return {distortPlaces, distortBlend<3>, distortBlend<1>};
}

} // namespace kernels

DistortKernels distortKernels()
{
#if defined(__x86_64__)
    if (cpuLevel() >= CpuLevel::Avx512)
        return kernels::distortAvx512();
    if (cpuLevel() >= CpuLevel::Avx2)
        return kernels::distortAvx2();
#endif
    return kernels::distortPlain();
}

} // namespace velmont
