#pragma once

/// \file
/// Where the pieces of a `Dib` lie in its block.

#include <cstddef>
#include <cstdint>
#include <optional>
#include <velmont/dib.h>

namespace velmont {

inline constexpr std::size_t kHeaderBytes = sizeof(DibHeader);
inline constexpr std::size_t kColorBytes = sizeof(DibColor);
/// Where the rows of a gray `Dib` start.
inline constexpr std::size_t kGrayPixelOffset = kHeaderBytes + 256 * kColorBytes;

/// Bytes of one row: padded to a multiple of four.
constexpr uint64_t strideOf(int64_t width, int64_t bits)
{
    return static_cast<uint64_t>((width * bits + 31) / 32 * 4);
}

/// The channels of a colour value 0x00BBGGRR.
constexpr uint8_t redOf(unsigned long color)
{
    return static_cast<uint8_t>(color);
}
constexpr uint8_t greenOf(unsigned long color)
{
    return static_cast<uint8_t>(color >> 8);
}
constexpr uint8_t blueOf(unsigned long color)
{
    return static_cast<uint8_t>(color >> 16);
}

/// A picture's measures and the place of its rows. All of it lies within 4 GiB.
struct DibLayout {
    int width = 0;
    int height = 0;
    int bitCount = 0;
    std::size_t pixelOffset = 0;
    std::size_t stride = 0;

    std::size_t pixelBytes() const { return stride * static_cast<std::size_t>(height); }
    std::size_t totalBytes() const { return pixelOffset + pixelBytes(); }

    /// The layout with its stride worked out; nothing for a width or height below 1 or 4 GiB or more in all.
    static std::optional<DibLayout> make(int width, int height, int bitCount, uint64_t pixelOffset);
};

/// A `Dib` in a locked block, examined once: everything that the layout names lies inside the block.
class Dib {
public:
    /// Examines a locked block of `blockBytes` bytes. Nothing when its header does not fit it.
    static std::optional<Dib> examine(uint8_t *block, std::size_t blockBytes);
    /// The block with this layout, whatever its header says. Nothing when the layout does not fit it.
    static std::optional<Dib> withLayout(uint8_t *block, std::size_t blockBytes, const DibLayout &layout);

    DibHeader header() const;
    void setHeader(const DibHeader &header);
    const DibLayout &layout() const { return layout_; }
    int width() const { return layout_.width; }
    int height() const { return layout_.height; }
    int bitCount() const { return layout_.bitCount; }
    std::size_t stride() const { return layout_.stride; }
    uint8_t *block() const { return block_; }
    std::size_t blockBytes() const { return blockBytes_; }
    /// The palette right behind 40 bytes of header; all `paletteEntries` lie inside the block, and there are
    /// none above 8 bits.
    uint8_t *palette() const { return block_ + kHeaderBytes; }
    uint32_t paletteEntries() const
    {
        return static_cast<uint32_t>((layout_.pixelOffset - kHeaderBytes) / kColorBytes);
    }
    uint8_t *row(int y) const
    {
        return block_ + layout_.pixelOffset + layout_.stride * static_cast<std::size_t>(y);
    }

    /// 8 bits, biClrUsed exactly 256 and the identity ramp as palette.
    bool isGray() const;

private:
    Dib(uint8_t *block, std::size_t blockBytes, const DibLayout &layout)
        : block_(block), blockBytes_(blockBytes), layout_(layout)
    {
    }

    uint8_t *block_;
    std::size_t blockBytes_;
    DibLayout layout_;
};

/// Whether the first `entries` colours are (i, i, i); the reserved bytes are not looked at.
bool isGrayRamp(const uint8_t *palette, std::size_t entries);
/// Writes the 256 colours (i, i, i, 0).
void writeGrayRamp(uint8_t *palette);

} // namespace velmont
