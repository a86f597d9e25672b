#include "filters/median_filter.h"
#include "filters/sample_frame.h"
#include <algorithm>
#include <cstring>

namespace velmont {

MedianFilter::MedianFilter(const Dib &source, int size, MedianKind kind)
    : source_(source), rows_{{},
                             size,
                             static_cast<std::size_t>(source.width()),
                             samplesPerPixel(source),
                             kind},
      fromCounts_(medianOfColumns(size)), byRow_(medianRow(size, kind))
{
    if (!fromCounts_)
        return;
    const std::size_t columns = sampleBytes(source), bytes = ColumnCounts::bytesFor(columns);
    memory_.emplace(bytes);
    if (memory_->bytes())
        std::memset(memory_->bytes(), 0, bytes);
    else
        fromCounts_ = nullptr;
    counts_ = {memory_->bytes(), columns};
}

void MedianFilter::write(uint8_t *to, int y)
{
    for (int j = 0; j < rows_.size; ++j) {
        const int64_t row = int64_t{y} + j - rows_.size / 2;
        rows_.row[j] = source_.row(static_cast<int>(std::clamp<int64_t>(row, 0, source_.height() - 1)));
    }
    if (!fromCounts_)
        return byRow_(to, rows_);
    fromCounts_(to, rows_, counts_, leaving_);
    leaving_ = rows_.row[0];
}

} // namespace velmont
