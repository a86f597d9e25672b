#include <velmont/dib.h>

#include "core/classify_dib.h"
#include "core/color_index.h"
#include "core/dib_layout.h"
#include "core/locked_dib.h"
#include <cstdlib>
#include <cstring>

namespace velmont {

namespace {

/// The rows as GetPixelValue and CheckDibColor look for them: behind a palette of 2^bits entries, whatever
/// biClrUsed says. Hosts rely on it, so rows can lie outside the block; such bytes are answered as absent.
class FullPaletteRows {
public:
    explicit FullPaletteRows(const Dib &dib)
        : dib_(dib), offset_(kHeaderBytes + kColorBytes * (uint64_t{1} << dib.bitCount()))
    {
    }
    /// `count` bytes at a place of row y, or null.
    const uint8_t *at(int y, std::size_t place, std::size_t count = 1) const
    {
        const uint64_t begin = offset_ + uint64_t{dib_.stride()} * static_cast<uint64_t>(y) + place;
        return begin + count <= dib_.blockBytes() ? dib_.block() + begin : nullptr;
    }

private:
    const Dib &dib_;
    uint64_t offset_;
};

constexpr bool isNeutral(unsigned long color)
{
    return redOf(color) == greenOf(color) && greenOf(color) == blueOf(color);
}

void fillPixels(const Dib &dib, unsigned long color)
{
    const std::size_t bytes = dib.layout().pixelBytes();
    if (dib.bitCount() == 1) {
        std::memset(dib.row(0), static_cast<uint32_t>(color) != 0 ? 0xFF : 0x00, bytes);
        return;
    }
    if (isNeutral(color)) {
        std::memset(dib.row(0), redOf(color), bytes);
        return;
    }
    const auto width = static_cast<std::size_t>(dib.width());
    uint8_t *const first = dib.row(0);
    std::memset(first, 0, dib.stride());
    if (dib.bitCount() == 8) {
        std::memset(first, (76 * redOf(color) + 150 * greenOf(color) + 29 * blueOf(color)) / 255, width);
    } else {
        const uint8_t pixel[3] = {blueOf(color), greenOf(color), redOf(color)};
        for (std::size_t x = 0; x < width; ++x)
            std::memcpy(first + 3 * x, pixel, sizeof pixel);
    }
    for (int y = 1; y < dib.height(); ++y)
        std::memcpy(dib.row(y), first, dib.stride());
}

constexpr uint32_t paletteEntriesFor(int bits)
{
    return bits == 1 ? 2 : bits == 8 ? 256 : 0;
}

long replicate(int value)
{
    return long{value} << 16 | long{value} << 8 | value;
}

long pixelValue(const Dib &dib, int x, int y)
{
    if (x < 0 || x >= dib.width() || y < 0 || y >= dib.height())
        return -1;
    if (dib.bitCount() > 24)
        return -1; // before 2^bits is worked out
    const FullPaletteRows rows(dib);
    const auto column = static_cast<std::size_t>(x);
    switch (dib.bitCount()) {
    case 1: {
        // Kept to 8 bits after the shift, so that only the bit of value 1 is ever seen: hosts rely on it.
        const uint8_t *const byte = rows.at(y, column / 8);
        return byte ? replicate((*byte & 0x80 >> (x & 7)) << 7 & 0xFF) : -1;
    }
    case 4: {
        // The masks 0x68 and 0xB4, not plain nibbles, are what hosts rely on.
        const uint8_t *const byte = rows.at(y, column / 2);
        return byte ? replicate((*byte & 0x168 >> (x & 1)) << 4 & 0xFF) : -1;
    }
    case 8: {
        const uint8_t *const byte = rows.at(y, column);
        return byte ? replicate(*byte) : -1;
    }
    case 24: {
        const uint8_t *const pixel = rows.at(y, 3 * column, 3);
        return pixel ? long{pixel[2]} << 16 | long{pixel[1]} << 8 | pixel[0] : -1;
    }
    default:
        return -1;
    }
}

int nearestColor(const Dib &dib, unsigned long color)
{
    int index = -1;
    int bestDistance = 1000; // above the largest possible, 765
    for (uint32_t i = 0; i < dib.paletteEntries(); ++i) {
        const uint8_t *const entry = dib.palette() + kColorBytes * i;
        const int distance = std::abs(entry[0] - blueOf(color)) + std::abs(entry[1] - greenOf(color)) +
                             std::abs(entry[2] - redOf(color));
        if (distance < bestDistance) {
            bestDistance = distance;
            index = static_cast<int>(i);
        }
    }
    return index;
}

/// One byte a pixel, starting with green: hosts rely on this walk.
bool rowHasColor24(const uint8_t *row, int width, unsigned long color)
{
    for (int x = 0; x < width; ++x)
        if (row[x] != greenOf(color) || row[x + 1] != blueOf(color) || row[x + 2] != redOf(color))
            return false;
    return true;
}

bool rowHasIndex8(const FullPaletteRows &rows, int y, int width, uint8_t index)
{
    const auto count = static_cast<std::size_t>(width);
    const uint8_t *const row = rows.at(y, 0, count);
    if (!row)
        return false;
    for (std::size_t x = 0; x < count; ++x)
        if (row[x] != index)
            return false;
    return true;
}

/// Any index but 0 and 1 passes: hosts rely on it.
bool rowHasIndex1(const FullPaletteRows &rows, int y, int width, uint8_t index)
{
    if (index > 1)
        return true;
    for (int x = 0; x < width; ++x) {
        const uint8_t *const byte = rows.at(y, static_cast<std::size_t>(x) / 8);
        if (!byte || ((*byte & 0x80 >> (x & 7)) != 0) != (index == 1))
            return false;
    }
    return true;
}

bool hasColor(const Dib &dib, unsigned long color)
{
    const auto index = static_cast<uint8_t>(colorIndex(dib, color));
    const FullPaletteRows rows(dib);
    for (int y = 0; y < dib.height(); ++y) {
        const bool same = dib.bitCount() == 24  ? rowHasColor24(dib.row(y), dib.width(), color)
                          : dib.bitCount() == 8 ? rowHasIndex8(rows, y, dib.width(), index)
                                                : rowHasIndex1(rows, y, dib.width(), index);
        if (!same)
            return false;
    }
    return true;
}

} // namespace

int colorIndex(const Dib &dib, unsigned long color)
{
    if (dib.bitCount() == 24)
        return 0;
    if (dib.bitCount() == 8 && dib.paletteEntries() >= 256 && isGrayRamp(dib.palette(), 256))
        return static_cast<int>(0.11 * blueOf(color) + 0.59 * greenOf(color) + 0.3 * redOf(color) + 0.5);
    return nearestColor(dib, color);
}

int ClassifyDib(void *handle)
{
    const LockedDib dib(handle);
    if (!dib)
        return 0;
    switch (dib->bitCount()) {
    case 1:
        return 5;
    case 4:
        return 4;
    case 8:
        return dib->isGray() ? 1 : 3;
    case 24:
        return 2;
    default:
        return 0;
    }
}

int ClassifyDibHeader(const Dib &dib)
{
    switch (dib.bitCount()) {
    case 0:
        return 7;
    case 1:
        return 5;
    case 4:
        return 4;
    case 8:
        return dib.paletteEntries() >= 256 && isGrayRamp(dib.palette(), 256) ? 1 : 3;
    case 16:
        return 6;
    case 24:
        return 2;
    case 32:
        return 8;
    default:
        return 0;
    }
}

} // namespace velmont

