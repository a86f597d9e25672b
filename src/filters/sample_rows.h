#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>

namespace velmont {

/// Rows of samples in memory, each at a stride from the one before.
struct SampleRows {
    const uint8_t *first;
    std::size_t stride;
    int width, height;
    std::size_t channels; ///< samples of a pixel

    const uint8_t *row(int y) const { return first + stride * static_cast<std::size_t>(y); }
    std::size_t rowBytes() const { return static_cast<std::size_t>(width) * channels; } ///< without padding
    std::size_t bytes() const { return stride * static_cast<std::size_t>(height); }
};

/// Copies the rows one behind the other, without their padding.
inline void packRows(uint8_t *to, const SampleRows &rows)
{
    for (int y = 0; y < rows.height; ++y, to += rows.rowBytes())
        std::memcpy(to, rows.row(y), rows.rowBytes());
}

} // namespace velmont
