#include "artistic/glow_filters.h"
#include "core/pixel_kernels.h"
#include "core/rounded_math.h"
#include "core/scratch_block.h"
#include "filters/sample_frame.h"
#include <algorithm>
#include <array>
#include <cmath>
#include <cstring>
#include <limits>
#include <velmont/atmosphere.h>

namespace velmont {

namespace {

constexpr std::size_t kMostChannels = 3;
constexpr double kSixtieth = 0.016666668; // to these digits: hosts rely on the powers
/// What becomes of a channel without edges, and of all where the dilation has no window.
constexpr uint8_t kDark = 10;

/// Without its fraction, held to 32 bits; 0 for what is no number.
int32_t held(double value)
{
    constexpr double kLowest = std::numeric_limits<int32_t>::lowest(),
                     kHighest = std::numeric_limits<int32_t>::max();
    return std::isnan(value) ? 0 : static_cast<int32_t>(std::clamp(value, kLowest, kHighest));
}

/// From squared gradients to the levels of a channel.
class Curves {
public:
    /// Squares reach from 0, which the pixels along the sides have, to `largest`.
    Curves(const tagGlowEdge &param, uint32_t largest)
        : edgeExponent_(static_cast<float>(param.edgePower * kSixtieth + 0.3)),
          bandExponent_(static_cast<float>(1 - param.band * kSixtieth)), gain_(param.band * 10.0 + 255),
          slope_(param.band * 0.06)
    {
        const int32_t ofNone = power(0), ofMost = power(largest);
        low_ = static_cast<float>(std::min(ofNone, ofMost));
        high_ = static_cast<float>(std::max(ofNone, ofMost));
        unit_ = rounded::pow(double{high_} - low_, double{bandExponent_});
    }

    bool isFlat() const { return low_ == high_; }
    /// Rises with the squares or falls with them throughout, as each of its steps does: the powers are correctly rounded,
    /// and none has a base below 0.
    uint8_t level(uint32_t square) const
    {
        const int32_t spread =
            held(rounded::pow(power(square) - double{low_}, double{bandExponent_}) * gain_ / unit_);
        const int32_t level = held((spread * 0.01 + slope_ + 1.8) * spread);
        return static_cast<uint8_t>(std::clamp(level, 0, 255));
    }

private:
    int32_t power(uint32_t square) const
    {
        return held(rounded::pow(static_cast<double>(square), double{edgeExponent_}));
    }

    // Kept as floats and widened where they are used. Two doubles that are initialised from floats side by side lose the
    // rounding under g++ 12 at -O2 and above, and then powers that should reach a whole number fall short of it.
    float edgeExponent_, bandExponent_;
    double gain_, slope_;
    float low_, high_;
    double unit_;
};

/// The levels of squares `from` to `to`, of which those at both ends are there.
void fillBetween(const Curves &curves, uint8_t *levels, uint32_t from, uint32_t to)
{
    if (to - from < 2)
        return;
    if (levels[from] == levels[to]) {
        std::memset(levels + from + 1, levels[from], to - from - 1);
        return;
    }
    const uint32_t middle = from + (to - from) / 2;
    levels[middle] = curves.level(middle);
    fillBetween(curves, levels, from, middle);
    fillBetween(curves, levels, middle, to);
}

/// The levels of all squares up to `largest`, which have few steps to look for.
void fillLevels(const Curves &curves, uint8_t *levels, uint32_t largest)
{
    levels[0] = curves.level(0);
    levels[largest] = curves.level(largest);
    fillBetween(curves, levels, 0, largest);
}

/// The squared gradients of a picture, row by row.
class Gradients {
public:
    explicit Gradients(const Dib &source) : source_(source), channels_(samplesPerPixel(source)) {}

    /// Those of row y; 0 along the sides of the picture.
    void row(uint32_t *squares, int y) const
    {
        const std::size_t bytes = sampleBytes(source_);
        if (y == 0 || y + 1 == source_.height() || source_.width() < 3) {
            std::fill_n(squares, bytes, 0);
            return;
        }
        std::fill_n(squares, channels_, 0);
        std::fill_n(squares + bytes - channels_, channels_, 0);
        squaredGradients(squares + channels_, source_.row(y - 1), source_.row(y), source_.row(y + 1),
                         bytes - 2 * channels_, channels_);
    }
    /// The largest square of each channel. `scratch` has room for two rows.
    std::array<uint32_t, kMostChannels> largest(uint32_t *scratch) const
    {
        const std::size_t bytes = sampleBytes(source_);
        uint32_t *const squares = scratch, *const most = scratch + bytes;
        std::fill_n(most, bytes, 0);
        for (int y = 1; y + 1 < source_.height(); ++y) {
            row(squares, y);
            for (std::size_t i = 0; i < bytes; ++i)
                most[i] = std::max(most[i], squares[i]);
        }
        std::array<uint32_t, kMostChannels> largest{};
        for (std::size_t i = 0; i < bytes; ++i)
            largest[i % channels_] = std::max(largest[i % channels_], most[i]);
        return largest;
    }

private:
    const Dib &source_;
    std::size_t channels_;
};

/// By code: the level of its band. A code is a level before the bands + 1.
std::array<uint8_t, 256> bandTable(int32_t band)
{
    const int32_t step = std::max(band, 2) / 2;
    std::array<uint8_t, 256> table;
    for (int32_t code = 0; code < 256; ++code)
        table[static_cast<std::size_t>(code)] =
            static_cast<uint8_t>(std::min((code - 1) / step * step + 10, 255)); // -1 stays below 0
    return table;
}

/// One run of the effect.
class GlowEdge {
public:
    GlowEdge(const Dib &source, Dib &result, const tagGlowEdge &param)
        : source_(source), result_(result), param_(param), gradients_(source),
          channels_(samplesPerPixel(source)),
          bytes_(sampleBytes(source)), shape_{static_cast<std::size_t>(source.width()), channels_,
                                              param.spread / 2}
    {
    }

