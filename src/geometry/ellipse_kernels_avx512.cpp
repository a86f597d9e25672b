// Compiled for AVX-512: the loops of the plain version, which become longer vectors here.
#include "geometry/ellipse_runs.h"

namespace velmont {

namespace kernels {

EllipseKernels ellipseAvx512()
{
    return {radialPlaces, angularPlaces};
}

} // namespace kernels

} // namespace velmont
