#include "core/scratch_block.h"
#include "filters/sample_frame.h"
#include <algorithm>
#include <array>
#include <cmath>
#include <optional>
#include <velmont/filters.h>

namespace velmont {

namespace {

/// How a pixel is painted over: (1 - alpha) * level + add, the product truncated.
struct Paint {
    double alpha;
    std::array<double, 3> add; ///< whole numbers, one for each channel
};

/// The bands of a button, by place. Quotients of whole numbers are truncated, hosts rely on it.
class Bands {
public:
    Bands(const Dib &source, const tagParamButtonize &param)
        : width_(source.width()), height_(source.height()), bandWidth_(std::max(param.bevelWidth, 1)),
          bandHeight_(std::max(param.bevelHeight, 1)), opacity_(param.opacity * 0.01),
          isFlat_(param.style == 1)
    {
        if (source.bitCount() == 24)
            color_ = {double(blueOf(param.color)), double(greenOf(param.color)), double(redOf(param.color))};
    }

    int64_t bandWidth() const { return bandWidth_; }
    int64_t bandHeight() const { return bandHeight_; }
    bool isPainted(int64_t x, int64_t y) const
    {
        return x < bandWidth_ || x > width_ - bandWidth_ || y < bandHeight_ || y > height_ - bandHeight_;
    }
    /// The band of a pixel; nothing in the gaps along the mitres and inside.
    std::optional<Paint> at(int64_t x, int64_t y) const
    {
        const int64_t w = width_, h = height_, bw = bandWidth_, bh = bandHeight_;
        if (const int64_t k = x * bh / bw; x < bw && k <= y && y < h - k)
            return lit(alphaAt(bw - x, bw), 50 * x / bw - 10);
        if (const int64_t k = y * bw / bh; y <= bh && k <= x && x <= w - k)
            return dark(alphaAt(bh - y, bh), bh - y, bh);
        if (const int64_t k = bh * (w - x) / bw; x > w - bw && k < y && y <= h - k)
            return dark(alphaAt(bw - w + x, bw), bw - w + x, bw);
        if (const int64_t k = bw * (h - y) / bh; y >= h - bh && k <= x && x < w - k)
            return lit(alphaAt(y - h + bh, bh), 30 * (h - y) / bh - 10);
        return std::nullopt;
    }

private:
    double alphaAt(int64_t part, int64_t whole) const
    {
        return isFlat_ ? opacity_ : double(part) * opacity_ / double(whole);
    }
    Paint lit(double alpha, int64_t light) const
    {
        Paint paint{alpha, {}};
        for (std::size_t i = 0; i < color_.size(); ++i)
            paint.add[i] = std::trunc(std::trunc(color_[i] * alpha) + double(light) * alpha);
        return paint;
    }
    Paint dark(double alpha, int64_t part, int64_t whole) const
    {
        Paint paint{alpha, {}};
        for (std::size_t i = 0; i < color_.size(); ++i)
            paint.add[i] = std::trunc(color_[i] * alpha - double(part) * alpha * 150 / double(whole));
        return paint;
    }

    int64_t width_, height_, bandWidth_, bandHeight_;
    double opacity_;
    bool isFlat_;
    std::array<double, 3> color_{70, 70, 70}; ///< in gray images this level
};

/// Whole numbers that hold the products of opacities up to this one, in percent; others take 64 bits.
constexpr int kNarrowOpacity = 100'000'000;

template <typename Whole>
void paintRun(uint8_t *__restrict to, const uint8_t *__restrict from, const double *__restrict keep,
              const Whole *__restrict add, std::size_t bytes)
{
    for (std::size_t i = 0; i < bytes; ++i) {
        const Whole level = static_cast<Whole>(keep[i] * from[i]) + add[i];
        to[i] = static_cast<uint8_t>(std::clamp<Whole>(level, 0, 255));
    }
}

/// Paints row after row.
template <typename Whole>
class Painter {
public:
    Painter(const Bands &bands, const Dib &source, double *keep)
        : bands_(bands), width_(source.width()), height_(source.height()), channels_(samplesPerPixel(source)),
          leftEnd_(std::min(bands.bandWidth(), width_)),
          rightStart_(std::max(leftEnd_, width_ - bands.bandWidth())), keep_(keep),
          add_(reinterpret_cast<Whole *>(keep + sampleBytes(source)))
    {
    }

