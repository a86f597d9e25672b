// Compiled for AVX-512: the loops of the plain version, which become longer vectors here.
#include "filters/ray_runs.h"

namespace velmont {

namespace kernels {

RayKernels rayAvx512()
{
    return {slideRays, sumAlong, smallestRay};
}

} // namespace kernels

} // namespace velmont
