#include "geometry/cylinder_kernels.h"
#include "core/cpu.h"
#include "geometry/cylinder_runs.h"

namespace velmont {

namespace kernels {

void cylinder24Plain(uint8_t *to, const uint8_t *from, const CylinderColumn *columns, int width)
{
    bendColumns<3>(to, from, columns, 0, width);
}

void cylinder8Plain(uint8_t *to, const uint8_t *from, const CylinderColumn *columns, int width)
{
    bendColumns<1>(to, from, columns, 0, width);
}

} // namespace kernels

CylinderRow cylinderRow(int bitCount)
{
    if (bitCount == 8)
        return kernels::cylinder8Plain;
#if defined(__x86_64__)
    if (cpuLevel() >= CpuLevel::Avx2)
        return kernels::cylinder24Avx2;
#endif
    return kernels::cylinder24Plain;
}

} // namespace velmont
