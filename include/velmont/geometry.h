#pragma once

/// \file
/// Geometry and pixel formats.
///
/// Common to all: a null handle and a depth that is not named are refused with 0, the source is left as it
/// was, and the result is a new block of the caller's or 0. Dimensions, row order, resolution and the header
/// fields that a function does not name are carried over. See velmont/environment.h for progress and abort.

#include <cstdint>
#include <velmont/export.h>

/// A rectangle in pixels; right and bottom lie outside it.
struct tagRECT {
    int32_t left, top, right, bottom;
};

/// A point in pixels.
struct tagPOINT {
    int32_t x, y;
};

// Resampling

/// The whole picture at another size: gray and 24-bit pixels blended of four at most in steps of an eighth, without a
/// mean over more where it shrinks; others are those of the nearest place. Depths: 1, 4, 8 and 24 bits. The cursor
/// is not touched; each row of the result polls.
/// \param newWidth,newHeight in pixels; below 1, or so large that the block would not fit 31 bits, is refused
/// \param resolution in pixels per metre, any number, for both fields of the result's header
VELMONT_API void *ProcessResample(void *dib, int newWidth, int newHeight, int resolution);

/// A rectangle of the picture at another size, blended as ProcessResample does. What the rectangle has outside the
/// picture becomes 0, but for a fringe less than a pixel wide before the first column and row. Bits are those of the
/// places, cut to whole pixels; an 8-bit image that is not gray gives a blank one, all pixels 0, with a single poll and
/// a report of 100. Depths: 1, 8 and 24 bits. The cursor is not touched; each row of the result polls.
/// \param srcX,srcY the rectangle's first column and stored row, any numbers
/// \param srcWidth,srcHeight in pixels, below 1 is refused
/// \param newWidth,newHeight as for ProcessResample
VELMONT_API void *ProcessPartialResample(void *dib, int srcX, int srcY, int srcWidth, int srcHeight,
                                         int newWidth, int newHeight);

/// The whole picture at another size through the cubic filter of Mitchell and Netravali, widened where it shrinks: along
/// the rows first, rounded, then along the columns. Beyond the edges the picture is reflected. The same size blurs
/// a little. Depths: 24 bits, each channel by itself, and 8 bits, whose indices are filtered as if they were gray
/// whatever the palette. The block is 10 bytes longer than its header says. Each row of the source and then each
/// column of the result is reported, a half of the progress each, and then polled.
/// \param newWidth,newHeight in pixels; below 1, or so large that a block of the new width and either height would not
/// fit 31 bits, is refused
/// \param alignCorners 0 scales by the ratio of the sizes; any other value puts the first and last pixels of both
/// pictures upon each other
/// \param showCursor any value but 0 shows the wait cursor meanwhile and the arrow at the end; where memory is short
/// the wait cursor stays
VELMONT_API void *ProcessResampleHighQuality(void *dib, int newWidth, int newHeight, int alignCorners,
                                             int showCursor);

// Rotation

/// Turns by 90, 180 or 270 degrees without any loss; other angles are refused. By 90 degrees column c of the result is
/// row c of the source and its first row the source's last column: clockwise where the first row is the bottom
/// one. The cursor is not touched; each row of the result polls.
/// Depths: 1, 4, 8 and 24 bits. Others are not refused either: they come back with a block sized as for 1 bit and
/// full of zeros, for which there is no poll beyond the first and no report but 100.
/// \param rect where not null, set to 0, 0, the result's width and height, also if its block cannot be allocated
VELMONT_API void *ProcessExactRotate(void *dib, int angle, tagRECT *rect);
VELMONT_API void *ProcessExactRotate(void *dib, int angle);

/// Turns by whole degrees into a picture that is just large enough, in the sense of ProcessExactRotate, which it calls
/// for remainders of 90, 180 and 270. Gray and 24-bit pixels are blended of four in steps of an eighth, others are
/// those of the nearest place. An angle of 0 blends as well, and negative angles do always: -90 is not 270.
/// Depths: 1, 4, 8 and 24 bits. The cursor is not touched; each row of the result polls. Positions are 32-bit
/// numbers of 17 fractional bits: a picture of more than 16384 pixels a side comes out as background or in parts.
/// \param angle in degrees, any number; 360 are taken off as often as possible
/// \param backgroundColor 0x00BBGGRR, for what the source does not cover; below 24 bits the nearest index
/// \param rect where not null, set to 0, 0, the result's width and height, also for a depth that is refused
VELMONT_API void *ProcessRotate(void *dib, int angle, unsigned long backgroundColor, tagRECT *rect);
VELMONT_API void *ProcessRotate(void *dib, int angle, unsigned long backgroundColor);

// Conversions

/// To an 8-bit gray image. Depths: 1, 4, 8 and 24 bits.
/// The gray is (76 * red + 127) / 255 + (150 * green + 127) / 255 + (29 * blue + 127) / 255, each quotient
/// truncated by itself. Pixels without a palette entry become black: with biClrUsed 0, all of them. A gray
/// image is converted like any other.
VELMONT_API void *ProcessConvertToGrayScale(void *dib);

/// To a 24-bit image through the palette. Depths: 1, 4 and 8 bits; 24 bits are refused.
/// Pixels without a palette entry become black.
VELMONT_API void *ProcessConvertTo24BitColor(void *dib);

/// To a 1-bit image, black and white. Depth: 8 bits.
/// \param threshold a pixel becomes white when its stored byte, whatever its palette colour, is above this
/// value; any int is allowed. The result's biSizeImage counts the whole block, header and palette included:
/// hosts rely on it. Neither cursor nor progress nor abort is touched.
VELMONT_API void *ProcessConvertFrom8To1(void *dib, int threshold);
