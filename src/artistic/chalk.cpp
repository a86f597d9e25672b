#include "core/byte_kernels.h"
#include "core/generator.h"
#include "core/scratch_block.h"
#include "filters/sample_frame.h"
#include "platform/services.h"
#include "tone/level_counts.h"
#include <algorithm>
#include <array>
#include <cstring>
#include <velmont/painting.h>

namespace velmont {

namespace {

using LevelTable = std::array<uint8_t, 256>;

constexpr uint8_t kPaper = 128;
/// Levels from which on a plane has grain, and strokes.
constexpr uint8_t kDarkest = 127, kLightest = 129;

/// A byte for each pixel of a picture, and a border of five all round.
class Plane {
public:
    static constexpr std::size_t kBorder = 5;

    Plane(uint8_t *bytes, std::size_t width, std::size_t height)
        : bytes_(bytes), width_(width), stride_(width + 2 * kBorder), rows_(height + 2 * kBorder)
    {
    }
    static std::size_t bytesFor(const Dib &image)
    {
        return (static_cast<std::size_t>(image.width()) + 2 * kBorder) *
               (static_cast<std::size_t>(image.height()) + 2 * kBorder);
    }

    std::size_t width() const { return width_; }
    int height() const { return static_cast<int>(rows_ - 2 * kBorder); }
    std::ptrdiff_t stride() const { return static_cast<std::ptrdiff_t>(stride_); }
    /// Row y of the picture, at its column 0.
    uint8_t *row(int y) const { return bytes_ + (static_cast<std::size_t>(y) + kBorder) * stride_ + kBorder; }
    void fill(uint8_t level) const { std::memset(bytes_, level, stride_ * rows_); }

private:
    uint8_t *bytes_;
    std::size_t width_, stride_, rows_;
};

/// trunc(0.1 * blue + 0.7 * green + 0.2 * red), in doubles.
void grayRow(uint8_t *to, const uint8_t *pixels, std::size_t count)
{
    for (std::size_t i = 0; i < count; ++i, pixels += 3)
        to[i] =
            static_cast<uint8_t>(static_cast<int32_t>(pixels[0] * 0.1 + pixels[1] * 0.7 + pixels[2] * 0.2));
}

LevelCounts countsOf(const SampleRows &levels)
{
    ByteCounter counter;
    for (int y = 0; y < levels.height; ++y)
        counter.add(levels.row(y), levels.rowBytes());
    return counter.total();
}

uint64_t sumOf(const LevelCounts &counts)
{
    uint64_t sum = 0;
    for (const uint64_t count : counts)
        sum += count;
    return sum;
}

/// Each level becomes the share of the pixels that are at or below it.
LevelTable equalizing(const LevelCounts &counts)
{
    LevelTable table;
    const uint64_t all = sumOf(counts);
    uint64_t sum = 0;
    for (std::size_t i = 0; i < table.size(); ++i) {
        sum += counts[i];
        table[i] = static_cast<uint8_t>(sum * 255 / all);
    }
    return table;
}

/// The counts of what comes out of a table.
LevelCounts through(const LevelTable &table, const LevelCounts &counts)
{
    LevelCounts result{};
    for (std::size_t i = 0; i < table.size(); ++i)
        result[table[i]] += counts[i];
    return result;
}
LevelTable through(const LevelTable &second, const LevelTable &first)
{
    LevelTable table;
    for (std::size_t i = 0; i < table.size(); ++i)
        table[i] = second[first[i]];
    return table;
}

/// The shadows, levels up to `highest`, spread below the paper's level; all others have that.
LevelTable shadows(const LevelCounts &counts, int64_t highest)
{
    LevelTable table;
    table.fill(kPaper);
    table[0] = 0;
    uint64_t within = 0;
    for (int64_t i = 0; i <= std::min<int64_t>(highest, 255); ++i)
        within += counts[static_cast<std::size_t>(i)];
    if (within == 0)
        return table;
    uint64_t sum = counts[0];
    for (std::size_t i = 1; i < table.size() && static_cast<int64_t>(i) < highest; ++i) {
        sum += counts[i];
        table[i] = static_cast<uint8_t>(sum * 128 / within);
    }
    return table;
}

/// The lights, levels from `lowest` on, spread above the paper's level. Where no pixel has the lowest of them the
/// sum reaches 256 and wraps: hosts rely on it.
LevelTable lights(const LevelCounts &counts, int64_t lowest)
{
    LevelTable table;
    table.fill(kPaper);
    uint64_t within = 0, sum = 0;
    for (int64_t i = std::max<int64_t>(lowest, 0); i < 256; ++i)
        within += counts[static_cast<std::size_t>(i)];
    if (within == 0)
        return table;
    for (int64_t i = std::max<int64_t>(lowest + 1, 0); i < 256; ++i) {
        sum += counts[static_cast<std::size_t>(i)];
        table[static_cast<std::size_t>(i)] = static_cast<uint8_t>(sum * 128 / within + 128);
    }
    return table;
}

/// Stretches the levels from `clip` to 255 - clip over all of them. Where the two meet it only parts black and white.
LevelTable clipping(int64_t clip)
{
    LevelTable table;
    const int64_t range = 255 - 2 * clip; // odd, so never 0
    for (int64_t i = 0; i < 256; ++i)
        table[static_cast<std::size_t>(i)] =
            i < clip         ? 0
            : i > 255 - clip ? 255
                             : static_cast<uint8_t>(
                                   std::clamp<int64_t>((i * 255 - clip * 255 + range / 2) / range, 0, 255));
    return table;
}

void fillPlane(const Plane &plane, const SampleRows &levels, const LevelTable &table, uint8_t border)
{
    plane.fill(border);
    const TableRow mapRow = tableRow();
    alignas(64) LevelTable aligned = table;
    for (int y = 0; y < levels.height; ++y)
        mapRow(plane.row(y), levels.row(y), levels.rowBytes(), aligned.data());
}

/// How strongly a number from 0 to 99 changes a level: by so many times the strength that the level has.
using Odds = std::array<int8_t, 100>;

/// The odds of `first` up to a limit, then of `second` up to another and so on; the rest is what `last` is from its
/// limit on, and 0 before it.
struct Odd {
    int64_t below;
    int8_t times;
};
template <std::size_t count>
Odds oddsOf(const std::array<Odd, count> &rising, int64_t lastFrom, int8_t last)
{
    Odds odds;
    for (std::size_t r = 0; r < odds.size(); ++r) {
        const auto number = static_cast<int64_t>(r);
        const auto odd = std::find_if(rising.begin(), rising.end(),
                                      [number](const Odd &each) { return number < each.below; });
        odds[r] = odd != rising.end() ? odd->times : number >= lastFrom ? last : int8_t{0};
    }
    return odds;
}

/// The grain of the shadows.
struct DarkGrain {
    static constexpr uint32_t kSeed = 2; // always the same, so that hosts get the same picture again

