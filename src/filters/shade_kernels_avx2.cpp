// Compiled for AVX2: the loops of the plain version, which become longer vectors here.
#include "filters/shade_runs.h"

namespace velmont {

namespace kernels {

ShadeKernels shadeAvx2()
{
    return {shadeRun, shadeTiles};
}

} // namespace kernels

} // namespace velmont
