#include "picture_steps.h"
#include "exit_codes.h"
#include "field_value.h"
#include "measures.h"
#include "nearest_name.h"
#include "text.h"
#include <algorithm>
#include <array>
#include <cmath>
#include <cstring>
#include <velmont/dib.h>
#include <velmont/memory.h>

namespace velmont::cli {

namespace {

using catalogue::Effect;

Step stepOf(std::string_view effectName)
{
    const Effect &effect = requireEffect(catalogue::effects(), effectName);
    return {&effect, catalogue::defaultRecord(effect)};
}

void set(Step &step, std::string_view field, double value)
{
    catalogue::findField(*step.effect, field)->store(step.record.bytes.data(), value);
}

void setText(Step &step, std::string_view field, const std::optional<std::string> &text)
{
    if (text)
        setField(step, *catalogue::findField(*step.effect, field), *text);
}

void setFile(Step &step, std::string_view operand, const std::optional<std::string> &file)
{
    if (file)
        step.operands.push_back({catalogue::findOperand(*step.effect, operand), *file});
}

template <typename... Pieces>
[[noreturn]] void refuse(const Pieces &...pieces)
{
    throw Failure(ExitCode::Usage, concat(pieces...));
}

TypedSize sizeOf(void *dib)
{
    TypedSize size;
    GetDibSize(dib, &size.width, &size.height);
    return size;
}

/// A side at a percentage, a pixel at least.
int scaled(int side, double percent)
{
    return static_cast<int>(std::clamp(std::floor(side * percent / 100 + 0.5), 1.0, double{kLargestSide}));
}

double parsePercent(const std::string &text)
{
    std::size_t used = 0;
    double percent = 0;
    try {
        percent = std::stod(text, &used);
    } catch (const std::exception &) {
        used = 0;
    }
    if (used == 0 || used != text.size() || !(percent > 0 && percent <= 10000))
        refuse("--percent=", text, " is not understood: a number above 0, up to 10000");
    return percent;
}

TypedSize wantedSize(const ResizeRequest &request, void *dib)
{
    if (request.size.has_value() == request.percent.has_value())
        refuse("resize needs either --size or --percent");
    if (request.size)
        return parseSize("--size", *request.size);
    const double percent = parsePercent(*request.percent);
    const TypedSize size = sizeOf(dib);
    return {scaled(size.width, percent), scaled(size.height, percent)};
}

/// Indices of colours cannot be mixed: such pictures take the nearest pixel.
bool canBeSmooth(void *dib)
{
    return (catalogue::depthOf(dib) & (catalogue::Depth8Gray | catalogue::Depth24)) != 0;
}

/// What a magic selection starts from.
void setMagic(Step &step, TypedPoint at, const std::array<int, 3> &tolerance)
{
    set(step, "x", at.x);
    set(step, "y", at.y);
    setText(step, "mode", "tolerance");
    set(step, "redLimit", tolerance[0]);
    set(step, "greenLimit", tolerance[1]);
    set(step, "blueLimit", tolerance[2]);
}

/// The same as --at and --tolerance say it.
void setMagic(Step &step, const std::string &place, const std::string &tolerance, void *dib)
{
    const TypedPoint at = parsePoint("--at", place);
    if (dib)
        requireInside(concat("--at=", place), at, dib, "the image");
    setMagic(step, at, parseLevels("--tolerance", tolerance));
}

/// In pixels per metre.
int32_t resolutionOf(void *dib)
{
    DibHeader header{};
    if (const void *const block = KelMemLock(dib)) {
        std::memcpy(&header, block, sizeof header);
        KelMemUnlock(dib);
    }
    return header.biXPelsPerMeter;
}

/// Degrees clockwise, 0 to 359.
int degreesOf(const std::string &by)
{
    if (by == "right")
        return 90;
    if (by == "half")
        return 180;
    if (by == "left")
        return 270;
    bool outOfRange = false;
    const auto degrees = parseWhole(by, outOfRange);
    if (!degrees)
        refuse("--by=", by, " is not understood: left, right, half, or whole degrees clockwise",
               didYouMean(by, std::array<std::string_view, 3>{"left", "right", "half"}));
    return static_cast<int>((*degrees % 360 + 360) % 360);
}

} // namespace

void requireInside(std::string_view typed, TypedPoint at, void *dib, std::string_view subject)
{
    if (!dib)
        return;
    const TypedSize size = sizeOf(dib);
    if (at.x < 0 || at.y < 0 || at.x >= size.width || at.y >= size.height)
        refuse(typed, " lies outside ", subject, ", which is ", std::to_string(size.width), " x ",
               std::to_string(size.height));
}

Step magicMaskStep(TypedPoint at, const std::array<int, 3> &tolerance)
{
    Step step = stepOf("magic-mask");
    setMagic(step, at, tolerance);
    return step;
}

std::vector<Step> resizeSteps(const ResizeRequest &request, void *dib)
{
    const TypedSize wanted = wantedSize(request, dib);
    if (request.method != "smooth" && request.method != "fast")
        refuse("--method=", request.method, " is not understood: smooth or fast",
               didYouMean(request.method, std::array<std::string_view, 2>{"smooth", "fast"}));
    Step step = stepOf(request.method == "smooth" && canBeSmooth(dib) ? "resample-high-quality" : "resample");
    set(step, "newWidth", wanted.width);
    set(step, "newHeight", wanted.height);
    if (catalogue::findField(*step.effect, "resolution"))
        set(step, "resolution", resolutionOf(dib));
    return {step};
}

std::vector<Step> cropSteps(const CropRequest &request, void *)
{
    if (!request.at && !request.size)
        refuse("crop needs --at, --size or both");
    Step step = stepOf("crop");
    const TypedPoint at = request.at ? parsePoint("--at", *request.at) : TypedPoint{};
    const TypedSize size = request.size ? parseSize("--size", *request.size) : TypedSize{};
    set(step, "left", at.x);
    set(step, "top", at.y);
    set(step, "width", size.width);
    set(step, "height", size.height);
    set(step, "wrap", request.wrap ? 1 : 0);
    setText(step, "background", request.background);
    return {step};
}

std::vector<Step> rotateSteps(const RotateRequest &request, void *)
{
    if (request.by.empty())
        refuse("rotate needs --by: left, right, half, or whole degrees clockwise");
    const int degrees = degreesOf(request.by);
    if (degrees == 0)
        return {};
    // Whole quarters lose nothing.
    Step step = stepOf(degrees % 90 == 0 ? "exact-rotate" : "rotate");
    set(step, "angle", degrees);
    if (degrees % 90 != 0)
        setText(step, "background", request.background);
    return {step};
}

std::vector<Step> selectSteps(const SelectRequest &request, void *dib)
{
    if (!request.at)
        refuse("select needs --at: a pixel of what is to be selected");
    Step step = stepOf("magic-mask");
    setMagic(step, *request.at, request.tolerance, dib);
    return {step};
}

std::vector<Step> fillSteps(const FillRequest &request, void *dib)
{
    if (request.at.has_value() == request.mask.has_value())
        refuse("fill needs either --at, a pixel of what is to be filled, or --mask");
    if (request.mask && request.tolerance)
        refuse("fill: --tolerance goes with --at");
    Step step = stepOf(request.at ? "seed-fill" : "fill-color");
    if (request.at)
        setMagic(step, *request.at, request.tolerance.value_or("32"), dib);
    setFile(step, "mask", request.mask);
    setText(step, "color", request.color);
    return {step};
}

std::vector<Step> gradientSteps(const GradientRequest &request, void *)
{
    if (request.from.has_value() != request.to.has_value())
        refuse("gradient needs both --from and --to, or neither");
    Step step = stepOf("gradient-fill");
    if (request.from) {
        const TypedPoint from = parsePoint("--from", *request.from), to = parsePoint("--to", *request.to);
        set(step, "fromX", from.x);
        set(step, "fromY", from.y);
        set(step, "toX", to.x);
        set(step, "toY", to.y);
    }
    setText(step, "shape", request.shape);
    setText(step, "colorMode", request.colors);
    setText(step, "repeatMode", request.repeatMode);
    setText(step, "repeats", request.repeats);
    setText(step, "sourcePercent", request.share);
    setText(step, "color1", request.endColor);
    setText(step, "color2", request.startColor);
    return {step};
}

std::vector<Step> shadowSteps(const ShadowRequest &request, void *)
{
    if (!request.mask)
        refuse("shadow needs --mask: which pixels throw it");
    Step step = stepOf("shadow");
    setFile(step, "alpha", request.mask);
    setFile(step, "newAlpha", request.newMask);
    if (request.offset) {
        const TypedPoint offset = parsePoint("--offset", *request.offset);
        setText(step, "offsetX", std::to_string(offset.x));
        setText(step, "offsetY", std::to_string(offset.y));
    }
    setText(step, "color", request.color);
    setText(step, "blur", request.blur);
    return {step};
}

std::vector<Step> stampSteps(const StampRequest &request, void *)
{
    if (!request.stamp || !request.at || !request.size)
        refuse("stamp needs --stamp FILE, --at and --size");
    const TypedPoint at = parsePoint("--at", *request.at);
    const TypedSize size = parseSize("--size", *request.size);
    if (size.width == 0 || size.height == 0)
        refuse("--size=", *request.size, ": a stamp needs both sides");
    Step step = stepOf("stamp");
    setFile(step, "stamp", request.stamp);
    set(step, "left", at.x);
    set(step, "top", at.y);
    set(step, "width", size.width);
    set(step, "height", size.height);
    setText(step, "color", request.color);
    setText(step, "strength", request.strength);
    setText(step, "polarity", request.polarity);
    setText(step, "blend", request.blend);
    return {step};
}

} // namespace velmont::cli
