#include "core/rounded_math.h"
#include "core/scratch_block.h"
#include "filters/sample_frame.h"
#include "geometry/shifted_columns.h"
#include <velmont/geometry.h>

namespace velmont {

namespace {

/// Rows between the ends of the wave, reckoned in 32 bits that wrap.
int32_t swingOf(int32_t depth, int height)
{
    return static_cast<int32_t>(static_cast<uint32_t>(depth) * static_cast<uint32_t>(height) * 3) / 400;
}

} // namespace

} // namespace velmont

using namespace velmont;

void *ProcessRibbon(void *dib, tagParamRibbon *param)
{
    if (!param)
        return nullptr;
    const tagParamRibbon record = *param;
    EffectFrame frame(dib);
    if (!servesSamples(frame))
        return nullptr;
    const Dib &source = frame.source();
    if (!frame.allocate({source.layout(), Contents::Overwritten}))
        return nullptr;
    const int width = source.width();
    ScratchBlock scratch(static_cast<uint64_t>(width) * sizeof(int32_t));
    if (!scratch.bytes())
        return frame.giveUp();
    const auto rises = reinterpret_cast<int32_t *>(scratch.bytes());
    const int32_t swing = swingOf(record.depth, source.height());
    const double frequency = record.frequency * 0.1 / width;
    for (int x = 0; x < width; ++x)
        rises[x] = -static_cast<int32_t>((rounded::cos(x * frequency * 3.1415926) + 1) * 0.5 * swing);
    frame.open();
    frame.copyPalette();
    const ShiftedColumns wave(source, rises, source.height() - swing - 1, record.color);
    for (int y : frame.rows()) {
        wave.writeRow(frame.result().row(y), y);
        frame.clearPadding(y);
    }
    scratch.release();
    return frame.finish();
}
