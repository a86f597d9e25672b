#include "geometry/zig_zag_kernels.h"
#include "core/cpu.h"
#include "core/rounded_math.h"
#include <cmath>

namespace velmont {

namespace {

struct Point {
    double x, y;
};

/// Within each ring it rises from 0 and falls to 0 again; from ring to ring it grows less.
double angleAt(const Twist &twist, double distance)
{
    const double ring = std::trunc(distance / twist.bandWidth);
    const double within = distance - ring * twist.bandWidth;
    const double behindTop = within - twist.rise;
    const double part = behindTop > 0 ? 1 - behindTop / twist.fall : 1 - (twist.rise - within) / twist.rise;
    return part / (ring + 1) * twist.mostAngle;
}

/// Where the pixel at this point of the circle comes from, in pixels.
Point sourceOf(const Twist &twist, Point at)
{
    const double angle = angleAt(twist, std::sqrt(at.x * at.x + at.y * at.y));
    const double cosine = rounded::cos(angle), sine = rounded::sin(angle);
    return {(cosine * at.x - sine * at.y) / twist.stretchX + twist.middleX,
            (cosine * at.y + sine * at.x) / twist.stretchY + twist.middleY};
}

/// The pixel that a coordinate falls into, held within 0 to `last`. Below 0 it would be one pixel out at most,
/// and what is not a number counts as below.
int32_t pixelAt(double coordinate, int32_t last)
{
    if (!(coordinate >= 0))
        return 0;
    return coordinate < last ? static_cast<int32_t>(coordinate) : last;
}

} // namespace

Twist Twist::make(int width, int height, int ridges, int amount)
{
    const double x = (width - 1) * 0.5, y = (height - 1) * 0.5;
    const double radius = std::max(x, y), band = radius / ridges;
    const double angle = (static_cast<double>(ridges) - 1) * 0.3490658503988659 + 2.0943951023931953;
    return {.middleX = x,
            .middleY = y,
            .stretchX = x < y ? y / x : 1,
            .stretchY = x > y ? x / y : 1,
            .squaredRadius = radius * radius,
            .bandWidth = band,
            .rise = band * 0.382,
            .fall = band * 0.618,
            .mostAngle = -(angle * amount * 0.01),
            .lastColumn = width - 1,
            .lastRow = height - 1};
}

TwistRun twistRun([[maybe_unused]] const Twist &twist)
{
#if defined(__x86_64__)
    constexpr int32_t kMostPixels = 1 << 20;
    const bool isWithin = twist.bandWidth > 0 && std::abs(twist.mostAngle) <= 1000 &&
                          twist.lastColumn < kMostPixels && twist.lastRow < kMostPixels;
    if (cpuLevel() >= CpuLevel::Avx2 && isWithin)
        return kernels::twistRunAvx2;
#endif
    return kernels::twistRunPlain;
}

namespace kernels {

void twistPartPlain(const Twist &twist, int first, int y, std::size_t count, std::size_t from, std::size_t to,
                    PixelPlaces &places, PixelPlaces &mirrored)
{
    for (std::size_t i = from; i < to; ++i) {
        const int x = first + static_cast<int>(i);
        const std::size_t opposite = count - 1 - i;
        const Point at{(x - twist.middleX) * twist.stretchX, (y - twist.middleY) * twist.stretchY};
        if (!(at.x * at.x + at.y * at.y < twist.squaredRadius)) {
            places.column[i] = x;
            places.row[i] = y;
            mirrored.column[opposite] = twist.lastColumn - x;
            mirrored.row[opposite] = twist.lastRow - y;
            continue;
        }
        const Point source = sourceOf(twist, at);
        places.column[i] = pixelAt(source.x, twist.lastColumn);
        places.row[i] = pixelAt(source.y, twist.lastRow);
        mirrored.column[opposite] = pixelAt(2 * twist.middleX - source.x, twist.lastColumn);
        mirrored.row[opposite] = pixelAt(2 * twist.middleY - source.y, twist.lastRow);
    }
}

void twistRunPlain(const Twist &twist, int first, int y, std::size_t count, PixelPlaces &places,
                   PixelPlaces &mirrored)
{
    twistPartPlain(twist, first, y, count, 0, count, places, mirrored);
}

} // namespace kernels

} // namespace velmont
