#pragma once

#include "core/dib_layout.h"
#include "core/scratch_block.h"
#include "filters/median_columns.h"
#include <optional>

namespace velmont {

/// The medians of a picture's square windows, row after row, in the way that suits their size. A window starts size / 2
/// pixels before the pixel that it is for; outside the picture its edge repeats.
class MedianFilter {
public:
    MedianFilter(const Dib &source, int size, MedianKind kind);

    /// Row y without padding; rows come in their order.
    void write(uint8_t *to, int y);
    /// Gives its memory back; no more rows after that.
    void release() { memory_.reset(); }

private:
    const Dib &source_;
    MedianRows rows_;
    MedianOfColumns fromCounts_; ///< where counts of the columns pay and there is memory for them
    MedianRow byRow_;            ///< elsewhere
    std::optional<ScratchBlock> memory_;
    ColumnCounts counts_{};
    const uint8_t *leaving_ = nullptr;
};

} // namespace velmont
