#pragma once

/// \file
/// Selections and what paints by them. The library keeps no selection: it is an image that the host holds.
///
/// A bit mask is a 1-bit `Dib` with two colours whose rows start at byte 48 of the block; a set bit is selected. An
/// alpha mask is an 8-bit gray `Dib` whose rows start at byte 1064; 255 is fully selected, 0 not at all. Each function
/// takes one kind. A bit mask that is smaller than the image lies at a place that the host remembers: rectangles and
/// offsets tell it. All rows are counted as they are stored.
///
/// Common to all: a null handle and a depth that is not named are refused with 0, sources are left as they were, and a
/// result is a new block of the caller's or 0, where nothing else is said. See velmont/environment.h for progress and
/// abort.

#include <velmont/export.h>
#include <velmont/geometry.h>

// Masks and magic selection

/// Selects the pixels of similar colour that are connected to a pixel through their four neighbours. Depths: 24, 8 and 4
/// bits, the latter two by the colours of their palette, of which 256 at most are read, and black where there is none;
/// any other depth is read as 1 bit, row by row at its own stride. The cursor is not touched and no progress reported;
/// abort is polled once without effect, then at every 256th run of pixels to explore, the first included.
/// \param x,y the pixel to start from, in stored rows; held inside the image
/// \param toleranceMode any value but 0: channels match within limits around those of the first pixel. 0: the limits
/// are thresholds, and a channel matches where it lies on the same side, above or not, as that of the first pixel
/// \param redLimit,greenLimit,blueLimit any numbers; a negative tolerance gives an empty mask
/// \return a new bit mask of the image's size; 0 also after an abort or without memory
VELMONT_API void *CreateMagicMaskFromDib(void *dib, int x, int y, int toleranceMode, int redLimit,
                                         int greenLimit, int blueLimit);

/// Combines two bit masks. The result is not told where it lies: it starts at the left and top of the rectangle that it
/// covers, in the coordinates of mask A. Outside a mask its bits count as clear. Neither cursor nor progress nor abort is
/// touched.
/// \param maskA, maskB 1 bit; others are refused
/// \param x,y where mask B starts in mask A, in stored rows; any numbers
/// \param operation 0 either: all that the masks cover; 1 both: where they overlap; 2 just one of them: all that they
/// cover; 3 A without B: what A covers. Any other is A without B over all that the masks cover
/// \return a new bit mask with the colours of A; 0 also where the rectangle is empty or without memory
VELMONT_API void *ProcessMaskOperation(void *maskA, void *maskB, int x, int y, int operation);

/// Takes the empty borders off a bit mask. Neither cursor nor progress nor abort is touched.
/// \param mask consumed: use the result instead. Its header is not looked at; what of the size asked for lies behind
/// its block counts as clear. A block too small for a header and two colours is left as it is
/// \param rect where the mask lies: its width and height are those of the mask. Null, or a width or height below 1 or
/// above 2^31 - 1, leaves everything as it is. Receives the place of the result, four zeros for none
/// \return a new mask; `mask` itself where there is nothing to take off, and without memory; 0 where no bit is set: the
/// mask is freed then, too
VELMONT_API void *BoundingMask(void *mask, tagRECT *rect);

/// Inverts a mask in place: all bytes of its rows, padding included. Bit masks and alpha masks are meant. The rows are
/// looked for behind a palette of 2^bits colours, whatever biClrUsed says. Neither cursor nor progress nor abort is
/// touched.
/// \return 0; -2 for a bad handle, a header that does not fit its block, and where rows so found would end behind it
VELMONT_API int ProcessInvertMask(void *mask);

// Fills
//
// Colours are 0x00BBGGRR.

/// Paints one colour where a bit mask selects. Depths: 24 bits and 8 bits gray. The result is a copy of the whole block.
/// The cursor is not touched; each row polls.
/// \param mask 1 bit, others are refused
/// \param position where the mask's first pixel lies on the image, in stored rows; it may hang over or lie outside
/// \param color at 8 bits its blue byte alone is the level
/// \param inside any value but 0 paints the pixels under set bits; 0 all others, those beside the mask too
VELMONT_API void *ProcessFillColor(void *dib, void *mask, tagPOINT position, unsigned long color, int inside);
/// Does nothing.
/// \return 0
VELMONT_API int ProcessFillColor(void *dib, unsigned long color);

