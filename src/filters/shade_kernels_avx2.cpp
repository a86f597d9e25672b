// Compiled for AVX2: the loops of the plain version, which become longer vectors here.
#include "filters/shade_runs.h"

namespace velmont {

namespace kernels {

ShadeKernels shadeAvx2()
{
    return {shadeRun, shadeRow, shadeTiles};
}

} // namespace kernels

} // namespace velmont
