// Effects that turn a picture into the work of a craft.

#include "catalogue/families.h"
#include <cstddef>
#include <velmont/painting.h>

namespace velmont::catalogue {

namespace {

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

constexpr std::array kEffects{
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
           .workBytes = kWorkingStorage},
};

} // namespace

std::span<const Effect> paintingEffects()
{
    return kEffects;
}

} // namespace velmont::catalogue
