#pragma once

/// \file
/// Kernels that lay pixels over others through an alpha mask.

#include <cstddef>
#include <cstdint>

namespace velmont {

/// What an alpha between 0 and 255 does.
enum class AlphaUse {
    Blend, ///< (source * alpha + destination * (255 - alpha) + 127) / 255, rounded down
    Stamp, ///< the source as it is
};

/// Lays `from` over `to` in a row. The alpha of a pixel is `alpha[x] ^ flip`, flip 0 or 255; 0 leaves the destination, 255
/// takes the source.
using CompositeRow = void (*)(uint8_t *to, const uint8_t *from, const uint8_t *alpha, std::size_t pixels,
                              uint8_t flip);

/// The version for this processor, for pixels of 1 or 3 bytes. The runs of different images do not overlap.
CompositeRow compositeRow(int channels, AlphaUse use);

namespace kernels {

/// Pixel by pixel from the first on: the runs may overlap.
CompositeRow compositePlain(int channels, AlphaUse use);
#if defined(__x86_64__)
CompositeRow compositeAvx2(int channels, AlphaUse use);
#endif

} // namespace kernels

} // namespace velmont
