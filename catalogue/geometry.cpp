#include "catalogue/families.h"
#include <velmont/dib.h>
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

struct ResampleArguments {
    int32_t newWidth, newHeight, resolution;
};

constexpr std::array kResampleFields{
    field<&ResampleArguments::newWidth>({.name = "newWidth",
                                         .unit = "pixels",
                                         .minimum = 0,
                                         .maximum = 30000,
                                         .defaultValue = 0,
                                         .help = "0 keeps the proportions, or makes half of the width"}),
    field<&ResampleArguments::newHeight>({.name = "newHeight",
                                          .unit = "pixels",
                                          .minimum = 0,
                                          .maximum = 30000,
                                          .defaultValue = 0,
                                          .help = "0 keeps the proportions, or makes half of the height"}),
    field<&ResampleArguments::resolution>({.name = "resolution",
                                           .unit = "pixels per metre",
                                           .minimum = 0,
                                           .maximum = 1000000,
                                           .defaultValue = 3937,
                                           .help = "what the result says of its density"}),
};
static_assert(coverRecord<ResampleArguments>(kResampleFields));

struct Size {
    int width = 0, height = 0;
};

Size sizeOf(void *dib)
{
    Size size;
    GetDibSize(dib, &size.width, &size.height);
    return size;
}

/// The size with sides of 0 made out of the other one, or half of the image's where both are.
Size resolvedSize(void *dib, Size wanted)
{
    const Size image = sizeOf(dib);
    const auto part = [](int side, int of, int whole) {
        return side < 1 || whole < 1
                   ? 0
                   : static_cast<int>(std::clamp(1.0 * side * of / whole + 0.5, 1.0, 30000.0));
    };
    if (wanted.width == 0 && wanted.height == 0)
        return {part(image.width, 1, 2), part(image.height, 1, 2)};
    if (wanted.width == 0)
        wanted.width = part(image.width, wanted.height, image.height);
    if (wanted.height == 0)
        wanted.height = part(image.height, wanted.width, image.width);
    return wanted;
}

void *callResample(void *dib, void *record)
{
    const auto &arguments = *static_cast<ResampleArguments *>(record);
    const auto [width, height] = resolvedSize(dib, {arguments.newWidth, arguments.newHeight});
    return ProcessResample(dib, width, height, arguments.resolution);
}

struct HighQualityArguments {
    int32_t newWidth, newHeight, alignCorners, showCursor;
};

constexpr std::array kNoYes{Choice{"no", 0}, Choice{"yes", 1}};

constexpr std::array kHighQualityFields{
    field<&HighQualityArguments::newWidth>({.name = "newWidth",
                                            .unit = "pixels",
                                            .minimum = 0,
                                            .maximum = 30000,
                                            .defaultValue = 0,
                                            .help = "0 keeps the proportions, or makes half of the width"}),
    field<&HighQualityArguments::newHeight>({.name = "newHeight",
                                             .unit = "pixels",
                                             .minimum = 0,
                                             .maximum = 30000,
                                             .defaultValue = 0,
                                             .help = "0 keeps the proportions, or makes half of the height"}),
    field<&HighQualityArguments::alignCorners>(
        {.name = "alignCorners",
         .unit = "",
         .minimum = 0,
         .maximum = 1,
         .defaultValue = 0,
         .help = "whether the pictures' corner pixels lie upon each other",
         .choices = kNoYes}),
    field<&HighQualityArguments::showCursor>({.name = "showCursor",
                                              .unit = "",
                                              .minimum = 0,
                                              .maximum = 1,
                                              .defaultValue = 0,
                                              .help = "whether the host's wait cursor is shown meanwhile",
                                              .choices = kNoYes}),
};
static_assert(coverRecord<HighQualityArguments>(kHighQualityFields));

void *callHighQuality(void *dib, void *record)
{
    const auto &arguments = *static_cast<HighQualityArguments *>(record);
    const auto [width, height] = resolvedSize(dib, {arguments.newWidth, arguments.newHeight});
    return ProcessResampleHighQuality(dib, width, height, arguments.alignCorners, arguments.showCursor);
}