using namespace velmont;

void *CreateDib(int width, int height, int bits, int resolution, unsigned long color)
{
    if (bits != 1 && bits != 8 && bits != 24)
        return nullptr;
    const uint32_t entries = paletteEntriesFor(bits);
    const auto layout = DibLayout::make(width, height, bits, kHeaderBytes + entries * kColorBytes);
    if (!layout)
        return nullptr;
    void *const handle = KelMemAlloc(KEL_MEM_MOVEABLE, layout->totalBytes());
    if (!handle)
        return nullptr;
    const BlockLock lock(handle);
    if (!lock.bytes())
        return nullptr; // the block stays allocated: hosts rely on nothing being freed here

    const DibHeader header{kHeaderBytes,
                           width,
                           height,
                           1,
                           static_cast<uint16_t>(bits),
                           0,
                           static_cast<uint32_t>(layout->pixelBytes()),
                           resolution,
                           resolution,
                           entries,
                           entries};
    std::memcpy(lock.bytes(), &header, sizeof header);
    if (bits == 8)
        writeGrayRamp(lock.bytes() + kHeaderBytes);
    if (bits == 1) {
        constexpr uint8_t kBlackAndWhite[] = {0, 0, 0, 0, 255, 255, 255, 0};
        std::memcpy(lock.bytes() + kHeaderBytes, kBlackAndWhite, sizeof kBlackAndWhite);
    }
    fillPixels(*Dib::examine(lock.bytes(), layout->totalBytes()), color);
    return handle;
}

int GetDibSize(void *dib, int *width, int *height)
{
    const BlockLock lock(dib);
    if (!lock.bytes() || KelMemSize(dib) < kHeaderBytes)
        return 0;
    DibHeader header;
    std::memcpy(&header, lock.bytes(), sizeof header);
    if (width)
        *width = header.biWidth;
    if (height)
        *height = header.biHeight;
    return 1;
}

long GetPixelValue(void *dib, int x, int y)
{
    const LockedDib source(dib);
    return source ? pixelValue(*source, x, y) : -1;
}

int IsDibGray(void *dib)
{
    const LockedDib source(dib);
    return source && source->isGray() ? 1 : 0;
}

int GetColorIndex(void *dib, unsigned long color)
{
    const LockedDib source(dib);
    return source ? colorIndex(*source, color) : -1;
}

int CheckDibColor(void *dib, unsigned long color)
{
    const LockedDib source(dib);
    if (!source.isLocked())
        return -1;
    const bool served = source && (source->bitCount() == 24 || source->bitCount() == 1 || source->isGray());
    if (!served)
        return -2;
    return hasColor(*source, color) ? 0 : 1;
}

int TuDibGetType(void *dib)
{
    const LockedDib source(dib);
    return source ? ClassifyDibHeader(*source) : 0;
}
