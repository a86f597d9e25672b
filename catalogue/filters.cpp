#include "catalogue/families.h"
#include <velmont/filters.h>

namespace velmont::catalogue {

namespace {

constexpr unsigned kSampleDepths = Depth8Gray | Depth24;

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
                                   .unit = "",
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

constexpr std::array kDirections{Choice{"lower-right", 1}, Choice{"down", 2},      Choice{"lower-left", 3},
                                 Choice{"right", 4},       Choice{"left", 5},      Choice{"upper-right", 6},
                                 Choice{"up", 7},          Choice{"upper-left", 8}};

constexpr std::array kMotionBlurFields{
    field<&tagParamMotionBlur::direction>({.name = "direction",
                                           .unit = "",
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

constexpr std::array kCellSizes{Choice{"medium", 1}, Choice{"small", 2}, Choice{"large", 3}};
constexpr std::array kReliefs{Choice{"deep", 0}, Choice{"medium", 1}, Choice{"shallow", 2}};
constexpr std::array kGridForms{Choice{"straight", 0}, Choice{"wandering", 1}};

constexpr std::array k3DGridFields{
    field<&tagParam3DGrid::cellSize>({.name = "cellSize",
                                      .unit = "",
                                      .minimum = 1,
                                      .maximum = 3,
                                      .defaultValue = 1,
                                      .help = "cells of 32, 16 or 64 pixels",
                                      .choices = kCellSizes}),
    field<&tagParam3DGrid::depth>({.name = "depth",
                                   .unit = "",
                                   .minimum = 0,
                                   .maximum = 2,
                                   .defaultValue = 1,
                                   .help = "how far the tiles stand out",
                                   .choices = kReliefs}),
    field<&tagParam3DGrid::jitter>({.name = "jitter",
                                    .unit = "",
                                    .minimum = 0,
                                    .maximum = 1,
                                    .defaultValue = 1,
                                    .help = "whether the grid wanders",
                                    .choices = kGridForms}),
};
static_assert(coverRecord<tagParam3DGrid>(k3DGridFields));

constexpr std::array kInnerLevelFields{
    field<&tagParamInnerLevel::marginDivisor>({.name = "marginDivisor",
                                               .unit = "",
                                               .minimum = 0,
                                               .maximum = 1000,
                                               .defaultValue = 20,
                                               .help = "width plus height over the margin"}),
    field<&tagParamInnerLevel::bevelDivisor>({.name = "bevelDivisor",
                                              .unit = "",
                                              .minimum = 0,
                                              .maximum = 1000,
                                              .defaultValue = 40,
                                              .help = "width plus height over the bevel's width"}),
};
static_assert(coverRecord<tagParamInnerLevel>(kInnerLevelFields));

constexpr std::array kBandStyles{Choice{"fading", 0}, Choice{"even", 1}};

constexpr std::array kButtonizeFields{
    field<&tagParamButtonize::bevelWidth>({.name = "bevelWidth",
                                           .unit = "pixels",
                                           .minimum = 0,
                                           .maximum = 1000,
                                           .defaultValue = 20,
                                           .help = "width of the left and right bands"}),
    field<&tagParamButtonize::bevelHeight>({.name = "bevelHeight",
                                            .unit = "pixels",
                                            .minimum = 0,
                                            .maximum = 1000,
                                            .defaultValue = 20,
                                            .help = "height of the top and bottom bands"}),
    field<&tagParamButtonize::opacity>({.name = "opacity",
                                        .unit = "percent",
                                        .minimum = 0,
                                        .maximum = 100,
                                        .defaultValue = 60,
                                        .help = "how far the bands cover the picture"}),
    field<&tagParamButtonize::style>({.name = "style",
                                      .unit = "",
                                      .minimum = 0,
                                      .maximum = 1,
                                      .defaultValue = 0,
                                      .help = "whether the bands fade inward",
                                      .choices = kBandStyles}),
    field<&tagParamButtonize::color>({.name = "color",
                                      .unit = "",
                                      .minimum = 0,
                                      .maximum = 0xFFFFFF,
                                      .defaultValue = 0xB4B4B4,
                                      .help = "colour of the bands, 0xBBGGRR, at 24 bits"}),
};
static_assert(coverRecord<tagParamButtonize>(kButtonizeFields));

constexpr std::array kOuterLevelFields{
    field<&tagParamOuterLevel::rimWidth>({.name = "rimWidth",
                                          .unit = "pixels",
                                          .minimum = 0,
                                          .maximum = 1000,
                                          .defaultValue = 5,
                                          .help = "width of the outer rim"}),
    field<&tagParamOuterLevel::grooveWidth>({.name = "grooveWidth",
                                             .unit = "pixels",
                                             .minimum = 0,
                                             .maximum = 1000,
                                             .defaultValue = 3,
                                             .help = "width of the groove inside the rim"}),
    field<&tagParamOuterLevel::strength>({.name = "strength",
                                          .unit = "percent",
                                          .minimum = 0,
                                          .maximum = 400,
                                          .defaultValue = 100,
                                          .help = "how strong light and shade are"}),
};
static_assert(coverRecord<tagParamOuterLevel>(kOuterLevelFields));

constexpr std::array kSoftEdgeFields{
    field<&tagParamSoftEdge::radius>({.name = "radius",
                                      .unit = "pixels",
                                      .minimum = 1,
                                      .maximum = 128,
                                      .defaultValue = 16,
                                      .help = "how far inward the edge softens"}),
};
static_assert(coverRecord<tagParamSoftEdge>(kSoftEdgeFields));

constexpr std::array kEffects{
    Effect{.name = "average",
           .exportName = "ProcessAverage",
           .code = 8,
           .family = Family::Filters,
           .help = "the mean over a square window",
           .recordName = "tagParamAverage",
           .recordBytes = sizeof(tagParamAverage),
           .fields = kAverageFields,
           .depths = kSampleDepths,
           .random = false,
           .call = callWithRecord<&ProcessAverage, tagParamAverage>},
    Effect{.name = "blur",
           .exportName = "ProcessBlur",
           .code = 9,
           .family = Family::Filters,
           .help = "the mean over a square window mixed with the pixel itself",
           .recordName = "tagParamBlur",
           .recordBytes = sizeof(tagParamBlur),
           .fields = kBlurFields,
           .depths = kSampleDepths,
           .random = false,
           .call = callWithRecord<&ProcessBlur, tagParamBlur>},
    Effect{.name = "despeckle",
           .exportName = "ProcessDespeckle",
           .code = 16,
           .family = Family::Filters,
           .help = "smooths away from edges",
           .recordName = {},
           .recordBytes = 0,
           .fields = {},
           .depths = kSampleDepths,
           .random = false,
           .call = callPlain<&ProcessDespeckle>},
    Effect{.name = "gaussian-blur",
           .exportName = "ProcessGaussianBlur",
           .code = 17,
           .family = Family::Filters,
           .help = "a bell-shaped mean over a square window",
           .recordName = "tagParamGaussianBlur",
           .recordBytes = sizeof(tagParamGaussianBlur),
           .fields = kGaussianBlurFields,
           .depths = kSampleDepths,
           .random = false,
           .call = callWithRecord<&ProcessGaussianBlur, tagParamGaussianBlur>},
    Effect{.name = "max-min",
           .exportName = "ProcessMaxMin",
           .code = 20,
           .family = Family::Filters,
           .help = "the largest or smallest sample of a square window",
           .recordName = "tagParamMaxMin",
           .recordBytes = sizeof(tagParamMaxMin),
           .fields = kMaxMinFields,
           .depths = kSampleDepths,
           .random = false,
           .call = callWithRecord<&ProcessMaxMin, tagParamMaxMin>},
    Effect{.name = "median",
           .exportName = "ProcessMedian",
           .code = 21,
           .family = Family::Filters,
           .help = "the median of a square window, which takes away specks",
           .recordName = "tagParamMedian",
           .recordBytes = sizeof(tagParamMedian),
           .fields = kMedianFields,
           .depths = kSampleDepths,
           .random = false,
           .call = callWithRecord<&ProcessMedian, tagParamMedian>},
    Effect{.name = "motion-blur",
           .exportName = "ProcessMotionBlur",
           .code = 53,
           .family = Family::Filters,
           .help = "a trail in one of eight directions",
           .recordName = "tagParamMotionBlur",
           .recordBytes = sizeof(tagParamMotionBlur),
           .fields = kMotionBlurFields,
           .depths = kSampleDepths,
           .random = false,
           .call = callWithRecord<&ProcessMotionBlur, tagParamMotionBlur>},
    Effect{.name = "3d-grid",
           .exportName = "Process3DGrid",
           .code = 51,
           .family = Family::Filters,
           .help = "a grid of raised tiles",
           .recordName = "tagParam3DGrid",
           .recordBytes = sizeof(tagParam3DGrid),
           .fields = k3DGridFields,
           .depths = kSampleDepths,
           .random = true,
           .call = callWithRecord<&Process3DGrid, tagParam3DGrid>},
    Effect{.name = "inner-level",
           .exportName = "ProcessInnerLevel",
           .code = 4703,
           .family = Family::Filters,
           .help = "a bevelled frame inside the picture, softened",
           .recordName = "tagParamInnerLevel",
           .recordBytes = sizeof(tagParamInnerLevel),
           .fields = kInnerLevelFields,
           .depths = Depth8 | Depth24,
           .random = false,
           .call = callWithRecord<&ProcessInnerLevel, tagParamInnerLevel>,
           .otherDepths = Depth1 | Depth4},
    Effect{.name = "buttonize",
           .exportName = "ProcessButtonize",
           .code = 4503,
           .family = Family::Filters,
           .help = "a raised button made of the picture",
           .recordName = "tagParamButtonize",
           .recordBytes = sizeof(tagParamButtonize),
           .fields = kButtonizeFields,
           .depths = kSampleDepths,
           .random = false,
           .call = callWithRecord<&ProcessButtonize, tagParamButtonize>},
    Effect{.name = "outer-level",
           .exportName = "ProcessOuterLevel",
           .code = 4603,
           .family = Family::Filters,
           .help = "a rounded frame around the picture",
           .recordName = "tagParamOuterLevel",
           .recordBytes = sizeof(tagParamOuterLevel),
           .fields = kOuterLevelFields,
           .depths = kSampleDepths,
           .random = false,
           .call = callWithRecord<&ProcessOuterLevel, tagParamOuterLevel>},
    Effect{.name = "soft-edge",
           .exportName = "ProcessSoftEdge",
           .code = 68,
           .family = Family::Filters,
           .help = "lets a mask fall off toward its edge",
           .recordName = "tagParamSoftEdge",
           .recordBytes = sizeof(tagParamSoftEdge),
           .fields = kSoftEdgeFields,
           .depths = Depth8,
           .random = false,
           .call = callWithRecord<&ProcessSoftEdge, tagParamSoftEdge>},
};

} // namespace

std::span<const Effect> filterEffects()
{
    return kEffects;
}

} // namespace velmont::catalogue
