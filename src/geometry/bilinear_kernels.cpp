#include "geometry/bilinear_kernels.h"
#include "core/cpu.h"

namespace velmont {

namespace kernels {

void blendRowsPlain(uint16_t *__restrict sums, const uint8_t *upper, const uint8_t *lower, std::size_t count,
                    uint32_t weights)
{
    const auto first = static_cast<uint16_t>(weights), second = static_cast<uint16_t>(weights >> 16);
    for (std::size_t i = 0; i < count; ++i)
        sums[i] = static_cast<uint16_t>(uint32_t{upper[i]} * first + uint32_t{lower[i]} * second);
}

namespace {

template <std::size_t channels>
void blendColumnsPlain(uint8_t *to, const uint16_t *sums, const int32_t *columns, const uint32_t *weights,
                       std::size_t pixels)
{
    for (std::size_t x = 0; x < pixels; ++x) {
        const uint16_t *const left = sums + static_cast<std::size_t>(columns[x]) * channels;
        const uint32_t first = weights[x] & 0xFFFF, second = weights[x] >> 16;
        for (std::size_t channel = 0; channel < channels; ++channel)
            to[x * channels + channel] =
                static_cast<uint8_t>((left[channel] * first + left[channel + channels] * second + 32) >> 6);
    }
}

} // namespace

void blendColumnsOfBytesPlain(uint8_t *to, const uint16_t *sums, const int32_t *columns,
                              const uint32_t *weights, std::size_t pixels)
{
    blendColumnsPlain<1>(to, sums, columns, weights, pixels);
}

void blendColumnsOfPixelsPlain(uint8_t *to, const uint16_t *sums, const int32_t *columns,
                               const uint32_t *weights, std::size_t pixels)
{
    blendColumnsPlain<3>(to, sums, columns, weights, pixels);
}

} // namespace kernels

BilinearKernels bilinearKernels(int bitCount)
{
#if defined(__x86_64__)
    if (cpuLevel() >= CpuLevel::Avx2)
        return {kernels::blendRowsAvx2,
                bitCount == 24 ? kernels::blendColumnsOfPixelsAvx2 : kernels::blendColumnsOfBytesAvx2};
#endif
    return {kernels::blendRowsPlain,
            bitCount == 24 ? kernels::blendColumnsOfPixelsPlain : kernels::blendColumnsOfBytesPlain};
}

} // namespace velmont