/// Selects as CreateMagicMaskFromDib does and paints what is selected as ProcessFillColor does, whose polls and reports
/// are those of this function; so it serves 24 bits and 8 bits gray.
/// \param selection null, or an image of any kind that holds what the fill starts inside of or outside of. The pixels
/// of it that are connected to the first one are found with the same limits as thresholds. Where the first one is set
/// the fill is the pixels that both images select, else those of `selection` alone. A pixel of 8 bits is set when it is
/// not 0. At 1 bit, bit x + y * stride of all bits that lie behind each other tells it, which is the pixel's own in
/// row 0 only. At any other depth, and outside the image, no pixel is set
/// \param x,y,toleranceMode,redLimit,greenLimit,blueLimit as for CreateMagicMaskFromDib
/// \param filled where not null, receives a new image, the caller's, or null for none: test this
/// \param mask where not null, receives the bit mask of what was painted, the caller's, or null; without it the mask
/// stays allocated
/// \return 1 with a place for the image, else 0, whether or not anything was made
VELMONT_API int ProcessSeedFill(void *dib, void *selection, int x, int y, int toleranceMode, int redLimit,
                                int greenLimit, int blueLimit, unsigned long color, void **filled,
                                void **mask);

/// Covers the picture with tiles of another, mixed with it or pressed into it as a relief. The tiles start at the last
/// stored row, with their own last row, at column 0. Depths: 8 bits, whatever the palette, and 24 bits. Each row polls.
/// \param pattern 8 or 24 bits. One of the image's depth and biClrUsed is taken as it is, any other converted to the
/// other of both depths, with that conversion's polls and reports; its bytes are then read at the stride that its width
/// has at the image's depth, those behind the block as 0
/// \param tiling 1 every other row of tiles is shifted by half a tile; 2 every other tile is mirrored and every other
/// row of tiles upside down; any other repeats plainly
/// \param percent how far from the picture to the pattern, or how deep the relief; more than 100 and below 0 are not
/// refused: bytes keep the low 8 bits of what comes out
/// \param relief 0 mixes; any other value adds percent / 100 of what the pattern, at 24 bits the mean of its channels,
/// lies below 128, held within 0 to 255
VELMONT_API void *ProcessFillPattern(void *dib, void *pattern, int tiling, int percent, int relief);

// Gradients

/// Paints a colour ramp over the whole picture, mixed with the picture. Depths: 8 bits gray and 24 bits. The source is
/// left as it was; the result is a new block of the caller's with the source's header and palette, or 0. No mask is
/// asked for: a host that wants the gradient within a selection composes the result itself. Distances are those of
/// stored rows and columns, rounded to whole pixels; nothing overflows, whatever the points.
/// \param p1 where a line starts, or the centre; it may lie outside the picture
/// \param p2 where a line ends, or the corner that sets the half sizes. A line is refused where neither coordinate
/// differs by more than 1, the other shapes where one of them does not differ at all
/// \param colorMode 2: the ramp runs through hue, saturation and value, its hue always upwards from color2's to
/// color1's. Any other value: through red, green and blue. At 8 bits it is not looked at
/// \param repeatMode 2: each band starts anew. Any other value: odd bands run backwards
/// \param sourcePercent the picture's share of the result, the gradient's is the rest of 100; any number, the sum is held
/// to 0 to 255. 0 is the pure gradient, 100 the picture
/// \param repeats bands before the end colour takes over: color1 where each band starts anew; else color1 for an odd
/// and color2 for an even number. Below 1 there is no band
/// \param shape 1 square, 2 rectangle, 3 ellipse, 4 circle, 5 line; any other value is refused
/// \param color1 0x00BBGGRR of the end or the outside; at 8 bits what GetColorIndex finds for it
/// \param color2 of the start or the centre, likewise
VELMONT_API void *ProcessGradientFill(void *dib, tagPOINT p1, tagPOINT p2, int colorMode, int repeatMode,
                                      int sourcePercent, int repeats, int shape, unsigned long color1,
                                      unsigned long color2);

/// The gradient along the line from p1 to p2; what lies behind the start has color2.
/// \param shape is not looked at
VELMONT_API void *ProcessLinearGradient(void *dib, tagPOINT p1, tagPOINT p2, int colorMode, int repeatMode,
                                        int sourcePercent, int repeats, int shape, unsigned long color1,
                                        unsigned long color2);

/// The gradient in circles or ellipses around p1. A half size ten times the other or more raises the other to about
/// a tenth; and bands that would reach 40000 pixels or more are made as many as fit there, or one.
/// \param shape 4: a circle of the smaller half size. 3: an ellipse. Any other value paints a circle where both half
/// sizes are the same, and gives a picture of zeros where they are not
VELMONT_API void *ProcessCircularGradient(void *dib, tagPOINT p1, tagPOINT p2, int colorMode, int repeatMode,
                                          int sourcePercent, int repeats, int shape, unsigned long color1,
                                          unsigned long color2);

/// The gradient in squares or rectangles around p1.
/// \param shape 1: squares of the smaller half size. 2: rectangles. Any other value paints squares where both half
/// sizes are the same, and gives a picture of zeros where they are not
VELMONT_API void *ProcessRectangularGradient(void *dib, tagPOINT p1, tagPOINT p2, int colorMode,
                                             int repeatMode, int sourcePercent, int repeats, int shape,
                                             unsigned long color1, unsigned long color2);
