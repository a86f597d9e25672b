// Bevels and blocks.

#include "catalogue/families.h"
#include <velmont/filters.h>

namespace velmont::catalogue {

namespace {

constexpr std::array kCellSizes{Choice{"medium", 1}, Choice{"small", 2}, Choice{"large", 3}};

constexpr std::array kTileDepths{Choice{"deep", 0}, Choice{"medium", 1}, Choice{"shallow", 2}};

constexpr std::array kGridForms{Choice{"straight", 0}, Choice{"wandering", 1}};

constexpr std::array k3DGridFields{
    field<&tagParam3DGrid::cellSize>({.name = "cellSize",
                                      .minimum = 1,
                                      .maximum = 3,
                                      .defaultValue = 1,
                                      .help = "cells of 32, 16 or 64 pixels",
                                      .choices = kCellSizes}),
    field<&tagParam3DGrid::depth>({.name = "depth",
                                   .minimum = 0,
                                   .maximum = 2,
                                   .defaultValue = 1,
                                   .help = "how far the tiles stand out",
                                   .choices = kTileDepths}),
    field<&tagParam3DGrid::jitter>({.name = "jitter",
                                    .minimum = 0,
                                    .maximum = 1,
                                    .defaultValue = 1,
                                    .help = "whether the grid wanders",
                                    .choices = kGridForms}),
};
static_assert(coverRecord<tagParam3DGrid>(k3DGridFields));

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
                                      .minimum = 0,
                                      .maximum = 1,
                                      .defaultValue = 0,
                                      .help = "whether the bands fade inward",
                                      .choices = kBandStyles}),
    field<&tagParamButtonize::color>({.name = "color",
                                      .minimum = 0,
                                      .maximum = 0xFFFFFF,
                                      .defaultValue = 0xB4B4B4,
                                      .help = "colour of the bands, 0xBBGGRR, at 24 bits"}),
};
static_assert(coverRecord<tagParamButtonize>(kButtonizeFields));

constexpr std::array kInnerLevelFields{
    field<&tagParamInnerLevel::marginDivisor>({.name = "marginDivisor",
                                               .minimum = 0,
                                               .maximum = 1000,
                                               .defaultValue = 20,
                                               .help = "width plus height over the margin"}),
    field<&tagParamInnerLevel::bevelDivisor>({.name = "bevelDivisor",
                                              .minimum = 0,
                                              .maximum = 1000,
                                              .defaultValue = 40,
                                              .help = "width plus height over the bevel's width"}),
};
static_assert(coverRecord<tagParamInnerLevel>(kInnerLevelFields));

constexpr std::array kMosaicFields{
    field<&tagParamMosaic::cellWidth>({.name = "cellWidth",
                                       .unit = "pixels",
                                       .minimum = 1,
                                       .maximum = 1000,
                                       .defaultValue = 16,
                                       .help = "width of a tile"}),
    field<&tagParamMosaic::cellHeight>({.name = "cellHeight",
                                        .unit = "pixels",
                                        .minimum = 1,
                                        .maximum = 1000,
                                        .defaultValue = 16,
                                        .help = "height of a tile"}),
};
static_assert(coverRecord<tagParamMosaic>(kMosaicFields));

constexpr std::array kOilPaintFields{
    field<&IntParameter::value>({.name = "radius",
                                 .unit = "pixels",
                                 .minimum = 1,
                                 .maximum = 100,
                                 .defaultValue = 4,
                                 .help = "reach of the brush"}),
};
static_assert(coverRecord<IntParameter>(kOilPaintFields));

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
    Effect{.name = "3d-grid",
           .exportName = "Process3DGrid",
           .code = 51,
           .family = Family::Filters,
           .help = "a grid of raised tiles",
           .recordName = "tagParam3DGrid",
           .recordBytes = sizeof(tagParam3DGrid),
           .fields = k3DGridFields,
           .depths = DepthSamples,
           .random = true,
           .call = callWithRecord<&Process3DGrid, tagParam3DGrid>,
           .extremeExample = "cellSize=small depth=deep jitter=straight"},
    Effect{.name = "buttonize",
           .exportName = "ProcessButtonize",
           .code = 4503,
           .family = Family::Filters,
           .help = "a raised button made of the picture",
           .recordName = "tagParamButtonize",
           .recordBytes = sizeof(tagParamButtonize),
           .fields = kButtonizeFields,
           .depths = DepthSamples,
           .call = callWithRecord<&ProcessButtonize, tagParamButtonize>,
           .extremeExample = "bevelWidth=48 bevelHeight=48 opacity=100 style=even"},
    Effect{.name = "inner-level",
           .exportName = "ProcessInnerLevel",
           .code = 4703,
           .family = Family::Filters,
           .help = "a bevelled frame inside the picture, softened",
           .recordName = "tagParamInnerLevel",
           .recordBytes = sizeof(tagParamInnerLevel),
           .fields = kInnerLevelFields,
           .depths = Depth8 | Depth24,
           .call = callWithRecord<&ProcessInnerLevel, tagParamInnerLevel>,
           .otherDepths = Depth1 | Depth4,
           .extremeExample = "marginDivisor=10 bevelDivisor=24"},
    Effect{.name = "mosaic",
           .exportName = "ProcessMosaic",
           .code = 52,
           .family = Family::Filters,
           .help = "tiles of one colour each",
           .recordName = "tagParamMosaic",
           .recordBytes = sizeof(tagParamMosaic),
           .fields = kMosaicFields,
           .depths = DepthSamples,
           .call = callWithRecord<&ProcessMosaic, tagParamMosaic>},
    Effect{.name = "oil-paint",
           .exportName = "ProcessOilPaint",
           .code = 40,
           .family = Family::Filters,
           .help = "strokes of a brush",
           .recordName = "int",
           .recordBytes = sizeof(IntParameter),
           .fields = kOilPaintFields,
           .depths = DepthSamples,
           .call = callWithInt<&ProcessOilPaint>},
    Effect{.name = "outer-level",
           .exportName = "ProcessOuterLevel",
           .code = 4603,
           .family = Family::Filters,
           .help = "a rounded frame around the picture",
           .recordName = "tagParamOuterLevel",
           .recordBytes = sizeof(tagParamOuterLevel),
           .fields = kOuterLevelFields,
           .depths = DepthSamples,
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
           .call = callWithRecord<&ProcessSoftEdge, tagParamSoftEdge>,
           .extremeExample = "radius=32"},
};

} // namespace

std::span<const Effect> bevelEffects()
{
    return kEffects;
}

} // namespace velmont::catalogue
