#include "tests/effects/geometry_testing.h"
#include <algorithm>

namespace velmont::testing {

namespace {

/// Bits of a pixel one by one, the first in memory highest.
std::size_t bitPlace(const Pieces &image, int x, int y, int bit)
{
    const int bits = image.header.biBitCount;
    const std::size_t stride = image.rows.size() / static_cast<std::size_t>(image.header.biHeight);
    return 8 * static_cast<std::size_t>(y) * stride +
           static_cast<std::size_t>(x) * static_cast<std::size_t>(bits) + static_cast<std::size_t>(bit);
}

uint32_t swappedAt24(const Pieces &image, uint32_t pixel)
{
    if (image.header.biBitCount != 24)
        return pixel;
    return pixel >> 16 | (pixel & 0xFF00) | (pixel & 0xFF) << 16;
}

} // namespace

uint32_t pixelIn(const Pieces &image, int x, int y)
{
    uint32_t pixel = 0;
    if (image.header.biBitCount == 8)
        return image.rows[bitPlace(image, x, y, 0) / 8];
    for (int bit = 0; bit < image.header.biBitCount; ++bit) {
        const std::size_t place = bitPlace(image, x, y, bit);
        pixel = pixel << 1 | (image.rows[place / 8] >> (7 - place % 8) & 1u);
    }
    return swappedAt24(image, pixel);
}

void putPixel(Pieces &image, int x, int y, uint32_t pixel)
{
    if (image.header.biBitCount == 8) {
        image.rows[bitPlace(image, x, y, 0) / 8] = static_cast<uint8_t>(pixel);
        return;
    }
    pixel = swappedAt24(image, pixel);
    const int bits = image.header.biBitCount;
    for (int bit = 0; bit < bits; ++bit) {
        const std::size_t place = bitPlace(image, x, y, bit);
        if (pixel >> (bits - 1 - bit) & 1)
            image.rows[place / 8] |= static_cast<uint8_t>(0x80 >> place % 8);
    }
}

Pieces blankOf(const Pieces &source, int width, int height)
{
    Pieces image{source.header, source.palette, {}};
    image.header.biWidth = width;
    image.header.biHeight = height;
    image.rows.resize(strideFor(width, source.header.biBitCount) * static_cast<std::size_t>(height));
    image.header.biSizeImage = static_cast<uint32_t>(image.rows.size());
    return image;
}

Pieces painted(const Pieces &source, int width, int height, const std::function<uint32_t(int, int)> &pixelAt)
{
    Pieces image = blankOf(source, width, height);
    for (int y = 0; y < height; ++y)
        for (int x = 0; x < width; ++x)
            putPixel(image, x, y, pixelAt(x, y));
    return image;
}

bool isSampled(const Pieces &image)
{
    if (image.header.biBitCount != 8)
        return image.header.biBitCount == 24;
    if (image.palette.size() != 1024)
        return false;
    for (std::size_t i = 0; i < 1024; ++i)
        if (i % 4 != 3 && image.palette[i] != i / 4)
            return false;
    return true;
}

std::vector<Pieces> everyDepth(int width, int height, uint32_t seed)
{
    return {paletted(width, height, 1, 2, seed),
            paletted(width, height, 4, 16, seed),
            paletted(width, height, 8, 256, seed),
            paletted(width, height, 8, 9, seed),
            gray(width, height, seed),
            trueColor(width, height, seed)};
}

Pieces grayRows(const std::vector<Bytes> &rows)
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
