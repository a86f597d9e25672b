#include "core/generator.h"
#include "core/scratch_block.h"
#include "filters/sample_frame.h"
#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <velmont/atmosphere.h>

namespace velmont {

namespace {

enum class WindKind { Streak, Stagger };

/// A row's reach is a random number below `reaches`.
struct Gust {
    WindKind kind;
    int reaches;
};

constexpr Gust gustOf(int32_t strength)
{
    switch (strength) {
    case 1:
        return {WindKind::Streak, 10};
    case 3:
        return {WindKind::Stagger, 20};
    default:
        return {WindKind::Streak, 40};
    }
}

/// Rows stay as they are; otherwise they are worked on mirrored.
constexpr int32_t kTowardStart = 1;
/// Streaks end where neighbours differ by more.
constexpr int kEdge = 100;

/// Pixels of one row, the samples of each beside one another.
struct WindRow {
    uint8_t *samples;
    int64_t width;
    std::size_t channels;

    std::size_t at(int64_t x) const { return static_cast<std::size_t>(x) * channels; }
};

/// Streaks on a row. Every mean is one of pixels that are not changed yet, so that sums over the row's start, worked out
/// before, give them all.
class Streaks {
public:
    Streaks(const WindRow &row, uint32_t *sums) : row_(row), sums_(sums) { addUp(); }

    void draw(int64_t reach)
    {
        const int64_t last = row_.width - 1;
        int64_t edge = -1;
        for (int64_t x = 0; x < last;) {
            if (edge < x)
                edge = edgeFrom(x);
            // Up to here a mean of `reach` pixels ends before the last column and does not look past the edge.
            const int64_t end = std::min(last - reach + 1, edge - reach + 2);
            const int64_t count = std::max<int64_t>(1, end - x);
            const int64_t run = end > x ? reach : runAt(x, reach, edge);
            takeMeans(x, count, run);
            x += count;
        }
    }

private:
    /// sums_[i] adds up the samples of sample i's channel before it.
    void addUp()
    {
        std::fill(sums_, sums_ + row_.channels, 0);
        const std::size_t samples = row_.at(row_.width);
        for (std::size_t i = 0; i < samples; ++i)
            sums_[i + row_.channels] = sums_[i] + row_.samples[i];
    }
    /// The next pixel from x on that differs much from the one behind it, by the first channel alone.
    int64_t edgeFrom(int64_t x) const
    {
        while (x + 1 < row_.width &&
               std::abs(row_.samples[row_.at(x)] - row_.samples[row_.at(x + 1)]) <= kEdge)
            ++x;
        return x + 1 < row_.width ? x : row_.width + kFar;
    }
    int64_t runAt(int64_t x, int64_t reach, int64_t edge) const
    {
        const int64_t run = std::min(reach, row_.width - 1 - x);
        return edge - x <= run - 2 ? edge - x : run;
    }
    /// The means of `run` pixels each, where they are brighter. Runs of no pixel change nothing.
    void takeMeans(int64_t x, int64_t count, int64_t run)
    {
        if (run == 0)
            return;
        // Exact for sums of up to 255 * run: the factor is too large by less than run / 2^20.
        const uint32_t factor = (1u << 20) / static_cast<uint32_t>(run) + 1;
        uint8_t *const samples = row_.samples + row_.at(x);
        const uint32_t *const from = sums_ + row_.at(x), *const to = from + row_.at(run);
        const std::size_t bytes = row_.at(count);
        for (std::size_t i = 0; i < bytes; ++i) {
            const auto mean = static_cast<uint8_t>((to[i] - from[i]) * factor >> 20);
            samples[i] = std::max(samples[i], mean);
        }
    }

    static constexpr int64_t kFar = 100; ///< beyond any reach

    WindRow row_;
    uint32_t *sums_;
};

/// Means of two neighbours `reach` pixels ahead; where the row ends before them, of its last two.
void stagger(const WindRow &row, int64_t reach)
{
    if (row.width < 2)
        return;
    const int64_t last = row.width - 1, end = std::max<int64_t>(0, last - reach);
    const uint8_t *const ahead = row.samples + row.at(std::min(reach, last));
    for (std::size_t i = 0; i < row.at(end); ++i)
        row.samples[i] = static_cast<uint8_t>((ahead[i] + ahead[i + row.channels]) >> 1);
    for (std::size_t channel = 0; channel < row.channels; ++channel) {
        const uint8_t *const two = row.samples + row.at(last - 1) + channel;
        const auto mean = static_cast<uint8_t>((two[0] + two[row.channels]) >> 1);
        for (int64_t x = end; x < last; ++x)
            row.samples[row.at(x) + channel] = mean;
    }
}

void mirror(uint8_t *__restrict to, const uint8_t *__restrict from, std::size_t pixels, std::size_t channels)
{
    if (channels == 1)
        return static_cast<void>(std::reverse_copy(from, from + pixels, to));
    to += 3 * pixels;
    for (std::size_t x = 0; x < pixels; ++x, from += 3)
        std::memcpy(to -= 3, from, 3);
}

void smear(const WindRow &row, WindKind kind, int reach, uint32_t *sums)
{
    if (kind == WindKind::Streak)
        Streaks(row, sums).draw(reach);
    else
        stagger(row, reach);
}

} // namespace

} // namespace velmont

using namespace velmont;

void *ProcessWind(void *dib, tagParamWind *param)
{
    if (!param)
        return nullptr;
    EffectFrame frame(dib);
    const std::optional<Dib> source = withRowsBehindAllColors(frame, {8, 24});
    if (!source)
        return nullptr;
    const ResultPlan plan = planOnSamples(*source, 0);
    if (!frame.allocate(plan))
        return nullptr;
    const std::size_t bytes = sampleBytes(*source), channels = samplesPerPixel(*source);
    ScratchBlock scratch((uint64_t{bytes} + channels) * sizeof(uint32_t) + bytes);
    if (!scratch.bytes())
        return frame.giveUp();
    auto *const sums = reinterpret_cast<uint32_t *>(scratch.bytes());
    uint8_t *const mirrored = reinterpret_cast<uint8_t *>(sums + bytes + channels);
    frame.open(plan.headerBytes);
    const Gust gust = gustOf(param->strength);
    const auto width = static_cast<std::size_t>(source->width());
    const bool isMirrored = param->direction != kTowardStart;
    int drawn = 0;
    for (int y : frame.rows()) {
        uint8_t *const to = frame.result().row(y);
        const WindRow row{isMirrored ? mirrored : to, source->width(), channels};
        if (isMirrored)
            mirror(mirrored, source->row(y), width, channels);
        else
            std::memcpy(to, source->row(y), bytes);
        smear(row, gust.kind, velmont::rand() % gust.reaches, sums);
        ++drawn;
        if (isMirrored)
            mirror(to, mirrored, width, channels);
        frame.clearPadding(y);
    }
    for (; drawn < source->height(); ++drawn)
        velmont::rand(); // hosts rely on a number for each row after an abort too
    scratch.release();
    return frame.finish();
}
