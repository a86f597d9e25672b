#include "filters/despeckle_kernels.h"
#include "filters/two_passes.h"
#include <velmont/filters.h>

using namespace velmont;

void *ProcessDespeckle(void *dib)
{
    EffectFrame frame(dib);
    if (!servesSamples(frame))
        return nullptr;
    const Dib &source = frame.source();
    if (!frame.begin(planWithPalette(source)))
        return nullptr;
    const DespeckleRow despeckle = despeckleRow();
    const auto channels = static_cast<std::size_t>(channelsOf(source));
    const std::size_t bytes = static_cast<std::size_t>(source.width()) * channels;
    const int last = source.height() - 1;
    for (int y : frame.rows()) {
        const ThreeRows rows{source.row(std::max(y - 1, 0)), source.row(y), source.row(std::min(y + 1, last)),
                             bytes, channels};
        despeckle(frame.result().row(y), rows);
        frame.clearPadding(y);
    }
    return frame.finish();
}
