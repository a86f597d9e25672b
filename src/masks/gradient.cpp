#include "core/repeat_bytes.h"
#include "filters/sample_frame.h"
#include "masks/gradient_colors.h"
#include "masks/gradient_kernels.h"
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <optional>
#include <ranges>
#include <velmont/masks.h>

namespace velmont {

namespace {

/// Half sizes, or the differences along a line, from p1 to p2.
struct Extent {
    int64_t x, y;

    static Extent of(const Gradient &gradient)
    {
        return {int64_t{gradient.p2.x} - gradient.p1.x, int64_t{gradient.p2.y} - gradient.p1.y};
    }
    Extent absolute() const { return {std::abs(x), std::abs(y)}; }
    Extent shortest() const { return {std::min(x, y), std::min(x, y)}; }
    bool isEven() const { return x == y; }
};

/// A row of the gradient before it is mixed with the picture's.
class GradientRow {
public:
    explicit GradientRow(const Dib &source)
        : width_(source.width()), channels_(samplesPerPixel(source)), bytes_(sampleBytes(source)),
          places_(static_cast<std::size_t>(source.width()))
    {
    }

    bool isReady() const { return bytes_.items() && places_.items(); }
    int64_t width() const { return width_; }
    uint8_t *bytes() { return bytes_.items(); }
    std::size_t byteCount() const { return static_cast<std::size_t>(width_) * channels_; }
    /// Working memory with a place for each pixel of the row.
    int32_t *places() { return places_.items(); }
    const GradientKernels &kernels() const { return kernels_; }

    /// The pixels from column `first` to before `end`, held to the picture, in one colour.
    void fill(int64_t first, int64_t end, uint32_t pixel)
    {
        first = std::clamp<int64_t>(first, 0, width_);
        end = std::clamp<int64_t>(end, 0, width_);
        if (first >= end)
            return;
        uint8_t *const to = at(first);
        const std::size_t bytes = static_cast<std::size_t>(end - first) * channels_;
        std::memcpy(to, &pixel, channels_);
        repeatBytes(to, channels_, bytes);
    }
    /// The pixels from column `first` to before `end` in the colours of the first places.
    void paint(int64_t first, int64_t end, const uint32_t *pixels)
    {
        const auto count = static_cast<std::size_t>(end - first);
        (channels_ == 3 ? kernels_.colors : kernels_.levels)(at(first), places(), pixels, count);
    }

private:
    uint8_t *at(int64_t x) { return bytes() + static_cast<std::size_t>(x) * channels_; }

    int64_t width_;
    std::size_t channels_;
    ScratchItems<uint8_t> bytes_;
    ScratchItems<int32_t> places_;
    GradientKernels kernels_ = gradientKernels();
};

/// The line from p1 to p2. Distances are reckoned in lengths of it and never multiplied out, so that no point is too
/// far away.
class LineShape {
public:
    static constexpr bool isPainted = true;

    static std::optional<LineShape> of(const Gradient &gradient)
    {
        const Extent extent = Extent::of(gradient), size = extent.absolute();
        if (size.x <= 1 && size.y <= 1)
            return std::nullopt;
        return LineShape(gradient.p1, extent);
    }

    int64_t length() const { return length_; }
    int64_t dx() const { return extent_.x; }
    LineDistance rowStart(int64_t y) const { return sum(origin_, inLengths(y * extent_.y)); }
    /// The distance of column x in the row that starts so.
    LineDistance inRow(const LineDistance &start, int64_t x) const { return sum(start, columns(x)); }
    /// How much further so many columns are.
    LineDistance columns(int64_t x) const { return inLengths(x * extent_.x); }
    /// Whether the pixel lies before p1 or exactly beside it. The distances are those of pixels, half a length further.
    bool isBeforeStart(const LineDistance &distance) const
    {
        return distance.whole < 0 || (distance.whole == 0 && distance.rest <= length_ / 2);
    }
    /// The distances of a picture's pixels that are not before the start.
    Distances distancesIn(const Dib &source) const
    {
        const int64_t right = source.width() - 1;
        const LineDistance bottom = rowStart(0), top = rowStart(source.height() - 1);
        const auto [low, high] =
            std::minmax({bottom.whole, top.whole, inRow(bottom, right).whole, inRow(top, right).whole});
        return {std::max<int64_t>(low, 0), std::max<int64_t>(high, 0)};
    }

private:
    LineShape(tagPOINT start, Extent extent)
        : extent_(extent), length_(static_cast<int64_t>(std::sqrt(square(extent.x) + square(extent.y)) + 0.5))
    {
        origin_ = sum(inLengths(-int64_t{start.x} * extent.x), inLengths(-int64_t{start.y} * extent.y));
        origin_ = sum(origin_, {0, length_ / 2});
    }

