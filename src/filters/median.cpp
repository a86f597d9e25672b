#include "core/scratch_block.h"
#include "filters/median_columns.h"
#include "filters/sample_frame.h"
#include <algorithm>
#include <cstring>
#include <velmont/filters.h>

namespace velmont {

namespace {

/// Each row of the result by write(to, rows).
template <typename Write>
void writeRows(EffectFrame &frame, int size, Write write)
{
    const Dib &source = frame.source();
    MedianRows rows{{}, size, static_cast<std::size_t>(source.width()), samplesPerPixel(source)};
    for (int y : frame.rows()) {
        for (int j = 0; j < size; ++j) {
            const int64_t row = int64_t{y} + j - size / 2;
            rows.row[static_cast<std::size_t>(j)] =
                source.row(static_cast<int>(std::clamp<int64_t>(row, 0, source.height() - 1)));
        }
        write(frame.result().row(y), rows);
        frame.clearPadding(y);
    }
}

/// From counts of the columns, where that pays.
/// \return whether it does and there is memory for them.
bool writeFromCounts(EffectFrame &frame, int size)
{
    const MedianOfColumns median = medianOfColumns(size);
    if (!median)
        return false;
    const std::size_t columns = sampleBytes(frame.source()), bytes = ColumnCounts::bytesFor(columns);
    ScratchBlock scratch(bytes);
    if (!scratch.bytes())
        return false;
    std::memset(scratch.bytes(), 0, bytes);
    const ColumnCounts counts{scratch.bytes(), columns};
    const uint8_t *leaving = nullptr;
    writeRows(frame, size, [&](uint8_t *to, const MedianRows &rows) {
        median(to, rows, counts, leaving);
        leaving = rows.row[0];
    });
    return true;
}

} // namespace

} // namespace velmont

using namespace velmont;

void *ProcessMedian(void *dib, tagParamMedian *param)
{
    if (!param || param->size < kSmallestMedian || param->size > kLargestMedian)
        return nullptr;
    const int size = param->size;
    EffectFrame frame(dib);
    if (!servesSamples(frame))
        return nullptr;
    if (!frame.begin(planOnSamples(frame.source())))
        return nullptr;
    if (!writeFromCounts(frame, size))
        writeRows(frame, size, medianRow(size));
    return frame.finish();
}
