// The effects that work with a mask beside the image.

#include "catalogue/families.h"
#include "catalogue/picture_size.h"
#include <velmont/geometry.h>

namespace velmont::catalogue {

namespace {

struct MaskCropArguments {
    void *mask;
    int32_t left, top;
    uint32_t background;
};

constexpr FieldText place(std::string_view name, std::string_view help)
{
    return {
        .name = name, .unit = "pixels", .minimum = -30000, .maximum = 30000, .defaultValue = 0, .help = help};
}

constexpr std::array kMaskCropFields{
    field<&MaskCropArguments::left>(place("left", "column of the picture under the mask's first one")),
    field<&MaskCropArguments::top>(place("top", "row of the picture under the mask's uppermost one")),
    field<&MaskCropArguments::background>({.name = "background",
                                           .unit = "colour",
                                           .minimum = 0,
                                           .maximum = 0xFFFFFF,
                                           .defaultValue = 0xFFFFFF,
                                           .help =
                                               "of 24-bit pictures where nothing is selected; others have "
                                               "their first colour there"}),
};
static_assert(coverRecord<MaskCropArguments>(kMaskCropFields, sizeof(void *)));

constexpr std::array kMaskCropOperands{
    operand<&MaskCropArguments::mask>("mask", OperandKind::BitMask, "what to cut out, of the result's size"),
};

void *callMaskCrop(void *dib, void *record)
{
    const auto &arguments = *static_cast<MaskCropArguments *>(record);
    const Size image = sizeOf(dib), mask = sizeOf(arguments.mask);
    if (image.height == 0 || mask.height == 0)
        return nullptr;
    const int y = storedRow(image.height, arguments.top, mask.height);
    return ProcessCrop(dib, arguments.mask, arguments.left, y, arguments.background);
}

struct CutOutArguments {
    void *alpha, *newAlpha;
    int32_t amount;
};

template <typename Arguments>
constexpr std::array kCutOutOperands{
    operand<&Arguments::alpha>("alpha", OperandKind::AlphaMask, "which pixels belong to the cut-out"),
    resultOperand<&Arguments::newAlpha>("newAlpha", OperandKind::AlphaMask, "where they went"),
};

constexpr std::array kMeltingFields{
    field<&CutOutArguments::amount>({.name = "amount",
                                     .unit = "percent",
                                     .minimum = 1,
                                     .maximum = 100,
                                     .defaultValue = 20,
                                     .help = "pixels that rise"}),
};
constexpr std::array kSplashFields{
    field<&CutOutArguments::amount>({.name = "amount",
                                     .unit = "percent",
                                     .minimum = 1,
                                     .maximum = 100,
                                     .defaultValue = 20,
                                     .help = "how far to scatter pixels"}),
};
static_assert(coverRecord<CutOutArguments>(kSplashFields, 2 * sizeof(void *)));

template <auto Export>
void *callCutOut(void *dib, void *record)
{
    auto &arguments = *static_cast<CutOutArguments *>(record);
    void *image = nullptr;
    Export(dib, arguments.alpha, arguments.amount, &image, &arguments.newAlpha);
    return image;
}

struct WrinkleCutOutArguments {
    void *alpha, *newAlpha;
    tagParamWrinkle wrinkle;
};

/// A member of the record within the arguments.
template <auto Member>
constexpr Field wrinkleField(const FieldText &text)
{
    Field inner = field<Member>(text);
    inner.store = [](void *record, double value) {
        field<Member>({}).store(&static_cast<WrinkleCutOutArguments *>(record)->wrinkle, value);
    };
    inner.load = [](const void *record) {
        return field<Member>({}).load(&static_cast<const WrinkleCutOutArguments *>(record)->wrinkle);
    };
    return inner;
}

constexpr std::array kWrinkleFields{
    wrinkleField<&tagParamWrinkle::strength>({.name = "strength",
                                              .unit = "percent",
                                              .minimum = 1,
                                              .maximum = 100,
                                              .defaultValue = 50,
                                              .help = "how often columns and rows step aside"}),
    wrinkleField<&tagParamWrinkle::color>({.name = "color",
                                           .unit = "colour",
                                           .minimum = 0,
                                           .maximum = 0xFFFFFF,
                                           .defaultValue = 0xFFFFFF,
                                           .help = "of what comes from outside, which is transparent too",
                                           .fillsGaps = true}),
};
static_assert(coverRecord<WrinkleCutOutArguments>(kWrinkleFields, 2 * sizeof(void *)));

void *callWrinkleCutOut(void *dib, void *record)
{
    auto &arguments = *static_cast<WrinkleCutOutArguments *>(record);
    void *image = nullptr;
    ProcessWrinkle(dib, arguments.alpha, &arguments.wrinkle, &image, &arguments.newAlpha);
    return image;
}

using CutOutForm = int (*)(void *, void *, int, void **, void **);

constexpr std::array kEffects{
    Effect{.name = "crop-by-mask",
           .exportName = "ProcessCrop",
           .family = Family::Geometry,
           .help = "what a mask selects",
           .recordName = "arguments",
           .recordBytes = sizeof(MaskCropArguments),
           .fields = kMaskCropFields,
           .depths = DepthAll,
           .call = callMaskCrop,
           .operands = kMaskCropOperands,
           .motion = Motion::ByPlace,
           .resizes = true,
           .extremeExample = "left=80 background=#1d3557"},
    Effect{.name = "melting-cut-out",
           .exportName = "ProcessMelting",
           .family = Family::Geometry,
           .help = "lets pixels of a cut-out rise, with their alpha",
           .recordName = "arguments",
           .recordBytes = sizeof(CutOutArguments),
           .fields = kMeltingFields,
           .depths = DepthSamples,
           .random = true,
           .call = callCutOut<static_cast<CutOutForm>(&ProcessMelting)>,
           .operands = kCutOutOperands<CutOutArguments>,
           .motion = Motion::ByContent},
    Effect{.name = "splash-cut-out",
           .exportName = "ProcessSplash",
           .family = Family::Geometry,
           .help = "scatters the pixels of a cut-out, with their alpha",
           .recordName = "arguments",
           .recordBytes = sizeof(CutOutArguments),
           .fields = kSplashFields,
           .depths = DepthSamples,
           .random = true,
           .call = callCutOut<static_cast<CutOutForm>(&ProcessSplash)>,
           .operands = kCutOutOperands<CutOutArguments>,
           .motion = Motion::ByPlace},
    Effect{.name = "wrinkle-cut-out",
           .exportName = "ProcessWrinkle",
           .family = Family::Geometry,
           .help = "drags the columns and rows of a cut-out along by random walks, with their alpha",
           .recordName = "arguments",
           .recordBytes = sizeof(WrinkleCutOutArguments),
           .fields = kWrinkleFields,
           .depths = DepthSamples,
           .random = true,
           .call = callWrinkleCutOut,
           .operands = kCutOutOperands<WrinkleCutOutArguments>,
           .motion = Motion::ByPlace},
};

} // namespace

std::span<const Effect> cutOutEffects()
{
    return kEffects;
}

} // namespace velmont::catalogue
