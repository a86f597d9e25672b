#include "tests/golden/pictures.h"
#include <algorithm>
#include <array>
#include <cstdlib>

namespace velmont::golden {

namespace {

constexpr std::array kKinds{
    Kind{"1-bit", 1, 2, catalogue::Depth1},
    Kind{"4-bit", 4, 16, catalogue::Depth4},
    Kind{"8-bit-gray", 8, 256, catalogue::Depth8Gray},
    Kind{"8-bit-paletted", 8, 256, catalogue::Depth8Paletted},
    Kind{"8-bit-of-10-colors", 8, 10, catalogue::Depth8Paletted, true},
    Kind{"24-bit", 24, 0, catalogue::Depth24},
};

constexpr int kPatchSide = 8;

/// A level that looks random and depends on its arguments alone.
int scattered(int x, int y, int channel)
{
    uint32_t mixed = static_cast<uint32_t>(x) * 0x9E3779B1u ^ static_cast<uint32_t>(y) * 0x85EBCA77u ^
                     static_cast<uint32_t>(channel) * 0xC2B2AE3Du;
    mixed = (mixed ^ mixed >> 15) * 0x2C1B3C6Du;
    mixed = (mixed ^ mixed >> 12) * 0x297A2D39u;
    return static_cast<int>(mixed >> 24);
}

/// Up to 255 and down again, over and over.
int shade(int x, int y, int channel)
{
    return std::abs((3 * x + 5 * y + 90 * channel) % 510 - 255);
}

/// The level of a channel at a pixel: its patch is flat, shaded, shaded with a little noise or noise.
int levelAt(int x, int y, int channel)
{
    constexpr int kAnyPatch = 7;
    const int across = x / kPatchSide, along = y / kPatchSide;
    switch (scattered(across, along, kAnyPatch) % 4) {
    case 0:
        return scattered(across, along, channel);
    case 1:
        return shade(x, y, channel);
    case 2:
        return std::clamp(shade(x, y, channel) + scattered(x, y, channel) % 32 - 16, 0, 255);
    default:
        return scattered(x, y, channel);
    }
}

void drawPixel(std::span<uint8_t> row, const Kind &kind, int x, int y)
{
    const auto at = static_cast<std::size_t>(x);
    const auto level = static_cast<uint8_t>(levelAt(x, y, 0));
    const auto set = [](uint8_t &byte, int shift, int mask, int value) {
        byte = static_cast<uint8_t>((byte & ~(mask << shift)) | value << shift);
    };
    switch (kind.bits) {
    case 1:
        return set(row[at / 8], 7 - x % 8, 1, level >> 7);
    case 4:
        return set(row[at / 2], x % 2 == 0 ? 4 : 0, 15, level >> 4);
    case 8:
        row[at] = kind.colors < 256 ? static_cast<uint8_t>(level % kind.colors) : level;
        return;
    default:
        for (int channel = 0; channel < 3; ++channel)
            row[3 * at + static_cast<std::size_t>(channel)] = static_cast<uint8_t>(levelAt(x, y, channel));
    }
}

} // namespace

std::span<const Kind> kinds()
{
    return kKinds;
}

testing::Bytes picture(const Kind &kind, int width, int height)
{
    constexpr uint32_t kPaddingSeed = 1, kPaletteSeed = 2;
    const DibHeader header = testing::makeHeader(width, height, kind.bits, kind.colors);
    testing::Bytes rows = testing::noise(header.biSizeImage, kPaddingSeed);
    const std::size_t stride = testing::strideFor(width, kind.bits);
    for (int y = 0; y < height; ++y)
        for (int x = 0; x < width; ++x)
            drawPixel(std::span(rows).subspan(static_cast<std::size_t>(y) * stride, stride), kind, x, y);
    const testing::Bytes palette = kind.depth == catalogue::Depth8Gray
                                       ? testing::grayRamp()
                                       : testing::noise(std::size_t{4} * kind.colors, kPaletteSeed);
    return testing::makeBlock(header, palette, rows);
}

} // namespace velmont::golden
