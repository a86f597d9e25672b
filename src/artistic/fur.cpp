#include "artistic/painting.h"
#include "core/clock.h"
#include "core/generator.h"
#include "core/scratch_block.h"
#include <algorithm>
#include <array>
#include <cstring>
#include <velmont/painting.h>

namespace velmont {

namespace {

/// The picture with a mirrored border, row by row: at the top and the left without the edge, at the bottom and the
/// right with it. What would be mirrored from outside the picture is 0.
class MirroredRows {
public:
    MirroredRows(const Dib &source, int64_t border)
        : source_(source), channels_(static_cast<int64_t>(samplesPerPixel(source))), border_(border)
    {
    }

    int64_t pixels() const { return source_.width() + 2 * border_; }
    int64_t count() const { return source_.height() + 2 * border_; }
    uint64_t longRowBytes() const { return static_cast<uint64_t>(pixels() * channels_); }
    /// Of rows that fit memory.
    std::size_t rowBytes() const { return static_cast<std::size_t>(longRowBytes()); }

    /// Row `row` of those with borders.
    /// \return false, and nothing is written, where all of it is 0.
    bool copy(uint8_t *to, int64_t row) const
    {
        const int64_t y = mirrored(row, source_.height());
        if (y < 0 || y >= source_.height())
            return false;
        const int64_t width = source_.width();
        for (int64_t i = 0; i < border_; ++i)
            copyPixel(to + channels_ * i, y, mirrored(i, width));
        std::memcpy(to + channels_ * border_, source_.row(static_cast<int>(y)),
                    static_cast<std::size_t>(channels_ * width));
        for (int64_t i = border_ + width; i < pixels(); ++i)
            copyPixel(to + channels_ * i, y, mirrored(i, width));
        return true;
    }

private:
    /// The place in a line of `count` that place i of the line with borders shows.
    int64_t mirrored(int64_t i, int64_t count) const { return mirroredPlace(i - border_, count); }

    /// Columns beyond the row's ends are told by their place in memory: hosts rely on them to run on into the rows
    /// beside, up to the ends of the picture.
    void copyPixel(uint8_t *to, int64_t y, int64_t x) const
    {
        const auto all = static_cast<int64_t>(source_.layout().pixelBytes());
        const int64_t place = y * static_cast<int64_t>(source_.stride()) + channels_ * x;
        const int64_t count = place < 0 ? 0 : std::clamp<int64_t>(all - place, 0, channels_);
        if (count > 0)
            std::memcpy(to, source_.row(0) + place, static_cast<std::size_t>(count));
        std::memset(to + count, 0, static_cast<std::size_t>(channels_ - count));
    }

    const Dib &source_;
    int64_t channels_, border_;
};

/// to[i] = sums[i] / divisor, cut. A quotient below 256 of numbers that the type holds is never rounded up to a whole
/// one as long as the divisor stays below 2^(bits - 7).
template <typename Quotient, typename Sum>
void divideRow(uint8_t *to, const Sum *sums, std::size_t count, Quotient divisor)
{
    for (std::size_t i = 0; i < count; ++i) {
        const Quotient quotient = static_cast<Quotient>(sums[i]) / divisor;
        // Only rows that a host changed meanwhile have others than levels.
        const Quotient atLeast = quotient > 0 ? quotient : 0;
        to[i] = static_cast<uint8_t>(static_cast<int32_t>(atLeast < 255 ? atLeast : 255));
    }
}

/// The mean over a box of `size` by `size`, from sums of columns that slide from row to row.
class SmoothingBox {
public:
    SmoothingBox(const Dib &source, int size)
        : size_(size), channels_(samplesPerPixel(source)),
          rowBytes_(static_cast<std::size_t>(source.width()) * channels_),
          rows_(source, std::max(size, 0) / 2)
    {
    }

