#include "core/scratch_block.h"
#include "filters/sample_frame.h"
#include "filters/smart_kernels.h"
#include <algorithm>
#include <array>
#include <cmath>
#include <cstring>
#include <optional>
#include <velmont/filters.h>

namespace velmont {

namespace {

enum Mode { kSmooth = 1, kEdges = 2, kEdgesOverSmooth = 3 };

constexpr int kEdgeLevels = 2048; ///< edges are weaker than that
constexpr int kWeakestShown = 10; ///< edges below it do not count among the strongest
/// Levels that boxes may be tried at: the working radius is at most 12.5, and levels are 6 apart.
constexpr int kMostLevels = 2;

/// Rounded toward zero; what does not fit becomes the nearest number that does, and no number 0.
int truncated(double value)
{
    if (std::isnan(value))
        return 0;
    return static_cast<int>(std::clamp(value, double{INT32_MIN}, double{INT32_MAX}));
}

/// The record's numbers, on the way that hosts' pictures depend on: floats where it says so, doubles else.
struct Settings {
    float threshold; ///< a tenth of the record's
    float share;     ///< of the strongest edges that are shown
    float reach;     ///< the working radius, at most 12.5; any negative number, or none
    int smallestSide;
    int smoothThreshold; ///< edges above it are kept from boxes, and differences from means; at most 300

    explicit Settings(const tagSmartBlurParam &param)
    {
        threshold = static_cast<float>(param.threshold * double{0.1f});
        const auto radius = static_cast<float>(param.radius * double{0.1f});
        double t = (1 - radius * 0.005) * radius;
        t = (1 - t * 0.01) * t;
        t = (1 - t * 0.02) * t;
        reach = static_cast<float>(std::max(t, -1e9)); // any negative number is as good
        smallestSide = truncated(t + 0.5) + 2;
        smoothThreshold = truncated((1 - threshold * 0.005) * threshold * 6.0);
        share = static_cast<float>(radius * double{0.01f});
    }

    /// Edges above this strength are shown, given the level of the strongest ones.
    int shownAbove(int level) const { return std::max(truncated((threshold * 0.005 + 0.5) * level), 1); }
    /// The levels that a box is looked for at; a negative reach has none.
    int levels() const { return reach > 0 ? -truncated(reach * double{-0.16666667f}) : 0; }
    /// The box of a level, the largest first.
    SmartBox box(int level, int step) const
    {
        const double side = reach - 6.0 * level;
        return {.back = truncated((side - 1.0) * 0.5),
                .forward = truncated(side * 0.5),
                .step = step,
                .choice = static_cast<uint8_t>(level)};
    }
    /// The box of pixels near edges.
    SmartBox nearBox(int step) const
    {
        const double scaled = reach * double{0.8f};
        const int side = truncated((scaled > 3.0 ? scaled : 3.0) + 0.5);
        return {.back = (side - 1) / 2,
                .forward = side / 2,
                .step = step,
                .isPicky = true,
                .limit = smoothThreshold / 3, // three times a difference may come to the threshold
                .choice = static_cast<uint8_t>(levels())};
    }
};

/// The working planes of one call, and the edges in them.
class EdgePicture {
public:
    static constexpr uint64_t kBytesPerPixel = 7;

    /// `bytes` has kBytesPerPixel for each pixel of the source.
    EdgePicture(const Dib &source, uint8_t *bytes, const SmartKernels &kernels)
        : pixels_(static_cast<std::size_t>(source.width()) * static_cast<std::size_t>(source.height())),
          edges_(reinterpret_cast<uint16_t *>(bytes)),
          mask_(bytes + 6 * pixels_), planes_{{bytes + 2 * pixels_, bytes + 3 * pixels_, bytes + 4 * pixels_},
                                              bytes + 5 * pixels_,
                                              source.width(),
                                              source.height()}
    {
        for (int y = 0; y < source.height(); ++y)
            kernels.split(planes_, y, source.row(y));
        findEdges();
    }

    const SmartPlanes &planes() const { return planes_; }
    const uint16_t *edges(int y) const { return edges_ + planes_.at(0, y); }
    const uint8_t *mask(int y) const { return mask_ + planes_.at(0, y); }

    void markEdgesAbove(int threshold)
    {
        for (std::size_t i = 0; i < pixels_; ++i)
            mask_[i] = edges_[i] > threshold ? 1 : 0;
    }

