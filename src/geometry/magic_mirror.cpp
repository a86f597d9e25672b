#include "core/rounded_math.h"
#include "core/scratch_block.h"
#include "filters/sample_frame.h"
#include "geometry/ellipse_warp.h"
#include "geometry/pixel_gather.h"
#include <cstring>
#include <velmont/geometry.h>

namespace velmont {

namespace {

enum Mode { Columns, Rows, Radial, Angular };

constexpr RowCadence kCadence{.pollEvery = 32, .reportEvery = 32};

/// The curve between two of its positions.
double curveAt(const uint8_t (&curve)[256], double position)
{
    const int before = std::min(static_cast<int>(position), 255);
    double value = (before + 1 - position) * curve[before];
    if (before < 255)
        value += (position - before) * curve[before + 1];
    return value;
}

/// Where each of `size` columns or rows comes from: the curve stretched to their number.
void stretchCurve(int32_t *places, int size, const uint8_t (&curve)[256])
{
    const int steps = std::max(size, 2) - 1;
    const double step = 255.0 / steps;
    double position = 0; // a sum of steps, not a product: hosts rely on its rounding
    for (int i = 0; i < size; ++i, position += step) {
        const double place = curveAt(curve, position) * steps * 0.00392156862745 + 0.5;
        places[i] = std::min(static_cast<int32_t>(place), size - 1);
    }
}

/// How far the curve lies below a straight line at an entry of the ellipse's tables.
double dentAt(const uint8_t (&curve)[256], int entry)
{
    const double position = entry * 0.498046875;
    return position - curveAt(curve, position);
}

RadialWarp radialWarp(const uint8_t (&curve)[256])
{
    RadialWarp warp{};
    for (int i = 1; i < kEllipseEntries; ++i) {
        const double dent = dentAt(curve, i);
        const double factor = dent >= 0 ? 1 + dent * 0.01 : 1 / (1 - dent * 0.01);
        warp.factor[static_cast<std::size_t>(i)] = static_cast<int32_t>(factor * kEllipseUnit);
    }
    return warp;
}

AngularWarp angularWarp(const uint8_t (&curve)[256])
{
    AngularWarp warp{};
    for (int i = 1; i < kEllipseEntries; ++i) {
        const double angle = dentAt(curve, i) * 0.0314159265;
        warp.cosine[static_cast<std::size_t>(i)] = static_cast<int32_t>(rounded::cos(angle) * kEllipseUnit);
        warp.sine[static_cast<std::size_t>(i)] = static_cast<int32_t>(rounded::sin(angle) * kEllipseUnit);
    }
    return warp;
}

/// Ends the frame of a run: writeRow(to, y) writes the pixels of each row.
template <typename WriteRow>
void mirrorRows(EffectFrame &frame, const Dib &source, WriteRow writeRow)
{
    frame.open(headerBytesOf(source));
    for (int y : frame.rows(kCadence)) {
        writeRow(frame.result().row(y), y);
        frame.clearPadding(y);
    }
}

/// Along one axis: column or row i of the result is that at places[i].
void *stretch(EffectFrame &frame, const Dib &source, const tagParamMagicMirror &record)
{
    const int size = record.mode == Columns ? source.width() : source.height();
    ScratchBlock scratch(static_cast<uint64_t>(size) * sizeof(int32_t));
    if (!scratch.bytes())
        return frame.giveUp();
    const auto places = reinterpret_cast<int32_t *>(scratch.bytes());
    stretchCurve(places, size, record.curve);
    const PixelSource pixels(source);
    const std::size_t rowBytes = static_cast<std::size_t>(source.width()) * pixels.pixelBytes();
    mirrorRows(frame, source, [&](uint8_t *to, int y) {
        if (record.mode == Rows) {
            std::memcpy(to, source.row(places[y]), rowBytes);
            return;
        }
        forPixelRuns(size, [&](int first, std::size_t count) {
            PixelPlaces from;
            std::copy_n(places + first, count, from.column);
            std::fill_n(from.row, count, y);
            pixels.copy(to, first, from, count);
        });
    });
    scratch.release();
    return frame.finish();
}

/// Within the ellipse: radially or around the centre.
template <typename Table>
void *warpEllipse(EffectFrame &frame, const Dib &source, const Table &table)
{
    EllipseWarp warp(source);
    if (!warp)
        return frame.giveUp();
    mirrorRows(frame, source, [&](uint8_t *to, int y) { warp.row(to, y, table); });
    warp.release();
    return frame.finish();
}

} // namespace

} // namespace velmont

using namespace velmont;

void *ProcessMagicMirror(void *dib, tagParamMagicMirror *param)
{
    if (!param || param->mode < Columns || param->mode > Angular)
        return nullptr;
    const tagParamMagicMirror record = *param;
    EffectFrame frame(dib, {.lateWaitCursor = true});
    const std::optional<Dib> source = withRowsBehindAllColors(frame, {8, 24});
    if (!source || !frame.allocate({source->layout(), Contents::Overwritten}))
        return nullptr;
    if (record.mode == Radial)
        return warpEllipse(frame, *source, radialWarp(record.curve));
    if (record.mode == Angular)
        return warpEllipse(frame, *source, angularWarp(record.curve));
    return stretch(frame, *source, record);
}
