#pragma once

/// \file
/// The start of effects whose result has the source's depth and palette and a size of its own.

#include "core/effect_frame.h"
#include <optional>

namespace velmont {

/// The place for such a result; nothing for a size below 1 or too large for a block.
inline std::optional<ResultPlan> planOfSize(const Dib &source, int width, int height,
                                            Contents contents = Contents::ZeroFilled)
{
    const auto layout = DibLayout::make(width, height, source.bitCount(), source.layout().pixelOffset);
    if (!layout)
        return std::nullopt;
    return ResultPlan{*layout, contents};
}

/// Opens the frame on a result of such a plan: the dropped poll, header and palette.
inline void openResized(EffectFrame &frame)
{
    frame.open();
    Dib &result = frame.result();
    DibHeader header = result.header();
    header.biWidth = result.width();
    header.biHeight = result.height();
    header.biSizeImage = static_cast<uint32_t>(result.layout().pixelBytes());
    result.setHeader(header);
    frame.copyPalette();
}

} // namespace velmont
