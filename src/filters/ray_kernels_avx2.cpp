// Compiled for AVX2: the loops of the plain version, which become longer vectors here.
#include "filters/ray_runs.h"

namespace velmont {

namespace kernels {

RayKernels rayAvx2()
{
    return {slideRays, sumAlong, smallestRay};
}

} // namespace kernels

} // namespace velmont
