#include "catalogue/families.h"
#include "catalogue/picture_size.h"
#include <velmont/geometry.h>

namespace velmont::catalogue {

namespace {

constexpr FieldText kBackground{.name = "background",
                                .unit = "colour",
                                .minimum = 0,
                                .maximum = 0xFFFFFF,
                                .defaultValue = 0xFFFFFF,
                                .help = "of what the picture does not cover",
                                .fillsGaps = true};

/// A rectangle by its size; 0 stands for what there is up to the picture's end.
struct CropArguments {
    int32_t left, top, width, height;
    uint32_t background;
    int32_t wrap;
};

constexpr FieldText place(std::string_view name, std::string_view help)
{
    return {
        .name = name, .unit = "pixels", .minimum = -30000, .maximum = 30000, .defaultValue = 0, .help = help};
}
constexpr FieldText size(std::string_view name, std::string_view help)
{
    return {.name = name, .unit = "pixels", .minimum = 0, .maximum = 30000, .defaultValue = 0, .help = help};
}

constexpr std::array kWraps{Choice{"background", 0}, Choice{"tile", 1}};

constexpr std::array kCropFields{
    field<&CropArguments::left>(place("left", "first column")),
    field<&CropArguments::top>(place("top", "first row, counted from the top")),
    field<&CropArguments::width>(size("width", "columns; 0 takes all up to the last")),
    field<&CropArguments::height>(size("height", "rows; 0 takes all up to the last")),
    field<&CropArguments::background>(kBackground),
    field<&CropArguments::wrap>({.name = "wrap",
                                 .minimum = 0,
                                 .maximum = 1,
                                 .defaultValue = 0,
                                 .help = "what lies outside the picture",
                                 .choices = kWraps}),
};
static_assert(coverRecord<CropArguments>(kCropFields));

void *callCrop(void *dib, void *record)
{
    const auto &arguments = *static_cast<CropArguments *>(record);
    const Size image = sizeOf(dib);
    const int64_t width = arguments.width != 0 ? arguments.width : int64_t{image.width} - arguments.left;
    const int64_t height = arguments.height != 0 ? arguments.height : int64_t{image.height} - arguments.top;
    const int32_t firstRow = storedRow(image.height, arguments.top, height);
    const tagRECT rect{arguments.left, firstRow, heldToInt(arguments.left + width),
                       heldToInt(firstRow + height)};
    return ProcessCrop(dib, rect, arguments.background, arguments.wrap);
}

/// The corners as parts of the picture's size, with y running down.
struct DistortArguments {
    int32_t topLeftX, topLeftY, bottomLeftX, bottomLeftY, bottomRightX, bottomRightY, topRightX, topRightY;
    uint32_t background;
};

constexpr FieldText corner(std::string_view name, double percent, std::string_view help)
{
    return {.name = name,
            .unit = "percent",
            .minimum = -200,
            .maximum = 200,
            .defaultValue = percent,
            .help = help};
}

constexpr std::array kDistortFields{
    field<&DistortArguments::topLeftX>(corner("topLeftX", 15, "the top left corner, of the width")),
    field<&DistortArguments::topLeftY>(corner("topLeftY", 0, "the top left corner, of the height")),
    field<&DistortArguments::bottomLeftX>(corner("bottomLeftX", 0, "the bottom left corner, of the width")),
    field<&DistortArguments::bottomLeftY>(
        corner("bottomLeftY", 100, "the bottom left corner, of the height")),
    field<&DistortArguments::bottomRightX>(
        corner("bottomRightX", 100, "the bottom right corner, of the width")),
    field<&DistortArguments::bottomRightY>(
        corner("bottomRightY", 85, "the bottom right corner, of the height")),
    field<&DistortArguments::topRightX>(corner("topRightX", 80, "the top right corner, of the width")),
    field<&DistortArguments::topRightY>(corner("topRightY", 10, "the top right corner, of the height")),
    field<&DistortArguments::background>(kBackground),
};
static_assert(coverRecord<DistortArguments>(kDistortFields));

void *callDistort(void *dib, void *record)
{
    const auto &arguments = *static_cast<DistortArguments *>(record);
    const auto [width, height] = sizeOf(dib);
    const auto part = [](int32_t percent, int whole) { return heldToInt(int64_t{percent} * whole / 100); };
    const auto point = [&](int32_t x, int32_t y) { return tagPOINT{part(x, width), part(y, height)}; };
    tagPOINT corners[] = {point(arguments.topLeftX, arguments.topLeftY),
                          point(arguments.bottomLeftX, arguments.bottomLeftY),
                          point(arguments.bottomRightX, arguments.bottomRightY),
                          point(arguments.topRightX, arguments.topRightY)};
    return ProcessDistort(dib, corners, arguments.background);
}

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
         .minimum = 0,
         .maximum = 1,
         .defaultValue = 0,
         .help = "whether the pictures' corner pixels lie upon each other",
         .choices = kNoYes}),
    field<&HighQualityArguments::showCursor>({.name = "showCursor",
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
                                            .help = "the rectangle's first row, counted from the top"}),
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
    const Size image = sizeOf(dib);
    const auto [width, height] = resolvedSize(dib, {arguments.newWidth, arguments.newHeight});
    const int32_t srcWidth = arguments.srcWidth != 0 ? arguments.srcWidth : image.width;
    const int32_t srcHeight = arguments.srcHeight != 0 ? arguments.srcHeight : image.height;
    return ProcessPartialResample(dib, arguments.srcX, storedRow(image.height, arguments.srcY, srcHeight),
                                  srcWidth, srcHeight, width, height);
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
    field<&RotateArguments::background>(kBackground),
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

