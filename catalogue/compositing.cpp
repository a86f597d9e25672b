// The effects that lay pictures upon each other.

#include "catalogue/families.h"
#include "catalogue/in_place.h"
#include "catalogue/picture_size.h"
#include <cstdlib>
#include <velmont/compositing.h>

namespace velmont::catalogue {

namespace {

constexpr FieldText place(std::string_view name, std::string_view help)
{
    return {
        .name = name, .unit = "pixels", .minimum = -30000, .maximum = 30000, .defaultValue = 0, .help = help};
}
constexpr FieldText color(uint32_t value, std::string_view help)
{
    return {.name = "color",
            .unit = "colour",
            .minimum = 0,
            .maximum = 0xFFFFFF,
            .defaultValue = static_cast<double>(value),
            .help = help};
}
constexpr FieldText choice(std::string_view name, std::span<const Choice> choices, double defaultValue,
                           std::string_view help)
{
    return {.name = name,
            .unit = {},
            .minimum = 0,
            .maximum = 1,
            .defaultValue = defaultValue,
            .help = help,
            .choices = choices};
}

constexpr std::array kWraps{Choice{"cut", 0}, Choice{"wrap", 1}};
constexpr std::array kBlends{Choice{"hard", 0}, Choice{"mixed", 1}};
constexpr std::array kPolarities{Choice{"inverted", 0}, Choice{"as-it-is", 1}};

struct CopyInArguments {
    void *source;
    int32_t left, top, wrap;
};

constexpr std::array kCopyInFields{
    field<&CopyInArguments::left>(place("left", "column of the picture for the source's first one")),
    field<&CopyInArguments::top>(place("top", "row of the picture for the source's uppermost one")),
    field<&CopyInArguments::wrap>(choice("wrap", kWraps, 0, "what becomes of what lies outside")),
};
static_assert(coverRecord<CopyInArguments>(kCopyInFields, sizeof(void *)));

constexpr std::array kCopyInOperands{
    operand<&CopyInArguments::source>("source", OperandKind::LikePicture, "what to copy in"),
};

/// The stored row of the picture for a source's first one.
int rowUnder(void *dib, void *source, int32_t top)
{
    return storedRow(sizeOf(dib).height, top, sizeOf(source).height);
}

void *callCopyIn(void *dib, void *record)
{
    const auto &arguments = *static_cast<CopyInArguments *>(record);
    return onCopy(dib, DepthSamples, [&](void *copy) {
        return ProcessCopyIn(copy, arguments.source, arguments.left,
                             rowUnder(copy, arguments.source, arguments.top), arguments.wrap);
    });
}

struct CompositeArguments {
    void *alpha, *source;
    int32_t left, top, blend, polarity;
};

constexpr std::array kCompositeFields{
    field<&CompositeArguments::left>(place("left", "column of the picture for the source's first one")),
    field<&CompositeArguments::top>(place("top", "row of the picture for the source's uppermost one")),
    field<&CompositeArguments::blend>(
        choice("blend", kBlends, 1, "whether alpha mixes, or copies where it is not 0")),
    field<&CompositeArguments::polarity>(choice("polarity", kPolarities, 1, "how the mask is read")),
};
static_assert(coverRecord<CompositeArguments>(kCompositeFields, 2 * sizeof(void *)));

constexpr std::array kCompositeOperands{
    operand<&CompositeArguments::alpha>("alpha", OperandKind::LooseAlphaMask,
                                        "what of the source to take; they share their lower left corner"),
    operand<&CompositeArguments::source>("source", OperandKind::LikePicture, "what to lay over the picture"),
};

void *callComposite(void *dib, void *record)
{
    const auto &arguments = *static_cast<CompositeArguments *>(record);
    return onCopy(dib, DepthSamples, [&](void *copy) {
        return ProcessCopyIn(copy, arguments.alpha, arguments.source, arguments.left,
                             rowUnder(copy, arguments.source, arguments.top), arguments.blend,
                             arguments.polarity);
    });
}

struct ShadowArguments {
    void *alpha, *newAlpha;
    int32_t offsetX, offsetY;
    uint32_t color;
    int32_t blur;
};

constexpr FieldText offset(std::string_view name, std::string_view help)
{
    return {
        .name = name, .unit = "pixels", .minimum = -1024, .maximum = 1024, .defaultValue = 8, .help = help};
}
constexpr FieldText blur(std::string_view help)
{
    return {.name = "blur", .unit = "pixels", .minimum = 2, .maximum = 32, .defaultValue = 12, .help = help};
}

constexpr std::array kShadowFields{
    field<&ShadowArguments::offsetX>(offset("offsetX", "how far the shadow falls to the right")),
    field<&ShadowArguments::offsetY>(offset("offsetY", "how far the shadow falls downwards")),
    field<&ShadowArguments::color>(color(0, "of the shadow")),
    field<&ShadowArguments::blur>(blur("how soft the shadow's edge is")),
};
static_assert(coverRecord<ShadowArguments>(kShadowFields, 2 * sizeof(void *)));

constexpr std::array kShadowOperands{
    operand<&ShadowArguments::alpha>("alpha", OperandKind::AlphaMask, "which pixels belong to the object"),
    resultOperand<&ShadowArguments::newAlpha>("newAlpha", OperandKind::AlphaMask,
                                              "object and shadow together, of the result's size"),
};

void *callShadow(void *dib, void *record)
{
    auto &arguments = *static_cast<ShadowArguments *>(record);
    tagParamShadow shadow{arguments.offsetX, heldToInt(-int64_t{arguments.offsetY}), arguments.color,
                          arguments.blur};
    void *image = nullptr;
    ProcessShadowing(dib, arguments.alpha, image, arguments.newAlpha, &shadow);
    return image;
}

struct ShadowMaskArguments {
    void *canvas;
    uint32_t color;
    int32_t blur;
};

constexpr std::array kShadowMaskFields{
    field<&ShadowMaskArguments::color>(color(0, "of the canvas")),
    field<&ShadowMaskArguments::blur>(blur("how soft the shadow's edge is")),
};
static_assert(coverRecord<ShadowMaskArguments>(kShadowMaskFields, sizeof(void *)));

constexpr std::array kShadowMaskOperands{
    resultOperand<&ShadowMaskArguments::canvas>("canvas", OperandKind::Picture,
                                                "a 24-bit picture of the colour, of the result's size"),
};

void *callShadowMask(void *dib, void *record)
{
    auto &arguments = *static_cast<ShadowMaskArguments *>(record);
    tagParamShadow shadow{0, 0, arguments.color, arguments.blur};
    void *mask = nullptr;
    GetShadowDib(dib, arguments.canvas, mask, &shadow);
    return mask;
}

struct StampArguments {
    void *stamp;
    int32_t left, top, width, height;
    uint32_t color;
    int32_t polarity, blend, strength;
};

constexpr FieldText side(std::string_view name, std::string_view help)
{
    return {
        .name = name, .unit = "pixels", .minimum = 1, .maximum = 30000, .defaultValue = 256, .help = help};
}

constexpr std::array kStampFields{
    field<&StampArguments::left>(place("left", "column of the picture for the stamp's first one")),
    field<&StampArguments::top>(place("top", "row of the picture for the stamp's uppermost one")),
    field<&StampArguments::width>(side("width", "of the print")),
    field<&StampArguments::height>(side("height", "of the print")),
    field<&StampArguments::color>(color(0, "of the ink")),
    field<&StampArguments::polarity>(
        choice("polarity", kPolarities, 0, "whether dark parts print, or, as the stamp is, bright ones")),
    field<&StampArguments::blend>(
        choice("blend", kBlends, 1, "whether the stamp's brightness mixes, or prints in full")),
    field<&StampArguments::strength>({.name = "strength",
                                      .unit = "percent",
                                      .minimum = 0,
                                      .maximum = 100,
                                      .defaultValue = 100,
                                      .help = "of the stamp's brightness"}),
};
static_assert(coverRecord<StampArguments>(kStampFields, sizeof(void *)));

constexpr std::array kStampOperands{
    operand<&StampArguments::stamp>("stamp", OperandKind::Picture, "what to print"),
};

void *callStamp(void *dib, void *record)
{
    const auto &arguments = *static_cast<StampArguments *>(record);
    return onCopy(dib, DepthSamples, [&](void *copy) {
        const int64_t width = std::abs(int64_t{arguments.width});
        const int64_t height = std::abs(int64_t{arguments.height});
        tagRECT rect;
        rect.left = arguments.left;
        rect.right = heldToInt(rect.left + width);
        rect.top = storedRow(sizeOf(copy).height, arguments.top, height);
        rect.bottom = heldToInt(rect.top + height);
        return ProcessLoadStamp(copy, arguments.stamp, rect, arguments.color, arguments.polarity,
                                arguments.blend, arguments.strength) != 0;
    });
}

constexpr std::array kEffects{
    Effect{.name = "copy-in",
           .exportName = "ProcessCopyIn",
           .code = {},
           .family = Family::Masks,
           .help = "copies another picture into the picture",
           .recordName = "arguments",
           .recordBytes = sizeof(CopyInArguments),
           .fields = kCopyInFields,
           .depths = DepthSamples,
           .random = false,
           .call = callCopyIn,
           .operands = kCopyInOperands,
           .extremeExample = "left=360 top=240 wrap=wrap"},
    Effect{.name = "composite",
           .exportName = "ProcessCopyIn",
           .code = {},
           .family = Family::Masks,
           .help = "lays another picture over the picture through an alpha mask",
           .recordName = "arguments",
           .recordBytes = sizeof(CompositeArguments),
           .fields = kCompositeFields,
           .depths = DepthSamples,
           .random = false,
           .call = callComposite,
           .operands = kCompositeOperands,
           .extremeExample = "left=200 top=120 polarity=inverted"},
    Effect{.name = "shadow",
           .exportName = "ProcessShadowing",
           .code = {},
           .family = Family::Masks,
           .help = "puts a cut-out on a canvas with its shadow",
           .recordName = "arguments",
           .recordBytes = sizeof(ShadowArguments),
           .fields = kShadowFields,
           .depths = DepthSamples,
           .random = false,
           .call = callShadow,
           .operands = kShadowOperands,
           .usesCreateDib = true,
           .resizes = true,
           .extremeExample = "offsetX=24 offsetY=24 color=#d8cfc0 blur=24"},
    Effect{.name = "shadow-mask",
           .exportName = "GetShadowDib",
           .code = {},
           .family = Family::Masks,
           .help = "makes the shadow of an alpha mask, as a mask",
           .recordName = "arguments",
           .recordBytes = sizeof(ShadowMaskArguments),
           .fields = kShadowMaskFields,
           .depths = Depth8Gray,
           .random = false,
           .call = callShadowMask,
           .operands = kShadowMaskOperands,
           .usesCreateDib = true,
           .resizes = true},
    Effect{.name = "stamp",
           .exportName = "ProcessLoadStamp",
           .code = {},
           .family = Family::Masks,
           .help = "prints a stamp in one colour",
           .recordName = "arguments",
           .recordBytes = sizeof(StampArguments),
           .fields = kStampFields,
           .depths = DepthSamples,
           .random = false,
           .call = callStamp,
           .operands = kStampOperands,
           .blocksLeft = 2,
           .usesCreateDib = true,
           .extremeExample = "left=300 top=40 width=160 height=190 color=#1d3557 polarity=as-it-is"},
};

} // namespace

std::span<const Effect> compositingEffects()
{
    return kEffects;
}

} // namespace velmont::catalogue
