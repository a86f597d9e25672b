#pragma once

/// \file
/// Pictures that are laid over an image in tiles.

#include "core/locked_dib.h"
#include "core/owned_block.h"
#include <algorithm>
#include <cstring>
#include <velmont/geometry.h>

namespace velmont {

/// A picture for an image: the caller's, or a conversion of it, which is freed with the object.
class TilePicture {
public:
    TilePicture(void *given, const Dib &image) : handle_(given)
    {
        const LockedDib picture(given);
        if (!picture)
            handle_ = nullptr;
        else if (picture->bitCount() != image.bitCount() ||
                 picture->header().biClrUsed != image.header().biClrUsed)
            handle_ = convert(picture->bitCount());
    }

    /// The picture's handle; null where the caller's is no image, is of a depth that cannot be converted, or could not be.
    void *handle() const { return handle_; }

private:
    /// To the other depth than its own where depth or biClrUsed differ from the image's, even if that makes the depths
    /// differ: hosts rely on it.
    void *convert(int bitCount)
    {
        if (bitCount == 8)
            converted_.reset(ProcessConvertTo24BitColor(handle_));
        else if (bitCount == 24)
            converted_.reset(ProcessConvertToGrayScale(handle_));
        return converted_.get();
    }

    void *handle_;
    OwnedBlock converted_;
};

/// Copies bytes of a picture's block from a place on. What lies behind the block is 0.
inline void copyWithin(uint8_t *to, const Dib &picture, uint64_t start, std::size_t wanted)
{
    const std::size_t there =
        start < picture.blockBytes() ? std::min<std::size_t>(wanted, picture.blockBytes() - start) : 0;
    if (there > 0)
        std::memcpy(to, picture.block() + start, there);
    std::memset(to + there, 0, wanted - there);
}

} // namespace velmont
