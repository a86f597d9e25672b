#include "artistic/painting.h"
#include "artistic/pencil_kernels.h"
#include "artistic/sized_median.h"
#include "core/generator.h"
#include "core/scratch_block.h"
#include <algorithm>
#include <array>
#include <cstring>
#include <vector>
#include <velmont/painting.h>

namespace velmont {

namespace {

constexpr double kUnit = 0.00392156862745098;

/// The strengths of all edges, and those of them that strokes spare.
class PencilEdges {
public:
    /// \param room sizeFor(source) bytes
    PencilEdges(const SampleRows &source, uint8_t *room)
        : source_(source), width_(static_cast<std::size_t>(source.width)),
          height_(static_cast<std::size_t>(source.height)), strengths_(reinterpret_cast<int16_t *>(room))
    {
    }
    static uint64_t sizeFor(const SampleRows &source)
    {
        // The map, two rows of slopes, and three lines of the picture with room for a pixel at both ends.
        return sizeof(int16_t) * static_cast<uint64_t>(source.width) *
                   (static_cast<uint64_t>(source.height) + 2) +
               uint64_t{3} * lineBytes(source);
    }

    void find(const PencilKernels &kernels)
    {
        int16_t *const first = strengths_ + width_ * height_, *const second = first + width_;
        auto *const lines = reinterpret_cast<uint8_t *>(second + width_);
        std::memset(lines, 0, 3 * lineBytes(source_));
        const auto line = [&](std::size_t y) {
            return lines + y % 3 * lineBytes(source_) + source_.channels;
        };
        std::memcpy(line(0), source_.row(0), source_.rowBytes());
        for (std::size_t y = 0; y < height_; ++y) {
            if (y + 1 < height_)
                std::memcpy(line(y + 1), source_.row(static_cast<int>(y + 1)), source_.rowBytes());
            else
                std::memset(line(y + 1), 0, source_.rowBytes());
            // Before the first row lies the third line, which is still empty.
            kernels.slopes(first, second, {line(y + 2), line(y), line(y + 1), width_, source_.channels});
            if (source_.channels == 1 && y == (width_ > 1 ? 0 : 1)) {
                // The strength of the first pixel takes the place of the second one's slope: hosts rely on it.
                if (y == 0)
                    kernels.strengths(row(0), first, second, 1);
                first[width_ > 1 ? 1 : 0] = *row(0);
            }
            kernels.strengths(row(y), first, second, width_);
        }
    }

    /// The strength that an edge has to have for strokes to spare it.
    int16_t limitFor(int coverage)
    {
        const Levels levels = levelsOfAll();
        repeatBorders();
        const int threshold = thresholdFor(levels, coverage);
        return static_cast<int16_t>(std::lower_bound(levels.begin(), levels.end(), threshold) -
                                    levels.begin());
    }

    int16_t *row(std::size_t y) const { return strengths_ + y * width_; }

private:
    /// The level of each strength.
    using Levels = std::array<int32_t, kLargestStrength + 1>;

    static std::size_t lineBytes(const SampleRows &source) { return source.rowBytes() + 2 * source.channels; }

    /// The strongest edge has 255 or more: the weakest one's strength is not taken away, hosts rely on it.
    Levels levelsOfAll() const
    {
        int16_t lowest = *strengths_, highest = *strengths_;
        for (std::size_t i = 0; i < width_ * height_; ++i) {
            lowest = std::min(lowest, strengths_[i]);
            highest = std::max(highest, strengths_[i]);
        }
        Levels levels{};
        if (highest > lowest)
            for (std::size_t strength = 0; strength < levels.size(); ++strength)
                levels[strength] =
                    static_cast<int32_t>(static_cast<double>(strength) * 255.0 / (highest - lowest));
        return levels;
    }

    /// The outermost rows and then columns become their neighbours.
    void repeatBorders()
    {
        if (height_ > 1) {
            std::copy_n(row(1), width_, row(0));
            std::copy_n(row(height_ - 2), width_, row(height_ - 1));
        }
        for (std::size_t y = 0; y < height_ && width_ > 1; ++y) {
            row(y)[0] = row(y)[1];
            row(y)[width_ - 1] = row(y)[width_ - 2];
        }
    }

