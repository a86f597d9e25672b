// The effects that make a picture anew of strokes, facets and dots.

#include "catalogue/families.h"
#include <velmont/hatching.h>

namespace velmont::catalogue {

namespace {

constexpr FieldText size(double minimum, double maximum, double defaultValue, std::string_view help)
{
    return {.name = "size",
            .unit = "pixels",
            .minimum = minimum,
            .maximum = maximum,
            .defaultValue = defaultValue,
            .help = help};
}

constexpr std::array kStrokeFields{
    field<&tagCrosshatch::size>(size(3, 100, 12, "of a pen stroke, across")),
};
static_assert(coverRecord<tagCrosshatch>(kStrokeFields));

constexpr std::array kFacetFields{
    field<&tagCrystallize::size>(size(2, 300, 16, "scale of the facets")),
};
static_assert(coverRecord<tagCrystallize>(kFacetFields));

constexpr std::array kDotFields{
    field<&tagPointillize::size>(size(1, 300, 10, "diameter of the dots")),
};
static_assert(coverRecord<tagPointillize>(kDotFields));

constexpr std::array kEffects{
    Effect{.name = "crosshatch",
           .exportName = "ProcessCrosshatch",
           .code = 1105,
           .family = Family::Artistic,
           .help = "draws the picture with diagonal pen strokes that cross",
           .recordName = "tagCrosshatch",
           .recordBytes = sizeof(tagCrosshatch),
           .fields = kStrokeFields,
           .depths = DepthSamples,
           .random = true,
           .call = callWithRecord<ProcessCrosshatch, tagCrosshatch>,
           .otherDepths = Depth1 | Depth4 | Depth8Paletted},
    Effect{.name = "crystallize",
           .exportName = "ProcessCrystallize",
           .code = 3101,
           .family = Family::Artistic,
           .help = "breaks the picture into facets of one colour each",
           .recordName = "tagCrystallize",
           .recordBytes = sizeof(tagCrystallize),
           .fields = kFacetFields,
           .depths = DepthSamples,
           .random = true,
           .call = callWithRecord<ProcessCrystallize, tagCrystallize>,
           .otherDepths = Depth1 | Depth4 | Depth8Paletted},
    Effect{.name = "pointillize",
           .exportName = "ProcessPointillize",
           .code = 3103,
           .family = Family::Artistic,
           .help = "paints the picture in round dots on white",
           .recordName = "tagPointillize",
           .recordBytes = sizeof(tagPointillize),
           .fields = kDotFields,
           .depths = DepthSamples,
           .random = true,
           .call = callWithRecord<ProcessPointillize, tagPointillize>,
           .otherDepths = Depth1 | Depth4 | Depth8Paletted,
           .extremeExample = "size=24"},
};

} // namespace

std::span<const Effect> hatchingEffects()
{
    return kEffects;
}

} // namespace velmont::catalogue