    /// The strength that as many of the edges exceed as the share asks for.
    int levelOf(float share) const
    {
        std::array<uint64_t, kEdgeLevels> counts{};
        for (std::size_t i = 0; i < pixels_; ++i)
            ++counts[edges_[i]];
        std::fill_n(counts.begin(), kWeakestShown, uint64_t{0});
        std::array<float, kEdgeLevels> bins;
        double total = 0;
        for (std::size_t i = 0; i < bins.size(); ++i) {
            bins[i] = static_cast<float>(std::min(counts[i], kMostCounted));
            total += bins[i];
        }
        if (total > 1.0)
            for (float &bin : bins)
                bin = static_cast<float>(bin / total);
        double sum = 0;
        for (int level = kEdgeLevels - 1; level >= 0; --level) {
            sum += bins[static_cast<std::size_t>(level)];
            if (sum > share)
                return level;
        }
        return 0;
    }

private:
    /// Bins are floats that count one by one: hosts rely on them to stop where a float does.
    static constexpr uint64_t kMostCounted = uint64_t{1} << 24;

    void findEdges()
    {
        const int width = planes_.width, height = planes_.height;
        if (width < 3 || height < 3) {
            std::fill_n(edges_, pixels_, uint16_t{0});
            return;
        }
        const auto row = [&](int y) { return edges_ + planes_.at(0, y); };
        for (int y = 1; y < height - 1; ++y) {
            uint16_t *const edges = row(y);
            smartEdges(edges, planes_, y);
            edges[0] = edges[1];
            edges[width - 1] = edges[width - 2];
        }
        std::copy_n(row(1), width, row(0));
        std::copy_n(row(height - 2), width, row(height - 1));
    }

    std::size_t pixels_;
    uint16_t *edges_;
    uint8_t *mask_;
    SmartPlanes planes_;
};

/// Says of each pixel of a row which box it gets: the first one without an edge in it, or the last, for pixels near
/// edges.
class BoxChooser {
public:
    /// `padded` has rowBytes() bytes.
    BoxChooser(const EdgePicture &picture, const Settings &settings, uint8_t *padded)
        : picture_(picture), padded_(padded), levels_(settings.levels())
    {
        for (int level = 0; level < levels_; ++level)
            boxes_[static_cast<std::size_t>(level)] = settings.box(level, 1);
        std::memset(padded_, 0, rowBytes(picture.planes().width));
    }
    static uint64_t rowBytes(int width) { return static_cast<uint64_t>(width) + 2 * kPad; }

    void choose(uint8_t *choices, int y)
    {
        const auto width = static_cast<std::size_t>(picture_.planes().width);
        std::memset(choices, levels_, width);
        for (int level = levels_ - 1; level >= 0; --level)
            chooseWhereFree(choices, y, boxes_[static_cast<std::size_t>(level)], static_cast<uint8_t>(level));
    }

private:
    static constexpr std::size_t kPad = 8;

    void chooseWhereFree(uint8_t *__restrict choices, int y, const SmartBox &box, uint8_t level)
    {
        const SmartPlanes &planes = picture_.planes();
        const auto width = static_cast<std::size_t>(planes.width);
        uint8_t *__restrict const columns = padded_ + kPad;
        const int top = std::max(y - box.back, 0), bottom = std::min(y + box.forward, planes.height - 1);
        std::memcpy(columns, picture_.mask(top), width);
        for (int row = top + 1; row <= bottom; ++row) {
            const uint8_t *const mask = picture_.mask(row);
            for (std::size_t x = 0; x < width; ++x)
                columns[x] |= mask[x];
        }
        const uint8_t *const first = columns - box.back;
        const int side = box.back + 1 + box.forward;
        constexpr std::size_t kPart = 256;
        for (std::size_t start = 0; start < width; start += kPart) {
            const std::size_t count = std::min(kPart, width - start);
            uint8_t edges[kPart] = {};
            for (int i = 0; i < side; ++i)
                for (std::size_t x = 0; x < count; ++x)
                    edges[x] |= first[start + x + static_cast<std::size_t>(i)];
            for (std::size_t x = 0; x < count; ++x)
                choices[start + x] = edges[x] != 0 ? choices[start + x] : level;
        }
    }

