#include "tests/effects/warp_testing.h"
#include <algorithm>

namespace velmont::testing {

namespace {

std::size_t offsetOf(const Pieces &image, int x, int y)
{
    const int bits = image.header.biBitCount;
    return static_cast<std::size_t>(y) * strideFor(image.header.biWidth, bits) +
           static_cast<std::size_t>(x * bits / 8);
}

std::size_t samplesOf(const Pieces &image)
{
    return image.header.biBitCount == 24 ? 3 : 1;
}

} // namespace

Bytes pixelOf(const Pieces &image, int x, int y)
{
    const auto first = image.rows.begin() + static_cast<std::ptrdiff_t>(offsetOf(image, x, y));
    return Bytes(first, first + static_cast<std::ptrdiff_t>(samplesOf(image)));
}

void setPixel(Pieces &image, int x, int y, const Bytes &samples)
{
    std::copy(samples.begin(), samples.end(),
              image.rows.begin() + static_cast<std::ptrdiff_t>(offsetOf(image, x, y)));
}

Pieces movedPixels(const Pieces &source, uint32_t color,
                   const std::function<std::optional<Place>(int x, int y)> &from)
{
    const auto red = static_cast<uint8_t>(color % 256), green = static_cast<uint8_t>(color / 256 % 256),
               blue = static_cast<uint8_t>(color / 65536 % 256);
    const Bytes outside = samplesOf(source) == 3 ? Bytes{blue, green, red} : Bytes{red};
    Pieces image = source;
    std::fill(image.rows.begin(), image.rows.end(), uint8_t{0});
    for (int y = 0; y < source.header.biHeight; ++y)
        for (int x = 0; x < source.header.biWidth; ++x) {
            const std::optional<Place> place = from(x, y);
            setPixel(image, x, y, place ? pixelOf(source, place->x, place->y) : outside);
        }
    return image;
}

Pieces levels(const std::vector<Bytes> &rows)
{
    const int width = static_cast<int>(rows[0].size()), height = static_cast<int>(rows.size());
    Pieces image{makeHeader(width, height, 8, 256), grayRamp(), {}};
    for (Bytes row : rows) {
        row.resize(strideFor(width, 8));
        image.rows.insert(image.rows.end(), row.begin(), row.end());
    }
    return image;
}

} // namespace velmont::testing
