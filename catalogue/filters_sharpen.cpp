// Sharpening, contours and relief.

#include "catalogue/families.h"
#include <velmont/filters.h>

namespace velmont::catalogue {

namespace {

constexpr std::array kReliefs{Choice{"picture", 1}, Choice{"color-relief", 2}, Choice{"gray-relief", 3},
                              Choice{"on-color", 4}};

constexpr std::array kEmbossFields{
    field<&tagParamEmboss::direction>({.name = "direction",
                                       .minimum = 1,
                                       .maximum = 8,
                                       .defaultValue = 8,
                                       .help = "where the relief rises to",
                                       .choices = kDirections}),
    field<&tagParamEmboss::style>({.name = "style",
                                   .minimum = 1,
                                   .maximum = 4,
                                   .defaultValue = 3,
                                   .help = "what the relief stands on",
                                   .choices = kReliefs}),
    field<&tagParamEmboss::depth>({.name = "depth",
                                   .unit = "pixels",
                                   .minimum = 1,
                                   .maximum = 10,
                                   .defaultValue = 2,
                                   .help = "how far the picture is moved"}),
    field<&tagParamEmboss::color>({.name = "color",
                                   .unit = "colour",
                                   .minimum = 0,
                                   .maximum = 16777215,
                                   .defaultValue = 8421504,
                                   .help = "ground of the style on-color"}),
};
static_assert(coverRecord<tagParamEmboss>(kEmbossFields));

constexpr std::array kFindContourFields{
    field<&tagParamFindContour::enable>(
        {.name = "enable", .minimum = 1, .maximum = 1, .defaultValue = 1, .help = "1; 0 is refused"}),
    field<&tagParamFindContour::channel>({.name = "channel",
                                          .minimum = 0,
                                          .maximum = 3,
                                          .defaultValue = 0,
                                          .help = "which channels to look at",
                                          .choices = kChannels}),
    field<&tagParamFindContour::threshold>({.name = "threshold",
                                            .unit = "levels",
                                            .minimum = 1,
                                            .maximum = 254,
                                            .defaultValue = 128,
                                            .help = "what is brighter is inside"}),
};
static_assert(coverRecord<tagParamFindContour>(kFindContourFields));

constexpr std::array kAxes{Choice{"horizontal", 0}, Choice{"vertical", 1}};

constexpr std::array kLinearSharpenFields{
    field<&tagParamLinearSharpen::vertical>({.name = "vertical",
                                             .minimum = 0,
                                             .maximum = 1,
                                             .defaultValue = 0,
                                             .help = "which neighbours to compare with",
                                             .choices = kAxes}),
};
static_assert(coverRecord<tagParamLinearSharpen>(kLinearSharpenFields));

constexpr std::array kSketches{Choice{"light-on-black", 1}, Choice{"dark-on-white", 2}};

constexpr std::array kSketchFields{
    field<&tagParamSketch::style>({.name = "style",
                                   .minimum = 1,
                                   .maximum = 2,
                                   .defaultValue = 2,
                                   .help = "how to draw",
                                   .choices = kSketches}),
    field<&tagParamSketch::threshold>({.name = "threshold",
                                       .unit = "levels",
                                       .minimum = 0,
                                       .maximum = 254,
                                       .defaultValue = 30,
                                       .help = "the faintest line to draw"}),
};
static_assert(coverRecord<tagParamSketch>(kSketchFields));

constexpr std::array kUnsharpMaskFields{
    field<&tagParamUnsharpenMask::size>({.name = "size",
                                         .unit = "pixels",
                                         .minimum = 2,
                                         .maximum = 32,
                                         .defaultValue = 5,
                                         .help = "width of the window of the blur"}),
    field<&tagParamUnsharpenMask::amount>({.name = "amount",
                                           .unit = "percent",
                                           .minimum = 1,
                                           .maximum = 500,
                                           .defaultValue = 100,
                                           .help = "how much of the difference to add"}),
    field<&tagParamUnsharpenMask::threshold>({.name = "threshold",
                                              .unit = "levels",
                                              .minimum = 0,
                                              .maximum = 255,
                                              .defaultValue = 0,
                                              .help = "smallest difference that is boosted"}),
};
static_assert(coverRecord<tagParamUnsharpenMask>(kUnsharpMaskFields));

template <std::size_t index>
constexpr Field coefficient(std::string_view name, double defaultValue)
{
    return field<&tagParamUserFilter::kernel, index>(
        {.name = name,
         .minimum = -10000,
         .maximum = 10000,
         .defaultValue = defaultValue,
         .help = "coefficient of a row, the top one being 1, and a column, the left one being 1"});
}

constexpr std::array kUserFilterFields{
    field<&tagParamUserFilter::divisor>({.name = "divisor",
                                         .minimum = -10000,
                                         .maximum = 10000,
                                         .defaultValue = 9,
                                         .help = "divides the sum; not 0"}),
    field<&tagParamUserFilter::bias>({.name = "bias",
                                      .unit = "levels",
                                      .minimum = -255,
                                      .maximum = 255,
                                      .defaultValue = 0,
                                      .help = "added after the division"}),
    field<&tagParamUserFilter::reserved>(
        {.name = "reserved", .minimum = 0, .maximum = 0, .defaultValue = 0, .help = "not read"}),
    coefficient<0>("kernel11", 0),
    coefficient<1>("kernel12", 0),
    coefficient<2>("kernel13", 0),
    coefficient<3>("kernel14", 0),
    coefficient<4>("kernel15", 0),
    coefficient<5>("kernel21", 0),
    coefficient<6>("kernel22", -1),
    coefficient<7>("kernel23", -2),
    coefficient<8>("kernel24", -1),
    coefficient<9>("kernel25", 0),
    coefficient<10>("kernel31", 0),
    coefficient<11>("kernel32", -2),
    coefficient<12>("kernel33", 21),
    coefficient<13>("kernel34", -2),
    coefficient<14>("kernel35", 0),
    coefficient<15>("kernel41", 0),
    coefficient<16>("kernel42", -1),
    coefficient<17>("kernel43", -2),
    coefficient<18>("kernel44", -1),
    coefficient<19>("kernel45", 0),
    coefficient<20>("kernel51", 0),
    coefficient<21>("kernel52", 0),
    coefficient<22>("kernel53", 0),
    coefficient<23>("kernel54", 0),
    coefficient<24>("kernel55", 0),
};
static_assert(coverRecord<tagParamUserFilter>(kUserFilterFields));

constexpr std::array kEffects{
    Effect{.name = "emboss",
           .exportName = "ProcessEmboss",
           .code = 54,
           .family = Family::Filters,
           .help = "a relief in one of eight directions",
           .recordName = "tagParamEmboss",
           .recordBytes = sizeof(tagParamEmboss),
           .fields = kEmbossFields,
           .depths = DepthSamples,
           .call = callWithRecord<&ProcessEmboss, tagParamEmboss>},
    Effect{.name = "find-contour",
           .exportName = "ProcessFindContour",
           .code = 22,
           .family = Family::Filters,
           .help = "the inner rim of what is brighter than a threshold",
           .recordName = "tagParamFindContour",
           .recordBytes = sizeof(tagParamFindContour),
           .fields = kFindContourFields,
           .depths = DepthSamples,
           .call = callWithRecord<&ProcessFindContour, tagParamFindContour>,
           .extremeExample = "channel=red threshold=200"},
    Effect{.name = "linear-sharpen",
           .exportName = "ProcessLinearSharpen",
           .code = 19,
           .family = Family::Filters,
           .help = "sharpens along the rows or the columns",
           .recordName = "tagParamLinearSharpen",
           .recordBytes = sizeof(tagParamLinearSharpen),
           .fields = kLinearSharpenFields,
           .depths = DepthSamples,
           .call = callWithRecord<&ProcessLinearSharpen, tagParamLinearSharpen>},
    Effect{.name = "sketch",
           .exportName = "ProcessSketch",
           .code = 32,
           .family = Family::Filters,
           .help = "draws the edges",
           .recordName = "tagParamSketch",
           .recordBytes = sizeof(tagParamSketch),
           .fields = kSketchFields,
           .depths = DepthSamples,
           .call = callWithRecord<&ProcessSketch, tagParamSketch>},
    Effect{.name = "unsharp-mask",
           .exportName = "ProcessUnsharpMask",
           .code = 18,
           .family = Family::Filters,
           .help = "adds the difference of the picture and its blur",
           .recordName = "tagParamUnsharpenMask",
           .recordBytes = sizeof(tagParamUnsharpenMask),
           .fields = kUnsharpMaskFields,
           .depths = DepthSamples,
           .call = callWithRecord<&ProcessUnsharpMask, tagParamUnsharpenMask>},
    Effect{.name = "user-filter",
           .exportName = "ProcessUserFilter",
           .code = 25,
           .family = Family::Filters,
           .help = "a kernel of 5 by 5 coefficients",
           .recordName = "tagParamUserFilter",
           .recordBytes = sizeof(tagParamUserFilter),
           .fields = kUserFilterFields,
           .depths = DepthSamples,
           .call = callWithRecord<&ProcessUserFilter, tagParamUserFilter>,
           .extremeExample = "divisor=1 bias=128 kernel22=-2 kernel23=-1 kernel24=0 kernel32=-1 kernel33=0 "
                             "kernel34=1 kernel42=0 kernel43=1 kernel44=2"},
};

} // namespace

std::span<const Effect> sharpenEffects()
{
    return kEffects;
}

} // namespace velmont::catalogue
