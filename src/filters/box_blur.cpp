#include "filters/box_passes.h"
#include <velmont/filters.h>

namespace velmont {

namespace {

/// The box of both effects, mixed with `centerWeight` times the source.
void *boxBlur(EffectFrame &frame, int64_t size, int64_t centerWeight)
{
    if (!servesSamples(frame))
        return nullptr;
    const BoxPasses passes(frame.source(), size);
    return inTwoPasses(
        frame, passes.scratchBytes(),
        [&](uint8_t *to, const uint8_t *from, uint8_t *scratch) { passes.row(to, from, scratch); },
        [&](const ColumnStrip &strip, std::size_t firstByte, uint8_t *scratch) {
            passes.columns(strip, firstByte, centerWeight, scratch);
        });
}

} // namespace

} // namespace velmont

using namespace velmont;

void *ProcessAverage(void *dib, tagParamAverage *param)
{
    if (!param || param->size < 2 || param->size > 32)
        return nullptr;
    EffectFrame frame(dib);
    return boxBlur(frame, param->size, 0);
}

void *ProcessBlur(void *dib, tagParamBlur *param)
{
    if (!param || param->centerWeight < 0)
        return nullptr;
    EffectFrame frame(dib);
    return boxBlur(frame, std::max(param->size, 2), param->centerWeight);
}
