#include "core/scratch_block.h"
#include "filters/sample_frame.h"
#include "filters/two_passes.h"
#include "filters/user_kernels.h"
#include <algorithm>
#include <velmont/filters.h>

namespace velmont {

namespace {

/// A coefficient times a level over the divisor in steps of 2^-18, up from a half and then toward zero: a negative
/// product loses a step. Hosts rely on it. What exceeds 32 bits is held to them.
int32_t productOf(int32_t coefficient, int level, int32_t divisor)
{
    const double whole = static_cast<double>(level << UserTaps::kFractionBits) * coefficient;
    return static_cast<int32_t>(std::clamp(whole / divisor + 0.5, double{INT32_MIN}, double{INT32_MAX}));
}

/// The record's taps other than 0, turned upside down: its first row is that of the highest stored row.
UserTaps userTaps(const tagParamUserFilter &record, int32_t *products)
{
    constexpr int kFarthestBias = 1 << 20;
    UserTaps taps;
    taps.divisor = record.divisor;
    taps.bias = std::clamp(record.bias, -kFarthestBias, kFarthestBias);
    taps.products = products;
    for (int place = 0; place < UserTaps::kMost; ++place) {
        const int row = place / UserTaps::kRows, column = place % UserTaps::kRows;
        const int32_t coefficient = record.kernel[(UserTaps::kRows - 1 - row) * UserTaps::kRows + column];
        if (coefficient == 0)
            continue;
        for (int level = 0; level < 256; ++level)
            products[256 * taps.count + level] = productOf(coefficient, level, record.divisor);
        taps.coefficient[taps.count] = coefficient;
        taps.place[taps.count] = place;
        ++taps.count;
    }
    return taps;
}

/// The five rows around one, each with the pixels that repeat its ends.
class RowsAround {
public:
    static constexpr int kReach = UserTaps::kRows / 2;

    RowsAround(const Dib &source, uint8_t *memory)
        : source_(source), memory_(memory), channels_(samplesPerPixel(source)), widened_(widenedBytes(source))
    {
    }
    static std::size_t widenedBytes(const Dib &source)
    {
        return sampleBytes(source) + 2 * kReach * samplesPerPixel(source);
    }
    static uint64_t bytes(const Dib &source) { return uint64_t{UserTaps::kRows} * widenedBytes(source); }

    /// Moves to row y; rows are taken in their order.
    void moveTo(int y)
    {
        for (; ready_ < std::min(y + kReach + 1, source_.height()); ++ready_)
            widenRow(at(ready_), source_.row(ready_), sampleBytes(source_), channels_, kReach, kReach);
        y_ = y;
    }
    /// Where the samples of a tap's place start.
    const uint8_t *line(int place) const
    {
        const int row = std::clamp(y_ - kReach + place / UserTaps::kRows, 0, source_.height() - 1);
        return at(row) + static_cast<std::size_t>(place % UserTaps::kRows) * channels_;
    }

private:
    uint8_t *at(int row) const
    {
        return memory_ + static_cast<std::size_t>(row % UserTaps::kRows) * widened_;
    }

    const Dib &source_;
    uint8_t *memory_;
    std::size_t channels_, widened_;
    int ready_ = 0; ///< rows that are, or were, in memory
    int y_ = 0;
};

} // namespace

} // namespace velmont

using namespace velmont;

void *ProcessUserFilter(void *dib, tagParamUserFilter *param)
{
    if (!param || param->divisor == 0)
        return nullptr;
    const tagParamUserFilter record = *param;
    EffectFrame frame(dib);
    if (!servesSamples(frame))
        return nullptr;
    const Dib &source = frame.source();
    const ResultPlan plan = planWithColors(source);
    if (!frame.allocate(plan))
        return nullptr;
    ScratchBlock scratch(UserTaps::kProductBytes + RowsAround::bytes(source));
    if (!scratch.bytes())
        return frame.giveUp();
    frame.open(plan.headerBytes);
    const UserTaps taps = userTaps(record, reinterpret_cast<int32_t *>(scratch.bytes()));
    RowsAround around(source, scratch.bytes() + UserTaps::kProductBytes);
    const UserFilterRow filter = userFilterRow(taps);
    for (int y : frame.rows()) {
        around.moveTo(y);
        const uint8_t *lines[UserTaps::kMost];
        for (int k = 0; k < taps.count; ++k)
            lines[k] = around.line(taps.place[k]);
        filter(frame.result().row(y), lines, sampleBytes(source), taps);
        frame.clearPadding(y);
    }
    scratch.release();
    return frame.finish();
}
