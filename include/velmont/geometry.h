#pragma once

/// \file
/// Geometry and pixel formats.
///
/// Common to all: a null handle and a depth that is not named are refused with 0, the source is left as it
/// was, and the result is a new block of the caller's or 0. Dimensions, row order, resolution and the header
/// fields that a function does not name are carried over. See velmont/environment.h for progress and abort.

#include <cstdint>
#include <velmont/export.h>

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

// Wave warps.
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

// Melting and splash, and cut-outs.
//
// Depths: 24 bits and 8 bits gray. The forms with an alpha mask, an 8-bit gray image of the size of `dib`, move each
// pixel's alpha along with it. They refuse, with 0 and the slots left alone, a null among their pointers, a mask that is
// not gray or whose block has not as many rows of the image's width as the image; the mask's own width and height are not
// compared. They return 1 and the results, the caller's, in both slots; after an abort 0, and null in both slots; without
// memory 0, and the slots left alone. The generator goes on from its state.

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
/// \param amount held within 2 to 100: pixels come from up to (amount / 2 + 1) / 2 pixels off either way
VELMONT_API void *ProcessSplash(void *dib, int amount);
/// The same for a cut-out, without the seed.
VELMONT_API int ProcessSplash(void *dib, void *alpha, int amount, void **newDib, void **newAlpha);

/// ProcessWrinkle for a cut-out, without the seed: what comes from outside the image is transparent.
VELMONT_API int ProcessWrinkle(void *dib, void *alpha, tagParamWrinkle *param, void **newDib,
                               void **newAlpha);