constexpr FieldText kStrength{.name = "strength",
                              .unit = "percent",
                              .minimum = 1,
                              .maximum = 100,
                              .defaultValue = 50,
                              .help = "how much to warp"};
constexpr std::array kStrengthFields{field<&IntParameter::value>(kStrength)};
static_assert(coverRecord<IntParameter>(kStrengthFields));

constexpr std::array kAngularTypes{Choice{"spiral", 1}, Choice{"whirlpool", 2}, Choice{"twist", 3},
                                   Choice{"funnel", 4}};

constexpr std::array kAngularFields{
    field<&tagParamPTAngular::type>({.name = "type",
                                     .minimum = 1,
                                     .maximum = 4,
                                     .defaultValue = 1,
                                     .help = "how the turn goes with the distance from the centre",
                                     .choices = kAngularTypes}),
    field<&tagParamPTAngular::strength>({.name = "strength",
                                         .unit = "percent",
                                         .minimum = 1,
                                         .maximum = 100,
                                         .defaultValue = 50,
                                         .help = "how far to turn; twist and funnel have no use for it"}),
};
static_assert(coverRecord<tagParamPTAngular>(kAngularFields));

constexpr std::array kRadialTypes{Choice{"cone", 1}, Choice{"sphere", 2}, Choice{"fish-eye", 3}};

constexpr std::array kRadialFields{
    field<&tagParamPTRadial::type>({.name = "type",
                                    .minimum = 1,
                                    .maximum = 3,
                                    .defaultValue = 3,
                                    .help = "how the scale goes with the distance from the centre",
                                    .choices = kRadialTypes}),
    field<&tagParamPTRadial::strength>({.name = "strength",
                                        .unit = "percent",
                                        .minimum = 1,
                                        .maximum = 100,
                                        .defaultValue = 50,
                                        .help = "how much to scale; the sphere has no use for it"}),
};
static_assert(coverRecord<tagParamPTRadial>(kRadialFields));

constexpr std::array kMagicModes{Choice{"columns", 0}, Choice{"rows", 1}, Choice{"radial", 2},
                                 Choice{"angular", 3}};

