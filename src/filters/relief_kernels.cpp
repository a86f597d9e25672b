#include "filters/relief_kernels.h"
#include "core/cpu.h"
#include <algorithm>
#include <cstdlib>

namespace velmont {

namespace {

uint8_t heldToByte(int value)
{
    return static_cast<uint8_t>(std::clamp(value, 0, 255));
}

void relief(uint8_t *to, const uint8_t *ground, const uint8_t *plus, const uint8_t *minus, std::size_t bytes)
{
    for (std::size_t i = 0; i < bytes; ++i)
        to[i] = heldToByte(ground[i] + plus[i] - minus[i]);
}

void meanRelief(uint8_t *to, const uint8_t *ground, const uint8_t *plus, const uint8_t *minus,
                std::size_t bytes)
{
    for (std::size_t i = 0; i + 3 <= bytes; i += 3) {
        int sum = 0;
        for (std::size_t channel = i; channel < i + 3; ++channel)
            sum += plus[channel] - minus[channel];
        for (std::size_t channel = i; channel < i + 3; ++channel)
            to[channel] = heldToByte(ground[channel] + sum / 3);
    }
}

void contour(uint8_t *to, const RowsAbout &rows, const uint8_t *limits, std::size_t bytes)
{
    const uint8_t *const here = rows.current;
    for (std::size_t i = 0; i < bytes; ++i) {
        const uint8_t darkest = std::min(std::min(*(here + i - rows.step), here[i + rows.step]),
                                         std::min(rows.previous[i], rows.next[i]));
        to[i] = here[i] > limits[i] && darkest <= limits[i] ? 255 : 0;
    }
}

/// Both slopes of a sample, the one down the columns held to 255 and so the sum.
int slopes(const RowsAbout &rows, std::size_t i)
{
    const auto three = [&](const uint8_t *row, int(&samples)[3]) {
        samples[0] = *(row + i - rows.step);
        samples[1] = row[i];
        samples[2] = row[i + rows.step];
    };
    int previous[3], current[3], next[3];
    three(rows.previous, previous);
    three(rows.current, current);
    three(rows.next, next);
    const int down = next[0] + 2 * next[1] + next[2] - previous[0] - 2 * previous[1] - previous[2];
    const int across = 2 * (current[2] - current[0]) + previous[2] + next[2] - previous[0] - next[0];
    return std::min(255, std::abs(across) + std::min(255, std::abs(down)));
}

uint8_t drawn(int slope, Pencil pencil)
{
    return static_cast<uint8_t>((slope < pencil.threshold ? 0 : slope) ^ pencil.ground);
}

void sketch(uint8_t *to, const RowsAbout &rows, Pencil pencil, std::size_t bytes)
{
    for (std::size_t i = 0; i < bytes; ++i)
        to[i] = drawn(slopes(rows, i), pencil);
}

void meanSketch(uint8_t *to, const RowsAbout &rows, Pencil pencil, std::size_t bytes)
{
    for (std::size_t i = 0; i + 3 <= bytes; i += 3) {
        const int sum = slopes(rows, i) + slopes(rows, i + 1) + slopes(rows, i + 2);
        to[i] = to[i + 1] = to[i + 2] = drawn(sum / 3, pencil);
    }
}

} // namespace

namespace kernels {

ReliefKernels reliefPlain()
{
    return {relief, meanRelief, contour, sketch, meanSketch};
}

} // namespace kernels

ReliefKernels reliefKernels()
{
#if defined(__x86_64__)
    if (cpuLevel() >= CpuLevel::Avx2)
        return kernels::reliefAvx2();
#endif
    return kernels::reliefPlain();
}

} // namespace velmont
