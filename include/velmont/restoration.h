#pragma once

/// \file
/// Effects that restore a damaged picture.

#include <cstdint>
#include <velmont/export.h>

/// The record of ProcessScratch.
struct tagScratchParam {
    int32_t
        threshold; ///< levels by which a channel may differ from its median; from 255 on none differs by more
    int32_t
        radius; ///< of the window in pixels, 0 to 124, others are refused; the window's side is 2 * radius + 1
};

/// Takes dust and scratches away: a pixel of which any channel differs from its median by more than the threshold
/// becomes the three medians, all others stay. A median is taken one rank below the middle of the sorted samples of the
/// square window around the pixel: hosts rely on that rank. What lies outside the picture repeats its
/// edge. With radius 0 all medians are 0; those of the first stored pixel are always 255. What lies behind the pixels
/// of a row is not defined.
///
/// Depth: 24 bits; a null handle, a null record and others are refused with 0. The source is left as it was, the result
/// is a new block of the caller's or 0. Polls and reports at each row, from radius * 100 / (height + radius) on; the
/// arrow cursor comes before the last report of 100.
VELMONT_API void *ProcessScratch(void *dib, tagScratchParam *param);
