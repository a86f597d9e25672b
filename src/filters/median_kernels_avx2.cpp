// Compiled for AVX2: the ranks of the plain version, thirty-two windows at a time.
#include "filters/median_runs.h"

namespace velmont::kernels {

void medianRanksAvx2(uint8_t *to, const MedianRows &rows)
{
    medianByRanks(to, rows);
}

} // namespace velmont::kernels
