#include "core/generator.h"
#include "core/scratch_block.h"
#include "filters/sample_frame.h"
#include <algorithm>
#include <array>
#include <bit>
#include <cstdlib>
#include <cstring>
#include <velmont/atmosphere.h>

namespace velmont {

namespace {

constexpr int kMostDensity = 20;
/// Neighbours that differ by more make a ray.
constexpr int kTransition = 10;
constexpr int kRaySteps = 10;
constexpr std::size_t kDirections = 4;

struct Direction {
    int dx, dy;
};
constexpr std::array<Direction, kDirections> kWays{{{0, 1}, {0, -1}, {1, 0}, {-1, 0}}};

bool insideImage(int64_t row, int64_t column, int64_t width, int64_t height)
{
    return row >= 0 && row < height && column >= 0 && column < width;
}

/// A drop's share of what is dragged over it. Shares are floats of which 2^-26 is a part of each, so that integers give
/// exactly what double precision does.
using Weight = int64_t;
constexpr int kWeightBits = 26;

constexpr Weight weightOf(float share)
{
    return static_cast<Weight>(share * double{1 << kWeightBits});
}
constexpr double share(Weight weight)
{
    return static_cast<double>(weight) / (1 << kWeightBits);
}

/// A sample mixed with another one. A weight of 0 leaves it.
void mix(uint8_t &sample, int with, Weight weight)
{
    sample =
        static_cast<uint8_t>(((int64_t{sample} << kWeightBits) + (with - sample) * weight) >> kWeightBits);
}

/// The drops on the glass: 800 lines of ten, taken in turn by the steps of all rays, of which step i looks at drop i of
/// its line. They are kept by rays: those that a ray meets which starts at a line.
class Drops {
public:
    static constexpr int kLines = 800;

    /// Draws where they fall: two numbers each. The last lines stay dry; hosts rely on it.
    Drops()
    {
        constexpr int kDrops = 1200;
        NumberStream numbers;
        for (int i = 0; i < kDrops; ++i) {
            const int place = numbers.next() % 99 / 10, line = numbers.next() % 7200 / 10;
            const auto ray = static_cast<std::size_t>((line - place + kLines) % kLines);
            Weight &weight = weights_[ray][static_cast<std::size_t>(place)];
            weight = weightOf(std::min(1.0f, static_cast<float>(share(weight) + 0.2)));
            wet_[ray] = static_cast<uint16_t>(wet_[ray] | 1 << place);
        }
    }

    /// The steps that meet a drop as bits.
    unsigned wetSteps(int line) const { return wet_[static_cast<std::size_t>(line)]; }
    Weight weight(int line, int step) const
    {
        return weights_[static_cast<std::size_t>(line)][static_cast<std::size_t>(step)];
    }

private:
    std::array<std::array<Weight, kRaySteps>, kLines> weights_{};
    std::array<uint16_t, kLines> wet_{};
};

/// A ray that starts at a transition.
struct Ray {
    const uint8_t *pixel; ///< whose samples are dragged
    uint8_t *start;       ///< where they go to, in the result
    std::ptrdiff_t stride;
    int steps;
    std::array<std::ptrdiff_t, 2> sides;
    std::array<bool, 2> hasSide; ///< inside the picture, all along
    /// Beside the ray a drop spreads where a number of ten is above this.
    int dryNumbers;
    bool drawsOutside; ///< numbers for sides outside the picture too

    std::size_t draws() const { return drawsOutside ? 2 : std::size_t{hasSide[0]} + hasSide[1]; }
};

template <std::size_t channels>
class Glass {
public:
    Glass(const Dib &source, Dib &result)
        : source_(source), result_(result), strides_{static_cast<std::ptrdiff_t>(source.stride()),
                                                     -static_cast<std::ptrdiff_t>(source.stride()),
                                                     std::ptrdiff_t{channels}, -std::ptrdiff_t{channels}}
    {
    }

