#include "core/rounded_math.h"
#include "core/scratch_block.h"
#include "filters/sample_frame.h"
#include "geometry/pixel_gather.h"
#include <cmath>
#include <cstdlib>
#include <velmont/geometry.h>

namespace velmont {

namespace {

/// A swing that grows and fades again within each 2 * period places; no more than 14 pixels.
void writeSwing(int8_t *swing, std::size_t count, int period)
{
    const auto cycle = static_cast<std::size_t>(2 * period);
    for (std::size_t i = 0; i < count; ++i) {
        const int amplitude = std::abs(period - static_cast<int>(i % cycle));
        const double wave = rounded::sin(static_cast<double>(i) * 12.5663706 / period);
        // Truncated, so that a swing back is rounded another way than one forward: hosts rely on it.
        swing[i] = static_cast<int8_t>(amplitude * wave * 0.25 + 0.5);
    }
}

} // namespace

} // namespace velmont

using namespace velmont;

void *ProcessRipple(void *dib, int amount)
{
    const int period = std::clamp(amount, 1, 100) / 2 + 3;
    EffectFrame frame(dib);
    if (!servesSamples(frame))
        return nullptr;
    const Dib &source = frame.source();
    if (!frame.allocate({source.layout(), Contents::Overwritten}))
        return nullptr;
    const int width = source.width(), lastColumn = width - 1, lastRow = source.height() - 1;
    const std::size_t swings = static_cast<std::size_t>(width) + static_cast<std::size_t>(source.height());
    ScratchBlock scratch(swings);
    if (!scratch.bytes())
        return frame.giveUp();
    const auto swing = reinterpret_cast<int8_t *>(scratch.bytes());
    writeSwing(swing, swings, period);
    frame.open();
    frame.copyPalette();
    const PixelSource pixels(source);
    for (int y : frame.rows()) {
        uint8_t *const to = frame.result().row(y);
        // Columns swing with the rows, and rows along the diagonal: hosts rely on the difference.
        const int dx = swing[y];
        const int8_t *const along = swing + y;
        forPixelRuns(width, [&](int first, std::size_t count) {
            PixelPlaces places;
            for (std::size_t i = 0; i < count; ++i) {
                places.column[i] = movedWithin(lastColumn, first + static_cast<int>(i), dx);
                places.row[i] = movedWithin(lastRow, y, along[static_cast<std::size_t>(first) + i]);
            }
            pixels.copy(to, first, places, count);
        });
        frame.clearPadding(y);
    }
    scratch.release();
    return frame.finish();
}
