#include "geometry/distort_kernels.h"
#include "core/cpu.h"

namespace velmont {

namespace kernels {

namespace {

void distortPlaces(DistortPlaces &places, const DistortMap &map, int32_t u, int32_t v, int count)
{
    const DistortMap by = map;
    const double width = by.width, height = by.height;
    for (int i = 0; i < count; ++i) {
        const auto steps = static_cast<uint32_t>(i);
        const auto ui =
            static_cast<int32_t>(static_cast<uint32_t>(u) + steps * static_cast<uint32_t>(by.uStep));
        const auto vi =
            static_cast<int32_t>(static_cast<uint32_t>(v) + steps * static_cast<uint32_t>(by.vStep));
        const double x = (by.x0 + ui * by.xu) * vi + 0.5, y = (by.y0 + vi * by.yv) * ui + 0.5;
        // Truncated, -0.9 counts as 0. What is not a number lies outside.
        const bool isInside = (x > -1) & (x < width) & (y > -1) & (y < height);
        const double heldX = isInside ? x : 0, heldY = isInside ? y : 0;
        const auto column = static_cast<int32_t>(heldX), row = static_cast<int32_t>(heldY);
        places.columnWeight[i] = static_cast<int32_t>(8.0 * (column + 1.0) - 8 * heldX + 0.5);
        places.rowWeight[i] = static_cast<int32_t>(8.0 * (row + 1.0) - 8 * heldY + 0.5);
        places.column[i] = isInside ? column : -1;
        places.row[i] = row;
    }
}

/// Of the last column and of the last row pixels are copied as they are.
template <int channels>
void distortBlend(uint8_t *to, const DistortSource &source, const DistortPlaces &places, int count,
                  uint32_t background)
{
    for (int i = 0; i < count; ++i, to += channels) {
        const int32_t column = places.column[i], row = places.row[i];
        if (column < 0) {
            for (int channel = 0; channel < channels; ++channel)
                to[channel] = static_cast<uint8_t>(background >> 8 * channel);
            continue;
        }
        const uint8_t *const here = source.rows + source.stride * static_cast<std::size_t>(row) +
                                    channels * static_cast<std::size_t>(column);
        if (column == source.width - 1 || row == source.height - 1) {
            for (int channel = 0; channel < channels; ++channel)
                to[channel] = here[channel];
            continue;
        }
        const uint8_t *const next = here + source.stride;
        const int32_t left = places.columnWeight[i], right = 8 - left;
        const int32_t lower = places.rowWeight[i], upper = 8 - lower;
        for (int channel = 0; channel < channels; ++channel) {
            const int32_t first = here[channel] * left + here[channels + channel] * right;
            const int32_t second = next[channel] * left + next[channels + channel] * right;
            to[channel] = static_cast<uint8_t>((first * lower + second * upper) >> 6);
        }
    }
}

} // namespace

DistortKernels distortPlain()
{
    return {distortPlaces, distortBlend<3>, distortBlend<1>};
}

} // namespace kernels

DistortKernels distortKernels()
{
#if defined(__x86_64__)
    if (cpuLevel() >= CpuLevel::Avx2)
        return kernels::distortAvx2();
#endif
    return kernels::distortPlain();
}

} // namespace velmont