    static double square(int64_t side) { return static_cast<double>(side) * static_cast<double>(side); }
    LineDistance inLengths(int64_t product) const
    {
        const int64_t whole = product / length_, rest = product % length_;
        return rest < 0 ? LineDistance{whole - 1, rest + length_} : LineDistance{whole, rest};
    }
    LineDistance sum(const LineDistance &a, const LineDistance &b) const
    {
        const int64_t whole = a.whole + b.whole, rest = a.rest + b.rest;
        return rest >= length_ ? LineDistance{whole + 1, rest - length_} : LineDistance{whole, rest};
    }

    Extent extent_;
    int64_t length_;
    LineDistance origin_; ///< of the first pixel
};

class LinePainter {
public:
    LinePainter(const Dib &source, const Gradient &gradient, const LineShape &shape)
        : shape_(shape), row_(source), ramp_(source, gradient),
          table_({ramp_, shape.length(), gradient.repeats, gradient.isSawtooth()}, shape.distancesIn(source))
    {
    }

    bool isReady() const { return row_.isReady() && table_.isReady(); }
    GradientRow &row(int y)
    {
        const LineDistance start = shape_.rowStart(y);
        const bool rises = shape_.dx() >= 0;
        // The pixels before the start are the first of the row or, where the line leads to the left, the last.
        const auto isFirst = [&](int x) { return shape_.isBeforeStart(shape_.inRow(start, x)) == rises; };
        const int64_t turn =
            *std::ranges::partition_point(std::views::iota(0, static_cast<int>(row_.width())), isFirst);
        const int64_t first = rises ? turn : 0, end = rises ? row_.width() : turn;
        row_.fill(0, first, ramp_.startColor());
        row_.fill(end, row_.width(), ramp_.startColor());
        if (first < end) {
            LineRun run{shape_.inRow(start, first), shape_.columns(1), shape_.length()};
            run.start.whole -= table_.first();
            row_.kernels().line(row_.places(), static_cast<std::size_t>(end - first), run);
            row_.paint(first, end, table_.pixels());
        }
        return row_;
    }

private:
    LineShape shape_;
    GradientRow row_;
    GradientRamp ramp_;
    GradientTable table_;
};

/// A circle or an ellipse around p1.
struct RoundShape {
    Extent radius;
    int64_t length; ///< of a band along the longer radius
    int64_t repeats;
    bool isPainted;

    static std::optional<RoundShape> of(const Gradient &gradient)
    {
        Extent radius = Extent::of(gradient).absolute();
        if (radius.x < 1 || radius.y < 1)
            return std::nullopt;
        // The second sees what the first gave.
        radius.x = raised(radius.x, radius.y);
        radius.y = raised(radius.y, radius.x);
        if (gradient.shape == 4)
            radius = radius.shortest();
        const int64_t length = std::max(radius.x, radius.y);
        return RoundShape{radius, length, fittingBands(length, gradient.repeats),
                          radius.isEven() || gradient.shape == 3};
    }

