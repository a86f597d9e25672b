#include "filters/extreme_kernels.h"
#include "filters/sample_frame.h"
#include <velmont/filters.h>

using namespace velmont;

// A pass along the rows and then one down the columns, each with a half of the progress.
void *ProcessMaxMin(void *dib, tagParamMaxMin *param)
{
    if (!param || param->size < 2 || param->size > 32)
        return nullptr;
    const ExtremeWindow window{param->size, param->isMax != 0};
    EffectFrame frame(dib);
    if (!servesSamples(frame))
        return nullptr;
    if (!frame.begin(planOnSamples(frame.source())))
        return nullptr;
    const ExtremeKernels kernels = extremeKernels();
    const Dib &source = frame.source();
    Dib &result = frame.result();
    for (int y : frame.rows(kFirstPass)) {
        kernels.row(result.row(y), source.row(y), static_cast<std::size_t>(source.width()),
                    samplesPerPixel(source), window);
        frame.clearPadding(y);
    }
    inStrips(frame, kSecondPass, kExtremeStrip, [&](std::size_t first, std::size_t bytes) {
        kernels.columns(result.row(0) + first, result.stride(), result.height(), bytes, window);
    });
    return frame.finish();
}
