#include "core/effect_frame.h"
#include "core/rounded_math.h"
#include "filters/sample_frame.h"
#include "geometry/ellipse_warp.h"
#include <cmath>
#include <velmont/geometry.h>

namespace velmont {

namespace {

bool isStrength(int strength)
{
    return strength >= 1 && strength <= 100;
}

/// What a real number is in a table: truncated toward zero.
int32_t entryOf(double value)
{
    return static_cast<int32_t>(value);
}

/// The normalised radius that an entry stands for.
double radiusOf(int entry)
{
    return std::sqrt(static_cast<double>(entry) / kEllipseEntries);
}

/// Fills a table for turning by angleOf(radius).
template <typename AngleOf>
void turnBy(AngularWarp &table, AngleOf angleOf)
{
    for (int i = 0; i < kEllipseEntries; ++i) {
        const double angle = angleOf(radiusOf(i));
        const auto entry = static_cast<std::size_t>(i);
        table.cosine[entry] = entryOf(rounded::cos(angle) * kEllipseUnit);
        table.sine[entry] = entryOf(rounded::sin(angle) * kEllipseUnit);
    }
}

/// A turn that grows from the centre, up to a right angle on the ellipse.
void turnByTwiceArcTangent(AngularWarp &table)
{
    for (int i = 0; i < kEllipseEntries; ++i) {
        const double r = radiusOf(i);
        const auto entry = static_cast<std::size_t>(i);
        table.cosine[entry] = entryOf((1 - r * r) / (1 + r * r) * kEllipseUnit);
        table.sine[entry] = entryOf(r * (2 * kEllipseUnit) / (1 + r * r));
    }
}

/// Not only a turn: cosine and sine together are sqrt(1 - r^2) long. Hosts rely on the shrinking.
void turnAndShrink(AngularWarp &table)
{
    for (int i = 0; i < kEllipseEntries; ++i) {
        const double r = radiusOf(i);
        const auto entry = static_cast<std::size_t>(i);
        table.cosine[entry] = entryOf((1 - r) * kEllipseUnit);
        table.sine[entry] = entryOf(std::sqrt(2 * r * (1 - r)) * kEllipseUnit);
    }
}

void fill(AngularWarp &table, const tagParamPTAngular &param)
{
    const int strength = param.strength;
    switch (param.type) {
    case 1:
        return turnBy(table, [=](double r) { return r * strength * 0.125663706; });
    case 2:
        return turnBy(table, [=](double r) { return (r - 1) * (r - 1) * strength * -0.062831853; });
    case 3:
        return turnByTwiceArcTangent(table);
    default:
        return turnAndShrink(table);
    }
}

/// Cone and fish eye go by the squared radius, the sphere by the radius itself.
double factorOf(int type, int strength, double squared)
{
    switch (type) {
    case 1:
        return kEllipseUnit / rounded::pow(squared, strength * 0.003);
    case 2: {
        const double r = std::sqrt(squared);
        return 2 * rounded::asin(r) / (3.14159265 * r) * kEllipseUnit;
    }
    default:
        return rounded::pow(squared, strength * 0.0075) * kEllipseUnit;
    }
}

void fill(RadialWarp &table, const tagParamPTRadial &param)
{
    table.factor[0] = 0;
    for (int i = 1; i < kEllipseEntries; ++i)
        table.factor[static_cast<std::size_t>(i)] =
            entryOf(factorOf(param.type, param.strength, static_cast<double>(i) / kEllipseEntries));
}

template <typename Table, typename Param>
void *warpEllipse(void *dib, const Param &param)
{
    EffectFrame frame(dib);
    if (!servesSamples(frame) || !frame.allocate({frame.source().layout(), Contents::Overwritten}))
        return nullptr;
    EllipseWarp warp(frame.source());
    if (!warp)
        return frame.giveUp();
    frame.open();
    Table table;
    fill(table, param);
    frame.copyPalette();
    for (const int y : frame.rows()) {
        warp.row(frame.result().row(y), y, table);
        frame.clearPadding(y);
    }
    warp.release();
    return frame.finish();
}

} // namespace

} // namespace velmont

using namespace velmont;

void *ProcessPolarTransformAngular(void *dib, tagParamPTAngular *param)
{
    // The types that have no use for a strength refuse a bad one all the same: hosts rely on it.
    if (!param || param->type < 1 || param->type > 4 || !isStrength(param->strength))
        return nullptr;
    return warpEllipse<AngularWarp>(dib, *param);
}

void *ProcessPolarTransformRadial(void *dib, tagParamPTRadial *param)
{
    if (!param || param->type < 1 || param->type > 3 || (param->type != 2 && !isStrength(param->strength)))
        return nullptr;
    return warpEllipse<RadialWarp>(dib, *param);
}

void *ProcessSpiral(void *dib, int strength)
{
    tagParamPTAngular param{1, strength};
    return ProcessPolarTransformAngular(dib, &param);
}

void *ProcessWhirlpool(void *dib, int strength)
{
    tagParamPTAngular param{2, strength};
    return ProcessPolarTransformAngular(dib, &param);
}

void *ProcessCone(void *dib, int strength)
{
    tagParamPTRadial param{1, strength};
    return ProcessPolarTransformRadial(dib, &param);
}

void *ProcessSphere(void *dib)
{
    tagParamPTRadial param{2, 20};
    return ProcessPolarTransformRadial(dib, &param);
}

void *ProcessFishEye(void *dib, int strength)
{
    tagParamPTRadial param{3, strength};
    return ProcessPolarTransformRadial(dib, &param);
}
