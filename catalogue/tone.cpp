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
};

} // namespace

std::span<const Effect> toneEffects()
{
    return kEffects;
}

} // namespace velmont::catalogue