    /// What the first half needs: the squares of two rows.
    uint64_t squareBytes() const { return uint64_t{2} * bytes_ * sizeof(uint32_t); }
    /// Measures the edges, before levels are asked for.
    void measure(uint8_t *squares)
    {
        squares_ = reinterpret_cast<uint32_t *>(squares);
        largest_ = gradients_.largest(squares_);
    }
    /// What the second half needs.
    uint64_t scratchBytes() const
    {
        uint64_t levels = 0;
        for (const uint32_t largest : largest_)
            levels += uint64_t{largest} + 1;
        return levels + uint64_t{kRows} * bytes_ +
               std::max(dilatedRowScratch(shape_),
                        dilatedColumnsScratch(source_.height(), shape_.radius, bytes_));
    }
    void draw(uint8_t *scratch)
    {
        if (shape_.radius < 0)
            return darken();
        makeTables(scratch);
        takeMedians(scratch);
        dilateColumns({result_.row(0), result_.stride(), source_.height(), bytes_}, shape_.radius, scratch,
                      [&](uint8_t *to, const uint8_t *codes) { setBands(to, codes); });
    }

private:
    /// Rows of levels around the one that medians are taken of, and one of medians.
    static constexpr std::size_t kRows = 4;

    void darken()
    {
        for (int y = 0; y < source_.height(); ++y)
            std::memset(result_.row(y), kDark, bytes_);
    }
    /// Levels by squares and bands by codes, for each channel. `scratch` moves on behind them.
    void makeTables(uint8_t *&scratch)
    {
        const std::array<uint8_t, 256> bands = bandTable(param_.band);
        for (std::size_t channel = 0; channel < channels_; ++channel) {
            const Curves curves(param_, largest_[channel]);
            if (curves.isFlat()) {
                std::memset(scratch, 0, std::size_t{largest_[channel]} + 1);
                std::fill_n(bands_.of[channel], 256, kDark);
            } else {
                fillLevels(curves, scratch, largest_[channel]);
                std::copy(bands.begin(), bands.end(), bands_.of[channel]);
            }
            levels_[channel] = scratch;
            scratch += std::size_t{largest_[channel]} + 1;
        }
    }
    /// The result's rows become medians, spread along the rows.
    void takeMedians(uint8_t *&scratch)
    {
        uint8_t *const rows = scratch, *const medians = rows + 3 * bytes_;
        scratch = medians + bytes_;
        const auto rowAt = [&](int y) { return rows + static_cast<std::size_t>(y % 3) * bytes_; };
        const int height = source_.height();
        makeLevels(rowAt(0), 0);
        for (int y = 0; y < height; ++y) {
            if (y + 1 < height)
                makeLevels(rowAt(y + 1), y + 1);
            upperMedians(medians,
                         {y > 0 ? rowAt(y - 1) : nullptr, rowAt(y), y + 1 < height ? rowAt(y + 1) : nullptr},
                         shape_.width, channels_);
            dilateRow(result_.row(y), medians, shape_, scratch);
        }
    }
    void makeLevels(uint8_t *to, int y) const
    {
        gradients_.row(squares_, y);
        if (channels_ == 1) {
            for (std::size_t i = 0; i < bytes_; ++i)
                to[i] = levels_[0][squares_[i]];
            return;
        }
        for (std::size_t i = 0; i < bytes_; i += 3)
            for (std::size_t channel = 0; channel < 3; ++channel)
                to[i + channel] = levels_[channel][squares_[i + channel]];
    }
    void setBands(uint8_t *to, const uint8_t *codes) const
    {
        if (channels_ == 3)
            return toBands_(to, codes, shape_.width, bands_);
        for (std::size_t i = 0; i < bytes_; ++i)
            to[i] = bands_.of[0][codes[i]];
    }

    const Dib &source_;
    Dib &result_;
    const tagGlowEdge &param_;
    Gradients gradients_;
    std::size_t channels_, bytes_;
    DilationShape shape_;
    uint32_t *squares_ = nullptr;
    std::array<uint32_t, kMostChannels> largest_{};
    std::array<const uint8_t *, kMostChannels> levels_{};
    ChannelTables bands_;
    ChannelRow toBands_ = kernels::channelTablesPlain;
};

} // namespace

} // namespace velmont

using namespace velmont;

void *ProcessGlowEdge(void *dib, tagGlowEdge *param)
{
    if (!param || param->band < 1)
        return nullptr;
    // Neither wait cursor nor polls nor progress, and the arrow cursor only where there is no memory.
    EffectFrame frame(dib, {.waitCursor = false, .droppedPoll = false, .finalReport = false});
    const std::optional<Dib> source = withRowsBehindAllColors(frame, {8, 24});
    if (!source)
        return nullptr;
    const ResultPlan plan = planOnSamples(*source, 0);
    if (!frame.allocate(plan))
        return nullptr;
    GlowEdge glow(*source, frame.result(), *param);
    ScratchBlock squares(glow.squareBytes());
    if (!squares.bytes())
        return frame.giveUp();
    glow.measure(squares.bytes());
    ScratchBlock scratch(glow.scratchBytes());
    if (!scratch.bytes())
        return frame.giveUp();
    frame.open(plan.headerBytes);
    glow.draw(scratch.bytes());
    frame.clearPadding();
    scratch.release();
    squares.release();
    frame.leaveWaitCursor(); // there was none
    return frame.finish();
}
