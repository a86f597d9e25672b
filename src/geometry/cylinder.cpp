#include "core/rounded_math.h"
#include "core/scratch_block.h"
#include "filters/sample_frame.h"
#include "geometry/cylinder_kernels.h"
#include <algorithm>
#include <velmont/geometry.h>

namespace velmont {

namespace {

/// A column on the flat picture. The factor is a little more than 1 / pi: hosts rely on its digits.
CylinderColumn columnOf(int x, int width)
{
    double place = 0;
    if (width >= 2)
        place = (rounded::asin(2.0 * x / width - 1) * 0.31830989161357204 + 0.5) * width;
    const int whole = std::clamp(static_cast<int>(place), 0, width);
    return {static_cast<uint16_t>(whole), static_cast<int16_t>((place - whole) * 256)};
}

} // namespace

} // namespace velmont

using namespace velmont;

void *ProcessCylinder(void *dib)
{
    EffectFrame frame(dib);
    if (!servesSamples(frame) || !frame.allocate({frame.source().layout(), Contents::Overwritten}))
        return nullptr;
    const int width = frame.source().width();
    ScratchBlock scratch(static_cast<uint64_t>(width) * sizeof(CylinderColumn));
    auto *const columns = reinterpret_cast<CylinderColumn *>(scratch.bytes());
    if (!columns)
        return frame.giveUp();
    frame.open();
    frame.copyPalette();
    for (const int x : frame.columns({.reportEvery = 0}))
        columns[x] = columnOf(x, width);
    const CylinderRow bend = cylinderRow(frame.source().bitCount());
    for (const int y : frame.rows()) {
        bend(frame.result().row(y), frame.source().row(y), columns, width);
        frame.clearPadding(y);
    }
    scratch.release();
    return frame.finish();
}
