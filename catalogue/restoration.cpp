// Effects that restore a damaged picture.

#include "catalogue/families.h"
#include <velmont/restoration.h>

namespace velmont::catalogue {

namespace {

constexpr std::array kScratchFields{
    field<&tagScratchParam::threshold>({.name = "threshold",
                                        .unit = "levels",
                                        .minimum = 0,
                                        .maximum = 255,
                                        .defaultValue = 20,
                                        .help = "how far a pixel may be from its surroundings"}),
    field<&tagScratchParam::radius>(
        {.name = "radius",
         .unit = "pixels",
         .minimum = 0,
         .maximum = 124,
         .defaultValue = 2,
         .help = "reach of the surroundings, about half the width of a scratch and more"}),
};
static_assert(coverRecord<tagScratchParam>(kScratchFields));

const std::array kEffects{
    Effect{.name = "scratch",
           .exportName = "ProcessScratch",
           .code = 4714,
           .family = Family::Artistic,
           .help = "takes dust and scratches away",
           .recordName = "tagScratchParam",
           .recordBytes = sizeof(tagScratchParam),
           .fields = kScratchFields,
           .depths = Depth24,
           .call = callWithRecord<&ProcessScratch, tagScratchParam>,
           .definesPadding = false,
           .extremeExample = "threshold=4 radius=10"},
};

} // namespace

std::span<const Effect> restorationEffects()
{
    return kEffects;
}

} // namespace velmont::catalogue
