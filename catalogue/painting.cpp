// Effects that redraw a picture in another medium.

#include "catalogue/families.h"
#include <velmont/painting.h>

namespace velmont::catalogue {

namespace {

constexpr std::array kChalkFields{
    field<&tagChalkParam::shadowRange>({.name = "shadowRange",
                                        .minimum = 0,
                                        .maximum = 20,
                                        .defaultValue = 10,
                                        .help = "how far the shadows reach up"}),
    field<&tagChalkParam::lightRange>({.name = "lightRange",
                                       .minimum = 0,
                                       .maximum = 20,
                                       .defaultValue = 10,
                                       .help = "how far the lights reach down"}),
    field<&tagChalkParam::grain>({.name = "grain",
                                  .minimum = 1,
                                  .maximum = 12,
                                  .defaultValue = 2,
                                  .help = "contrast and grain of the strokes"}),
};
static_assert(coverRecord<tagChalkParam>(kChalkFields));

constexpr std::array kFurFields{
    field<&tagFurParam::smoothSize>({.name = "smoothSize",
                                     .unit = "pixels",
                                     .minimum = 1,
                                     .maximum = 100,
                                     .defaultValue = 2,
                                     .help = "side of the box that smooths the picture"}),
    field<&tagFurParam::hairLength>({.name = "hairLength",
                                     .unit = "pixels",
                                     .minimum = 0,
                                     .maximum = 100,
                                     .defaultValue = 10,
                                     .help = "reach of a hair to either side"}),
    field<&tagFurParam::density>({.name = "density",
                                  .unit = "percent",
                                  .minimum = 0,
                                  .maximum = 100,
                                  .defaultValue = 50,
                                  .help = "how many pixels grow a hair"}),
    field<&tagFurParam::calm>({.name = "calm",
                               .minimum = 0,
                               .maximum = 255,
                               .defaultValue = 64,
                               .help = "how far the smoothed picture covers the hairs at the end"}),
};
static_assert(coverRecord<tagFurParam>(kFurFields));

const std::array kEffects{
    Effect{.name = "chalk",
           .exportName = "ProcessChalk",
           .code = 4712,
           .family = Family::Artistic,
           .help = "a drawing with dark and light chalk on gray paper",
           .recordName = "tagChalkParam",
           .recordBytes = sizeof(tagChalkParam),
           .fields = kChalkFields,
           .depths = Depth8 | Depth24,
           .call = callWithRecord<&ProcessChalk, tagChalkParam>,
           .locksLostWithMemory = 2},
    Effect{.name = "fur",
           .exportName = "ProcessFur",
           .code = 4708,
           .family = Family::Artistic,
           .help = "hairs of the picture's colours",
           .recordName = "tagFurParam",
           .recordBytes = sizeof(tagFurParam),
           .fields = kFurFields,
           .depths = Depth8 | Depth24,
           .random = true,
           .call = callWithRecord<&ProcessFur, tagFurParam>,
           .locksLostWithMemory = 1},
};

} // namespace

std::span<const Effect> paintingEffects()
{
    return kEffects;
}

} // namespace velmont::catalogue
