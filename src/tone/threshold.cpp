#include <velmont/tone.h>

#include "tone/sample_paths.h"
#include "tone/tone_kernels.h"

using namespace velmont;

void *ProcessThreshold(void *dib, tagParamThreshold *param)
{
    if (!param || param->threshold < 0 || param->threshold > 255)
        return nullptr;
    const int threshold = param->threshold;
    EffectFrame frame(dib);
    if (!frame.serves({4, 8, 24}))
        return nullptr;
    if (!frame.begin(Contents::Overwritten))
        return nullptr;
    switch (samplePath(frame.source())) {
    case SamplePath::TrueColor:
        mapPixels(frame,
                  [=, threshold24 = thresholdRow()](uint8_t *to, const uint8_t *from, std::size_t pixels) {
                      threshold24(to, from, pixels, threshold);
                  });
        break;
    case SamplePath::Gray:
        frame.copyPalette();
        mapPixels(frame, [=](uint8_t *to, const uint8_t *from, std::size_t pixels) {
            aboveRow(to, from, pixels, threshold);
        });
        break;
    case SamplePath::Palette:
        frame.mapPaletteColors([=](uint8_t *to, const uint8_t *from) {
            kernels::thresholdPlain(to, from, 1, threshold);
            to[3] = from[3];
        });
        copyRows(frame);
        break;
    }
    return frame.finish();
}
