#pragma once

/// \file
/// Effects that redraw a picture in another medium: glass and lead, water colour, fur, chalk, pencil.
///
/// Common to all: a null handle and a null record give 0 without a cursor. A depth that is not named and a header that
/// does not fit its block are refused with 0 behind the wait and the arrow cursor; ProcessFur alone shows none there.
/// The source's bytes are left as they were, and the result is a new block of the caller's or 0. At 8 bits the bytes are
/// taken as levels, whatever the palette says, and the rows lie behind 256 colours, at byte 1064, whatever biClrUsed
/// says; a block too small for that is refused like a depth. Where there is no memory for the result, 0 follows the
/// arrow cursor and everything is as it was; what hosts know where there is no working memory is said for each effect. A
/// block that is lost keeps its lock, and nobody frees it. See velmont/environment.h for progress and abort.

#include <cstdint>
#include <velmont/export.h>

/// The record of ProcessStainedGlass. The first four fields, up to `light`, are the caller's; the rest is working storage
/// that the effect writes once there is memory for its work, so that the record has to be there whole. Of that storage
/// nothing but `lineWidthWork` is read.
struct tagStainedGlassParam {
    /// Size of the panes in pixels: the image has a column of cells for each 1.9 times of it. From 1 on, below is
    /// refused; 2 counts as 3.
    int32_t cellDivisor;
    /// Width of the lead in pixels: 1 for one, else a pixel less than it says. Any value: lead of less than one pixel
    /// is faint, and from -2 down there is none. Images with a side below 200 pixels have at least 2 pixels of lead,
    /// those in seven panes with a side below 150 at least 3.
    int32_t leadWidth;
    uint8_t leadColor[3];      ///< of the lead: blue, green, red
    uint8_t leadColorReserved; ///< not read
    /// Strength of the light in tenths of full scale: pixels near the centre gain 255 * light / 10 levels, the centre
    /// gains them twice. Any value, useful from 0; levels below 0 wrap around.
    int32_t light;

    double lineSlope; ///< of the last line of lead; 0 where it was level or upright
    /// Width of the last line. On entry 1 chooses edges that are made for lead of one pixel, any other value those for
    /// wider lead: hosts that use a record again rely on it.
    int32_t lineWidthWork;
    int32_t linePixelsPerRow; ///< width of the image
    int32_t lineRows;         ///< height of the image
    int32_t lineColor0;       ///< leadColor[0]
    int32_t lineColor1;       ///< leadColor[1]
    int32_t lineColor2;       ///< leadColor[2]
    void *linePixels;         ///< the working pixels, which are gone after the run
    double lineFalloff[20];   ///< coverage of a pixel by its distance, in tenths of a pixel
    int32_t imageHeight;      ///< height of the image
    int32_t imageWidth;       ///< width of the image
    int32_t imageBitCount;    ///< 24
    void *workPixels;         ///< the working pixels, which are gone after the run
};

/// A leaded window: panes of one colour each, taken from the picture; a light of octagonal shape around the centre; the
/// lead between the panes over everything. The panes are the cells of a honeycomb, none like the other. Where only few
/// cells fit there are two panes along a diagonal, three that meet in a Y, or seven. A level or upright line of lead has
/// both its ends, others lack the last pixel.
///
/// Depths: 24 bits. No polls and no progress. It seeds srand() with the time in seconds and then draws its points.
/// Hosts rely on these departures from other effects:
/// - Another depth, a header that does not fit its block and a cellDivisor below 1 are refused between a wait and an
///   arrow cursor.
/// - The padding of the result's rows is undefined.
/// - A honeycomb of four columns and four rows is coloured and leaded as the seven panes are.
/// - With two, three and seven panes colours are looked up with columns and rows exchanged; below the last row they are
///   black, or what a pane that reaches there has painted.
/// - A pane that reaches past the last column goes on in the next row.
/// Where there is no working memory 0 follows the arrow cursor and everything is as it was.
VELMONT_API void *ProcessStainedGlass(void *dib, tagStainedGlassParam *param);

/// The record of ProcessWaterColor. Every value of each field is accepted.
struct tagWaterColorParam {
    /// Radius of the patches in pixels; 1 leaves patches out. At 8 bits also the side of a median at the end; there a
    /// value outside 1 to 32 gives a black picture. At 24 bits 0 gives each pixel the last of the darkest coarse colours
    /// in its row up to itself, black where there is none, and less gives black.
    int32_t patchSize;
    /// How much darker the middle tones become: a level v from 0 to 1 becomes v to the power of 1 + toneDepth / 3. 0
    /// leaves them alone. Useful from 0; at 24 bits pixels with a sample of 250 or more stay as they are.
    int32_t toneDepth;
};

/// Flat washes of water colour: middle tones are deepened, each pixel takes the most frequent coarse colour among those
/// up to patchSize pixels around it, and the edges of the patches are made crisp along the rows, or smoothed by a
/// median at 8 bits. Rows nearer to the top or the bottom than patchSize are spared the patches, a picture of up to
/// twice as many rows as a whole. In a picture less than twice as wide as patchSize patches run on from a row into the
/// next one. Polls and reports at each row that has patches, the report as a share of the rows less patchSize; the answer
/// of one poll before them is dropped.
///
/// Depths: 24 bits and any 8 bits. Where there is no working memory 0 follows the arrow cursor, and hosts know that one
/// lock stays on the source and that the block of the result is lost.
VELMONT_API void *ProcessWaterColor(void *dib, tagWaterColorParam *param);

