// Compiled for AVX2: the loops of the plain version, which become longer vectors here.
#include "geometry/ellipse_runs.h"

namespace velmont {

namespace kernels {

EllipseKernels ellipseAvx2()
{
    return {radialPlaces, angularPlaces};
}

} // namespace kernels

} // namespace velmont
