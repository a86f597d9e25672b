#include "tone/any_depth_row.h"
#include "tone/hls.h"
#include "tone/hue_kernels.h"
#include <algorithm>
#include <cstring>
#include <iterator>
#include <velmont/tone.h>

namespace velmont {

namespace {

/// Not a number is in no range.
bool areWithin(const double (&values)[7], double limit)
{
    return std::all_of(std::begin(values), std::end(values),
                       [limit](double value) { return value >= -limit && value <= limit; });
}

/// The lightness group has the wide range of the hues: hosts rely on it.
bool isAccepted(const tagHueSaturateParam &param)
{
    return areWithin(param.hue, 180) && areWithin(param.lightness, 180) && areWithin(param.saturation, 100);
}

/// Turned once around at most: hosts rely on there being no further wrap.
uint8_t hueEntry(int level, double degrees)
{
    int hue = static_cast<int>(degrees * 0.7083333333333334) + level; // 255 / 360
    if (hue < 0)
        hue += 255;
    if (hue > 255)
        hue -= 255;
    return static_cast<uint8_t>(hue);
}

uint8_t lightnessEntry(int level, double amount)
{
    const int n = std::clamp(static_cast<int>(amount * 1.27), -255, 255);
    return static_cast<uint8_t>(n < 0 ? (n + 255) * level / 255 : level + (255 - level) * n / 255);
}

uint8_t saturationEntry(int level, double percent)
{
    const int n = std::clamp(static_cast<int>(percent * 2.55), -255, 255);
    return static_cast<uint8_t>(std::clamp((n + 255) * level / 255, 0, 255));
}

SectorTables tablesFor(const tagHueSaturateParam &param)
{
    SectorTables tables;
    for (int level = 0; level < 256; ++level) {
        tables.hue[level] = hueEntry(level, param.hue[0] + param.hue[1 + sectorOf(level)]);
        for (int sector = 0; sector < 6; ++sector) {
            tables.lightness[sector][level] =
                lightnessEntry(level, param.lightness[0] + param.lightness[1 + sector]);
            tables.saturation[sector][level] =
                saturationEntry(level, param.saturation[0] + param.saturation[1 + sector]);
        }
    }
    return tables;
}

void adjustColorRows(ViewFrame &frame, const SectorTables &tables)
{
    const DibLayout &layout = frame.layout();
    const auto width = static_cast<std::size_t>(layout.width);
    const SectorRow adjust = sectorRow();
    for (int y = 0; y < layout.height; ++y) {
        const std::size_t row = layout.pixelOffset + layout.stride * static_cast<std::size_t>(y);
        uint8_t *const to = frame.result().header + row;
        adjust(to, frame.source().header + row, width, tables);
        std::memset(to + 3 * width, 0, layout.stride - 3 * width);
    }
}

} // namespace

} // namespace velmont

using namespace velmont;

void *ProcessHueSaturation(void *dib, tagHueSaturateParam *param)
{
    if (!dib || !param || !isAccepted(*param))
        return nullptr;
    ViewFrame frame(dib, kSilent);
    if (!frame.hasPixels())
        return nullptr;
    const bool isColor = frame.layout().bitCount == 24;
    if (!frame.begin(isColor ? Contents::Overwritten : Contents::ZeroFilled))
        return nullptr;
    const SectorTables tables = tablesFor(*param);
    if (isColor)
        adjustColorRows(frame, tables);
    else
        for (int y = 0; y < frame.layout().height; ++y)
            mapAnyDepthRow(frame, y, [&](uint8_t *color) { kernels::sectorPlain(color, color, 1, tables); });
    return frame.finish();
}
