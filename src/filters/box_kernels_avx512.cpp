// Compiled for AVX-512: only functions of this file, so that nothing shared is compiled for it.
#include "filters/box_runs.h"

namespace velmont::kernels {

BoxKernels boxKernelsAvx512()
{
    return {boxRowRun, boxColumnsRun, boxMixedRun, boxMiddleRun};
}

} // namespace velmont::kernels
