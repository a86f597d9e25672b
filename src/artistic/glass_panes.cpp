#include "artistic/glass_panes.h"
#include "geometry/pixel_runs.h"
#include <initializer_list>
#include <utility>

namespace velmont {

namespace {

/// Byte by byte, rounded down.
PixelValue meanOf(std::initializer_list<PixelValue> colors)
{
    PixelValue mean = 0;
    for (int shift = 0; shift < 24; shift += 8) {
        unsigned sum = 0;
        for (const PixelValue color : colors)
            sum += color >> shift & 0xFF;
        mean |= sum / static_cast<unsigned>(colors.size()) << shift;
    }
    return mean;
}

constexpr int64_t middle(int64_t a, int64_t b)
{
    return (a + b) / 2;
}

/// A side of a triangle. One that lies level has no columns: at its own row it is not a number, and it is not asked for
/// another one.
class Side {
public:
    Side(const GlassPoint &from, const GlassPoint &to)
        : slope_(static_cast<double>(int64_t{to.x} - from.x) / static_cast<double>(int64_t{to.y} - from.y)),
          x_(from.x), y_(from.y)
    {
    }
    double at(int y) const { return (y - y_) * slope_ + x_; }

private:
    double slope_, x_, y_;
};

/// Paints triangles.
class GlassPainter {
public:
    GlassPainter(const GlassPixels &pixels, PixelValue color)
        : pixels_(pixels), paint_(static_cast<std::size_t>(GlassPixels::kPixelBytes), color)
    {
    }

    void triangle(GlassPoint a, GlassPoint b, GlassPoint c) const
    {
        // Places a in the first row that has a corner, and b beside it where that one has two.
        if (b.y < a.y)
            std::swap(a, b);
        if (c.y < a.y)
            std::swap(a, c);
        if (c.y == a.y)
            std::swap(b, c);
        if (b.y == a.y && c.y > a.y)
            flatTop(a, b, c);
        else if (isLeftOf(b, c, a))
            fromTop(a, b, c);
        else
            fromTop(a, c, b);
    }
    void fan(const GlassPoint &from, std::initializer_list<GlassPoint> rim) const
    {
        for (const GlassPoint *to = rim.begin() + 1; to != rim.end(); ++to)
            triangle(from, to[-1], to[0]);
    }

private:
    /// Whether the way from `top` down to a lies on the left of that to b.
    static bool isLeftOf(const GlassPoint &a, const GlassPoint &b, const GlassPoint &top)
    {
        const auto dx = [&](const GlassPoint &p) { return int64_t{p.x} - top.x; };
        const auto dy = [&](const GlassPoint &p) { return int64_t{p.y} - top.y; };
        return dx(a) * dy(b) <= dx(b) * dy(a);
    }
    void flatTop(GlassPoint left, GlassPoint right, const GlassPoint &apex) const
    {
        if (right.x < left.x)
            std::swap(left, right);
        rows(left.y, apex.y, {apex, left}, {apex, right});
    }
    void fromTop(const GlassPoint &top, const GlassPoint &left, const GlassPoint &right) const
    {
        rows(top.y, std::min(left.y, right.y), {top, left}, {top, right});
        if (left.y < right.y)
            rows(left.y, right.y, {right, left}, {right, top});
        else
            rows(right.y, left.y, {left, top}, {left, right});
    }
    void rows(int first, int last, const Side &left, const Side &right) const
    {
        for (int y = first; y <= last; ++y)
            span(y, left.at(y), right.at(y));
    }
    /// From one column to another one, both included. Ends that are no numbers paint nothing.
    void span(int y, double left, double right) const
    {
        if (!(left <= right))
            return;
        const int64_t first = std::max<int64_t>(pixels_.place(y, static_cast<int64_t>(left)), 0);
        const int64_t end = std::min(pixels_.place(y, static_cast<int64_t>(right)) + 1, pixels_.count());
        if (first < end)
            paint_.fill(pixels_.bytes(), first, end - first);
    }

