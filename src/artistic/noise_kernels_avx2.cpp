// Compiled for AVX2: the loops of the plain version, which become longer vectors here.
#include "artistic/noise_runs.h"

namespace velmont {

namespace kernels {

NoiseKernels noiseAvx2()
{
    return {brighten, grain};
}

} // namespace kernels

} // namespace velmont
