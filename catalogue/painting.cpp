// What imitates a painter's medium.

#include "catalogue/families.h"
#include <velmont/painting.h>

namespace velmont::catalogue {

namespace {

constexpr std::array kWaterColorFields{
    field<&tagWaterColorParam::patchSize>({.name = "patchSize",
                                           .unit = "pixels",
                                           .minimum = 1,
                                           .maximum = 32,
                                           .defaultValue = 4,
                                           .help = "radius of the patches of one colour; 1 is none"}),
    field<&tagWaterColorParam::toneDepth>({.name = "toneDepth",
                                           .minimum = 0,
                                           .maximum = 20,
                                           .defaultValue = 1,
                                           .help = "how much darker the middle tones become"}),
};
static_assert(coverRecord<tagWaterColorParam>(kWaterColorFields));

constexpr std::array kColorPencilFields{
    field<&tagColorPencilParam::strokeSetting>(
        {.name = "strokeSetting",
         .minimum = 0,
         .maximum = 200,
         .defaultValue = 6,
         .help = "five pixels less than a stroke is long; the longer, the fewer"}),
    field<&tagColorPencilParam::pressure>({.name = "pressure",
                                           .minimum = 0,
                                           .maximum = 50,
                                           .defaultValue = 45,
                                           .help = "weight of the pencil"}),
    field<&tagColorPencilParam::coverage>({.name = "coverage",
                                           .minimum = 1,
                                           .maximum = 20,
                                           .defaultValue = 13,
                                           .help = "how much of the picture is left alone as an edge"}),
    field<&tagColorPencilParam::pencilColor>({.name = "pencilColor",
                                              .unit = "colour",
                                              .minimum = 0,
                                              .maximum = 0xFFFFFF,
                                              .defaultValue = 0xB0E0FF,
                                              .help = "of the strokes"}),
};
static_assert(coverRecord<tagColorPencilParam>(kColorPencilFields));

constexpr std::array kWaterPaperFields{
    field<&tagWaterPaperParam::brushSize>({.name = "brushSize",
                                           .unit = "pixels",
                                           .minimum = 2,
                                           .maximum = 100,
                                           .defaultValue = 10,
                                           .help = "width of the brush; up to 7 it leaves bright dashes"}),
    field<&tagWaterPaperParam::brightness>({.name = "brightness",
                                            .minimum = 0,
                                            .maximum = 100,
                                            .defaultValue = 50,
                                            .help = "brightness; 50 leaves it"}),
    field<&tagWaterPaperParam::contrast>({.name = "contrast",
                                          .minimum = 0,
                                          .maximum = 100,
                                          .defaultValue = 50,
                                          .help = "contrast; 50 leaves it"}),
};
static_assert(coverRecord<tagWaterPaperParam>(kWaterPaperFields));

constexpr std::array kEffects{
    Effect{.name = "color-pencil",
           .exportName = "ProcessColorPencil",
           .code = 4717,
           .family = Family::Artistic,
           .help = "hatching in the colour of a pencil over all but the edges",
           .recordName = "tagColorPencilParam",
           .recordBytes = sizeof(tagColorPencilParam),
           .fields = kColorPencilFields,
           .depths = DepthSamples,
           .random = true,
           .call = callWithRecord<&ProcessColorPencil, tagColorPencilParam>,
           .otherDepths = Depth8Paletted,
           .losesWithoutScratch = true},
    Effect{.name = "water-color",
           .exportName = "ProcessWaterColor",
           .code = 4710,
           .family = Family::Artistic,
           .help = "flat washes in patches of one colour",
           .recordName = "tagWaterColorParam",
           .recordBytes = sizeof(tagWaterColorParam),
           .fields = kWaterColorFields,
           .depths = DepthSamples,
           .call = callWithRecord<&ProcessWaterColor, tagWaterColorParam>,
           .otherDepths = Depth8Paletted,
           .losesWithoutScratch = true},
    Effect{.name = "water-paper",
           .exportName = "ProcessWaterPaper",
           .code = 4716,
           .family = Family::Artistic,
           .help = "paint on wet, fibrous paper",
           .recordName = "tagWaterPaperParam",
           .recordBytes = sizeof(tagWaterPaperParam),
           .fields = kWaterPaperFields,
           .depths = DepthSamples,
           .random = true,
           .call = callWithRecord<&ProcessWaterPaper, tagWaterPaperParam>,
           .otherDepths = Depth8Paletted,
           .definesPadding = false,
           .losesWithoutScratch = true},
};

} // namespace

std::span<const Effect> paintingEffects()
{
    return kEffects;
}

} // namespace velmont::catalogue
