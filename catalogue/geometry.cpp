#include "catalogue/families.h"
#include <velmont/geometry.h>

namespace velmont::catalogue {

namespace {

constexpr std::array kTurns{Choice{"clockwise", 90}, Choice{"half", 180}, Choice{"counterclockwise", 270}};

constexpr std::array kExactRotateFields{
    field<&IntParameter::value>({.name = "angle",
                                 .unit = "degrees",
                                 .minimum = 90,
                                 .maximum = 270,
                                 .defaultValue = 90,
                                 .help = "quarters of a turn, as seen with the first row at the bottom",
                                 .choices = kTurns}),
};
static_assert(coverRecord<IntParameter>(kExactRotateFields));

void *callExactRotate(void *dib, void *record)
{
    return ProcessExactRotate(dib, static_cast<IntParameter *>(record)->value);
}

struct RotateArguments {
    int32_t angle;
    uint32_t background;
};

constexpr std::array kRotateFields{
    field<&RotateArguments::angle>({.name = "angle",
                                    .unit = "degrees",
                                    .minimum = -360,
                                    .maximum = 360,
                                    .defaultValue = 30,
                                    .help = "clockwise, as seen with the first row at the bottom"}),
    field<&RotateArguments::background>({.name = "background",
                                         .unit = "colour",
                                         .minimum = 0,
                                         .maximum = 0xFFFFFF,
                                         .defaultValue = 0xFFFFFF,
                                         .help = "0xBBGGRR, for what the turned picture does not cover"}),
};
static_assert(coverRecord<RotateArguments>(kRotateFields));

void *callRotate(void *dib, void *record)
{
    const auto &arguments = *static_cast<RotateArguments *>(record);
    return ProcessRotate(dib, arguments.angle, arguments.background);
}

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
    Effect{.name = "exact-rotate",
           .exportName = "ProcessExactRotate",
           .code = {},
           .family = Family::Geometry,
           .help = "turn by quarters without loss",
           .recordName = "int",
           .recordBytes = sizeof(IntParameter),
           .fields = kExactRotateFields,
           .depths = DepthAll,
           .random = false,
           .call = callExactRotate},
    Effect{.name = "rotate",
           .exportName = "ProcessRotate",
           .code = {},
           .family = Family::Geometry,
           .help = "turn by degrees into a picture that is just large enough",
           .recordName = "arguments",
           .recordBytes = sizeof(RotateArguments),
           .fields = kRotateFields,
           .depths = DepthAll,
           .random = false,
           .call = callRotate},
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
