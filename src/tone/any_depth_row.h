#pragma once

/// \file
/// Rows of effects that are meant for 24 bits and take other depths as they come.

#include "core/view_frame.h"
#include <velmont/memory.h>

namespace velmont {

/// Hands blue, green and red of each pixel of a row to map(color) and stores what it makes of them. Pixels are
/// biBitCount / 8 bytes apart and three bytes wide, so that they overlap below 24 bits, and below 8 bits all lie on
/// the row's first bytes. Bytes outside a block are read as 0 and not written.
template <typename Map>
void mapAnyDepthRow(ViewFrame &frame, int y, Map map)
{
    const DibLayout &layout = frame.layout();
    const std::size_t row = layout.pixelOffset + layout.stride * static_cast<std::size_t>(y);
    const std::size_t step = static_cast<std::size_t>(layout.bitCount) / 8;
    // Pixels on one place all come out the same.
    const std::size_t columns = step > 0 ? static_cast<std::size_t>(layout.width) : 1;
    const std::size_t sourceBytes = KelMemSize(frame.source().handle);
    const std::size_t resultBytes = KelMemSize(frame.result().handle);
    for (std::size_t x = 0; x < columns; ++x) {
        const std::size_t place = row + x * step;
        uint8_t color[3];
        for (std::size_t i = 0; i < 3; ++i)
            color[i] = place + i < sourceBytes ? frame.source().header[place + i] : uint8_t{0};
        map(color);
        for (std::size_t i = 0; i < 3 && place + i < resultBytes; ++i)
            frame.result().header[place + i] = color[i];
    }
}

} // namespace velmont
