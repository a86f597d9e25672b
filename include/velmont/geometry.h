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

// Crop and distort

/// The part of the picture in a rectangle, which may hang over the edge or lie outside. Depths: 8 bits gray and 24
/// bits. The cursor is not touched; each row of the result polls. The result's biWidth, biHeight and biSizeImage are
/// its own.
/// \param rect in stored rows; a width or height below 1 is refused
/// \param backgroundColor what lies outside the picture: 0x00BBGGRR at 24 bits, at 8 bits a gray level in the low byte
/// \param wrap not 0: what lies outside is filled with the picture over and over instead
VELMONT_API void *ProcessCrop(void *dib, tagRECT rect, unsigned long backgroundColor, int wrap);
/// The same without wrapping.
VELMONT_API void *ProcessCrop(void *dib, tagRECT rect, unsigned long backgroundColor);

/// Cuts along a bit mask: the result has the mask's size, and the pixels under its set bits. Depths: 1, 4, 8 and 24
/// bits. Neither cursor nor progress nor abort is touched.
/// \param mask 1 bit, its rows at byte 48 of the block whatever its biClrUsed; remains the caller's. Another depth, or
/// a block that is too small, is refused
/// \param x, y where the mask's first pixel lies on the picture, in stored rows; it may hang over
/// \param backgroundColor 0x00BBGGRR for what is not set or lies outside, at 24 bits; below, it is index 0
VELMONT_API void *ProcessCrop(void *dib, void *mask, int x, int y, unsigned long backgroundColor);

/// Draws the picture into a quadrilateral. Depths: 1, 4, 8 and 24 bits. Gray and 24-bit pixels are blended of four in
/// steps of an eighth, rounded down, others are those of the nearest place. The result is as large as the points lie
/// apart: a width or height of 0, or one too large for a block, is refused. It is no perspective: the sides of the picture
/// that meet in the second corner stay straight, the others bend where opposite sides of the quadrilateral are not
/// parallel. Points on one line are not refused.
/// \param corners four points, y upwards to smaller values: where stored row `height` begins, where stored row 0
/// begins, where that ends, and where row `height` ends. Of a picture stored bottom-up: top left, bottom left, bottom
/// right, top right, as they are seen with y running down. Null is refused
/// \param backgroundColor 0x00BBGGRR, for what the picture does not cover; below 24 bits what GetColorIndex finds for it
VELMONT_API void *ProcessDistort(void *dib, tagPOINT *corners, unsigned long backgroundColor);

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

// Polar warps
//
// Depths: 8 bits gray and 24 bits. The angular and the radial warp pull the pixels inside the ellipse inscribed in the
// image from elsewhere, nearest pixel, and leave those outside as they are. A distance from the centre is normalised: 0
// at the centre, 1 on the ellipse.

/// The record of ProcessPolarTransformAngular.
struct tagParamPTAngular {
    /// 1 spiral: a turn in proportion to the distance; 2 whirlpool: a turn that is strongest at the centre; 3 a turn of
    /// twice the arc tangent of the distance; 4 a turn that grows to a right angle and shrinks the picture the more the
    /// farther out. Any other is refused.
    int32_t type;
    /// Percent, 1 to 100; any other is refused, for types 3 and 4 too, which have no use for it.
    int32_t strength;
};

/// Turns the picture around its centre by an amount that depends on the distance from it.
/// A null record is refused. Code 57.
VELMONT_API void *ProcessPolarTransformAngular(void *dib, tagParamPTAngular *param);

/// The record of ProcessPolarTransformRadial.
struct tagParamPTRadial {
    int32_t type;     ///< 1 cone; 2 sphere; 3 fish eye. Any other is refused.
    int32_t strength; ///< percent, 1 to 100, any other is refused; type 2 ignores it
};

/// Moves pixels along the line to the centre, by an amount that depends on the distance from it.
/// A null record is refused. Code 64.
VELMONT_API void *ProcessPolarTransformRadial(void *dib, tagParamPTRadial *param);

/// The angular warp of type 1. Code 50, `param` points to the strength.
VELMONT_API void *ProcessSpiral(void *dib, int strength);
/// The angular warp of type 2. Code 49, `param` points to the strength.
VELMONT_API void *ProcessWhirlpool(void *dib, int strength);
/// The radial warp of type 1, which pinches the centre. Code 48, `param` points to the strength.
VELMONT_API void *ProcessCone(void *dib, int strength);
/// The radial warp of type 2, as if the picture lay on a sphere. Code 55.
VELMONT_API void *ProcessSphere(void *dib);
/// The radial warp of type 3, which magnifies the centre. Code 41, `param` points to the strength.
VELMONT_API void *ProcessFishEye(void *dib, int strength);

/// Wraps the picture around an upright cylinder: rows stay rows, columns crowd towards the sides. Between two pixels
/// it mixes them. Code 66. An abort is also polled for each column, before the rows and without progress.
VELMONT_API void *ProcessCylinder(void *dib);
