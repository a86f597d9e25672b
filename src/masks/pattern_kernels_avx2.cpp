// Compiled for AVX2: the loops of the plain version, which become longer vectors here.
#include "masks/pattern_kernels.h"
#include "masks/pattern_runs.h"

namespace velmont {

namespace kernels {

PatternKernels patternAvx2()
{
    return {mixRun, grayReliefRun, colorReliefRun};
}

} // namespace kernels

} // namespace velmont
