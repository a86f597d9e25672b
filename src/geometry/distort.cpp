#include "core/color_index.h"
#include "filters/sample_frame.h"
#include "geometry/distort_kernels.h"
#include "geometry/pixel_access.h"
#include "geometry/resized_frame.h"
#include <algorithm>
#include <array>
#include <velmont/geometry.h>

namespace velmont {

namespace {

// Whole numbers of 32 bits that wrap, as hosts see them for points far apart.
int32_t plus(int32_t a, int32_t b)
{
    return static_cast<int32_t>(static_cast<uint32_t>(a) + static_cast<uint32_t>(b));
}
int32_t minus(int32_t a, int32_t b)
{
    return static_cast<int32_t>(static_cast<uint32_t>(a) - static_cast<uint32_t>(b));
}
int32_t times(int32_t a, int32_t b)
{
    return static_cast<int32_t>(static_cast<uint32_t>(a) * static_cast<uint32_t>(b));
}
tagPOINT minus(tagPOINT a, tagPOINT b)
{
    return {minus(a.x, b.x), minus(a.y, b.y)};
}
int32_t cross(tagPOINT a, tagPOINT b)
{
    return minus(times(a.x, b.y), times(a.y, b.x));
}

/// The four corners with y upwards, and the rectangle around them.
struct Quadrilateral {
    std::array<tagPOINT, 4> corners;
    tagPOINT lowest;
    int32_t width, height;

    explicit Quadrilateral(const tagPOINT *points)
    {
        for (std::size_t i = 0; i < corners.size(); ++i)
            corners[i] = {points[i].x, minus(0, points[i].y)};
        const auto byX = [](tagPOINT a, tagPOINT b) { return a.x < b.x; };
        const auto byY = [](tagPOINT a, tagPOINT b) { return a.y < b.y; };
        const auto x = std::minmax_element(corners.begin(), corners.end(), byX);
        const auto y = std::minmax_element(corners.begin(), corners.end(), byY);
        lowest = {x.first->x, y.first->y};
        width = minus(x.second->x, lowest.x);
        height = minus(y.second->y, lowest.y);
    }
};

/// How the quadrilateral is mapped onto the source. Two products and no projection, so that the sides away from corner 1
/// bend: hosts rely on it.
class Distortion {
public:
    Distortion(const Quadrilateral &target, const Dib &source) : origin_(target.corners[1])
    {
        along_ = minus(target.corners[2], origin_);
        const tagPOINT across = minus(target.corners[3], origin_);
        up_ = minus(target.corners[0], origin_);
        first_ = minus(target.lowest, origin_);
        // Points on one line make infinities or what is not a number; such places lie outside.
        const double d = cross(along_, up_), e = cross(across, up_), f = cross(across, along_);
        const double width = source.width(), height = source.height();
        map_ = {.x0 = width / d,
                .xu = (d - e) * width / (e * f * d),
                .y0 = height / -d,
                .yv = (-d - f) * height / (-d * e * f),
                .uStep = along_.y,
                .vStep = up_.y,
                .width = source.width(),
                .height = source.height()};
    }

    /// The places of `count` pixels of a row of the result, from `column` on.
    void places(DistortPlaces &places, int row, int column, int count) const
    {
        const int32_t t = plus(row, first_.y), x = plus(column, first_.x);
        kernels_.places(places, map_, minus(times(x, along_.y), times(t, along_.x)),
                        minus(times(x, up_.y), times(t, up_.x)), count);
    }
    const DistortKernels &kernels() const { return kernels_; }

private:
    tagPOINT origin_, along_, up_;
    tagPOINT first_; ///< the result's first pixel from the origin
    DistortMap map_;
    DistortKernels kernels_ = distortKernels();
};

/// Hands out the runs of a row: use(places, first, count).
template <typename Use>
void forRuns(const Distortion &distortion, int row, int width, Use use)
{
    DistortPlaces places;
    for (int first = 0; first < width; first += kDistortRun) {
        const int count = std::min(kDistortRun, width - first);
        distortion.places(places, row, first, count);
        use(places, first, count);
    }
}

void blendRow(uint8_t *to, const Dib &source, const Distortion &distortion, int row, int width,
              PixelValue background)
{
    const DistortSource from{source.row(0), source.stride(), source.width(), source.height()};
    const auto blend = source.bitCount() == 24 ? distortion.kernels().blend24 : distortion.kernels().blend8;
    forRuns(distortion, row, width, [&](const DistortPlaces &places, int first, int count) {
        blend(to + samplesPerPixel(source) * static_cast<std::size_t>(first), from, places, count,
              background);
    });
}

template <int bits>
void nearestRow(uint8_t *to, const Dib &source, const Distortion &distortion, int row, int width,
                PixelValue background)
{
    PixelWriter<bits> writer(to);
    forRuns(distortion, row, width, [&](const DistortPlaces &places, int, int count) {
        for (int i = 0; i < count; ++i)
            writer.put(places.column[i] < 0 ? background
                                            : pixelAt<bits>(source.row(places.row[i]),
                                                            static_cast<std::size_t>(places.column[i])));
    });
    writer.endRow();
}

} // namespace

} // namespace velmont

using namespace velmont;

void *ProcessDistort(void *dib, tagPOINT *corners, unsigned long backgroundColor)
{
    if (!corners)
        return nullptr;
    const Quadrilateral target(corners);
    EffectFrame frame(dib);
    if (!frame.serves({1, 4, 8, 24}))
        return nullptr;
    const Dib &source = frame.source();
    const auto plan = planOfSize(source, target.width, target.height, Contents::Overwritten);
    if (!plan)
        return nullptr;
    const PixelValue background = source.bitCount() == 24
                                      ? pixelOfColor(backgroundColor)
                                      : static_cast<PixelValue>(colorIndex(source, backgroundColor));
    if (!frame.allocate(*plan))
        return nullptr;
    openResized(frame);
    const Distortion distortion(target, source);
    const bool isBlended = source.bitCount() == 24 || source.isGray();
    for (const int y : frame.steps(target.height)) {
        uint8_t *const to = frame.result().row(y);
        if (isBlended)
            blendRow(to, source, distortion, y, target.width, background);
        else
            withDepth(source.bitCount(), [&](auto bits) {
                nearestRow<bits()>(to, source, distortion, y, target.width, background);
            });
        frame.clearPadding(y);
    }
    return frame.finish();
}
