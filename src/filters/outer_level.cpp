#include "core/rounded_math.h"
#include "core/scratch_block.h"
#include "filters/sample_frame.h"
#include <algorithm>
#include <cmath>
#include <cstring>
#include <velmont/filters.h>

namespace velmont {

namespace {

constexpr double kPi = 3.141592653589793;

int64_t squared(int64_t value)
{
    return value * value;
}

/// The shades of a rounded frame, by place.
class RoundFrame {
public:
    RoundFrame(const Dib &source, const tagParamOuterLevel &param)
        : width_(source.width()), height_(source.height()), isGray_(source.bitCount() == 8)
    {
        const int64_t wanted = param.rimWidth == 0 ? 1 : param.rimWidth;
        const int64_t groove = param.grooveWidth;
        rim_ = std::min(wanted, std::min(width_, height_) / 2 - groove - 1);
        frame_ = groove + rim_ + 1;
        inner_ = frame_ - rim_;
    }

    /// A rim without a pixel shades nothing.
    bool isEmpty() const { return rim_ <= 0; }
    /// Whether all that is shaded lies within frame() pixels of the edges, by rows and columns that are shaded
    /// alike but for the corners. A groove of a negative width is another matter.
    bool isRegular() const { return inner_ > 0; }
    int64_t frame() const { return frame_; }

    /// The first rule that holds decides. Quotients are truncated; a rim of gray images that includes its last pixel
    /// on two sides, and 127.32... where degrees would be, are what hosts rely on.
    double shadeAt(int64_t x, int64_t y) const
    {
        const int64_t w = width_, h = height_, b = rim_, f = frame_;
        const bool isBetweenRows = f <= y && y <= h - f;
        if (b < x && x < f && isBetweenRows)
            return static_cast<double>(5 * (b - x - 35));
        if (x < f && y >= h - f) {
            const int64_t q = squared(x - f) + squared(y - (h - f));
            if (q < squared(inner_))
                return -175;
            if (y > h - f && q <= squared(f))
                return static_cast<double>(wholeToRim(q) * 30 / b);
            if (y > h - f)
                return 0;
        }
        if (isOnRim(x) && isBetweenRows)
            return static_cast<double>(30 * x / b);
        if (y <= f) {
            if (x <= f) {
                const int64_t q = squared(x - f) + squared(y - f);
                if (y >= x && q <= squared(inner_))
                    return std::trunc(rounded::atan2(double(f - y), double(f - x)) * 127.32395447351628 -
                                      250.0);
                if (y < x && q < squared(inner_))
                    return 30;
                if (squared(inner_) <= q && q <= squared(f))
                    return turning(double(f - x) / double(f - y), q);
                if (x < f && y < f)
                    return 0; // outside
            }
            if (b < y && y < f && f < x && x <= w - f)
                return 30;
            if (isOnRim(y) && f <= x && x <= w - f)
                return static_cast<double>(-60 * y / b);
            if (x >= w - f) {
                const int64_t q = squared(x - (w - f)) + squared(y - f);
                if (q < squared(inner_))
                    return 30;
                if (x >= w - f + 1 && squared(inner_) < q && q <= squared(f))
                    return std::trunc(toRim(q) * -60.0 / double(b));
                if (q > squared(f))
                    return 0;
            }
        }
        if (f < y && y <= h - f) {
            if (w - f < x && x < w - b)
                return 30;
            if (x >= w - b)
                return static_cast<double>((x - w) * 60 / b);
        }
        if (x >= w - f && y > h - f) {
            const int64_t q = squared(x - (w - f)) + squared(y - (h - f));
            if (x > w - f && q < squared(inner_))
                return y <= h - (w - x) ? 30 : -150;
            if (squared(inner_) <= q && q < squared(f))
                return turning(double(y - h + f) / double(x - w + f), q);
            if (q > squared(f))
                return 0;
        }
        if (h - f < y && y < h - b && f <= x && x <= w - f)
            return -175;
        if (y >= h - b && f <= x && x < w - f)
            return static_cast<double>((h - y) * 30 / b);
        return 0;
    }

private:
    bool isOnRim(int64_t place) const { return isGray_ ? place <= rim_ : place < rim_; }
    /// From a place in a corner outward to the edge of the frame, `q` being its squared distance from the middle of
    /// the corner.
    double toRim(int64_t q) const { return double(frame_) - std::sqrt(double(q)); }
    int64_t wholeToRim(int64_t q) const { return static_cast<int64_t>(toRim(q)); }
    /// From the shade of one side to that of the next one, by the angle's tangent.
    double turning(double tangent, int64_t q) const
    {
        const double angle = rounded::atan(tangent), s = toRim(q), b = double(rim_);
        return std::trunc(angle * s * 180.0 / (b * kPi) - s * 60.0 / b);
    }

