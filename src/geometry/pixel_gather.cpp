#include "geometry/pixel_gather.h"
#include <cstring>

namespace velmont {

namespace {

/// In 32 bits, which suffice for every place of an image.
uint32_t placeOf(const PixelRows &from, const PixelPlaces &places, std::size_t i, uint32_t pixelBytes)
{
    return static_cast<uint32_t>(places.row[i]) * from.stride +
           static_cast<uint32_t>(places.column[i]) * pixelBytes;
}

} // namespace

void gatherBytes(uint8_t *to, const PixelRows &from, const PixelPlaces &places, std::size_t count)
{
    for (std::size_t i = 0; i < count; ++i)
        to[i] = from.first[placeOf(from, places, i, 1)];
}

void gatherTriples(uint8_t *to, const PixelRows &from, const PixelPlaces &places, std::size_t count)
{
    if (count == 0)
        return;
    // Four bytes a load and a store, but for the last pixel: what is stored too much the next pixel overwrites,
    // and the byte loaded too much lies before the pixel, never behind the image.
    const uint8_t *const before = from.first - 1;
    for (std::size_t i = 0; i + 1 < count; ++i) {
        uint32_t pixel;
        std::memcpy(&pixel, before + placeOf(from, places, i, 3), sizeof pixel);
        pixel >>= 8;
        std::memcpy(to + 3 * i, &pixel, sizeof pixel);
    }
    std::memcpy(to + 3 * (count - 1), from.first + placeOf(from, places, count - 1, 3), 3);
}

} // namespace velmont
