#include "tests/effects/compositing_testing.h"
#include "platform/memory.h"
#include <gtest/gtest.h>

namespace velmont::testing {

namespace {

std::size_t placeOf(const Pieces &image, int64_t x, int64_t y)
{
    const std::size_t channels = image.header.biBitCount / 8u;
    const std::size_t stride = (static_cast<std::size_t>(image.header.biWidth) * channels + 3) / 4 * 4;
    return static_cast<std::size_t>(y) * stride + static_cast<std::size_t>(x) * channels;
}

int64_t modulo(int64_t value, int64_t size)
{
    value %= size;
    return value < 0 ? value + size : value;
}

bool isWithin(const Pieces &image, int64_t x, int64_t y)
{
    return x >= 0 && x < image.header.biWidth && y >= 0 && y < image.header.biHeight;
}

} // namespace

uint8_t *pixelOf(Pieces &image, int64_t x, int64_t y)
{
    return &image.rows[placeOf(image, x, y)];
}

const uint8_t *pixelOf(const Pieces &image, int64_t x, int64_t y)
{
    return &image.rows[placeOf(image, x, y)];
}

Pieces copiedIn(Pieces destination, const Pieces *source, int64_t x, int64_t y, bool wrap)
{
    const Pieces &from = source ? *source : destination;
    for (int64_t j = 0; j < from.header.biHeight; ++j)
        for (int64_t i = 0; i < from.header.biWidth; ++i) {
            int64_t toX = x + i, toY = y + j;
            if (wrap) {
                toX = modulo(toX, destination.header.biWidth);
                toY = modulo(toY, destination.header.biHeight);
            }
            if (isWithin(destination, toX, toY))
                for (int c = 0; c < destination.header.biBitCount / 8; ++c)
                    pixelOf(destination, toX, toY)[c] = pixelOf(from, i, j)[c];
        }
    return destination;
}

Pieces composited(Pieces destination, const Pieces *alpha, const Pieces *source, int64_t x, int64_t y,
                  bool blend, bool inverted)
{
    const Pieces &mask = alpha ? *alpha : destination;
    const Pieces &from = source ? *source : destination;
    for (int64_t j = 0; j < from.header.biHeight; ++j)
        for (int64_t i = 0; i < from.header.biWidth; ++i) {
            if (!isWithin(destination, x + i, y + j))
                continue;
            int a = isWithin(mask, i, j) ? *pixelOf(mask, i, j) : 0;
            if (inverted)
                a = 255 - a;
            if (a == 0)
                continue;
            for (int c = 0; c < destination.header.biBitCount / 8; ++c) {
                uint8_t &to = pixelOf(destination, x + i, y + j)[c];
                const int s = pixelOf(from, i, j)[c];
                to = static_cast<uint8_t>(!blend || a == 255 ? s : (s * a + to * (255 - a) + 127) / 255);
            }
        }
    return destination;
}

Pieces sampled(int bits, int width, int height, uint32_t seed)
{
    return bits == 8 ? gray(width, height, seed) : trueColor(width, height, seed);
}

Pieces runMask(int width, int height, uint32_t seed)
{
    Pieces mask = gray(width, height, seed);
    uint32_t state = seed;
    for (std::size_t i = 0; i < mask.rows.size();) {
        state = state * 1664525u + 1013904223u;
        const std::size_t run = state >> 25;
        const uint32_t kind = state >> 16 & 3;
        for (std::size_t end = std::min(i + run, mask.rows.size()); i < end; ++i)
            if (kind < 3) // else noise
                mask.rows[i] = kind == 0 ? 0 : 255;
    }
    return mask;
}

Pieces canvas(int bits, int width, int height, int resolution, uint32_t color)
{
    const uint32_t colors = bits == 8 ? 256 : 0;
    const auto imageBytes = static_cast<uint32_t>(strideFor(width, bits) * static_cast<std::size_t>(height));
    const DibHeader header{40,         width,      height, 1,     static_cast<uint16_t>(bits), 0, imageBytes,
                           resolution, resolution, colors, colors};
    const uint8_t channels[3] = {static_cast<uint8_t>(color >> 16), static_cast<uint8_t>(color >> 8),
                                 static_cast<uint8_t>(color)};
    const bool isNeutral = channels[0] == channels[1] && channels[1] == channels[2];
    const int level = (29 * channels[0] + 150 * channels[1] + 76 * channels[2]) / 255;
    Pieces image{header, bits == 8 ? grayRamp() : Bytes{}, Bytes(imageBytes, isNeutral ? channels[0] : 0)};
    for (int y = 0; y < height; ++y)
        for (int x = 0; x < width; ++x)
            for (int c = 0; c < bits / 8; ++c)
                pixelOf(image, x, y)[c] = bits == 8 ? static_cast<uint8_t>(level) : channels[c];
    return image;
}

Pieces piecesOf(void *dib)
{
    const Bytes bytes = bytesOf(dib);
    const DibHeader header = headerOf(dib);
    const auto rows = bytes.begin() + 40 + (header.biBitCount <= 8 ? 4 * header.biClrUsed : 0);
    return {header, Bytes(bytes.begin() + 40, rows), Bytes(rows, bytes.end())};
}

Changed changedBy(const Pieces &image, const std::function<bool(void *)> &call)
{
    const Handle handle = image.handle();
    RecordingHost host;
    const bool answer = call(handle);
    EXPECT_EQ(host.events, Events{});
    EXPECT_EQ(memory_hooks::locksOn(handle), 0);
    return {answer, bytesOf(handle)};
}

} // namespace velmont::testing
