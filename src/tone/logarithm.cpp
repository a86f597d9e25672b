#include <velmont/tone.h>

#include "core/rounded_math.h"
#include "tone/sample_paths.h"
#include <algorithm>
#include <velmont/environment.h>

namespace velmont {

namespace {

uint8_t logarithmOf(int level)
{
    const double value = 255 * rounded::log(level + 1.0) / rounded::log(256.0) + 0.5;
    return static_cast<uint8_t>(std::clamp(static_cast<int>(value), 0, 255));
}

/// Asks the host before each level; an abort ends the effect.
SampleTable logarithmTable(EffectFrame &frame)
{
    SampleTable table{};
    for (int i = 0; i < 256 && !frame.isAborted(); ++i) {
        if (AbortImageProcessing() != 0)
            frame.abort();
        else
            table[static_cast<std::size_t>(i)] = logarithmOf(i);
    }
    return table;
}

} // namespace

} // namespace velmont

using namespace velmont;

void *ProcessLogarithm(void *dib)
{
    EffectFrame frame(dib);
    if (!frame.serves({4, 8, 24}))
        return nullptr;
    if (!frame.allocate({frame.source().layout(), Contents::Overwritten}))
        return nullptr;
    // Between the result's allocation and the dropped poll: hosts count the polls.
    const SampleTable table = logarithmTable(frame);
    if (frame.isAborted())
        return frame.finish();
    frame.open();
    mapSamples(frame, tablesFor(Channels::All, table), table);
    return frame.finish();
}