constexpr std::array kMagicMirrorFields{
    field<&tagParamMagicMirror::mode>({.name = "mode",
                                       .minimum = 0,
                                       .maximum = 3,
                                       .defaultValue = 2,
                                       .help = "what the curve bends",
                                       .choices = kMagicModes}),
    field<&tagParamMagicMirror::curve>({.name = "curve",
                                        .unit = "levels",
                                        .minimum = -127,
                                        .maximum = 127,
                                        .defaultValue = 40,
                                        .help = "the straight line, moved by so many levels"}),
};
static_assert(coverRecord<tagParamMagicMirror>(kMagicMirrorFields));

constexpr std::array kMeltingFields{
    field<&IntParameter::value>({.name = "amount",
                                 .unit = "percent",
                                 .minimum = 1,
                                 .maximum = 100,
                                 .defaultValue = 20,
                                 .help = "pixels that sink"}),
};
static_assert(coverRecord<IntParameter>(kMeltingFields));

constexpr std::array kRibbonFields{
    field<&tagParamRibbon::frequency>({.name = "frequency",
                                       .unit = "tenths of a half wave",
                                       .minimum = 0,
                                       .maximum = 200,
                                       .defaultValue = 40,
                                       .help = "waves over the width"}),
    field<&tagParamRibbon::depth>({.name = "depth",
                                   .unit = "percent",
                                   .minimum = 0,
                                   .maximum = 100,
                                   .defaultValue = 15,
                                   .help = "height of the wave, of three quarters of the image's"}),
    field<&tagParamRibbon::color>({.name = "color",
                                   .unit = "colour",
                                   .minimum = 0,
                                   .maximum = 0xFFFFFF,
                                   .defaultValue = 0xFFFFFF,
                                   .help = "of what the wave leaves free",
                                   .fillsGaps = true}),
};
static_assert(coverRecord<tagParamRibbon>(kRibbonFields));

constexpr std::array kRippleFields{
    field<&IntParameter::value>({.name = "amount",
                                 .unit = "percent",
                                 .minimum = 1,
                                 .maximum = 100,
                                 .defaultValue = 50,
                                 .help = "how far and how long to swing"}),
};
static_assert(coverRecord<IntParameter>(kRippleFields));

constexpr std::array kSplashFields{
    field<&IntParameter::value>({.name = "amount",
                                 .unit = "percent",
                                 .minimum = 1,
                                 .maximum = 100,
                                 .defaultValue = 20,
                                 .help = "how far to scatter pixels"}),
};
static_assert(coverRecord<IntParameter>(kSplashFields));

constexpr std::array kWrinkleFields{
    field<&tagParamWrinkle::strength>({.name = "strength",
                                       .unit = "percent",
                                       .minimum = 1,
                                       .maximum = 100,
                                       .defaultValue = 50,
                                       .help = "how often columns and rows step aside"}),
    field<&tagParamWrinkle::color>({.name = "color",
                                    .unit = "colour",
                                    .minimum = 0,
                                    .maximum = 0xFFFFFF,
                                    .defaultValue = 0xFFFFFF,
                                    .help = "of what comes from outside",
                                    .fillsGaps = true}),
};
static_assert(coverRecord<tagParamWrinkle>(kWrinkleFields));

constexpr std::array kZigZagFields{
    field<&tagZigZagParam::amount>({.name = "amount",
                                    .unit = "percent",
                                    .minimum = -100,
                                    .maximum = 100,
                                    .defaultValue = 20,
                                    .help = "how far to turn, and which way; 0 is refused"}),
    field<&tagZigZagParam::ridges>({.name = "ridges",
                                    .unit = "rings",
                                    .minimum = 1,
                                    .maximum = 50,
                                    .defaultValue = 5,
                                    .help = "rings from the centre to the rim"}),
};
static_assert(coverRecord<tagZigZagParam>(kZigZagFields));