    Extent outer() const { return {radius.x * repeats, radius.y * repeats}; }

private:
    /// A radius that is at least about a tenth of the other.
    static int64_t raised(int64_t radius, int64_t other)
    {
        const int64_t tenfold = 10 * radius;
        return other >= tenfold ? radius * ((tenfold / 2 + other) / tenfold) : radius;
    }
    static int64_t fittingBands(int64_t length, int64_t repeats)
    {
        constexpr int64_t kFarthest = 40000;
        if (length * repeats < kFarthest)
            return repeats;
        return std::max<int64_t>((length / 2 + kFarthest) / length, 1);
    }
};

/// Squares of distances along the axes, of which the shorter one is stretched to the longer.
class AxisParts {
public:
    explicit AxisParts(Extent radius)
        : stretchesX_(radius.x < radius.y), stretchesY_(radius.y < radius.x),
          ratio_(static_cast<uint64_t>(square(std::min(radius.x, radius.y)) /
                                       square(std::max(radius.x, radius.y)) * 1024))
    {
    }

    double ofColumn(int64_t distance) const { return part(distance, stretchesX_); }
    double ofRow(int64_t distance) const { return part(distance, stretchesY_); }

private:
    static double square(int64_t side) { return static_cast<double>(side) * static_cast<double>(side); }
    double part(int64_t distance, bool isStretched) const
    {
        constexpr int64_t kFar = int64_t{1} << 26; // beyond it the fixed point would not fit 64 bits
        if (!isStretched)
            return square(distance);
        if (distance >= kFar)
            return square(distance) * 1024 / static_cast<double>(ratio_);
        const auto side = static_cast<uint64_t>(distance);
        return static_cast<double>(((side * side << 10) + (ratio_ >> 1)) / ratio_);
    }

    bool stretchesX_, stretchesY_;
    uint64_t
        ratio_; ///< of the radii's squares in parts of 1024: 4 or more, as no radius is 15 times the other
};

/// The smallest number whose square is not below this one, which is that of 32 bits at most.
uint64_t rootUpwards(uint64_t square)
{
    auto root = static_cast<uint64_t>(std::sqrt(static_cast<double>(square)));
    while (root > 0 && (root - 1) * (root - 1) >= square)
        --root;
    while (root * root < square)
        ++root;
    return root;
}

class RoundPainter {
public:
    RoundPainter(const Dib &source, const Gradient &gradient, const RoundShape &shape)
        : center_(gradient.p1), shape_(shape), outer_(shape.outer()), parts_(shape.radius), row_(source),
          columnParts_(static_cast<std::size_t>(source.width())), ramp_(source, gradient),
          bands_(ramp_, shape.length, shape.repeats, gradient.isSawtooth()),
          table_(innerBands(), distancesIn(source))
    {
        if (columnParts_.items())
            for (int64_t x = 0; x < source.width(); ++x)
                columnParts_.items()[x] = parts_.ofColumn(std::abs(x - center_.x));
    }

