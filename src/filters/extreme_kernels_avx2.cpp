// Compiled for AVX2: the loops of the plain version, which become longer vectors here.
#include "filters/extreme_kernels.h"
#include "filters/extreme_runs.h"

namespace velmont {

namespace kernels {

void extremeRowAvx2(uint8_t *to, const uint8_t *from, std::size_t pixels, std::size_t channels,
                    ExtremeWindow window)
{
    extremeRowRun(to, from, pixels, channels, window);
}

void extremeColumnsAvx2(uint8_t *rows, std::size_t stride, int height, std::size_t bytes,
                        ExtremeWindow window)
{
    extremeColumnsRun(rows, stride, height, bytes, window);
}

} // namespace kernels

} // namespace velmont
