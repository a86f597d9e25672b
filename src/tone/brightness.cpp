#include <velmont/tone.h>

#include "platform/services.h"
#include "tone/sample_paths.h"
#include <algorithm>

namespace velmont {

namespace {

SampleTable contrastTable(int brightness, int contrast)
{
    SampleTable table;
    for (int i = 0; i < 256; ++i) {
        const int level = i + brightness;
        const int divisor = 255 - 2 * contrast;
        const int stretched = (255 * (level - contrast) + divisor / 2) / divisor;
        const int value = level < contrast ? 0 : level > 255 - contrast ? 255 : std::clamp(stretched, 0, 255);
        table[static_cast<std::size_t>(i)] = static_cast<uint8_t>(value);
    }
    return table;
}

/// The channel of the record, in which any other number than those of all, red and green means blue.
Channels contrastChannels(int32_t channel)
{
    return channel >= 0 && channel <= 2 ? static_cast<Channels>(channel) : Channels::Blue;
}

/// A positive scale is the level that becomes white, a negative one the level that white becomes.
SampleTable scaleTable(int64_t scale)
{
    SampleTable table;
    for (int64_t i = 0; i < 256; ++i) {
        const int64_t value = scale > 0 ? (scale / 2 + 255 * i) / scale : (127 + i * -scale) / 255;
        table[static_cast<std::size_t>(i)] = static_cast<uint8_t>(std::clamp<int64_t>(value, 0, 255));
    }
    return table;
}

} // namespace

} // namespace velmont

using namespace velmont;

void *ProcessBrightnessAndContrast(void *dib, tagParamBrightnessContrast *param)
{
    // Before everything else, and it stays after a null handle or record: hosts see it.
    showWaitCursor();
    if (!dib || !param)
        return nullptr;
    const int brightness = std::clamp(param->brightness, -128, 127);
    const int contrast = std::clamp(param->contrast, -128, 127);
    if (brightness == 0 && contrast == 0) {
        showArrowCursor();
        return nullptr;
    }
    const Channels channels = contrastChannels(param->channel);
    const ChannelTables tables = tablesFor(channels, contrastTable(brightness, contrast));

    EffectFrame frame(dib, {.waitCursor = false, .droppedPoll = false});
    if (!frame.serves({4, 8, 24})) {
        showArrowCursor();
        return nullptr;
    }
    if (!frame.begin(Contents::Overwritten))
        return nullptr;
    switch (samplePath(frame.source())) {
    case SamplePath::TrueColor:
        mapTrueColor(frame, tables);
        break;
    case SamplePath::Gray: {
        SampleTable red; // gray images follow it alone
        std::copy_n(tables.of[2], red.size(), red.begin());
        mapGray(frame, red);
        break;
    }
    case SamplePath::Palette:
        mapPalette(frame, tables, ReservedByte::LeftZero);
        copyRows(frame, {.pollEvery = 32, .reportEvery = 32});
        break;
    }
    return frame.finish();
}

void *ProcessBrightnessScale(void *dib, int scale)
{
    EffectFrame frame(dib, {.waitCursor = false, .droppedPoll = false, .arrowCursor = false});
    if (!frame.serves({8, 24}) || samplePath(frame.source()) == SamplePath::Palette)
        return nullptr;
    if (!frame.begin(Contents::Overwritten))
        return nullptr;
    const SampleTable table = scaleTable(scale);
    mapSamples(frame, tablesFor(Channels::All, table), table);
    return frame.finish();
}
