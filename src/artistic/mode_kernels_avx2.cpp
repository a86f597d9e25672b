// Compiled for AVX2: the loops of the plain version, which become longer vectors here.
#include "artistic/mode_runs.h"

namespace velmont::kernels {

ModeKernels modeAvx2(int64_t radius)
{
    return modeOfRadius(radius);
}

} // namespace velmont::kernels
