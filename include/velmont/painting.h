#pragma once

/// \file
/// Painting: effects that turn a picture into the work of a craft.
///
/// Common to all: a null handle and a null record are refused with 0, the source is left as it was, and the result is a
/// new block of the caller's or 0.

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
///   black.
VELMONT_API void *ProcessStainedGlass(void *dib, tagStainedGlassParam *param);
