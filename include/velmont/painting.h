#pragma once

/// \file
/// Effects that redraw a picture in another medium: fur, chalk and more of that kind.
///
/// Common to all: a null handle, a null record and a depth that is not named are refused with 0, the source is
/// left as it was, and the result is a new block of the caller's or 0. At 8 bits the byte of a pixel is taken as its
/// gray level, whatever the palette says; the rows lie behind 256 colours, whatever biClrUsed says, and a block that
/// is too small for that is refused. Header and colours are copied.

#include <cstdint>
#include <velmont/export.h>

/// The record of ProcessFur.
struct tagFurParam {
    int32_t
        smoothSize; ///< side of the smoothing box in pixels; 1 leaves the picture as it is, 0 or less makes it black
    int32_t hairLength; ///< reach of a hair to each side of its pixel, in pixels; 0 or less paints none
    int32_t density;    ///< how many pixels grow a hair, in percent; see ProcessFur
    int32_t calm; ///< share of the smoothed picture that is mixed back at the end, of 255; usually 0 to 255
};

/// A hairy picture: it is smoothed, then pixels grow, by chance, short straight hairs of their smoothed colour in one of
/// eight directions, and last the smoothed picture is mixed back over the hairs, where `calm` is 2 or more.
///
/// The chance of a pixel is density / 100 / (hairLength / 5 + 1) / (density / 20 + 1), the two inner quotients being
/// cut to whole numbers. The generator is seeded with the clock; each pixel draws a number, and each hair one more.
///
/// The smoothing takes the mean, cut, of a box that reaches smoothSize / 2 pixels up and to the left. The picture is
/// mirrored around it, at the top and the left without its edge. Along a row a box of 3 pixels or more keeps the first
/// column that it started with instead of the one after the column that it leaves: hosts rely on that look. A box so
/// large that the mirrored picture comes to 4 GiB is out of memory.
///
/// Depths: 24 bits and any 8 bits. Cursors only, no progress and no polls, but at 8 bits for a box of 2 or more: there
/// rows poll and report while they are smoothed, and an abort leaves those that are left black and goes on with the
/// hairs, to a result all the same. Where there is no working memory the wait cursor stays and the result's block is
/// lost.
VELMONT_API void *ProcessFur(void *dib, tagFurParam *param);

/// The record of ProcessChalk.
struct tagChalkParam {
    int32_t shadowRange; ///< shadows are the levels up to 4 * shadowRange + 90 of the equalized picture
    int32_t lightRange;  ///< lights are the levels from 170 - 4 * lightRange on
    int32_t
        grain; ///< contrast and grain of the strokes, 1 to 12; 1 leaves the contrast as it is, others are taken as they come
};

/// A chalk drawing on gray paper: the picture's gray levels are equalized and parted in shadows and lights, each with a
/// grain of its own that strokes are stamped from, the shadows' leaning one way and the lights' the other. The picture
/// of 24 bits is gray as well. The generator is seeded with 2 and then with 3, so that a picture comes out the same
/// each time.
///
/// Depths: 24 bits and any 8 bits; others are refused behind the wait cursor. Cursors only, no progress and no polls.
/// Where there is no working memory the source stays locked and the result's block is lost; the wait cursor stays where
/// there is none for the gray levels of 24 bits.
VELMONT_API void *ProcessChalk(void *dib, tagChalkParam *param);
