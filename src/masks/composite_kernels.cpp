#include "masks/composite_kernels.h"
#include "core/cpu.h"

namespace velmont {

namespace kernels {

namespace {

template <int channels, AlphaUse use>
void composite(uint8_t *to, const uint8_t *from, const uint8_t *alpha, std::size_t pixels, uint8_t flip)
{
    for (std::size_t x = 0; x < pixels; ++x, to += channels, from += channels) {
        const unsigned a = alpha[x] ^ flip;
        if (a == 0)
            continue;
        for (int c = 0; c < channels; ++c)
            to[c] = use == AlphaUse::Stamp
                        ? from[c]
                        : static_cast<uint8_t>((from[c] * a + to[c] * (255 - a) + 127) / 255);
    }
}

} // namespace

CompositeRow compositePlain(int channels, AlphaUse use)
{
    if (use == AlphaUse::Blend)
        return channels == 1 ? composite<1, AlphaUse::Blend> : composite<3, AlphaUse::Blend>;
    return channels == 1 ? composite<1, AlphaUse::Stamp> : composite<3, AlphaUse::Stamp>;
}

} // namespace kernels

CompositeRow compositeRow(int channels, AlphaUse use)
{
#if defined(__x86_64__)
    if (cpuLevel() >= CpuLevel::Avx2)
        return kernels::compositeAvx2(channels, use);
#endif
    return kernels::compositePlain(channels, use);
}

} // namespace velmont
