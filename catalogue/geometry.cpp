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

constexpr std::array kMagicModes{Choice{"columns", 0}, Choice{"rows", 1}, Choice{"radial", 2},
                                 Choice{"angular", 3}};

constexpr std::array kMagicMirrorFields{
    field<&tagParamMagicMirror::mode>({.name = "mode",
                                       .unit = "",
                                       .minimum = 0,
                                       .maximum = 3,
                                       .defaultValue = 2,
                                       .help = "what the curve bends",
                                       .choices = kMagicModes}),
    field<&tagParamMagicMirror::curve>({.name = "curve",
                                        .unit = "levels",
                                        .minimum = -127,
                                        .maximum = 127,
                                        .defaultValue = 40,
                                        .help = "the straight line, moved by so many levels"}),
};
static_assert(coverRecord<tagParamMagicMirror>(kMagicMirrorFields));

constexpr std::array kMeltingFields{
    field<&IntParameter::value>({.name = "amount",
                                 .unit = "percent",
                                 .minimum = 1,
                                 .maximum = 100,
                                 .defaultValue = 20,
                                 .help = "pixels that sink"}),
};
static_assert(coverRecord<IntParameter>(kMeltingFields));

constexpr std::array kRibbonFields{
    field<&tagParamRibbon::frequency>({.name = "frequency",
                                       .unit = "tenths of a half wave",
                                       .minimum = 0,
                                       .maximum = 200,
                                       .defaultValue = 40,
                                       .help = "waves over the width"}),
    field<&tagParamRibbon::depth>({.name = "depth",
                                   .unit = "percent",
                                   .minimum = 0,
                                   .maximum = 100,
                                   .defaultValue = 15,
                                   .help = "height of the wave, of three quarters of the image's"}),
    field<&tagParamRibbon::color>({.name = "color",
                                   .unit = "colour",
                                   .minimum = 0,
                                   .maximum = 0xFFFFFF,
                                   .defaultValue = 0xFFFFFF,
                                   .help = "of what the wave leaves free"}),
};
static_assert(coverRecord<tagParamRibbon>(kRibbonFields));

constexpr std::array kRippleFields{
    field<&IntParameter::value>({.name = "amount",
                                 .unit = "percent",
                                 .minimum = 1,
                                 .maximum = 100,
                                 .defaultValue = 50,
                                 .help = "how far and how long to swing"}),
};
static_assert(coverRecord<IntParameter>(kRippleFields));

constexpr std::array kSplashFields{
    field<&IntParameter::value>({.name = "amount",
                                 .unit = "percent",
                                 .minimum = 1,
                                 .maximum = 100,
                                 .defaultValue = 20,
                                 .help = "how far to scatter pixels"}),
};
static_assert(coverRecord<IntParameter>(kSplashFields));

constexpr std::array kWrinkleFields{
    field<&tagParamWrinkle::strength>({.name = "strength",
                                       .unit = "percent",
                                       .minimum = 1,
                                       .maximum = 100,
                                       .defaultValue = 50,
                                       .help = "how often columns and rows step aside"}),
    field<&tagParamWrinkle::color>({.name = "color",
                                    .unit = "colour",
                                    .minimum = 0,
                                    .maximum = 0xFFFFFF,
                                    .defaultValue = 0xFFFFFF,
                                    .help = "of what comes from outside"}),
};
static_assert(coverRecord<tagParamWrinkle>(kWrinkleFields));

constexpr std::array kZigZagFields{
    field<&tagZigZagParam::amount>({.name = "amount",
                                    .unit = "percent",
                                    .minimum = -100,
                                    .maximum = 100,
                                    .defaultValue = 20,
                                    .help = "how far to turn, and which way; 0 is refused"}),
    field<&tagZigZagParam::ridges>({.name = "ridges",
                                    .unit = "rings",
                                    .minimum = 1,
                                    .maximum = 50,
                                    .defaultValue = 5,
                                    .help = "rings from the centre to the rim"}),
};
static_assert(coverRecord<tagZigZagParam>(kZigZagFields));

/// Of an export with several forms, that with one parameter.
template <typename Second>
using Form = void *(*)(void *, Second);

constexpr std::array kEffects{
    Effect{.name = "magic-mirror",
           .exportName = "ProcessMagicMirror",
           .code = 56,
           .family = Family::Geometry,
           .help = "bends by a curve, like a mirror at a fair",
           .recordName = "tagParamMagicMirror",
           .recordBytes = sizeof(tagParamMagicMirror),
           .fields = kMagicMirrorFields,
           .depths = Depth8 | Depth24,
           .random = false,
           .call = callWithRecord<&ProcessMagicMirror, tagParamMagicMirror>},
    Effect{.name = "melting",
           .exportName = "ProcessMelting",
           .code = 39,
           .family = Family::Geometry,
           .help = "lets dark pixels sink",
           .recordName = "int",
           .recordBytes = sizeof(IntParameter),
           .fields = kMeltingFields,
           .depths = kSampleDepths,
           .random = true,
           .call = callWithInt<static_cast<Form<int>>(&ProcessMelting)>},
    Effect{.name = "ribbon",
           .exportName = "ProcessRibbon",
           .code = 65,
           .family = Family::Geometry,
           .help = "waves the columns",
           .recordName = "tagParamRibbon",
           .recordBytes = sizeof(tagParamRibbon),
           .fields = kRibbonFields,
           .depths = kSampleDepths,
           .random = false,
           .call = callWithRecord<&ProcessRibbon, tagParamRibbon>},
    Effect{.name = "ripple",
           .exportName = "ProcessRipple",
           .code = 36,
           .family = Family::Geometry,
           .help = "shakes rows and columns",
           .recordName = "int",
           .recordBytes = sizeof(IntParameter),
           .fields = kRippleFields,
           .depths = kSampleDepths,
           .random = false,
           .call = callWithInt<&ProcessRipple>},
    Effect{.name = "splash",
           .exportName = "ProcessSplash",
           .code = 35,
           .family = Family::Geometry,
           .help = "scatters pixels",
           .recordName = "int",
           .recordBytes = sizeof(IntParameter),
           .fields = kSplashFields,
           .depths = kSampleDepths,
           .random = true,
           .call = callWithInt<static_cast<Form<int>>(&ProcessSplash)>},
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
    Effect{.name = "wrinkle",
           .exportName = "ProcessWrinkle",
           .code = 37,
           .family = Family::Geometry,
           .help = "drags columns and rows along by random walks",
           .recordName = "tagParamWrinkle",
           .recordBytes = sizeof(tagParamWrinkle),
           .fields = kWrinkleFields,
           .depths = kSampleDepths,
           .random = true,
           .call = callWithRecord<static_cast<Form<tagParamWrinkle *>>(&ProcessWrinkle), tagParamWrinkle>},
    Effect{.name = "zig-zag",
           .exportName = "ProcessZigZag",
           .code = 4711,
           .family = Family::Geometry,
           .help = "turns rings around the centre to and fro",
           .recordName = "tagZigZagParam",
           .recordBytes = sizeof(tagZigZagParam),
           .fields = kZigZagFields,
           .depths = Depth8 | Depth24,
           .random = false,
           .call = callWithRecord<&ProcessZigZag, tagZigZagParam>},
};

} // namespace

std::span<const Effect> geometryEffects()
{
    return kEffects;
}

} // namespace velmont::catalogue
