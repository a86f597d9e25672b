#include "filters/box_kernels.h"
#include "core/cpu.h"
#include "filters/box_runs.h"

namespace velmont {

BoxKernels boxKernels()
{
#if defined(__x86_64__)
    if (cpuLevel() >= CpuLevel::Avx512)
        return kernels::boxKernelsAvx512();
    if (cpuLevel() >= CpuLevel::Avx2)
        return kernels::boxKernelsAvx2();
#endif
    return {kernels::boxRowRun, kernels::boxColumnsRun, kernels::boxMixedRun, kernels::boxMiddleRun};
}

} // namespace velmont
