#include "geometry/any_samples.h"
#include "geometry/pixel_gather.h"
#include <cmath>
#include <velmont/geometry.h>

namespace velmont {

namespace {

/// A place as the twist reckons it.
struct Point {
    double x, y;
};

/// The twist of an image: rings around its middle, inside the ellipse that touches its sides, turned to and fro.
class Twist {
public:
    Twist(int width, int height, int ridges, int amount)
        : middle_{(width - 1) * 0.5, (height - 1) * 0.5}, radius_(std::max(middle_.x, middle_.y)),
          bandWidth_(radius_ / ridges), rise_(bandWidth_ * 0.382), fall_(bandWidth_ * 0.618),
          mostAngle_(-(((static_cast<double>(ridges) - 1) * 0.3490658503988659 + 2.0943951023931953) *
                       amount * 0.01))
    {
        if (middle_.x > middle_.y)
            stretch_.y = middle_.x / middle_.y;
        else if (middle_.x < middle_.y)
            stretch_.x = middle_.y / middle_.x;
    }

    Point middle() const { return middle_; }
    /// From the middle, with the shorter axis stretched until the ellipse is a circle.
    Point toCircle(Point pixel) const
    {
        return {(pixel.x - middle_.x) * stretch_.x, (pixel.y - middle_.y) * stretch_.y};
    }
    /// Whether the rings reach a point of the circle. They reach none of an image that is a line, where the
    /// stretch is infinite.
    bool reaches(Point at) const { return at.x * at.x + at.y * at.y < radius_ * radius_; }
    /// Where the pixel at this point of the circle comes from, in pixels.
    Point sourceOf(Point at) const
    {
        const double angle = angleAt(std::sqrt(at.x * at.x + at.y * at.y));
        const double cosine = std::cos(angle), sine = std::sin(angle);
        return {(cosine * at.x - sine * at.y) / stretch_.x + middle_.x,
                (cosine * at.y + sine * at.x) / stretch_.y + middle_.y};
    }

private:
    /// Within each ring it rises from 0 and falls to 0 again; from ring to ring it grows less.
    double angleAt(double distance) const
    {
        const double ring = std::trunc(distance / bandWidth_);
        const double within = distance - ring * bandWidth_;
        const double behindTop = within - rise_;
        const double part = behindTop > 0 ? 1 - behindTop / fall_ : 1 - (rise_ - within) / rise_;
        return part / (ring + 1) * mostAngle_;
    }

    Point middle_;
    Point stretch_{1, 1};
    double radius_;
    double bandWidth_, rise_, fall_;
    double mostAngle_;
};

/// The pixel that a coordinate falls into, held within 0 to `last`. Below 0 it would be one pixel out at most,
/// and what is not a number counts as below.
int32_t pixelAt(double coordinate, int32_t last)
{
    if (!(coordinate >= 0))
        return 0;
    return coordinate < last ? static_cast<int32_t>(coordinate) : last;
}

/// Two rows of the result at a time, each the other's mirror image through the middle.
class TwistedRows {
public:
    TwistedRows(const Dib &source, Dib &result, const Twist &twist)
        : result_(result), pixels_(source), twist_(twist), lastColumn_(source.width() - 1),
          lastRow_(source.height() - 1)
    {
    }

    /// Writes row y and its mirror image. The middle row of an odd number is both: hosts see its later half as
    /// such, and its earlier one, the middle included, as the mirror image.
    void write(int y) const
    {
        uint8_t *const row = result_.row(y), *const mirror = result_.row(lastRow_ - y);
        const int width = lastColumn_ + 1, mirroredFrom = row == mirror ? width / 2 : 0;
        forPixelRuns(width, [&](int first, std::size_t count) {
            PixelPlaces places, mirrored;
            findPlaces(places, mirrored, first, y, count);
            pixels_.copy(row, first, places, count);
            // The mirror image has the run the other way round: those of its pixels that count come first.
            const int behind = first + static_cast<int>(count);
            if (behind > mirroredFrom)
                pixels_.copy(mirror, width - behind, mirrored,
                             static_cast<std::size_t>(behind - std::max(first, mirroredFrom)));
        });
    }

private:
    void findPlaces(PixelPlaces &places, PixelPlaces &mirrored, int first, int y, std::size_t count) const
    {
        const Point middle = twist_.middle();
        for (std::size_t i = 0; i < count; ++i) {
            const int x = first + static_cast<int>(i);
            const std::size_t opposite = count - 1 - i;
            const Point at = twist_.toCircle({static_cast<double>(x), static_cast<double>(y)});
            if (!twist_.reaches(at)) {
                places.column[i] = x;
                places.row[i] = y;
                mirrored.column[opposite] = lastColumn_ - x;
                mirrored.row[opposite] = lastRow_ - y;
                continue;
            }
            const Point from = twist_.sourceOf(at);
            places.column[i] = pixelAt(from.x, lastColumn_);
            places.row[i] = pixelAt(from.y, lastRow_);
            mirrored.column[opposite] = pixelAt(2 * middle.x - from.x, lastColumn_);
            mirrored.row[opposite] = pixelAt(2 * middle.y - from.y, lastRow_);
        }
    }

    Dib &result_;
    PixelSource pixels_;
    const Twist &twist_;
    int32_t lastColumn_, lastRow_;
};

} // namespace

} // namespace velmont

using namespace velmont;

void *ProcessZigZag(void *dib, tagZigZagParam *param)
{
    if (!param)
        return nullptr;
    const tagZigZagParam record = *param;
    EffectFrame frame(dib, {.waitCursor = false});
    const std::optional<Dib> source = anySamples(frame);
    if (!source)
        return nullptr;
    if (!frame.allocate({.layout = source->layout(), .contents = Contents::Overwritten, .flags = 0}))
        return nullptr;
    if (record.ridges == 0 || record.amount == 0)
        return frame.discard();
    frame.open(headerBytesOf(*source));
    const int height = source->height();
    const Twist twist(source->width(), height, record.ridges, record.amount);
    const TwistedRows rows(*source, frame.result(), twist);
    for (int y : frame.steps(height / 2 + 1, {.percentSpan = 200, .percentOf = height}))
        rows.write(y);
    for (int y = 0; y < height && !frame.isAborted(); ++y)
        frame.clearPadding(y);
    return frame.finish();
}
