#include "filters/extreme_kernels.h"
#include "core/cpu.h"
#include "filters/extreme_runs.h"

namespace velmont {

namespace kernels {

void extremeRowPlain(uint8_t *to, const uint8_t *from, std::size_t pixels, std::size_t channels,
                     ExtremeWindow window)
{
    extremeRowRun(to, from, pixels, channels, window);
}

void extremeColumnsPlain(uint8_t *rows, std::size_t stride, int height, std::size_t bytes,
                         ExtremeWindow window)
{
    extremeColumnsRun(rows, stride, height, bytes, window);
}

} // namespace kernels

ExtremeKernels extremeKernels()
{
#if defined(__x86_64__)
    if (cpuLevel() >= CpuLevel::Avx2)
        return {kernels::extremeRowAvx2, kernels::extremeColumnsAvx2};
#endif
    return {kernels::extremeRowPlain, kernels::extremeColumnsPlain};
}

} // namespace velmont