struct PartialResampleArguments {
    int32_t srcX, srcY, srcWidth, srcHeight, newWidth, newHeight;
};

constexpr std::array kPartialResampleFields{
    field<&PartialResampleArguments::srcX>({.name = "srcX",
                                            .unit = "pixels",
                                            .minimum = -30000,
                                            .maximum = 30000,
                                            .defaultValue = 0,
                                            .help = "the rectangle's first column"}),
    field<&PartialResampleArguments::srcY>({.name = "srcY",
                                            .unit = "pixels",
                                            .minimum = -30000,
                                            .maximum = 30000,
                                            .defaultValue = 0,
                                            .help = "the rectangle's first stored row"}),
    field<&PartialResampleArguments::srcWidth>({.name = "srcWidth",
                                                .unit = "pixels",
                                                .minimum = 0,
                                                .maximum = 30000,
                                                .defaultValue = 0,
                                                .help = "the rectangle's width, 0 for the image's"}),
    field<&PartialResampleArguments::srcHeight>({.name = "srcHeight",
                                                 .unit = "pixels",
                                                 .minimum = 0,
                                                 .maximum = 30000,
                                                 .defaultValue = 0,
                                                 .help = "the rectangle's height, 0 for the image's"}),
    field<&PartialResampleArguments::newWidth>({.name = "newWidth",
                                                .unit = "pixels",
                                                .minimum = 0,
                                                .maximum = 30000,
                                                .defaultValue = 0,
                                                .help = "0 as for resample, of the whole image"}),
    field<&PartialResampleArguments::newHeight>({.name = "newHeight",
                                                 .unit = "pixels",
                                                 .minimum = 0,
                                                 .maximum = 30000,
                                                 .defaultValue = 0,
                                                 .help = "0 as for resample, of the whole image"}),
};
static_assert(coverRecord<PartialResampleArguments>(kPartialResampleFields));

void *callPartialResample(void *dib, void *record)
{
    const auto &arguments = *static_cast<PartialResampleArguments *>(record);
    const auto [imageWidth, imageHeight] = sizeOf(dib);
    const auto [width, height] = resolvedSize(dib, {arguments.newWidth, arguments.newHeight});
    return ProcessPartialResample(
        dib, arguments.srcX, arguments.srcY, arguments.srcWidth != 0 ? arguments.srcWidth : imageWidth,
        arguments.srcHeight != 0 ? arguments.srcHeight : imageHeight, width, height);
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
                                         .help = "for what the turned picture does not cover"}),
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
    Effect{.name = "partial-resample",
           .exportName = "ProcessPartialResample",
           .code = {},
           .family = Family::Geometry,
           .help = "a rectangle at another size, blended of up to four pixels",
           .recordName = "arguments",
           .recordBytes = sizeof(PartialResampleArguments),
           .fields = kPartialResampleFields,
           .depths = Depth1 | Depth8Gray | Depth24,
           .random = false,
           .call = callPartialResample,
           .blankDepths = Depth8Paletted},
    Effect{.name = "resample",
           .exportName = "ProcessResample",
           .code = {},
           .family = Family::Geometry,
           .help = "at another size, blended of up to four pixels",
           .recordName = "arguments",
           .recordBytes = sizeof(ResampleArguments),
           .fields = kResampleFields,
           .depths = DepthAll,
           .random = false,
           .call = callResample},
    Effect{.name = "resample-high-quality",
           .exportName = "ProcessResampleHighQuality",
           .code = {},
           .family = Family::Geometry,
           .help = "at another size through a cubic filter",
           .recordName = "arguments",
           .recordBytes = sizeof(HighQualityArguments),
           .fields = kHighQualityFields,
           .depths = Depth8Gray | Depth24,
           .random = false,
           .call = callHighQuality,
           .otherDepths = Depth8Paletted},
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