    /// The rays of one row, pixel by pixel and way by way. `ways` is scratch for a row's samples.
    void row(int y, uint8_t *ways)
    {
        markWays(y, ways);
        NumberStream numbers;
        for (int x = 0; x < source_.width(); ++x) {
            unsigned marked = 0;
            for (std::size_t channel = 0; channel < channels; ++channel)
                marked |= ways[static_cast<std::size_t>(x) * channels + channel];
            for (; marked != 0; marked &= marked - 1)
                follow(rayFrom(x, y, static_cast<std::size_t>(std::countr_zero(marked))), numbers);
        }
    }

private:
    /// A bit for each way on which a sample meets a transition, for each sample by itself.
    void markWays(int y, uint8_t *__restrict ways) const
    {
        const uint8_t *const row = source_.row(y);
        const std::size_t bytes = sampleBytes(source_);
        std::memset(ways, 0, bytes);
        for (std::size_t way = 0; way < kDirections; ++way) {
            const bool isLevel = kWays[way].dy == 0;
            if (!isLevel && !insideImage(y + kWays[way].dy, 0, source_.width(), source_.height()))
                continue;
            const std::size_t first = kWays[way].dx < 0 ? channels : 0;
            const std::size_t end = kWays[way].dx > 0 ? bytes - channels : bytes;
            const uint8_t *const other = row + strides_[way];
            for (std::size_t i = first; i < end; ++i)
                ways[i] = static_cast<uint8_t>(ways[i] |
                                               (std::abs(row[i] - other[i]) > kTransition ? 1 << way : 0));
        }
    }
    /// The largest difference of the channels; of equal ones the first's.
    int transition(const uint8_t *pixel, std::size_t way) const
    {
        int largest = 0;
        for (std::size_t channel = 0; channel < channels; ++channel) {
            const int difference = pixel[channel] - pixel[channel + static_cast<std::size_t>(strides_[way])];
            if (std::abs(difference) > std::abs(largest))
                largest = difference;
        }
        return largest;
    }
    int stepsInside(int x, int y, std::size_t way) const
    {
        const auto [dx, dy] = kWays[way];
        const int rest = dy > 0   ? source_.height() - y
                         : dy < 0 ? y + 1
                         : dx > 0 ? source_.width() - x
                                  : x + 1;
        return std::min(kRaySteps, rest);
    }
    Ray rayFrom(int x, int y, std::size_t way) const
    {
        const std::size_t offset = static_cast<std::size_t>(x) * channels;
        Ray ray{source_.row(y) + offset,
                result_.row(y) + offset,
                strides_[way],
                stepsInside(x, y, way),
                {},
                {},
                1,
                false};
        for (std::size_t side = 0; side < 2; ++side) {
            const std::size_t aside = way < 2 ? 2 + side : side;
            ray.sides[side] = strides_[aside];
            ray.hasSide[side] = insideImage(int64_t{y} + kWays[aside].dy, int64_t{x} + kWays[aside].dx,
                                            source_.width(), source_.height());
        }
        if (transition(ray.pixel, way) < 0) { // toward light: hosts rely on other odds and draws
            ray.dryNumbers = 2;
            ray.drawsOutside = true;
        }
        return ray;
    }

    /// Each step takes the next line of drops and draws its numbers. Where there is no drop nothing moves.
    void follow(const Ray &ray, NumberStream &numbers)
    {
        const std::size_t draws = channels * ray.draws();
        for (unsigned wet = drops_.wetSteps(line_) & ((1u << ray.steps) - 1); wet != 0; wet &= wet - 1) {
            const int step = std::countr_zero(wet);
            spread(ray, step, numbers, draws * static_cast<std::size_t>(step));
        }
        numbers.skip(draws * static_cast<std::size_t>(ray.steps));
        line_ = (line_ + ray.steps) % Drops::kLines;
    }
    /// A step that meets a drop, behind so many numbers.
    void spread(const Ray &ray, int step, const NumberStream &numbers, std::size_t before)
    {
        const Weight weight = drops_.weight(line_, step);
        for (std::size_t channel = 0; channel < channels; ++channel) {
            uint8_t *const sample = ray.start + step * ray.stride + channel;
            const int dragged = ray.pixel[channel];
            mix(*sample, dragged, weight);
            for (std::size_t side = 0; side < 2; ++side) {
                if (!ray.hasSide[side] && !ray.drawsOutside)
                    continue;
                const bool spreads = numbers.ahead(before++) % 10 > ray.dryNumbers;
                if (ray.hasSide[side])
                    mix(sample[ray.sides[side]], dragged, spreads ? weight : 0);
            }
        }
    }

    const Dib &source_;
    Dib &result_;
    std::array<std::ptrdiff_t, kDirections> strides_;
    Drops drops_;
    int line_ = 0; ///< of the drops that the next step takes
};

std::array<uint8_t, 256> darkened(int density)
{
    std::array<uint8_t, 256> table;
    for (int level = 0; level < 256; ++level)
        table[static_cast<std::size_t>(level)] = static_cast<uint8_t>(level - level / (60.0 / density));
    return table;
}

template <std::size_t channels>
void *drawGlass(EffectFrame &frame, const Dib &source, std::size_t headerBytes, int density)
{
    const std::size_t bytes = sampleBytes(source);
    ScratchBlock scratch(bytes);
    if (!scratch.bytes())
        return frame.giveUp();
    for (int y = 0; y < source.height(); ++y)
        std::memcpy(frame.result().row(y), source.row(y), bytes);
    Glass<channels> glass(source, frame.result());
    frame.open(headerBytes);
    for (int y : frame.rows())
        glass.row(y, scratch.bytes());
    const std::array<uint8_t, 256> table = darkened(density);
    const TableRow darken = tableRow();
    for (int y = 0; y < source.height() && !frame.isAborted(); ++y) {
        uint8_t *const row = frame.result().row(y);
        darken(scratch.bytes(), row, bytes, table.data());
        std::memcpy(row, scratch.bytes(), bytes);
        frame.clearPadding(y);
    }
    scratch.release();
    return frame.finish();
}

} // namespace

} // namespace velmont

using namespace velmont;

void *ProcessSmokedGlass(void *dib, tagSmokedGlassParam *param)
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
    if (param->density < 1 || param->density > kMostDensity) {
        frame.abandon();
        return dib; // the image itself, and all left as it stands: hosts rely on it
    }
    const auto draw = source->bitCount() == 24 ? drawGlass<3> : drawGlass<1>;
    return draw(frame, *source, plan.headerBytes, param->density);
}
