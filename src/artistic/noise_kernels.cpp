#include "artistic/noise_runs.h"
#include "core/cpu.h"

namespace velmont {

namespace kernels {

NoiseKernels noisePlain()
{
    return {brighten, grain};
}

} // namespace kernels

NoiseKernels noiseKernels()
{
#if defined(__x86_64__)
    if (cpuLevel() >= CpuLevel::Avx2)
        return kernels::noiseAvx2();
#endif
    return kernels::noisePlain();
}

} // namespace velmont
