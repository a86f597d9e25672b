#pragma once

/// \file
/// Effects that imitate a painter's medium.
///
/// Common to all: a null handle and a null record are refused with 0 before anything else; a depth other than 24 and 8
/// bits is refused with 0 behind the wait cursor, the arrow cursor following. At 8 bits the bytes are taken as levels,
/// whatever the palette says, and the rows lie behind 256 colours, at byte 1064, whatever biClrUsed says; a smaller
/// block is refused. The source is left as it was, and the result is a new block of the caller's or 0. Where working
/// memory cannot be had, the result is 0 behind the arrow cursor, and hosts know that one lock stays on the source and
/// that the block of the result is lost. See velmont/environment.h for progress and abort.

#include <cstdint>
#include <velmont/export.h>

/// The record of ProcessWaterColor. Every value of each field is accepted.
struct tagWaterColorParam {
    /// Radius of the patches in pixels; 1 leaves patches out. At 8 bits also the side of a median at the end; there a
    /// value outside 1 to 32 gives a black picture. 0 gives each pixel the last of the darkest colours to its left, and
    /// less gives black.
    int32_t patchSize;
    /// How much darker the middle tones become: a level v from 0 to 1 becomes v to the power of 1 + toneDepth / 3. 0
    /// leaves them alone. Useful from 0; at 24 bits pixels with a sample of 250 or more stay as they are.
    int32_t toneDepth;
};

/// Flat washes of water colour: middle tones are deepened, each pixel takes the most frequent coarse colour among those
/// up to patchSize pixels around it, and the edges of the patches are made crisp along the rows, or smoothed by a
/// median at 8 bits. Rows nearer to the top or the bottom than patchSize are spared the patches, a picture of up to
/// twice as many rows as a whole. Polls and reports at each of the other rows, the report as a share of the rows less
/// patchSize; the answer of one poll before them is dropped.
VELMONT_API void *ProcessWaterColor(void *dib, tagWaterColorParam *param);

/// The record of ProcessWaterPaper.
struct tagWaterPaperParam {
    /// Width of the brush in pixels: a box of half of it softens the picture, dashes appear up to 7, and strokes are
    /// as long. -1 to 1 is refused like a depth; below that the picture becomes black before the tones change. Where
    /// the picture with half of it added to both sides comes to 4 GiB, there is no working memory.
    int32_t brushSize;
    int32_t brightness; ///< 0 to 100; 50 leaves it
    int32_t contrast;   ///< 0 to 100; 50 leaves it, 0 makes all pixels equally bright
};

/// Paint on wet, fibrous paper: the picture is softened, brightness and contrast change and leave hue and saturation,
/// bright dashes are scattered, and short strokes smear the dark parts along the rows and columns. The box of the
/// softening keeps its first column along the whole row. Dashes and strokes are drawn at random, each seeded with the
/// second of the clock; hosts find the generator seeded after an abort too. The padding of the result's rows is
/// undefined. Each of the four passes polls and reports at each row and has a quarter of the progress; the answer of
/// one poll before them is dropped, and the arrow cursor comes before the last report.
VELMONT_API void *ProcessWaterPaper(void *dib, tagWaterPaperParam *param);

/// The record of ProcessColorPencil.
struct tagColorPencilParam {
    /// A stroke is strokeSetting + 5 pixels long, and (strokeSetting / 2 + 87) * 8 / 15 percent, rounded down, of the
    /// pixels that could start one do not. Useful from 0 to 200.
    int32_t strokeSetting;
    int32_t pressure; ///< weight of the pencil; from 0 to 50 samples stay within a byte, beyond they wrap
    int32_t
        coverage; ///< how much is left alone: 5 percent of the pixels for each, 4.5 at 8 bits; 0 is refused
    uint32_t pencilColor; ///< 0x00BBGGRR; at 8 bits 0.2 red, 0.7 green and 0.1 blue of it
};

/// Hatching in the colour of a pencil over all but the edges of a picture: strokes to the right and strokes to the left,
/// each towards the first stored row, which are mixed one to three and smoothed by a median of 3 by 3 pixels, at 8 bits
/// of 2 by 2. Where strokes start is drawn at random from the state that the generator is in, which goes on from there: one
/// number for each pixel that is no edge, twice. No polls and no progress. A coverage of 0 gives 0 behind the arrow
/// cursor, and hosts know that one lock stays on the source and that the block of a result is lost.
VELMONT_API void *ProcessColorPencil(void *dib, tagColorPencilParam *param);
