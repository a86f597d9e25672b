#pragma once

/// \file
/// Filters of two passes: along the rows from the source into the result, then down the columns in the result,
/// which holds samples rounded to 8 bits in between. 24 bits and gray images, each channel by itself.

#include "core/effect_frame.h"
#include "core/scratch_block.h"
#include "filters/box_filter.h"
#include "filters/edge_row.h"
#include "filters/sample_frame.h"
#include <cstring>

namespace velmont {

/// Columns that are worked on together: long runs of each row, of which a window still fits the second cache.
inline constexpr int kStripColumns = 2048;

/// The widest strip of an image, in bytes.
inline std::size_t stripBytes(const Dib &image)
{
    return static_cast<std::size_t>(std::min(kStripColumns, image.width())) * samplesPerPixel(image);
}

/// A row of `rowBytes` bytes with pixels outside it, which are its ends.
inline void widenRow(uint8_t *widened, const uint8_t *from, std::size_t rowBytes, std::size_t channels,
                     std::size_t pixelsBefore, std::size_t pixelsAfter)
{
    const std::size_t before = pixelsBefore * channels, after = pixelsAfter * channels;
    copyWithEdges(widened, from, rowBytes, channels, -static_cast<std::ptrdiff_t>(before),
                  before + rowBytes + after);
}

/// Both passes on the frame. row(to, from, scratch) filters one row, strip(strip, firstByte, scratch) the columns
/// from that byte of the rows on.
template <typename Row, typename Strip>
void *inTwoPasses(EffectFrame &frame, std::size_t scratchBytes, Row row, Strip strip)
{
    const ResultPlan plan = planOnSamples(frame.source());
    if (!frame.allocate(plan))
        return nullptr;
    ScratchBlock scratch(scratchBytes);
    if (!scratch.bytes())
        return frame.giveUp();
    frame.open(plan.headerBytes);
    Dib &result = frame.result();
    for (int y : frame.rows(kFirstPass)) {
        row(result.row(y), frame.source().row(y), scratch.bytes());
        frame.clearPadding(y);
    }
    inStrips(frame, kSecondPass, stripBytes(frame.source()), [&](std::size_t firstByte, std::size_t bytes) {
        strip(ColumnStrip{result.row(0) + firstByte, result.stride(), result.height(), bytes}, firstByte,
              scratch.bytes());
    });
    scratch.release();
    return frame.finish();
}

} // namespace velmont