/// Of an export with several forms, that with one parameter.
template <typename Second>
using Form = void *(*)(void *, Second);

constexpr std::array kEffects{
    Effect{.name = "magic-mirror",
           .exportName = "ProcessMagicMirror",
           .code = 56,
           .family = Family::Geometry,
           .help = "bends by a curve, like a mirror at a fair",
           .recordName = "tagParamMagicMirror",
           .recordBytes = sizeof(tagParamMagicMirror),
           .fields = kMagicMirrorFields,
           .depths = Depth8 | Depth24,
           .call = callWithRecord<&ProcessMagicMirror, tagParamMagicMirror>,
           .motion = Motion::ByPlace},
    Effect{.name = "melting",
           .exportName = "ProcessMelting",
           .code = 39,
           .family = Family::Geometry,
           .help = "lets dark pixels sink",
           .recordName = "int",
           .recordBytes = sizeof(IntParameter),
           .fields = kMeltingFields,
           .depths = DepthSamples,
           .random = true,
           .call = callWithInt<static_cast<Form<int>>(&ProcessMelting)>,
           .motion = Motion::ByContent},
    Effect{.name = "ribbon",
           .exportName = "ProcessRibbon",
           .code = 65,
           .family = Family::Geometry,
           .help = "waves the columns",
           .recordName = "tagParamRibbon",
           .recordBytes = sizeof(tagParamRibbon),
           .fields = kRibbonFields,
           .depths = DepthSamples,
           .call = callWithRecord<&ProcessRibbon, tagParamRibbon>,
           .motion = Motion::ByPlace,
           .extremeExample = "frequency=80 depth=40"},
    Effect{.name = "ripple",
           .exportName = "ProcessRipple",
           .code = 36,
           .family = Family::Geometry,
           .help = "shakes rows and columns",
           .recordName = "int",
           .recordBytes = sizeof(IntParameter),
           .fields = kRippleFields,
           .depths = DepthSamples,
           .call = callWithInt<&ProcessRipple>,
           .motion = Motion::ByPlace},
    Effect{.name = "splash",
           .exportName = "ProcessSplash",
           .code = 35,
           .family = Family::Geometry,
           .help = "scatters pixels",
           .recordName = "int",
           .recordBytes = sizeof(IntParameter),
           .fields = kSplashFields,
           .depths = DepthSamples,
           .random = true,
           .call = callWithInt<static_cast<Form<int>>(&ProcessSplash)>,
           .motion = Motion::ByPlace},
    Effect{.name = "cone",
           .exportName = "ProcessCone",
           .code = 48,
           .family = Family::Geometry,
           .help = "pinches the centre",
           .recordName = "int",
           .recordBytes = sizeof(IntParameter),
           .fields = kStrengthFields,
           .depths = DepthSamples,
           .call = callWithInt<&ProcessCone>,
           .motion = Motion::ByPlace},
    Effect{.name = "crop",
           .exportName = "ProcessCrop",
           .family = Family::Geometry,
           .help = "a rectangle of the picture, or around it",
           .recordName = "arguments",
           .recordBytes = sizeof(CropArguments),
           .fields = kCropFields,
           .depths = DepthSamples,
           .call = callCrop,
           .motion = Motion::ByPlace,
           .resizes = true,
           .extremeExample = "left=-60 top=-40 width=600 height=400 wrap=tile"},
    Effect{.name = "cylinder",
           .exportName = "ProcessCylinder",
           .code = 66,
           .family = Family::Geometry,
           .help = "wraps around an upright cylinder",
           .depths = DepthSamples,
           .call = callPlain<&ProcessCylinder>,
           .motion = Motion::ByPlace},
    Effect{.name = "distort",
           .exportName = "ProcessDistort",
           .family = Family::Geometry,
           .help = "into a quadrilateral",
           .recordName = "arguments",
           .recordBytes = sizeof(DistortArguments),
           .fields = kDistortFields,
           .depths = DepthAll,
           .call = callDistort,
           .motion = Motion::ByPlace,
           .resizes = true,
           .extremeExample = "topLeftX=30 topLeftY=10 bottomLeftX=5 bottomLeftY=90 bottomRightX=95 "
                             "bottomRightY=100 topRightX=70 topRightY=0 background=#1d3557"},
    Effect{.name = "exact-rotate",
           .exportName = "ProcessExactRotate",
           .family = Family::Geometry,
           .help = "turn by quarters without loss",
           .recordName = "int",
           .recordBytes = sizeof(IntParameter),
           .fields = kExactRotateFields,
           .depths = DepthAll,
           .call = callExactRotate,
           .motion = Motion::ByPlace,
           .resizes = true},
    Effect{.name = "partial-resample",
           .exportName = "ProcessPartialResample",
           .family = Family::Geometry,
           .help = "a rectangle at another size, blended of up to four pixels",
           .recordName = "arguments",
           .recordBytes = sizeof(PartialResampleArguments),
           .fields = kPartialResampleFields,
           .depths = Depth1 | Depth8Gray | Depth24,
           .call = callPartialResample,
           .blankDepths = Depth8Paletted,
           .motion = Motion::ByPlace,
           .resizes = true,
           .extremeExample = "srcX=20 srcY=0 srcWidth=150 srcHeight=200 newWidth=240 newHeight=320"},
    Effect{.name = "resample",
           .exportName = "ProcessResample",
           .family = Family::Geometry,
           .help = "at another size, blended of up to four pixels",
           .recordName = "arguments",
           .recordBytes = sizeof(ResampleArguments),
           .fields = kResampleFields,
           .depths = DepthAll,
           .call = callResample,
           .motion = Motion::ByPlace,
           .resizes = true,
           .extremeExample = "newWidth=60 newHeight=40"},
    Effect{.name = "resample-high-quality",
           .exportName = "ProcessResampleHighQuality",
           .family = Family::Geometry,
           .help = "at another size through a cubic filter",
           .recordName = "arguments",
           .recordBytes = sizeof(HighQualityArguments),
           .fields = kHighQualityFields,
           .depths = Depth8Gray | Depth24,
           .call = callHighQuality,
           .otherDepths = Depth8Paletted,
           .motion = Motion::ByPlace,
           .resizes = true,
           .extremeExample = "newWidth=320 newHeight=320"},
    Effect{.name = "fish-eye",
           .exportName = "ProcessFishEye",
           .code = 41,
           .family = Family::Geometry,
           .help = "magnifies the centre",
           .recordName = "int",
           .recordBytes = sizeof(IntParameter),
           .fields = kStrengthFields,
           .depths = DepthSamples,
           .call = callWithInt<&ProcessFishEye>,
           .motion = Motion::ByPlace},
    Effect{.name = "polar-angular",
           .exportName = "ProcessPolarTransformAngular",
           .code = 57,
           .family = Family::Geometry,
           .help = "turns by the distance from the centre",
           .recordName = "tagParamPTAngular",
           .recordBytes = sizeof(tagParamPTAngular),
           .fields = kAngularFields,
           .depths = DepthSamples,
           .call = callWithRecord<&ProcessPolarTransformAngular, tagParamPTAngular>,
           .motion = Motion::ByPlace},
    Effect{.name = "polar-radial",
           .exportName = "ProcessPolarTransformRadial",
           .code = 64,
           .family = Family::Geometry,
           .help = "scales by the distance from the centre",
           .recordName = "tagParamPTRadial",
           .recordBytes = sizeof(tagParamPTRadial),
           .fields = kRadialFields,
           .depths = DepthSamples,
           .call = callWithRecord<&ProcessPolarTransformRadial, tagParamPTRadial>,
           .motion = Motion::ByPlace,
           .extremeExample = "type=fish-eye strength=100"},
    Effect{.name = "rotate",
           .exportName = "ProcessRotate",
           .family = Family::Geometry,
           .help = "turn by degrees into a picture that is just large enough",
           .recordName = "arguments",
           .recordBytes = sizeof(RotateArguments),
           .fields = kRotateFields,
           .depths = DepthAll,
           .call = callRotate,
           .motion = Motion::ByPlace,
           .resizes = true,
           .extremeExample = "angle=-100 background=#1d3557"},
    Effect{.name = "sphere",
           .exportName = "ProcessSphere",
           .code = 55,
           .family = Family::Geometry,
           .help = "lays the picture on a sphere",
           .depths = DepthSamples,
           .call = callPlain<&ProcessSphere>,
           .motion = Motion::ByPlace},
    Effect{.name = "spiral",
           .exportName = "ProcessSpiral",
           .code = 50,
           .family = Family::Geometry,
           .help = "turns more towards the edge",
           .recordName = "int",
           .recordBytes = sizeof(IntParameter),
           .fields = kStrengthFields,
           .depths = DepthSamples,
           .call = callWithInt<&ProcessSpiral>,
           .motion = Motion::ByPlace},
    Effect{.name = "to-1-bit",
           .exportName = "ProcessConvertFrom8To1",
           .family = Family::Geometry,
           .help = "to black and white by a threshold on the stored level",
           .recordName = "int",
           .recordBytes = sizeof(IntParameter),
           .fields = kTo1BitFields,
           .depths = Depth8,
           .call = callWithInt<&ProcessConvertFrom8To1>,
           .extremeExample = "threshold=200"},
    Effect{.name = "to-24-bit",
           .exportName = "ProcessConvertTo24BitColor",
           .family = Family::Geometry,
           .help = "to 24-bit colour through the palette",
           .depths = Depth1 | Depth4 | Depth8,
           .call = callPlain<&ProcessConvertTo24BitColor>},
    Effect{.name = "to-gray",
           .exportName = "ProcessConvertToGrayScale",
           .family = Family::Geometry,
           .help = "to 8-bit gray by luminance",
           .depths = DepthAll,
           .call = callPlain<&ProcessConvertToGrayScale>},
    Effect{.name = "wrinkle",
           .exportName = "ProcessWrinkle",
           .code = 37,
           .family = Family::Geometry,
           .help = "drags columns and rows along by random walks",
           .recordName = "tagParamWrinkle",
           .recordBytes = sizeof(tagParamWrinkle),
           .fields = kWrinkleFields,
           .depths = DepthSamples,
           .random = true,
           .call = callWithRecord<static_cast<Form<tagParamWrinkle *>>(&ProcessWrinkle), tagParamWrinkle>,
           .motion = Motion::ByPlace},
    Effect{.name = "zig-zag",
           .exportName = "ProcessZigZag",
           .code = 4711,
           .family = Family::Geometry,
           .help = "turns rings around the centre to and fro",
           .recordName = "tagZigZagParam",
           .recordBytes = sizeof(tagZigZagParam),
           .fields = kZigZagFields,
           .depths = Depth8 | Depth24,
           .call = callWithRecord<&ProcessZigZag, tagZigZagParam>,
           .motion = Motion::ByPlace,
           .extremeExample = "amount=60 ridges=12"},
    Effect{.name = "whirlpool",
           .exportName = "ProcessWhirlpool",
           .code = 49,
           .family = Family::Geometry,
           .help = "turns more towards the centre",
           .recordName = "int",
           .recordBytes = sizeof(IntParameter),
           .fields = kStrengthFields,
           .depths = DepthSamples,
           .call = callWithInt<&ProcessWhirlpool>,
           .motion = Motion::ByPlace},
};

} // namespace

std::span<const Effect> geometryEffects()
{
    return kEffects;
}

} // namespace velmont::catalogue
