#include "core/pixel_kernels.h"
#include "platform/services.h"
#include "tone/any_depth_row.h"
#include "tone/hue_kernels.h"
#include <algorithm>
#include <cstring>
#include <velmont/tone.h>

namespace velmont {

namespace {

bool isShare(double value)
{
    return value >= -100 && value <= 100;
}

bool isAccepted(const tagColorBalance &param)
{
    return param.range >= 0 && param.range <= 2 && isShare(param.cyanRed) && isShare(param.magentaGreen) &&
           isShare(param.yellowBlue);
}

/// How much of an adjustment reaches a level: falling off towards one end, or around the middle.
double lowCurve(int level)
{
    return 1.075 - 1 / (level * 0.0625 + 1);
}
double midCurve(int level)
{
    return (1 - (level - 127) * (level - 127) * (1.0 / 16129)) * 0.667;
}

/// Shadows and highlights are not mirror images: hosts rely on it.
double shadowsCurve(int level, double adjustment)
{
    return adjustment > 0 ? midCurve(level) : lowCurve(255 - level);
}
double highlightsCurve(int level, double adjustment)
{
    return adjustment > 0 ? lowCurve(level) : midCurve(level);
}

int moved(int level, double by)
{
    return std::clamp(level + static_cast<int>(by), 0, 255);
}

/// One channel's table. Only one range is adjusted at a time; the others leave the levels as they are.
void buildTable(uint8_t table[256], int range, double adjustment)
{
    for (int i = 0; i < 256; ++i) {
        const double curve = range == 0   ? shadowsCurve(i, adjustment)
                             : range == 1 ? midCurve(i)
                                          : highlightsCurve(i, adjustment);
        table[i] = static_cast<uint8_t>(moved(i, curve * adjustment));
    }
}

/// What becomes of a pixel's channels, and of its lightness.
class Balance {
public:
    explicit Balance(const tagColorBalance &param) : keepsLightness_(param.preserveLuminosity != 0)
    {
        buildTable(tables_.of[0], param.range, param.yellowBlue);
        buildTable(tables_.of[1], param.range, param.magentaGreen);
        buildTable(tables_.of[2], param.range, param.cyanRed);
        mapChannels_ = channelTablesRow(tables_);
    }

    void mapRow(uint8_t *to, const uint8_t *from, std::size_t pixels) const
    {
        if (!keepsLightness_)
            return mapChannels_(to, from, pixels, tables_);
        constexpr std::size_t kPart = 512;
        uint8_t mapped[3 * kPart];
        for (std::size_t x = 0; x < pixels; x += kPart) {
            const std::size_t count = std::min(kPart, pixels - x);
            mapChannels_(mapped, from + 3 * x, count, tables_);
            takeLightness_(to + 3 * x, mapped, from + 3 * x, count);
        }
    }

private:
    ChannelTables tables_;
    bool keepsLightness_;
    ChannelRow mapChannels_;
    LightnessRow takeLightness_ = lightnessRow();
};

void balanceRow(ViewFrame &frame, const Balance &balance, int y)
{
    const DibLayout &layout = frame.layout();
    if (layout.bitCount != 24)
        return mapAnyDepthRow(frame, y, [&](uint8_t *color) {
            const uint8_t old[3] = {color[0], color[1], color[2]};
            balance.mapRow(color, old, 1);
        });
    const auto width = static_cast<std::size_t>(layout.width);
    const std::size_t row = layout.pixelOffset + layout.stride * static_cast<std::size_t>(y);
    uint8_t *const to = frame.result().header + row;
    balance.mapRow(to, frame.source().header + row, width);
    std::memset(to + 3 * width, 0, layout.stride - 3 * width);
}

/// The rows with a poll and a report at each. Only an answer of 1 ends them at once; any other but 0 on the last
/// poll fails the effect all the same. Hosts rely on it.
void balanceRows(ViewFrame &frame, const Balance &balance)
{
    const int height = frame.layout().height;
    int answer = 0;
    for (int y = 0; y < height; ++y) {
        answer = AbortImageProcessing();
        if (answer == 1)
            break;
        ShowImageProcessing(static_cast<int>(int64_t{y} * 100 / height));
        balanceRow(frame, balance, y);
    }
    if (answer != 0)
        frame.abort();
}

} // namespace

} // namespace velmont

using namespace velmont;

void *ProcessColorBalance(void *dib, tagColorBalance *param)
{
    // The lock taken here is undone only where the image is refused or there is no memory. Everybody else finds
    // one lock more on the image: hosts rely on it.
    if (!param || !KelMemLock(dib))
        return nullptr;
    // The cursors come later here, and the end is told before the blocks are unlocked.
    ViewFrame frame(dib, kSilent);
    if (!frame.hasPixels() || frame.layout().bitCount == 8) {
        KelMemUnlock(dib);
        return nullptr;
    }
    if (!isAccepted(*param))
        return dib; // the image itself, not 0: hosts rely on it
    if (!frame.begin(frame.layout().bitCount == 24 ? Contents::Overwritten : Contents::ZeroFilled)) {
        KelMemUnlock(dib);
        return nullptr;
    }
    const Balance balance(*param);
    showWaitCursor();
    balanceRows(frame, balance);
    ShowImageProcessing(100);
    showArrowCursor();
    return frame.finish();
}