    int64_t width_, height_;
    bool isGray_;
    int64_t rim_;   ///< width of the rim
    int64_t frame_; ///< width of the frame and outer radius of its corners
    int64_t inner_; ///< inner radius
};

/// to[i] = from[i] + light[i], truncated and held to 0 to 255.
void lightRun(uint8_t *__restrict to, const uint8_t *__restrict from, const double *__restrict light,
              std::size_t bytes)
{
    for (std::size_t i = 0; i < bytes; ++i) {
        const double level = light[i] + from[i];
        const double atLeast = level > 0 ? level : 0;
        to[i] = static_cast<uint8_t>(static_cast<int>(atLeast < 255 ? atLeast : 255));
    }
}

/// Lights row after row.
class Lighting {
public:
    Lighting(const RoundFrame &shape, const Dib &source, double strength, Stores stores, double *light)
        : shape_(shape), width_(source.width()), height_(source.height()), channels_(samplesPerPixel(source)),
          strength_(strength), light_(light), copy_(copyRow(stores))
    {
        if (!shape.isRegular()) {
            leftEnd_ = rightStart_ = width_;
            return;
        }
        leftEnd_ = std::min(shape.frame() + 1, width_);
        rightStart_ = std::max(leftEnd_, width_ - shape.frame());
    }

    void row(uint8_t *to, const uint8_t *from, int64_t y)
    {
        // Rows that no corner reaches are lit alike.
        const bool isInside = shape_.isRegular() && y > shape_.frame() && y < height_ - shape_.frame();
        if (!isInside || !insideIsReady_) {
            fill(0, leftEnd_, y);
            fill(rightStart_, width_, y);
        }
        insideIsReady_ = isInside;
        const std::size_t middle = bytesOf(leftEnd_), right = bytesOf(rightStart_), end = bytesOf(width_);
        lightRun(to, from, light_, middle);
        lightAlike(to + middle, from + middle, right - middle,
                   isInside || right == middle ? 0 : shape_.shadeAt(leftEnd_, y));
        lightRun(to + right, from + right, light_ + right, end - right);
    }

private:
    std::size_t bytesOf(int64_t pixels) const { return static_cast<std::size_t>(pixels) * channels_; }

    void fill(int64_t from, int64_t to, int64_t y)
    {
        for (int64_t x = from; x < to; ++x)
            std::fill_n(light_ + bytesOf(x), channels_, shape_.shadeAt(x, y) * strength_);
    }
    void lightAlike(uint8_t *to, const uint8_t *from, std::size_t bytes, double shade)
    {
        if (shade * strength_ == 0)
            return copy_(to, from, bytes);
        if (shade != tableShade_) {
            tableShade_ = shade;
            uint8_t levels[256];
            double light[256];
            for (int level = 0; level < 256; ++level)
                levels[level] = static_cast<uint8_t>(level);
            std::fill_n(light, 256, shade * strength_);
            lightRun(table_, levels, light, 256);
        }
        map_(to, from, bytes, table_);
    }

    const RoundFrame &shape_;
    int64_t width_, height_;
    std::size_t channels_;
    double strength_;
    double *light_; ///< for each byte of a row
    ByteRow copy_;
    TableRow map_ = tableRow();
    int64_t leftEnd_, rightStart_;
    bool insideIsReady_ = false;
    double tableShade_ = 0;
    uint8_t table_[256] = {};
};

} // namespace

} // namespace velmont

using namespace velmont;

void *ProcessOuterLevel(void *dib, tagParamOuterLevel *param)
{
    if (!param)
        return nullptr;
    EffectFrame frame(dib);
    if (!servesSamples(frame))
        return nullptr;
    const Dib &source = frame.source();
    const RoundFrame shape(source, *param);
    const double strength = param->strength * 0.01;
    const ResultPlan plan = planWithColors(source);
    if (!frame.allocate(plan))
        return nullptr;
    const std::size_t bytes = sampleBytes(source);
    ScratchBlock scratch(uint64_t{bytes} * sizeof(double));
    if (!scratch.bytes())
        return frame.giveUp();
    frame.open(plan.headerBytes);
    const ByteRow copy = copyRow(frame.stores());
    Lighting lighting(shape, source, strength, frame.stores(), reinterpret_cast<double *>(scratch.bytes()));
    for (int y : frame.rows()) {
        if (shape.isEmpty())
            copy(frame.result().row(y), source.row(y), bytes);
        else
            lighting.row(frame.result().row(y), source.row(y), y);
        frame.clearPadding(y);
    }
    scratch.release();
    return frame.finish();
}
