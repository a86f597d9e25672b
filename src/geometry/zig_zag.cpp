#include "filters/sample_frame.h"
#include "geometry/zig_zag_kernels.h"
#include <velmont/geometry.h>

namespace velmont {

namespace {

/// Two rows of the result at a time, each the other's mirror image through the middle.
class TwistedRows {
public:
    TwistedRows(const Dib &source, Dib &result, const Twist &twist)
        : result_(result), pixels_(source), twist_(twist), run_(twistRun(twist))
    {
    }

    /// Writes row y and its mirror image. The middle row of an odd number is both: hosts see its later half as
    /// such, and its earlier one, the middle included, as the mirror image.
    void write(int y) const
    {
        uint8_t *const row = result_.row(y), *const mirror = result_.row(twist_.lastRow - y);
        const int width = twist_.lastColumn + 1, mirroredFrom = row == mirror ? width / 2 : 0;
        forPixelRuns(width, [&](int first, std::size_t count) {
            PixelPlaces places, mirrored;
            run_(twist_, first, y, count, places, mirrored);
            pixels_.copy(row, first, places, count);
            // The mirror image has the run the other way round: those of its pixels that count come first.
            const int behind = first + static_cast<int>(count);
            if (behind > mirroredFrom)
                pixels_.copy(mirror, width - behind, mirrored,
                             static_cast<std::size_t>(behind - std::max(first, mirroredFrom)));
        });
    }

private:
    Dib &result_;
    PixelSource pixels_;
    const Twist &twist_;
    TwistRun run_;
};

} // namespace

} // namespace velmont

using namespace velmont;

void *ProcessZigZag(void *dib, tagZigZagParam *param)
{
    if (!param)
        return nullptr;
    const tagZigZagParam record = *param;
    EffectFrame frame(dib, {.waitCursor = false});
    const std::optional<Dib> source = withRowsBehindAllColors(frame, {8, 24});
    if (!source)
        return nullptr;
    if (!frame.allocate({.layout = source->layout(), .contents = Contents::Overwritten, .flags = 0}))
        return nullptr;
    if (record.ridges == 0 || record.amount == 0)
        return frame.discard();
    frame.open(headerBytesOf(*source));
    const int height = source->height();
    const Twist twist = Twist::make(source->width(), height, record.ridges, record.amount);
    const TwistedRows rows(*source, frame.result(), twist);
    for (int y : frame.steps(height / 2 + 1, {.percentSpan = 200, .percentOf = height}))
        rows.write(y);
    for (int y = 0; y < height && !frame.isAborted(); ++y)
        frame.clearPadding(y);
    return frame.finish();
}
