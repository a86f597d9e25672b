#pragma once

/// \file
/// A grid of cells with a random place in each, and the cells whose places are nearest to a pixel.

#include "core/scratch_block.h"
#include "core/view_samples.h"
#include <algorithm>
#include <cmath>
#include <limits>

namespace velmont {

/// How an effect lays its grid.
struct CellPlan {
    int64_t pitch;      ///< of the grid in pixels, 1 or more
    int64_t window;     ///< how far from a cell's place the mean of its colour goes
    double swing;       ///< levels that its colour is jittered through; 0 for none
    bool mayLieOutside; ///< whether a place beyond the image's far edges counts
    int64_t reach;      ///< how far from a pixel a cell's place is looked for
};

/// One cell: a place, infinitely far off where there is none, and a colour 0x00BBGGRR.
template <typename Number>
struct Cell {
    Number x, y;
    uint32_t color;
};

/// The cells of an image, with a border of cells without a place around them.
template <typename Number>
class CellGrid {
public:
    CellGrid(int width, int height, int64_t pitch)
        : columns_(width / pitch + 1), rows_(height / pitch + 1), block_(bytes())
    {
        for (std::size_t i = 0; block_.bytes() && i < count(); ++i)
            cells()[i] = {std::numeric_limits<Number>::infinity(), 0, 0};
    }

    explicit operator bool() const { return block_.bytes() != nullptr; }
    int columns() const { return static_cast<int>(columns_); }
    int rows() const { return static_cast<int>(rows_); }
    /// The cells of a row, from -1 to rows(); those of index -1 and columns() are there too.
    Cell<Number> *row(int64_t j) const { return cells() + (j + 1) * (columns_ + 2) + 1; }

private:
    std::size_t count() const { return static_cast<std::size_t>((columns_ + 2) * (rows_ + 2)); }
    /// More than there can be where the cells would take more than an image may.
    std::size_t bytes() const
    {
        constexpr uint64_t kMostCells = UINT32_MAX / sizeof(Cell<Number>);
        const uint64_t cells = static_cast<uint64_t>(columns_ + 2) * static_cast<uint64_t>(rows_ + 2);
        return cells > kMostCells ? SIZE_MAX : static_cast<std::size_t>(cells) * sizeof(Cell<Number>);
    }
    Cell<Number> *cells() const { return reinterpret_cast<Cell<Number> *>(block_.bytes()); }

    int64_t columns_, rows_;
    ScratchBlock block_;
};

/// Draws the cells of a row at a time: their places from the generator, their colours from the image around.
class CellDrawer {
public:
    CellDrawer(const ViewSamples &samples, const CellPlan &plan, int columns)
        : samples_(samples), plan_(plan), columns_(columns),
          drafts_(uint64_t{sizeof(Draft)} * static_cast<unsigned>(columns)),
          sums_(sizeof(uint64_t) * (uint64_t{1} + static_cast<unsigned>(samples.width())))
    {
    }

    explicit operator bool() const { return drafts_.bytes() && sums_.bytes(); }

    template <typename Number>
    void draw(Cell<Number> *cells, int row) const
    {
        drawDrafts(row);
        if (samples_.stores())
            sumWindows();
        for (int i = 0; i < columns_; ++i) {
            const Draft &draft = drafts()[i];
            const bool counts =
                plan_.mayLieOutside || (draft.x <= samples_.width() && draft.y <= samples_.height());
            cells[i] = {counts ? static_cast<Number>(draft.x) : std::numeric_limits<Number>::infinity(),
                        static_cast<Number>(draft.y), colorOf(draft)};
        }
    }

private:
    /// Of columns or rows.
    struct Range {
        int first, end;
        int64_t size() const { return end - first; }
    };
    struct Draft {
        int64_t x, y;
        Range columns, rows; ///< of the window, as far as it lies in the image
        uint64_t sums[3];    ///< of red, green and blue there
        int numbers[3];      ///< of their jitter
    };

    Draft *drafts() const { return reinterpret_cast<Draft *>(drafts_.bytes()); }
    uint64_t *sums() const { return reinterpret_cast<uint64_t *>(sums_.bytes()); }
    Range windowAround(int64_t place, int size) const;
    void drawDrafts(int row) const;
    void sumWindows() const;
    void sumRow(int y) const;
    void addRow(Draft &draft) const;
    uint32_t colorOf(const Draft &draft) const;

