#include <velmont/tone.h>

#include "tone/sample_paths.h"
#include "tone/tone_kernels.h"

using namespace velmont;

void *ProcessSolarization(void *dib)
{
    EffectFrame frame(dib);
    if (!frame.serves({4, 8, 24}))
        return nullptr;
    if (!frame.begin(Contents::Overwritten))
        return nullptr;
    switch (samplePath(frame.source())) {
    case SamplePath::TrueColor:
        mapPixels(frame, [](uint8_t *to, const uint8_t *from, std::size_t pixels) {
            solarizeRow(to, from, 3 * pixels);
        });
        break;
    case SamplePath::Gray:
        frame.copyPalette();
        mapPixels(frame, solarizeRow);
        break;
    case SamplePath::Palette:
        frame.mapPaletteColors([](uint8_t *to, const uint8_t *from) {
            solarizeRow(to, from, 3);
            to[3] = from[3];
        });
        copyRows(frame);
        break;
    }
    return frame.finish();
}