    bool isReady() const { return row_.isReady() && columnParts_.items() && table_.isReady(); }
    GradientRow &row(int y)
    {
        const int64_t distance = std::abs(int64_t{y} - center_.y), reach = reachAt(distance);
        const int64_t first = std::clamp<int64_t>(center_.x - reach + 1, 0, row_.width());
        const int64_t end = std::clamp<int64_t>(center_.x + reach, first, row_.width());
        row_.fill(0, first, bands_.outside);
        row_.fill(end, row_.width(), bands_.outside);
        if (first < end) {
            row_.kernels().round(row_.places(), static_cast<std::size_t>(end - first),
                                 {columnParts_.items() + first, parts_.ofRow(distance),
                                  static_cast<double>(table_.last()), static_cast<double>(table_.first())});
            row_.paint(first, end, table_.pixels());
        }
        return row_;
    }

private:
    /// Pixels within a circle whose distance is rounded up to its edge belong to the band behind it, but where each
    /// band starts anew.
    GradientBands innerBands() const
    {
        GradientBands inner = bands_;
        if (shape_.radius.isEven() && !bands_.isSawtooth)
            ++inner.count;
        return inner;
    }
    /// Rounded distances, up to the edge.
    Distances distancesIn(const Dib &source) const
    {
        const Distances x = distancesFrom(center_.x, source.width()),
                        y = distancesFrom(center_.y, source.height());
        const auto edge = static_cast<double>(std::max<int64_t>({outer_.x, outer_.y, 0}));
        const auto held = [&](int64_t column, int64_t row) {
            const double root = std::sqrt(parts_.ofColumn(column) + parts_.ofRow(row));
            return static_cast<int64_t>(std::min(root + 0.5, edge));
        };
        return {held(x.first, y.first), held(x.last, y.last)};
    }
    /// Columns to either side of the centre that lie inside, the centre's among them, in a row so far from it.
    int64_t reachAt(int64_t distance) const
    {
        if (distance >= outer_.y)
            return 0;
        const auto edge = static_cast<uint64_t>(outer_.x), side = static_cast<uint64_t>(distance);
        uint64_t lost = side * side;
        if (!shape_.radius.isEven()) {
            const auto square = [](int64_t value) {
                return static_cast<double>(static_cast<uint64_t>(value) * static_cast<uint64_t>(value));
            };
            const double scaled = square(distance) * square(shape_.radius.x) / square(shape_.radius.y);
            lost = static_cast<uint64_t>(scaled + 0.5);
        }
        const uint64_t limit = edge * edge > lost ? edge * edge - lost : 0;
        return static_cast<int64_t>(std::min(edge, rootUpwards(limit)));
    }

    tagPOINT center_;
    RoundShape shape_;
    Extent outer_;
    AxisParts parts_;
    GradientRow row_;
    ScratchItems<double> columnParts_;
    GradientRamp ramp_;
    GradientBands bands_;
    GradientTable table_;
};

/// A square or a rectangle around p1.
struct BoxShape {
    Extent half;
    bool isPainted;

    static std::optional<BoxShape> of(const Gradient &gradient)
    {
        Extent half = Extent::of(gradient).absolute();
        if (half.x < 1 || half.y < 1)
            return std::nullopt;
        if (gradient.shape == 1)
            half = half.shortest();
        return BoxShape{half, half.isEven() || gradient.shape == 2};
    }
};

/// A row is that of the columns' colours, with the row's own colour where the row is the farther one.
class BoxPainter {
public:
    BoxPainter(const Dib &source, const Gradient &gradient, const BoxShape &shape)
        : center_(gradient.p1), shape_(shape), row_(source), columns_(source), ramp_(source, gradient),
          bandsX_(ramp_, shape.half.x, gradient.repeats, gradient.isSawtooth()),
          bandsY_(ramp_, shape.half.y, gradient.repeats, gradient.isSawtooth()),
          tableX_(bandsX_, distancesFrom(center_.x, source.width())),
          tableY_(bandsY_, distancesFrom(center_.y, source.height()))
    {
        if (!columns_.isReady() || !tableX_.isReady())
            return;
        for (int64_t x = 0; x < columns_.width(); ++x)
            columns_.places()[x] = static_cast<int32_t>(std::abs(x - center_.x) - tableX_.first());
        columns_.paint(0, columns_.width(), tableX_.pixels());
    }

    bool isReady() const
    {
        return row_.isReady() && columns_.isReady() && tableX_.isReady() && tableY_.isReady();
    }
    GradientRow &row(int y)
    {
        const int64_t distance = std::abs(int64_t{y} - center_.y), band = distance / shape_.half.y;
        if (band >= bandsY_.count) {
            row_.fill(0, row_.width(), bandsY_.outside);
            return row_;
        }
        std::memcpy(row_.bytes(), columns_.bytes(), columns_.byteCount());
        const int64_t reach = reachAt(band, distance % shape_.half.y);
        // Behind the last column of the bands there is the outside.
        row_.fill(center_.x - reach, center_.x + reach + 1, tableY_.at(distance));
        return row_;
    }

private:
    /// The farthest column of the same band that is not farther within it; where both are equal the row decides.
    int64_t reachAt(int64_t band, int64_t rest) const
    {
        const auto x = static_cast<uint64_t>(shape_.half.x), y = static_cast<uint64_t>(shape_.half.y);
        const uint64_t reach = static_cast<uint64_t>(band) * x + static_cast<uint64_t>(rest) * x / y;
        constexpr uint64_t kBeyondAll = uint64_t{1} << 33;
        return static_cast<int64_t>(std::min(reach, kBeyondAll));
    }

