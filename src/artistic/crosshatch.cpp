#include "artistic/jitter.h"
#include "core/generator.h"
#include "core/scratch_block.h"
#include "core/view_samples.h"
#include <algorithm>
#include <cstring>
#include <velmont/hatching.h>

namespace velmont {

namespace {

/// The widest brush whose size * size bytes are within the 31 bits of a block.
constexpr int kLargestSize = 46340;

/// Levels that the edge of a stroke swings through.
constexpr double kSwing = 50;

/// A row of the brush has three cells that paint, the middle one on the diagonal.
enum Mark { kEdge, kMiddle, kSoftSide, kMarks };
constexpr uint8_t kWeight[kMarks] = {51, 255, 235};

/// The levels of a byte under the marks: what a sample adds to the sum under a stroke, and what the mean paints.
struct Shades {
    uint8_t of[kMarks][256];

    Shades()
    {
        for (int mark = 0; mark < kMarks; ++mark)
            for (int level = 0; level < 256; ++level)
                of[mark][level] = static_cast<uint8_t>(level * kWeight[mark] / 255);
    }
};

/// The cells of a family's strokes: a diagonal line towards later columns, or mirrored.
struct Brush {
    int size;
    bool isMirrored;

    /// The column of a mark in a row of the brush; outside of it where the row does not have the mark.
    int column(int row, int mark) const
    {
        const int along = row + mark - kMiddle;
        return isMirrored ? size - 1 - along : along;
    }
};

/// Strokes on the result, each of `channels` samples a pixel.
template <int channels>
class Pen {
public:
    /// `coverage` has a byte for each pixel, 0 where no stroke was.
    Pen(const ViewSamples &samples, const Brush &brush, uint8_t *coverage)
        : samples_(samples), brush_(brush), coverage_(coverage)
    {
    }

    /// A stroke whose first cell lies at this column and row, and the random numbers of its edge.
    void stamp(int64_t left, int64_t top)
    {
        const int firstRow = static_cast<int>(std::clamp<int64_t>(-top, 0, brush_.size));
        const int endRow = static_cast<int>(std::clamp<int64_t>(samples_.height() - top, 0, brush_.size));
        const bool paints = samples_.stores() && firstRow < endRow && left < samples_.width();
        uint8_t mean[channels] = {};
        if (paints)
            findMean(mean, left, top, firstRow, endRow);
        uint8_t edge[channels];
        for (int channel = channels - 1; channel >= 0; --channel) // red is the last one
            edge[channel] = jitteredLevel(mean[channel], rand(), kSwing);
        if (!paints)
            return;
        draw(mean, edge, left, top, firstRow, endRow);
        if (brush_.isMirrored) // the second family alone, hosts rely on it
            bringSource(left, top, firstRow, endRow);
    }

private:
    /// Hands each cell that paints to use(mark, x, y).
    template <typename Use>
    void forCells(int64_t left, int64_t top, int firstRow, int endRow, Use use) const
    {
        for (int row = firstRow; row < endRow; ++row)
            for (int mark = 0; mark < kMarks; ++mark) {
                const int column = brush_.column(row, mark);
                const int64_t x = left + column;
                if (column >= 0 && column < brush_.size && x >= 0 && x < samples_.width())
                    use(mark, static_cast<int>(x), static_cast<int>(top + row));
            }
    }

    void findMean(uint8_t *mean, int64_t left, int64_t top, int firstRow, int endRow) const
    {
        int64_t total = 0;
        int64_t sums[channels] = {};
        forCells(left, top, firstRow, endRow, [&](int mark, int x, int y) {
            const uint8_t *const from = samples_.sourceRow(y) + std::ptrdiff_t{x} * channels;
            total += kWeight[mark];
            for (int channel = 0; channel < channels; ++channel)
                sums[channel] += shades_.of[mark][levelOf(from[channel])];
        });
        for (int channel = 0; channel < channels && total > 0; ++channel)
            mean[channel] = static_cast<uint8_t>(std::min<int64_t>(sums[channel] * 255 / total, 255));
    }

    void draw(const uint8_t *mean, const uint8_t *edge, int64_t left, int64_t top, int firstRow, int endRow)
    {
        uint8_t ink[kMarks][channels];
        for (int channel = 0; channel < channels; ++channel) {
            ink[kEdge][channel] = edge[channel]; // in full strength
            ink[kMiddle][channel] = mean[channel];
            ink[kSoftSide][channel] = shades_.of[kSoftSide][mean[channel]];
        }
        forCells(left, top, firstRow, endRow, [&](int mark, int x, int y) {
            uint8_t *const to = samples_.resultRow(y) + std::ptrdiff_t{x} * channels;
            coverageRow(y)[x] = 1;
            if constexpr (channels == 1) {
                samples_.store(to, std::max(samples_.resultLevel(*to), ink[mark][0]));
            } else {
                for (int channel = 0; channel < channels; ++channel)
                    to[channel] = std::max(to[channel], ink[mark][channel]);
            }
        });
    }

