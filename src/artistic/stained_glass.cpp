#include "artistic/glass_grid.h"
#include "artistic/glass_lead.h"
#include "artistic/glass_light.h"
#include "artistic/glass_panes.h"
#include "artistic/glass_pixels.h"
#include "core/effect_frame.h"
#include "core/scratch_block.h"
#include "platform/services.h"
#include <cstring>
#include <velmont/painting.h>

using namespace velmont;

void *ProcessStainedGlass(void *dib, tagStainedGlassParam *param)
{
    if (!dib || !param)
        return nullptr;
    // Hosts are not asked and told nothing, and find the cursors around what the frame does.
    EffectFrame frame(dib, {.waitCursor = false, .droppedPoll = false, .finalReport = false});
    showWaitCursor();
    if (!frame.serves({24}) || param->cellDivisor < 1) {
        showArrowCursor();
        return nullptr;
    }
    const Dib &source = frame.source();
    const int width = source.width(), height = source.height();
    if (!frame.allocate({.layout = source.layout(), .contents = Contents::Overwritten, .flags = 0}))
        return nullptr;
    const GlassGridSize size = GlassGridSize::of(width, height, param->cellDivisor);
    ScratchBlock points(size.pointBytes()), working(GlassPixels::bytesFor(width, height));
    if (!points.bytes() || !working.bytes())
        return frame.giveUp();
    frame.open(kHeaderBytes);
    const GlassPixels pixels(working.bytes(), width, height);
    param->imageHeight = height;
    param->imageWidth = width;
    param->imageBitCount = source.bitCount();
    param->workPixels = pixels.bytes();
    for (int y = 0; y < height; ++y)
        std::memcpy(pixels.row(y), source.row(y), pixels.rowBytes());
    StainedGlassGrid grid(size, points.bytes());
    buildGlassGrid(grid, width, height);
    fillGlassPanes(pixels, grid);
    addOctagonLight(pixels, param->light);
    drawLeadLines(pixels, grid, *param);
    for (int y = 0; y < height; ++y)
        std::memcpy(frame.result().row(y), pixels.row(y), pixels.rowBytes());
    points.release();
    working.release();
    showArrowCursor();
    frame.leaveWaitCursor();
    return frame.finish();
}