    /// The level below which as many pixels lie as are to have strokes, or more with their last level; -1 for none.
    int thresholdFor(const Levels &levels, int coverage) const
    {
        std::array<int64_t, kLargestStrength + 1> counts{};
        for (std::size_t i = 0; i < width_ * height_; ++i)
            ++counts[static_cast<std::size_t>(strengths_[i])];
        std::array<int64_t, 256> histogram{}; // levels above take no part
        for (std::size_t strength = 0; strength < counts.size(); ++strength)
            if (levels[strength] < 256)
                histogram[static_cast<std::size_t>(levels[strength])] += counts[strength];
        const double share = 1 - coverage * (source_.channels == 3 ? 0.05 : 0.045);
        const auto wanted = static_cast<int64_t>(share * static_cast<double>(width_ * height_));
        if (wanted <= 0)
            return -1;
        int level = 0;
        for (int64_t sum = histogram[0]; sum < wanted && level < 255;)
            sum += histogram[static_cast<std::size_t>(++level)];
        return level;
    }

    SampleRows source_;
    std::size_t width_, height_;
    int16_t *strengths_;
};

/// The pencil's share of a sample for each channel.
std::array<double, 3> pencilShares(const tagColorPencilParam &setting, std::size_t channels)
{
    const double red = redOf(setting.pencilColor), green = greenOf(setting.pencilColor),
                 blue = blueOf(setting.pencilColor);
    const auto shareOf = [&](double level) {
        // Held so that samples stay within 32 bits.
        constexpr double kMost = 8e8;
        return std::clamp(setting.pressure * (level * kUnit) * 2.04, -kMost, kMost);
    };
    if (channels == 1)
        return {shareOf(blue * 0.1 + red * 0.2 + green * 0.7)};
    return {shareOf(blue), shareOf(green), shareOf(red)};
}

/// A pass of strokes over the picture, from the last row to the first. A stroke reaches up only, so that a row is done
/// when its own strokes have started, and those that are still to come fit into a ring of rows.
class PencilPass {
public:
    /// \param room sizeFor(source, setting) bytes
    PencilPass(const SampleRows &source, const tagColorPencilParam &setting, uint8_t *room)
        : source_(source), width_(static_cast<std::size_t>(source.width)),
          length_(lengthFor(source, setting)), kept_(keptRows(source, setting)),
          spared_(static_cast<int>((setting.strokeSetting / 2 + 87) * 0.5333333333333333)),
          shares_(pencilShares(setting, source.channels)), samples_(reinterpret_cast<int32_t *>(room)),
          starts_(samples_ + width_ * source.channels * kept_),
          numbers_(reinterpret_cast<uint16_t *>(starts_ + width_))
    {
    }
    static uint64_t sizeFor(const SampleRows &source, const tagColorPencilParam &setting)
    {
        const auto width = static_cast<uint64_t>(source.width);
        return sizeof(int32_t) * width * (source.channels * keptRows(source, setting) + 1) +
               sizeof(uint16_t) * width;
    }

    /// Strokes to the right, or to the left, of a picture turned round: done(y, x, channel, sample) gets each sample of
    /// the result.
    template <typename Done>
    void run(const PencilEdges &edges, int16_t limit, bool leftwards, const PencilKernels &kernels, Done done)
    {
        leftwards_ = leftwards;
        const std::size_t height = static_cast<std::size_t>(source_.height);
        for (std::size_t y = height; y > height - kept_; --y)
            load(y - 1);
        for (std::size_t y = height; y-- > 0;) {
            drawStarts(edges.row(y), limit, kernels);
            for (std::size_t x = 0; x < width_; x += kRun)
                drawStrokes(x, std::min(kRun, width_ - x), y, kernels);
            for (std::size_t channel = 0; channel < source_.channels; ++channel)
                done(y, channel, plane(y, channel));
            if (y >= kept_)
                load(y - kept_);
        }
    }

    /// Where the pixel at x of a plane lies in a row.
    std::size_t columnOf(std::size_t x) const { return leftwards_ ? width_ - 1 - x : x; }

private:
    static constexpr std::size_t kRun = 512;

    /// Pixels of a stroke, as many as can be seen.
    static std::size_t lengthFor(const SampleRows &source, const tagColorPencilParam &setting)
    {
        return static_cast<std::size_t>(std::clamp<int64_t>(int64_t{setting.strokeSetting} + 5, 0,
                                                            std::min(source.width, source.height)));
    }
    static std::size_t keptRows(const SampleRows &source, const tagColorPencilParam &setting)
    {
        return std::max<std::size_t>(lengthFor(source, setting), 1);
    }

    int32_t *plane(std::size_t y, std::size_t channel) const
    {
        return samples_ + (y % kept_ * source_.channels + channel) * width_;
    }
    void load(std::size_t y)
    {
        const uint8_t *const from = source_.row(static_cast<int>(y));
        for (std::size_t channel = 0; channel < source_.channels; ++channel) {
            int32_t *const to = plane(y, channel);
            for (std::size_t x = 0; x < width_; ++x)
                to[x] = from[columnOf(x) * source_.channels + channel];
        }
    }

