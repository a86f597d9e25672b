#pragma once

/// \file
/// Bit masks: 1-bit images of two colours whose set bits are selected.

#include "core/locked_dib.h"
#include <optional>

namespace velmont {

/// Where the rows of a bit mask start, whatever its palette.
inline constexpr std::size_t kMaskPixelOffset = 48;

/// A bit mask in a locked block; nothing for any other image and for one that its block is too small for.
std::optional<Dib> maskIn(const LockedDib &locked);

/// A mask in the making, all bits clear: locked, and freed unless it is taken.
class NewMask {
public:
    /// Without memory, and for a size that no block has, there is none.
    NewMask(int width, int height);
    ~NewMask();
    NewMask(const NewMask &) = delete;
    NewMask &operator=(const NewMask &) = delete;

    explicit operator bool() const { return mask_.has_value(); }
    Dib &dib() { return *mask_; }
    /// Copies what lies before the rows of another image, `bytes` of it, and writes the mask's own measures.
    void describe(const uint8_t *from, std::size_t bytes);
    /// Unlocks the mask and hands it over.
    void *take();

private:
    void *handle_ = nullptr;
    std::optional<BlockLock> lock_;
    std::optional<Dib> mask_;
};

} // namespace velmont
