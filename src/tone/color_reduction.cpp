#include <velmont/tone.h>

#include "core/byte_kernels.h"
#include "tone/sample_paths.h"
#include <algorithm>

namespace velmont {

namespace {

SampleTable stepTable(int levels)
{
    const int steps = levels - 1;
    const int step = (steps / 2 + 255) / steps;
    SampleTable table;
    for (int i = 0; i < 256; ++i)
        table[static_cast<std::size_t>(i)] =
            static_cast<uint8_t>(std::min((step / 2 + i) / step * step, 255));
    return table;
}

/// Padding counts as pixels: hosts rely on it.
void mapWholeRows(EffectFrame &frame, const SampleTable &table)
{
    const TableRow map = tableRow();
    for (int y : frame.rows())
        map(frame.result().row(y), frame.source().row(y), frame.source().stride(), table.data());
}

} // namespace

} // namespace velmont

using namespace velmont;

void *ProcessColorReduction(void *dib, tagParamColorReduction *param)
{
    if (!param || !isChannels(param->channel) || param->levels < 2 || param->levels > 128)
        return nullptr;
    const auto channels = static_cast<Channels>(param->channel);
    const SampleTable table = stepTable(param->levels);
    EffectFrame frame(dib);
    if (!frame.serves({4, 8, 24}))
        return nullptr;
    if (!frame.begin(Contents::Overwritten))
        return nullptr;
    if (frame.source().bitCount() == 24 && channels == Channels::All)
        mapWholeRows(frame, table);
    else
        mapSamples(frame, tablesFor(channels, table), table);
    return frame.finish();
}