    /// Whether the mirrored picture fits a block.
    bool fitsMemory() const
    {
        return static_cast<uint64_t>(rows_.count()) <= UINT32_MAX / rows_.longRowBytes();
    }
    uint64_t scratchBytes() const
    {
        return rows_.longRowBytes() * (sizeof(uint32_t) + 1) + (uint64_t{rowBytes_} + 1) * sizeof(int64_t);
    }
    void useScratch(uint8_t *scratch)
    {
        sums_ = reinterpret_cast<int64_t *>(scratch);
        columns_ = reinterpret_cast<uint32_t *>(scratch + (rowBytes_ + 1) * sizeof(int64_t));
        mirrored_ = reinterpret_cast<uint8_t *>(columns_ + rows_.rowBytes());
        std::fill_n(columns_, rows_.rowBytes(), 0u);
        for (int64_t row = 0; row + 1 < size_; ++row)
            enter(row);
    }

    /// Row y; rows come in their order.
    void write(uint8_t *to, int64_t y)
    {
        enter(y + size_ - 1);
        if (size_ <= kLargestInFloat)
            writeMeans<float, int32_t>(to);
        else
            writeMeans<double, int64_t>(to);
        leave(y);
    }

private:
    static constexpr int kLargestInFloat = 256; // 255 * 256 * 256 is below 2^24

    void enter(int64_t row)
    {
        if (rows_.copy(mirrored_, row))
            for (std::size_t i = 0; i < rows_.rowBytes(); ++i)
                columns_[i] += mirrored_[i];
    }
    void leave(int64_t row)
    {
        if (rows_.copy(mirrored_, row))
            for (std::size_t i = 0; i < rows_.rowBytes(); ++i)
                columns_[i] -= mirrored_[i];
    }

    template <typename Quotient, typename Sum>
    void writeMeans(uint8_t *to)
    {
        Sum *const sums = reinterpret_cast<Sum *>(sums_);
        const auto size = static_cast<std::size_t>(size_), ahead = (size - 1) * channels_;
        // Hosts rely on a box of 3 or more to take out the column of the pixel that it comes to, not the one before.
        const std::size_t behind = size == 2 ? channels_ : 0;
        for (std::size_t channel = 0; channel < channels_; ++channel) {
            Sum sum = 0;
            for (std::size_t i = 0; i < size; ++i)
                sum += static_cast<Sum>(columns_[i * channels_ + channel]);
            sums[channel] = sum;
        }
        for (std::size_t i = channels_; i < rowBytes_; ++i)
            sums[i] = sums[i - channels_] +
                      (static_cast<Sum>(columns_[i + ahead]) - static_cast<Sum>(columns_[i - behind]));
        divideRow(to, sums, rowBytes_, static_cast<Quotient>(size) * static_cast<Quotient>(size));
    }

    int size_;
    std::size_t channels_, rowBytes_;
    MirroredRows rows_;
    int64_t *sums_ = nullptr;     ///< of the boxes of a row
    uint32_t *columns_ = nullptr; ///< sums of `size` rows
    uint8_t *mirrored_ = nullptr; ///< a row
};

struct Offset {
    int x, y;
};

/// How a hair runs, and where it is painted: on pixels of its colour, with pixels at its sides that it is mixed into.
struct Direction {
    Offset step;
    bool isInBetween;   ///< of the four between level, upright and the diagonals: half as many steps
    int left, right;    ///< columns at the picture's sides where no step is painted
    int before, behind; ///< rows likewise
    Offset second;      ///< where there are two pixels of its colour, that of the second
    std::array<Offset, 4> sides;
};

/// In the order of their chances. Hosts rely on the margin of the seventh, one wider than that of its like.
constexpr std::array<Direction, 8> kDirections{{
    {{1, 0}, false, 0, 0, 1, 1, {}, {{{0, -1}, {0, 1}}}},
    {{2, 1}, true, 0, 1, 1, 1, {1, 0}, {{{0, -1}, {1, -1}, {0, 1}, {1, 1}}}},
    {{1, 1}, false, 1, 1, 0, 0, {}, {{{-1, 0}, {1, 0}}}},
    {{1, 2}, true, 1, 1, 0, 1, {0, 1}, {{{-1, 0}, {1, 0}, {-1, 1}, {1, 1}}}},
    {{0, 1}, false, 1, 1, 0, 0, {}, {{{-1, 0}, {1, 0}}}},
    {{-1, 2}, true, 1, 1, 0, 1, {0, 1}, {{{1, 0}, {1, 1}, {-1, 0}, {-1, 1}}}},
    {{-1, 1}, false, 1, 2, 0, 0, {}, {{{1, 0}, {-1, 0}}}},
    {{-2, 1}, true, 1, 1, 1, 1, {-1, 0}, {{{0, -1}, {-1, -1}, {0, 1}, {-1, 1}}}},
}};

/// Steps of a hair from `first` up to `last`; none where that lies before.
struct Steps {
    int64_t first, last;