    /// Copies the source to where no stroke was yet, within the whole square of the brush.
    void bringSource(int64_t left, int64_t top, int firstRow, int endRow)
    {
        const auto first = static_cast<std::size_t>(std::max<int64_t>(left, 0));
        const auto end = static_cast<std::size_t>(
            std::clamp<int64_t>(left + brush_.size, int64_t(first), samples_.width()));
        for (int row = firstRow; row < endRow; ++row) {
            const int y = static_cast<int>(top + row);
            uint8_t *const covered = coverageRow(y);
            for (std::size_t x = first; x < end; ++x) {
                const void *const clear = std::memchr(covered + x, 0, end - x);
                if (!clear)
                    break;
                x = static_cast<std::size_t>(static_cast<const uint8_t *>(clear) - covered);
                covered[x] = 1;
                const uint8_t *const from = samples_.sourceRow(y) + x * channels;
                uint8_t *const to = samples_.resultRow(y) + x * channels;
                if constexpr (channels == 1)
                    samples_.store(to, levelOf(*from));
                else
                    std::memcpy(to, from, channels);
            }
        }
    }

    uint8_t levelOf(uint8_t byte) const { return channels == 1 ? samples_.sourceLevel(byte) : byte; }
    uint8_t *coverageRow(int y) const
    {
        return coverage_ + static_cast<std::size_t>(y) * static_cast<std::size_t>(samples_.width());
    }

    const ViewSamples &samples_;
    const Brush brush_;
    uint8_t *const coverage_;
    const Shades shades_;
};

/// How many lines of strokes start before the picture's first column, and how many after.
struct Lines {
    int64_t before, after;

    Lines(const ViewSamples &samples, int size)
        : before((int64_t{samples.height()} + size) / 3), after((int64_t{samples.width()} + size) / 3)
    {
    }
    int64_t all() const { return before + after; }
};

int percentOf(int64_t done, int64_t all, int span)
{
    return static_cast<int>(done * span / all);
}

/// The lines towards later columns. An abort ends them and nothing else: hosts rely on it.
template <int channels>
void hatchForwards(Pen<channels> pen, const ViewSamples &samples, int size, const Lines &lines)
{
    for (int64_t line = -lines.before; line <= lines.after; ++line) {
        if (AbortImageProcessing() != 0)
            return;
        if ((line & 15) == 0) // every sixteenth, counted from the first column
            ShowImageProcessing(percentOf(lines.before + line, lines.all(), 40));
        const int start = rand() % size;
        int64_t x = 3 * line + start, y = start - 2 * int64_t{size};
        for (int64_t step = -2 * int64_t{size}; step <= lines.before; ++step) {
            x += size - 2;
            y += size - 2;
            const int aside = rand() & 1;
            if (x + aside < -size)
                continue;
            if (x + aside >= samples.width() || y + aside >= samples.height())
                break;
            pen.stamp(x + aside, y + aside);
        }
    }
}

/// The lines towards earlier columns.
/// \return whether they were aborted.
template <int channels>
bool hatchBackwards(Pen<channels> pen, const ViewSamples &samples, int size, const Lines &lines)
{
    for (int64_t line = 0; line <= lines.all(); ++line) {
        if (AbortImageProcessing() != 0)
            return true;
        if ((line & 15) == 0)
            ShowImageProcessing(percentOf(line, lines.all(), 50) + 40);
        const int start = rand() % size;
        int64_t x = 3 * line - start, y = start - 2 * int64_t{size};
        for (int64_t step = -2 * int64_t{size}; step <= lines.before; ++step) {
            x += 2 - size;
            y += size - 2;
            const int aside = rand() & 1;
            if (x + aside > int64_t{samples.width()} + size)
                continue;
            if (x + aside < -size || y + aside >= samples.height())
                break;
            pen.stamp(x + aside, y + aside);
        }
    }
    return false;
}

/// Both families.
/// \return whether they were aborted.
template <int channels>
bool hatch(const ViewSamples &samples, int size, uint8_t *coverage)
{
    const Lines lines(samples, size);
    hatchForwards(Pen<channels>(samples, {size, false}, coverage), samples, size, lines);
    return hatchBackwards(Pen<channels>(samples, {size, true}, coverage), samples, size, lines);
}

} // namespace

} // namespace velmont

using namespace velmont;

void *ProcessCrosshatch(void *dib, tagCrosshatch *param)
{
    if (!param || param->size < 2 || param->size > kLargestSize)
        return nullptr;
    const int size = param->size;
    ViewFrame frame(dib);
    if (!frame.hasPixels() || !frame.begin())
        return nullptr;
    const ViewSamples samples(frame);
    const auto pixels =
        static_cast<std::size_t>(samples.width()) * static_cast<std::size_t>(samples.height());
    ScratchBlock coverage(pixels);
    if (!coverage.bytes())
        return frame.giveUp();
    std::memset(coverage.bytes(), 0, pixels);
    const bool isAborted = samples.channels() == 3 ? hatch<3>(samples, size, coverage.bytes())
                                                   : hatch<1>(samples, size, coverage.bytes());
    if (isAborted)
        frame.abort();
    coverage.release();
    return frame.finish();
}
