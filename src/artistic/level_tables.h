#pragma once

#include "core/view_frame.h"
#include <array>
#include <cstring>

namespace velmont {

/// What GetPixel and SetPixel of a frame's views do at 8 bits, once for each index and level.
class LevelTables {
public:
    explicit LevelTables(ViewFrame &frame)
    {
        for (std::size_t i = 0; i < 256; ++i) {
            const auto byte = static_cast<uint8_t>(i);
            levels_[i] = redOf(frame.source().colorOf(byte));
            const auto index = frame.result().indexOf(byte);
            indices_[i] = index ? *index : kNone;
        }
    }

    /// The level that GetPixel finds in the low byte of an index's colour.
    uint8_t levelOf(uint8_t index) const { return levels_[index]; }
    /// Stores a gray of this level as SetPixel does, which leaves the place as it is where no colour has that red.
    void store(uint8_t *place, uint8_t level) const
    {
        if (indices_[level] != kNone)
            *place = static_cast<uint8_t>(indices_[level]);
    }

private:
    static constexpr uint16_t kNone = 256;

    std::array<uint8_t, 256> levels_;
    std::array<uint16_t, 256> indices_;
};

/// The rows of a frame's images, for effects that work on whole pixels of 24 or 8 bits.
struct FrameRows {
    explicit FrameRows(ViewFrame &frame)
        : layout(frame.layout()), to(frame.result().header + layout.pixelOffset),
          from(frame.source().header + layout.pixelOffset)
    {
    }
    uint8_t *result(int y) const { return to + layout.stride * static_cast<std::size_t>(y); }
    const uint8_t *source(int y) const { return from + layout.stride * static_cast<std::size_t>(y); }

    const DibLayout &layout;
    uint8_t *to;
    const uint8_t *from;
};

/// Whether SetPixel stores anything: at 8 bits, and at 24 without a palette.
inline bool storesPixels(const ViewFrame &frame)
{
    DibHeader header;
    std::memcpy(&header, frame.source().header, sizeof header);
    return frame.serves({8}) || (frame.serves({24}) && header.biClrUsed == 0);
}

} // namespace velmont
