#include "masks/pattern_kernels.h"
#include "core/cpu.h"
#include "masks/pattern_runs.h"

namespace velmont {

namespace kernels {

PatternKernels patternPlain()
{
    return {mixRun, grayReliefRun, colorReliefRun};
}

} // namespace kernels

PatternKernels patternKernels()
{
#if defined(__x86_64__)
    if (cpuLevel() >= CpuLevel::Avx2)
        return kernels::patternAvx2();
#endif
    return kernels::patternPlain();
}

} // namespace velmont
