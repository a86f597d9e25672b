#include "artistic/painting.h"
#include "artistic/water_kernels.h"
#include "core/clock.h"
#include "core/generator.h"
#include "core/scratch_block.h"
#include <algorithm>
#include <array>
#include <cmath>
#include <cstring>
#include <velmont/painting.h>

namespace velmont {

namespace {

/// Each pass over the rows has a quarter of the progress.
constexpr RowCadence quarter(int number)
{
    return {.reportEvery = 1, .percentFrom = 25 * number, .percentShares = 4};
}

/// What the size of the brush makes of everything.
struct Brush {
    int64_t size, half, odd;

    explicit Brush(int brushSize) : size(brushSize), half(brushSize / 2), odd(brushSize % 2) {}

    /// Pixels that the box reaches beyond the picture, both ways together.
    int64_t padding() const { return half - half % 2; }
    /// Whether a mark around this place lies within a line of this length.
    bool fits(int64_t place, int64_t length) const { return place >= half && place <= length - half - odd; }
};

/// Means over boxes of n by n pixels, each of which starts padding / 2 rows above and columns before its pixel, but less
/// than the picture has of either. As many rows and columns on each side show the picture's mirror image; what is left of
/// the padding is black: hosts rely on it.
class WaterBox {
public:
    /// \param sums room for sumCount(source, brush) numbers
    WaterBox(const SampleRows &source, const Brush &brush, uint32_t *sums)
        : source_(source), n_(brush.half), channels_(static_cast<int64_t>(source.channels)),
          before_(std::min<int64_t>({brush.padding() / 2, source.height - 1, source.width - 1})), sums_(sums),
          divisor_(static_cast<uint64_t>(n_ * n_)),
          reciprocal_(n_ <= kLargestExact ? (uint64_t{1} << kShift) / divisor_ + 1 : 0)
    {
        std::fill_n(sums_, sumCount(source, brush), 0u);
        for (int64_t k = 0; k < n_ - 1; ++k)
            add(k);
    }
    static std::size_t sumCount(const SampleRows &source, const Brush &brush)
    {
        return static_cast<std::size_t>(std::max<int64_t>(source.width + brush.padding(), 0)) *
               source.channels;
    }

    /// Rows come in order from 0.
    void writeRow(uint8_t *to, int64_t y)
    {
        add(y + n_ - 1);
        if (y > 0)
            take(y - 1);
        mirrorColumns();
        for (int64_t channel = 0; channel < channels_; ++channel)
            writeChannel(to + channel, sums_ + channel);
    }

private:
    // See BoxRounding: sums below 256 times these divisors are divided exactly.
    static constexpr int64_t kLargestExact = 255;
    static constexpr int kShift = 40;

    /// Whether a padded row or column shows one of the picture.
    bool isMirrored(int64_t padded, int64_t length) const { return padded < length + 2 * before_; }
    int64_t mirrored(int64_t padded, int64_t length) const { return mirroredPlace(padded - before_, length); }
    template <typename Change>
    void changeSums(int64_t paddedRow, Change change)
    {
        if (!isMirrored(paddedRow, source_.height))
            return;
        const uint8_t *const row = source_.row(static_cast<int>(mirrored(paddedRow, source_.height)));
        uint32_t *const sums = sums_ + before_ * channels_;
        const std::size_t bytes = source_.rowBytes();
        for (std::size_t i = 0; i < bytes; ++i)
            sums[i] = change(sums[i], uint32_t{row[i]});
    }
    void add(int64_t paddedRow)
    {
        changeSums(paddedRow, [](uint32_t sum, uint32_t sample) { return sum + sample; });
    }
    void take(int64_t paddedRow)
    {
        changeSums(paddedRow, [](uint32_t sum, uint32_t sample) { return sum - sample; });
    }
    void mirrorColumns()
    {
        const auto mirror = [&](int64_t column) {
            std::copy_n(sums_ + (before_ + mirrored(column, source_.width)) * channels_, channels_,
                        sums_ + column * channels_);
        };
        for (int64_t column = 0; column < before_; ++column)
            mirror(column);
        for (int64_t column = before_ + source_.width; isMirrored(column, source_.width); ++column)
            mirror(column);
    }
    void writeChannel(uint8_t *to, const uint32_t *sums) const
    {
        uint64_t sum = 0;
        for (int64_t column = 0; column < n_; ++column)
            sum += sums[column * channels_];
        // A box of more than two columns keeps its first one along the whole row: hosts rely on it.
        const uint32_t *leaving = sums + (n_ > 2 ? channels_ : 0), *entering = sums + n_ * channels_;
        to[0] = meanOf(sum);
        for (int x = 1; x < source_.width; ++x) {
            sum += uint64_t{*entering} - *leaving;
            leaving += channels_;
            entering += channels_;
            to[x * channels_] = meanOf(sum);
        }
    }
    uint8_t meanOf(uint64_t sum) const
    {
        return static_cast<uint8_t>(reciprocal_ != 0 ? sum * reciprocal_ >> kShift : sum / divisor_);
    }

