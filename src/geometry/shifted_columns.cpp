#include "geometry/shifted_columns.h"
#include <cstring>

namespace velmont {

void ShiftedColumns::writeRow(uint8_t *to, int y, int dx) const
{
    forPixelRuns(width_, [&](int first, std::size_t count) {
        PixelPlaces places;
        const int32_t *const rises = rises_ + first;
        for (std::size_t i = 0; i < count; ++i) {
            places.column[i] = movedWithin(width_ - 1, first + static_cast<int>(i), dx);
            places.row[i] = movedWithin(height_ - 1, y, rises[i]);
        }
        source_.copy(to, first, places, count);
    });
    if (dx < 0)
        paint(to, 0, std::min(-dx, width_));
    else
        paint(to, std::max(width_ - dx, 0), width_);
    if (y + lowest_ < 0 || y + highest_ > lastRow_)
        for (int x = 0; x < width_; ++x)
            if (y + rises_[x] < 0 || y + rises_[x] > lastRow_)
                paint(to, x, x + 1);
}

void ShiftedColumns::paint(uint8_t *to, int first, int behind) const
{
    const std::size_t bytes = source_.pixelBytes();
    for (int x = first; x < behind; ++x)
        for (std::size_t i = 0; i < bytes; ++i)
            to[static_cast<std::size_t>(x) * bytes + i] = color_[i];
}

} // namespace velmont
