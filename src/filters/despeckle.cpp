#include "filters/despeckle_kernels.h"
#include "filters/sample_frame.h"
#include <algorithm>
#include <velmont/filters.h>

using namespace velmont;

void *ProcessDespeckle(void *dib)
{
    EffectFrame frame(dib);
    if (!servesSamples(frame))
        return nullptr;
    const Dib &source = frame.source();
    if (!frame.begin(planOnSamples(source)))
        return nullptr;
    const DespeckleRow despeckle = despeckleRow();
    const std::size_t channels = samplesPerPixel(source), bytes = sampleBytes(source);
    const int last = source.height() - 1;
    for (int y : frame.rows()) {
        const ThreeRows rows{source.row(std::max(y - 1, 0)), source.row(y), source.row(std::min(y + 1, last)),
                             bytes, channels};
        despeckle(frame.result().row(y), rows);
        frame.clearPadding(y);
    }
    return frame.finish();
}
