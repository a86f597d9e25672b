#include "core/effect_frame.h"
#include "platform/services.h"
#include "tone/hue_kernels.h"
#include <algorithm>
#include <cstring>
#include <velmont/tone.h>

namespace velmont {

namespace {

bool isAccepted(const tagParamHueSaturation &param)
{
    return param.hue >= -180 && param.hue <= 180 && param.saturation >= -100 && param.saturation <= 100;
}

/// Here the rows start behind biSize and biClrUsed colours at every depth. Nothing where they do not fit.
std::optional<Dib> sourceAsRead(const Dib &source, const DibHeader &header)
{
    const auto layout = DibLayout::make(source.width(), source.height(), source.bitCount(),
                                        header.biSize + uint64_t{header.biClrUsed} * kColorBytes);
    return layout ? Dib::withLayout(source.block(), source.blockBytes(), *layout) : std::nullopt;
}

void shiftRows(EffectFrame &frame, const Dib &source, const HueShift &shift)
{
    const HueShiftRow shiftRow = hueShiftRow();
    for (int y : frame.rows()) {
        shiftRow(frame.result().row(y), source.row(y), static_cast<std::size_t>(source.width()), shift);
        frame.clearPadding(y);
    }
}

/// All rows as one run of bytes, with a poll and a report at each byte whose place has none of the bits of 0x2FF:
/// by turns 256 and 768 bytes apart. Hosts rely on it.
void copyRows(EffectFrame &frame, const Dib &source)
{
    constexpr std::size_t kSpoken = 0x2FF;
    const std::size_t bytes = source.layout().pixelBytes();
    const auto nextFrom = [](std::size_t place) {
        const std::size_t next = (place | 0xFF) + 1;
        return next & kSpoken ? next + 0x200 : next;
    };
    for (std::size_t place = 0; place < bytes;) {
        if (AbortImageProcessing() != 0)
            return frame.abort();
        ShowImageProcessing(static_cast<int>(uint64_t{place} * 100 / bytes));
        const std::size_t next = std::min(nextFrom(place), bytes);
        std::memcpy(frame.result().row(0) + place, source.row(0) + place, next - place);
        place = next;
    }
}

void shiftPalette(const Dib &result, const DibHeader &header, const HueShift &shift)
{
    for (std::size_t i = 0; i < header.biClrUsed; ++i)
        shift.apply(result.block() + header.biSize + kColorBytes * i);
}

} // namespace

} // namespace velmont

using namespace velmont;

void *ProcessHueAndSaturation(void *dib, tagParamHueSaturation *param)
{
    if (!dib || !param || !isAccepted(*param))
        return nullptr;
    // Each way out shows the arrow once more than the frame does: hosts rely on the pairs of cursors.
    showWaitCursor();
    if (param->hue == 0 && param->saturation == 0) {
        showArrowCursor();
        return nullptr;
    }
    const HueShift shift(param->hue, param->saturation);
    EffectFrame frame(dib);
    const bool isServed = frame.serves({4, 8, 24});
    const DibHeader header = isServed ? frame.source().header() : DibHeader{};
    const auto source = isServed ? sourceAsRead(frame.source(), header) : std::nullopt;
    if (!source || !frame.begin({source->layout(), Contents::Overwritten, 0, source->layout().pixelOffset})) {
        showArrowCursor();
        return nullptr;
    }
    if (source->bitCount() == 24) {
        shiftRows(frame, *source, shift);
    } else {
        copyRows(frame, *source);
        shiftPalette(frame.result(), header, shift);
    }
    showArrowCursor();
    return frame.finish();
}
