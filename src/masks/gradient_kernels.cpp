#include "masks/gradient_kernels.h"
#include "core/cpu.h"
#include "masks/gradient_runs.h"

namespace velmont {

namespace kernels {

GradientKernels gradientPlain()
{
    return {linePlaces, roundPlaces, colorsAt, levelsAt, mixBytes};
}

} // namespace kernels

GradientKernels gradientKernels()
{
#if defined(__x86_64__)
    if (cpuLevel() >= CpuLevel::Avx2)
        return kernels::gradientAvx2();
#endif
    return kernels::gradientPlain();
}

} // namespace velmont
