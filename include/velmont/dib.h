#pragma once

/// \file
/// The `Dib`: one memory block that holds a packed device-independent bitmap, named by a handle.
///
/// Layout of the block, all integers little-endian, nothing between the pieces:
///
///     0                    header, 40 bytes (velmont::DibHeader)
///     40                   palette, biClrUsed entries of 4 bytes (velmont::DibColor); none at 24 bits
///     40 + 4 * biClrUsed   pixel rows, row 0 first, each padded to a multiple of 4 bytes
///
/// The stride of a row is ((biWidth * biBitCount + 31) / 32) * 4. Every y of the library counts stored rows:
/// with a positive biHeight row 0 is the bottom line of the picture, and the library never flips.
///
/// Pixels: 24 bits are blue, green, red; 8 bits are one palette index; 4 bits hold two pixels a byte, the
/// even column in the high nibble; 1 bit holds eight, the leftmost in the highest bit. A gray `Dib` is an
/// 8-bit one whose palette is the identity ramp, so that the index is the gray level.
///
/// Colours are `unsigned long` 0x00BBGGRR, red in the low byte; GetPixelValue alone answers 0x00RRGGBB.
///
/// A handle passed in stays the caller's, and so does the block. A handle returned is the caller's, who
/// releases it with KelMemFree. A block whose header does not fit the block's own size (its rows or palette
/// would end behind it, biSize below 40, a width or height below 1, 4 GiB or more in all) is refused as an
/// unsupported depth is.

#include <cstdint>
#include <velmont/export.h>

namespace velmont {

/// The first 40 bytes of a `Dib`: the BITMAPINFOHEADER of Windows.
struct DibHeader {
    uint32_t biSize;         ///< bytes of the header; 40 in every block that the library makes
    int32_t biWidth;         ///< pixels, 1 or more
    int32_t biHeight;        ///< stored rows, 1 or more
    uint16_t biPlanes;       ///< 1
    uint16_t biBitCount;     ///< 1, 4, 8 or 24
    uint32_t biCompression;  ///< 0, uncompressed
    uint32_t biSizeImage;    ///< bytes of pixel data
    int32_t biXPelsPerMeter; ///< horizontal resolution in pixels a metre; carried, never used
    int32_t biYPelsPerMeter; ///< vertical resolution, likewise
    uint32_t biClrUsed;      ///< palette entries: 2 at 1 bit, 256 at 8 bits, 0 at 24 bits in blocks made here
    uint32_t biClrImportant; ///< CreateDib writes the value of biClrUsed
};
static_assert(sizeof(DibHeader) == 40);

/// One palette entry.
struct DibColor {
    uint8_t blue, green, red, reserved;
};
static_assert(sizeof(DibColor) == 4);

} // namespace velmont

/// Makes an image of one colour.
/// \param width,height pixels, 1 or more each
/// \param bits 1, 8 (gray ramp) or 24
/// \param resolution written into both resolution fields, in pixels a metre
/// \param color 0x00BBGGRR. At 1 bit any value but 0 in its low 32 bits sets every bit. At 8 bits a colour
/// with unequal channels becomes the gray (76 * red + 150 * green + 29 * blue) / 255. Where the three
/// channels are equal the padding of the rows takes the value too, else it is 0.
/// \return a new handle, the
/// caller's; 0 for another depth, a size below 1, an image of 4 GiB or more, no memory.
VELMONT_API void *CreateDib(int width, int height, int bits, int resolution, unsigned long color);

/// Stores biWidth and biHeight through those pointers that are not null.
/// \return 1; 0 for a bad handle or a block too small for a header, and then nothing is stored. The fields
/// are handed out as they stand, whatever the depth and whether or not the rows fit the block.
VELMONT_API int GetDibSize(void *dib, int *width, int *height);

/// One pixel in a form of its own that hosts rely on: rows are looked for behind a palette of 2^bits entries
/// whatever biClrUsed says.
/// \return at 8 bits the index replicated into three bytes. At 1 bit 0x808080 for a set bit in a column with
/// x % 8 == 7, else 0. At 4 bits 0x808080 (even column) or 0x404040 (odd column) after one bit of the byte,
/// else 0. At 24 bits 0x00RRGGBB read 64 MiB behind the header. -1 for a bad handle, another depth, a point
/// outside the image, and an address outside the block, which is what 24-bit images of usual size get.
VELMONT_API long GetPixelValue(void *dib, int x, int y);

/// \return 1 when the image has 8 bits, biClrUsed is exactly 256 and the palette is the identity ramp
/// (reserved bytes are not looked at); else 0. A biClrUsed of 0 counts as not gray.
VELMONT_API int IsDibGray(void *dib);

/// The palette index nearest to a colour.
/// \return 0 at 24 bits. On a gray ramp the rounded luminance 0.11 blue + 0.59 green + 0.3 red. Else the
/// first entry with the smallest sum of channel differences, -1 when there is no entry. -1 for a bad handle.
VELMONT_API int GetColorIndex(void *dib, unsigned long color);

/// Whether the whole image is of one colour.
/// \return 0 yes; 1 no; -1 for a bad handle; -2 for an image that is not 24-bit, gray or 1-bit.
/// At 24 bits the answer is exact for neutral colours only: the comparison moves one byte a pixel and starts
/// with green, which hosts rely on, so that any other colour reports 1 on images wider than one pixel.
VELMONT_API int CheckDibColor(void *dib, unsigned long color);

extern "C" {
/// The kind of an image: 0 bad handle or a depth not listed, 1 gray (8 bits, at least 256 colours used, the
/// first 256 the identity ramp), 2 24 bits, 3 other 8 bits, 4 4 bits, 5 1 bit, 6 16 bits, 7 0 bits, 8 32
/// bits.
VELMONT_API int TuDibGetType(void *dib);
}
