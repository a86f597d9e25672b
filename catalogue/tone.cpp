#include "catalogue/families.h"
#include <velmont/tone.h>

namespace velmont::catalogue {

namespace {

/// All channels or one; the record of brightness and contrast takes any other value for blue.
constexpr std::array kChannels{Choice{"all", 0}, Choice{"red", 1}, Choice{"green", 2}, Choice{"blue", 3}};
constexpr unsigned kTableDepths = Depth4 | Depth8 | Depth24;

constexpr std::array kBrightnessContrastFields{
    field<&tagParamBrightnessContrast::channel>({.name = "channel",
                                                 .unit = "",
                                                 .minimum = 0,
                                                 .maximum = 3,
                                                 .defaultValue = 0,
                                                 .help = "the channel to change",
                                                 .choices = kChannels}),
    field<&tagParamBrightnessContrast::brightness>({.name = "brightness",
                                                    .unit = "levels",
                                                    .minimum = -128,
                                                    .maximum = 127,
                                                    .defaultValue = 20,
                                                    .help = "levels added"}),
    field<&tagParamBrightnessContrast::contrast>(
        {.name = "contrast",
         .unit = "levels",
         .minimum = -128,
         .maximum = 127,
         .defaultValue = 20,
         .help = "levels cut off at either end; below 0 the range is narrowed"}),
};
static_assert(coverRecord<tagParamBrightnessContrast>(kBrightnessContrastFields));

constexpr std::array kBrightnessScaleFields{
    field<&IntParameter::value>(
        {.name = "scale",
         .unit = "level",
         .minimum = -255,
         .maximum = 255,
         .defaultValue = 200,
         .help = "above 0 the level that becomes white, below 0 the level that white becomes"}),
};
static_assert(coverRecord<IntParameter>(kBrightnessScaleFields));

constexpr std::array kThresholdFields{
    field<&tagParamThreshold::threshold>({.name = "threshold",
                                          .unit = "level",
                                          .minimum = 0,
                                          .maximum = 255,
                                          .defaultValue = 127,
                                          .help = "levels above it become white"}),
};
static_assert(coverRecord<tagParamThreshold>(kThresholdFields));

constexpr std::array kAutoEnhanceFields{
    field<&IntParameter::value>({.name = "amount",
                                 .unit = {},
                                 .minimum = 0,
                                 .maximum = 1000,
                                 .defaultValue = 100,
                                 .help = "strength; 0 changes nothing"}),
};
static_assert(coverRecord<IntParameter>(kAutoEnhanceFields));

constexpr std::array kAutoLevelFields{
    field<&tagParamAutoLevel::gammaLevel>(
        {.name = "gamma-level",
         .unit = {},
         .minimum = 0,
         .maximum = 9,
         .defaultValue = 5,
         .help = "brightness of the middle tones in colour, 5 leaves them; 0 takes the default"}),
    field<&tagParamAutoLevel::defaultGammaLevel>({.name = "default-gamma-level",
                                                  .unit = {},
                                                  .minimum = 0,
                                                  .maximum = 9,
                                                  .defaultValue = 5,
                                                  .help = "the level where the other one is 0"}),
};
static_assert(coverRecord<tagParamAutoLevel>(kAutoLevelFields, sizeof(tagParamAutoLevel::histogram)));

constexpr std::array kColorMapFields{
    field<&tagParamColorMap::channel>({.name = "channel",
                                       .unit = "",
                                       .minimum = 0,
                                       .maximum = 3,
                                       .defaultValue = 0,
                                       .help = "the channel to change",
                                       .choices = kChannels}),
    field<&tagParamColorMap::table>(
        {.name = "table",
         .unit = "levels",
         .minimum = -127,
         .maximum = 127,
         .defaultValue = 0,
         .help = "the new value of each level; one number moves all levels by so much"}),
};
static_assert(coverRecord<tagParamColorMap>(kColorMapFields));

constexpr std::array kToneAdjustmentFields{
    field<&tagParamToneAdjust::white>(
        {.name = "white",
         .unit = "levels",
         .minimum = -255,
         .maximum = 255,
         .defaultValue = 0,
         .help = "above 0 lowers the input's white point, below 0 the output's white"}),
    field<&tagParamToneAdjust::gamma>({.name = "gamma",
                                       .unit = "",
                                       .minimum = -100,
                                       .maximum = 100,
                                       .defaultValue = 30,
                                       .help = "above 0 lightens the middle, below 0 darkens it"}),
    field<&tagParamToneAdjust::black>(
        {.name = "black",
         .unit = "levels",
         .minimum = -255,
         .maximum = 255,
         .defaultValue = 0,
         .help = "below 0 raises the input's black point, above 0 the output's black"}),
    field<&tagParamToneAdjust::channel>({.name = "channel",
                                         .unit = "",
                                         .minimum = 0,
                                         .maximum = 3,
                                         .defaultValue = 0,
                                         .help = "the channel to change",
                                         .choices = kChannels}),
};
static_assert(coverRecord<tagParamToneAdjust>(kToneAdjustmentFields));

constexpr std::array kColorReductionFields{
    field<&tagParamColorReduction::channel>({.name = "channel",
                                             .unit = "",
                                             .minimum = 0,
                                             .maximum = 3,
                                             .defaultValue = 0,
                                             .help = "the channel to change",
                                             .choices = kChannels}),
    field<&tagParamColorReduction::levels>({.name = "levels",
                                            .unit = "levels",
                                            .minimum = 2,
                                            .maximum = 128,
                                            .defaultValue = 4,
                                            .help = "levels left, nearly"}),
};
static_assert(coverRecord<tagParamColorReduction>(kColorReductionFields));

constexpr std::array kColorToneFields{
    field<&tagParamColorTone::tone>({.name = "tone",
                                     .unit = "",
                                     .minimum = -128,
                                     .maximum = 127,
                                     .defaultValue = 0,
                                     .help = "position around the hue circle"}),
};
static_assert(coverRecord<tagParamColorTone>(kColorToneFields));

constexpr std::array kHueAndSaturationFields{
    field<&tagParamHueSaturation::hue>({.name = "hue",
                                        .unit = "degrees",
                                        .minimum = -180,
                                        .maximum = 180,
                                        .defaultValue = 30,
                                        .help = "how far hues turn, from red towards green"}),
    field<&tagParamHueSaturation::saturation>(
        {.name = "saturation",
         .unit = "percent",
         .minimum = -100,
         .maximum = 100,
         .defaultValue = 0,
         .help = "each channel towards the largest of its pixel, below 0 away from it"}),
};
static_assert(coverRecord<tagParamHueSaturation>(kHueAndSaturationFields));

constexpr std::array kEffects{
    Effect{.name = "auto-enhance",
           .exportName = "ProcessAutoEnhance",
           .code = 33,
           .family = Family::Tone,
           .help = "more contrast, saturation and sharpness by one number",
           .recordName = "int",
           .recordBytes = sizeof(IntParameter),
           .fields = kAutoEnhanceFields,
           .depths = Depth8 | Depth24,
           .random = false,
           .call = callWithInt<&ProcessAutoEnhance>},
    Effect{.name = "auto-level",
           .exportName = "ProcessAutoLevel",
           .code = 4719,
           .family = Family::Tone,
           .help = "stretch each channel so that 0.6 percent of the pixels are cut at either end",
           .recordName = "tagParamAutoLevel",
           .recordBytes = sizeof(tagParamAutoLevel),
           .fields = kAutoLevelFields,
           .depths = Depth8Gray | Depth24,
           .random = false,
           .call = callWithRecord<&ProcessAutoLevel, tagParamAutoLevel>},
    Effect{.name = "equalize",
           .exportName = "ProcessEqualization",
           .code = 5,
           .family = Family::Tone,
           .help = "spread the levels by how often they occur",
           .recordName = {},
           .recordBytes = 0,
           .fields = {},
           .depths = Depth4 | Depth8 | Depth24,
           .random = false,
           .call = callPlain<&ProcessEqualization>},
    Effect{.name = "hue-and-saturation",
           .exportName = "ProcessHueAndSaturation",
           .code = 2,
           .family = Family::Tone,
           .help = "turn the hue and shift the saturation, in integers",
           .recordName = "tagParamHueSaturation",
           .recordBytes = sizeof(tagParamHueSaturation),
           .fields = kHueAndSaturationFields,
           .depths = Depth4 | Depth8 | Depth24,
           .random = false,
           .call = callWithRecord<&ProcessHueAndSaturation, tagParamHueSaturation>},
    Effect{.name = "negative",
           .exportName = "ProcessNegative",
           .code = 6,
           .family = Family::Tone,
           .help = "the negative: dark becomes light, each colour its opposite",
           .recordName = {},
           .recordBytes = 0,
           .fields = {},
           .depths = DepthAll,
           .random = false,
           .call = callPlain<&ProcessNegative>},
    Effect{.name = "brightness-contrast",
           .exportName = "ProcessBrightnessAndContrast",
           .code = 1,
           .family = Family::Tone,
           .help = "brightness and contrast of all channels or one",
           .recordName = "tagParamBrightnessContrast",
           .recordBytes = sizeof(tagParamBrightnessContrast),
           .fields = kBrightnessContrastFields,
           .depths = kTableDepths,
           .random = false,
           .call = callWithRecord<&ProcessBrightnessAndContrast, tagParamBrightnessContrast>},
    Effect{.name = "brightness-scale",
           .exportName = "ProcessBrightnessScale",
           .code = 70,
           .family = Family::Tone,
           .help = "brighter or darker by a factor",
           .recordName = "int",
           .recordBytes = sizeof(IntParameter),
           .fields = kBrightnessScaleFields,
           .depths = Depth8Gray | Depth24,
           .random = false,
           .call = callWithInt<&ProcessBrightnessScale>},
    Effect{.name = "logarithm",
           .exportName = "ProcessLogarithm",
           .code = 24,
           .family = Family::Tone,
           .help = "lifts the shadows along a logarithm",
           .recordName = {},
           .recordBytes = 0,
           .fields = {},
           .depths = kTableDepths,
           .random = false,
           .call = callPlain<&ProcessLogarithm>},
    Effect{.name = "solarize",
           .exportName = "ProcessSolarization",
           .code = 23,
           .family = Family::Tone,
           .help = "turns the bright half of the levels into its negative",
           .recordName = {},
           .recordBytes = 0,
           .fields = {},
           .depths = kTableDepths,
           .random = false,
           .call = callPlain<&ProcessSolarization>},
    Effect{.name = "threshold",
           .exportName = "ProcessThreshold",
           .code = 7,
           .family = Family::Tone,
           .help = "black and white by a threshold on the luminance",
           .recordName = "tagParamThreshold",
           .recordBytes = sizeof(tagParamThreshold),
           .fields = kThresholdFields,
           .depths = kTableDepths,
           .random = false,
           .call = callWithRecord<&ProcessThreshold, tagParamThreshold>},
    Effect{.name = "color-map",
           .exportName = "ProcessColorMap",
           .code = 3,
           .family = Family::Tone,
           .help = "a table of new levels for all channels or one",
           .recordName = "tagParamColorMap",
           .recordBytes = sizeof(tagParamColorMap),
           .fields = kColorMapFields,
           .depths = kTableDepths,
           .random = false,
           .call = callWithRecord<&ProcessColorMap, tagParamColorMap>},
    Effect{.name = "color-reduction",
           .exportName = "ProcessColorReduction",
           .code = 4,
           .family = Family::Tone,
           .help = "posterizes all channels or one",
           .recordName = "tagParamColorReduction",
           .recordBytes = sizeof(tagParamColorReduction),
           .fields = kColorReductionFields,
           .depths = kTableDepths,
           .random = false,
           .call = callWithRecord<&ProcessColorReduction, tagParamColorReduction>},
    Effect{.name = "color-tone",
           .exportName = "ProcessColorTone",
           .code = 4718,
           .family = Family::Tone,
           .help = "recolours by luminance along one hue",
           .recordName = "tagParamColorTone",
           .recordBytes = sizeof(tagParamColorTone),
           .fields = kColorToneFields,
           .depths = Depth24,
           .random = false,
           .call = callWithRecord<&ProcessColorTone, tagParamColorTone>,
           .blankDepths = Depth4 | Depth8},
    Effect{.name = "tone-adjustment",
           .exportName = "ProcessToneAdjustment",
           .code = 67,
           .family = Family::Tone,
           .help = "black point, gamma and white point",
           .recordName = "tagParamToneAdjust",
           .recordBytes = sizeof(tagParamToneAdjust),
           .fields = kToneAdjustmentFields,
           .depths = kTableDepths,
           .random = false,
           .call = callWithRecord<&ProcessToneAdjustment, tagParamToneAdjust>},
};

} // namespace

std::span<const Effect> toneEffects()
{
    return kEffects;
}

} // namespace velmont::catalogue
