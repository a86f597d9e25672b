#include "core/cpu.h"
#include "geometry/ellipse_runs.h"

namespace velmont {

namespace kernels {

EllipseKernels ellipsePlain()
{
    return {radialPlaces, angularPlaces};
}

} // namespace kernels

EllipseKernels ellipseKernels()
{
#if defined(__x86_64__)
    if (cpuLevel() >= CpuLevel::Avx2)
        return kernels::ellipseAvx2();
#endif
    return kernels::ellipsePlain();
}

} // namespace velmont
