#pragma once

/// \file
/// Kernels of the median filter.
///
/// The walk along a row that hosts know counts the samples of the window by value and moves a candidate until as
/// many samples as the rank asks for lie at or below it. It rests as soon as that is so, be it on a value that no
/// sample has. With the window in order, v[1] first, that comes to
///
///     first output of a row: v[rank]
///     each further output:   the one before, held to v[rank] .. max(v[rank], v[rank + 1] - 1)
///
/// so that two neighbouring ranks of each window, found in any way and order, give the row. For exactly the values
/// from v[rank] up to v[rank + 1] - 1 have `rank` samples at or below them. Where there are such values, a candidate
/// among them rests, one above them comes down to their last, and one below them, having fewer, goes up to their
/// first, v[rank]. Where there are none, as v[rank + 1] is v[rank], a candidate that comes down goes on until it has
/// fewer, just below v[rank], and takes one step back up; one that comes up stops there as well.

#include <cstddef>
#include <cstdint>

namespace velmont {

inline constexpr int kSmallestMedian = 2, kLargestMedian = 32;
inline constexpr int kLargestBelowMedian = 249;

/// What a window gives.
enum class MedianKind {
    Walked, ///< the walk's candidate, for windows of kSmallestMedian to kLargestMedian
    Middle, ///< the sample v[rank], whatever the output before, for the same windows
    Below, ///< the sample one rank below the middle, for windows of an odd size from 3 to kLargestBelowMedian
};

/// The rows of one output row's windows, and what the windows are.
struct MedianRows {
    const uint8_t *row[kLargestBelowMedian]; ///< the first `size` count, at column 0 of the image
    int size;
    std::size_t pixels, channels;
    MedianKind kind = MedianKind::Walked;

    int rank() const { return (size * size + (kind == MedianKind::Below ? -1 : 1)) / 2; }
};

using MedianRow = void (*)(uint8_t *to, const MedianRows &rows);
/// The version for a window of this size, which is for rows of the same kind.
MedianRow medianRow(int size, MedianKind kind = MedianKind::Walked);

namespace kernels {

/// The walk, of either kind.
void medianPlain(uint8_t *to, const MedianRows &rows);
/// By ranks, for windows of this size, up to kLargestByRanks.
inline constexpr int kLargestByRanks = 10;
MedianRow medianByRanks(int size, MedianKind kind);
#if defined(__x86_64__)
MedianRow medianByRanksAvx2(int size, MedianKind kind);
MedianRow medianByRanksAvx512(int size, MedianKind kind);
#endif

} // namespace kernels

} // namespace velmont
