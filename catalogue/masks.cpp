// The effects that select, and those that fill what is selected.

#include "catalogue/families.h"
#include "catalogue/in_place.h"
#include "catalogue/picture_size.h"
#include <cstring>
#include <optional>
#include <velmont/masks.h>

namespace velmont::catalogue {

namespace {

constexpr FieldText place(std::string_view name, std::string_view help)
{
    return {
        .name = name, .unit = "pixels", .minimum = -30000, .maximum = 30000, .defaultValue = 0, .help = help};
}
constexpr FieldText limit(std::string_view name, std::string_view help)
{
    return {.name = name, .unit = "levels", .minimum = 0, .maximum = 255, .defaultValue = 32, .help = help};
}
constexpr FieldText choice(std::string_view name, std::span<const Choice> choices, double defaultValue,
                           std::string_view help)
{
    return {.name = name,
            .unit = "",
            .minimum = 0,
            .maximum = static_cast<double>(choices.size()) - 1,
            .defaultValue = defaultValue,
            .help = help,
            .choices = choices};
}
constexpr FieldText kPaint{.name = "color",
                           .unit = "colour",
                           .minimum = 0,
                           .maximum = 0xFFFFFF,
                           .defaultValue = 0x0000FF,
                           .help = "what to paint; gray pictures take its blue byte"};

/// Whether a picture is a mask as the library makes them: with two colours, so that its rows start at byte 48.
bool isBitMask(void *dib)
{
    if (depthOf(dib) != Depth1)
        return false;
    const void *const block = KelMemLock(dib);
    if (!block)
        return false;
    DibHeader header;
    std::memcpy(&header, block, sizeof header);
    KelMemUnlock(dib);
    return header.biClrUsed == 2;
}

/// The stored row of one counted from the top; nothing for what is no picture.
std::optional<int> rowFromTop(void *dib, int32_t y)
{
    const int height = sizeOf(dib).height;
    return height != 0 ? std::optional(storedRow(height, y, 1)) : std::nullopt;
}
/// The stored row of a picture that a mask starts at; nothing where one of both is none.
std::optional<int> rowUnder(void *dib, void *mask, int32_t top)
{
    const int height = sizeOf(dib).height, maskHeight = sizeOf(mask).height;
    return height != 0 && maskHeight != 0 ? std::optional(storedRow(height, top, maskHeight)) : std::nullopt;
}

struct MagicArguments {
    int32_t x, y, mode, redLimit, greenLimit, blueLimit;
};

constexpr std::array kModes{Choice{"threshold", 0}, Choice{"tolerance", 1}};

/// The fields of a selection in any record that has them.
template <typename Arguments>
constexpr std::array kMagicFields{
    field<&Arguments::x>(place("x", "column of the pixel to start from")),
    field<&Arguments::y>(place("y", "row of the pixel to start from, counted from the top")),
    field<&Arguments::mode>(choice("mode", kModes, 1, "whether limits are distances or thresholds")),
    field<&Arguments::redLimit>(limit("redLimit", "how far red may differ, or its threshold")),
    field<&Arguments::greenLimit>(limit("greenLimit", "how far green may differ, or its threshold")),
    field<&Arguments::blueLimit>(limit("blueLimit", "how far blue may differ, or its threshold")),
};
static_assert(coverRecord<MagicArguments>(kMagicFields<MagicArguments>));

void *callMagicMask(void *dib, void *record)
{
    const auto &a = *static_cast<MagicArguments *>(record);
    const auto y = rowFromTop(dib, a.y);
    return y ? CreateMagicMaskFromDib(dib, a.x, *y, a.mode, a.redLimit, a.greenLimit, a.blueLimit) : nullptr;
}

struct OperationArguments {
    void *mask;
    int32_t left, top, operation;
};

constexpr std::array kOperations{Choice{"either", 0}, Choice{"both", 1}, Choice{"just-one", 2},
                                 Choice{"without", 3}};

constexpr std::array kOperationFields{
    field<&OperationArguments::left>(place("left", "column of the picture under the mask's first one")),
    field<&OperationArguments::top>(place("top", "row of the picture under the mask's uppermost one")),
    field<&OperationArguments::operation>(
        choice("operation", kOperations, 0, "what of the picture and the mask is selected")),
};
static_assert(coverRecord<OperationArguments>(kOperationFields, sizeof(void *)));

constexpr std::array kOperationOperands{
    operand<&OperationArguments::mask>("mask", OperandKind::BitMask, "the other mask"),
};

void *callMaskOperation(void *dib, void *record)
{
    const auto &a = *static_cast<OperationArguments *>(record);
    const auto y = isBitMask(dib) ? rowUnder(dib, a.mask, a.top) : std::nullopt;
    return y ? ProcessMaskOperation(dib, a.mask, a.left, *y, a.operation) : nullptr;
}

void *callBoundingMask(void *dib, void *)
{
    void *const copy = isBitMask(dib) ? copyOf(dib, Depth1) : nullptr;
    const Size size = sizeOf(copy);
    tagRECT rect{0, 0, size.width, size.height};
    return BoundingMask(copy, &rect);
}

void *callInvertMask(void *dib, void *)
{
    const unsigned depth = depthOf(dib);
    if (depth != Depth8Gray && (depth != Depth1 || !isBitMask(dib)))
        return nullptr;
    return onCopy(dib, Depth1 | Depth8Gray, [](void *copy) { return ProcessInvertMask(copy) == 0; });
}

struct FillColorArguments {
    void *mask;
    int32_t left, top;
    uint32_t color;
    int32_t inside;
};

constexpr std::array kSides{Choice{"unselected", 0}, Choice{"selected", 1}};

constexpr std::array kFillColorFields{
    field<&FillColorArguments::left>(place("left", "column of the picture under the mask's first one")),
    field<&FillColorArguments::top>(place("top", "row of the picture under the mask's uppermost one")),
    field<&FillColorArguments::color>(kPaint),
    field<&FillColorArguments::inside>(choice("inside", kSides, 1, "which pixels to paint")),
};
static_assert(coverRecord<FillColorArguments>(kFillColorFields, sizeof(void *)));

constexpr std::array kFillColorOperands{
    operand<&FillColorArguments::mask>("mask", OperandKind::BitMask, "what is selected"),
};

void *callFillColor(void *dib, void *record)
{
    const auto &a = *static_cast<FillColorArguments *>(record);
    const auto y = rowUnder(dib, a.mask, a.top);
    return y ? ProcessFillColor(dib, a.mask, {a.left, *y}, a.color, a.inside) : nullptr;
}

struct SeedFillArguments {
    void *newMask;
    int32_t x, y, mode, redLimit, greenLimit, blueLimit;
    uint32_t color;
};
struct SelectionFillArguments {
    void *selection, *newMask;
    int32_t x, y, mode, redLimit, greenLimit, blueLimit;
    uint32_t color;
};

template <typename Arguments>
constexpr std::array kSeedFillFields{
    kMagicFields<Arguments>[0],       kMagicFields<Arguments>[1], kMagicFields<Arguments>[2],
    kMagicFields<Arguments>[3],       kMagicFields<Arguments>[4], kMagicFields<Arguments>[5],
    field<&Arguments::color>(kPaint),
};
static_assert(coverRecord<SeedFillArguments>(kSeedFillFields<SeedFillArguments>, sizeof(void *)));
static_assert(coverRecord<SelectionFillArguments>(kSeedFillFields<SelectionFillArguments>,
                                                  2 * sizeof(void *)));

constexpr std::array kSeedFillOperands{
    resultOperand<&SeedFillArguments::newMask>("newMask", OperandKind::BitMask, "what was painted"),
};
constexpr std::array kSelectionFillOperands{
    operand<&SelectionFillArguments::selection>("selection", OperandKind::BitMask,
                                                "what the fill stays inside of, or outside of"),
    resultOperand<&SelectionFillArguments::newMask>("newMask", OperandKind::BitMask, "what was painted"),
};

/// A picture that cannot be painted is refused before anything is selected, and without a picture there is no mask.
template <typename Arguments>
void *seedFill(void *dib, void *selection, Arguments &a)
{
    const auto y = (depthOf(dib) & DepthSamples) != 0 ? rowFromTop(dib, a.y) : std::nullopt;
    if (!y)
        return nullptr;
    void *image = nullptr;
    ProcessSeedFill(dib, selection, a.x, *y, a.mode, a.redLimit, a.greenLimit, a.blueLimit, a.color, &image,
                    &a.newMask);
    if (!image && a.newMask)
        KelMemFree(a.newMask), a.newMask = nullptr;
    return image;
}

void *callSeedFill(void *dib, void *record)
{
    return seedFill(dib, nullptr, *static_cast<SeedFillArguments *>(record));
}
void *callSelectionFill(void *dib, void *record)
{
    auto &arguments = *static_cast<SelectionFillArguments *>(record);
    return seedFill(dib, arguments.selection, arguments);
}

struct PatternArguments {
    void *pattern;
    int32_t tiling, percent, relief;
};

constexpr std::array kTilings{Choice{"plain", 0}, Choice{"brick", 1}, Choice{"mirror", 2}};
constexpr std::array kReliefs{Choice{"mix", 0}, Choice{"relief", 1}};

constexpr std::array kPatternFields{
    field<&PatternArguments::tiling>(choice("tiling", kTilings, 0, "how the tiles are laid")),
    field<&PatternArguments::percent>({.name = "percent",
                                       .unit = "percent",
                                       .minimum = 0,
                                       .maximum = 100,
                                       .defaultValue = 50,
                                       .help = "how much of the pattern is seen"}),
    field<&PatternArguments::relief>(choice("relief", kReliefs, 0, "whether it is mixed in or pressed in")),
};
static_assert(coverRecord<PatternArguments>(kPatternFields, sizeof(void *)));

constexpr std::array kPatternOperands{
    operand<&PatternArguments::pattern>("pattern", OperandKind::Picture, "the tile"),
};

void *callFillPattern(void *dib, void *record)
{
    const auto &a = *static_cast<PatternArguments *>(record);
    return ProcessFillPattern(dib, a.pattern, a.tiling, a.percent, a.relief);
}

constexpr std::array kEffects{
    Effect{.name = "magic-mask",
           .exportName = "CreateMagicMaskFromDib",
           .code = {},
           .family = Family::Masks,
           .help = "selects the connected pixels of similar colour around one, as a mask",
           .recordName = "arguments",
           .recordBytes = sizeof(MagicArguments),
           .fields = kMagicFields<MagicArguments>,
           .depths = DepthAll,
           .random = false,
           .call = callMagicMask,
           .extremeExample = "x=300 y=20 redLimit=80 greenLimit=80 blueLimit=100"},
    Effect{.name = "mask-operation",
           .exportName = "ProcessMaskOperation",
           .code = {},
           .family = Family::Masks,
           .help = "combines two masks",
           .recordName = "arguments",
           .recordBytes = sizeof(OperationArguments),
           .fields = kOperationFields,
           .depths = Depth1,
           .random = false,
           .call = callMaskOperation,
           .operands = kOperationOperands,
           .resizes = true},
    Effect{.name = "bounding-mask",
           .exportName = "BoundingMask",
           .code = {},
           .family = Family::Masks,
           .help = "takes the empty borders off a mask",
           .recordName = {},
           .recordBytes = 0,
           .fields = {},
           .depths = Depth1,
           .random = false,
           .call = callBoundingMask,
           .resizes = true},
    Effect{.name = "invert-mask",
           .exportName = "ProcessInvertMask",
           .code = {},
           .family = Family::Masks,
           .help = "selects what a mask does not",
           .recordName = {},
           .recordBytes = 0,
           .fields = {},
           .depths = Depth1 | Depth8Gray,
           .random = false,
           .call = callInvertMask},
    Effect{.name = "fill-color",
           .exportName = "ProcessFillColor",
           .code = {},
           .family = Family::Masks,
           .help = "paints one colour where a mask selects",
           .recordName = "arguments",
           .recordBytes = sizeof(FillColorArguments),
           .fields = kFillColorFields,
           .depths = DepthSamples,
           .random = false,
           .call = callFillColor,
           .operands = kFillColorOperands},
    Effect{.name = "seed-fill",
           .exportName = "ProcessSeedFill",
           .code = {},
           .family = Family::Masks,
           .help = "paints the connected pixels of similar colour around one",
           .recordName = "arguments",
           .recordBytes = sizeof(SeedFillArguments),
           .fields = kSeedFillFields<SeedFillArguments>,
           .depths = DepthSamples,
           .random = false,
           .call = callSeedFill,
           .operands = kSeedFillOperands,
           .extremeExample = "x=300 y=20 redLimit=80 greenLimit=80 blueLimit=100 color=#2a9d8f"},
    Effect{.name = "seed-fill-in-selection",
           .exportName = "ProcessSeedFill",
           .code = {},
           .family = Family::Masks,
           .help = "the seed fill inside a selection, or what is connected outside of it",
           .recordName = "arguments",
           .recordBytes = sizeof(SelectionFillArguments),
           .fields = kSeedFillFields<SelectionFillArguments>,
           .depths = DepthSamples,
           .random = false,
           .call = callSelectionFill,
           .operands = kSelectionFillOperands,
           .extremeExample = "x=240 y=120 redLimit=80 greenLimit=80 blueLimit=100 color=#2a9d8f"},
    Effect{.name = "fill-pattern",
           .exportName = "ProcessFillPattern",
           .code = {},
           .family = Family::Masks,
           .help = "covers the picture with tiles of another, mixed in or as a relief",
           .recordName = "arguments",
           .recordBytes = sizeof(PatternArguments),
           .fields = kPatternFields,
           .depths = Depth8 | Depth24,
           .random = false,
           .call = callFillPattern,
           .operands = kPatternOperands},
};

} // namespace

std::span<const Effect> maskEffects()
{
    return kEffects;
}

} // namespace velmont::catalogue
