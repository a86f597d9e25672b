#pragma once

#include "core/scratch_block.h"
#include "filters/median_columns.h"
#include "filters/sample_rows.h"
#include <optional>

namespace velmont {

/// The medians of a picture, row by row from the first one on.
class MedianPass {
public:
    /// \param size of the window, as the kind allows
    MedianPass(const SampleRows &source, int size, MedianKind kind);

    /// The next row; its padding is left alone.
    void writeNext(uint8_t *to);

private:
    SampleRows source_;
    MedianRows rows_;
    int y_ = 0;
    MedianOfColumns ofColumns_;
    std::optional<ScratchBlock> columnCounts_; ///< where counts of the columns pay
    const uint8_t *leaving_ = nullptr;
};

} // namespace velmont
