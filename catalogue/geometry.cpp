#include "catalogue/families.h"
#include <velmont/geometry.h>

namespace velmont::catalogue {

namespace {

constexpr std::array kTo1BitFields{
    field<&IntParameter::value>(
        {.name = "threshold",
         .unit = "level",
         .minimum = -1,
         .maximum = 255,
         .defaultValue = 127,
         .help = "pixels above this level become white; -1 turns all white, 255 all black"}),
};
static_assert(coverRecord<IntParameter>(kTo1BitFields));

constexpr unsigned kSampleDepths = Depth8Gray | Depth24;

constexpr FieldText kStrength{.name = "strength",
                              .unit = "percent",
                              .minimum = 1,
                              .maximum = 100,
                              .defaultValue = 50,
                              .help = "how much to warp"};
constexpr std::array kStrengthFields{field<&IntParameter::value>(kStrength)};
static_assert(coverRecord<IntParameter>(kStrengthFields));

constexpr std::array kAngularTypes{Choice{"spiral", 1}, Choice{"whirlpool", 2}, Choice{"twist", 3},
                                   Choice{"funnel", 4}};

constexpr std::array kAngularFields{
    field<&tagParamPTAngular::type>({.name = "type",
                                     .unit = "",
                                     .minimum = 1,
                                     .maximum = 4,
                                     .defaultValue = 1,
                                     .help = "how the turn goes with the distance from the centre",
                                     .choices = kAngularTypes}),
    field<&tagParamPTAngular::strength>({.name = "strength",
                                         .unit = "percent",
                                         .minimum = 1,
                                         .maximum = 100,
                                         .defaultValue = 50,
                                         .help = "how far to turn; twist and funnel have no use for it"}),
};
static_assert(coverRecord<tagParamPTAngular>(kAngularFields));

constexpr std::array kRadialTypes{Choice{"cone", 1}, Choice{"sphere", 2}, Choice{"fish-eye", 3}};

constexpr std::array kRadialFields{
    field<&tagParamPTRadial::type>({.name = "type",
                                    .unit = "",
                                    .minimum = 1,
                                    .maximum = 3,
                                    .defaultValue = 3,
                                    .help = "how the scale goes with the distance from the centre",
                                    .choices = kRadialTypes}),
    field<&tagParamPTRadial::strength>({.name = "strength",
                                        .unit = "percent",
                                        .minimum = 1,
                                        .maximum = 100,
                                        .defaultValue = 50,
                                        .help = "how much to scale; the sphere has no use for it"}),
};
static_assert(coverRecord<tagParamPTRadial>(kRadialFields));

constexpr std::array kEffects{
    Effect{.name = "cone",
           .exportName = "ProcessCone",
           .code = 48,
           .family = Family::Geometry,
           .help = "pinches the centre",
           .recordName = "int",
           .recordBytes = sizeof(IntParameter),
           .fields = kStrengthFields,
           .depths = kSampleDepths,
           .random = false,
           .call = callWithInt<&ProcessCone>},
    Effect{.name = "cylinder",
           .exportName = "ProcessCylinder",
           .code = 66,
           .family = Family::Geometry,
           .help = "wraps around an upright cylinder",
           .recordName = {},
           .recordBytes = 0,
           .fields = {},
           .depths = kSampleDepths,
           .random = false,
           .call = callPlain<&ProcessCylinder>},
    Effect{.name = "fish-eye",
           .exportName = "ProcessFishEye",
           .code = 41,
           .family = Family::Geometry,
           .help = "magnifies the centre",
           .recordName = "int",
           .recordBytes = sizeof(IntParameter),
           .fields = kStrengthFields,
           .depths = kSampleDepths,
           .random = false,
           .call = callWithInt<&ProcessFishEye>},
    Effect{.name = "polar-angular",
           .exportName = "ProcessPolarTransformAngular",
           .code = 57,
           .family = Family::Geometry,
           .help = "turns by the distance from the centre",
           .recordName = "tagParamPTAngular",
           .recordBytes = sizeof(tagParamPTAngular),
           .fields = kAngularFields,
           .depths = kSampleDepths,
           .random = false,
           .call = callWithRecord<&ProcessPolarTransformAngular, tagParamPTAngular>},
    Effect{.name = "polar-radial",
           .exportName = "ProcessPolarTransformRadial",
           .code = 64,
           .family = Family::Geometry,
           .help = "scales by the distance from the centre",
           .recordName = "tagParamPTRadial",
           .recordBytes = sizeof(tagParamPTRadial),
           .fields = kRadialFields,
           .depths = kSampleDepths,
           .random = false,
           .call = callWithRecord<&ProcessPolarTransformRadial, tagParamPTRadial>},
    Effect{.name = "sphere",
           .exportName = "ProcessSphere",
           .code = 55,
           .family = Family::Geometry,
           .help = "lays the picture on a sphere",
           .recordName = {},
           .recordBytes = 0,
           .fields = {},
           .depths = kSampleDepths,
           .random = false,
           .call = callPlain<&ProcessSphere>},
    Effect{.name = "spiral",
           .exportName = "ProcessSpiral",
           .code = 50,
           .family = Family::Geometry,
           .help = "turns more towards the edge",
           .recordName = "int",
           .recordBytes = sizeof(IntParameter),
           .fields = kStrengthFields,
           .depths = kSampleDepths,
           .random = false,
           .call = callWithInt<&ProcessSpiral>},
    Effect{.name = "to-1-bit",
           .exportName = "ProcessConvertFrom8To1",
           .code = {},
           .family = Family::Geometry,
           .help = "to black and white by a threshold on the stored level",
           .recordName = "int",
           .recordBytes = sizeof(IntParameter),
           .fields = kTo1BitFields,
           .depths = Depth8,
           .random = false,
           .call = callWithInt<&ProcessConvertFrom8To1>},
    Effect{.name = "to-24-bit",
           .exportName = "ProcessConvertTo24BitColor",
           .code = {},
           .family = Family::Geometry,
           .help = "to 24-bit colour through the palette",
           .recordName = {},
           .recordBytes = 0,
           .fields = {},
           .depths = Depth1 | Depth4 | Depth8,
           .random = false,
           .call = callPlain<&ProcessConvertTo24BitColor>},
    Effect{.name = "to-gray",
           .exportName = "ProcessConvertToGrayScale",
           .code = {},
           .family = Family::Geometry,
           .help = "to 8-bit gray by luminance",
           .recordName = {},
           .recordBytes = 0,
           .fields = {},
           .depths = DepthAll,
           .random = false,
           .call = callPlain<&ProcessConvertToGrayScale>},
    Effect{.name = "whirlpool",
           .exportName = "ProcessWhirlpool",
           .code = 49,
           .family = Family::Geometry,
           .help = "turns more towards the centre",
           .recordName = "int",
           .recordBytes = sizeof(IntParameter),
           .fields = kStrengthFields,
           .depths = kSampleDepths,
           .random = false,
           .call = callWithInt<&ProcessWhirlpool>},
};

} // namespace

std::span<const Effect> geometryEffects()
{
    return kEffects;
}

} // namespace velmont::catalogue
