// Light in the lens.

#include "catalogue/families.h"
#include <velmont/lens.h>

namespace velmont::catalogue {

namespace {

constexpr std::array kFlareFields{
    field<&tagParamFlare::x>({.name = "x",
                              .unit = "pixels",
                              .minimum = -30000,
                              .maximum = 30000,
                              .defaultValue = 100,
                              .help = "column of the light"}),
    field<&tagParamFlare::y>({.name = "y",
                              .unit = "pixels",
                              .minimum = -30000,
                              .maximum = 30000,
                              .defaultValue = 100,
                              .help = "line of the light, counted from the top"}),
};
static_assert(coverRecord<tagParamFlare>(kFlareFields));

constexpr std::array kSunBurstFields{
    field<&tagParamSunburst::x>({.name = "x",
                                 .unit = "pixels",
                                 .minimum = -30000,
                                 .maximum = 30000,
                                 .defaultValue = 100,
                                 .help = "column of the centre"}),
    field<&tagParamSunburst::y>({.name = "y",
                                 .unit = "pixels",
                                 .minimum = -30000,
                                 .maximum = 30000,
                                 .defaultValue = 100,
                                 .help = "line of the centre, counted from the top"}),
    field<&tagParamSunburst::color>({.name = "color",
                                     .unit = "colour",
                                     .minimum = 0,
                                     .maximum = 0xFFFFFF,
                                     .defaultValue = 0x40A0FF,
                                     .help = "of the star"}),
    field<&tagParamSunburst::radius>({.name = "radius",
                                      .unit = "pixels",
                                      .minimum = 1,
                                      .maximum = 10000,
                                      .defaultValue = 40,
                                      .help = "of the glow"}),
    field<&tagParamSunburst::spokeCount>({.name = "spokeCount",
                                          .minimum = 1,
                                          .maximum = 10000,
                                          .defaultValue = 100,
                                          .help = "how many spokes the star has"}),
    field<&tagParamSunburst::randomHue>({.name = "randomHue",
                                         .unit = "degrees",
                                         .minimum = 0,
                                         .maximum = 360,
                                         .defaultValue = 30,
                                         .help = "how far the hue wanders from spoke to spoke"}),
};
static_assert(coverRecord<tagParamSunburst>(kSunBurstFields));

constexpr std::array kEffects{
    Effect{.name = "flare",
           .exportName = "ProcessFlare",
           .code = 4101,
           .family = Family::Artistic,
           .help = "a light that the lens reflects",
           .recordName = "tagParamFlare",
           .recordBytes = sizeof(tagParamFlare),
           .fields = kFlareFields,
           .depths = Depth24,
           .call = callWithRecord<&ProcessFlare, tagParamFlare>,
           .otherDepths = Depth1 | Depth4,
           .locksLeft = 1,
           .extremeExample = "x=340 y=60"},
    Effect{.name = "sun-burst",
           .exportName = "ProcessSunBurst",
           .code = 4201,
           .family = Family::Artistic,
           .help = "a star with spokes of random length and colour",
           .recordName = "tagParamSunburst",
           .recordBytes = sizeof(tagParamSunburst),
           .fields = kSunBurstFields,
           .depths = Depth8 | Depth24,
           .random = true,
           .call = callWithRecord<&ProcessSunBurst, tagParamSunburst>,
           .otherDepths = Depth1 | Depth4,
           .extremeExample = "x=172 y=92 radius=60 spokeCount=200 randomHue=180 color=#ffd060"},
};

} // namespace

std::span<const Effect> lensEffects()
{
    return kEffects;
}

} // namespace velmont::catalogue