    SampleRows source_;
    int64_t n_, channels_;
    int64_t before_; ///< padded rows and columns before the picture, and mirrored ones behind it
    uint32_t *sums_; ///< of the padded columns under the boxes of a row
    uint64_t divisor_, reciprocal_;
};

void soften(EffectFrame &frame, const SampleRows &source, const Brush &brush, uint32_t *sums)
{
    if (brush.half == 1) {
        std::memcpy(frame.result().row(0), source.first, source.bytes());
        return;
    }
    if (brush.half < 0) { // the mean of nothing: hosts rely on black
        for (int y : frame.rows(quarter(0)))
            std::memset(frame.result().row(y), 0, source.rowBytes());
        return;
    }
    WaterBox box(source, brush, sums);
    for (int y : frame.rows(quarter(0)))
        box.writeRow(frame.result().row(y), y);
}

/// The new brightness of each thousandth.
std::array<double, 1001> toneCurve(int64_t c)
{
    std::array<double, 1001> curve;
    for (int i = 0; i < 1000; ++i) {
        double u = 0;
        if (c < 0) {
            const int64_t half = (c + 500) / 2;
            u = std::trunc(i / (1000.0 / static_cast<double>(2 * half))) + 500 - static_cast<double>(half);
        } else if (i >= 1000 - c) {
            u = 1000;
        } else if (i > c) {
            u = std::trunc(static_cast<double>(i - c) / (static_cast<double>(1000 - 2 * c) * 0.001));
        }
        curve[static_cast<std::size_t>(i)] = u >= 1000 ? 1.0 : u <= 0 ? 0.0 : u * 0.001;
    }
    curve[1000] = curve[999];
    return curve;
}

/// The new brightness by the largest sample of a pixel.
std::array<double, 256> toneValues(const tagWaterPaperParam &setting)
{
    const int64_t contrast = setting.contrast, change = int64_t{setting.brightness} - 50;
    const std::array<double, 1001> curve = toneCurve((contrast - 50) * 10);
    const double shift =
        2 * (static_cast<double>(change) * 0.01) / (11.0 - static_cast<double>(contrast) * 0.1);
    std::array<double, 256> values;
    for (std::size_t level = 0; level < values.size(); ++level) {
        const double value = static_cast<double>(level) * kWaterUnit;
        const double moved = shift + curve[static_cast<std::size_t>(value * 1000)];
        values[level] = moved > 0 ? std::min(moved, 1.0) : 0; // 0 for what is not a number
    }
    return values;
}

void changeTones(EffectFrame &frame, std::size_t channels, const tagWaterPaperParam &setting)
{
    const std::array<double, 256> values = toneValues(setting);
    const WaterToneRow toneRow = waterToneRow();
    const auto width = static_cast<std::size_t>(frame.result().width());
    for (int y : frame.rows(quarter(1))) {
        uint8_t *const row = frame.result().row(y);
        if (channels == 3)
            toneRow(row, width, values.data());
        else
            std::transform(row, row + width, row,
                           [&](uint8_t level) { return static_cast<uint8_t>(values[level] * 255.0); });
    }
}

/// The result's rows and a copy of them without padding, which marks take their colours from.
struct WaterSheet {
    uint8_t *rows;
    std::size_t stride, bytes;
    uint8_t *packed;
    int width, height;
    std::size_t channels;

