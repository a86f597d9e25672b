#pragma once

#include "core/repeat_bytes.h"
#include "geometry/pixel_access.h"
#include <algorithm>

namespace velmont {

/// Copies and fills runs of pixels of whole bytes.
class PixelRuns {
public:
    PixelRuns(std::size_t pixelBytes, PixelValue background) : bytes_(pixelBytes), background_(background) {}

    void copy(uint8_t *to, int64_t toColumn, const uint8_t *from, int64_t fromColumn, int64_t count) const
    {
        if (count > 0) // the columns of no pixels may lie anywhere
            std::memcpy(to + place(toColumn), from + place(fromColumn), place(count));
    }
    void fill(uint8_t *to, int64_t column, int64_t count) const
    {
        uint8_t *const first = to + place(column);
        const std::size_t all = place(count);
        for (std::size_t i = 0; i < bytes_ && i < all; ++i)
            first[i] = static_cast<uint8_t>(background_ >> 8 * i);
        repeatBytes(first, std::min(bytes_, all), all);
    }

private:
    std::size_t place(int64_t column) const { return static_cast<std::size_t>(column) * bytes_; }

    std::size_t bytes_;
    PixelValue background_;
};

} // namespace velmont
