#include "selection.h"
#include "catalogue/in_place.h"
#include "exit_codes.h"
#include "field_value.h"
#include "levels.h"
#include "notes.h"
#include "operand_files.h"
#include "picture_steps.h"
#include "text.h"
#include <algorithm>
#include <new>
#include <optional>
#include <utility>
#include <velmont/velmont.h>

namespace velmont::cli {

namespace {

constexpr int kLargestFeather = 1000;

template <typename... Pieces>
[[noreturn]] void refuseWords(const Pieces &...pieces)
{
    throw Failure(ExitCode::Usage, concat(pieces...));
}

io::DibHandle required(void *handle)
{
    if (!handle)
        throw std::bad_alloc();
    return io::DibHandle(handle);
}

/// Where the second comma of a place is, or its end.
std::size_t endOfPoint(std::string_view text)
{
    const std::size_t first = text.find(',');
    return first == std::string_view::npos ? text.size() : std::min(text.find(',', first + 1), text.size());
}

/// 255 for the pixels around a place, 0 for others.
std::vector<uint8_t> levelsAround(const SelectedPlace &place, void *dib)
{
    Step step = magicMaskStep(place.at, place.tolerance);
    const io::DibHandle mask = required(catalogue::apply(*step.effect, dib, step.record));
    return levelsOf(required(ProcessConvertToGrayScale(mask.get())).get());
}

/// The edge as a ramp that reaches so many pixels to both sides: the mean over a square window.
io::DibHandle feathered(io::DibHandle mask, int pixels)
{
    if (pixels == 0)
        return mask;
    tagParamBlur blur{2 * pixels + 1, 0};
    return required(ProcessBlur(mask.get(), &blur));
}

void toColour(io::DibHandle &dib)
{
    if (catalogue::depthOf(dib.get()) != catalogue::Depth24)
        dib = required(ProcessConvertTo24BitColor(dib.get()));
}

/// Brings two images to one depth without loss: black and white to gray beside gray, else both to 24 bits.
void toOneDepth(io::DibHandle &image, io::DibHandle &result)
{
    const unsigned depth = catalogue::depthOf(image.get()), made = catalogue::depthOf(result.get());
    if (depth == made)
        return;
    if (depth == catalogue::Depth8Gray && made == catalogue::Depth1) {
        result = required(ProcessConvertToGrayScale(result.get()));
        return;
    }
    toColour(image);
    toColour(result);
}

/// Mixes by the mask's levels, in the image's own block.
void layInto(void *image, void *mask, void *result)
{
    if (!ProcessCopyIn(image, mask, result, 0, 0, 1, 1))
        throw std::bad_alloc();
}

} // namespace

SelectedPlace parsePlace(std::string_view text)
{
    const std::size_t end = endOfPoint(text);
    try {
        SelectedPlace place{parsePoint("--select", text.substr(0, end)), {}, std::string(text)};
        place.tolerance = parseLevels("--select", end == text.size() ? "32" : text.substr(end + 1));
        return place;
    } catch (const Failure &) {
        refuseWords("--select=", text,
                    " is not understood: X,Y or X,Y,LEVEL or X,Y,RED,GREEN,BLUE, a pixel from the left and "
                    "the top and "
                    "how far a channel may differ from it, 0 to 255");
    }
}

int parseFeather(std::string_view text)
{
    bool outOfRange = false;
    const auto pixels = parseWhole(text, outOfRange);
    if (!pixels || *pixels < 0 || *pixels > kLargestFeather)
        refuseWords("--feather=", text, outOfRange || pixels ? " is out of range" : " is not understood",
                    ": a whole number of pixels from 0 to 1000");
    static_assert(kLargestFeather == 1000, "the text says so");
    return static_cast<int>(*pixels);
}

void checkSelection(const SelectionOptions &options)
{
    if (options.selects())
        return;
    if (options.feather != 0)
        refuseWords("--feather needs a selection: --mask MASK or --select X,Y,R,G,B");
    if (options.invert)
        refuseWords("--invert needs a selection: --mask MASK or --select X,Y,R,G,B");
}

Selection::Selection(io::Picture &picture, const std::vector<Step> &steps, const SelectionOptions &options,
                     const RunOptions &run, const std::string &subject)
    : subject_(subject), size_(sizeOf(picture.dib.get()))
{
    if (!options.selects())
        return;
    requireSamples(picture, run);
    refuseResizing(steps);
    const std::vector<uint8_t> levels = select(picture.dib.get(), options, run.decode);
    if (std::ranges::all_of(levels, [](uint8_t level) { return level == 0; }) && !run.quiet)
        say(concat(subject, ": nothing is selected; the image stays as it is"));
    mask_ = feathered(grayOf(levels, size_.width, size_.height), options.feather);
    image_ = required(catalogue::copyOf(picture.dib.get(), catalogue::DepthSamples));
    alpha_ = picture.alpha;
}

Selection::Size Selection::sizeOf(void *dib)
{
    Size size;
    GetDibSize(dib, &size.width, &size.height);
    return size;
}

/// Indices of colours cannot be mixed.
void Selection::requireSamples(io::Picture &picture, const RunOptions &run) const
{
    const unsigned depth = catalogue::depthOf(picture.dib.get());
    if ((depth & catalogue::DepthSamples) != 0)
        return;
    const std::string is =
        concat(subject_, " is ", catalogue::depthName(static_cast<catalogue::Depth>(depth)), "; ");
    if (!run.convert)
        throw Failure(ExitCode::Input,
                      concat(is, "selections take 8-bit gray and 24-bit images; pass --convert"));
    toColour(picture.dib);
    if (!run.quiet)
        say(concat(is, "converted to 24-bit for the selection"));
}

std::vector<uint8_t> Selection::select(void *dib, const SelectionOptions &options,
                                       const io::DecodeOptions &decode) const
{
    std::vector<uint8_t> levels(static_cast<std::size_t>(size_.width) *
                                    static_cast<std::size_t>(size_.height),
                                options.places.empty() ? 255 : 0);
    for (const SelectedPlace &place : options.places) {
        requireInside(concat("--select=", place.typed), place.at, dib, subject_);
        std::ranges::transform(levels, levelsAround(place, dib), levels.begin(),
                               [](uint8_t a, uint8_t b) { return std::max(a, b); });
    }
    if (!options.mask.empty()) {
        const io::DibHandle mask =
            readOperand(options.mask, catalogue::OperandKind::AlphaMask, dib, subject_, decode);
        std::ranges::transform(levels, levelsOf(mask.get()), levels.begin(),
                               [](uint8_t a, uint8_t b) { return std::min(a, b); });
    }
    if (options.invert)
        std::ranges::transform(levels, levels.begin(),
                               [](uint8_t level) { return static_cast<uint8_t>(255 - level); });
    return levels;
}

/// Tries the effects that may change the size on a black image, before others take their time. Those whose operands or
/// depths tell more than the size are left to the run itself.
void Selection::refuseResizing(const std::vector<Step> &steps) const
{
    Size size = size_;
    for (const Step &step : steps) {
        if (!step.effect->resizes)
            continue;
        if (!step.effect->operands.empty() || (step.effect->depths & catalogue::Depth8Gray) == 0)
            return;
        catalogue::Record record = step.record;
        const io::DibHandle black = required(CreateDib(size.width, size.height, 8, 0, 0));
        const io::DibHandle result(catalogue::apply(*step.effect, black.get(), record));
        if (!result)
            return;
        size = sizeOf(result.get());
    }
    requireSize(size);
}

void Selection::requireSize(Size size) const
{
    const auto text = [](Size s) { return concat(std::to_string(s.width), " x ", std::to_string(s.height)); };
    if (size != size_)
        throw Failure(ExitCode::Input,
                      concat(subject_, ": the effects make it ", text(size), " of ", text(size_),
                             "; inside a selection they have to keep the size"));
}

void Selection::compose(io::Picture &result)
{
    if (!image_)
        return;
    requireSize(sizeOf(result.dib.get()));
    toOneDepth(image_, result.dib);
    layInto(image_.get(), mask_.get(), result.dib.get());
    result.dib = std::move(image_);
    result.alpha = composedAlpha(result.alpha);
}

/// An image without alpha is opaque.
std::vector<uint8_t> Selection::composedAlpha(std::span<const uint8_t> result) const
{
    if (alpha_.empty() && result.empty())
        return {};
    const auto gray = [&](std::span<const uint8_t> alpha) {
        return alpha.empty() ? required(CreateDib(size_.width, size_.height, 8, 0, 0xFFFFFF))
                             : grayOf(alpha, size_.width, size_.height);
    };
    const io::DibHandle alpha = gray(alpha_);
    layInto(alpha.get(), mask_.get(), gray(result).get());
    return levelsOf(alpha.get());
}

} // namespace velmont::cli
