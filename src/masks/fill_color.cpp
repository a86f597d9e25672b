#include "core/overlap.h"
#include "filters/sample_frame.h"
#include "geometry/pixel_runs.h"
#include "masks/bit_mask.h"
#include "masks/mask_row.h"
#include <velmont/masks.h>

namespace velmont {

namespace {

constexpr FrameSteps kWithoutCursor{.waitCursor = false, .arrowCursor = false};

/// Makes a row of the result from the image's, painted by the row of the mask that lies on its columns from `begin` up
/// to `end`.
class MaskPainter {
public:
    MaskPainter(const PixelRuns &paint, bool paintsSet) : paint_(paint), paintsSet_(paintsSet) {}

    void paint(uint8_t *to, const uint8_t *from, const uint8_t *mask, int64_t maskColumn, int64_t begin,
               int64_t end) const
    {
        forMaskRuns(mask, maskColumn, maskColumn + end - begin, [&](int64_t first, int64_t last, bool isSet) {
            run(to, from, begin + first - maskColumn, last - first, isSet);
        });
    }
    /// What lies beside the mask counts as clear.
    void paintBeside(uint8_t *to, const uint8_t *from, int64_t begin, int64_t end) const
    {
        run(to, from, begin, end - begin, false);
    }

private:
    void run(uint8_t *to, const uint8_t *from, int64_t column, int64_t count, bool isSet) const
    {
        if (isSet == paintsSet_)
            paint_.fill(to, column, count);
        else
            paint_.copy(to, column, from, column, count);
    }

    PixelRuns paint_;
    bool paintsSet_;
};

/// A 24-bit pixel, or at 8 bits the blue byte, and no gray of the colour: hosts rely on it.
PixelRuns paintOf(const Dib &image, unsigned long color)
{
    return {samplesPerPixel(image), image.bitCount() == 24 ? pixelOfColor(color) : blueOf(color)};
}

} // namespace

} // namespace velmont

using namespace velmont;

void *ProcessFillColor(void *dib, void *mask, tagPOINT position, unsigned long color, int inside)
{
    const LockedDib lockedMask(mask);
    const auto bitMask = maskIn(lockedMask);
    EffectFrame frame(dib, kWithoutCursor);
    if (!bitMask || !servesSamples(frame))
        return nullptr;
    const Dib &source = frame.source();
    ResultPlan plan = planOnSamples(source);
    plan.minimumBytes = source.blockBytes();
    if (!frame.begin(plan))
        return nullptr;
    Dib &result = frame.result();
    const MaskPainter painter(paintOf(source, color), inside != 0);
    const Overlap columns(position.x, bitMask->width(), source.width());
    const int64_t begin = position.x + columns.before, end = begin + columns.inside;
    const std::size_t pixels = sampleBytes(source);
    for (const int y : frame.rows()) {
        uint8_t *const to = result.row(y);
        const uint8_t *const from = source.row(y);
        std::memcpy(to + pixels, from + pixels, source.stride() - pixels);
        const int64_t maskRow = int64_t{y} - position.y;
        if (columns.inside == 0 || maskRow < 0 || maskRow >= bitMask->height()) {
            painter.paintBeside(to, from, 0, source.width());
            continue;
        }
        painter.paintBeside(to, from, 0, begin);
        painter.paint(to, from, bitMask->row(static_cast<int>(maskRow)), columns.before, begin, end);
        painter.paintBeside(to, from, end, source.width());
    }
    const std::size_t done = source.layout().totalBytes();
    std::memcpy(result.block() + done, source.block() + done, source.blockBytes() - done);
    return frame.finish();
}

// It has never painted, and hosts rely on that.
int ProcessFillColor(void *dib, unsigned long)
{
    const BlockLock lock(dib);
    return 0;
}