    const EdgePicture &picture_;
    uint8_t *padded_;
    int levels_;
    std::array<SmartBox, kMostLevels> boxes_;
};

/// The smoothed picture, row by row.
class Smoother {
public:
    /// `rows` has rowsBytes() bytes.
    Smoother(EdgePicture &picture, const Settings &settings, int step, const SmartKernels &kernels,
             uint8_t *rows)
        : picture_(picture), kernels_(kernels), mean_(rows), choices_(rows + picture.planes().width),
          chooser_(picture, settings, rows + 2 * std::size_t(picture.planes().width)),
          levels_(settings.levels()), changesFar_(step >= 1),
          changesNear_(step >= 1 && settings.smoothThreshold >= 0)
    {
        for (int level = 0; level < levels_; ++level)
            boxes_[static_cast<std::size_t>(level)] = settings.box(level, step);
        boxes_[static_cast<std::size_t>(levels_)] = settings.nearBox(step);
        picture.markEdgesAbove(settings.smoothThreshold);
    }
    static uint64_t rowsBytes(int width)
    {
        return 2 * static_cast<uint64_t>(width) + BoxChooser::rowBytes(width);
    }

    void write(uint8_t *to, const uint8_t *from, int y)
    {
        const SmartPlanes &planes = picture_.planes();
        const auto width = static_cast<std::size_t>(planes.width);
        const uint8_t *const gray = planes.gray + planes.at(0, y);
        std::memcpy(mean_, gray, width);
        chooser_.choose(choices_, y);
        for (int level = 0; level <= levels_; ++level)
            if (level < levels_ ? changesFar_ : changesNear_)
                kernels_.means(mean_, choices_, planes, y, boxes_[static_cast<std::size_t>(level)]);
        kernels_.shift(to, from, mean_, gray, width);
    }

private:
    const EdgePicture &picture_;
    const SmartKernels &kernels_;
    uint8_t *mean_, *choices_;
    BoxChooser chooser_;
    int levels_;
    bool changesFar_,
        changesNear_; ///< a step below 1 leaves the pixels, and so does a negative threshold near edges
    std::array<SmartBox, kMostLevels + 1> boxes_;
};

/// White over the edges stronger than `threshold`.
void whitenEdges(uint8_t *to, const uint16_t *edges, int width, int threshold)
{
    for (int x = 0; x < width; ++x)
        if (edges[x] > threshold)
            std::memset(to + 3 * std::ptrdiff_t{x}, 255, 3);
}

} // namespace

} // namespace velmont

using namespace velmont;

void *ProcessSmartBlur(void *dib, tagSmartBlurParam *param)
{
    if (!param)
        return nullptr;
    const Settings settings(*param);
    const int mode = param->mode, step = param->step;
    // Hosts are not asked and told nothing while this runs.
    EffectFrame frame(dib, {.droppedPoll = false, .finalReport = false});
    if (!frame.serves({24}))
        return nullptr;
    const Dib &source = frame.source();
    const int width = source.width();
    // What is not written stays as the block came: the padding, and the pixels in an unknown mode.
    if (!frame.allocate({.layout = source.layout(), .contents = Contents::Overwritten, .flags = 0}))
        return nullptr;
    // Hosts find both blocks locked after that, the result lost and the wait cursor on.
    if (width < settings.smallestSide || source.height() < settings.smallestSide)
        return frame.abandon();
    if (mode != kSmooth && mode != kEdges && mode != kEdgesOverSmooth) {
        frame.open(kHeaderBytes);
        return frame.finishLocked();
    }
    const uint64_t planeBytes =
        EdgePicture::kBytesPerPixel * static_cast<uint64_t>(width) * static_cast<uint64_t>(source.height());
    ScratchBlock scratch(planeBytes + Smoother::rowsBytes(width));
    if (!scratch.bytes())
        return frame.giveUp();
    frame.open(kHeaderBytes);
    const SmartKernels kernels = smartKernels();
    EdgePicture picture(source, scratch.bytes(), kernels);
    std::optional<Smoother> smoother;
    if (mode != kEdges)
        smoother.emplace(picture, settings, step, kernels, scratch.bytes() + planeBytes);
    const int shownAbove =
        mode != kSmooth ? settings.shownAbove(picture.levelOf(settings.share)) : kEdgeLevels;
    for (int y = 0; y < source.height(); ++y) {
        uint8_t *const to = frame.result().row(y);
        if (smoother)
            smoother->write(to, source.row(y), y);
        else
            std::memset(to, 0, sampleBytes(source));
        if (mode != kSmooth)
            whitenEdges(to, picture.edges(y), width, shownAbove);
    }
    scratch.release();
    return frame.finishLocked();
}
