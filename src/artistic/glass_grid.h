#pragma once

/// \file
/// Where the corners of a leaded window's panes lie.

#include <cstddef>
#include <cstdint>

namespace velmont {

struct GlassPoint {
    int32_t x, y;
};

/// The ways in which a window is cut into panes.
enum class GlassLayout { Diagonal, Y, SevenPanes, Honeycomb };

/// The size of a window's grid, known before there is memory for its points.
struct GlassGridSize {
    GlassLayout layout; ///< by which the points are placed
    int cols, rows;
    double stepX, stepY; ///< of the honeycomb: half a side of a cell, and half its height

    /// \param cellDivisor from 1 on
    static GlassGridSize of(int width, int height, int cellDivisor);

    uint64_t pointBytes() const
    {
        return sizeof(GlassPoint) * static_cast<uint64_t>(cols) * static_cast<uint64_t>(rows);
    }
};

class StainedGlassGrid {
public:
    StainedGlassGrid(const GlassGridSize &size, void *points)
        : size_(size), points_(static_cast<GlassPoint *>(points))
    {
    }

    int cols() const { return size_.cols; }
    int rows() const { return size_.rows; }
    const GlassGridSize &size() const { return size_; }
    /// The layout by which panes and lead are made. It follows from the grid's size alone, so that a honeycomb of
    /// four by four points counts as seven panes: hosts rely on it.
    GlassLayout layout() const;

    GlassPoint *operator[](int row) { return points_ + placeOf(row); }
    const GlassPoint *operator[](int row) const { return points_ + placeOf(row); }

private:
    std::ptrdiff_t placeOf(int row) const { return std::ptrdiff_t{row} * size_.cols; }

    GlassGridSize size_;
    GlassPoint *points_;
};

/// Places the points, which takes the time for the seed of the random numbers.
void buildGlassGrid(StainedGlassGrid &grid, int width, int height);

} // namespace velmont
