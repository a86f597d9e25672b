#pragma once

/// \file
/// Kernels of the zig-zag: from a run of pixels to the places that they and their mirror images come from.

#include "geometry/pixel_gather.h"

namespace velmont {

/// The twist of an image: rings around its middle, inside the ellipse that touches its sides, turned to and fro. Places
/// are reckoned from the middle, with the shorter axis stretched until the ellipse is a circle.
struct Twist {
    double middleX, middleY;
    double stretchX, stretchY; ///< infinite for an image that is a line, of which the rings reach nothing
    double squaredRadius;
    double bandWidth;  ///< of a ring
    double rise, fall; ///< the parts of a ring in which the turn grows and fades
    double mostAngle;  ///< of the innermost ring
    int32_t lastColumn, lastRow;

    static Twist make(int width, int height, int ridges, int amount);
};

/// The pixels of row y from `first` on, `count` of a run: where each comes from, and where its mirror image through the
/// middle does, the last first.
using TwistRun = void (*)(const Twist &twist, int first, int y, std::size_t count, PixelPlaces &places,
                          PixelPlaces &mirrored);
/// The version for this twist and this processor.
TwistRun twistRun(const Twist &twist);

namespace kernels {

void twistRunPlain(const Twist &twist, int first, int y, std::size_t count, PixelPlaces &places,
                   PixelPlaces &mirrored);
/// Pixels `from` to `to` - 1 of the run alone.
void twistPartPlain(const Twist &twist, int first, int y, std::size_t count, std::size_t from, std::size_t to,
                    PixelPlaces &places, PixelPlaces &mirrored);
#if defined(__x86_64__)
/// What twistRunAvx2 turns by: the sine and cosine of four angles of up to 1000 radians, each within 2^-50. Its margin
/// about the borders of pixels rests on that.
void sineAndCosineAvx2(const double *angles, double *sines, double *cosines);
/// For positive band widths, up to 2^20 pixels a side and angles up to 1000.
void twistRunAvx2(const Twist &twist, int first, int y, std::size_t count, PixelPlaces &places,
                  PixelPlaces &mirrored);
#endif

} // namespace kernels

} // namespace velmont
