#include "filters/inner_pixels.h"
#include "filters/relief_kernels.h"
#include <velmont/filters.h>

using namespace velmont;

// Hosts see two passes over the inner rows. A row needs but one, so that each pass does a half of them.
void *ProcessSketch(void *dib, tagParamSketch *param)
{
    if (!param || param->style < 1 || param->style > 2 || param->threshold < 0 || param->threshold > 254)
        return nullptr;
    const bool isDark = param->style == 2;
    const Pencil pencil{static_cast<uint8_t>(param->threshold), static_cast<uint8_t>(isDark ? 255 : 0)};
    EffectFrame frame(dib);
    if (!servesSamples(frame) || !hasInnerPixels(frame.source()))
        return nullptr;
    const Dib &source = frame.source();
    if (!frame.begin(planWithColors(source)))
        return nullptr;
    const ReliefKernels kernels = reliefKernels();
    const SketchRow draw = isDark && source.bitCount() == 24 ? kernels.meanSketch : kernels.sketch;
    fillOutermostRows(frame, pencil.ground);
    const int end = source.height() - 1, whole = 2 * source.height();
    int drawn = 0;
    const auto drawUpTo = [&](int last) {
        while (drawn < last) {
            ++drawn;
            draw(startInner(frame, drawn, pencil.ground), rowsAbout(source, drawn), pencil,
                 innerBytes(source));
        }
    };
    for (int y : frame.steps(end, {.percentOf = whole, .firstRow = 1}))
        drawUpTo(y / 2);
    for (int y : frame.steps(end, {.percentFrom = 50, .percentOf = whole, .firstRow = 1}))
        drawUpTo((end - 1 + y) / 2);
    return frame.finish();
}
