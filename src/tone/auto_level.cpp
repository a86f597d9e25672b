#include "core/byte_kernels.h"
#include "core/classify_dib.h"
#include "core/effect_frame.h"
#include "core/pixel_kernels.h"
#include "core/rounded_math.h"
#include "tone/histogram.h"
#include <cmath>
#include <cstring>

namespace velmont {

namespace {

/// The working record: a slot for the master channel (or a gray image), then blue, green, red and a spare one.
struct LevelsRecord {
    int32_t inLow[5];
    double gamma[5];
    int32_t inHigh[5];
    int32_t outLow[5];
    int32_t outHigh[5];
};

/// The share of the pixels that may be clipped at either end.
constexpr double kClipped = 0.006;
constexpr double kEmptyBins[256] = {};

/// The bins of a channel; a host's record may lack some, which are taken as empty.
const double *binsOf(const HistogramRecord &histogram, int channel)
{
    const bool isThere =
        histogram.channels && channel < histogram.channelCount && histogram.channels[channel];
    return isThere ? histogram.channels[channel] : kEmptyBins;
}

LevelsRecord startRecord(double gamma)
{
    LevelsRecord levels{};
    for (int slot = 0; slot < 5; ++slot) {
        levels.gamma[slot] = gamma;
        levels.inHigh[slot] = 255;
        levels.outHigh[slot] = 255;
    }
    return levels;
}

/// Whether the sum without the next bin is nearer to the clipped share than the sum with it.
bool reachesShare(double sum, double next, double total)
{
    return std::fabs((sum + next) / total - kClipped) > std::fabs(sum / total - kClipped);
}

/// Where the lowest and the highest levels are cut. A walk that finds no place leaves what stood there.
void findClipPoints(LevelsRecord &levels, int slot, const double *bins, double total)
{
    levels.gamma[slot] = 1.0;
    levels.outLow[slot] = 0;
    levels.outHigh[slot] = 255;
    if (total == 0) {
        levels.inLow[slot] = levels.inHigh[slot] = 0;
        return;
    }
    double sum = 0;
    for (int i = 0; i <= 254; ++i) {
        sum += bins[i];
        if (reachesShare(sum, bins[i + 1], total)) {
            levels.inLow[slot] = i + 1;
            break;
        }
    }
    sum = 0;
    for (int i = 255; i >= 1; --i) {
        sum += bins[i];
        if (reachesShare(sum, bins[i - 1], total)) {
            levels.inHigh[slot] = i - 1;
            break;
        }
    }
}

LevelsRecord levelsOf(const HistogramRecord &histogram, double gamma, bool isColor)
{
    LevelsRecord levels = startRecord(gamma);
    const double *const all = binsOf(histogram, 0);
    double total = 0;
    for (int i = 0; i < 256; ++i)
        total += all[i];
    if (!isColor) {
        findClipPoints(levels, 0, all, total);
        return levels;
    }
    // The gamma's bytes fall on two of the upper ends, and the second keeps them where the walk for blue finds
    // no place: hosts rely on it.
    std::memcpy(levels.inHigh, &levels.gamma[0], sizeof levels.gamma[0]);
    levels.inHigh[0] = 255;
    for (int channel = 1; channel <= 3; ++channel)
        findClipPoints(levels, channel, binsOf(histogram, channel), total);
    return levels;
}

double throughSlot(const LevelsRecord &levels, int slot, double x)
{
    x = x * 255 - levels.inLow[slot];
    if (levels.inHigh[slot] != levels.inLow[slot])
        x = x / (levels.inHigh[slot] - levels.inLow[slot]);
    const double gamma = levels.gamma[slot];
    if (gamma != 0)
        x = x >= 0 ? rounded::pow(x, 1 / gamma) : -rounded::pow(-x, 1 / gamma);
    const int low = levels.outLow[slot], high = levels.outHigh[slot];
    x = high >= low ? x * (high - low) + low : low - (low - high) * x;
    return x * (1.0 / 255);
}

uint8_t tableEntry(double x)
{
    const double y = x * 255 + 0.5;
    if (!(y >= 0))
        return 0;
    return y >= 255 ? 255 : static_cast<uint8_t>(y);
}

/// The level as each table starts with it: held in single precision.
double startOf(int value)
{
    return static_cast<float>(value * (1.0 / 255));
}

void buildGrayTable(uint8_t table[256], const LevelsRecord &levels)
{
    for (int v = 0; v < 256; ++v)
        table[v] = tableEntry(throughSlot(levels, 0, startOf(v)));
}

void buildColorTables(ChannelTables &tables, const LevelsRecord &levels)
{
    for (int channel = 0; channel < 3; ++channel)
        for (int v = 0; v < 256; ++v)
            tables.of[channel][v] =
                tableEntry(throughSlot(levels, 0, throughSlot(levels, channel + 1, startOf(v))));
}

/// Neither polls nor progress in this effect.
constexpr FrameSteps kCursorsOnly{.droppedPoll = false, .finalReport = false};

void mapRows(EffectFrame &frame, const LevelsRecord &levels)
{
    const auto width = static_cast<std::size_t>(frame.source().width());
    const bool isColor = frame.source().bitCount() == 24;
    ChannelTables tables;
    if (isColor)
        buildColorTables(tables, levels);
    else
        buildGrayTable(tables.of[0], levels);
    const ChannelRow mapColor = isColor ? channelTablesRow(tables) : nullptr;
    const TableRow mapGray = tableRow();
    for (int y = 0; y < frame.source().height(); ++y) {
        uint8_t *const to = frame.result().row(y);
        const uint8_t *const from = frame.source().row(y);
        if (isColor)
            mapColor(to, from, width, tables);
        else
            mapGray(to, from, width, tables.of[0]);
        frame.clearPadding(y);
    }
}

} // namespace

} // namespace velmont

using namespace velmont;

void *ProcessAutoLevel(void *dib, tagParamAutoLevel *param)
{
    if (!param)
        return nullptr;
    const int32_t level = param->gammaLevel != 0 ? param->gammaLevel : param->defaultGammaLevel;
    if (level == 0)
        return nullptr;
    param->gammaLevel = 0; // it counts once, whatever becomes of this run

    EffectFrame frame(dib, kCursorsOnly);
    if (!frame.serves({8, 24}) || ClassifyDibHeader(frame.source()) == 3)
        return nullptr;
    const Dib &source = frame.source();
    const DibHeader header = source.header();
    const std::size_t copied = header.biSize + kColorBytes * std::size_t{header.biClrUsed};
    if (!frame.begin({source.layout(), Contents::Overwritten, 0, copied}))
        return nullptr;

    const double gamma = rounded::pow(10.0, ((level - 1.0) * 0.25 - 1) * 0.25);
    auto *const given = reinterpret_cast<HistogramRecord *>(param->histogram);
    HistogramRecord *const histogram = given ? given : makeHistogram(source);
    if (histogram)
        mapRows(frame, levelsOf(*histogram, gamma, source.bitCount() == 24));
    else
        frame.abort(); // no memory
    if (histogram && !given)
        DelHistogram(reinterpret_cast<unsigned char *>(histogram));
    return frame.finish();
}
