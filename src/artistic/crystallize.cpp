#include "artistic/cell_grid.h"
#include <velmont/hatching.h>

using namespace velmont;

void *ProcessCrystallize(void *dib, tagCrystallize *param)
{
    if (!param || param->size < 2)
        return nullptr;
    const int64_t size = param->size;
    const CellPlan plan{.pitch = size * 3 / 4,
                        .window = std::max<int64_t>(size / 6, 1),
                        .swing = 0,
                        .mayLieOutside = false,
                        .reach = 2 * size};
    ViewFrame frame(dib);
    if (!frame.hasPixels() || !frame.begin())
        return nullptr;
    // Each row of cells reports the same 0: hosts rely on it.
    const CellCadence cadence{.cells = {.reportEvery = 1, .percentSpan = 0}, .rows = {}};
    return paintCells(frame, plan, cadence, [](uint32_t(&colors)[kCellLanes], const auto &found) {
        findMeanColors(colors, found);
    });
}