    explicit DarkGrain(int64_t grain)
        : odds(oddsOf(std::array<Odd, 2>{{{90, 2}, {98 - 4 * grain, 1}}}, 101 - 2 * grain, -1))
    {
        for (std::size_t v = 0; v < strength.size(); ++v)
            strength[v] = v < 123 ? static_cast<uint8_t>(26.0 - static_cast<double>(v) * 0.2) : uint8_t{1};
    }
    static bool takes(uint8_t level) { return level < kDarkest; }
    static uint8_t held(const uint8_t *at, std::ptrdiff_t stride)
    {
        return std::max({*at, at[stride - 1], at[1 - stride]});
    }
    /// Above 255 it wraps, below 0 it does not: hosts rely on both.
    static uint8_t stored(int level) { return static_cast<uint8_t>(std::max(level, 0)); }

    Odds odds;
    LevelTable strength;
};

/// The grain of the lights.
struct LightGrain {
    static constexpr uint32_t kSeed = 3;

    explicit LightGrain(int64_t grain)
        : odds(oddsOf(
              std::array<Odd, 3>{
                  {{(16 - grain) * 5, -3}, {(19 - grain) * 5, -2}, {95 - (grain - 2) * 3, -1}}},
              101 - grain, 1))
    {
        for (int v = 0; v < 256; ++v)
            strength[static_cast<std::size_t>(v)] = static_cast<uint8_t>(v >= 211  ? (v - 100) / 10
                                                                         : v > 150 ? (v - 110) / 10
                                                                         : v < 131 ? 1
                                                                                   : (v - 120) / 10);
    }
    static bool takes(uint8_t level) { return level >= kLightest; }
    static uint8_t held(const uint8_t *at, std::ptrdiff_t stride)
    {
        return std::min({*at, at[3 * stride + 3], at[-3 * stride - 3]});
    }
    /// Below 0 it wraps, above 255 it does not: hosts rely on both.
    static uint8_t stored(int level) { return static_cast<uint8_t>(std::min(level, 255)); }

