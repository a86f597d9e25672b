#pragma once

/// \file
/// Pictures made anew of random elements: pen strokes, cells and dots.
///
/// Common to all: a null handle, a null record and a block that does not fit its header are refused with 0, the source is
/// left as it was, and the result is a new block of the caller's or 0. See velmont/environment.h for progress and abort.
/// Depths: 24 bits and 8 bits. An 8-bit image is painted by the red of its colours; a level that no colour has for its
/// red is not stored, and with a palette of 256 colours it is stored as an index as it stands. At any other depth, and
/// at 24 bits with a palette, all goes its way and the picture stays 0.
///
/// The random numbers go on from the calling thread's generator: the same state gives the same picture.

#include <cstdint>
#include <velmont/export.h>

/// The record of ProcessCrosshatch.
struct tagCrosshatch {
    int32_t size; ///< length of a stroke across, in pixels, 2 to 46340; others are refused
};

/// Hatches the picture with two families of diagonal pen strokes, each a little off its line and of the mean colour
/// below it. A stroke has a full middle, a softer side and an edge whose samples are off by up to 25 levels; where
/// strokes meet the lighter sample stays. The second family brings along the picture around it. With a size of 2 no
/// stroke gets into the picture, which stays 0. Code 1105. Each line of strokes polls, of both families, and an abort in
/// the first one is forgotten unless it is there still as the second one starts.
VELMONT_API void *ProcessCrosshatch(void *dib, tagCrosshatch *param);

/// The record of ProcessCrystallize.
struct tagCrystallize {
    int32_t size; ///< scale of the cells in pixels, whose pitch is 3/4 of it, 2 or more; others are refused
};

/// Breaks the picture into facets around random places, one in each cell of a grid. A facet has the mean colour of a
/// small square around its place, up to size / 6 pixels off it; pixels as near to several places as to each of them, by
/// whole pixels, are mixed. Only the nine places around are looked at, and none beyond the picture's far edges. Code 3101.
/// Each row of cells polls and reports 0, then each row of pixels polls. An abort among the cells ends them alone: what the
/// rows' own polls answer counts, and facets without a place stay 0.
VELMONT_API void *ProcessCrystallize(void *dib, tagCrystallize *param);

/// The record of ProcessPointillize.
struct tagPointillize {
    int32_t
        size; ///< diameter of the dots in pixels, 1 or more; others are refused. The pitch of the grid is 8/10 of it
};

/// Paints round dots on white, one at a random place in each cell of a grid. A dot has the mean colour of the square up to
/// `size` pixels off its place, each sample moved by up to 50 levels; where dots meet, the nearest one is seen, and its
/// rim is mixed with white. Code 3103. Each row of cells polls, with a tenth of the progress, then each row of pixels.
/// An abort among the cells ends them alone: what the rows' own polls answer counts, and there are no further dots.
VELMONT_API void *ProcessPointillize(void *dib, tagPointillize *param);
