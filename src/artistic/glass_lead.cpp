#include "artistic/glass_lead.h"
#include "core/rounded_math.h"
#include <algorithm>
#include <array>
#include <cmath>
#include <initializer_list>
#include <iterator>
#include <limits>
#include <utility>

namespace velmont {

namespace {

constexpr int kSteps = 10; ///< of the falloff per pixel
using Bands = std::array<double, kSteps>;

/// The light that falls through bands of a disk, a step wide each, from its middle outward.
Bands diskBands()
{
    std::array<double, kSteps> heights;
    heights[0] = 0.5;
    double r = 0.1;
    for (std::size_t i = 1; i < kSteps; ++i, r += 0.1) {
        const double s = std::sqrt(1 - r * r);
        // The square below the logarithm's fraction is no slip: hosts rely on these values.
        heights[i] = 0.5 * s + 0.5 * r * r * rounded::log((s + 1) / (r * r));
    }
    Bands bands;
    for (std::size_t i = 0; i + 1 < kSteps; ++i)
        bands[i] = 0.05 * (heights[i] + heights[i + 1]);
    bands[kSteps - 1] = 0.05 * heights[kSteps - 1];
    return bands;
}

/// By distance from the middle of a line of one pixel: the bands that it covers.
void fillThinFalloff(double (&falloff)[2 * kSteps], const Bands &bands)
{
    for (int k = 0; k < 2 * kSteps; ++k) {
        falloff[k] = 0;
        for (int u = k - 5; u <= k + 5; ++u)
            if (std::abs(u) < kSteps)
                falloff[k] += bands[static_cast<std::size_t>(std::abs(u))];
    }
}

/// By distance inward from a pixel beyond the edge of a wider line: the share of all bands up to there.
void fillWideFalloff(double (&falloff)[2 * kSteps], const Bands &bands)
{
    double sum = 0;
    for (std::size_t i = 0; i < kSteps; ++i)
        falloff[i] = sum += bands[kSteps - 1 - i];
    for (std::size_t i = 0; i < kSteps; ++i)
        falloff[kSteps + i] = sum += bands[i];
    for (double &share : falloff)
        share /= sum;
}

void buildLineFalloff(tagStainedGlassParam &work)
{
    const Bands bands = diskBands();
    // By the width that an earlier run has left, not by that of the lines to come: hosts rely on it.
    if (work.lineWidthWork == 1)
        fillThinFalloff(work.lineFalloff, bands);
    else
        fillWideFalloff(work.lineFalloff, bands);
    for (double &share : work.lineFalloff)
        share = std::min(share, 1.0);
}

/// How far lead at a distance from a line's middle covers a pixel.
class LineCoverage {
public:
    explicit LineCoverage(const tagStainedGlassParam &work)
        : falloff_(work.lineFalloff), isThin_(work.lineWidthWork == 1), half_(work.lineWidthWork * 0.5)
    {
    }
    double operator()(double distance) const
    {
        constexpr int kEnd = 2 * kSteps;
        if (isThin_) {
            const double step = distance * kSteps;
            return step < kEnd ? falloff_[static_cast<int>(step)] : 0.0;
        }
        if (distance <= half_ - 1.0)
            return 1.0;
        const double step = (half_ - distance + 1.0) * kSteps;
        return step > -1.0 ? falloff_[std::min(static_cast<int>(step), kEnd - 1)] : 0.0;
    }

private:
    const double *falloff_;
    bool isThin_;
    double half_;
};

/// Draws lines of one width. Distances are looked up, not worked out.
class LeadPen {
public:
    LeadPen(const GlassPixels &pixels, tagStainedGlassParam &work, int width)
        : pixels_(pixels), slope_(work.lineSlope),
          half_((int64_t{width} + 1) / 2), color_{work.leadColor[0], work.leadColor[1], work.leadColor[2]},
          coverage_(prepared(work, pixels, width))
    {
    }

    void line(const GlassPoint &from, const GlassPoint &to)
    {
        slope_ = 0;
        if (from.x == to.x)
            straight(View(pixels_, true), from.y, to.y, from.x);
        else if (from.y == to.y)
            straight(View(pixels_, false), from.x, to.x, from.y);
        else
            slanted({from.x, from.y}, {to.x, to.y});
    }
    void path(std::initializer_list<GlassPoint> points)
    {
        for (const GlassPoint *to = points.begin() + 1; to != points.end(); ++to)
            line(to[-1], to[0]);
    }

private:
    /// A place in a line's own directions: along it, and across.
    struct Place {
        int64_t along, across;
    };
    /// The image as a line sees it. Lines that are upright rather than level go along rows instead of columns, and lines
    /// that fall see rows or columns across them with a minus.
    struct View {
        int64_t alongSize, acrossSize;
        int64_t alongStep, acrossStep; ///< places from one pixel to the next
        int64_t firstAcross = 0;

        View(const GlassPixels &pixels, bool isUpright, bool isFalling = false)
            : alongSize(pixels.width()), acrossSize(pixels.height()), alongStep(1), acrossStep(pixels.width())
        {
            if (isUpright) {
                std::swap(alongSize, acrossSize);
                std::swap(alongStep, acrossStep);
            }
            if (isFalling) {
                acrossStep = -acrossStep;
                firstAcross = 1 - acrossSize;
            }
        }
        bool has(int64_t along) const { return along >= 0 && along < alongSize; }
        int64_t lastAcross() const { return firstAcross + acrossSize - 1; }
        int64_t place(const Place &at) const { return at.along * alongStep + at.across * acrossStep; }
    };

