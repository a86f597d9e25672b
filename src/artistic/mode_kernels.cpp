#include "artistic/mode_kernels.h"
#include "artistic/mode_runs.h"
#include "core/cpu.h"

namespace velmont {

namespace kernels {

ModeKernels modePlain(int64_t radius)
{
    return modeOfRadius(radius);
}

} // namespace kernels

ModeKernels modeKernels(int64_t radius)
{
#if defined(__x86_64__)
    if (cpuLevel() >= CpuLevel::Avx2)
        return kernels::modeAvx2(radius);
#endif
    return kernels::modePlain(radius);
}

} // namespace velmont
