#include "filters/median_kernels.h"
#include "filters/sample_frame.h"
#include <algorithm>
#include <velmont/filters.h>

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
    const MedianRow median = medianRow(size);
    const Dib &source = frame.source();
    MedianRows rows{{}, size, static_cast<std::size_t>(source.width()), samplesPerPixel(source)};
    for (int y : frame.rows()) {
        for (int j = 0; j < size; ++j) {
            const int64_t row = int64_t{y} + j - size / 2;
            rows.row[static_cast<std::size_t>(j)] =
                source.row(static_cast<int>(std::clamp<int64_t>(row, 0, source.height() - 1)));
        }
        median(frame.result().row(y), rows);
        frame.clearPadding(y);
    }
    return frame.finish();
}