    void drawStarts(const int16_t *strengths, int16_t limit, const PencilKernels &kernels)
    {
        drawNumbers(numbers_, kernels.countBelow(strengths, width_, limit));
        const uint16_t *number = numbers_;
        for (std::size_t x = 0; x < width_; ++x) {
            const bool isFlat = strengths[columnOf(x)] < limit;
            starts_[x] = isFlat && *number % 100 >= spared_ ? -1 : 0;
            number += isFlat ? 1 : 0;
        }
    }

    /// The strokes that start at `count` pixels of row y, pixel by pixel of all of them: no two of a row meet.
    void drawStrokes(std::size_t first, std::size_t count, std::size_t y, const PencilKernels &kernels)
    {
        const int32_t *const starts = starts_ + first;
        if (length_ == 0 || std::all_of(starts, starts + count, [](int32_t start) { return start == 0; }))
            return;
        double share[kRun];
        for (std::size_t channel = 0; channel < source_.channels; ++channel) {
            const auto takeShares = [&] {
                const int32_t *const origins = plane(y, channel) + first;
                for (std::size_t i = 0; i < count; ++i)
                    share[i] = origins[i] * kPencilOriginShare;
            };
            const PencilStrokes strokes{starts, share, shares_[channel], count};
            takeShares();
            kernels.draw(plane(y, channel) + first, strokes);
            takeShares(); // the start is a pixel of its stroke, and the others take what it has become
            for (std::size_t k = 1; k < length_ && k <= y && first + k < width_; ++k) {
                PencilStrokes rest = strokes;
                rest.pixels = std::min(count, width_ - first - k);
                kernels.draw(plane(y - k, channel) + first + k, rest);
            }
        }
    }

    SampleRows source_;
    std::size_t width_, length_, kept_;
    int spared_; ///< percent of the pixels that no stroke starts at
    std::array<double, 3> shares_;
    bool leftwards_ = false;
    int32_t *samples_, *starts_;
    uint16_t *numbers_;
};

} // namespace

} // namespace velmont

using namespace velmont;

void *ProcessColorPencil(void *dib, tagColorPencilParam *param)
{
    if (!dib || !param)
        return nullptr;
    const tagColorPencilParam setting = *param;
    EffectFrame frame(dib, {.waitCursor = false, .droppedPoll = false, .finalReport = false});
    showWaitCursor(); // before the picture is looked at: hosts see it where it is refused
    const std::optional<Dib> source = withRowsBehindAllColors(frame, {8, 24});
    if (!source)
        return refuseAtWork();
    const ResultPlan plan = planOnSamples(*source, 0);
    if (!frame.begin(plan))
        return nullptr;
    if (setting.coverage == 0)
        return abandonAtWork(frame);
    const SampleRows rows = sampleRows(*source);
    ScratchBlock first(rows.bytes());
    if (!first.bytes())
        return abandonAtWork(frame);
    ScratchBlock samples(PencilPass::sizeFor(rows, setting));
    if (!samples.bytes())
        return abandonAtWork(frame);
    ScratchBlock edgeMap(PencilEdges::sizeFor(rows));
    if (!edgeMap.bytes())
        return frame.giveUp();
    uint8_t *const result = frame.result().row(0);
    std::memcpy(result, rows.first, rows.bytes()); // with the padding, which stays

    const PencilKernels kernels = pencilKernels();
    PencilEdges edges(rows, edgeMap.bytes());
    edges.find(kernels);
    const int16_t limit = edges.limitFor(setting.coverage);
    PencilPass pass(rows, setting, samples.bytes());
    const auto byteAt = [&](std::size_t y, std::size_t x, std::size_t channel) -> uint8_t & {
        return first.bytes()[y * rows.stride + pass.columnOf(x) * rows.channels + channel];
    };
    const std::size_t width = static_cast<std::size_t>(rows.width);
    pass.run(edges, limit, false, kernels, [&](std::size_t y, std::size_t channel, const int32_t *plane) {
        for (std::size_t x = 0; x < width; ++x)
            byteAt(y, x, channel) = static_cast<uint8_t>(plane[x]);
    });
    pass.run(edges, limit, true, kernels, [&](std::size_t y, std::size_t channel, const int32_t *plane) {
        for (std::size_t x = 0; x < width; ++x) {
            uint8_t &byte = byteAt(y, x, channel);
            byte = static_cast<uint8_t>(static_cast<int32_t>(plane[x] * 0.75 + byte * 0.25));
        }
    });
    SampleRows mixed = rows;
    mixed.first = first.bytes();
    applyMedianSized(result, mixed, rows.channels == 3 ? 3 : 2);
    first.release();
    samples.release();
    edgeMap.release();
    return frame.finish();
}
