// Weather and light over a picture.

#include "catalogue/families.h"
#include <velmont/atmosphere.h>

namespace velmont::catalogue {

namespace {

constexpr std::array kFogFields{
    field<&tagParamFog::density>({.name = "density",
                                  .unit = "percent",
                                  .minimum = 0,
                                  .maximum = 100,
                                  .defaultValue = 40,
                                  .help = "how far levels go toward white"}),
};
static_assert(coverRecord<tagParamFog>(kFogFields));

constexpr std::array kSnowModes{Choice{"bright", 1}, Choice{"dark", 2}};
constexpr std::array kSnowFields{
    field<&tagSnowParam::mode>({.name = "mode",
                                .minimum = 1,
                                .maximum = 2,
                                .defaultValue = 1,
                                .help = "where snow lies",
                                .choices = kSnowModes}),
    field<&tagSnowParam::level>({.name = "level",
                                 .unit = "percent",
                                 .minimum = 0,
                                 .maximum = 100,
                                 .defaultValue = 50,
                                 .help = "how much snow lies, as its square"}),
};
static_assert(coverRecord<tagSnowParam>(kSnowFields));

constexpr std::array kWindDirections{Choice{"from-right", 1}, Choice{"from-left", 2}};
constexpr std::array kWindStrengths{Choice{"light", 1}, Choice{"strong", 2}, Choice{"stagger", 3}};
constexpr std::array kWindFields{
    field<&tagParamWind::direction>({.name = "direction",
                                     .minimum = 1,
                                     .maximum = 2,
                                     .defaultValue = 1,
                                     .help = "where the wind comes from",
                                     .choices = kWindDirections}),
    field<&tagParamWind::strength>({.name = "strength",
                                    .minimum = 1,
                                    .maximum = 3,
                                    .defaultValue = 2,
                                    .help = "length of the streaks, or rows moved apart",
                                    .choices = kWindStrengths}),
};
static_assert(coverRecord<tagParamWind>(kWindFields));

constexpr std::array kGlowEdgeFields{
    field<&tagGlowEdge::spread>({.name = "spread",
                                 .unit = "pixels",
                                 .minimum = 0,
                                 .maximum = 20,
                                 .defaultValue = 2,
                                 .help = "how thick the edges are"}),
    field<&tagGlowEdge::band>({.name = "band",
                               .minimum = 1,
                               .maximum = 59,
                               .defaultValue = 10,
                               .help = "how bright the edges are and how far apart their levels"}),
    field<&tagGlowEdge::edgePower>({.name = "edgePower",
                                    .minimum = 0,
                                    .maximum = 50,
                                    .defaultValue = 30,
                                    .help = "how much stronger edges outshine weaker ones"}),
};
static_assert(coverRecord<tagGlowEdge>(kGlowEdgeFields));

constexpr std::array kSmokedGlassFields{
    field<&tagSmokedGlassParam::density>({.name = "density",
                                          .minimum = 1,
                                          .maximum = 20,
                                          .defaultValue = 8,
                                          .help = "how dark the glass is, in sixtieths"}),
};
static_assert(coverRecord<tagSmokedGlassParam>(kSmokedGlassFields));

constexpr std::array kBlindOrientations{Choice{"side-by-side", 0}, Choice{"stacked", 1}};
constexpr std::array kBlindDirections{Choice{"from-end", 0}, Choice{"from-start", 1}};
constexpr std::array kBlindFields{
    field<&tagBlindParam::orientation>({.name = "orientation",
                                        .minimum = 0,
                                        .maximum = 1,
                                        .defaultValue = 0,
                                        .help = "how the slats lie",
                                        .choices = kBlindOrientations}),
    field<&tagBlindParam::direction>({.name = "direction",
                                      .minimum = 0,
                                      .maximum = 1,
                                      .defaultValue = 1,
                                      .help = "where the first slat starts, and each one is clear",
                                      .choices = kBlindDirections}),
    field<&tagBlindParam::slatWidth>({.name = "slatWidth",
                                      .unit = "pixels",
                                      .minimum = 2,
                                      .maximum = 1000,
                                      .defaultValue = 40,
                                      .help = "width of a slat"}),
    field<&tagBlindParam::opacity>({.name = "opacity",
                                    .unit = "percent",
                                    .minimum = 0,
                                    .maximum = 100,
                                    .defaultValue = 80,
                                    .help = "how much colour a slat ends with"}),
    field<&tagBlindParam::color>({.name = "color",
                                  .unit = "colour",
                                  .minimum = 0,
                                  .maximum = 0xFFFFFF,
                                  .defaultValue = 0,
                                  .help = "colour of the slats"}),
};
/// Before the opacity, which lies on eight bytes, and behind the colour.
constexpr std::size_t kBlindPadding = 8;
static_assert(coverRecord<tagBlindParam>(kBlindFields, 0, kBlindPadding));

constexpr std::array kEffects{
    Effect{.name = "blind",
           .exportName = "ProcessBlind",
           .code = 4705,
           .family = Family::Artistic,
           .help = "slats over the picture that fade from clear to a colour",
           .recordName = "tagBlindParam",
           .recordBytes = sizeof(tagBlindParam),
           .fields = kBlindFields,
           .depths = DepthSamples,
           .call = callWithRecord<&ProcessBlind, tagBlindParam>,
           .otherDepths = Depth8Paletted,
           .recordPadding = kBlindPadding,
           .extremeExample = "orientation=stacked slatWidth=24 opacity=100"},
    Effect{.name = "fog",
           .exportName = "ProcessFog",
           .code = 4704,
           .family = Family::Artistic,
           .help = "pulls all levels toward white",
           .recordName = "tagParamFog",
           .recordBytes = sizeof(tagParamFog),
           .fields = kFogFields,
           .depths = DepthSamples,
           .call = callWithRecord<&ProcessFog, tagParamFog>,
           .otherDepths = Depth8Paletted,
           .extremeExample = "density=70"},
    Effect{.name = "glow-edge",
           .exportName = "ProcessGlowEdge",
           .code = 4707,
           .family = Family::Artistic,
           .help = "edges as glowing bands on black",
           .recordName = "tagGlowEdge",
           .recordBytes = sizeof(tagGlowEdge),
           .fields = kGlowEdgeFields,
           .depths = DepthSamples,
           .call = callWithRecord<&ProcessGlowEdge, tagGlowEdge>,
           .otherDepths = Depth8Paletted,
           .extremeExample = "spread=3 band=20 edgePower=40"},
    Effect{.name = "smoked-glass",
           .exportName = "ProcessSmokedGlass",
           .code = 4713,
           .family = Family::Artistic,
           .help = "the picture behind dark and streaked glass",
           .recordName = "tagSmokedGlassParam",
           .recordBytes = sizeof(tagSmokedGlassParam),
           .fields = kSmokedGlassFields,
           .depths = DepthSamples,
           .random = true,
           .call = callWithRecord<&ProcessSmokedGlass, tagSmokedGlassParam>,
           .otherDepths = Depth8Paletted,
           .losesRefused = true},
    Effect{.name = "snow",
           .exportName = "ProcessSnow",
           .code = 4706,
           .family = Family::Artistic,
           .help = "turns the brightest or the darkest part white",
           .recordName = "tagSnowParam",
           .recordBytes = sizeof(tagSnowParam),
           .fields = kSnowFields,
           .depths = DepthSamples,
           .call = callWithRecord<&ProcessSnow, tagSnowParam>,
           .otherDepths = Depth8Paletted,
           .extremeExample = "mode=dark level=60"},
    Effect{.name = "wind",
           .exportName = "ProcessWind",
           .code = 4306,
           .family = Family::Artistic,
           .help = "smears the rows sideways",
           .recordName = "tagParamWind",
           .recordBytes = sizeof(tagParamWind),
           .fields = kWindFields,
           .depths = DepthSamples,
           .random = true,
           .call = callWithRecord<&ProcessWind, tagParamWind>,
           .otherDepths = Depth8Paletted},
};

} // namespace

std::span<const Effect> atmosphereEffects()
{
    return kEffects;
}

} // namespace velmont::catalogue
