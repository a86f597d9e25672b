#include "core/dib_view.h"
#include "core/dib_layout.h"
#include <algorithm>
#include <cstring>
#include <velmont/memory.h>

namespace velmont {

DibView::DibView(void *dib)
{
    auto *const block = static_cast<uint8_t *>(KelMemLock(dib));
    if (!block)
        return;
    if (KelMemSize(dib) < kHeaderBytes) {
        KelMemUnlock(dib);
        return;
    }
    handle = dib;
    header = block;
    blockBytes_ = KelMemSize(dib);
    pointPaletteBehindHeader();
    Refresh();
}

DibView::~DibView()
{
    if (handle)
        KelMemUnlock(handle);
}

void DibView::Refresh()
{
    if (rowBytes != 0 || !header)
        return;
    rowBytes = GetRowBytes();
    isGray = hasGrayPalette() ? 1 : 0;
    bits = GetBits();
    bitCount = readHeader().biBitCount;
}

int32_t DibView::GetWidth() const
{
    return header ? readHeader().biWidth : 0;
}

int32_t DibView::GetHeight() const
{
    return header ? readHeader().biHeight : 0;
}

int32_t DibView::GetBitCount() const
{
    return header ? readHeader().biBitCount : -1;
}

uint32_t DibView::GetRowBytes() const
{
    return header ? static_cast<uint32_t>(strideOf(readHeader().biWidth, readHeader().biBitCount)) : 0;
}

uint32_t DibView::GetPaletteBytes() const
{
    if (!header)
        return 0;
    const DibHeader fields = readHeader();
    if (fields.biBitCount <= 8)
        return (fields.biClrUsed != 0 ? fields.biClrUsed : 2u >> fields.biBitCount) * 4;
    return fields.biBitCount <= 16 && fields.biCompression == 3 ? 4 : 0;
}

uint32_t DibView::GetTotalBytes() const
{
    if (!header)
        return 0;
    return GetRowBytes() * static_cast<uint32_t>(GetHeight()) + GetPaletteBytes() + readHeader().biSize;
}

uint8_t *DibView::GetBits() const
{
    return header ? placeAt(uint64_t{readHeader().biSize} + GetPaletteBytes()) : nullptr;
}

uint32_t DibView::GetPixel(int x, int y) const
{
    if (!header)
        return 0;
    if (bitCount == 8) {
        const uint8_t *const index = pixelAt(bits, x, y, 1);
        return index ? ColorOf(*index) : 0;
    }
    if (bitCount == 24) {
        const uint8_t *const pixel = pixelAt(bits, x, y, 3);
        return pixel ? uint32_t{pixel[0]} << 16 | uint32_t{pixel[1]} << 8 | pixel[2] : 0;
    }
    return 0;
}

int DibView::SetPixel(int x, int y, uint32_t color)
{
    if (!header)
        return 0;
    if (bitCount == 8) {
        uint8_t *const place = pixelAt(bits, x, y, 1);
        const int index = place ? IndexOf(redOf(color)) : -1;
        if (index < 0)
            return 0;
        *place = static_cast<uint8_t>(index);
        return 1;
    }
    if (bitCount == 24 && readHeader().biClrUsed == 0) {
        uint8_t *const pixel = pixelAt(bits, x, y, 3);
        if (!pixel)
            return 0;
        pixel[0] = blueOf(color);
        pixel[1] = greenOf(color);
        pixel[2] = redOf(color);
        return 1;
    }
    return 0;
}

uint32_t DibView::ColorOf(uint8_t index) const
{
    if (isGray)
        return uint32_t{index} << 16 | uint32_t{index} << 8 | index;
    const uint8_t *const entry = paletteEntry(index);
    return entry ? uint32_t{entry[0]} << 16 | uint32_t{entry[1]} << 8 | entry[2] : 0;
}

int DibView::IndexOf(uint8_t red) const
{
    if (isGray)
        return red;
    const uint32_t colorsUsed = header ? readHeader().biClrUsed : 0;
    for (uint32_t i = 0; i < colorsUsed; ++i) {
        const uint8_t *const entry = paletteEntry(i);
        if (!entry)
            return -1;
        if (entry[2] == red)
            return static_cast<uint8_t>(i);
    }
    return -1;
}

uint32_t DibView::GetPixel24(int x, int y) const
{
    const uint8_t *const pixel = pixelAt(placeAt(kHeaderBytes), x, y, 3);
    return pixel ? uint32_t{pixel[0]} << 16 | uint32_t{pixel[1]} << 8 | pixel[2] : 0;
}

void DibView::SetPixel24(int x, int y, uint8_t byte0, uint8_t byte1, uint8_t byte2)
{
    uint8_t *const pixel = pixelAt(placeAt(kHeaderBytes), x, y, 3);
    if (!pixel)
        return;
    pixel[0] = byte0;
    pixel[1] = byte1;
    pixel[2] = byte2;
}

int DibView::CopyHeaderFrom(const DibView *other)
{
    if (!other || !other->header || !header)
        return 0;
    std::memmove(header, other->header, kHeaderBytes);
    pointPaletteBehindHeader();
    Refresh();
    return 1;
}

int DibView::CopyPaletteFrom(const DibView *other)
{
    if (!other || !other->header || !header)
        return 0;
    const std::size_t bytes = std::min(
        {std::size_t{other->GetPaletteBytes()}, other->bytesFrom(other->palette), bytesFrom(palette)});
    if (bytes > 0)
        std::memmove(palette, other->palette, bytes);
    return 1;
}

int DibView::CopyAllFrom(const DibView *other)
{
    if (!other || !other->header || !header)
        return 0;
    std::memmove(header, other->header,
                 std::min({std::size_t{other->GetTotalBytes()}, other->blockBytes_, blockBytes_}));
    pointPaletteBehindHeader();
    Refresh();
    return 1;
}

DibHeader DibView::readHeader() const
{
    DibHeader fields;
    std::memcpy(&fields, header, sizeof fields);
    return fields;
}

/// Unlike IsDibGray it passes over entry 0 and asks for no ascending order, and a biClrUsed of 0 counts as
/// 256: hosts rely on it.
bool DibView::hasGrayPalette() const
{
    const DibHeader fields = readHeader();
    if (fields.biBitCount != 8 || (fields.biClrUsed != 256 && fields.biClrUsed != 0))
        return false;
    for (uint32_t i = 1; i < 256; ++i) {
        const uint8_t *const entry = paletteEntry(i);
        if (!entry || entry[0] != entry[1] || entry[1] != entry[2])
            return false;
    }
    return true;
}

void DibView::pointPaletteBehindHeader()
{
    palette = placeAt(readHeader().biSize);
}

uint8_t *DibView::paletteEntry(uint32_t index) const
{
    return bytesFrom(palette) / kColorBytes > index ? palette + std::size_t{index} * kColorBytes : nullptr;
}

/// The place of a pixel, or null when it is not wholly inside the block.
uint8_t *DibView::pixelAt(const uint8_t *start, int x, int y, int bytesPerPixel) const
{
    if (!start)
        return nullptr;
    // A row that far away is outside any block, and the sum below would overflow.
    constexpr int64_t kFarAway = int64_t{1} << 62;
    const int64_t rowOffset = int64_t{rowBytes} * y;
    if (rowOffset > kFarAway || rowOffset < -kFarAway)
        return nullptr;
    const int64_t offset = (start - header) + rowOffset + int64_t{x} * bytesPerPixel;
    if (offset < 0 || offset + bytesPerPixel > static_cast<int64_t>(blockBytes_))
        return nullptr;
    return header + offset;
}

/// Bytes of the block from a place of it to the block's end.
std::size_t DibView::bytesFrom(const uint8_t *place) const
{
    return place ? blockBytes_ - static_cast<std::size_t>(place - header) : 0;
}

/// A place of the block, or null when it lies behind the block's end.
uint8_t *DibView::placeAt(uint64_t offset) const
{
    return header && offset <= blockBytes_ ? header + offset : nullptr;
}

} // namespace velmont
