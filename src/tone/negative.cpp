#include <velmont/tone.h>

#include "core/byte_kernels.h"
#include "core/effect_frame.h"

namespace velmont {

namespace {

/// Rows of 1 bit are looked for behind two palette entries whatever biClrUsed says: hosts rely on it.
std::optional<Dib> sourceAsRead(const Dib &source)
{
    if (source.bitCount() != 1)
        return source;
    const auto layout = DibLayout::make(source.width(), source.height(), 1, kHeaderBytes + 2 * kColorBytes);
    return layout ? Dib::withLayout(source.block(), source.blockBytes(), *layout) : std::nullopt;
}

/// The block is as large as biClrUsed asks for, and every byte is written unless that leaves some behind the
/// rows.
ResultPlan planResult(const Dib &source, const DibLayout &layout)
{
    const std::size_t bytes = source.layout().totalBytes();
    const bool coversBlock = layout.totalBytes() >= bytes;
    return {layout, coversBlock ? Contents::Overwritten : Contents::ZeroFilled, bytes};
}

} // namespace

} // namespace velmont

using namespace velmont;

void *ProcessNegative(void *dib)
{
    EffectFrame frame(dib);
    if (!frame.serves({1, 4, 8, 24}))
        return nullptr;
    const auto source = sourceAsRead(frame.source());
    if (!source || !frame.begin(planResult(frame.source(), source->layout())))
        return nullptr;

    const bool hasColorPalette = source->bitCount() == 4 || (source->bitCount() == 8 && !source->isGray());
    if (hasColorPalette)
        frame.mapPalette([](uint8_t value) { return static_cast<uint8_t>(~value); });
    else
        frame.copyPalette();

    // Padding counts as pixels in both cases: hosts rely on it.
    const Stores stores = frame.stores();
    const ByteRow writeRow = hasColorPalette ? copyRow(stores) : complementRow(stores);
    for (int y : frame.rows())
        writeRow(frame.result().row(y), source->row(y), source->stride());
    return frame.finish();
}
