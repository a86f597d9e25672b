#include "artistic/light_kernels.h"
#include "core/view_frame.h"
#include <algorithm>
#include <array>
#include <cmath>
#include <span>
#include <velmont/lens.h>
#include <velmont/memory.h>

namespace velmont {

namespace {

/// A reflection as it is made: its size as a share of the width, and its place on the line from the light through the
/// middle of the image, which is at 0.
struct Reflection {
    LightShape shape;
    double size, place;
    double color[3]; ///< red, green, blue
};

/// In the order in which they are painted.
constexpr std::array kReflections{
    Reflection{LightShape::Disc, 0.027, 0.6699, {0.44314, 0.054902, 0}},
    Reflection{LightShape::Disc, 0.01, 0.2692, {0.556863, 0.709804, 0.352941}},
    Reflection{LightShape::Disc, 0.005, -0.0112, {0.4156863, 0.54902, 0.21961}},
    Reflection{LightShape::Plate, 0.031, 0.649, {0.07451, 0.1137255, 0.035294}},
    Reflection{LightShape::Plate, 0.015, 0.4696, {0, 0.054902, 0.0941176}},
    Reflection{LightShape::Plate, 0.037, 0.4087, {0, 0.054902, 0.0941176}},
    Reflection{LightShape::Plate, 0.022, -0.2003, {0, 0.07451, 0.164706}},
    Reflection{LightShape::Plate, 0.025, -0.4103, {0.0666667, 0.035294, 0}},
    Reflection{LightShape::Plate, 0.058, -0.4503, {0.0392157, 0.0156863, 0}},
    Reflection{LightShape::Plate, 0.017, -0.5112, {0.054902, 0.01961, 0.01961}},
    Reflection{LightShape::Plate, 0.2, -1.496, {0, 0.0156863, 0.035294}},
    Reflection{LightShape::Plate, 0.5, -1.496, {0, 0.0156863, 0.035294}},
    Reflection{LightShape::Bowl, 0.075, 0.4487, {0, 0.07451, 0.1333333}},
    Reflection{LightShape::Bowl, 0.1, 1.0, {0, 0.101961, 0.054902}},
    Reflection{LightShape::Bowl, 0.039, -1.301, {0.0509804, 0.09804, 0.0392157}},
    Reflection{LightShape::Rim, 0.19, 1.309, {0.0666667, 0, 0.035294}},
    Reflection{LightShape::Rim, 0.195, 1.309, {0.01961, 0.062745, 0.035294}},
    Reflection{LightShape::Rim, 0.2, 1.309, {0, 0.0156863, 0.0666667}},
    Reflection{LightShape::Rim, 0.038, -1.301, {0, 0.0156863, 0.0666667}},
};

/// A ring of the light itself, its radius as a share of the width.
struct Ring {
    LightShape shape;
    double size;
    double color[3]; ///< red, green, blue, of 255
};

constexpr std::array kRings{
    Ring{LightShape::Disc, 0.0375, {239, 239, 239}},  Ring{LightShape::Disc, 0.078125, {245, 245, 245}},
    Ring{LightShape::Disc, 0.1796875, {255, 38, 43}}, Ring{LightShape::Cone, 0.3359375, {69, 59, 64}},
    Ring{LightShape::Halo, 0.084375, {80, 15, 4}},
};

/// Columns of a row, the last one left out.
struct Span {
    int first = 0, end = 0;

    bool isEmpty() const { return first >= end; }
};

/// Where a row crosses the circle of a light: the columns whose distance, rounded as it is, is at most `reach`.
Span spanOf(const Light &light, double reach, int y, int width)
{
    const double rise = static_cast<double>(y) - light.row, square = rise * rise;
    if (!(std::sqrt(square) <= reach))
        return {};
    const auto reaches = [&](double run) { return std::sqrt(run * run + square) <= reach; };
    double run = std::floor(std::sqrt(std::max(reach * reach - square, 0.0)));
    while (run > 0 && !reaches(run))
        --run;
    while (reaches(run + 1))
        ++run;
    const auto column = [&](double x) { return static_cast<int>(std::clamp<double>(x, 0, width)); };
    return {column(light.column - run), column(light.column + run + 1)};
}

/// The lights of one flare.
class Flare {
public:
    Flare(const DibLayout &layout, const tagParamFlare &param) : width_(layout.width)
    {
        const double width = width_;
        // Rows are stored from the bottom up, lines counted from the top.
        const int64_t row = int64_t{layout.height} - param.y;
        for (std::size_t i = 0; i < kRings.size(); ++i) {
            const Ring &ring = kRings[i];
            rings_[i] = {
                ring.shape, static_cast<double>(param.x), static_cast<double>(row), ring.size * width, {}};
            for (std::size_t byte = 0; byte < 3; ++byte)
                rings_[i].color[byte] = ring.color[2 - byte] / 255;
        }
        const int64_t middleColumn = layout.width / 2, middleRow = layout.height / 2;
        const int64_t dx = middleColumn - param.x, dy = middleRow - row;
        for (std::size_t i = 0; i < kReflections.size(); ++i) {
            const Reflection &made = kReflections[i];
            reflections_[i] = {made.shape,
                               placeOn(middleColumn, made.place, dx),
                               placeOn(middleRow, made.place, dy),
                               made.size * width,
                               {}};
            for (std::size_t byte = 0; byte < 3; ++byte)
                reflections_[i].color[byte] = made.color[2 - byte];
        }
    }

