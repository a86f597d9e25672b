// Effects that redraw a picture in another medium.

#include "catalogue/families.h"
#include <cstddef>
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

void storeLeadColor(void *record, double value)
{
    const auto color = detail::heldTo<uint32_t>(value);
    uint8_t *const bytes = static_cast<tagStainedGlassParam *>(record)->leadColor;
    for (int i = 0; i < 3; ++i)
        bytes[i] = static_cast<uint8_t>(color >> 8 * (2 - i));
    static_cast<tagStainedGlassParam *>(record)->leadColorReserved = 0;
}

double loadLeadColor(const void *record)
{
    const uint8_t *const bytes = static_cast<const tagStainedGlassParam *>(record)->leadColor;
    return bytes[0] << 16 | bytes[1] << 8 | bytes[2];
}

constexpr std::array kLeadEdges{Choice{"wide", 0}, Choice{"thin", 1}};

constexpr std::array kStainedGlassFields{
    field<&tagStainedGlassParam::cellDivisor>({.name = "cellDivisor",
                                               .unit = "pixels",
                                               .minimum = 1,
                                               .maximum = 10000,
                                               .defaultValue = 20,
                                               .help = "size of the panes: 1.9 times as many for each "
                                                       "column; few large panes have layouts of their own"}),
    field<&tagStainedGlassParam::leadWidth>(
        {.name = "leadWidth",
         .minimum = 1,
         .maximum = 100,
         .defaultValue = 4,
         .help = "1 for lead of one pixel, else a pixel less than it says"}),
    // Three bytes of the record and one that is not read.
    Field{.name = "leadColor",
          .type = FieldType::UInt32,
          .bytes = sizeof(uint32_t),
          .unit = "colour",
          .minimum = 0,
          .maximum = 0xFFFFFF,
          .defaultValue = 0,
          .help = "of the lead",
          .choices = {},
          .store = storeLeadColor,
          .load = loadLeadColor},
    field<&tagStainedGlassParam::light>({.name = "light",
                                         .unit = "tenths",
                                         .minimum = 0,
                                         .maximum = 10,
                                         .defaultValue = 3,
                                         .help = "strength of the light in the middle"}),
    field<&tagStainedGlassParam::lineWidthWork>({.name = "lineWidthWork",
                                                 .minimum = 0,
                                                 .maximum = 1,
                                                 .defaultValue = 0,
                                                 .help = "what lead the soft edges are made for",
                                                 .choices = kLeadEdges}),
};
/// Beside `lineWidthWork`.
constexpr std::size_t kWorkingStorage =
    sizeof(tagStainedGlassParam) - offsetof(tagStainedGlassParam, lineSlope) - sizeof(int32_t);
static_assert(coverRecord<tagStainedGlassParam>(kStainedGlassFields, kWorkingStorage));

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
           .locksLostWithMemory = 2,
           .extremeExample = "shadowRange=14 lightRange=14 grain=6"},
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
           .locksLostWithMemory = 2,
           .extremeExample = "pressure=30 coverage=13 pencilColor=#2f4f8f"},
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
           .locksLostWithMemory = 1,
           .extremeExample = "hairLength=30 density=100"},
    Effect{.name = "stained-glass",
           .exportName = "ProcessStainedGlass",
           .code = 4715,
           .family = Family::Artistic,
           .help = "a leaded window in the picture's colours",
           .recordName = "tagStainedGlassParam",
           .recordBytes = sizeof(tagStainedGlassParam),
           .fields = kStainedGlassFields,
           .depths = Depth24,
           .random = true,
           .call = callWithRecord<&ProcessStainedGlass, tagStainedGlassParam>,
           .definesPadding = false,
           .workBytes = kWorkingStorage,
           .extremeExample = "cellDivisor=30 leadWidth=6 light=6"},
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
           .locksLostWithMemory = 2,
           .extremeExample = "patchSize=8 toneDepth=3"},
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
           .locksLostWithMemory = 2,
           .extremeExample = "brushSize=24 brightness=45 contrast=75"},
};

} // namespace

std::span<const Effect> paintingEffects()
{
    return kEffects;
}

} // namespace velmont::catalogue
