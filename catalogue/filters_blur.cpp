// Blurs, ranks and trails.

#include "catalogue/families.h"
#include <velmont/filters.h>

namespace velmont::catalogue {

namespace {

constexpr std::array kAverageFields{
    field<&tagParamAverage::size>({.name = "size",
                                   .unit = "pixels",
                                   .minimum = 2,
                                   .maximum = 32,
                                   .defaultValue = 5,
                                   .help = "width of the window"}),
};
static_assert(coverRecord<tagParamAverage>(kAverageFields));

constexpr std::array kBlurFields{
    field<&tagParamBlur::size>({.name = "size",
                                .unit = "pixels",
                                .minimum = 2,
                                .maximum = 100,
                                .defaultValue = 5,
                                .help = "width of the window"}),
    field<&tagParamBlur::centerWeight>({.name = "centerWeight",
                                        .unit = "samples",
                                        .minimum = 0,
                                        .maximum = 100,
                                        .defaultValue = 2,
                                        .help = "weight of the pixel itself beside its window"}),
};
static_assert(coverRecord<tagParamBlur>(kBlurFields));

constexpr std::array kGaussianBlurFields{
    field<&tagParamGaussianBlur::size>({.name = "size",
                                        .unit = "pixels",
                                        .minimum = 2,
                                        .maximum = 32,
                                        .defaultValue = 5,
                                        .help = "width of the window"}),
};
static_assert(coverRecord<tagParamGaussianBlur>(kGaussianBlurFields));

constexpr std::array kExtremes{Choice{"min", 0}, Choice{"max", 1}};

constexpr std::array kMaxMinFields{
    field<&tagParamMaxMin::size>({.name = "size",
                                  .unit = "pixels",
                                  .minimum = 2,
                                  .maximum = 32,
                                  .defaultValue = 3,
                                  .help = "width of the window"}),
    field<&tagParamMaxMin::isMax>({.name = "isMax",
                                   .minimum = 0,
                                   .maximum = 1,
                                   .defaultValue = 1,
                                   .help = "which end of the window to take",
                                   .choices = kExtremes}),
};
static_assert(coverRecord<tagParamMaxMin>(kMaxMinFields));

constexpr std::array kMedianFields{
    field<&tagParamMedian::size>({.name = "size",
                                  .unit = "pixels",
                                  .minimum = 2,
                                  .maximum = 32,
                                  .defaultValue = 3,
                                  .help = "width of the window"}),
};
static_assert(coverRecord<tagParamMedian>(kMedianFields));

constexpr std::array kMotionBlurFields{
    field<&tagParamMotionBlur::direction>({.name = "direction",
                                           .minimum = 1,
                                           .maximum = 8,
                                           .defaultValue = 4,
                                           .help = "where the trail leads",
                                           .choices = kDirections}),
    field<&tagParamMotionBlur::distance>({.name = "distance",
                                          .unit = "pixels",
                                          .minimum = 2,
                                          .maximum = 32,
                                          .defaultValue = 16,
                                          .help = "length of the trail"}),
};
static_assert(coverRecord<tagParamMotionBlur>(kMotionBlurFields));

constexpr std::array kSmartBlurModes{Choice{"smooth", 1}, Choice{"edges", 2}, Choice{"edges-over-smooth", 3}};

constexpr std::array kSmartBlurFields{
    field<&tagSmartBlurParam::threshold>({.name = "threshold",
                                          .minimum = 0,
                                          .maximum = 1000,
                                          .defaultValue = 200,
                                          .help = "how much of an edge is smoothed over"}),
    field<&tagSmartBlurParam::radius>(
        {.name = "radius",
         .minimum = 0,
         .maximum = 1000,
         .defaultValue = 100,
         .help = "how far means reach, and the share of the edges that is shown"}),
    field<&tagSmartBlurParam::mode>({.name = "mode",
                                     .minimum = 1,
                                     .maximum = 3,
                                     .defaultValue = 1,
                                     .help = "what to show",
                                     .choices = kSmartBlurModes}),
    field<&tagSmartBlurParam::step>({.name = "step",
                                     .unit = "pixels",
                                     .minimum = 1,
                                     .maximum = 32,
                                     .defaultValue = 1,
                                     .help = "from one sample of a row to the next"}),
};
static_assert(coverRecord<tagSmartBlurParam>(kSmartBlurFields));

constexpr std::array kEffects{
    Effect{.name = "average",
           .exportName = "ProcessAverage",
           .code = 8,
           .family = Family::Filters,
           .help = "the mean over a square window",
           .recordName = "tagParamAverage",
           .recordBytes = sizeof(tagParamAverage),
           .fields = kAverageFields,
           .depths = DepthSamples,
           .call = callWithRecord<&ProcessAverage, tagParamAverage>},
    Effect{.name = "blur",
           .exportName = "ProcessBlur",
           .code = 9,
           .family = Family::Filters,
           .help = "the mean over a square window mixed with the pixel itself",
           .recordName = "tagParamBlur",
           .recordBytes = sizeof(tagParamBlur),
           .fields = kBlurFields,
           .depths = DepthSamples,
           .call = callWithRecord<&ProcessBlur, tagParamBlur>,
           .extremeExample = "size=40 centerWeight=0"},
    Effect{.name = "despeckle",
           .exportName = "ProcessDespeckle",
           .code = 16,
           .family = Family::Filters,
           .help = "smooths away from edges",
           .depths = DepthSamples,
           .call = callPlain<&ProcessDespeckle>},
    Effect{.name = "gaussian-blur",
           .exportName = "ProcessGaussianBlur",
           .code = 17,
           .family = Family::Filters,
           .help = "a bell-shaped mean over a square window",
           .recordName = "tagParamGaussianBlur",
           .recordBytes = sizeof(tagParamGaussianBlur),
           .fields = kGaussianBlurFields,
           .depths = DepthSamples,
           .call = callWithRecord<&ProcessGaussianBlur, tagParamGaussianBlur>},
    Effect{.name = "max-min",
           .exportName = "ProcessMaxMin",
           .code = 20,
           .family = Family::Filters,
           .help = "the largest or smallest sample of a square window",
           .recordName = "tagParamMaxMin",
           .recordBytes = sizeof(tagParamMaxMin),
           .fields = kMaxMinFields,
           .depths = DepthSamples,
           .call = callWithRecord<&ProcessMaxMin, tagParamMaxMin>},
    Effect{.name = "median",
           .exportName = "ProcessMedian",
           .code = 21,
           .family = Family::Filters,
           .help = "the median of a square window, which takes away specks",
           .recordName = "tagParamMedian",
           .recordBytes = sizeof(tagParamMedian),
           .fields = kMedianFields,
           .depths = DepthSamples,
           .call = callWithRecord<&ProcessMedian, tagParamMedian>},
    Effect{.name = "motion-blur",
           .exportName = "ProcessMotionBlur",
           .code = 53,
           .family = Family::Filters,
           .help = "a trail in one of eight directions",
           .recordName = "tagParamMotionBlur",
           .recordBytes = sizeof(tagParamMotionBlur),
           .fields = kMotionBlurFields,
           .depths = DepthSamples,
           .call = callWithRecord<&ProcessMotionBlur, tagParamMotionBlur>},
    Effect{.name = "smart-blur",
           .exportName = "ProcessSmartBlur",
           .code = 4709,
           .family = Family::Filters,
           .help = "smooths and keeps edges",
           .recordName = "tagSmartBlurParam",
           .recordBytes = sizeof(tagSmartBlurParam),
           .fields = kSmartBlurFields,
           .depths = Depth24,
           .call = callWithRecord<&ProcessSmartBlur, tagSmartBlurParam>,
           .locksLeft = 1,
           .locksOnResult = 1,
           .smallestSide = 9,
           .definesPadding = false,
           .extremeExample = "threshold=300 radius=20 mode=edges"},
};

} // namespace

std::span<const Effect> blurEffects()
{
    return kEffects;
}

} // namespace velmont::catalogue
