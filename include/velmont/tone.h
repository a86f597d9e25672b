#pragma once

/// \file
/// Tone and colour: effects that change each sample by itself.
///
/// Common to all: a null handle and a depth that is not named are refused with 0, the source is left as it
/// was, and the result is a new block of the caller's or 0. See velmont/environment.h for progress and abort.

#include <cstdint>
#include <velmont/export.h>

/// The negative: every sample becomes 255 minus itself.
/// Depths: 24 bits, 8 bits gray and 1 bit complement every byte of the rows, padding included; other 8-bit
/// images and 4 bits complement the palette's colours and keep the pixels. A 1-bit image always has two
/// palette entries here, whatever biClrUsed says; it is refused when they and the rows do not fit its block.
VELMONT_API void *ProcessNegative(void *dib);

/// The histogram that GetHistogram makes and hosts read.
struct HistogramRecord {
    uint32_t reserved;    ///< never written
    double **channels;    ///< `channelCount` pointers to 256 bins each, counts of pixels
    int32_t channelCount; ///< 4 at 24 bits: 0 the largest of a pixel's three bytes, 1 blue, 2 green, 3 red;
                          ///< 2 for a gray image: 0 the levels, 1 stays empty
};

/// Counts the levels of an image. Kinds: 24 bits and 8 bits gray (biClrUsed may be above 256); others are
/// refused with 0 and without a cursor change. Wait and arrow cursor; neither progress nor abort.
/// \return a HistogramRecord, the caller's, who releases it with DelHistogram; 0 without memory
VELMONT_API unsigned char *GetHistogram(void *dib);

/// Releases a record of GetHistogram: its bins and itself. The array that `channels` points to is left behind:
/// hosts still hold it. A record whose `channels` was set to null keeps its bins. A null record is ignored.
VELMONT_API void DelHistogram(unsigned char *histogram);
