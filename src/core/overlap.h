#pragma once

/// \file
/// Where runs of pixels and images meet, for runs that may start anywhere.

#include <algorithm>
#include <cstdint>

namespace velmont {

/// The part of a run of `count` pixels from `first` on that lies in 0 to size - 1.
struct Overlap {
    int64_t before; ///< pixels of the run before it
    int64_t inside;

    Overlap(int64_t first, int64_t count, int64_t size)
        : before(std::clamp<int64_t>(-first, 0, count)),
          inside(std::max<int64_t>(std::min(first + count, size) - (first + before), 0))
    {
    }
    int64_t end() const { return before + inside; }
};

/// A place beyond the edge as the place that it has when images lie side by side.
inline int64_t wrapped(int64_t place, int64_t size)
{
    const int64_t rest = place % size;
    return rest < 0 ? rest + size : rest;
}

} // namespace velmont
