#include "filters/smart_kernels.h"
#include "core/cpu.h"
#include <algorithm>
#include <cstdlib>

namespace velmont {

namespace kernels {

void smartSplitRange(const SmartPlanes &planes, int y, const uint8_t *from, int first, int end)
{
    for (int x = first; x < end; ++x) {
        const uint8_t *const pixel = from + 3 * std::ptrdiff_t{x};
        const std::size_t at = planes.at(x, y);
        planes.weights[0][at] = static_cast<uint8_t>(pixel[0] / 10);
        planes.weights[1][at] = static_cast<uint8_t>(6 * pixel[1] / 10);
        planes.weights[2][at] = static_cast<uint8_t>(3 * pixel[2] / 10);
        planes.gray[at] =
            static_cast<uint8_t>(planes.weights[0][at] + planes.weights[1][at] + planes.weights[2][at]);
    }
}

void smartSplitPlain(const SmartPlanes &planes, int y, const uint8_t *from)
{
    smartSplitRange(planes, y, from, 0, planes.width);
}

namespace {

int differenceOf(const SmartPlanes &planes, std::size_t a, std::size_t b)
{
    int sum = 0;
    for (const uint8_t *const weight : planes.weights)
        sum += std::abs(weight[a] - weight[b]);
    return sum;
}

} // namespace

void smartMeansRange(uint8_t *mean, const uint8_t *choices, const SmartPlanes &planes, int y,
                     const SmartBox &box, int first, int end)
{
    const int top = std::max(y - box.back, 0), bottom = std::min(y + box.forward, planes.height - 1);
    for (int x = first; x < end; ++x) {
        if (choices[x] != box.choice)
            continue;
        const int left = std::max(x - box.back, 0), right = std::min(x + box.forward, planes.width - 1);
        int sum = 0, count = 0;
        for (int row = top; row <= bottom; ++row)
            for (int64_t column = int64_t{left} + row % box.step; column <= right; column += box.step) {
                const std::size_t at = planes.at(static_cast<int>(column), row);
                if (box.isPicky && differenceOf(planes, at, planes.at(x, y)) > box.limit)
                    continue;
                sum += planes.gray[at];
                ++count;
            }
        if (count > 0)
            mean[x] = static_cast<uint8_t>(sum / count);
    }
}

void smartMeansPlain(uint8_t *mean, const uint8_t *choices, const SmartPlanes &planes, int y,
                     const SmartBox &box)
{
    smartMeansRange(mean, choices, planes, y, box, 0, planes.width);
}

void smartShiftPlain(uint8_t *to, const uint8_t *from, const uint8_t *mean, const uint8_t *gray,
                     std::size_t pixels)
{
    for (std::size_t x = 0; x < pixels; ++x)
        for (std::size_t channel = 0; channel < 3; ++channel)
            to[3 * x + channel] =
                static_cast<uint8_t>(std::clamp(from[3 * x + channel] + mean[x] - gray[x], 0, 255));
}

} // namespace kernels

namespace {

/// The slopes of one plane, added to the edges of the `count` pixels behind the first.
void addSlopes(uint16_t *__restrict edges, const uint8_t *__restrict above, const uint8_t *__restrict current,
               const uint8_t *__restrict below, std::size_t count)
{
    for (std::size_t i = 0; i < count; ++i) {
        const auto across = static_cast<int16_t>(2 * (current[i + 2] - current[i]) - below[i] - above[i] +
                                                 above[i + 2] + below[i + 2]);
        const auto down = static_cast<int16_t>(2 * (below[i + 1] - above[i + 1]) - above[i] - above[i + 2] +
                                               below[i + 2] + below[i]);
        edges[i] =
            static_cast<uint16_t>(edges[i] + (across < 0 ? -across : across) + (down < 0 ? -down : down));
    }
}

} // namespace

void smartEdges(uint16_t *to, const SmartPlanes &planes, int y)
{
    const std::size_t inner = static_cast<std::size_t>(planes.width) - 2;
    std::fill_n(to + 1, inner, uint16_t{0});
    for (const uint8_t *const weight : planes.weights)
        addSlopes(to + 1, weight + planes.at(0, y - 1), weight + planes.at(0, y),
                  weight + planes.at(0, y + 1), inner);
}

SmartKernels smartKernels()
{
#if defined(__x86_64__)
    if (cpuLevel() >= CpuLevel::Avx2)
        return {kernels::smartSplitAvx2, kernels::smartMeansAvx2, kernels::smartShiftAvx2};
#endif
    return {kernels::smartSplitPlain, kernels::smartMeansPlain, kernels::smartShiftPlain};
}

} // namespace velmont