    /// Leaves those at which start + step * s lies within low to high.
    void holdWithin(int64_t start, int step, int64_t low, int64_t high)
    {
        if (step == 0) {
            if (start < low || start > high)
                last = first - 1;
        } else if (step < 0) {
            holdWithin(-start, -step, -high, -low);
        } else {
            first = std::max(first, -floorOf(start - low, step));
            last = std::min(last, floorOf(high - start, step));
        }
    }

private:
    static int64_t floorOf(int64_t dividend, int divisor)
    {
        return dividend / divisor - (dividend % divisor < 0 ? 1 : 0);
    }
};

/// Paints hairs into a picture.
template <std::size_t channels>
class HairBrush {
public:
    HairBrush(const Dib &image, int length) : image_(image), length_(length), half_(length / 2)
    {
        for (std::size_t i = 0; i < kDirections.size(); ++i)
            for (std::size_t side = 0; side < 4; ++side)
                sides_[i][side] = bytesOf(kDirections[i].sides[side]);
    }

    void paint(std::size_t index, const uint8_t *color, int column, int row) const
    {
        const Direction &direction = kDirections[index];
        const int64_t reach = direction.isInBetween ? half_ : length_;
        const int64_t x = column - direction.step.x * reach, y = row - direction.step.y * reach;
        Steps steps{0, 2 * reach - 1};
        steps.holdWithin(x, direction.step.x, direction.left, image_.width() - 1 - direction.right);
        steps.holdWithin(y, direction.step.y, direction.before, image_.height() - 1 - direction.behind);
        if (steps.first > steps.last)
            return;
        uint8_t *const start = image_.row(static_cast<int>(y + direction.step.y * steps.first)) +
                               static_cast<std::size_t>(x + direction.step.x * steps.first) * channels;
        const auto count = static_cast<std::ptrdiff_t>(steps.last - steps.first + 1);
        if (direction.isInBetween)
            paintSteps<2>(start, count, index, color);
        else
            paintSteps<1>(start, count, index, color);
    }

private:
    std::ptrdiff_t bytesOf(Offset offset) const
    {
        return offset.y * static_cast<std::ptrdiff_t>(image_.stride()) +
               offset.x * static_cast<std::ptrdiff_t>(channels);
    }

    template <int width>
    void paintSteps(uint8_t *start, std::ptrdiff_t count, std::size_t index, const uint8_t *color) const
    {
        const std::ptrdiff_t step = bytesOf(kDirections[index].step),
                             second = bytesOf(kDirections[index].second);
        const auto &sides = sides_[index];
        for (std::ptrdiff_t s = 0; s < count; ++s) {
            uint8_t *const at = start + step * s;
            std::memcpy(at, color, channels);
            if constexpr (width == 2)
                std::memcpy(at + second, color, channels);
            for (int side = 0; side < 2 * width; ++side) {
                uint8_t *const beside = at + sides[static_cast<std::size_t>(side)];
                for (std::size_t channel = 0; channel < channels; ++channel)
                    beside[channel] = static_cast<uint8_t>((beside[channel] + color[channel]) >> 1);
            }
        }
    }

