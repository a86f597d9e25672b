#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>

namespace velmont {

/// Repeats the first bytes of a row, 1 or more, up to its end.
inline void repeatBytes(uint8_t *row, std::size_t first, std::size_t bytes)
{
    // Doubled up to a length that stays in the nearest cache, and then laid down in pieces of that.
    constexpr std::size_t kPiece = 4096;
    std::size_t piece = first;
    for (std::size_t done = first, count; done < bytes; done += count) {
        count = std::min(piece, bytes - done);
        std::memcpy(row + done, row, count);
        if (piece < kPiece)
            piece = done + count;
    }
}

} // namespace velmont
