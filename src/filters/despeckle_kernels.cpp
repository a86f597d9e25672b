#include "filters/despeckle_kernels.h"
#include "core/cpu.h"
#include <algorithm>
#include <cstdlib>

namespace velmont {

namespace kernels {

void despeckleRange(uint8_t *to, const ThreeRows &rows, std::size_t first, std::size_t last)
{
    for (std::size_t i = first; i < last; ++i) {
        const std::size_t left = i >= rows.step ? i - rows.step : i;
        const std::size_t right = i + rows.step < rows.bytes ? i + rows.step : i;
        const int a = rows.above[left], b = rows.above[i], c = rows.above[right];
        const int d = rows.current[left], e = rows.current[i], f = rows.current[right];
        const int g = rows.below[left], h = rows.below[i], k = rows.below[right];
        const int downwards = 2 * (h - b) + g + k - a - c;
        const int rightwards = 2 * (f - d) + c + k - a - g;
        const bool isEdge = std::abs(downwards) + std::abs(rightwards) >= 128;
        const int sum = a + b + c + d + e + f + g + h + k;
        // 7282 / 2^16 of up to 2299 is a ninth exactly.
        to[i] = static_cast<uint8_t>(isEdge ? e : (sum + 4) * 7282 >> 16);
    }
}

void despecklePlain(uint8_t *to, const ThreeRows &rows)
{
    despeckleRange(to, rows, 0, rows.bytes);
}

} // namespace kernels

DespeckleRow despeckleRow()
{
#if defined(__x86_64__)
    if (cpuLevel() >= CpuLevel::Avx2)
        return kernels::despeckleAvx2;
#endif
    return kernels::despecklePlain;
}

} // namespace velmont
