#include "filters/median_pass.h"
#include "filters/sample_frame.h"
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
    {
        MedianPass medians(sampleRows(frame.source()), size, MedianKind::Walked);
        for (int y : frame.rows()) {
            medians.writeNext(frame.result().row(y));
            frame.clearPadding(y);
        }
    }
    return frame.finish();
}
