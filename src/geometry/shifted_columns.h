#pragma once

#include "geometry/pixel_gather.h"

namespace velmont {

/// A picture whose columns are shifted along themselves: column x of row y shows row y + rises[x]. What the shift
/// brings in from outside has a colour.
class ShiftedColumns {
public:
    /// \param rises one for each column
    /// \param lastRow the rows behind it count as outside
    /// \param color 0x00BBGGRR; at 8 bits its low byte is the level
    ShiftedColumns(const Dib &source, const int32_t *rises, int lastRow, uint32_t color)
        : source_(source), width_(source.width()), height_(source.height()), rises_(rises),
          lastRow_(std::min(lastRow, height_ - 1)), color_{source_.pixelBytes() == 3 ? blueOf(color)
                                                                                     : redOf(color),
                                                           greenOf(color), redOf(color)}
    {
        const auto [lowest, highest] = std::minmax_element(rises, rises + width_);
        lowest_ = *lowest;
        highest_ = *highest;
    }

    /// Writes row y, whose column x comes from column x + dx.
    void writeRow(uint8_t *to, int y, int dx = 0) const;

private:
    void paint(uint8_t *to, int first, int behind) const;

    PixelSource source_;
    int width_, height_;
    const int32_t *rises_;
    int lastRow_;
    uint8_t color_[3];
    int lowest_, highest_; ///< of the rises
};

} // namespace velmont
