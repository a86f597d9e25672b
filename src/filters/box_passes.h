#pragma once

/// \file
/// The two passes of a box filter, for the effects that make something of it.

#include "filters/box_kernels.h"
#include "filters/two_passes.h"

namespace velmont {

/// The passes of one window over one image.
class BoxPasses {
public:
    BoxPasses(const Dib &source, int64_t size)
        : source_(source), size_(size), isNarrow_(size <= NarrowBoxRounding::kLargestDivisor),
          narrow_(isNarrow_ ? size : 2), rounding_(size), channels_(samplesPerPixel(source)),
          rowBytes_(sampleBytes(source))
    {
    }

    std::size_t scratchBytes() const
    {
        const std::size_t widened =
            isNarrow_ ? rowBytes_ + static_cast<std::size_t>(size_ - 1) * channels_ : 0;
        return std::max(widened, boxColumnsScratch(source_.height(), size_, stripBytes(source_)));
    }
    /// The means along one row.
    void row(uint8_t *to, const uint8_t *from, uint8_t *scratch) const
    {
        if (!isNarrow_)
            return boxRow(to, from, source_.width(), static_cast<int>(channels_), size_, rounding_);
        const auto window = static_cast<std::size_t>(size_);
        widenRow(scratch, from, rowBytes_, channels_, window / 2, window - 1 - window / 2);
        kernels_.row(to, scratch, rowBytes_, channels_, static_cast<unsigned>(size_), narrow_);
    }
    /// The means along the columns of a strip, mixed with the source or not. rowDone(y) as a row is written.
    void columns(const ColumnStrip &strip, std::size_t firstByte, int64_t sourceWeight, uint8_t *scratch,
                 const RowDone &rowDone = {}) const
    {
        boxColumns(strip, size_, {sourceWeight, source_.row(0) + firstByte}, scratch, rowDone);
    }

private:
    const Dib &source_;
    int64_t size_;
    bool isNarrow_;
    NarrowBoxRounding narrow_;
    BoxRounding rounding_;
    BoxKernels kernels_ = boxKernels();
    std::size_t channels_, rowBytes_;
};

} // namespace velmont
