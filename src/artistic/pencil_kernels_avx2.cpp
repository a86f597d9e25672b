// Compiled for AVX2: the loops of the plain version, which become longer vectors here.
#include "artistic/pencil_runs.h"

namespace velmont::kernels {

PencilKernels pencilAvx2()
{
    return pencilLoops();
}

} // namespace velmont::kernels
