#pragma once

/// \file
/// The start that the neighbourhood filters share: they work on samples, never on indices of colours.

#include "core/effect_frame.h"
#include "filters/sample_rows.h"

namespace velmont {

/// Whether there is a source and its pixels are samples: 24 bits, or 8 bits gray.
inline bool servesSamples(const EffectFrame &frame)
{
    return frame.serves({8, 24}) && (frame.source().bitCount() == 24 || frame.source().isGray());
}

/// The image of one of these depths with the rows of 8 bits behind 256 colours, however many it has: hosts rely on the
/// place. Nothing for another depth, or where the rows do not fit the block.
inline std::optional<Dib> withRowsBehindAllColors(const EffectFrame &frame, std::initializer_list<int> depths)
{
    if (!frame.serves(depths))
        return std::nullopt;
    const Dib &source = frame.source();
    if (source.bitCount() != 8)
        return source;
    const auto layout = DibLayout::make(source.width(), source.height(), 8, kGrayPixelOffset);
    return layout ? Dib::withLayout(source.block(), source.blockBytes(), *layout) : std::nullopt;
}

/// The bytes of header that the warps copy of such an image: all that lies before the rows at 8 bits; 0, which stands
/// for biSize, at 24.
inline std::size_t headerBytesOf(const Dib &image)
{
    return image.bitCount() == 8 ? kGrayPixelOffset : 0;
}

/// A result of the source's shape, in a block asked for with these flags. All that lies before the rows is copied in one
/// piece; the effect clears the padding itself.
inline ResultPlan planOnSamples(const Dib &source, unsigned flags = KEL_MEM_MOVEABLE | KEL_MEM_ZERO)
{
    return {.layout = source.layout(),
            .contents = Contents::Overwritten,
            .headerBytes = source.layout().pixelOffset,
            .flags = flags};
}

/// The same for the effects that copy a colour for each one of biClrUsed, at 24 bits too: hosts rely on it.
inline ResultPlan planWithColors(const Dib &source)
{
    ResultPlan plan = planOnSamples(source);
    const uint64_t bytes = kHeaderBytes + uint64_t{kColorBytes} * source.header().biClrUsed;
    plan.headerBytes = static_cast<std::size_t>(std::min<uint64_t>(bytes, SIZE_MAX));
    return plan;
}

/// Samples of a pixel.
inline std::size_t samplesPerPixel(const Dib &image)
{
    return image.bitCount() == 24 ? 3 : 1;
}

/// Bytes of a row without its padding.
inline std::size_t sampleBytes(const Dib &image)
{
    return static_cast<std::size_t>(image.width()) * samplesPerPixel(image);
}

inline SampleRows sampleRows(const Dib &image)
{
    return {image.row(0), image.stride(), image.width(), image.height(), samplesPerPixel(image)};
}

/// The columns of a picture in strips of neighbours, so that a pass down the columns uses whole cache lines. The
/// host sees each column polled and reported in its turn; work(first, bytes) is called as a strip's first column
/// is reached.
template <typename Work>
void inStrips(EffectFrame &frame, RowCadence cadence, std::size_t stripBytes, Work work)
{
    const std::size_t bytes = sampleBytes(frame.source()), channels = samplesPerPixel(frame.source());
    std::size_t done = 0;
    for (const int x : frame.columns(cadence))
        while (done < bytes && done < (static_cast<std::size_t>(x) + 1) * channels) {
            const std::size_t count = stripBytes < bytes - done ? stripBytes : bytes - done;
            work(done, count);
            done += count;
        }
}

} // namespace velmont
