#include "core/scratch_block.h"
#include "filters/motion_kernels.h"
#include "filters/sample_frame.h"
#include <algorithm>
#include <array>
#include <cstring>
#include <optional>
#include <velmont/filters.h>

namespace velmont {

namespace {

/// From one sample of a ray to the next, in stored order.
struct Heading {
    int dx, dy;

    bool isDiagonal() const { return dx != 0 && dy != 0; }
};

/// By direction, 1 to 8.
constexpr std::array<Heading, 8> kHeadings{
    {{1, -1}, {0, -1}, {-1, -1}, {1, 0}, {-1, 0}, {1, 1}, {0, 1}, {-1, 1}}};

/// Diagonal rays, row after row in their own direction. The sum of a ray is that of the one behind it, in the row
/// before, without that one's first sample and with one more at its end; rays end at the edge of the picture. The
/// sums stay where they are while the rows move on beneath them, so that their places go round.
class DiagonalRays {
public:
    /// `sums` has a number for each sample of a row.
    DiagonalRays(const Dib &source, Heading heading, int distance, uint16_t *sums)
        : source_(source), heading_(heading), distance_(distance), channels_(samplesPerPixel(source)),
          width_(source.width()), height_(source.height()), sums_(sums)
    {
    }

    /// The place in the image of row t of the walk.
    int rowAt(int t) const { return heading_.dy > 0 ? t : height_ - 1 - t; }

    /// Row t of the walk; all before it have been written.
    void write(uint8_t *to, int t)
    {
        const int divisor = std::min(distance_, height_ - t);
        if (divisor == 1) {
            std::memcpy(to, row(t), bytesOf(width_));
            return; // nothing follows but rows that are copied too
        }
        // The pixels whose rays do not reach the side, and those whose rays do.
        const int fullFirst = heading_.dx > 0 ? 0 : distance_ - 1, full = width_ - distance_ + 1;
        const int cutFirst = heading_.dx > 0 ? full : 0, cut = width_ - full;
        if (t == 0) {
            begin();
            slide(to, t, fullFirst, full, nullptr, 0, nullptr, divisor);
        } else {
            const uint8_t *const entering = t + distance_ - 1 < height_ ? row(t + distance_ - 1) : nullptr;
            const uint8_t *const leaving = row(t - 1);
            // The first pixel of the row has no ray behind it.
            slide(to, t, fullFirst + (heading_.dx > 0 ? 1 : 0), full - 1, entering, distance_ - 1, leaving,
                  divisor);
            slide(nullptr, t, cutFirst, cut, nullptr, 0, leaving, divisor);
            startRay(to, t, heading_.dx > 0 ? 0 : width_ - 1, divisor);
        }
        for (int x = cutFirst; x < cutFirst + cut; ++x) {
            const int samples = std::min(divisor, heading_.dx > 0 ? width_ - x : x + 1);
            for (std::size_t channel = 0; channel < channels_; ++channel)
                to[bytesOf(x) + channel] = static_cast<uint8_t>(sumsOf(t, x)[channel] / samples);
        }
    }

private:
    std::size_t bytesOf(int pixels) const { return static_cast<std::size_t>(pixels) * channels_; }
    const uint8_t *row(int t) const { return source_.row(rowAt(t)); }
    int placeOf(int t, int x) const
    {
        const int turned = heading_.dx > 0 ? width_ - t % width_ : t % width_;
        const int64_t place = int64_t{x} + turned;
        return static_cast<int>(place % width_);
    }
    uint16_t *sumsOf(int t, int x) { return sums_ + bytesOf(placeOf(t, x)); }

    /// The sums of the first row.
    void begin()
    {
        std::memset(sums_, 0, bytesOf(width_) * sizeof *sums_);
        for (int k = 0; k < distance_; ++k)
            kernels_.slide(nullptr, sums_ + bytesOf(heading_.dx > 0 ? 0 : k),
                           row(k) + bytesOf(heading_.dx > 0 ? k : 0), nullptr, bytesOf(width_ - k),
                           distance_);
    }

