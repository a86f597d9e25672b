#include "tests/support/images.h"
#include <algorithm>
#include <cstring>
#include <gtest/gtest.h>

namespace velmont::testing {

Handle blockOf(std::span<const uint8_t> bytes)
{
    Handle handle(KelMemAlloc(KEL_MEM_MOVEABLE, bytes.size()));
    void *const memory = KelMemLock(handle);
    if (!bytes.empty())
        std::memcpy(memory, bytes.data(), bytes.size());
    KelMemUnlock(handle);
    return handle;
}

Bytes bytesOf(void *handle)
{
    Bytes bytes(KelMemSize(handle));
    if (const void *const memory = KelMemLock(handle)) {
        if (!bytes.empty())
            std::memcpy(bytes.data(), memory, bytes.size());
        KelMemUnlock(handle);
    }
    return bytes;
}

DibHeader headerOf(void *handle)
{
    DibHeader header{};
    const Bytes bytes = bytesOf(handle);
    if (bytes.size() >= sizeof header)
        std::memcpy(&header, bytes.data(), sizeof header);
    return header;
}

void clearPadding(Bytes &block)
{
    DibHeader header{};
    if (block.size() >= sizeof header)
        std::memcpy(&header, block.data(), sizeof header);
    if (header.biWidth < 1 || header.biHeight < 1)
        return;
    const std::size_t stride = strideFor(header.biWidth, header.biBitCount),
                      used = (static_cast<std::size_t>(header.biWidth) * header.biBitCount + 7) / 8,
                      rows = sizeof header + 4 * std::size_t{header.biClrUsed};
    ASSERT_EQ(block.size(), rows + stride * static_cast<std::size_t>(header.biHeight));
    for (std::size_t row = rows; row < block.size(); row += stride)
        std::fill_n(block.begin() + static_cast<std::ptrdiff_t>(row + used), stride - used, uint8_t{0});
}

std::size_t strideFor(int width, int bits)
{
    const std::size_t rowBits = static_cast<std::size_t>(width) * static_cast<std::size_t>(bits);
    std::size_t bytes = 0;
    while (bytes * 8 < rowBits)
        bytes += 4;
    return bytes;
}

DibHeader makeHeader(int width, int height, int bits, uint32_t colorsUsed)
{
    const auto imageBytes = static_cast<uint32_t>(strideFor(width, bits) * static_cast<std::size_t>(height));
    return {40,   width, height,     1,         static_cast<uint16_t>(bits), 0, imageBytes,
            2835, 2834,  colorsUsed, colorsUsed};
}

Bytes makeBlock(const DibHeader &header, std::span<const uint8_t> palette, std::span<const uint8_t> rows)
{
    Bytes block(sizeof header + palette.size() + rows.size());
    std::memcpy(block.data(), &header, sizeof header);
    std::copy(palette.begin(), palette.end(), block.begin() + sizeof header);
    std::copy(rows.begin(), rows.end(), block.end() - static_cast<std::ptrdiff_t>(rows.size()));
    return block;
}

Bytes grayRamp()
{
    Bytes palette;
    for (int i = 0; i < 256; ++i) {
        const auto level = static_cast<uint8_t>(i);
        palette.insert(palette.end(), {level, level, level, 0});
    }
    return palette;
}

Bytes noise(std::size_t count, uint32_t seed)
{
    Bytes bytes(count);
    uint32_t state = seed * 2654435761u + 12345u;
    for (uint8_t &byte : bytes) {
        state ^= state << 13;
        state ^= state >> 17;
        state ^= state << 5;
        byte = static_cast<uint8_t>(state >> 11);
    }
    return bytes;
}

Handle noiseImage(int width, int height, int bits, uint32_t colorsUsed, uint32_t seed)
{
    const DibHeader header = makeHeader(width, height, bits, colorsUsed);
    const Bytes palette = noise(std::size_t{4} * colorsUsed, seed + 1000);
    return blockOf(makeBlock(header, palette, noise(header.biSizeImage, seed)));
}

Handle grayNoise(int width, int height, uint32_t seed)
{
    const DibHeader header = makeHeader(width, height, 8, 256);
    return blockOf(makeBlock(header, grayRamp(), noise(header.biSizeImage, seed)));
}

} // namespace velmont::testing
