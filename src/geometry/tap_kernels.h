#pragma once

/// \file
/// The kernel of the high-quality resampling: runs of bytes that are weighted sums of other runs. See
/// core/byte_kernels.h for the rules.

#include <cstddef>
#include <cstdint>

namespace velmont {

/// A source coordinate and the weight of its sample with 16 fractional bits. The weight fits 16 bits; larger ones are
/// made of several taps.
struct Tap {
    int32_t source;
    int32_t weight;
};

/// The taps of one coordinate, an even number of them.
struct TapRecord {
    const Tap *taps;
    std::size_t count;
};

/// to[i] is the sum of weight * from[source * step + i], rounded and held to 0 to 255.
using WeightedTaps = void (*)(uint8_t *to, const uint8_t *from, std::size_t step, const TapRecord &record,
                              std::size_t bytes);
WeightedTaps weightedTaps();

namespace kernels {

void weightedTapsPlain(uint8_t *to, const uint8_t *from, std::size_t step, const TapRecord &record,
                       std::size_t bytes);
#if defined(__x86_64__)
void weightedTapsAvx2(uint8_t *to, const uint8_t *from, std::size_t step, const TapRecord &record,
                      std::size_t bytes);
#endif

} // namespace kernels

} // namespace velmont
