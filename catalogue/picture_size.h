#pragma once

/// \file
/// Sizes and places as people give them: rows counted from the top of the picture, not as they are stored.

#include <algorithm>
#include <cstdint>
#include <velmont/dib.h>

namespace velmont::catalogue {

struct Size {
    int width = 0, height = 0;
};

/// The size of a picture; 0 for what is none.
inline Size sizeOf(void *dib)
{
    Size size;
    GetDibSize(dib, &size.width, &size.height);
    return size;
}

inline int32_t heldToInt(int64_t value)
{
    return static_cast<int32_t>(std::clamp<int64_t>(value, INT32_MIN, INT32_MAX));
}

/// The first stored row of a rectangle that starts `top` rows below the picture's upper edge: rows are stored from the
/// bottom.
inline int32_t storedRow(int wholeHeight, int64_t top, int64_t height)
{
    return heldToInt(wholeHeight - top - height);
}

} // namespace velmont::catalogue