    /// Sets what the lines read from the record.
    static const tagStainedGlassParam &prepared(tagStainedGlassParam &work, const GlassPixels &pixels,
                                                int width)
    {
        work.lineWidthWork = width;
        work.linePixelsPerRow = pixels.width();
        work.lineRows = pixels.height();
        work.lineColor0 = work.leadColor[0];
        work.lineColor1 = work.leadColor[1];
        work.lineColor2 = work.leadColor[2];
        work.linePixels = pixels.bytes();
        return work;
    }

    void straight(const View &view, int64_t from, int64_t to, int64_t across)
    {
        const int64_t last = std::min(std::max(from, to), view.alongSize - 1);
        for (int64_t along = std::max<int64_t>(std::min(from, to), 0); along <= last; ++along)
            acrossLine(view, {along, across}, 1, 0);
    }

    /// By whole steps, as lines of one pixel are drawn, each with its distance from the true line.
    void slanted(Place from, Place to)
    {
        slope_ = static_cast<double>(to.across - from.across) / static_cast<double>(to.along - from.along);
        const bool isUpright = std::abs(slope_) > 1, isFalling = slope_ < 0;
        for (Place *const end : {&from, &to}) {
            if (isUpright)
                std::swap(end->along, end->across);
            if (isFalling)
                end->across = -end->across;
        }
        if (to.along < from.along)
            std::swap(from, to);
        const View view(pixels_, isUpright, isFalling);
        const int64_t dx = to.along - from.along, dy = to.across - from.across;
        const double inverse = 1 / (2 * std::sqrt(static_cast<double>(dx * dx + dy * dy)));
        const double stepAcross = static_cast<double>(-2 * dx) * inverse;
        acrossLine(view, from, stepAcross, 0);
        int64_t decision = dx - 2 * dy;
        // The last column is not drawn: hosts rely on it.
        for (Place at{from.along + 1, from.across}; at.along < to.along; ++at.along) {
            const bool stepsAside = decision < 0;
            const int64_t off = stepsAside ? decision + dx : decision - dx;
            at.across += stepsAside ? 1 : 0;
            decision += stepsAside ? 2 * (dx - dy) : -2 * dy;
            acrossLine(view, at, stepAcross, static_cast<double>(off) * inverse);
        }
    }

    /// The pixels at one place of a line, from edge to edge of it, as far as they lie in the image.
    void acrossLine(const View &view, const Place &at, double stepAcross, double distance)
    {
        if (!view.has(at.along))
            return;
        const int64_t first = std::max(-half_, view.firstAcross - at.across),
                      last = std::min(half_, view.lastAcross() - at.across);
        int64_t place = view.place({at.along, at.across + first});
        for (int64_t i = first; i <= last; ++i, place += view.acrossStep)
            blend(pixels_.at(place), coverage_(std::abs(static_cast<double>(i) * stepAcross - distance)));
    }

    void blend(uint8_t *pixel, double share) const
    {
        for (std::size_t i = 0; i < std::size(color_); ++i)
            pixel[i] = static_cast<uint8_t>(color_[i] * share + pixel[i] * (1 - share));
    }

    const GlassPixels &pixels_;
    double &slope_;
    int64_t half_; ///< pixels of a line on either side of its middle
    const int color_[3];
    LineCoverage coverage_;
};

void leadY(LeadPen &pen, const StainedGlassGrid &grid)
{
    for (const int end : {2, 3, 0})
        pen.line(grid[end][0], grid[1][0]);
}

void leadSevenPanes(LeadPen &pen, const StainedGlassGrid &grid)
{
    const GlassPoint *const first = grid[0], *const second = grid[1], *const third = grid[2],
                            *const fourth = grid[3];
    pen.path({first[0], second[2], second[1], second[0]});
    pen.path({second[1], third[1], third[0]});
    pen.line(third[1], fourth[0]);
    pen.line(second[3], second[2]);
    pen.line(second[3], first[1]);
    pen.path({second[3], third[2], third[3]});
    pen.line(third[2], fourth[1]);
}

void leadCells(LeadPen &pen, const StainedGlassGrid &grid)
{
    const int cols = grid.cols(), rows = grid.rows();
    for (int j = 0; j < cols; ++j)
        for (int i = 0; i + 1 < rows; ++i)
            pen.line(grid[i][j], grid[i + 1][j]);
    for (int i = 1; i < rows; i += 2)
        for (int j = 1; j < cols - 1; j += 2)
            pen.line(grid[i][j], grid[i][j + 1]);
    for (int i = 2; i < rows; i += 2)
        for (int j = 0; j < cols; j += 2)
            pen.line(grid[i][j], grid[i][j + 1]);
}

int lineWidthFor(const GlassPixels &pixels, GlassLayout layout, int leadWidth)
{
    const int shorter = std::min(pixels.width(), pixels.height());
    constexpr int kLowest = std::numeric_limits<int>::min();
    int width = leadWidth == 1 ? 1 : std::max(leadWidth, kLowest + 1) - 1;
    if (shorter < 200)
        width = std::max(width, 2);
    if (layout == GlassLayout::SevenPanes && shorter < 150)
        width = std::max(width, 3);
    return width;
}

} // namespace

void drawLeadLines(const GlassPixels &pixels, const StainedGlassGrid &grid, tagStainedGlassParam &param)
{
    const GlassLayout layout = grid.layout();
    buildLineFalloff(param);
    LeadPen pen(pixels, param, lineWidthFor(pixels, layout, param.leadWidth));
    switch (layout) {
    case GlassLayout::Diagonal:
        return pen.line(grid[0][0], grid[1][0]);
    case GlassLayout::Y:
        return leadY(pen, grid);
    case GlassLayout::SevenPanes:
        return leadSevenPanes(pen, grid);
    case GlassLayout::Honeycomb:
        return leadCells(pen, grid);
    }
}

} // namespace velmont
