#include "tone/tone_kernels.h"
#include "core/cpu.h"
#include <algorithm>
#include <cstring>

namespace velmont {

namespace kernels {

void thresholdPlain(uint8_t *__restrict to, const uint8_t *__restrict from, std::size_t pixels, int threshold)
{
    const auto limit = static_cast<unsigned>(255 * threshold);
    for (std::size_t x = 0; x < 3 * pixels; x += 3) {
        const bool isAbove = weightedLuminance(from[x], from[x + 1], from[x + 2]) > limit;
        to[x] = to[x + 1] = to[x + 2] = isAbove ? 255 : 0;
    }
}

void tintPlain(uint8_t *__restrict to, const uint8_t *__restrict from, std::size_t pixels, const Tint &tint)
{
    const std::size_t largestAt = tint.largestBlue ? 0 : 2;
    for (std::size_t x = 0; x < 3 * pixels; x += 3) {
        const unsigned blue = from[x], green = from[x + 1], red = from[x + 2];
        // Written out: compilers make branches, which noise mispredicts, of std::max and std::min here.
        const unsigned larger = blue > green ? blue : green, smaller = blue > green ? green : blue;
        const unsigned largest = larger > red ? larger : red, smallest = smaller < red ? smaller : red;
        to[x + largestAt] = static_cast<uint8_t>(largest);
        to[x + 1] = tint.between(largest, smallest);
        to[x + 2 - largestAt] = static_cast<uint8_t>(smallest);
    }
}

void levelColorPlain(uint8_t *__restrict to, const uint8_t *__restrict from, std::size_t pixels,
                     const LevelColors &colors)
{
    const auto levelAt = [&](std::size_t x) {
        return static_cast<uint8_t>(colors.share[0][from[x]] + colors.share[1][from[x + 1]] +
                                    colors.share[2][from[x + 2]]);
    };
    // Four bytes at a time, of which the next pixel overwrites the last; the row's end is written by threes.
    std::size_t x = 0;
    for (; x + 3 < 3 * pixels; x += 3)
        std::memcpy(to + x, colors.color[levelAt(x)], 4);
    for (; x < 3 * pixels; x += 3)
        std::memcpy(to + x, colors.color[levelAt(x)], 3);
}

} // namespace kernels

ThresholdRow thresholdRow()
{
#if defined(__x86_64__)
    if (cpuLevel() >= CpuLevel::Avx512)
        return kernels::thresholdAvx512;
    if (cpuLevel() >= CpuLevel::Avx2)
        return kernels::thresholdAvx2;
#endif
    return kernels::thresholdPlain;
}

TintRow tintRow()
{
#if defined(__x86_64__)
    if (cpuLevel() >= CpuLevel::Avx512)
        return kernels::tintAvx512;
    if (cpuLevel() >= CpuLevel::Avx2)
        return kernels::tintAvx2;
#endif
    return kernels::tintPlain;
}

LevelColorRow levelColorRow()
{
#if defined(__x86_64__)
    if (cpuLevel() >= CpuLevel::Avx512)
        return kernels::levelColorAvx512;
#endif
    return kernels::levelColorPlain;
}

void solarizeRow(uint8_t *__restrict to, const uint8_t *__restrict from, std::size_t bytes)
{
    // The smaller of a byte and its complement: below 128 that is the byte itself.
    for (std::size_t i = 0; i < bytes; ++i)
        to[i] = std::min(from[i], static_cast<uint8_t>(255 - from[i]));
}

void aboveRow(uint8_t *__restrict to, const uint8_t *__restrict from, std::size_t bytes, int threshold)
{
    const auto limit = static_cast<uint8_t>(threshold);
    for (std::size_t i = 0; i < bytes; ++i)
        to[i] = from[i] > limit ? 255 : 0;
}

} // namespace velmont
