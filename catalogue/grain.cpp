// Grain, noise and old photographs.

#include "catalogue/families.h"
#include <velmont/grain.h>

namespace velmont::catalogue {

namespace {

constexpr std::array kAddNoiseFields{
    field<&IntParameter::value>({.name = "percent",
                                 .unit = "percent",
                                 .minimum = 1,
                                 .maximum = 100,
                                 .defaultValue = 10,
                                 .help = "pixels that become random"}),
};
static_assert(coverRecord<IntParameter>(kAddNoiseFields));

constexpr std::array kFilmGrainFields{
    field<&IntParameter::value>({.name = "amount",
                                 .unit = "levels",
                                 .minimum = 1,
                                 .maximum = 100,
                                 .defaultValue = 30,
                                 .help = "span of the random values"}),
};
static_assert(coverRecord<IntParameter>(kFilmGrainFields));

constexpr std::array kNoisifyFields{
    field<&tagNoisifyParam::amount>(
        {.name = "amount", .minimum = 0, .maximum = 1, .defaultValue = 0.2, .help = "strength of the noise"}),
    field<&tagNoisifyParam::reserved, 0>(
        {.name = "reserved0", .minimum = 0, .maximum = 1, .defaultValue = 0, .help = "changes nothing"}),
    field<&tagNoisifyParam::reserved, 1>(
        {.name = "reserved1", .minimum = 0, .maximum = 1, .defaultValue = 0, .help = "changes nothing"}),
};
static_assert(coverRecord<tagNoisifyParam>(kNoisifyFields));

constexpr std::array kSwitch{Choice{"no", 0}, Choice{"yes", 1}};

/// The entry of a step that runs or not.
constexpr FieldText step(std::string_view name, std::string_view help)
{
    return {.name = name, .minimum = 0, .maximum = 1, .defaultValue = 1, .help = help, .choices = kSwitch};
}

constexpr std::array kOldPhotoFields{
    field<&tagOldPhotoParam::blur>(step("blur", "whether to soften")),
    field<&tagOldPhotoParam::vignette>(step("vignette", "whether to paint a torn white border")),
    field<&tagOldPhotoParam::tone>(step("tone", "whether to tint brown")),
    field<&tagOldPhotoParam::grain>(step("grain", "whether to darken in blotches")),
    field<&tagOldPhotoParam::borderWidth>({.name = "borderWidth",
                                           .unit = "pixels",
                                           .minimum = 2,
                                           .maximum = 32,
                                           .defaultValue = 16,
                                           .help = "width and softness of the border"}),
};
static_assert(coverRecord<tagOldPhotoParam>(kOldPhotoFields));

constexpr std::array kSpreadFields{
    field<&SPREADParam::spreadX>({.name = "spreadX",
                                  .unit = "pixels",
                                  .minimum = 0,
                                  .maximum = 1000,
                                  .defaultValue = 8,
                                  .help = "horizontal reach"}),
    field<&SPREADParam::spreadY>({.name = "spreadY",
                                  .unit = "pixels",
                                  .minimum = 0,
                                  .maximum = 1000,
                                  .defaultValue = 8,
                                  .help = "vertical reach"}),
};
static_assert(coverRecord<SPREADParam>(kSpreadFields));

constexpr std::array kEffects{
    Effect{.name = "add-noise",
           .exportName = "ProcessAddNoise",
           .code = 38,
           .family = Family::Artistic,
           .help = "replaces pixels by random ones",
           .recordName = "int",
           .recordBytes = sizeof(IntParameter),
           .fields = kAddNoiseFields,
           .depths = DepthSamples,
           .random = true,
           .call = callWithInt<&ProcessAddNoise>,
           .extremeExample = "percent=50"},
    Effect{.name = "film-grain",
           .exportName = "ProcessFilmGrain",
           .code = 34,
           .family = Family::Artistic,
           .help = "makes pixels a little brighter or darker at random",
           .recordName = "int",
           .recordBytes = sizeof(IntParameter),
           .fields = kFilmGrainFields,
           .depths = DepthSamples,
           .random = true,
           .call = callWithInt<&ProcessFilmGrain>},
    Effect{.name = "noisify",
           .exportName = "ProcessNoisify",
           .family = Family::Artistic,
           .help = "brightens and darkens pixels at random, close to a bell",
           .recordName = "tagNoisifyParam",
           .recordBytes = sizeof(tagNoisifyParam),
           .fields = kNoisifyFields,
           .depths = Depth8 | Depth24,
           .random = true,
           .call = callWithRecord<&ProcessNoisify, tagNoisifyParam>,
           .otherDepths = Depth1 | Depth4},
    Effect{.name = "old-photo",
           .exportName = "ProcessOldPhoto",
           .code = 1201,
           .family = Family::Artistic,
           .help = "a soft brown photograph with a torn border and blotches",
           .recordName = "tagOldPhotoParam",
           .recordBytes = sizeof(tagOldPhotoParam),
           .fields = kOldPhotoFields,
           .depths = Depth24,
           .random = true,
           .call = callWithRecord<&ProcessOldPhoto, tagOldPhotoParam>,
           .otherDepths = Depth1 | Depth4,
           .locksLeft = 1,
           .blocksLeft = 3,
           .usesCreateDib = true,
           .extremeExample = "blur=no tone=no borderWidth=32"},
    Effect{.name = "spread",
           .exportName = "ProcessSpread",
           .family = Family::Artistic,
           .help = "exchanges pixels with random neighbours",
           .recordName = "SPREADParam",
           .recordBytes = sizeof(SPREADParam),
           .fields = kSpreadFields,
           .depths = Depth8 | Depth24,
           .random = true,
           .call = callWithRecord<&ProcessSpread, SPREADParam>,
           .otherDepths = Depth1 | Depth4,
           .motion = Motion::ByPlace},
};

} // namespace

std::span<const Effect> grainEffects()
{
    return kEffects;
}

} // namespace velmont::catalogue
