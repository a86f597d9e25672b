// The gradients. Their points count from the top left, as people expect.

#include "catalogue/families.h"
#include "catalogue/picture_size.h"
#include <velmont/masks.h>

namespace velmont::catalogue {

namespace {

struct LineArguments {
    int32_t fromX, fromY, toX, toY, colorMode, repeatMode, sourcePercent, repeats;
    uint32_t color1, color2;
};
struct ShapedArguments {
    int32_t fromX, fromY, toX, toY, colorMode, repeatMode, sourcePercent, repeats;
    uint32_t color1, color2;
    int32_t shape;
};

constexpr FieldText place(std::string_view name, std::string_view help)
{
    return {
        .name = name, .unit = "pixels", .minimum = -30000, .maximum = 30000, .defaultValue = 0, .help = help};
}
constexpr FieldText color(std::string_view name, double value, std::string_view help)
{
    return {.name = name,
            .unit = "colour",
            .minimum = 0,
            .maximum = 0xFFFFFF,
            .defaultValue = value,
            .help = help};
}

constexpr std::array kColorModes{Choice{"rgb", 1}, Choice{"hsv", 2}};
constexpr std::array kRepeatModes{Choice{"reflect", 1}, Choice{"sawtooth", 2}};

/// What all gradients have, in the order of both records.
template <typename Arguments>
constexpr std::array kCommonFields{
    field<&Arguments::fromX>(place("fromX", "column of the start or the centre")),
    field<&Arguments::fromY>(place("fromY", "row of the start or the centre, counted from the top")),
    field<&Arguments::toX>(
        place("toX", "column of the end or of a corner; both points in one place span the whole picture")),
    field<&Arguments::toY>(place("toY", "row of the end or of a corner, counted from the top")),
    field<&Arguments::colorMode>({.name = "colorMode",
                                  .unit = "",
                                  .minimum = 1,
                                  .maximum = 2,
                                  .defaultValue = 1,
                                  .help = "what the ramp of colours runs through",
                                  .choices = kColorModes}),
    field<&Arguments::repeatMode>({.name = "repeatMode",
                                   .unit = "",
                                   .minimum = 1,
                                   .maximum = 2,
                                   .defaultValue = 1,
                                   .help = "whether odd bands run backwards or each one starts anew",
                                   .choices = kRepeatModes}),
    field<&Arguments::sourcePercent>({.name = "sourcePercent",
                                      .unit = "percent",
                                      .minimum = 0,
                                      .maximum = 100,
                                      .defaultValue = 50,
                                      .help = "the picture's share; 0 is the pure gradient"}),
    field<&Arguments::repeats>({.name = "repeats",
                                .unit = "bands",
                                .minimum = 0,
                                .maximum = 1000,
                                .defaultValue = 1,
                                .help = "bands before the end colour takes over"}),
    field<&Arguments::color1>(color("color1", 0xFFFFFF, "of the end or the outside")),
    field<&Arguments::color2>(color("color2", 0x000000, "of the start or the centre")),
};
constexpr const auto &kLineFields = kCommonFields<LineArguments>;
static_assert(coverRecord<LineArguments>(kLineFields));

/// The common fields and the choice of a shape, of which the last one is the default.
template <const auto &shapes, int lowest, int highest>
constexpr auto withShape()
{
    std::array<Field, kLineFields.size() + 1> all{};
    std::copy(kCommonFields<ShapedArguments>.begin(), kCommonFields<ShapedArguments>.end(), all.begin());
    all.back() = field<&ShapedArguments::shape>({.name = "shape",
                                                 .unit = "",
                                                 .minimum = lowest,
                                                 .maximum = highest,
                                                 .defaultValue = highest,
                                                 .help = "the form of the bands",
                                                 .choices = shapes});
    return all;
}

constexpr std::array kBoxes{Choice{"square", 1}, Choice{"rectangle", 2}};
constexpr std::array kRounds{Choice{"ellipse", 3}, Choice{"circle", 4}};
constexpr std::array kShapes{Choice{"square", 1}, Choice{"rectangle", 2}, Choice{"ellipse", 3},
                             Choice{"circle", 4}, Choice{"line", 5}};

constexpr auto kBoxFields = withShape<kBoxes, 1, 2>();
constexpr auto kRoundFields = withShape<kRounds, 3, 4>();
constexpr auto kFillFields = withShape<kShapes, 1, 5>();
static_assert(coverRecord<ShapedArguments>(kFillFields));

constexpr int kLine = 5;

template <auto Export, typename Arguments>
void *callGradient(void *dib, void *record)
{
    const auto &arguments = *static_cast<Arguments *>(record);
    int shape = kLine;
    if constexpr (requires { arguments.shape; })
        shape = arguments.shape;
    const Size image = sizeOf(dib);
    tagPOINT from{arguments.fromX, arguments.fromY}, to{arguments.toX, arguments.toY};
    if (from.x == to.x && from.y == to.y) {
        // From corner to corner, or from the middle.
        from = shape == kLine ? tagPOINT{0, 0} : tagPOINT{image.width / 2, image.height / 2};
        to = {image.width, image.height};
    }
    from.y = storedRow(image.height, from.y, 1);
    to.y = storedRow(image.height, to.y, 1);
    return Export(dib, from, to, arguments.colorMode, arguments.repeatMode, arguments.sourcePercent,
                  arguments.repeats, shape, arguments.color1, arguments.color2);
}

constexpr std::array kEffects{
    Effect{.name = "circular-gradient",
           .exportName = "ProcessCircularGradient",
           .code = {},
           .family = Family::Masks,
           .help = "paints a colour ramp in circles or ellipses",
           .recordName = "arguments",
           .recordBytes = sizeof(ShapedArguments),
           .fields = kRoundFields,
           .depths = DepthSamples,
           .random = false,
           .call = callGradient<ProcessCircularGradient, ShapedArguments>,
           .extremeExample = "colorMode=hsv sourcePercent=30 repeats=5 color1=#2020ff color2=#ff4020"},
    Effect{.name = "gradient-fill",
           .exportName = "ProcessGradientFill",
           .code = {},
           .family = Family::Masks,
           .help = "paints a colour ramp of any shape",
           .recordName = "arguments",
           .recordBytes = sizeof(ShapedArguments),
           .fields = kFillFields,
           .depths = DepthSamples,
           .random = false,
           .call = callGradient<ProcessGradientFill, ShapedArguments>,
           .extremeExample =
               "shape=ellipse colorMode=hsv sourcePercent=30 repeats=5 color1=#2020ff color2=#ff4020"},
    Effect{.name = "linear-gradient",
           .exportName = "ProcessLinearGradient",
           .code = {},
           .family = Family::Masks,
           .help = "paints a colour ramp along a line",
           .recordName = "arguments",
           .recordBytes = sizeof(LineArguments),
           .fields = kLineFields,
           .depths = DepthSamples,
           .random = false,
           .call = callGradient<ProcessLinearGradient, LineArguments>,
           .extremeExample =
               "colorMode=hsv repeatMode=sawtooth sourcePercent=30 repeats=5 color1=#2020ff color2=#ff4020"},
    Effect{.name = "rectangular-gradient",
           .exportName = "ProcessRectangularGradient",
           .code = {},
           .family = Family::Masks,
           .help = "paints a colour ramp in squares or rectangles",
           .recordName = "arguments",
           .recordBytes = sizeof(ShapedArguments),
           .fields = kBoxFields,
           .depths = DepthSamples,
           .random = false,
           .call = callGradient<ProcessRectangularGradient, ShapedArguments>,
           .extremeExample = "colorMode=hsv sourcePercent=40 repeats=3 color1=#2020ff color2=#ff4020"},
};

} // namespace

std::span<const Effect> gradientEffects()
{
    return kEffects;
}

} // namespace velmont::catalogue
