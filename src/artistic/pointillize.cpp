#include "artistic/cell_grid.h"
#include <velmont/hatching.h>

namespace velmont {

namespace {

constexpr uint32_t kWhite = 0xFFFFFF;

/// Halfway to white, each byte rounded down.
uint32_t halfWhite(uint32_t color)
{
    return color + ((color ^ kWhite) >> 1 & 0x7F7F7F);
}

/// Cells as round dots of a radius on white, mixed with it at the rim where a dot stands alone.
struct Dots {
    int64_t radius;

    template <typename Number>
    void operator()(uint32_t (&colors)[kCellLanes], const NearestCells<Number> &found) const
    {
        findMeanColors(colors, found);
        const auto rim = static_cast<Number>(radius), beyond = rim + 1;
        for (int i = 0; i < kCellLanes; ++i) {
            const bool isRim = found.count[i] == 1 && found.squared[i] >= rim * rim;
            const uint32_t color = isRim ? halfWhite(colors[i]) : colors[i];
            colors[i] = found.squared[i] >= beyond * beyond ? kWhite : color;
        }
    }
};

} // namespace

} // namespace velmont

using namespace velmont;

void *ProcessPointillize(void *dib, tagPointillize *param)
{
    if (!param || param->size < 1)
        return nullptr;
    const int64_t size = param->size, pitch = size * 8 / 10;
    const CellPlan plan{.pitch = pitch < 4 ? pitch + 1 : pitch,
                        .window = size,
                        .swing = 100,
                        .mayLieOutside = true,
                        .reach = 2 * size};
    ViewFrame frame(dib);
    if (!frame.hasPixels() || !frame.begin())
        return nullptr;
    const int cellRows = static_cast<int>(frame.layout().height / plan.pitch + 1);
    const CellCadence cadence{.cells = {.reportEvery = cellRows / 10 + 1, .percentSpan = 10},
                              .rows = {.percentFrom = 10, .percentSpan = 90}};
    return paintCells(frame, plan, cadence, Dots{size / 2});
}
