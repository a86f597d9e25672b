// Compiled for AVX-512: the loops of the plain version, which become longer vectors here.
#include "artistic/water_runs.h"

namespace velmont::kernels {

void waterToneAvx512(uint8_t *pixels, std::size_t count, const double *values)
{
    waterTone(pixels, count, values);
}

} // namespace velmont::kernels