    const Dib &image_;
    int64_t length_, half_;
    std::array<std::array<std::ptrdiff_t, 4>, kDirections.size()> sides_;
};

/// Of the numbers 0 to 999 those that let a pixel grow a hair: the lowest ones, so many.
int growingNumbers(const tagFurParam &param)
{
    // Where a quotient comes to 0 the chance is infinite or not a number, which is not below any number.
    const double chance = (param.density * 0.01 / (param.hairLength / 5 + 1)) / (param.density / 20 + 1);
    int numbers = 0;
    while (numbers < 1000 && !(numbers * 0.001 >= chance))
        ++numbers;
    return numbers;
}

/// Which of the directions the next number of the stream picks.
std::size_t drawDirection()
{
    const double v = rand() % 10000 * 0.00010001000100010001;
    return std::min(static_cast<std::size_t>(v * kDirections.size()), kDirections.size() - 1);
}

/// Grows hairs of the colours that `smoothed` has, row after row without padding.
template <std::size_t channels>
void growHairs(const Dib &image, const uint8_t *smoothed, const tagFurParam &param)
{
    const int growing = growingNumbers(param), width = image.width();
    const HairBrush<channels> brush(image, param.hairLength);
    for (int y = 0; y < image.height(); ++y)
        for (int x = 0; x < width; ++x, smoothed += channels)
            if (rand() % 1000 < growing)
                brush.paint(drawDirection(), smoothed, x, y);
}

/// Mixes the smoothed picture over the hairs. A share beyond 255 leaves the low 8 bits.
void calm(const Dib &image, const uint8_t *smoothed, std::size_t rowBytes, double share)
{
    const double rest = 1 - share;
    for (int y = 0; y < image.height(); ++y, smoothed += rowBytes) {
        uint8_t *const row = image.row(y);
        for (std::size_t i = 0; i < rowBytes; ++i)
            row[i] = static_cast<uint8_t>(static_cast<int32_t>(smoothed[i] * share + row[i] * rest));
    }
}

/// Smooths the source into the result.
void smooth(EffectFrame &frame, const Dib &source, SmoothingBox &box, int size)
{
    const auto writeRow = [&](int y) { box.write(frame.result().row(y), y); };
    if (size < 1)
        return; // hosts rely on a black picture
    if (size == 1) {
        std::memcpy(frame.result().row(0), source.row(0), source.layout().pixelBytes());
    } else if (source.bitCount() == 24) {
        for (int y = 0; y < source.height(); ++y)
            writeRow(y);
    } else {
        // An abort ends this pass alone: hosts get a picture with hairs all the same.
        bool aborted = false;
        for (int y : RowLoop(source.height(), aborted))
            writeRow(y);
    }
}

} // namespace

} // namespace velmont

using namespace velmont;

void *ProcessFur(void *dib, tagFurParam *param)
{
    if (!param)
        return nullptr;
    const tagFurParam settings = *param;
    EffectFrame frame(dib, {.droppedPoll = false, .finalReport = false, .earlyArrowCursor = true});
    const std::optional<Dib> source = withRowsBehindAllColors(frame, {8, 24});
    if (!source)
        return nullptr;
    if (!frame.begin({.layout = source->layout(), .headerBytes = source->layout().pixelOffset}))
        return nullptr;
    SmoothingBox box(*source, settings.smoothSize);
    // Hosts find the wait cursor on and the result lost where there is no memory for the mirrored picture.
    if (!box.fitsMemory())
        return frame.loseResult();
    const std::size_t rowBytes = sampleBytes(*source);
    const std::size_t pictureBytes = rowBytes * static_cast<std::size_t>(source->height());
    ScratchBlock scratch(box.scratchBytes() + pictureBytes);
    if (!scratch.bytes())
        return frame.loseResult();
    box.useScratch(scratch.bytes());
    smooth(frame, *source, box, settings.smoothSize);
    uint8_t *const smoothed = scratch.bytes() + box.scratchBytes();
    packRows(smoothed, sampleRows(frame.result()));
    velmont::srand(clockSeconds());
    if (source->bitCount() == 24)
        growHairs<3>(frame.result(), smoothed, settings);
    else
        growHairs<1>(frame.result(), smoothed, settings);
    const double share = settings.calm * 0.00392156862745098;
    if (share > 0.005)
        calm(frame.result(), smoothed, rowBytes, share);
    scratch.release();
    return frame.finish();
}
