#include "filters/median_pass.h"
#include <algorithm>
#include <cstring>

namespace velmont {

MedianPass::MedianPass(const SampleRows &source, int size, MedianKind kind)
    : source_(source), rows_{{}, size, static_cast<std::size_t>(source.width), source.channels, kind},
      ofColumns_(medianOfColumns(size))
{
    if (!ofColumns_)
        return;
    const uint64_t bytes = ColumnCounts::bytesFor(source.rowBytes());
    columnCounts_.emplace(bytes);
    if (columnCounts_->bytes())
        std::memset(columnCounts_->bytes(), 0, static_cast<std::size_t>(bytes));
    else
        ofColumns_ = nullptr; // each window by itself is slower and needs no memory
}

void MedianPass::writeNext(uint8_t *to)
{
    for (int j = 0; j < rows_.size; ++j) {
        const int64_t row = int64_t{y_} + j - rows_.size / 2;
        rows_.row[static_cast<std::size_t>(j)] =
            source_.row(static_cast<int>(std::clamp<int64_t>(row, 0, source_.height - 1)));
    }
    ++y_;
    if (!ofColumns_)
        return medianRow(rows_.size, rows_.kind)(to, rows_);
    ofColumns_(to, rows_, {columnCounts_->bytes(), source_.rowBytes()}, leaving_);
    leaving_ = rows_.row[0];
}

} // namespace velmont
