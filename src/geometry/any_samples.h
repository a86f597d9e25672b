#pragma once

#include "core/effect_frame.h"

namespace velmont {

/// The source of a warp that takes 24 bits and any 8 bits, without a look at the palette: at 8 bits the rows are
/// taken to start behind 256 entries, whatever biClrUsed says, and hosts rely on it. Nothing for other depths and
/// where the block ends before those rows do.
inline std::optional<Dib> anySamples(const EffectFrame &frame)
{
    if (!frame.serves({8, 24}))
        return std::nullopt;
    const Dib &source = frame.source();
    if (source.bitCount() == 24)
        return source;
    const auto layout = DibLayout::make(source.width(), source.height(), 8, kGrayPixelOffset);
    return layout ? Dib::withLayout(source.block(), source.blockBytes(), *layout) : std::nullopt;
}

/// The bytes to copy of what lies before the rows: all of them at 8 bits; 0, which stands for biSize, at 24.
inline std::size_t headerBytesOf(const Dib &anySamples)
{
    return anySamples.bitCount() == 8 ? kGrayPixelOffset : 0;
}

} // namespace velmont
