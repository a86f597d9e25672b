#include "artistic/pencil_kernels.h"
#include "artistic/pencil_runs.h"
#include "core/cpu.h"

namespace velmont {

namespace kernels {

PencilKernels pencilPlain()
{
    return pencilLoops();
}

} // namespace kernels

PencilKernels pencilKernels()
{
#if defined(__x86_64__)
    if (cpuLevel() >= CpuLevel::Avx512)
        return kernels::pencilAvx512();
    if (cpuLevel() >= CpuLevel::Avx2)
        return kernels::pencilAvx2();
#endif
    return kernels::pencilPlain();
}

} // namespace velmont
