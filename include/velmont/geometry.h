#pragma once

/// \file
/// Geometry and pixel formats.
///
/// Common to all: a null handle and a depth that is not named are refused with 0, the source is left as it
/// was, and the result is a new block of the caller's or 0. Dimensions, row order, resolution and the header
/// fields that a function does not name are carried over. See velmont/environment.h for progress and abort.

#include <cstdint>
#include <velmont/export.h>

// Who includes <windows.h>, which has to come first, has both already, of the same layout.
#if !defined(_WINDEF_)
/// A rectangle in pixels; right and bottom lie outside it.
struct tagRECT {
    int32_t left, top, right, bottom;
};

/// A point in pixels.
struct tagPOINT {
    int32_t x, y;
};
#endif

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
/// \param mask 1 bit, its rows at byte 48 of the block whatever its biClrUsed; remains the caller's. Another depth, a
/// header that does not fit its block, or a block that is too small is refused
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

// Wave warps
//
// Pixels are moved whole, without mixing neighbours. Colours are 0x00BBGGRR; on a gray image the low byte, red, is the
// level. A null record is refused. Rows are counted as they are stored.

/// The record of ProcessZigZag.
struct tagZigZagParam {
    int32_t amount; ///< how far the rings turn, in percent; negative turns the other way, 0 is refused
    int32_t ridges; ///< number of rings from the centre to the rim; 0 is refused
};

/// Turns rings around the centre to and fro, less from ring to ring; what lies outside the ellipse that touches the
/// sides stays. Depths: 24 bits and any 8 bits, whose rows are taken to start at byte 1064 whatever the palette's length;
/// a block that is too small for that is refused. Progress counts half the rows, each of which brings its mirror image
/// through the centre along. No wait cursor is shown. Code 4711.
VELMONT_API void *ProcessZigZag(void *dib, tagZigZagParam *param);

/// The record of ProcessMagicMirror.
struct tagParamMagicMirror {
    int32_t mode;       ///< 0 columns, 1 rows, 2 to and from the centre, 3 around it; others are refused
    uint8_t curve[256]; ///< the place, 0 to 255, that each of 256 places is taken from
};

/// Bends the picture by a curve; the identity changes next to nothing. Modes 0 and 1 stretch the curve over the width or
/// height. Modes 2 and 3 work inside the ellipse that touches the sides, where the place is the squared distance from
/// the centre. Let the curve lie d below the identity: mode 2 pulls the pixel from 1 + d / 100 times as far, or, where it
/// lies above, from 1 / (1 + |d| / 100) times; mode 3 turns by d / 200 of a full turn. Depths as for ProcessZigZag. Polls
/// and progress at every 32nd row. Code 56.
VELMONT_API void *ProcessMagicMirror(void *dib, tagParamMagicMirror *param);

/// The record of ProcessRibbon.
struct tagParamRibbon {
    int32_t frequency; ///< half waves over the width, in tenths; any value
    int32_t depth;     ///< height of the wave in percent of three quarters of the image's; any value
    uint32_t color;    ///< of what the wave leaves free
};

/// Waves the columns: each is moved up to `depth` towards later rows, by a cosine. Depths: 24 bits and 8 bits gray. Code
/// 65.
VELMONT_API void *ProcessRibbon(void *dib, tagParamRibbon *param);

/// Shakes rows and columns by a swing that grows and fades; sources outside the image are the nearest pixel of it.
/// Depths: 24 bits and 8 bits gray.
/// \param amount 1 to 100, held within; the larger, the farther and the longer the swings. Code 36, `param` points to it.
VELMONT_API void *ProcessRipple(void *dib, int amount);

/// The record of ProcessWrinkle.
struct tagParamWrinkle {
    int32_t strength; ///< 1 to 100, others are refused; twice the percent of a step's chance each way
    uint32_t color;   ///< of what comes from outside the image
};

/// Drags columns and rows along by random walks. Depths: 24 bits and 8 bits gray. The walk of the columns goes on from
/// the generator's state, so that calls differ; that of the rows is seeded with width * height. Without memory for the
/// walk the result is blank. Code 37.
VELMONT_API void *ProcessWrinkle(void *dib, tagParamWrinkle *param);

// Melting and splash, and cut-outs
//
// Depths: 24 bits and 8 bits gray. The forms with an alpha mask, an 8-bit gray image of the size of `dib`, move each
// pixel's alpha along with it. They refuse, with 0 and the slots left alone, a null among their pointers, a mask that is
// not gray or whose block has not as many rows of the image's width as the image; the mask's own width and height are not
// compared, though its header has to fit its block. They return 1 and the results, the caller's, in both slots; after an
// abort 0, and null in both slots; without memory 0, and the slots left alone. The generator goes on from its state.

/// Random pixels sink towards stored row 1, past all pixels that are not darker; row 0 stays as it is. The generator goes
/// on from its state, so that calls differ. Polls at each pixel; progress at some of them. Code 39, `param` points to
/// the amount.
/// \param amount pixels that sink in percent of all, 1 to 100; others are refused
VELMONT_API void *ProcessMelting(void *dib, int amount);
/// The same for a cut-out, the other way along the columns: random pixels rise up to the last stored row but one, past
/// all that do not rank above them, a rank being made of a pixel's level and its alpha.
VELMONT_API int ProcessMelting(void *dib, void *alpha, int amount, void **newDib, void **newAlpha);

/// Scatters pixels: each comes from a random place near its own. The generator is seeded with width * height, so that a
/// picture always splashes alike. Code 35, `param` points to the amount.
/// \param amount held within 2 to 100. With m = amount / 2 + 1, pixels come from up to m / 2 pixels ahead and
/// m - 1 - m / 2 behind, in rows and columns
VELMONT_API void *ProcessSplash(void *dib, int amount);
/// The same for a cut-out, without the seed.
VELMONT_API int ProcessSplash(void *dib, void *alpha, int amount, void **newDib, void **newAlpha);

/// ProcessWrinkle for a cut-out, without the seed: what comes from outside the image is transparent.
VELMONT_API int ProcessWrinkle(void *dib, void *alpha, tagParamWrinkle *param, void **newDib,
                               void **newAlpha);

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
