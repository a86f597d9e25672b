#pragma once

/// \file
/// DibView: the accessor over a locked `Dib` through which the colour effects read and write single pixels.

#include <cstddef>
#include <cstdint>
#include <velmont/dib.h>

namespace velmont {

/// Locks a block for as long as the view lives; it owns the lock and never the block. Columns and rows are
/// not held to the image, but every access is held to the block: outside it reads give 0 and writes do
/// nothing.
///
/// A view of a null or bad handle, or of a block without room for a header, is empty.
class DibView {
public:
    explicit DibView(void *dib);
    virtual ~DibView();
    DibView(const DibView &) = delete;
    DibView &operator=(const DibView &) = delete;

    /// Works out rowBytes, isGray, bits and bitCount from the header, but only while rowBytes is 0. A result
    /// is set up in a zero-filled block for that reason: its view stays open for CopyHeaderFrom, while a view
    /// of a block with a header keeps what it found at first.
    void Refresh();

    int32_t GetWidth() const;     ///< biWidth; 0 in an empty view
    int32_t GetHeight() const;    ///< biHeight; 0 in an empty view
    int32_t GetBitCount() const;  ///< biBitCount; -1 in an empty view
    uint32_t GetRowBytes() const; ///< the stride, worked out anew; 0 in an empty view
    /// Up to 8 bits 4 * biClrUsed, or (2 >> bits) * 4 when biClrUsed is 0: hosts rely on the shift to the
    /// right. From 9 to 16 bits 4 when biCompression is 3. Else 0.
    uint32_t GetPaletteBytes() const;
    uint32_t GetTotalBytes() const; ///< rows, palette and biSize; 0 in an empty view
    /// Where the rows start by the header; null in an empty view and behind the block's end.
    uint8_t *GetBits() const;

    /// The pixel as blue << 16 | green << 8 | red at 8 and 24 bits; 0 at other depths.
    uint32_t GetPixel(int x, int y) const;
    /// Stores a colour. 8-bit gray stores its red; other 8-bit images the first palette entry with the same
    /// red, green and blue playing no part.
    /// \return 1; 0 when nothing was stored: no such entry, a depth
    /// other than 8 and 24, 24 bits with a palette.
    int SetPixel(int x, int y, uint32_t color);
    /// What GetPixel gives for a pixel of 8 bits with this byte.
    uint32_t ColorOf(uint8_t index) const;
    /// The byte that SetPixel stores at 8 bits for a colour with this red; -1 for none.
    int IndexOf(uint8_t red) const;
    /// The three bytes at 40 + rowBytes * y + 3 * x, the first one highest. For 24-bit blocks with a 40-byte
    /// header and no palette.
    uint32_t GetPixel24(int x, int y) const;
    /// Stores three bytes at that same place, in the order given.
    void SetPixel24(int x, int y, uint8_t byte0, uint8_t byte1, uint8_t byte2);

    /// Copies 40 bytes of header, points palette behind the new biSize and refreshes.
    /// \return 1; 0 when the other view is null or either is empty.
    int CopyHeaderFrom(const DibView *other);
    /// Copies the other view's palette into this view's place for it, as far as both blocks reach.
    /// \return 1; 0 when the other view is null or either is empty.
    int CopyPaletteFrom(const DibView *other);
    /// Copies the other view's GetTotalBytes from block start to block start, as far as both blocks reach,
    /// points palette behind the new biSize and refreshes.
    /// \return 1; 0 when the other view is null or either
    /// is empty.
    int CopyAllFrom(const DibView *other);

    uint8_t *palette = nullptr; ///< header + biSize; null in an empty view and where it lies behind the block
    uint8_t *header = nullptr;  ///< the locked block; null in an empty view
    void *handle = nullptr;     ///< the block; null in an empty view
    uint32_t rowBytes = 0;      ///< the stride; 0 means not worked out yet
    uint32_t bitCount = 0;      ///< copy of biBitCount
    int32_t isGray = 0;         ///< the view's own gray test
    uint8_t *bits = nullptr;    ///< start of the rows; null where it lies behind the block

private:
    DibHeader readHeader() const;
    bool hasGrayPalette() const;
    void pointPaletteBehindHeader();
    uint8_t *paletteEntry(uint32_t index) const;
    uint8_t *pixelAt(const uint8_t *start, int x, int y, int bytesPerPixel) const;
    std::size_t bytesFrom(const uint8_t *place) const;
    uint8_t *placeAt(uint64_t offset) const;

    std::size_t blockBytes_ = 0;
};

} // namespace velmont