    /// The pixels of row t from `first` on, where their sums lie in one piece after the other.
    void slide(uint8_t *to, int t, int first, int count, const uint8_t *entering, int ahead,
               const uint8_t *leaving, int divisor)
    {
        for (int done = 0; done < count;) {
            const int x = first + done, place = placeOf(t, x);
            const int piece = std::min(count - done, width_ - place);
            kernels_.slide(to ? to + bytesOf(x) : nullptr, sums_ + bytesOf(place),
                           entering ? entering + bytesOf(x + heading_.dx * ahead) : nullptr,
                           leaving ? leaving + bytesOf(x - heading_.dx) : nullptr, bytesOf(piece), divisor);
            done += piece;
        }
    }

    /// A ray that none leads to, sample by sample.
    void startRay(uint8_t *to, int t, int x, int samples)
    {
        uint16_t *const sums = sumsOf(t, x);
        for (std::size_t channel = 0; channel < channels_; ++channel) {
            int sum = 0;
            for (int k = 0; k < samples; ++k)
                sum += row(t + k)[bytesOf(x + k * heading_.dx) + channel];
            sums[channel] = static_cast<uint16_t>(sum);
            to[bytesOf(x) + channel] = static_cast<uint8_t>(sum / samples);
        }
    }

    const Dib &source_;
    Heading heading_;
    int distance_;
    std::size_t channels_;
    int width_, height_;
    uint16_t *sums_;
    MotionKernels kernels_ = motionKernels();
};

void blurDiagonally(EffectFrame &frame, Heading heading, int distance, uint16_t *sums)
{
    const int height = frame.source().height(), whole = height - distance;
    DiagonalRays rays(frame.source(), heading, distance, sums);
    const auto write = [&](int t) { rays.write(frame.result().row(rays.rowAt(t)), t); };
    for (int t : frame.steps(whole, {.percentOf = height}))
        write(t);
    for (int t : frame.steps(distance, {.reportEvery = 0})) // hosts see no progress here
        write(whole + t);
}

void blurRows(EffectFrame &frame, Heading heading, int distance)
{
    const Dib &source = frame.source();
    const MotionKernels kernels = motionKernels();
    for (int y : frame.rows())
        kernels.row(frame.result().row(y), source.row(y), static_cast<std::size_t>(source.width()),
                    samplesPerPixel(source), distance, heading.dx > 0);
}

void blurColumns(EffectFrame &frame, Heading heading, int distance)
{
    const Dib &source = frame.source();
    const MotionKernels kernels = motionKernels();
    const int start = heading.dy > 0 ? 0 : source.height() - 1;
    const std::ptrdiff_t step = heading.dy * static_cast<std::ptrdiff_t>(source.stride());
    inStrips(frame, {}, kRayStrip, [&](std::size_t first, std::size_t bytes) {
        kernels.columns(frame.result().row(start) + first, source.row(start) + first, step, source.height(),
                        bytes, distance);
    });
}

} // namespace

} // namespace velmont

using namespace velmont;

void *ProcessMotionBlur(void *dib, tagParamMotionBlur *param)
{
    if (!param || param->direction < 1 || param->direction > 8 || param->distance < 2 ||
        param->distance > kLongestRay)
        return nullptr;
    const Heading heading = kHeadings[static_cast<std::size_t>(param->direction - 1)];
    int distance = param->distance;
    EffectFrame frame(dib);
    if (!servesSamples(frame))
        return nullptr;
    const Dib &source = frame.source();
    // Cut for all directions alike, so that a ray along the longer side is shortened by the other one too.
    if (source.width() <= distance || source.height() <= distance)
        distance = std::min(source.width(), source.height());
    const ResultPlan plan = planOnSamples(source);
    if (!frame.allocate(plan))
        return nullptr;
    std::optional<ScratchBlock> scratch;
    if (heading.isDiagonal()) {
        scratch.emplace(uint64_t{sampleBytes(source)} * sizeof(uint16_t));
        if (!scratch->bytes())
            return frame.giveUp();
    }
    frame.open(plan.headerBytes);
    if (heading.isDiagonal())
        blurDiagonally(frame, heading, distance, reinterpret_cast<uint16_t *>(scratch->bytes()));
    else if (heading.dx != 0)
        blurRows(frame, heading, distance);
    else
        blurColumns(frame, heading, distance);
    if (!frame.isAborted())
        frame.clearPadding();
    scratch.reset();
    return frame.finish();
}
