// Compiled for AVX2: the ranks of the plain version, thirty-two windows at a time.
#include "filters/median_runs.h"

namespace velmont::kernels {

MedianRow medianByRanksAvx2(int size, MedianKind kind)
{
    return medianOfSize(size, kind);
}

} // namespace velmont::kernels
