#include "core/scratch_block.h"
#include "filters/inner_pixels.h"
#include "filters/relief_kernels.h"
#include <velmont/filters.h>

namespace velmont {

namespace {

/// The threshold for each byte of a row. Nothing lies above that of a channel that takes no part.
void writeLimits(uint8_t *limits, const Dib &source, int channel, int threshold)
{
    const std::size_t channels = samplesPerPixel(source), bytes = sampleBytes(source);
    for (std::size_t i = 0; i < bytes; ++i) {
        const bool takesPart =
            channels == 1 || channel == 0 || i % channels == static_cast<std::size_t>(3 - channel);
        limits[i] = static_cast<uint8_t>(takesPart ? threshold : 255);
    }
}

} // namespace

} // namespace velmont

using namespace velmont;

void *ProcessFindContour(void *dib, tagParamFindContour *param)
{
    if (!param || param->enable == 0 || param->channel < 0 || param->channel > 3 || param->threshold < 1 ||
        param->threshold > 254)
        return nullptr;
    const tagParamFindContour record = *param;
    EffectFrame frame(dib);
    if (!servesSamples(frame) || !hasInnerPixels(frame.source()))
        return nullptr;
    const Dib &source = frame.source();
    const ResultPlan plan = planWithColors(source);
    if (!frame.allocate(plan))
        return nullptr;
    ScratchBlock limits(sampleBytes(source));
    if (!limits.bytes())
        return frame.giveUp();
    frame.open(plan.headerBytes);
    writeLimits(limits.bytes(), source, record.channel, record.threshold);
    const ReliefKernels kernels = reliefKernels();
    fillOutermostRows(frame, 0);
    for (int y : frame.steps(source.height() - 1, {.percentOf = source.height(), .firstRow = 1})) {
        kernels.contour(startInner(frame, y, 0), rowsAbout(source, y),
                        limits.bytes() + samplesPerPixel(source), innerBytes(source));
    }
    limits.release();
    return frame.finish();
}