    Odds odds;
    LevelTable strength;
};

/// Up to so many pixels at a time.
constexpr std::size_t kRun = 1024;

/// Levels of a plane with grain, at their places in another plane. One number is drawn for each level that is taken.
template <typename Grain>
void addGrain(const Plane &grained, const Plane &plane, const Grain &grain)
{
    srand(Grain::kSeed);
    uint16_t places[kRun], numbers[kRun];
    for (int y = 0; y < plane.height(); ++y)
        for (std::size_t first = 0; first < plane.width(); first += kRun) {
            const uint8_t *const from = plane.row(y) + first;
            uint8_t *const to = grained.row(y) + first;
            std::size_t count = 0;
            for (std::size_t i = 0; i < std::min(kRun, plane.width() - first); ++i) {
                places[count] = static_cast<uint16_t>(i);
                count += Grain::takes(from[i]) ? 1 : 0;
            }
            drawNumbers(numbers, count);
            for (std::size_t i = 0; i < count; ++i) {
                const uint8_t level = Grain::held(from + places[i], plane.stride());
                to[places[i]] = Grain::stored(level + grain.odds[numbers[i] % 100] * grain.strength[level]);
            }
        }
}

/// The strokes of a row: each pixel is darkened by the darkest of the pixels whose stamp, five rows of four that lean
/// one way, covers it. What is as light as the paper or lighter leaves no stroke.
void darkStrokes(uint8_t *to, const uint8_t *at, std::ptrdiff_t stride, std::size_t count)
{
    std::memset(to, kPaper, count);
    for (std::ptrdiff_t dy = -2; dy <= 2; ++dy)
        for (std::ptrdiff_t dx = -2; dx <= 1; ++dx) {
            const uint8_t *const from = at - dy * stride + dx + dy;
            for (std::size_t i = 0; i < count; ++i)
                to[i] = from[i] < to[i] ? from[i] : to[i];
        }
}

/// The same for lights: nine rows that lean the other way, the first of three pixels.
void lightStrokes(uint8_t *to, const uint8_t *at, std::ptrdiff_t stride, std::size_t count)
{
    std::memset(to, kPaper, count);
    for (std::ptrdiff_t dy = -4; dy <= 4; ++dy)
        for (std::ptrdiff_t dx = dy == -4 ? -1 : -2; dx <= 1; ++dx) {
            const uint8_t *const from = at - dy * stride - dx - dy;
            for (std::size_t i = 0; i < count; ++i)
                to[i] = from[i] > to[i] ? from[i] : to[i];
        }
}

/// What a dark stroke, 0 to 128, and a light one, 128 to 255, come to.
class MergeTable {
public:
    constexpr MergeTable()
    {
        for (int light = kPaper; light < 256; ++light)
            for (int dark = 0; dark <= kPaper; ++dark)
                levels_[placeOf(light, dark)] = merged(light, dark);
    }
    uint8_t operator()(uint8_t light, uint8_t dark) const { return levels_[placeOf(light, dark)]; }

private:
    static constexpr std::size_t placeOf(int light, int dark)
    {
        return static_cast<std::size_t>((light - kPaper) * (kPaper + 1) + dark);
    }
    static constexpr uint8_t merged(int light, int dark)
    {
        if (dark == kPaper)
            return static_cast<uint8_t>(light);
        if (light == kPaper)
            return static_cast<uint8_t>(dark);
        const double apart = light - dark;
        return static_cast<uint8_t>((kPaper - dark) / apart * dark + (light - kPaper) / apart * light);
    }

