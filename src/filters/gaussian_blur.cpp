#include "core/rounded_math.h"
#include "filters/two_passes.h"
#include "filters/weighted_sum.h"
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <velmont/filters.h>

namespace velmont {

namespace {

/// The bell over a window of 2 to 32 samples. The tap at distance size / 2 is the middle one's share of e^-2,
/// whatever the size.
Taps gaussTaps(int size)
{
    constexpr int32_t kWhole = 1 << Taps::kFractionBits;
    const int half = size / 2;
    double weights[Taps::kMost], all = 0;
    for (int i = 0; i < size; ++i) {
        const double t = static_cast<double>(std::abs(i - half)) / half;
        weights[i] = rounded::pow(2.7182818, -2 * t * t); // hosts rely on the taps of this base, not of e
        all += weights[i];
    }
    Taps taps;
    taps.count = size;
    const double scale = 1048576.0 / all;
    int32_t total = 0;
    for (int i = 0; i < size; ++i) {
        taps.of[i] = static_cast<int32_t>(weights[i] * scale + 0.5);
        total += taps.of[i];
    }
    // The correction goes the way of the error and doubles it. Hosts rely on these taps.
    const int32_t error = total - kWhole;
    const int corrected = std::min(std::abs(error), size);
    const int start = (size - corrected) / 2;
    for (int i = start; i < start + corrected; ++i)
        taps.of[i] += error >= 0 ? 1 : -1;
    return taps;
}

/// Both passes with the same taps: lines are a row moved by so many pixels, or rows.
class GaussPasses {
public:
    GaussPasses(const Dib &source, int size)
        : taps_(gaussTaps(size)), half_(size / 2), channels_(samplesPerPixel(source)),
          rowBytes_(static_cast<std::size_t>(source.width()) * channels_)
    {
    }
    /// One row with what lies outside it, or the rows of a strip that have been written over.
    std::size_t scratchBytes(const Dib &source) const
    {
        const auto size = static_cast<std::size_t>(taps_.count);
        return std::max(rowBytes_ + (size - 1) * channels_, (size / 2 + 1) * stripBytes(source));
    }

    void row(uint8_t *to, const uint8_t *from, uint8_t *widened) const
    {
        widenRow(widened, from, rowBytes_, channels_, static_cast<std::size_t>(half_),
                 static_cast<std::size_t>(taps_.count - 1 - half_));
        const uint8_t *lines[Taps::kMost];
        for (int k = 0; k < taps_.count; ++k)
            lines[k] = widened + static_cast<std::size_t>(k) * channels_;
        sum_(to, lines, rowBytes_, taps_);
    }

    void columns(const ColumnStrip &strip, uint8_t *kept) const
    {
        const int last = strip.height - 1, rowsKept = half_ + 1;
        const auto keptRow = [&](int y) {
            return kept + static_cast<std::size_t>(y % rowsKept) * strip.bytes;
        };
        for (int y = 0; y <= last; ++y) {
            std::memcpy(keptRow(y), strip.row(y), strip.bytes);
            const uint8_t *lines[Taps::kMost];
            for (int k = 0; k < taps_.count; ++k) {
                const int from = std::clamp(y - half_ + k, 0, last);
                lines[k] = from <= y ? keptRow(from) : strip.row(from);
            }
            sum_(strip.row(y), lines, strip.bytes, taps_);
        }
    }

private:
    Taps taps_;
    int half_;
    std::size_t channels_, rowBytes_;
    WeightedSumRow sum_ = weightedSumRow();
};

} // namespace

} // namespace velmont

using namespace velmont;

void *ProcessGaussianBlur(void *dib, tagParamGaussianBlur *param)
{
    if (!param || param->size < 2 || param->size > Taps::kMost)
        return nullptr;
    EffectFrame frame(dib);
    if (!servesSamples(frame))
        return nullptr;
    const GaussPasses passes(frame.source(), param->size);
    return inTwoPasses(
        frame, passes.scratchBytes(frame.source()),
        [&](uint8_t *to, const uint8_t *from, uint8_t *scratch) { passes.row(to, from, scratch); },
        [&](const ColumnStrip &strip, std::size_t, uint8_t *scratch) { passes.columns(strip, scratch); });
}
