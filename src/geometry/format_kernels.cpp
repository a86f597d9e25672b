#include "geometry/format_kernels.h"
#include "core/cpu.h"
#include <cstring>

namespace velmont {

namespace kernels {

void bgrToGrayPlain(uint8_t *__restrict to, const uint8_t *__restrict from, std::size_t pixels)
{
    for (std::size_t x = 0; x < pixels; ++x)
        to[x] = static_cast<uint8_t>(grayOf(from[3 * x], from[3 * x + 1], from[3 * x + 2]));
}

void indexToBgrPlain(uint8_t *__restrict to, const uint8_t *__restrict from, std::size_t pixels,
                     const ColorTable &table)
{
    // Four bytes at a time, of which the next pixel overwrites the last; the row's end is written by threes.
    std::size_t x = 0;
    for (; x + 1 < pixels; ++x)
        std::memcpy(to + 3 * x, table.entry[from[x]], 4);
    for (; x < pixels; ++x)
        std::memcpy(to + 3 * x, table.entry[from[x]], 3);
}

void aboveThresholdPlain(uint8_t *__restrict to, const uint8_t *__restrict from, std::size_t pixels,
                         int threshold)
{
    for (std::size_t x = 0; x < pixels; x += 8) {
        unsigned bits = 0;
        for (std::size_t i = 0; i < 8 && x + i < pixels; ++i)
            bits |= (from[x + i] > threshold ? 0x80u : 0u) >> i;
        to[x / 8] = static_cast<uint8_t>(bits);
    }
}

} // namespace kernels

namespace {

[[maybe_unused]] bool isGrayTable(const ColorTable &table)
{
    for (unsigned i = 0; i < 256; ++i)
        if (table.entry[i][0] != i || table.entry[i][1] != i || table.entry[i][2] != i)
            return false;
    return true;
}

} // namespace

PixelRow bgrToGrayRow()
{
#if defined(__x86_64__)
    if (cpuLevel() >= CpuLevel::Avx512)
        return kernels::bgrToGrayAvx512;
    if (cpuLevel() >= CpuLevel::Avx2)
        return kernels::bgrToGrayAvx2;
#endif
    return kernels::bgrToGrayPlain;
}

ColorRow indexToBgrRow([[maybe_unused]] const ColorTable &table)
{
#if defined(__x86_64__)
    if (cpuLevel() >= CpuLevel::Avx512)
        return kernels::indexToBgrAvx512;
    if (cpuLevel() >= CpuLevel::Avx2 && isGrayTable(table))
        return kernels::grayToBgrAvx2;
#endif
    return kernels::indexToBgrPlain;
}

BitRow aboveThresholdRow([[maybe_unused]] int threshold)
{
#if defined(__x86_64__)
    if (cpuLevel() >= CpuLevel::Avx2 && threshold >= 0 && threshold <= 254)
        return kernels::aboveThresholdAvx2;
#endif
    return kernels::aboveThresholdPlain;
}

namespace {

/// The eight bits of a byte as bytes of 0 and 1, the highest first.
void unpackBits(uint8_t *to, uint8_t byte)
{
    for (int i = 0; i < 8; ++i)
        to[i] = byte >> (7 - i) & 1;
}

} // namespace

void unpackRow(uint8_t *__restrict to, const uint8_t *__restrict from, std::size_t pixels, int bitCount)
{
    const std::size_t pixelsPerByte = bitCount == 4 ? 2 : 8;
    const std::size_t wholeBytes = pixels / pixelsPerByte;
    if (bitCount == 4) {
        for (std::size_t i = 0; i < wholeBytes; ++i) {
            to[2 * i] = from[i] >> 4;
            to[2 * i + 1] = from[i] & 15;
        }
        if (pixels % 2 != 0)
            to[pixels - 1] = from[wholeBytes] >> 4;
        return;
    }
    for (std::size_t i = 0; i < wholeBytes; ++i)
        unpackBits(to + 8 * i, from[i]);
    for (std::size_t x = 8 * wholeBytes; x < pixels; ++x)
        to[x] = from[wholeBytes] >> (7 - x % 8) & 1;
}

} // namespace velmont
