#pragma once

/// \file
/// Pictures printed on a rough surface.

#include <cstdint>
#include <velmont/export.h>

/// The record of ProcessTexturize.
struct tagTextureParam {
    void *texture; ///< a picture of 8 or 24 bits, read only and the caller's throughout; null is refused
    /// 1 starts each row half a tile further on, 2 mirrors the tile in both directions, any other value lays it as it is.
    int32_t tileMode;
    int32_t strength; ///< of the relief in percent, any number; negative ones turn it inside out
    /// Size of the texture's tile relative to the texture, each side cut to whole pixels and 1 at least.
    double scale;
};

/// Tiles a texture over the picture and adds (128 - level) * strength / 100 to all samples of a pixel, by the texture's
/// level there, so that dark parts of it stand out. The tiles start at the first pixel of the last stored row. The texture
/// goes through ProcessResampleHighQuality whatever its scale. Depths: 24 bits, and 8 bits with 256 colours before the
/// rows, whose indices are taken for levels; any other depth is taken for 8 bits.
///
/// A texture whose depth or biClrUsed differ from the image's is converted first, an 8-bit one to 24 bits and a 24-bit one
/// to gray, even where that makes the depths differ. What is used is read as its own depth says: 24 bits from byte 40 on, a
/// level being the mean of three bytes rounded down, and 8 bits from byte 1064 on, a byte being a level, even where it has
/// less than 256 colours. What lies behind its block is 0.
///
/// A null handle, a null record, a texture of another depth and a size of tile that cannot be had are refused with 0. The
/// conversion and the resampling show cursors, poll and report by themselves, and an abort there ends the effect: the
/// host sees no more of it than of them. Where memory is too short for the resampling the arrow cursor comes back all the
/// same. Code 3105. The resampled texture stays allocated at each call that gets to the rows, and nobody holds its handle: hosts
/// count on it.
VELMONT_API void *ProcessTexturize(void *dib, tagTextureParam *param);
