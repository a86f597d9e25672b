#include "core/color_index.h"
#include "core/rounded_math.h"
#include "geometry/pixel_access.h"
#include "geometry/resized_frame.h"
#include "geometry/rotate_kernels.h"
#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <velmont/geometry.h>

namespace velmont {

namespace {

/// Sine and cosine with 16 fractional bits, half added and cut towards zero, so that those of negative angles are
/// one nearer to zero than their counterparts: hosts rely on it.
struct Turn {
    int32_t sine, cosine;

    explicit Turn(int degrees)
        : sine(fixed(rounded::sin(degrees * kRadians))), cosine(fixed(rounded::cos(degrees * kRadians)))
    {
    }

private:
    static constexpr double kRadians = 0.0174532925;
    static int32_t fixed(double value) { return static_cast<int32_t>(value * 65536 + 0.5); }
};

/// a * b as hosts see it on pictures of more than 32767 pixels: it wraps.
uint32_t product(int32_t a, int32_t b)
{
    return static_cast<uint32_t>(a) * static_cast<uint32_t>(b);
}

struct Size {
    int32_t width, height;
};

Size turnedSize(const Dib &source, const Turn &turn)
{
    const int32_t sine = std::abs(turn.sine), cosine = std::abs(turn.cosine);
    const auto rounded = [](uint32_t sum) { return static_cast<int32_t>(sum + 32768) >> 16; };
    return {rounded(product(cosine, source.width()) + product(sine, source.height())),
            rounded(product(sine, source.width()) + product(cosine, source.height()))};
}

/// Where the pixels of the result lie in the source.
class Mapping {
public:
    Mapping(const Dib &source, Size size, const Turn &turn)
        : columnStep_{2 * static_cast<uint32_t>(turn.cosine), 2 * static_cast<uint32_t>(turn.sine)},
          maxX_(highest(source.width())), maxY_(highest(source.height()))
    {
        const auto [sine, cosine] = turn;
        rowStep_ = {0 - columnStep_.y, columnStep_.x};
        start_ = {(static_cast<uint32_t>(source.width()) << 16) - product(size.width, cosine) +
                      product(size.height, sine) + 65536,
                  (static_cast<uint32_t>(source.height()) << 16) - product(size.height, cosine) -
                      product(size.width, sine) + 65536};
    }

    SamplePlace step() const { return columnStep_; }
    SamplePlace at(int column, int row) const
    {
        return start_.plus(rowStep_, static_cast<uint32_t>(row))
            .plus(columnStep_, static_cast<uint32_t>(column));
    }
    bool isInside(const SamplePlace &place) const
    {
        return isIn(static_cast<int32_t>(place.x), maxX_) && isIn(static_cast<int32_t>(place.y), maxY_);
    }
    int32_t maxX() const { return maxX_; }
    int32_t maxY() const { return maxY_; }

private:
    static int32_t highest(int side)
    {
        return static_cast<int32_t>((static_cast<uint32_t>(side) << kPlaceBits) - 1);
    }
    static bool isIn(int32_t value, int32_t max) { return value >= 0 && value <= max; }

    SamplePlace start_, columnStep_, rowStep_;
    int32_t maxX_, maxY_;
};

/// Columns of a row of the result.
struct Span {
    int64_t first = 0, end = 0;

    /// What both have; where that is nothing, an empty span at the first one's start.
    Span operator&(const Span &other) const
    {
        const Span both{std::max(first, other.first), std::min(end, other.end)};
        return both.isEmpty() ? Span{first, first} : both;
    }
    bool isEmpty() const { return first >= end; }
};

int64_t quotientDown(int64_t a, int64_t b)
{
    return a / b - (a % b < 0 ? 1 : 0);
}

/// The columns at which start + column * step lies between 0 and max.
Span columnsWithin(int64_t start, int64_t step, int64_t max, Span all)
{
    if (step == 0)
        return start >= 0 && start <= max ? all : Span{};
    const int64_t before = step > 0 ? -start : start - max, until = step > 0 ? max - start : start;
    const int64_t size = std::abs(step);
    return all & Span{-quotientDown(-before, size), quotientDown(until, size) + 1};
}

/// A row of blended samples, its span inside the source in one piece and most of it away from the edges.
class SampleRow {
public:
    SampleRow(const Dib &source, const Mapping &mapping, PixelValue background)
        : mapping_(mapping), background_(background), kernels_(rotateKernels(source.bitCount())),
          channels_(static_cast<std::size_t>(source.bitCount()) / 8), from_{source.row(0), source.stride(),
                                                                            source.width(), source.height()}
    {
        if (source.layout().pixelBytes() > INT32_MAX) // beyond the offsets of the kernel
            kernels_.inner = kernels_.anywhere;
    }

    void write(uint8_t *to, int row, int width) const
    {
        const Span all{0, width};
        if (wraps(mapping_.at(0, row), width)) {
            for (int x = 0; x < width; ++x)
                writePart(to, row, {x, int64_t{x} + 1});
            return;
        }
        writePart(to, row, all);
    }

private:
    /// Whether a position runs through the end of the 32-bit numbers on its way along the row.
    bool wraps(const SamplePlace &start, int width) const
    {
        const auto last = [width](uint32_t from, uint32_t step) {
            return static_cast<int32_t>(from) + int64_t{static_cast<int32_t>(step)} * (width - 1);
        };
        const int64_t x = last(start.x, mapping_.step().x), y = last(start.y, mapping_.step().y);
        return x != static_cast<int32_t>(x) || y != static_cast<int32_t>(y);
    }