    const ViewSamples &samples_;
    const CellPlan plan_;
    int columns_;
    ScratchBlock drafts_, sums_;
};

/// Up to so many pixels side by side are looked up at once.
inline constexpr int kCellLanes = 8;

/// What lies nearest to each of some pixels.
template <typename Number>
struct NearestCells {
    Number squared[kCellLanes];   ///< distance to the nearest place
    uint32_t count[kCellLanes];   ///< cells as near as that by whole pixels; 0 where none is within reach
    uint32_t sums[3][kCellLanes]; ///< of their red, green and blue
};

/// Of the pixels from x on in row y, whose own cell is `around`; `rowStep` leads from a row of cells to the next.
template <typename Number>
void findNearest(NearestCells<Number> &found, const Cell<Number> *around, std::ptrdiff_t rowStep, Number x,
                 Number y, Number reach)
{
    constexpr int kAround = 9;
    Number squares[kAround][kCellLanes];
    const Cell<Number> *cells[kAround];
    for (int k = 0; k < kAround; ++k)
        cells[k] = around + (k / 3 - 1) * rowStep + k % 3 - 1;
    for (Number &squared : found.squared)
        squared = std::numeric_limits<Number>::infinity();
    for (int k = 0; k < kAround; ++k) {
        const Number down = cells[k]->y - y, rest = down * down, right = cells[k]->x - x;
        for (int i = 0; i < kCellLanes; ++i) {
            const Number across = right - static_cast<Number>(i), square = across * across + rest;
            squares[k][i] = square;
            found.squared[i] = square < found.squared[i] ? square : found.squared[i];
        }
    }
    // As near by whole pixels means: below the next whole distance.
    const Number farthest = (reach + 1) * (reach + 1);
    Number limits[kCellLanes];
    for (int i = 0; i < kCellLanes; ++i) {
        const Number near = found.squared[i] < farthest ? found.squared[i] : farthest;
        const Number next = std::floor(std::sqrt(near)) + 1;
        limits[i] = next * next < farthest ? next * next : farthest;
    }
    uint32_t pairs[kCellLanes] = {}, thirds[kCellLanes] = {};
    for (int k = 0; k < kAround; ++k) {
        // Nine times a byte fits 12 bits.
        const uint32_t color = cells[k]->color;
        const uint32_t pair = (color & 0xFF) | (color & 0xFF00) << 4 | 1u << 24, third = color >> 16;
        for (int i = 0; i < kCellLanes; ++i) {
            const bool isIn = squares[k][i] < limits[i];
            pairs[i] += isIn ? pair : 0;
            thirds[i] += isIn ? third : 0;
        }
    }
    for (int i = 0; i < kCellLanes; ++i) {
        found.count[i] = pairs[i] >> 24;
        found.sums[0][i] = pairs[i] & 0xFFF;
        found.sums[1][i] = pairs[i] >> 12 & 0xFFF;
        found.sums[2][i] = thirds[i];
    }
}

/// The mean colour of each pixel's nearest cells, 0x00BBGGRR and rounded down; 0 where there are none.
template <typename Number>
void findMeanColors(uint32_t (&colors)[kCellLanes], const NearestCells<Number> &found)
{
    for (int i = 0; i < kCellLanes; ++i) {
        // Exact: the quotients of such small numbers are integers or well away from them.
        const auto count = static_cast<float>(static_cast<int32_t>(found.count[i] > 1 ? found.count[i] : 1));
        const auto mean = [&](int channel) {
            const auto sum = static_cast<float>(static_cast<int32_t>(found.sums[channel][i]));
            return static_cast<uint32_t>(static_cast<int32_t>(sum / count));
        };
        colors[i] = mean(0) | mean(1) << 8 | mean(2) << 16;
    }
}

/// Stores colours 0x00BBGGRR in pixels of a row of the result.
void storeColors(const ViewSamples &samples, int x, int y, const uint32_t *colors, int count);

/// Paints a row of the result from the cells around; finish(colors, found) makes the nearest ones colours.
template <typename Number, typename Finish>
void paintCellRow(const ViewSamples &samples, const CellGrid<Number> &grid, const CellPlan &plan, int y,
                  const Finish &finish)
{
    const Cell<Number> *const cells = grid.row(y / plan.pitch);
    const std::ptrdiff_t rowStep = grid.row(1) - grid.row(0);
    for (int i = 0; i < grid.columns(); ++i) {
        const auto first = static_cast<int>(i * plan.pitch);
        const auto end = static_cast<int>(std::min<int64_t>(first + plan.pitch, samples.width()));
        for (int x = first; x < end; x += kCellLanes) {
            NearestCells<Number> found;
            uint32_t colors[kCellLanes];
            findNearest(found, cells + i, rowStep, static_cast<Number>(x), static_cast<Number>(y),
                        static_cast<Number>(plan.reach));
            finish(colors, found);
            storeColors(samples, x, y, colors, std::min(kCellLanes, end - x));
        }
    }
}

/// The polls and reports of the cells' rows and of the image's.
struct CellCadence {
    RowCadence cells, rows;
};

/// Draws the cells and paints the rows, of a frame that has begun. An abort among the cells ends them alone, and those
/// that were not drawn are not there.
/// \return whether there was memory for it.
template <typename Number, typename Finish>
bool paintCellsAs(ViewFrame &frame, const ViewSamples &samples, const CellPlan &plan,
                  const CellCadence &cadence, const Finish &finish)
{
    const CellGrid<Number> grid(samples.width(), samples.height(), plan.pitch);
    if (!grid)
        return false;
    const CellDrawer drawer(samples, plan, grid.columns());
    if (!drawer)
        return false;
    bool isStopped = false;
    for (const int row : RowLoop(grid.rows(), isStopped, cadence.cells))
        drawer.draw(grid.row(row), row);
    for (const int y : frame.rows(cadence.rows))
        if (samples.stores())
            paintCellRow(samples, grid, plan, y, finish);
    return true;
}

/// The same, reckoned in the smaller type of number that holds all distances exactly.
template <typename Finish>
void *paintCells(ViewFrame &frame, const CellPlan &plan, const CellCadence &cadence, const Finish &finish)
{
    constexpr int64_t kLargestPitch = 512, kLargestSide = 1 << 23;
    const ViewSamples samples(frame);
    const bool fitsFloat = plan.pitch <= kLargestPitch && plan.reach <= 4 * kLargestPitch &&
                           std::max(samples.width(), samples.height()) <= kLargestSide;
    const bool isDone = fitsFloat ? paintCellsAs<float>(frame, samples, plan, cadence, finish)
                                  : paintCellsAs<double>(frame, samples, plan, cadence, finish);
    return isDone ? frame.finish() : frame.giveUp();
}

} // namespace velmont