    void pack() const { packRows(packed, {rows, stride, width, height, channels}); }
    std::size_t placeIn(int64_t y, int64_t x) const
    {
        return static_cast<std::size_t>(y) * stride + static_cast<std::size_t>(x) * channels;
    }
    std::size_t packedPlaceOf(int64_t y, int64_t x) const
    {
        return static_cast<std::size_t>(y * width + x) * channels;
    }
    std::size_t packedBytes() const { return packedPlaceOf(height, 0); }
};

/// Small bright dashes, level and upright.
class Dashes {
public:
    Dashes(const WaterSheet &sheet, const Brush &brush)
        : sheet_(sheet), brush_(brush), reach_(std::min<int64_t>(brush.half, 5)),
          range_(static_cast<int>(std::max<int64_t>(35 - (brush.size - 3) * (brush.size - 3), 10))),
          chance_(1 / (static_cast<double>(brush.size * brush.size) * 5.0))
    {
    }

    void drawRow(int y) const
    {
        for (int x = 0; x < sheet_.width; ++x) {
            if (drawnShare() < chance_ && brush_.fits(x, sheet_.width))
                lighten(y, y, x - reach_, x + reach_ + 1, drawnLight(y, x));
            if (drawnShare() > 1 - chance_ && brush_.fits(y, sheet_.height))
                lighten(y - reach_, y + reach_, x, x + 1, drawnLight(y, x));
        }
    }

private:
    static double drawnShare() { return velmont::rand() % 1000 * 0.001; }

    /// Less light where the pixel has some.
    int drawnLight(int y, int x) const
    {
        const int range = (velmont::rand() & 3) == 0 ? 2 * range_ : range_;
        const int light = velmont::rand() % range;
        const uint8_t *const pixel = sheet_.packed + sheet_.packedPlaceOf(y, x);
        const double value = *std::max_element(pixel, pixel + sheet_.channels) * kWaterUnit;
        return value < 0.5 ? static_cast<int>(2 * ((0.5 - value) * light)) : light;
    }
    /// A dash that reaches past the end of its row touches what lies there, up to the end of the last row: hosts rely
    /// on it.
    void lighten(int64_t firstY, int64_t lastY, int64_t firstX, int64_t lastX, int light) const
    {
        for (int64_t y = firstY; y <= lastY; ++y)
            for (int64_t x = firstX; x <= lastX; ++x)
                lightenPixel(sheet_.placeIn(y, x), sheet_.packedPlaceOf(y, x), light);
    }
    void lightenPixel(std::size_t to, std::size_t from, int light) const
    {
        for (std::size_t i = 0; i < sheet_.channels; ++i)
            if (to + i < sheet_.bytes && from + i < sheet_.packedBytes())
                sheet_.rows[to + i] = static_cast<uint8_t>(std::min(sheet_.packed[from + i] + light, 255));
    }

    const WaterSheet &sheet_;
    Brush brush_;
    int64_t reach_;
    int range_;
    double chance_;
};

/// Strokes that smear the dark parts: level ones two rows high in every fourth row, upright ones two columns wide in
/// the rows halfway between.
class Strokes {
public:
    Strokes(const WaterSheet &sheet, const Brush &brush)
        : sheet_(sheet), brush_(brush), chance_(chanceFor(brush.size))
    {
    }