    std::array<uint8_t, 128 * (kPaper + 1)> levels_{};
};
constexpr MergeTable kMerged;

void writeRow(uint8_t *to, const uint8_t *light, const uint8_t *dark, std::size_t count, std::size_t channels)
{
    if (channels == 1) {
        for (std::size_t i = 0; i < count; ++i)
            to[i] = kMerged(light[i], dark[i]);
    } else {
        for (std::size_t i = 0; i < count; ++i)
            std::memset(to + 3 * i, kMerged(light[i], dark[i]), 3);
    }
}

/// Draws the picture of these levels into the result. `memory` holds three planes.
void drawChalk(EffectFrame &frame, const SampleRows &levels, const tagChalkParam &settings, uint8_t *memory)
{
    const std::size_t planeBytes = Plane::bytesFor(frame.result());
    const std::size_t width = levels.rowBytes(), height = static_cast<std::size_t>(levels.height);
    const Plane dark(memory, width, height), light(memory + planeBytes, width, height),
        grained(memory + 2 * planeBytes, width, height);
    const int64_t grain = settings.grain;

    const LevelCounts counts = countsOf(levels);
    const LevelTable equalized = equalizing(counts), clipped = clipping(grain * 21 - 21);
    const LevelCounts equalCounts = through(equalized, counts);
    const LevelTable darkTable =
        through(clipped, shadows(equalCounts, int64_t{settings.shadowRange} * 4 + 90));
    const LevelTable lightTable =
        through(clipped, lights(equalCounts, 170 - int64_t{settings.lightRange} * 4));
    fillPlane(dark, levels, through(darkTable, equalized), darkTable[kPaper]);
    fillPlane(light, levels, through(lightTable, equalized), lightTable[kPaper]);

    grained.fill(kPaper);
    addGrain(grained, dark, DarkGrain(grain));
    for (int y = 0; y < levels.height; ++y) // the dark plane is done with and takes them
        darkStrokes(dark.row(y), grained.row(y), grained.stride(), width);
    grained.fill(kPaper);
    addGrain(grained, light, LightGrain(grain));
    const std::size_t channels = frame.result().bitCount() == 24 ? 3 : 1;
    for (int y = 0; y < levels.height; ++y) {
        lightStrokes(light.row(y), grained.row(y), grained.stride(), width);
        writeRow(frame.result().row(y), light.row(y), dark.row(y), width, channels);
        frame.clearPadding(y);
    }
}

} // namespace

} // namespace velmont

using namespace velmont;

void *ProcessChalk(void *dib, tagChalkParam *param)
{
    if (!dib || !param)
        return nullptr;
    const tagChalkParam settings = *param;
    showWaitCursor(); // before the depth is looked at: hosts see it
    EffectFrame frame(
        dib, {.waitCursor = false, .droppedPoll = false, .finalReport = false, .earlyArrowCursor = true});
    const std::optional<Dib> source = withRowsBehindAllColors(frame, {8, 24});
    if (!source) {
        showArrowCursor();
        return nullptr;
    }
    const DibLayout &layout = source->layout();
    if (!frame.begin(
            {.layout = layout, .contents = Contents::Overwritten, .headerBytes = layout.pixelOffset}))
        return nullptr;
    SampleRows levels = sampleRows(*source);
    std::optional<ScratchBlock> gray;
    if (layout.bitCount == 24) {
        const auto width = static_cast<std::size_t>(layout.width);
        gray.emplace(width * static_cast<std::size_t>(layout.height));
        // Hosts find the wait cursor on and both blocks locked, the result lost.
        if (!gray->bytes())
            return frame.abandon();
        levels = {gray->bytes(), width, layout.width, layout.height, 1};
        for (int y = 0; y < layout.height; ++y)
            grayRow(gray->bytes() + width * static_cast<std::size_t>(y), source->row(y), width);
    }
    ScratchBlock planes(uint64_t{3} * Plane::bytesFor(*source));
    if (!planes.bytes()) {
        showArrowCursor(); // here hosts see it, and find both blocks locked all the same
        return frame.abandon();
    }
    drawChalk(frame, levels, settings, planes.bytes());
    planes.release();
    gray.reset();
    return frame.finish();
}
