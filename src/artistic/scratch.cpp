#include "core/effect_frame.h"
#include "core/scratch_block.h"
#include "filters/median_pass.h"
#include "filters/sample_frame.h"
#include <cstdlib>
#include <cstring>
#include <velmont/restoration.h>

namespace velmont {

namespace {

constexpr int kLargestRadius = (kLargestBelowMedian - 1) / 2;

/// The medians of each row.
class Medians {
public:
    Medians(const Dib &source, int radius)
        : bytes_(3 * static_cast<std::size_t>(source.width())), isZero_(radius == 0)
    {
        if (!isZero_)
            pass_.emplace(sampleRows(source), 2 * radius + 1, MedianKind::Below);
    }

    void write(uint8_t *to, int y)
    {
        if (isZero_) // no sample need lie at or below them
            std::memset(to, 0, bytes_);
        else
            pass_->writeNext(to);
        // Hosts rely on the picture's first pixel to be held against white.
        if (y == 0)
            std::memset(to, 255, 3);
    }
    void release() { pass_.reset(); }

private:
    std::size_t bytes_;
    bool isZero_;
    std::optional<MedianPass> pass_;
};

/// Pixels of which all channels lie within `threshold` of their medians, and the medians for the others.
void keepInLine(uint8_t *to, const uint8_t *from, const uint8_t *medians, std::size_t pixels, int threshold)
{
    const auto isOut = [=](std::size_t i) { return std::abs(from[i] - medians[i]) > threshold; };
    for (std::size_t i = 0; i < 3 * pixels; i += 3) {
        // Without a branch, which nobody could predict in a noisy picture.
        const int replaced = -static_cast<int>(isOut(i) | isOut(i + 1) | isOut(i + 2));
        for (std::size_t channel = i; channel < i + 3; ++channel)
            to[channel] =
                static_cast<uint8_t>(from[channel] ^ ((from[channel] ^ medians[channel]) & replaced));
    }
}

} // namespace

} // namespace velmont

using namespace velmont;

void *ProcessScratch(void *dib, tagScratchParam *param)
{
    if (!param || param->radius < 0 || param->radius > kLargestRadius)
        return nullptr;
    const int radius = param->radius, threshold = param->threshold;
    EffectFrame frame(dib, {.earlyArrowCursor = true});
    if (!frame.serves({24}))
        return nullptr;
    const Dib &source = frame.source();
    // The padding stays as the block came.
    if (!frame.allocate({.layout = source.layout(), .contents = Contents::Overwritten, .flags = 0}))
        return nullptr;
    ScratchBlock row(3 * static_cast<std::size_t>(source.width()));
    if (!row.bytes())
        return frame.giveUp();
    frame.open(kHeaderBytes);
    Medians medians(source, radius);
    // Rows count from the first of the border above the picture: hosts see it in the progress.
    for (int y : frame.steps(source.height() + radius, {.reportEvery = 1, .firstRow = radius})) {
        medians.write(row.bytes(), y - radius);
        keepInLine(frame.result().row(y - radius), source.row(y - radius), row.bytes(),
                   static_cast<std::size_t>(source.width()), threshold);
    }
    medians.release();
    row.release();
    return frame.finish();
}
