// Compiled for AVX2: the loops of the plain version, which become longer vectors here.
#include "geometry/distort_runs.h"

namespace velmont {

namespace kernels {

DistortKernels distortAvx2()
{
    return {distortPlaces, distortBlend<3>, distortBlend<1>};
}

} // namespace kernels

} // namespace velmont