/// The record of ProcessWaterPaper.
struct tagWaterPaperParam {
    /// Width of the brush in pixels: a box with sides of half of it softens the picture, dashes appear up to 7, and
    /// strokes are as long as it. -1 to 1 is refused like a depth; below that the picture becomes black before the tones
    /// change. Where a picture that is wider and higher by half of it, rounded down to an even number, comes to 4 GiB,
    /// there is no working memory.
    int32_t brushSize;
    int32_t brightness; ///< 0 to 100; 50 leaves it; others are taken as they come
    int32_t contrast;   ///< 0 to 100; 50 leaves it, 0 makes all pixels equally bright; others likewise
};

/// Paint on wet, fibrous paper: the picture is softened, brightness and contrast change and leave hue and saturation,
/// bright dashes are scattered, and short strokes smear the dark parts along the rows and columns.
///
/// The box of the softening starts some rows above and some columns before its pixel: a quarter of the brush, but less
/// than the picture has rows and less than it has columns. As many rows and columns on each side show the picture's mirror
/// image, at the top and the left without its edge, and what the box sees beyond them is black. Along a row a box of 3
/// pixels or more keeps its first column. Hosts rely on that look.
///
/// Dashes and strokes are drawn at random, each seeded with the second of the clock; hosts find the generator seeded
/// after an abort too. A dash that reaches past the end of a row touches the bytes that lie there, but none behind the
/// last row's end. Otherwise the padding of the result's rows is undefined; a brush of 2 or 3 copies it.
///
/// Softening, tones, dashes and strokes have a quarter of the progress each. They poll and report at each row, the
/// strokes at each but the last; a brush of 2 or 3 skips those of the softening, one above 7 those of the dashes. The
/// answer of one poll before them is dropped, and the arrow cursor comes before the last report.
///
/// Depths: 24 bits and any 8 bits. Where there is no working memory 0 follows the arrow cursor, and hosts know that one
/// lock stays on the source and that the block of the result is lost.
VELMONT_API void *ProcessWaterPaper(void *dib, tagWaterPaperParam *param);

/// The record of ProcessColorPencil.
struct tagColorPencilParam {
    /// A stroke is strokeSetting + 5 pixels long, and (strokeSetting / 2 + 87) * 8 / 15 percent, rounded down, of the
    /// pixels that could start one do not. Useful from 0 to 200.
    int32_t strokeSetting;
    /// Weight of the pencil; from 0 to 50 samples stay within a byte, beyond they wrap. What it adds to a sample is held
    /// to 800 million either way.
    int32_t pressure;
    /// How much is left alone: 5 percent of the pixels for each, 4.5 at 8 bits, so that 20 and 23 leave all; 0 is
    /// refused.
    int32_t coverage;
    uint32_t pencilColor; ///< 0x00BBGGRR; at 8 bits 0.2 red, 0.7 green and 0.1 blue of it
};

/// Hatching in the colour of a pencil over all but the edges of a picture: strokes to the right and strokes to the left,
/// each towards the first stored row, which are mixed one to three and smoothed by a median of 3 by 3 pixels, at 8 bits
/// of 2 by 2. Where strokes start is drawn at random from the state that the generator is in, which goes on from there: one
/// number for each pixel that is no edge, twice. No polls and no progress. The padding of the rows is the source's.
///
/// Depths: 24 bits and any 8 bits. With a coverage of 0, and where there is no memory for the pictures at work, 0 follows
/// the arrow cursor, and hosts know that one lock stays on the source and that the block of the result is lost; without
/// memory for the map of edges 0 follows it too, and everything is as it was.
VELMONT_API void *ProcessColorPencil(void *dib, tagColorPencilParam *param);

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
/// mirrored around it, at the top and the left without its edge, as far as it goes: rows beyond its mirror image are
/// black, columns beyond it go on in the rows beside. Along a row a box of 3 pixels or more keeps the first
/// column that it started with instead of the one after the column that it leaves: hosts rely on that look. A box so
/// large that the mirrored picture comes to 4 GiB is out of memory.
///
/// Depths: 24 bits and any 8 bits. Cursors only, no progress and no polls, but at 8 bits for a box of 2 or more: there
/// rows poll and report while they are smoothed, and an abort leaves those that are left black and goes on with the
/// hairs, to a result all the same. Nothing reports 100. Where there is no working memory the wait cursor stays, the
/// source is unlocked, and the result's block is lost.
VELMONT_API void *ProcessFur(void *dib, tagFurParam *param);

/// The record of ProcessChalk.
struct tagChalkParam {
    int32_t shadowRange; ///< shadows are the levels up to 4 * shadowRange + 90 of the equalized picture
    int32_t lightRange;  ///< lights are the levels from 170 - 4 * lightRange on
    /// Contrast and grain of the strokes, 1 to 12; others are taken as they come. 1 leaves the contrast of shadows and
    /// lights as it is. From 8 on it only parts black and white: their levels below 21 * grain - 21 become black and all
    /// others white.
    int32_t grain;
};

/// A chalk drawing on gray paper: the picture's gray levels are equalized and parted in shadows and lights, each with a
/// grain of its own that strokes are stamped from, the shadows' leaning one way and the lights' the other. The picture
/// of 24 bits is gray as well. The generator is seeded with 2 and then with 3, so that a picture comes out the same
/// each time.
///
/// Depths: 24 bits and any 8 bits. Cursors only, no progress and no polls. Where there is no working memory the source
/// stays locked and the result's block is lost; 0 follows the arrow cursor, but where there is no memory for the gray
/// levels of 24 bits the wait cursor stays.
VELMONT_API void *ProcessChalk(void *dib, tagChalkParam *param);
