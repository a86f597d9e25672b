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

template <typename Number>
void numberPixels(uint8_t *row, std::size_t pixels, std::size_t channels, Number number)
{
    for (std::size_t x = 0; x < pixels; ++x)
        std::memset(row + x * channels, number(x), channels);
}

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
    ScratchBlock scratch(uint64_t{2} * bytes);
    if (!scratch.bytes())
        return frame.giveUp();
    uint8_t *const columns = scratch.bytes(), *const walk = columns + bytes;
    RandomWalk columnWalk, rowWalk;
    numberPixels(columns, width, channels, [](std::size_t x) { return static_cast<uint8_t>(x); });
    numberPixels(walk, width, channels,
                 [&](std::size_t) { return wanders ? columnWalk.step() : uint8_t{0}; });
    frame.open(plan.headerBytes);
    const ShadeKernels kernels = shadeKernels();
    for (int y : frame.rows()) {
        const auto row = static_cast<uint8_t>(y);
        // A grid that wanders has rows and columns change places: hosts rely on it.
        const TilePlaces places = wanders ? TilePlaces{columns, walk, rowWalk.step(), row, mask, shade}
                                          : TilePlaces{walk, columns, row, 0, mask, shade};
        kernels.tiles(frame.result().row(y), source.row(y), places, bytes);
        frame.clearPadding(y);
    }
    scratch.release();
    return frame.finish();
}
