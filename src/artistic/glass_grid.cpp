#include "artistic/glass_grid.h"
#include "core/clock.h"
#include "core/generator.h"
#include <algorithm>
#include <limits>

namespace velmont {

namespace {

/// Twice the height of a triangle with sides of 1, as hosts know it.
constexpr double kRowsPerStep = 1.732;
/// How far points wander, in steps.
constexpr double kJitter = 0.4;

double randomBetween(double a, double b)
{
    return a + rand() * (b - a) * 3.051850947599719e-5;
}

/// Toward zero. Tiny pictures that are very wide have points far outside.
int32_t truncated(double value)
{
    constexpr double kLowest = std::numeric_limits<int32_t>::min(),
                     kHighest = std::numeric_limits<int32_t>::max();
    return static_cast<int32_t>(std::clamp(value, kLowest, kHighest));
}

/// dx / dy in whole numbers; 0 where the points lie on one row.
double wholeSlope(const GlassPoint &a, const GlassPoint &b)
{
    const int64_t dx = int64_t{a.x} - b.x, dy = int64_t{a.y} - b.y;
    return dy == 0 ? 0 : static_cast<double>(dx / dy);
}

double slopeBetween(double a, double b)
{
    return randomBetween(std::min(a, b), std::max(a, b));
}

int columnsOf(int width, int cellDivisor)
{
    // 2 has the columns of 3: hosts rely on it.
    return truncated(cellDivisor == 2 ? width * 0.17543859649122806 : width / (cellDivisor * 1.9));
}

double stepOf(int length, double steps)
{
    return length / steps;
}

double columnStep(int width, int cols)
{
    return stepOf(width, 3.0 * cols - 2);
}

int rowsOf(int height, double rowHeight)
{
    return truncated((height + rowHeight) / rowHeight);
}

void placeDiagonal(StainedGlassGrid &grid, int width, int height)
{
    grid[0][0] = {0, 0};
    grid[1][0] = {width - 1, height - 1};
}

/// Three ends at the borders and, last but not least, the point where they meet.
void placeY(StainedGlassGrid &grid, int width, int height)
{
    GlassPoint &top = grid[0][0], &junction = grid[1][0], &left = grid[2][0], &right = grid[3][0];
    top = {truncated((randomBetween(-1, 1) * kJitter + 0.5) * width), 0};
    left = {0, truncated((randomBetween(-0.5, 1) * kJitter + 0.5) * height)};
    right = {width - 1, truncated((randomBetween(-0.5, 1) * kJitter + 0.5) * height)};
    const double slope = slopeBetween(wholeSlope(top, left), wholeSlope(top, right));
    junction.y = truncated(randomBetween(5.0, std::min(left.y, right.y)));
    junction.x = truncated(junction.y * slope + top.x);
}

/// A corner of the upper half: beside the middle one, towards `edge`, below the higher of its neighbours.
GlassPoint upperCorner(const GlassPoint &upper, const GlassPoint &middle, const GlassPoint &lower, int reach,
                       int from)
{
    const int32_t top = std::max(upper.y, middle.y);
    const int32_t x = truncated(randomBetween(0.3, 0.6) * reach + from);
    const int32_t y = truncated(randomBetween(0.2, 0.4) * (lower.y - top) + top);
    return {x, y};
}

/// A corner of the lower half: below the upper one, somewhere between the ways to two ends of the lead.
GlassPoint lowerCorner(const GlassPoint &upper, double slopeA, double slopeB, const GlassPoint &side)
{
    const double slope = slopeBetween(slopeA, slopeB);
    const int32_t y = truncated(randomBetween(0.3, 0.6) * (side.y - upper.y) + upper.y);
    return {truncated(slope * (y - upper.y) + upper.x), y};
}

void placeSevenPanes(StainedGlassGrid &grid, int width, int height)
{
    const auto across = [&](double from, double to) {
        return truncated(randomBetween(from * width, to * width));
    };
    const auto down = [&](double from, double to) {
        return truncated(randomBetween(from * height, to * height));
    };
    GlassPoint *const first = grid[0], *const second = grid[1], *const third = grid[2],
                      *const fourth = grid[3];
    first[0] = {across(0.2, 0.8), 0};
    first[1] = {width - 1, down(0.05, 0.2)};
    second[0] = {0, down(0.05, 0.2)};
    third[0] = {0, down(0.7, 0.9)};
    third[3] = {width, down(0.7, 0.9)}; // one beyond the last column: hosts rely on it
    fourth[0] = {across(0.25, 0.49), height - 1};
    fourth[1] = {across(0.51, 0.75), height - 1};
    second[2].x = across(0.4, 0.6);
    second[2].y = down(0.2, 0.4);
    const GlassPoint middle = second[2];
    second[1] = upperCorner(second[0], middle, third[0], middle.x, 0);
    second[3] = upperCorner(first[1], middle, third[3], width - middle.x - 1, middle.x);
    third[1] =
        lowerCorner(second[1], wholeSlope(second[1], third[0]), wholeSlope(second[1], fourth[0]), third[0]);
    third[2] =
        lowerCorner(second[3], wholeSlope(second[3], fourth[1]), wholeSlope(second[3], third[3]), third[3]);
}

/// Columns of even rows at 1, 3, 7, 9, 13, 15 ... steps and of odd rows at 0, 4, 6, 10, 12, 16 ...: a cell has its
/// corners at (1, r), (3, r), (4, r + 1), (3, r + 2), (1, r + 2), (0, r + 1).
void placeCells(StainedGlassGrid &grid, int width, int height)
{
    const auto [layout, cols, rows, u, v] = grid.size();
    for (int i = 0; i < rows; ++i) {
        GlassPoint *const row = grid[i];
        const bool isEven = i % 2 == 0;
        for (int j = 0; j < cols - 1; j += 2) {
            row[j].x = truncated(isEven ? (3 * j + 1) * u : j * u * 3.0);
            row[j + 1].x = truncated((3 * j + (isEven ? 3 : 4)) * u);
        }
        row[cols - 1].x = width - 1;
        const int32_t y = i == rows - 1 ? height - 1 : truncated(i * v);
        for (int j = 0; j < cols; ++j)
            row[j].y = y;
    }
}

/// Border points stay on their border.
void jitterCells(StainedGlassGrid &grid)
{
    const auto [layout, cols, rows, u, v] = grid.size();
    for (int i = 0; i < rows; ++i)
        for (int j = 0; j < cols; ++j) {
            GlassPoint &point = grid[i][j];
            if (j != 0 && j != cols - 1)
                point.x = truncated(randomBetween(-1, 1) * u * kJitter + point.x);
            if (i != 0 && i != rows - 1)
                point.y = truncated(randomBetween(-1, 1) * v * kJitter + point.y);
        }
}

} // namespace

GlassGridSize GlassGridSize::of(int width, int height, int cellDivisor)
{
    const int cols = columnsOf(width, cellDivisor);
    const int rows = cols > 1 ? rowsOf(height, columnStep(width, cols) * kRowsPerStep) : 0;
    if (rows <= 2 || cols <= 1)
        return {GlassLayout::Diagonal, 1, 2, 0, 0};
    if (rows == 3 || cols == 2)
        return {GlassLayout::Y, 1, 4, 0, 0};
    if (rows == 4 || cols == 3)
        return {GlassLayout::SevenPanes, 4, 4, 0, 0};
    // The cells of an even number of columns are larger, so that their rows are counted anew.
    const int evenCols = cols - cols % 2;
    const double stepX = columnStep(width, evenCols);
    const int cellRows = rowsOf(height, stepX * kRowsPerStep), evenRows = cellRows - cellRows % 2;
    return {GlassLayout::Honeycomb, evenCols, evenRows, stepX, stepOf(height, evenRows - 1)};
}

GlassLayout StainedGlassGrid::layout() const
{
    if (size_.cols == 1)
        return size_.rows == 2 ? GlassLayout::Diagonal : GlassLayout::Y;
    return size_.cols == 4 && size_.rows == 4 ? GlassLayout::SevenPanes : GlassLayout::Honeycomb;
}

void buildGlassGrid(StainedGlassGrid &grid, int width, int height)
{
    srand(clockSeconds());
    switch (grid.size().layout) {
    case GlassLayout::Diagonal:
        return placeDiagonal(grid, width, height);
    case GlassLayout::Y:
        return placeY(grid, width, height);
    case GlassLayout::SevenPanes:
        return placeSevenPanes(grid, width, height);
    case GlassLayout::Honeycomb:
        placeCells(grid, width, height);
        return jitterCells(grid);
    }
}

} // namespace velmont