    tagPOINT center_;
    BoxShape shape_;
    GradientRow row_, columns_;
    GradientRamp ramp_;
    GradientBands bandsX_, bandsY_;
    GradientTable tableX_, tableY_;
};

/// The gradient of shapes that are painted with nothing: hosts rely on rows of zeros, polls and progress as usual.
void *paintNothing(EffectFrame &frame)
{
    ResultPlan plan = planOnSamples(frame.source());
    plan.contents = Contents::ZeroFilled;
    if (!frame.begin(plan))
        return nullptr;
    for ([[maybe_unused]] const int y : frame.rows()) {
    }
    return frame.finish();
}

template <typename Shape, typename Painter>
void *paint(void *dib, const Gradient &gradient)
{
    EffectFrame frame(dib);
    const auto shape = Shape::of(gradient);
    if (!shape || !servesSamples(frame))
        return nullptr;
    if (!shape->isPainted)
        return paintNothing(frame);
    const Dib &source = frame.source();
    const ResultPlan plan = planOnSamples(source);
    if (!frame.allocate(plan))
        return nullptr;
    std::optional<Painter> painter(std::in_place, source, gradient, *shape);
    if (!painter->isReady()) {
        painter.reset();
        return frame.giveUp();
    }
    frame.open(plan.headerBytes);
    const MixShares shares = MixShares::ofPercent(gradient.sourcePercent);
    for (const int y : frame.rows()) {
        GradientRow &row = painter->row(y);
        row.kernels().mix(frame.result().row(y), source.row(y), row.bytes(), row.byteCount(), shares);
        frame.clearPadding(y);
    }
    painter.reset();
    return frame.finish();
}

} // namespace

} // namespace velmont

using namespace velmont;

void *ProcessGradientFill(void *hDib, tagPOINT p1, tagPOINT p2, int colorMode, int repeatMode,
                          int sourcePercent, int repeats, int shape, unsigned long color1,
                          unsigned long color2)
{
    using Painting = decltype(&ProcessLinearGradient);
    constexpr Painting kPaintings[] = {ProcessRectangularGradient, ProcessRectangularGradient,
                                       ProcessCircularGradient, ProcessCircularGradient,
                                       ProcessLinearGradient};
    if (shape < 1 || shape > 5)
        return nullptr;
    return kPaintings[shape - 1](hDib, p1, p2, colorMode, repeatMode, sourcePercent, repeats, shape, color1,
                                 color2);
}

void *ProcessLinearGradient(void *hDib, tagPOINT p1, tagPOINT p2, int colorMode, int repeatMode,
                            int sourcePercent, int repeats, int shape, unsigned long color1,
                            unsigned long color2)
{
    return paint<LineShape, LinePainter>(
        hDib, {p1, p2, colorMode, repeatMode, sourcePercent, repeats, shape, color1, color2});
}

void *ProcessCircularGradient(void *hDib, tagPOINT p1, tagPOINT p2, int colorMode, int repeatMode,
                              int sourcePercent, int repeats, int shape, unsigned long color1,
                              unsigned long color2)
{
    return paint<RoundShape, RoundPainter>(
        hDib, {p1, p2, colorMode, repeatMode, sourcePercent, repeats, shape, color1, color2});
}

void *ProcessRectangularGradient(void *hDib, tagPOINT p1, tagPOINT p2, int colorMode, int repeatMode,
                                 int sourcePercent, int repeats, int shape, unsigned long color1,
                                 unsigned long color2)
{
    return paint<BoxShape, BoxPainter>(
        hDib, {p1, p2, colorMode, repeatMode, sourcePercent, repeats, shape, color1, color2});
}
