#include "filters/box_passes.h"
#include "filters/sharpen_kernels.h"
#include <velmont/filters.h>

using namespace velmont;

void *ProcessUnsharpMask(void *dib, tagParamUnsharpenMask *param)
{
    if (!param || param->size < 2 || param->size > 32 || param->amount < 1 || param->amount > 500 ||
        param->threshold < 0 || param->threshold > 255)
        return nullptr;
    const Boost boost(param->amount, param->threshold);
    const int size = param->size;
    EffectFrame frame(dib);
    if (!servesSamples(frame))
        return nullptr;
    const Dib &source = frame.source();
    const BoxPasses passes(source, size);
    const SharpenKernels kernels = sharpenKernels();
    return inTwoPasses(
        frame, passes.scratchBytes(),
        [&](uint8_t *to, const uint8_t *from, uint8_t *scratch) { passes.row(to, from, scratch); },
        [&](const ColumnStrip &strip, std::size_t firstByte, uint8_t *scratch) {
            passes.columns(strip, firstByte, 0, scratch, [&](int64_t y) {
                kernels.unsharp(strip.row(y), source.row(static_cast<int>(y)) + firstByte, strip.bytes,
                                boost);
            });
        });
}