    /// Part of a row, along which nothing wraps.
    void writePart(uint8_t *to, int row, Span part) const
    {
        const SamplePlace start = mapping_.at(static_cast<int>(part.first), row);
        const Span inside = spanWithin(start, mapping_.maxX(), mapping_.maxY(), part);
        const int64_t reach = int64_t{kernels_.reach} << kPlaceBits, row1 = int64_t{1} << kPlaceBits;
        const Span inner =
            inside & spanWithin(start, mapping_.maxX() - reach + row1, mapping_.maxY() - row1, part);
        fill(to, {part.first, inside.first});
        blend(kernels_.anywhere, to, row, {inside.first, inner.first});
        blend(kernels_.inner, to, row, inner);
        blend(kernels_.anywhere, to, row, {inner.end, inside.end});
        fill(to, {inside.end, part.end});
    }

    Span spanWithin(const SamplePlace &start, int64_t maxX, int64_t maxY, Span part) const
    {
        const Span all{0, part.end - part.first};
        const Span span =
            columnsWithin(static_cast<int32_t>(start.x), static_cast<int32_t>(mapping_.step().x), maxX, all) &
            columnsWithin(static_cast<int32_t>(start.y), static_cast<int32_t>(mapping_.step().y), maxY, all);
        return {span.first + part.first, span.end + part.first};
    }

    void blend(BlendedRun run, uint8_t *to, int row, Span span) const
    {
        if (!span.isEmpty())
            run(to + static_cast<std::size_t>(span.first) * channels_,
                static_cast<std::size_t>(span.end - span.first), from_,
                mapping_.at(static_cast<int>(span.first), row), mapping_.step());
    }

    void fill(uint8_t *to, Span span) const
    {
        for (int64_t x = span.first; x < span.end; ++x)
            for (std::size_t channel = 0; channel < channels_; ++channel)
                to[static_cast<std::size_t>(x) * channels_ + channel] =
                    static_cast<uint8_t>(background_ >> 8 * channel);
    }

    const Mapping &mapping_;
    PixelValue background_;
    RotateKernels kernels_;
    std::size_t channels_;
    SampleRows from_;
};

/// A row of indices, which cannot be blended: each is the nearest one's.
template <int bits>
void writeNearest(uint8_t *to, const Dib &source, const Mapping &mapping, int row, int width,
                  PixelValue background)
{
    PixelWriter<bits> writer(to);
    SamplePlace place = mapping.at(0, row);
    const SamplePlace step = mapping.step();
    for (int x = 0; x < width; ++x, place += step)
        writer.put(
            mapping.isInside(place)
                ? pixelAt<bits>(source.row(static_cast<int>(place.y >> kPlaceBits)), place.x >> kPlaceBits)
                : background);
    writer.endRow();
}

void *rotate(EffectFrame &frame, const ResultPlan &plan, const Mapping &mapping, PixelValue background)
{
    if (!frame.allocate(plan))
        return nullptr;
    openResized(frame);
    const Dib &source = frame.source();
    const int width = plan.layout.width;
    const bool isSampled = source.bitCount() == 24 || source.isGray();
    const SampleRow samples(source, mapping, background);
    for (const int y : frame.steps(plan.layout.height)) {
        uint8_t *const to = frame.result().row(y);
        if (isSampled)
            samples.write(to, y, width);
        else
            withDepth(source.bitCount(),
                      [&](auto bits) { writeNearest<bits>(to, source, mapping, y, width, background); });
        frame.clearPadding(y);
    }
    return frame.finish();
}

} // namespace

} // namespace velmont

using namespace velmont;

void *ProcessRotate(void *dib, int angle, unsigned long backgroundColor, tagRECT *rect)
{
    if (!dib)
        return nullptr;
    const int degrees = angle % 360; // keeps the sign: hosts rely on -90 not being 270
    if (degrees == 90 || degrees == 180 || degrees == 270)
        return ProcessExactRotate(dib, degrees, rect);
    EffectFrame frame(dib, {.waitCursor = false, .arrowCursor = false});
    if (!frame.hasSource())
        return nullptr;
    const Turn turn(degrees);
    const Size size = turnedSize(frame.source(), turn);
    if (rect)
        *rect = {0, 0, size.width, size.height};
    if (!frame.serves({1, 4, 8, 24}))
        return nullptr;
    const auto plan = planOfSize(frame.source(), size.width, size.height, Contents::Overwritten);
    if (!plan)
        return nullptr;
    const PixelValue background = frame.source().bitCount() == 24
                                      ? pixelOfColor(backgroundColor)
                                      : static_cast<PixelValue>(colorIndex(frame.source(), backgroundColor));
    return rotate(frame, *plan, Mapping(frame.source(), size, turn), background);
}

void *ProcessRotate(void *dib, int angle, unsigned long backgroundColor)
{
    return ProcessRotate(dib, angle, backgroundColor, nullptr);
}
