// Compiled for AVX2: the loops of the plain version, which become longer vectors here.
#include "artistic/light_runs.h"

namespace velmont {

namespace kernels {

void shineAvx2(uint8_t *pixels, const Light &light, int column, int row, std::size_t count)
{
    shine(pixels, light, column, row, count);
}

} // namespace kernels

} // namespace velmont