    void row(uint8_t *to, const uint8_t *from, int64_t y)
    {
        const bool isInside = y > bands_.bandHeight() && y < height_ - bands_.bandHeight();
        // All the rows inside are painted alike, and leave the same opacity behind them.
        if (!isInside || !insideIsReady_) {
            fill(0, leftEnd_, y);
            if (!isInside && rightStart_ > leftEnd_)
                fillAlike(leftEnd_, rightStart_, y);
            fill(rightStart_, width_, y);
        }
        insideIsReady_ = isInside;
        if (!isInside)
            return paint(to, from, 0, width_);
        paint(to, from, 0, leftEnd_);
        const std::size_t first = bytesOf(leftEnd_);
        std::copy(from + first, from + bytesOf(rightStart_), to + first);
        paint(to, from, rightStart_, width_);
    }

private:
    std::size_t bytesOf(int64_t pixels) const { return static_cast<std::size_t>(pixels) * channels_; }

    void fill(int64_t from, int64_t to, int64_t y)
    {
        for (int64_t x = from; x < to; ++x)
            store(x, paintAt(x, y), bands_.isPainted(x, y));
    }
    /// Between the side bands one band has all the pixels of a row.
    void fillAlike(int64_t from, int64_t to, int64_t y)
    {
        const Paint paint = paintAt(from, y);
        for (int64_t x = from; x < to; ++x)
            store(x, paint, bands_.isPainted(from, y));
    }
    /// Where there is no band the opacity is that of the pixel before, across rows too: hosts rely on it.
    Paint paintAt(int64_t x, int64_t y)
    {
        const Paint paint = bands_.at(x, y).value_or(Paint{alpha_, {}});
        alpha_ = paint.alpha;
        return paint;
    }
    void store(int64_t x, const Paint &paint, bool isPainted)
    {
        for (std::size_t channel = 0; channel < channels_; ++channel) {
            keep_[bytesOf(x) + channel] = isPainted ? 1 - paint.alpha : 1.0;
            add_[bytesOf(x) + channel] = isPainted ? static_cast<Whole>(paint.add[channel]) : Whole{0};
        }
    }
    void paint(uint8_t *to, const uint8_t *from, int64_t first, int64_t end) const
    {
        const std::size_t at = bytesOf(first);
        paintRun(to + at, from + at, keep_ + at, add_ + at, bytesOf(end - first));
    }

    const Bands &bands_;
    int64_t width_, height_;
    std::size_t channels_;
    int64_t leftEnd_, rightStart_;
    double *keep_;
    Whole *add_;
    double alpha_ = 0;
    bool insideIsReady_ = false;
};

template <typename Whole>
void paintRows(EffectFrame &frame, const Bands &bands, double *scratch)
{
    const Dib &source = frame.source();
    Painter<Whole> painter(bands, source, scratch);
    for (int y : frame.rows()) {
        painter.row(frame.result().row(y), source.row(y), y);
        frame.clearPadding(y);
    }
}

} // namespace

} // namespace velmont

using namespace velmont;

void *ProcessButtonize(void *dib, tagParamButtonize *param)
{
    if (!param || param->bevelWidth < 0 || param->bevelHeight < 0)
        return nullptr;
    const int64_t opacity = param->opacity;
    EffectFrame frame(dib);
    if (!servesSamples(frame))
        return nullptr;
    const Dib &source = frame.source();
    const Bands bands(source, *param);
    const ResultPlan plan = planWithColors(source);
    if (!frame.allocate(plan))
        return nullptr;
    ScratchBlock scratch(uint64_t{sampleBytes(source)} * (sizeof(double) + sizeof(int64_t)));
    if (!scratch.bytes())
        return frame.giveUp();
    frame.open(plan.headerBytes);
    auto *const numbers = reinterpret_cast<double *>(scratch.bytes());
    if (std::abs(opacity) <= kNarrowOpacity)
        paintRows<int32_t>(frame, bands, numbers);
    else
        paintRows<int64_t>(frame, bands, numbers);
    scratch.release();
    return frame.finish();
}