    void drawRow(int y) const
    {
        for (int x = 0; x < sheet_.width - 1; ++x) {
            if (!isDark(sheet_.packed + sheet_.packedPlaceOf(y, x)) ||
                velmont::rand() % 10000 * 0.0001 >= chance_)
                continue;
            if (y % 4 == 0 && brush_.fits(x, sheet_.width)) {
                smearAlong(y, x);
                smearAlong(y + 1, x);
            } else if (y % 4 == 2 && brush_.fits(y, sheet_.height)) {
                smearDown(y, x);
            }
        }
    }

private:
    static double chanceFor(int64_t size)
    {
        return size < 8 ? 0.5 : size < 15 ? 0.3 : size < 20 ? 0.2 : size < 30 ? 0.15 : 0.05;
    }
    bool isDark(const uint8_t *pixel) const
    {
        if (sheet_.channels == 1)
            return *pixel < 200;
        const auto atLeast = [&](int level) {
            return (pixel[0] >= level ? 1 : 0) + (pixel[1] >= level ? 1 : 0) + (pixel[2] >= level ? 1 : 0);
        };
        return atLeast(200) == 0 && atLeast(150) <= 1;
    }
    int64_t first() const { return -brush_.half; }
    int64_t end() const { return brush_.half + brush_.odd; }
    void mix(uint8_t *to, const uint8_t *color) const
    {
        for (std::size_t i = 0; i < sheet_.channels; ++i)
            to[i] = static_cast<uint8_t>((color[i] + to[i]) >> 1);
    }
    void smearAlong(int64_t y, int64_t x) const
    {
        const uint8_t *const color = sheet_.packed + sheet_.packedPlaceOf(y, x);
        for (int64_t k = first(); k < end(); ++k)
            mix(sheet_.rows + sheet_.placeIn(y, x + k), color);
    }
    void smearDown(int64_t y, int64_t x) const
    {
        const uint8_t *const color = sheet_.packed + sheet_.packedPlaceOf(y, x);
        for (int64_t k = first(); k < end(); ++k) {
            mix(sheet_.rows + sheet_.placeIn(y + k, x), color);
            mix(sheet_.rows + sheet_.placeIn(y + k, x + 1), color + sheet_.channels);
        }
    }

    const WaterSheet &sheet_;
    Brush brush_;
    double chance_;
};

/// Bytes of the working memory: the sums of a row's boxes and the packed picture. More than there can be where 32 bits do
/// not hold a picture with all that its boxes reach: hosts rely on no result there.
uint64_t workBytes(const SampleRows &source, const Brush &brush)
{
    const auto padded = [&](int length) {
        return static_cast<uint64_t>(std::max<int64_t>(length, length + brush.padding()));
    };
    if (padded(source.width) * padded(source.height) > UINT32_MAX / source.channels)
        return SIZE_MAX;
    return uint64_t{sizeof(uint32_t)} * WaterBox::sumCount(source, brush) +
           source.rowBytes() * static_cast<std::size_t>(source.height);
}

} // namespace

} // namespace velmont

using namespace velmont;

void *ProcessWaterPaper(void *dib, tagWaterPaperParam *param)
{
    if (!dib || !param)
        return nullptr;
    const tagWaterPaperParam setting = *param;
    const Brush brush(setting.brushSize);
    EffectFrame frame(dib, {.waitCursor = false});
    showWaitCursor(); // before the picture is looked at: hosts see it where it is refused
    const std::optional<Dib> source = withRowsBehindAllColors(frame, {8, 24});
    if (!source || brush.half == 0)
        return refuseAtWork();
    if (!frame.begin(planOnSamples(*source, 0)))
        return nullptr;
    const SampleRows rows = sampleRows(*source);
    ScratchBlock work(workBytes(rows, brush));
    if (!work.bytes())
        return abandonAtWork(frame);
    auto *const sums = reinterpret_cast<uint32_t *>(work.bytes());
    const WaterSheet sheet{.rows = frame.result().row(0),
                           .stride = rows.stride,
                           .bytes = rows.bytes(),
                           .packed = work.bytes() + sizeof(uint32_t) * WaterBox::sumCount(rows, brush),
                           .width = rows.width,
                           .height = rows.height,
                           .channels = rows.channels};
    soften(frame, rows, brush, sums);
    changeTones(frame, rows.channels, setting);
    constexpr int kLargestDashing = 7;
    if (brush.size <= kLargestDashing && !frame.isAborted()) {
        sheet.pack();
        velmont::srand(clockSeconds());
        const Dashes dashes(sheet, brush);
        for (int y : frame.rows(quarter(2)))
            dashes.drawRow(y);
    }
    velmont::srand(clockSeconds()); // after an abort too: hosts find the generator seeded
    if (!frame.isAborted()) {
        sheet.pack();
        const Strokes strokes(sheet, brush);
        for (int y : frame.steps(rows.height - 1, quarter(3)))
            strokes.drawRow(y);
    }
    showArrowCursor(); // before the last report: hosts see them in this order
    frame.leaveWaitCursor();
    work.release();
    return frame.finish();
}
