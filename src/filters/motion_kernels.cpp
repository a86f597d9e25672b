#include "core/cpu.h"
#include "filters/motion_runs.h"

namespace velmont {

namespace kernels {

MotionKernels motionPlain()
{
    return {rayRow, rayColumns, slideRun};
}

} // namespace kernels

MotionKernels motionKernels()
{
#if defined(__x86_64__)
    if (cpuLevel() >= CpuLevel::Avx512)
        return kernels::motionAvx512();
    if (cpuLevel() >= CpuLevel::Avx2)
        return kernels::motionAvx2();
#endif
    return kernels::motionPlain();
}

} // namespace velmont
