#include "geometry/rotate_kernels.h"
#include "core/cpu.h"

namespace velmont {

namespace kernels {

namespace {

template <std::size_t channels>
void blendPlain(uint8_t *to, std::size_t count, const SampleRows &from, SamplePlace place, SamplePlace step)
{
    for (std::size_t i = 0; i < count; ++i, place += step) {
        const uint32_t x = place.x >> kPlaceBits, y = place.y >> kPlaceBits;
        const uint8_t *const pixel = from.first + y * from.stride + x * channels;
        const bool isInner =
            x + 1 < static_cast<uint32_t>(from.width) && y + 1 < static_cast<uint32_t>(from.height);
        const uint32_t fx = isInner ? place.x >> (kPlaceBits - 3) & 7 : 0;
        const uint32_t fy = isInner ? place.y >> (kPlaceBits - 3) & 7 : 0;
        const std::size_t right = isInner ? channels : 0, below = isInner ? from.stride : 0;
        for (std::size_t channel = 0; channel < channels; ++channel) {
            const uint8_t *const p = pixel + channel;
            const uint32_t sum = (8 - fx) * (8 - fy) * p[0] + fx * (8 - fy) * p[right] +
                                 (8 - fx) * fy * p[below] + fx * fy * p[below + right];
            to[i * channels + channel] = static_cast<uint8_t>((sum + 32) >> 6);
        }
    }
}

} // namespace

void blendBytesPlain(uint8_t *to, std::size_t count, const SampleRows &from, SamplePlace start,
                     SamplePlace step)
{
    blendPlain<1>(to, count, from, start, step);
}

void blendPixelsPlain(uint8_t *to, std::size_t count, const SampleRows &from, SamplePlace start,
                      SamplePlace step)
{
    blendPlain<3>(to, count, from, start, step);
}

} // namespace kernels

RotateKernels rotateKernels(int bitCount)
{
    const BlendedRun plain = bitCount == 24 ? kernels::blendPixelsPlain : kernels::blendBytesPlain;
#if defined(__x86_64__)
    if (cpuLevel() >= CpuLevel::Avx2)
        return bitCount == 24 ? RotateKernels{plain, kernels::blendPixelsAvx2, kernels::kPixelsReachAvx2}
                              : RotateKernels{plain, kernels::blendBytesAvx2, kernels::kBytesReachAvx2};
#endif
    return {plain, plain, 1};
}

} // namespace velmont
