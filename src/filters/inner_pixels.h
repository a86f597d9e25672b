#pragma once

/// \file
/// Effects on the pixels that have all their neighbours, with a rim of one pixel around them.

#include "filters/relief_kernels.h"
#include "filters/sample_frame.h"
#include <cstring>

namespace velmont {

/// Whether the picture is large enough for these effects.
inline bool hasInnerPixels(const Dib &source)
{
    return source.width() >= 4 && source.height() >= 4;
}

/// Samples of a row without its first and last pixel.
inline std::size_t innerBytes(const Dib &source)
{
    return sampleBytes(source) - 2 * samplesPerPixel(source);
}

/// The source around the second pixel of row y.
inline RowsAbout rowsAbout(const Dib &source, int y)
{
    const std::size_t step = samplesPerPixel(source);
    return {source.row(y - 1) + step, source.row(y) + step, source.row(y + 1) + step, step};
}

/// Fills the first and the last row of the result.
inline void fillOutermostRows(EffectFrame &frame, uint8_t level)
{
    for (const int y : {0, frame.source().height() - 1}) {
        std::memset(frame.result().row(y), level, sampleBytes(frame.source()));
        frame.clearPadding(y);
    }
}

/// Fills the first and the last pixel of row y of the result.
/// \return the pixel behind the first.
inline uint8_t *startInner(EffectFrame &frame, int y, uint8_t level)
{
    const std::size_t step = samplesPerPixel(frame.source());
    uint8_t *const row = frame.result().row(y);
    std::memset(row, level, step);
    std::memset(row + step + innerBytes(frame.source()), level, step);
    frame.clearPadding(y);
    return row + step;
}

} // namespace velmont
