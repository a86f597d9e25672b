#pragma once

/// \file
/// The pixels of a view frame's two images as samples, for effects that work on many of them: what GetPixel of the
/// source's view gives and SetPixel of the result's stores, by rows and tables.

#include "core/view_frame.h"
#include <array>
#include <cstring>

namespace velmont {

/// At 8 bits a pixel has one sample, its red; at 24 bits three, blue, green and red. Views of other depths read 0
/// and store nothing.
class ViewSamples {
public:
    /// Of a frame that has begun.
    explicit ViewSamples(ViewFrame &frame)
        : layout_(frame.layout()), source_(frame.source().header), result_(frame.result().header)
    {
        for (int i = 0; i < 256; ++i) {
            const auto byte = static_cast<uint8_t>(i);
            sourceLevel_[byte] = redOf(frame.source().colorOf(byte));
            resultLevel_[byte] = redOf(frame.result().colorOf(byte));
            const auto index = frame.result().indexOf(byte);
            index_[byte] = index ? static_cast<int16_t>(*index) : kNone;
        }
        DibHeader header;
        std::memcpy(&header, source_, sizeof header);
        stores_ = layout_.bitCount == 8 || (layout_.bitCount == 24 && header.biClrUsed == 0);
    }

    const DibLayout &layout() const { return layout_; }
    int width() const { return layout_.width; }
    int height() const { return layout_.height; }
    /// How many random numbers a colour of each sample's own takes.
    int channels() const { return layout_.bitCount == 24 ? 3 : 1; }
    /// Whether anything can be stored: with a palette at 24 bits nothing can.
    bool stores() const { return stores_; }

    const uint8_t *sourceRow(int y) const { return source_ + rowAt(y); }
    uint8_t *resultRow(int y) const { return result_ + rowAt(y); }

    // At 8 bits:

    /// The level of a byte of the source.
    uint8_t sourceLevel(uint8_t byte) const { return sourceLevel_[byte]; }
    /// The level of a byte that lies in the result.
    uint8_t resultLevel(uint8_t byte) const { return resultLevel_[byte]; }
    /// Stores a level in a byte of the result, which stays as it is where no colour has this level for its red.
    void store(uint8_t *to, int level) const
    {
        const int index = index_[static_cast<std::size_t>(level)];
        if (index != kNone)
            *to = static_cast<uint8_t>(index);
    }

private:
    static constexpr int16_t kNone = -1;

    std::size_t rowAt(int y) const
    {
        return layout_.pixelOffset + layout_.stride * static_cast<std::size_t>(y);
    }

    const DibLayout layout_;
    const uint8_t *source_;
    uint8_t *result_;
    bool stores_;
    std::array<uint8_t, 256> sourceLevel_, resultLevel_;
    std::array<int16_t, 256> index_;
};

} // namespace velmont
