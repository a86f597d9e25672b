#include "filters/sample_frame.h"
#include "filters/sharpen_kernels.h"
#include <algorithm>
#include <velmont/filters.h>

namespace velmont {

namespace {

/// Against the neighbours in the row, of which there is but one at either end.
void sharpenAlong(uint8_t *to, const uint8_t *from, std::size_t bytes, std::size_t step,
                  const SharpenKernels &kernels)
{
    if (bytes == step)
        return kernels.linear(to, from, from, from, bytes);
    const std::size_t last = bytes - step;
    kernels.linear(to, from, from, from + step, step);
    kernels.linear(to + step, from, from + step, from + 2 * step, last - step);
    kernels.linear(to + last, from + last - step, from + last, from + last, step);
}

} // namespace

} // namespace velmont

using namespace velmont;

void *ProcessLinearSharpen(void *dib, tagParamLinearSharpen *param)
{
    if (!param)
        return nullptr;
    const bool isVertical = param->vertical != 0;
    EffectFrame frame(dib);
    if (!servesSamples(frame))
        return nullptr;
    const Dib &source = frame.source();
    if (!frame.begin(planOnSamples(source)))
        return nullptr;
    const SharpenKernels kernels = sharpenKernels();
    const std::size_t bytes = sampleBytes(source);
    const int last = source.height() - 1;
    for (int y : frame.rows()) {
        uint8_t *const to = frame.result().row(y);
        const uint8_t *const from = source.row(y);
        if (isVertical)
            kernels.linear(to, source.row(std::max(y - 1, 0)), from, source.row(std::min(y + 1, last)),
                           bytes);
        else
            sharpenAlong(to, from, bytes, samplesPerPixel(source), kernels);
        frame.clearPadding(y);
    }
    return frame.finish();
}