    const GlassPixels &pixels_;
    PixelRuns paint_;
};

// In the windows of few panes colours are looked up with x for the row and y for the column: hosts rely on their look.

void fillDiagonal(const GlassPixels &pixels)
{
    const int64_t w = pixels.width(), h = pixels.height();
    const int32_t right = pixels.width() - 1, bottom = pixels.height() - 1;
    const GlassPainter below(pixels, meanOf({pixels.read(2 * w / 3, 5 * h / 6), pixels.read(w / 6, 5 * h / 6),
                                             pixels.read(w / 3, 2 * h / 3), pixels.read(w / 6, h / 3)}));
    below.triangle({0, 0}, {0, bottom}, {right, bottom});
    // The last one lies in a row beyond those that an x can name: hosts rely on it.
    const GlassPainter above(pixels, meanOf({pixels.read(5 * w / 6, 2 * h / 3), pixels.read(2 * w / 3, h / 3),
                                             pixels.read(w / 3, h / 6), pixels.read(w, h / 6)}));
    above.triangle({0, 0}, {right, 0}, {right, bottom});
}

void fillY(const GlassPixels &pixels, const StainedGlassGrid &grid)
{
    const int32_t right = pixels.width() - 1, bottom = pixels.height() - 1;
    const GlassPoint &top = grid[0][0], &junction = grid[1][0], &left = grid[2][0], &side = grid[3][0];
    const GlassPainter leftTop(
        pixels, meanOf({pixels.read(junction.x / 2, junction.y / 2), pixels.read(top.x / 2, left.y / 2)}));
    leftTop.fan({0, 0}, {junction, left});
    leftTop.fan({0, 0}, {junction, top});
    const GlassPainter rightTop(pixels, meanOf({pixels.read(middle(junction.x, right), junction.y / 2),
                                                pixels.read(middle(top.x, side.x), middle(top.y, side.y))}));
    rightTop.fan(junction, {top, {right, 0}, side});
    const GlassPainter below(pixels, meanOf({pixels.read(middle(left.x, right), middle(left.y, bottom)),
                                             pixels.read(side.x / 2, middle(side.y, bottom))}));
    below.fan({0, bottom}, {left, junction, {right, bottom}});
    below.triangle({right, bottom}, side, junction);
}

void fillSevenPanes(const GlassPixels &pixels, const StainedGlassGrid &grid)
{
    const int32_t right = pixels.width() - 1, bottom = pixels.height() - 1;
    const GlassPoint *const first = grid[0], *const second = grid[1], *const third = grid[2],
                            *const fourth = grid[3];
    const auto between = [&](const GlassPoint &a, const GlassPoint &b) {
        return GlassPainter(pixels, pixels.read(middle(a.x, b.x), middle(a.y, b.y)));
    };
    between({0, 0}, second[2]).fan({0, 0}, {second[0], second[1], second[2], first[0]});
    between(second[2], {right, 0}).fan({right, 0}, {first[1], second[3], second[2], first[0]});
    between(second[0], third[1]).fan(second[0], {third[0], third[1], second[1]});
    between(second[3], third[3]).fan(first[1], {third[3], third[2], second[3]});
    between(third[0], fourth[0]).fan({0, bottom}, {third[0], third[1], fourth[0]});
    between(third[3], fourth[1]).fan({right, bottom}, {fourth[1], third[2], third[3]});
    between(second[2], fourth[1])
        .fan(second[2], {second[1], third[1], fourth[0], fourth[1], third[2], second[3]});
}

/// The panes of a honeycomb. Their colours are looked up with y for the row.
class CellFiller {
public:
    CellFiller(const GlassPixels &pixels, const StainedGlassGrid &grid)
        : pixels_(pixels), grid_(grid), lastColumn_(grid.cols() - 1), lastRow_(grid.rows() - 1)
    {
    }

    void fill() const
    {
        corners();
        for (int i = 2; i < lastRow_; i += 2) {
            halfCell(i, 0);
            halfCell(i, lastColumn_);
        }
        for (int j = 1; j < lastColumn_ - 1; j += 2)
            borderCell(0, j);
        for (int j = 0; j < lastColumn_; j += 2)
            borderCell(lastRow_ - 1, j);
        for (int i = 1; i < lastRow_ - 1; i += 2)
            for (int j = 0; j < lastColumn_; j += 2)
                cell(i, j);
        for (int i = 2; i < lastRow_; i += 2)
            for (int j = 1; j < lastColumn_; j += 2)
                cell(i, j);
    }

private:
    PixelValue readBetween(const GlassPoint &a, const GlassPoint &b) const
    {
        return pixels_.read(middle(a.y, b.y), middle(a.x, b.x));
    }
    /// The colour at a third of the sums.
    PixelValue readThird(int64_t x, int64_t y) const { return pixels_.read(y / 3, x / 3); }

    void corners() const
    {
        const GlassPoint *const first = grid_[0], *const second = grid_[1];
        const GlassPoint &left = first[0], &right = first[lastColumn_], &below = second[lastColumn_];
        GlassPainter(pixels_, readThird(int64_t{left.x} + second[0].x, int64_t{left.y} + second[0].y))
            .triangle({0, 0}, left, second[0]);
        // The left corner's x, not the right one's: hosts rely on it.
        GlassPainter(pixels_, readThird(int64_t{left.x} + below.x, int64_t{right.y} + below.y))
            .triangle({pixels_.width() - 1, 0}, right, below);
    }
    /// At the left or right border, around row i.
    void halfCell(int i, int j) const
    {
        const GlassPoint &above = grid_[i - 1][j], &at = grid_[i][j], &below = grid_[i + 1][j];
        GlassPainter(pixels_, readThird(int64_t{above.x} + at.x + below.x, int64_t{above.y} + at.y + below.y))
            .triangle(above, at, below);
    }
    /// At the upper or lower border, between the rows i and i + 1.
    void borderCell(int i, int j) const
    {
        const GlassPoint *const above = grid_[i] + j, *const below = grid_[i + 1] + j;
        GlassPainter(pixels_, meanOf({readBetween(above[1], below[0]), readBetween(above[0], below[1])}))
            .fan(above[0], {below[0], below[1], above[1]});
    }
    /// A whole one, around row i: its colour is the mean of its long diagonals' middles.
    void cell(int i, int j) const
    {
        const GlassPoint *const above = grid_[i - 1] + j, *const at = grid_[i] + j,
                                *const below = grid_[i + 1] + j;
        GlassPainter(pixels_, meanOf({readBetween(at[0], at[1]), readBetween(above[1], below[0]),
                                      readBetween(above[0], below[1])}))
            .fan(above[0], {at[0], below[0], below[1], at[1], above[1]});
    }

    const GlassPixels &pixels_;
    const StainedGlassGrid &grid_;
    int lastColumn_, lastRow_;
};

} // namespace

void fillGlassPanes(const GlassPixels &pixels, const StainedGlassGrid &grid)
{
    switch (grid.layout()) {
    case GlassLayout::Diagonal:
        return fillDiagonal(pixels);
    case GlassLayout::Y:
        return fillY(pixels, grid);
    case GlassLayout::SevenPanes:
        return fillSevenPanes(pixels, grid);
    case GlassLayout::Honeycomb:
        return CellFiller(pixels, grid).fill();
    }
}

} // namespace velmont
