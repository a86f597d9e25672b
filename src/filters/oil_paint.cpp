#include "core/scratch_block.h"
#include "filters/oil_kernels.h"
#include "filters/sample_frame.h"
#include <algorithm>
#include <cstring>
#include <velmont/filters.h>

namespace velmont {

namespace {

/// The columns of the rows that a window covers, counted by bin.
class ColumnCounts {
public:
    /// `counts` has kOilBins bytes for each sample of a row. The window's first row lies `before` rows before the one
    /// that it is for.
    ColumnCounts(const Dib &source, int64_t before, int size, uint8_t *counts)
        : source_(source), before_(before), size_(size), bytes_(sampleBytes(source)), counts_(counts)
    {
        std::memset(counts_, 0, kOilBins * bytes_);
        for (int i = 0; i < size_; ++i)
            countOilRow(counts_, rowAt(i - before_), bytes_, 1);
    }

    /// From the windows of row y - 1 to those of row y.
    void moveTo(int64_t y)
    {
        const uint8_t *const leaving = rowAt(y - 1 - before_), *const entering =
                                                                   rowAt(y - 1 - before_ + size_);
        if (leaving != entering)
            exchangeOilRows(counts_, leaving, entering, bytes_);
    }

private:
    /// The row of the image or the nearest.
    const uint8_t *rowAt(int64_t y) const
    {
        return source_.row(static_cast<int>(std::clamp<int64_t>(y, 0, source_.height() - 1)));
    }

    const Dib &source_;
    int64_t before_;
    int size_;
    std::size_t bytes_;
    uint8_t *counts_;
};

} // namespace

} // namespace velmont

using namespace velmont;

void *ProcessOilPaint(void *dib, int radius)
{
    EffectFrame frame(dib);
    if (!servesSamples(frame))
        return nullptr;
    const Dib &source = frame.source();
    const ResultPlan plan = planWithColors(source);
    if (!frame.allocate(plan))
        return nullptr;
    ScratchBlock scratch(uint64_t{kOilBins} * sampleBytes(source));
    if (!scratch.bytes())
        return frame.giveUp();
    frame.open(plan.headerBytes);
    // Only the size of the window is limited, not its place: hosts rely on windows beside their pixels.
    const int size = 2 * std::clamp(radius, 1, 100) + 1;
    static_assert(2 * 100 + 1 <= kLargestOilWindow);
    const OilWindows windows{static_cast<std::size_t>(source.width()), samplesPerPixel(source), radius, size};
    const OilRow paint = oilRow(size);
    ColumnCounts columns(source, radius, size, scratch.bytes());
    for (int y : frame.rows()) {
        if (y > 0)
            columns.moveTo(y);
        paint(frame.result().row(y), scratch.bytes(), windows);
        frame.clearPadding(y);
    }
    scratch.release();
    return frame.finish();
}
