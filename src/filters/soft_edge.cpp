#include "core/scratch_block.h"
#include "filters/ray_kernels.h"
#include "filters/sample_frame.h"
#include <algorithm>
#include <array>
#include <cstring>
#include <velmont/filters.h>

namespace velmont {

namespace {

constexpr uint32_t kLargestRadius = 128;

/// The sums of all rays of a picture, row after row. A ray's sum is that of the ray before it in its own line, with
/// a sample more at one end and a sample less at the other. Outside the picture there is 0: rows stand among zeros,
/// and rays are followed `radius` pixels beyond the sides, whence some of them reach into the picture.
class RaySums {
public:
    RaySums(const Dib &source, int radius)
        : source_(source), width_(source.width()), height_(source.height()), radius_(radius),
          samples_(radius + 1), keptRows_(std::min<int64_t>(2 * samples_, height_)),
          rowBytes_(width_ + 4 * samples_), sumCount_(width_ + 2 * samples_)
    {
    }

    uint64_t scratchBytes() const
    {
        return kSumRows * static_cast<uint64_t>(sumCount_) * sizeof(uint16_t) +
               static_cast<uint64_t>((keptRows_ + 1) * rowBytes_);
    }
    /// All zeros before the first row.
    void useScratch(uint8_t *scratch)
    {
        std::memset(scratch, 0, static_cast<std::size_t>(scratchBytes()));
        sums_ = reinterpret_cast<uint16_t *>(scratch);
        rows_ = scratch + kSumRows * static_cast<std::size_t>(sumCount_) * sizeof(uint16_t);
        for (int64_t y = 0; y < radius_; ++y)
            enter(y);
        for (const Slant &slant : kSlants)
            if (!slant.isBackward)
                for (int64_t y = 0; y < radius_; ++y)
                    slide(slant, y - radius_);
    }

    /// Row y of the result; rows come in their order.
    void write(uint8_t *to, int64_t y)
    {
        enter(y + radius_);
        for (const Slant &slant : kSlants)
            slide(slant, y);
        uint16_t *const along = sumsOf(kSlants.size() * 2);
        kernels_.along(along, rowAt(y), static_cast<std::size_t>(width_ + radius_),
                       static_cast<std::size_t>(samples_));
        const uint16_t *const rays[kRays] = {along,
                                             along + radius_,
                                             slid(kSlants[0], y),
                                             slid(kSlants[1], y),
                                             slid(kSlants[2], y),
                                             slid(kSlants[3], y),
                                             slid(kSlants[4], y),
                                             slid(kSlants[5], y)};
        kernels_.smallest(to, source_.row(static_cast<int>(y)), rays, static_cast<std::size_t>(width_),
                          static_cast<int>(samples_));
    }

private:
    /// Rays that leave their row: to earlier rows or to later ones, and dx pixels aside from each row to the next
    /// that it reaches.
    struct Slant {
        std::size_t index;
        int dx;
        bool isBackward;
    };
    static constexpr std::array<Slant, 6> kSlants{
        {{0, 0, true}, {1, 0, false}, {2, -1, true}, {3, 1, false}, {4, 1, true}, {5, -1, false}}};
    /// The sums of a row and those of the one before for each of them, and those along a row.
    static constexpr std::size_t kSumRows = kSlants.size() * 2 + 1;

    /// Pixel 0 of a row of sums, which go from -samples to width + samples.
    uint16_t *sumsOf(std::size_t row) const
    {
        return sums_ + row * static_cast<std::size_t>(sumCount_) + samples_;
    }
    uint16_t *slid(const Slant &slant, int64_t y) const
    {
        return sumsOf(2 * slant.index + static_cast<std::size_t>(y & 1));
    }
    /// Pixel 0 of a row, with zeros for twice the samples on both sides.
    uint8_t *rowAt(int64_t y) const
    {
        const int64_t place = y < 0 || y >= height_ ? keptRows_ : y % keptRows_;
        return rows_ + place * rowBytes_ + 2 * samples_;
    }
    void enter(int64_t y)
    {
        if (y < height_)
            std::memcpy(rowAt(y), source_.row(static_cast<int>(y)), static_cast<std::size_t>(width_));
    }
    void slide(const Slant &slant, int64_t y)
    {
        // Backward a ray continues the one that lies a step ahead on its line, forward the one a step behind.
        const int64_t step = slant.isBackward ? slant.dx : -slant.dx;
        const uint8_t *const entering = slant.isBackward ? rowAt(y) : rowAt(y + radius_) + slant.dx * radius_;
        const uint8_t *const leaving =
            slant.isBackward ? rowAt(y - samples_) + slant.dx * samples_ : rowAt(y - 1) - slant.dx;
        kernels_.slide(slid(slant, y) - radius_, slid(slant, y - 1) - radius_ + step, entering - radius_,
                       leaving - radius_, static_cast<std::size_t>(width_ + 2 * radius_));
    }

    const Dib &source_;
    int64_t width_, height_;
    int64_t radius_, samples_;
    int64_t keptRows_; ///< rows of the picture that rays still need, in turn in as many places
    int64_t rowBytes_, sumCount_;
    RayKernels kernels_ = rayKernels();
    uint16_t *sums_ = nullptr;
    uint8_t *rows_ = nullptr; ///< those kept, and behind them one of zeros for all outside the picture
};

} // namespace

} // namespace velmont

using namespace velmont;

void *ProcessSoftEdge(void *dib, tagParamSoftEdge *param)
{
    if (!param || param->radius < 1 || param->radius > kLargestRadius)
        return nullptr;
    EffectFrame frame(dib, {.droppedPoll = false, .finalReport = false}); // cursors only, and no row polls
    const std::optional<Dib> source = withRowsBehindAllColors(frame, {8});
    if (!source)
        return nullptr;
    const ResultPlan plan = planOnSamples(*source);
    if (!frame.allocate(plan))
        return nullptr;
    RaySums sums(*source, static_cast<int>(param->radius));
    ScratchBlock scratch(sums.scratchBytes());
    if (!scratch.bytes())
        return frame.giveUp();
    frame.open(plan.headerBytes);
    sums.useScratch(scratch.bytes());
    for (int y = 0; y < source->height(); ++y) {
        sums.write(frame.result().row(y), y);
        frame.clearPadding(y);
    }
    scratch.release();
    return frame.finish();
}
