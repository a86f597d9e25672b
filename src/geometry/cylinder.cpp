#include "core/scratch_block.h"
#include "filters/sample_frame.h"
#include <algorithm>
#include <cmath>
#include <cstring>
#include <velmont/geometry.h>

namespace velmont {

namespace {

/// Where a column is taken from: between a pixel and the next, in 1/256.
struct Column {
    uint16_t place;
    int16_t fraction;
};

/// A column on the flat picture. The factor is a little more than 1 / pi: hosts rely on its digits.
Column columnOf(int x, int width)
{
    double place = 0;
    if (width >= 2)
        place = (std::asin(2.0 * x / width - 1) * 0.31830989161357204 + 0.5) * width;
    const int whole = std::clamp(static_cast<int>(place), 0, width);
    return {static_cast<uint16_t>(whole), static_cast<int16_t>((place - whole) * 256)};
}

/// The last column is never mixed with what lies behind the row: of several columns the last is taken from before the
/// last pixel, or from the pixel itself, and an only one has the fraction 0.
template <int channels>
void bendRow(uint8_t *to, const uint8_t *from, const Column *columns, int width)
{
    for (int x = 0; x < width; ++x) {
        const int here = columns[x].place, fraction = columns[x].fraction;
        const int next = here + 1 < width ? here + 1 : here;
        const uint8_t *const left = from + channels * static_cast<std::size_t>(here);
        const uint8_t *const right = from + channels * static_cast<std::size_t>(next);
        for (int channel = 0; channel < channels; ++channel) {
            const int mixed = ((256 - fraction) * left[channel] + fraction * right[channel]) >> 8;
            to[channels * static_cast<std::size_t>(x) + static_cast<std::size_t>(channel)] =
                static_cast<uint8_t>(std::min(mixed, 255));
        }
    }
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
    ScratchBlock scratch(static_cast<std::size_t>(width) * sizeof(Column));
    auto *const columns = reinterpret_cast<Column *>(scratch.bytes());
    if (!columns)
        return frame.giveUp();
    frame.open();
    frame.copyPalette();
    for (const int x : frame.columns({.reportEvery = 0}))
        columns[x] = columnOf(x, width);
    const auto bend = frame.source().bitCount() == 24 ? bendRow<3> : bendRow<1>;
    for (const int y : frame.rows()) {
        bend(frame.result().row(y), frame.source().row(y), columns, width);
        frame.clearPadding(y);
    }
    scratch.release();
    return frame.finish();
}
