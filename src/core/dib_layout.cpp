#include "core/dib_layout.h"
#include <bit>
#include <cstring>

namespace velmont {

static_assert(std::endian::native == std::endian::little, "headers are read as they lie in the block");

std::optional<DibLayout> DibLayout::make(int width, int height, int bitCount, uint64_t pixelOffset)
{
    if (width < 1 || height < 1)
        return std::nullopt;
    const uint64_t stride = strideOf(width, bitCount);
    // The stride stays below 2^48 and the height below 2^31: compare by division, so that nothing overflows.
    if (pixelOffset > UINT32_MAX || stride > (UINT32_MAX - pixelOffset) / static_cast<uint64_t>(height))
        return std::nullopt;
    return DibLayout{width, height, bitCount, static_cast<std::size_t>(pixelOffset),
                     static_cast<std::size_t>(stride)};
}

std::optional<Dib> Dib::examine(uint8_t *block, std::size_t blockBytes)
{
    if (!block || blockBytes < kHeaderBytes)
        return std::nullopt;
    DibHeader header;
    std::memcpy(&header, block, sizeof header);
    if (header.biSize < kHeaderBytes || header.biSize > blockBytes)
        return std::nullopt;
    const uint32_t entries = header.biBitCount <= 8 ? header.biClrUsed : 0;
    const auto layout = DibLayout::make(header.biWidth, header.biHeight, header.biBitCount,
                                        kHeaderBytes + uint64_t{entries} * kColorBytes);
    return layout ? withLayout(block, blockBytes, *layout) : std::nullopt;
}

std::optional<Dib> Dib::withLayout(uint8_t *block, std::size_t blockBytes, const DibLayout &layout)
{
    if (layout.totalBytes() > blockBytes)
        return std::nullopt;
    return Dib(block, blockBytes, layout);
}

DibHeader Dib::header() const
{
    DibHeader header;
    std::memcpy(&header, block_, sizeof header);
    return header;
}

void Dib::setHeader(const DibHeader &header)
{
    std::memcpy(block_, &header, sizeof header);
}

bool Dib::isGray() const
{
    return bitCount() == 8 && paletteEntries() == 256 && isGrayRamp(palette(), 256);
}

bool isGrayRamp(const uint8_t *palette, std::size_t entries)
{
    for (std::size_t i = 0; i < entries; ++i) {
        const uint8_t *const color = palette + kColorBytes * i;
        if (color[0] != i || color[1] != i || color[2] != i)
            return false;
    }
    return true;
}

void writeGrayRamp(uint8_t *palette)
{
    for (unsigned i = 0; i < 256; ++i) {
        const auto level = static_cast<uint8_t>(i);
        const uint8_t color[kColorBytes] = {level, level, level, 0};
        std::memcpy(palette + kColorBytes * i, color, sizeof color);
    }
}

} // namespace velmont
