#include <velmont/tone.h>

#include "core/rounded_math.h"
#include "tone/sample_paths.h"
#include <algorithm>

namespace velmont {

namespace {

/// Input levels between two points raised to a power and spread over the output's range. The ends come first:
/// whatever the output's range, levels up to the low point are 0 and those from the high point on 255.
void makeToneTable(uint8_t (&table)[256], const tagParamToneAdjust &tone)
{
    const int64_t white = tone.white, black = tone.black;
    const int64_t low = std::max<int64_t>(-black, 0), high = 255 - std::max<int64_t>(white, 0);
    const int64_t outLow = std::max<int64_t>(black, 0), outCut = std::max<int64_t>(-white, 0);
    const auto range = static_cast<double>(std::max<int64_t>(high - low, 1));
    const double exponent = 1 - tone.gamma * (tone.gamma >= 0 ? 0.0045 : 0.035);
    const auto outRange = static_cast<double>(255 - outCut - outLow);

    for (int64_t i = 0; i < 256; ++i) {
        uint8_t &value = table[i];
        if (i <= low) {
            value = 0;
        } else if (i >= high) {
            value = 255;
        } else if (outCut + outLow >= 255) {
            value = static_cast<uint8_t>(outLow);
        } else {
            // An exponent below 0 goes beyond any integer: held to bytes before the conversion.
            const double spread =
                rounded::pow(static_cast<double>(i - low) / range, exponent) * outRange + 0.5;
            const auto raised = static_cast<int64_t>(std::min(spread, 255.0)) + outLow;
            value = static_cast<uint8_t>(std::min<int64_t>(raised, 255));
        }
    }
}

} // namespace

} // namespace velmont

using namespace velmont;

void *ProcessColorMap(void *dib, tagParamColorMap *param)
{
    if (!param || !isChannels(param->channel))
        return nullptr;
    EffectFrame frame(dib);
    if (!frame.serves({4, 8, 24}))
        return nullptr;
    // The record as it is now: the dropped poll may write into it.
    SampleTable table;
    std::copy(std::begin(param->table), std::end(param->table), table.begin());
    const ChannelTables tables = tablesFor(static_cast<Channels>(param->channel), table);
    if (!frame.begin(Contents::Overwritten))
        return nullptr;
    mapSamples(frame, tables, table);
    return frame.finish();
}

void *ProcessToneAdjustment(void *dib, tagParamToneAdjust *param)
{
    if (!dib || !param)
        return nullptr;
    tagParamColorMap map;
    map.channel = param->channel;
    makeToneTable(map.table, *param);
    return ProcessColorMap(dib, &map);
}
