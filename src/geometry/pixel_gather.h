#pragma once

/// \file
/// Pixels from scattered places of an image: what the warps that do not interpolate come down to.

#include "core/dib_layout.h"
#include <algorithm>

namespace velmont {

/// The places that so many neighbouring pixels come from; all lie inside the image.
struct PixelPlaces {
    static constexpr std::size_t kMost = 256;
    alignas(64) int32_t column[kMost];
    alignas(64) int32_t row[kMost];
};

/// An image as gathering kernels see it.
struct PixelRows {
    const uint8_t *first; ///< row 0; there are bytes of a header before it
    uint32_t stride;      ///< no byte of the image is 4 GiB or more behind the first
};

/// to[i] = the pixel at places.column[i], places.row[i], for `count` pixels. The bytes behind them are left alone.
/// Gathering loads of the processor were measured and are slower than single ones.
void gatherBytes(uint8_t *to, const PixelRows &from, const PixelPlaces &places, std::size_t count);
/// The same for pixels of three bytes.
void gatherTriples(uint8_t *to, const PixelRows &from, const PixelPlaces &places, std::size_t count);

/// An image of samples to gather from.
class PixelSource {
public:
    explicit PixelSource(const Dib &image)
        : rows_{image.row(0), static_cast<uint32_t>(image.stride())},
          pixelBytes_(image.bitCount() == 24 ? 3 : 1), gather_(pixelBytes_ == 3 ? gatherTriples : gatherBytes)
    {
    }

    std::size_t pixelBytes() const { return pixelBytes_; }
    /// Pixels `first` and so on of the row at `to` become those at the places.
    void copy(uint8_t *to, int first, const PixelPlaces &places, std::size_t count) const
    {
        gather_(to + static_cast<std::size_t>(first) * pixelBytes_, rows_, places, count);
    }

private:
    PixelRows rows_;
    std::size_t pixelBytes_;
    void (*gather_)(uint8_t *, const PixelRows &, const PixelPlaces &, std::size_t);
};

/// A place moved within 0 to `last`, the nearest of them where it would leave them. Sums wrap in 32 bits.
inline int32_t movedWithin(int32_t last, int32_t place, int32_t by)
{
    const auto moved = static_cast<int32_t>(static_cast<uint32_t>(place) + static_cast<uint32_t>(by));
    return std::clamp(moved, int32_t{0}, last);
}

/// Cuts a row into runs of as many pixels as PixelPlaces hold: run(first, count).
template <typename Run>
void forPixelRuns(int width, Run run)
{
    constexpr int kMost = PixelPlaces::kMost;
    for (int first = 0; first < width; first += std::min(kMost, width - first))
        run(first, static_cast<std::size_t>(std::min(kMost, width - first)));
}

} // namespace velmont