    /// Finds out what lies where on a row.
    void enterRow(int y)
    {
        y_ = y;
        for (std::size_t i = 0; i < kRings.size(); ++i) {
            // The halo reaches beyond its radius.
            const double beyond = rings_[i].shape == LightShape::Halo ? 1.25 : 1;
            ringSpans_[i] = spanOf(rings_[i], beyond * rings_[i].radius, y, width_);
        }
        for (std::size_t i = 0; i < kReflections.size(); ++i)
            spans_[i] = spanOf(reflections_[i], reflections_[i].radius, y, width_);
        joinSpans();
    }
    /// Where reflections lie on the row, from left to right and apart; the light shows nowhere else.
    std::span<const Span> lit() const { return {lit_.data(), litCount_}; }

    /// Paints pixels of the row, the first of them at `part.first`: rings first, then the reflections.
    void paint(uint8_t *pixels, const Span &part) const
    {
        for (std::size_t i = 0; i < kRings.size(); ++i)
            paintLight(pixels, part, rings_[i], ringSpans_[i]);
        for (std::size_t i = 0; i < kReflections.size(); ++i)
            paintLight(pixels, part, reflections_[i], spans_[i]);
    }

private:
    static double placeOn(int64_t middle, double place, int64_t way)
    {
        return std::trunc(static_cast<double>(middle) + place * static_cast<double>(way));
    }

    void joinSpans()
    {
        std::array<Span, kReflections.size()> sorted = spans_;
        std::sort(sorted.begin(), sorted.end(),
                  [](const Span &a, const Span &b) { return a.first < b.first; });
        litCount_ = 0;
        for (const Span &span : sorted) {
            if (span.isEmpty())
                continue;
            if (litCount_ > 0 && span.first <= lit_[litCount_ - 1].end)
                lit_[litCount_ - 1].end = std::max(lit_[litCount_ - 1].end, span.end);
            else
                lit_[litCount_++] = span;
        }
    }

    void paintLight(uint8_t *pixels, const Span &part, const Light &light, const Span &whole) const
    {
        const Span span{std::max(whole.first, part.first), std::min(whole.end, part.end)};
        if (!span.isEmpty())
            shine_(pixels + std::size_t{3} * static_cast<std::size_t>(span.first - part.first), light,
                   span.first, y_, static_cast<std::size_t>(span.end - span.first));
    }

    int width_, y_ = 0;
    std::array<Light, kRings.size()> rings_;
    std::array<Light, kReflections.size()> reflections_;
    std::array<Span, kRings.size()> ringSpans_;
    std::array<Span, kReflections.size()> spans_, lit_; ///< of each reflection; of all of them, joined
    std::size_t litCount_ = 0;
    ShineRun shine_ = shineRun();
};

/// Whatever the depth, pixels have three bytes: they may reach over the rows behind and the block's end.
void paintForeignRow(ViewFrame &frame, const Flare &flare, int y)
{
    for (const Span &lit : flare.lit())
        for (int x = lit.first; x < lit.end; ++x) {
            const uint32_t source = frame.source().GetPixel24(x, y);
            uint8_t pixel[3] = {blueOf(source), greenOf(source), redOf(source)};
            flare.paint(pixel, {x, x + 1});
            frame.result().SetPixel24(x, y, pixel[0], pixel[1], pixel[2]);
        }
}

/// The result is a copy of the source.
void paintRow(ViewFrame &frame, const Flare &flare, int y)
{
    const DibLayout &layout = frame.layout();
    if (layout.bitCount != 24)
        return paintForeignRow(frame, flare, y);
    uint8_t *const row = frame.result().header + kHeaderBytes + layout.stride * static_cast<std::size_t>(y);
    for (const Span &lit : flare.lit())
        flare.paint(row + std::size_t{3} * static_cast<std::size_t>(lit.first), lit);
}

} // namespace

} // namespace velmont

using namespace velmont;

void *ProcessFlare(void *dib, tagParamFlare *param)
{
    // The lock taken here is undone only where the image is refused. Everybody else finds one lock more on it: hosts
    // rely on it.
    if (!param || !KelMemLock(dib))
        return nullptr;
    ViewFrame frame(dib);
    if (!frame.hasPixels() || frame.layout().bitCount == 8) {
        KelMemUnlock(dib);
        return nullptr;
    }
    if (!frame.beginWithCopy())
        return nullptr;
    Flare flare(frame.layout(), *param);
    for (const int y : frame.rows()) {
        flare.enterRow(y);
        paintRow(frame, flare, y);
    }
    return frame.finish();
}
