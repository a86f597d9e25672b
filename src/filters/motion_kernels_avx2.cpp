// Compiled for AVX2: the loops of the plain version, which become longer vectors here.
#include "filters/motion_runs.h"

namespace velmont {

namespace kernels {

MotionKernels motionAvx2()
{
    return {rayRow, rayColumns, slideRun};
}

} // namespace kernels

} // namespace velmont
