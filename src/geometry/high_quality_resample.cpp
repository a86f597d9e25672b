#include "core/scratch_block.h"
#include "geometry/high_quality_size.h"
#include "geometry/resized_frame.h"
#include "geometry/tap_table.h"
#include "geometry/turn_kernels.h"
#include "platform/services.h"
#include <algorithm>
#include <cstring>
#include <velmont/environment.h>
#include <velmont/geometry.h>

namespace velmont {

namespace {

/// Bytes behind the rows of the result that are no part of it.
constexpr std::size_t kSpareBytes = 10;

/// Rows that are filtered together, each sample's bytes of all of them side by side.
constexpr std::size_t kRowsTogether = 32;
/// Bytes of a strip of columns.
constexpr std::size_t kStripBytes = 4096;

/// Hosts see each step reported before it is polled.
constexpr RowCadence kRowPass{.reportEvery = 1, .percentSpan = 50, .reportFirst = true};
constexpr RowCadence kColumnPass{.reportEvery = 1, .percentFrom = 50, .percentSpan = 50, .reportFirst = true};

struct Request {
    int newWidth, newHeight;
    bool alignCorners, showCursor;
};

/// The source's rows at the width of the result.
struct Widened {
    uint8_t *first;
    std::size_t stride;

    uint8_t *row(int y) const { return first + static_cast<std::size_t>(y) * stride; }
};

/// The first pass, along the rows. They are turned so that a run of bytes has one sample of each, filtered as runs and
/// turned back.
class RowPass {
public:
    RowPass(const Dib &source, int newWidth)
        : source_(source), newWidth_(newWidth), channels_(static_cast<std::size_t>(source.bitCount()) / 8),
          samples_(channels_ * static_cast<std::size_t>(source.width())),
          newSamples_(channels_ * static_cast<std::size_t>(newWidth)),
          scratch_(kRowsTogether * (uint64_t{samples_} + newSamples_))
    {
        // What the last rows leave free is filtered too and dropped.
        if (scratch_.bytes())
            std::memset(scratch_.bytes(), 0, kRowsTogether * samples_);
    }

    explicit operator bool() const { return scratch_.bytes() != nullptr; }
    void release() { scratch_.release(); }

    void filter(const Widened &to, int first, const TapTable &table) const
    {
        const auto rows = std::min(kRowsTogether, static_cast<std::size_t>(source_.height() - first));
        constexpr auto kStep = static_cast<std::ptrdiff_t>(kRowsTogether);
        uint8_t *const turned = scratch_.bytes(), *const filtered = turned + kRowsTogether * samples_;
        transpose_({turned, kStep}, {source_.row(first), static_cast<std::ptrdiff_t>(source_.stride())},
                   samples_, rows);
        const std::size_t run = kRowsTogether * channels_;
        for (int x = 0; x < newWidth_; ++x)
            sum_(filtered + static_cast<std::size_t>(x) * run, turned, run, table[x], run);
        transpose_({to.row(first), static_cast<std::ptrdiff_t>(to.stride)}, {filtered, kStep}, rows,
                   newSamples_);
    }

private:
    const Dib &source_;
    int newWidth_;
    std::size_t channels_, samples_, newSamples_;
    ScratchBlock scratch_;
    Transposition transpose_ = turnKernels(8).transpose;
    WeightedTaps sum_ = weightedTaps();
};

/// Rows are filtered at the first one's poll; what an abort leaves undone is never seen.
bool filterRows(EffectFrame &frame, const Widened &to, const Request &request)
{
    const Dib &source = frame.source();
    RowPass pass(source, request.newWidth);
    TapTable table(request.newWidth, source.width(), request.alignCorners);
    if (!pass || !table)
        return false;
    for (const int y : frame.rows(kRowPass))
        if (static_cast<std::size_t>(y) % kRowsTogether == 0)
            pass.filter(to, y, table);
    return true;
}

/// The second pass, down the columns, in strips that start before or at the column that is polled.
void filterColumns(EffectFrame &frame, const Widened &from, const TapTable &table)
{
    const Dib &result = frame.result();
    const std::size_t channels = static_cast<std::size_t>(result.bitCount()) / 8;
    const std::size_t bytes = channels * static_cast<std::size_t>(result.width());
    const WeightedTaps sum = weightedTaps();
    std::size_t done = 0;
    for (const int x : frame.steps(result.width(), kColumnPass))
        while (done < bytes && done < (static_cast<std::size_t>(x) + 1) * channels) {
            const std::size_t count = std::min(kStripBytes, bytes - done);
            for (int y = 0; y < result.height(); ++y)
                sum(result.row(y) + done, from.first + done, from.stride, table[y], count);
            done += count;
        }
}

bool fits31Bits(uint64_t bytes)
{
    return bytes + kSpareBytes <= INT32_MAX;
}

/// The result's plan; nothing for other depths than 8 and 24 bits. Hosts cannot hold blocks beyond 31 bits, be it the
/// result or the one between the passes.
std::optional<ResultPlan> planFiltered(const Dib &source, int newWidth, int newHeight)
{
    if (source.bitCount() != 8 && source.bitCount() != 24)
        return std::nullopt;
    auto plan = planOfSize(source, newWidth, newHeight, Contents::Overwritten);
    if (!plan || !fits31Bits(plan->layout.totalBytes()) ||
        !fits31Bits(uint64_t{plan->layout.stride} * static_cast<unsigned>(source.height())))
        return std::nullopt;
    plan->minimumBytes = plan->layout.totalBytes() + kSpareBytes;
    return plan;
}

/// Both passes. Where memory is short the cursor stays as it is and nothing is reported: hosts rely on it.
void *filter(EffectFrame &frame, const ResultPlan &plan, const Request &request)
{
    const Dib &source = frame.source();
    ScratchBlock between(plan.layout.stride * static_cast<std::size_t>(source.height()) + kSpareBytes);
    const Widened widened{between.bytes(), plan.layout.stride};
    if (!between.bytes() || !filterRows(frame, widened, request))
        return nullptr;
    // An abort in the first pass is not seen before the second.
    if (!frame.allocate(plan))
        return nullptr;
    TapTable table(request.newHeight, source.height(), request.alignCorners);
    if (!table)
        return frame.giveUp();
    openResized(frame);
    Dib &result = frame.result();
    std::memset(result.block() + plan.layout.totalBytes(), 0, kSpareBytes);
    for (int y = 0; y < result.height() && !frame.isAborted(); ++y)
        frame.clearPadding(y);
    filterColumns(frame, widened, table);
    table.release();
    between.release();
    void *const handle = frame.finish();
    if (request.showCursor)
        showArrowCursor();
    return handle;
}

} // namespace

bool resamplesHighQuality(const Dib &source, int newWidth, int newHeight)
{
    return planFiltered(source, newWidth, newHeight).has_value();
}

} // namespace velmont

using namespace velmont;

void *ProcessResampleHighQuality(void *dib, int newWidth, int newHeight, int alignCorners, int showCursor)
{
    EffectFrame frame(dib, {.waitCursor = false, .droppedPoll = false, .arrowCursor = false});
    const auto plan =
        frame.hasSource() ? planFiltered(frame.source(), newWidth, newHeight) : std::optional<ResultPlan>();
    if (!plan)
        return nullptr;
    const Request request{newWidth, newHeight, alignCorners != 0, showCursor != 0};
    if (request.showCursor)
        showWaitCursor();
    AbortImageProcessing(); // its answer is dropped: hosts rely on the call
    return filter(frame, *plan, request);
}
