#include "core/generator.h"
#include "geometry/cut_out_frame.h"
#include "geometry/pixel_gather.h"
#include <velmont/geometry.h>

namespace velmont {

namespace {

/// Pixels' random ways to their sources, up to half a range either way.
class Scatter {
public:
    Scatter(const Dib &image, int amount)
        : lastColumn_(image.width() - 1), lastRow_(image.height() - 1),
          range_(static_cast<uint32_t>(std::clamp(amount / 2, 1, 50) + 1))
    {
    }

    /// The places of pixels `first` and so on of row y: two numbers each, its column's before its row's.
    void draw(PixelPlaces &places, int first, int y, std::size_t count) const
    {
        uint16_t numbers[2 * PixelPlaces::kMost];
        drawNumbers(numbers, 2 * count);
        for (std::size_t i = 0; i < count; ++i) {
            places.column[i] = movedWithin(lastColumn_, first + static_cast<int>(i), wayOf(numbers[2 * i]));
            places.row[i] = movedWithin(lastRow_, y, wayOf(numbers[2 * i + 1]));
        }
    }

private:
    int32_t wayOf(uint32_t number) const
    {
        return static_cast<int32_t>((range_.range() >> 1) - range_(number));
    }

    int lastColumn_, lastRow_;
    NumberRange range_;
};

/// Row by row and run by run: run(y, first, places, count).
template <typename Frame, typename Run>
void scatter(Frame &frame, int amount, Run run)
{
    const Dib &source = frame.source();
    const Scatter ways(source, amount);
    for (int y : frame.rows()) {
        forPixelRuns(source.width(), [&](int first, std::size_t count) {
            PixelPlaces places;
            ways.draw(places, first, y, count);
            run(y, first, places, count);
        });
        frame.clearPadding(y);
    }
}

} // namespace

} // namespace velmont

using namespace velmont;

void *ProcessSplash(void *dib, int amount)
{
    EffectFrame frame(dib);
    if (!servesSamples(frame))
        return nullptr;
    const Dib &source = frame.source();
    if (!frame.begin(planOnSamples(source)))
        return nullptr;
    velmont::srand(static_cast<uint32_t>(source.width()) * static_cast<uint32_t>(source.height()));
    const PixelSource pixels(source);
    scatter(frame, amount, [&](int y, int first, const PixelPlaces &places, std::size_t count) {
        pixels.copy(frame.result().row(y), first, places, count);
    });
    return frame.finish();
}

int ProcessSplash(void *dib, void *alpha, int amount, void **newDib, void **newAlpha)
{
    CutOutFrame frame(dib, alpha, newDib, newAlpha);
    if (!frame.serves() || !frame.begin(Carried::Headers))
        return 0;
    // No seed here: hosts rely on another picture each time.
    const PixelSource pixels(frame.source()), mask(frame.sourceAlpha());
    scatter(frame, amount, [&](int y, int first, const PixelPlaces &places, std::size_t count) {
        pixels.copy(frame.result().row(y), first, places, count);
        mask.copy(frame.resultAlpha().row(y), first, places, count);
    });
    return frame.finish();
}
