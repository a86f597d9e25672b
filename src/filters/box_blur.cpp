#include "filters/box_kernels.h"
#include "filters/two_passes.h"
#include <velmont/filters.h>

namespace velmont {

namespace {

/// The box of both effects, mixed with `centerWeight` times the source.
void *boxBlur(EffectFrame &frame, int64_t size, int64_t centerWeight)
{
    if (!servesSamples(frame))
        return nullptr;
    const Dib &source = frame.source();
    const bool isNarrow = size <= NarrowBoxRounding::kLargestDivisor;
    const NarrowBoxRounding narrow(isNarrow ? size : 2);
    const BoxRounding rounding(size);
    const BoxKernels kernels = boxKernels();
    const auto channels = samplesPerPixel(source);
    const std::size_t rowBytes = static_cast<std::size_t>(source.width()) * channels;
    const std::size_t widenedBytes = isNarrow ? rowBytes + static_cast<std::size_t>(size - 1) * channels : 0;
    return inTwoPasses(
        frame, std::max(widenedBytes, boxColumnsScratch(source.height(), size, stripBytes(source))),
        [&](uint8_t *to, const uint8_t *from, uint8_t *scratch) {
            if (!isNarrow)
                return boxRow(to, from, source.width(), static_cast<int>(samplesPerPixel(source)), size,
                              rounding);
            const auto window = static_cast<std::size_t>(size);
            widenRow(scratch, from, rowBytes, channels, window / 2, window - 1 - window / 2);
            kernels.row(to, scratch, rowBytes, channels, static_cast<unsigned>(size), narrow);
        },
        [&](const ColumnStrip &strip, std::size_t firstByte, uint8_t *scratch) {
            boxColumns(strip, size, {centerWeight, source.row(0) + firstByte}, scratch);
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
