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

constexpr std::array kEffects{
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
};

} // namespace

std::span<const Effect> geometryEffects()
{
    return kEffects;
}

} // namespace velmont::catalogue
