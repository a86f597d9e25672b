#include "core/generator.h"
#include "core/scratch_block.h"
#include "filters/sample_frame.h"
#include "filters/shade_kernels.h"
#include <array>
#include <cstring>
#include <velmont/filters.h>

namespace velmont {

namespace {

/// By cellSize, 1 to 3: the size of a tile - 1. Hosts rely on the order.
constexpr std::array<uint8_t, 3> kMasks{31, 15, 63};

/// A value that a random walk leads up and down.
class RandomWalk {
public:
    uint8_t step()
    {
        const int draw = rand() & 3;
        if (draw == 1)
            ++value_;
        else if (draw == 2)
            --value_;
        return value_;
    }

private:
    uint8_t value_ = 0; // tiles look at its lowest bits alone
};

/// Rows of numbers for each byte of the picture.
struct GridRows {
    uint8_t *column; ///< where the byte's pixel lies in its row
    uint8_t *walk;   ///< how far a wandering grid leads away there
    Shades shades;

    static constexpr std::size_t kRows = 4;
    GridRows(uint8_t *scratch, std::size_t rowBytes)
        : column(scratch), walk(scratch + rowBytes), shades{scratch + 2 * rowBytes, scratch + 3 * rowBytes}
    {
    }
};

template <typename Number>
void numberPixels(uint8_t *row, std::size_t pixels, std::size_t channels, Number number)
{
    for (std::size_t x = 0; x < pixels; ++x)
        std::memset(row + x * channels, number(x), channels);
}

/// A straight grid: rows at the same place of their tiles are shaded alike, and most of them alike altogether.
class StraightGrid {
public:
    StraightGrid(const GridRows &rows, uint8_t mask, uint8_t shade) : rows_(rows), mask_(mask), shade_(shade)
    {
    }
    bool isLine(int y) const { return placeOf(y) == 0 || placeOf(y) == mask_; }
    /// Makes the shades of row y unless those that are there do.
    void shade(const ShadeKernels &kernels, int y, std::size_t bytes)
    {
        const int place = placeOf(y), kind = place == 1 || place == mask_ - 1 ? place : 2;
        if (kind == kind_)
            return;
        kind_ = kind;
        // The column's numbers stand for the walk here, and a row of zeros for the column.
        kernels.tiles(rows_.shades, {rows_.walk, rows_.column, static_cast<uint8_t>(kind), 0, mask_, shade_},
                      bytes);
    }

private:
    int placeOf(int y) const { return y & mask_; }

    const GridRows &rows_;
    uint8_t mask_, shade_;
    int kind_ = 0;
};

} // namespace

} // namespace velmont

using namespace velmont;

void *Process3DGrid(void *dib, tagParam3DGrid *param)
{
    if (!param || param->cellSize < 1 || param->cellSize > 3 || param->depth < 0 || param->depth > 2 ||
        param->jitter < 0 || param->jitter > 1)
        return nullptr;
    const uint8_t mask = kMasks[static_cast<std::size_t>(param->cellSize - 1)];
    const auto shade = static_cast<uint8_t>(92 - 32 * param->depth);
    const bool wanders = param->jitter == 1;
    EffectFrame frame(dib);
    if (!servesSamples(frame))
        return nullptr;
    const Dib &source = frame.source();
    const ResultPlan plan = planWithColors(source);
    if (!frame.allocate(plan))
        return nullptr;
    const std::size_t bytes = sampleBytes(source), channels = samplesPerPixel(source);
    const auto width = static_cast<std::size_t>(source.width());
    ScratchBlock scratch(GridRows::kRows * bytes);
    if (!scratch.bytes())
        return frame.giveUp();
    const GridRows rows(scratch.bytes(), bytes);
    RandomWalk columnWalk, rowWalk;
    numberPixels(rows.column, width, channels, [](std::size_t x) { return static_cast<uint8_t>(x); });
    numberPixels(rows.walk, width, channels,
                 [&](std::size_t) { return wanders ? columnWalk.step() : uint8_t{0}; });
    frame.open(plan.headerBytes);
    const ShadeKernels kernels = shadeKernels();
    StraightGrid straight(rows, mask, shade);
    for (int y : frame.rows()) {
        uint8_t *const to = frame.result().row(y);
        if (wanders) {
            // Rows and columns change places here: hosts rely on it.
            const uint8_t lead = rowWalk.step();
            kernels.tiles(rows.shades, {rows.column, rows.walk, lead, static_cast<uint8_t>(y), mask, shade},
                          bytes);
        } else if (!straight.isLine(y)) {
            straight.shade(kernels, y, bytes);
        }
        if (!wanders && straight.isLine(y))
            std::memcpy(to, source.row(y), bytes);
        else
            kernels.row(to, source.row(y), rows.shades, bytes);
        frame.clearPadding(y);
    }
    scratch.release();
    return frame.finish();
}
